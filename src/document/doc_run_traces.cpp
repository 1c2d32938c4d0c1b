// Where a run meets the document's trace sets. The sets join the document
// on their own branch of work; until then a run records nothing, and every
// call here is what it is for a document without traces.
#include "solver/run_traces.h"

namespace qz3 {

std::string PrepareRunTraces(CDoc* doc, CCalc& calc) { return {}; }

bool SampleRunTraces(CDoc* doc, CCalc& calc, double t, bool hold) { return true; }

void ClearRunTraces(CDoc* doc) {}

void CountRunMemory(CDoc* doc, bool transient, int64_t delta) {}

std::string RunTraceName(const CTrace* trace) { return {}; }

}  // namespace qz3
