// The cursor measurements of a trace list, as formulas name them.
#include <string_view>

#include "traces/data.h"
#include "traces/data_measure.h"
#include "traces/trace.h"
#include "traces/traces.h"

namespace qz3 {

namespace {

// The run a measurement reads: the one in progress, or else the first of
// id 0, or else a stored one (-1).
const CData* MeasuredRun(const CTrace& trace) {
    if (trace.m_Run) return trace.m_Run;
    for (int id : {0, -1})
        for (const CData* run : trace.m_Runs)
            if (run && run->m_Id == id) return run;
    return nullptr;
}

}  // namespace

bool CTraces::Measure(std::string_view name, double& value, bool& found) const {
    found = false;
    switch (MeasureWordIndex(name)) {
        case kMeasureLeft: value = m_Left; return found = true;
        case kMeasureRight: value = m_Right; return found = true;
        case kMeasureDelta: value = m_Right - m_Left; return found = true;
        default: break;
    }
    const size_t dot = name.find('.');
    if (dot == std::string_view::npos) return false;
    const CTrace* trace = FindTrace(name.substr(0, dot));
    const CData* run = trace ? MeasuredRun(*trace) : nullptr;
    if (!run) return false;
    return MeasureText(*run, name.substr(dot + 1), m_Left, m_Right, value, found);
}

}  // namespace qz3
