// How formulas read traces: the evaluator's slots for a trace by name, for
// a direct reference "{index.run}" of a compiled trace formula, and for
// V(), I(), P(), S() of a component in the live solution.
#pragma once

namespace qz3 {

// Fills these slots of the evaluator; called by every trace set.
void LinkTracesToFormulas();

}  // namespace qz3
