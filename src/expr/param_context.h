// What a parameter needs of its document: the component list that formulas
// search, and the solver's change mask. Kept apart so that the parameter
// rows know nothing of the document's or the solver's classes.
#pragma once

namespace qz3 {

class CDoc;
class CCmps;

// The document's component list, or null for a null document.
CCmps* DocCmps(CDoc* doc);

}  // namespace qz3
