// Dispatch of the generators by model, and the parts they share.
#include "waveforms/signal_wave.h"
#include "expr/number_text.h"

#include <algorithm>
#include <cmath>

namespace qz3 {

bool TimeReached(double x, double a) {
    if (x > a) return true;
    return RealSame(x, a);
}

void CSignalWave::StartWave(double t, bool run) {
    m_Running = run;
    m_Stage = sgBefore;
    const double x = t - m_Shift;
    m_LastTime = x;
    if (std::isinf(m_Num.delay)) return;
    switch (m_Model) {
    case ModelId::Single:
    case ModelId::Pulse: StartPulse(x); break;
    case ModelId::Step: StartStep(x); break;
    case ModelId::Sin: StartSin(x); break;
    case ModelId::File:
    case ModelId::List: StartTable(x); break;
    case ModelId::Trace: StartTrace(); break;
    case ModelId::Clock: StartClock(x); break;
    case ModelId::Sweep: StartSweep(x); break;
    default: break;
    }
}

void CSignalWave::RestartWave(double t) {
    m_Shift = t;
    StartWave(t, true);
}

double CSignalWave::WaveValue(double t) {
    const double x = t - m_Shift;
    const double e = x - m_Base;
    double v = m_Num.u0;
    switch (m_Model) {
    case ModelId::Single:
    case ModelId::Pulse:
        if (m_Running && m_Stage != sgBefore) v = m_Slope == ssExp ? PulseExpValue(e) : PulseValue(e);
        break;
    case ModelId::Step: v = StepValue(x, e); break;
    case ModelId::Sin: return SinValue(x);  // keeps its own m_LastTime
    case ModelId::Function: v = 0.0; break;
    case ModelId::File:
    case ModelId::List: v = TableValue(x); break;
    case ModelId::Trace: v = TraceValue(x); break;
    case ModelId::Clock: v = (m_Running && m_Stage == sgTop) ? m_Num.u1 : m_Num.u0; break;
    case ModelId::Sweep: v = SweepValue(x); break;
    default: break;
    }
    m_LastTime = x;
    return v;
}

CSignalEvent CSignalWave::WaveEvent(double t, double maxStep) {
    CSignalEvent ev;
    if (!m_Running || std::isinf(m_Num.delay)) return ev;
    const double x = t - m_Shift;
    switch (m_Model) {
    case ModelId::Single: SinglePulseEvent(x, ev); break;
    case ModelId::Pulse: PulseEvent(x, ev); break;
    case ModelId::Step: StepEvent(x, ev); break;
    case ModelId::Sin: SinEvent(x, ev); break;
    case ModelId::File:
    case ModelId::List: TableEvent(t, x, ev); break;
    case ModelId::Clock: ClockEvent(x, ev); break;
    case ModelId::Sweep: SweepEvent(x, maxStep, ev); break;
    default: break;
    }
    // A corner at or behind the present time, or a step that isn't positive,
    // would hold the solver on one spot; such statements are dropped here so
    // that no degenerate parameter set can stall a run.
    if (ev.hasNext && (!std::isfinite(ev.tNext) || TimeReached(t, ev.tNext))) ev.hasNext = false;
    if (ev.hasMax && !(ev.stepMax > 0.0)) ev.hasMax = false;
    if (ev.hasMin && !(ev.stepMin > 0.0)) ev.hasMin = false;
    return ev;
}

bool CSignalWave::IsHigh() const {
    if (!m_Running) return false;
    if (m_Model == ModelId::File || m_Model == ModelId::List) {
        if (m_Count < 1 || m_Index < 0) return false;
        if (m_Count == 1) return TableY(0) > 0.0;
        return TableY(std::min(m_Index, m_Count - 1)) > 0.0;
    }
    return m_Stage == sgTop;
}

void CSignalWave::ClockClose() {
    if (m_Stage == sgTop) m_Stage = sgFall;
}

void CSignalWave::ShiftDelay(double x) {
    double& d = m_Num.delay;
    const double p = m_Num.period;
    const bool periodic = m_Model == ModelId::Pulse || m_Model == ModelId::Sin || m_Model == ModelId::Clock;
    if (m_Model == ModelId::Function) return;
    if (!periodic || d > x || !(std::isfinite(p) && p > 0.0)) {
        d -= x;
        return;
    }
    // Keep the phase of a periodic waveform: the delay lands in [-p, 0).
    d = std::fmod(d - std::fmod(x, p), p);
    if (d >= 0.0) d -= p;
    if (d < -p) d += p;
    if (std::fabs(d) < std::fabs(p) * 1e-12) d = 0.0;
}

void CSignalWave::SetTable(const std::vector<double>& pairs) {
    m_Points = pairs;
    m_Points.resize(pairs.size() & ~static_cast<size_t>(1));
    m_Count = static_cast<int32_t>(m_Points.size() / 2);
    m_Index = m_Count > 0 ? 0 : -2;
}

void CSignalWave::ClearTable() {
    m_Points.clear();
    m_Points.shrink_to_fit();
    m_Count = 0;
    m_Index = -2;
}

}  // namespace qz3
