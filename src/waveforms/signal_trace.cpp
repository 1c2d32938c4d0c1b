#include "waveforms/signal_trace.h"

#include "document/doc.h"
#include "traces/data.h"
#include "traces/trace.h"
#include "traces/trace_set.h"

namespace qz3 {

namespace {

SignalTraceFinder s_Finder = nullptr;

// The document's own lists: the trace by its name, and of its runs the
// stored one (number -1) that has samples.
const CData* FindStoredRun(CDoc* doc, const std::string& name, bool transient, bool* found) {
    *found = false;
    const CTraceSet* set = !doc ? nullptr : transient ? doc->m_Tran.get() : doc->m_Freq.get();
    const CTrace* trace = set && set->m_Traces ? set->FindTrace(name) : nullptr;
    if (!trace) return nullptr;
    *found = true;
    for (const CData* run : trace->m_Runs)
        if (run && run->m_Id == -1 && run->Count() > 0) return run;
    return nullptr;
}

}  // namespace

int CDataSamples::SampleCount() const { return m_Data ? m_Data->Count() : 0; }

double CDataSamples::SampleTime(int i) const {
    double t = 0.0, v = 0.0;
    m_Data->GetPoint(i, t, v, false);
    return t;
}

double CDataSamples::SampleValue(int i) const {
    double t = 0.0, v = 0.0;
    m_Data->GetPoint(i, t, v, false);
    return v;
}

void SetSignalTraceFinder(SignalTraceFinder finder) { s_Finder = finder; }
SignalTraceFinder GetSignalTraceFinder() { return s_Finder ? s_Finder : FindStoredRun; }

}  // namespace qz3
