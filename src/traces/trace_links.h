// How formulas read traces: the evaluator's slots for a trace by name and
// for a direct reference "{index.run}" of a compiled trace formula.
#pragma once

namespace qz3 {

// Fills the two trace slots of the evaluator; called by every trace set.
void LinkTracesToFormulas();

}  // namespace qz3
