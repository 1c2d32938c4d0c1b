// Where a run meets the document's trace sets: the solver knows only these
// calls, the document knows the set's class.
#include "solver/run_traces.h"

#include "document/doc.h"
#include "traces/trace.h"
#include "traces/trace_set.h"

namespace qz3 {

std::string PrepareRunTraces(CDoc* doc, CCalc& calc) { return doc ? doc->m_Tran->Prepare(calc) : std::string(); }

bool SampleRunTraces(CDoc* doc, CCalc& calc, double t, bool hold) {
    return doc ? doc->m_Tran->Sample(calc, t, hold) : true;
}

void ClearRunTraces(CDoc* doc) {
    if (doc) doc->m_Tran->Clear();
}

void CountRunMemory(CDoc* doc, bool transient, int64_t delta) {
    if (!doc) return;
    CTraceSet& set = transient ? *doc->m_Tran : *doc->m_Freq;
    set.m_Bytes += delta;
}

std::string RunTraceName(const CTrace* trace) { return trace ? trace->DisplayName() : std::string(); }

}  // namespace qz3
