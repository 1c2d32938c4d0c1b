#include "traces/trace_links.h"
#include "base/constants.h"

#include <cmath>
#include <string>

#include "expr/eval_links.h"
#include "traces/component_reading.h"
#include "traces/trace.h"
#include "traces/traces.h"

namespace qz3 {

namespace {

// Degrees to radians as trace references convert phases.
constexpr double kRadiansPerDegree = 0.017453292519888888;

CData* RunById(const CTrace& trace, int id) {
    for (CData* run : trace.m_Runs)
        if (run->m_Id == id) return run;
    return nullptr;
}

// A negative run is the one in progress, else run 0, else run -1; run 0 is
// the one in progress when there is one; any other number names a run.
CData* SelectRun(const CTrace& trace, int run) {
    if (run < 0) {
        if (trace.m_Run) return trace.m_Run;
        if (CData* zero = RunById(trace, 0)) return zero;
        return RunById(trace, -1);
    }
    if (run == 0 && trace.m_Run) return trace.m_Run;
    return RunById(trace, run);
}

bool ReadReference(CTraces* traces, int index, int run, double x, CValue& out, std::string& name) {
    CTrace* trace = traces ? traces->At(index) : nullptr;
    if (!trace) return false;
    name = trace->DisplayName();
    CData* data = SelectRun(*trace, run);
    if (!data) return false;
    if (trace->m_bTran) {
        double value = 0.0;
        if (!data->GetValueAt(x, value, true)) return false;
        out.SetDouble(value);
        return true;
    }
    double magnitude = 0.0, dB = 0.0, phase = 0.0;
    if (!data->GetACValueAt(x, magnitude, dB, phase)) return false;
    double angle = phase * kRadiansPerDegree;
    out.SetComplex(magnitude * std::cos(angle), magnitude * std::sin(angle));
    return true;
}

// The value at the point recorded last; a trace without points reads 0.
bool ReadByName(CTraces* traces, std::string_view name, bool complexTraces, CValue& out) {
    CTrace* trace = traces ? traces->FindTrace(name) : nullptr;
    if (!trace) return false;
    CData* data = trace->DataObject();
    int last = data ? data->Count() - 1 : -1;
    if (trace->m_bTran) {
        double t = 0.0, value = 0.0;
        if (last >= 0) data->GetPoint(last, t, value, true);
        out.SetDouble(value);
        return true;
    }
    double f = 0.0, magnitude = 0.0, phase = 0.0;
    if (last >= 0) data->GetACPoint(last, f, magnitude, phase);
    if (complexTraces) {
        double angle = phase * kPi / 180.0;
        out.SetComplex(magnitude * std::cos(angle), magnitude * std::sin(angle));
    } else {
        out.SetDouble(magnitude);
    }
    return true;
}

}  // namespace

void LinkTracesToFormulas() {
    CEvalLinks& links = EvalLinks();
    links.TraceReference = &ReadReference;
    links.TraceByName = &ReadByName;
    links.ComponentReading = &ReadComponent;
}

}  // namespace qz3
