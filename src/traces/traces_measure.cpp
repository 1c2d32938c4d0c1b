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

// The x (time or frequency) of a point of the run.
double PointX(const CData& run, int index) {
    double x = 0.0, a = 0.0, b = 0.0;
    if (run.m_Width == 3) run.GetACPoint(index, x, a, b);
    else run.GetPoint(index, x, a, true);
    return x;
}

// Cursors that were never set (both at 0, as a file without them leaves
// them) take in the whole run, so that a measurement means something
// without a host that places them.
void CursorSpan(const CData& run, double left, double right, double& t1, double& t2) {
    t1 = left;
    t2 = right;
    if (left != 0.0 || right != 0.0 || run.Count() == 0) return;
    t1 = PointX(run, 0);
    t2 = PointX(run, run.Count() - 1);
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
    const std::string_view rest = name.substr(dot + 1);
    // A standing wave ratio has no slope in dB per decade to speak of.
    if (trace->m_Type == kTraceVSWR && MeasureWordIndex(rest) == kMeasureSlope) return true;
    double t1 = 0.0, t2 = 0.0;
    CursorSpan(*run, m_Left, m_Right, t1, t2);
    return MeasureText(*run, rest, t1, t2, value, found);
}

}  // namespace qz3
