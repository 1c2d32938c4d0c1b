// Fills the evaluator's slots for the component side: the document's list,
// parameter values and formulas by "comp.param", components by path. Called
// once, when the first component list is made; the slots are process-wide.
#pragma once

namespace qz3 {

void LinkComponentsToFormulas();

}  // namespace qz3
