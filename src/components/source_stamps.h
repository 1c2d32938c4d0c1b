// The two ways a source enters its branch k between pins a and b, shared
// by the independent and the controlled sources. A voltage source holds
// x[b] - x[a]; a current source drives x[k] out of a and into b.
#pragma once

namespace qz3 {

class CSolverPort;
class CCmp;

// The value comes from the source vector at each time point (MarkInputRow),
// so a trapezoidal run needs no new factorisation when it changes.
bool StampSourceInput(CSolverPort* calc, const CCmp* cmp, bool voltage, int a, int b, int k);

// A value that holds until the next assembly, in the constant vector.
bool StampSourceConstant(CSolverPort* calc, const CCmp* cmp, bool voltage, int a, int b, int k, double value);

}  // namespace qz3
