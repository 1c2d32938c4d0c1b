// The bits of the solver's change mask: what the next simulation step must
// prepare again before it goes on.
#pragma once

#include <cstdint>

namespace qz3 {

// The trace list changed: the traces are prepared again, the run goes on.
constexpr uint32_t kChangeTraces = 2;
// A parameter or the circuit changed: the next step rebuilds the equations
// at the present time.
constexpr uint32_t kChangeParams = 4;
// Everything, at the start of a run.
constexpr uint32_t kChangeAll = 65535;

}  // namespace qz3
