// The document's lookup for "Trace" generators.
#include "document/doc.h"
#include "traces/data_samples.h"
#include "traces/data.h"
#include "traces/trace.h"
#include "traces/trace_set.h"
#include "waveforms/signal_trace.h"

namespace qz3 {

namespace {

// The document's own lists: the trace by its name, and of its runs the
// stored one (number -1) that has samples.
std::unique_ptr<CSignalSamples> FindStoredRun(CDoc* doc, const std::string& name, bool transient, bool* found) {
    *found = false;
    const CTraceSet* set = !doc ? nullptr : transient ? doc->m_Tran.get() : doc->m_Freq.get();
    const CTrace* trace = set && set->m_Traces ? set->FindTrace(name) : nullptr;
    if (!trace) return nullptr;
    *found = true;
    for (const CData* run : trace->m_Runs)
        if (run && run->m_Id == -1 && run->Count() > 0) return std::make_unique<CDataSamples>(run);
    return nullptr;
}

}  // namespace

void LinkTracesToSignals() { SetSignalTraceFinder(&FindStoredRun); }

}  // namespace qz3
