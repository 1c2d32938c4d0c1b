// Where a run meets the document's trace sets: the solver knows only these
// calls, the document knows the set's class.
#include "solver/run_traces.h"

#include "document/doc.h"
#include "solver/calc.h"
#include "traces/trace.h"
#include "traces/trace_set.h"

namespace qz3 {

std::string PrepareRunTraces(CDoc* doc, CCalc& calc) { return doc ? doc->m_Tran->Prepare(calc) : std::string(); }

bool SampleRunTraces(CDoc* doc, CCalc& calc, double t, bool hold) {
    return doc ? doc->m_Tran->Sample(calc, t, hold) : true;
}

void ClearRunTraces(CDoc* doc) {
    if (!doc) return;
    // The same test as the solver's start from a stored state.
    int index = doc->m_Calc ? doc->m_Calc->m_StateIndex : -1;
    doc->m_Tran->Clear(index >= 0 && index < doc->m_States.Count());
}

void CountRunMemory(CDoc* doc, bool transient, int64_t delta) {
    if (!doc) return;
    CTraceSet& set = transient ? *doc->m_Tran : *doc->m_Freq;
    set.m_Bytes += delta;
}

std::string RunTraceName(const CTrace* trace) { return trace ? trace->DisplayName() : std::string(); }

}  // namespace qz3
