// Dispatch of the generators by model, and the parts they share.
#include "waveforms/signal_wave.h"

#include <algorithm>
#include <cmath>

namespace qz3 {

bool TimeReached(double x, double a) {
    if (x > a) return true;
    return std::min(std::fabs(x), std::fabs(a)) * 1e-12 >= std::fabs(x - a);
}

void CSignalWave::StartWave(double t, bool run) {
    m_Running = run;
    m_Stage = sgBefore;
    const double x = t - m_Shift;
    m_LastTime = x;
    if (std::isinf(m_Num.delay)) return;
    switch (m_Model) {
    case smSingle:
    case smPulse: StartPulse(x); break;
    case smStep: StartStep(x); break;
    case smSin: StartSin(x); break;
    case smFile:
    case smList: StartTable(x); break;
    case smTrace: StartTrace(); break;
    case smClock: StartClock(x); break;
    case smSweep: StartSweep(x); break;
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
    case smSingle:
    case smPulse:
        if (m_Running && m_Stage != sgBefore) v = m_Slope == ssExp ? PulseExpValue(e) : PulseValue(e);
        break;
    case smStep: v = StepValue(x, e); break;
    case smSin: return SinValue(x);  // keeps its own m_LastTime
    case smFunction: v = 0.0; break;
    case smFile:
    case smList: v = TableValue(x); break;
    case smTrace: v = TraceValue(x); break;
    case smClock: v = (m_Running && m_Stage == sgTop) ? m_Num.u1 : m_Num.u0; break;
    case smSweep: v = SweepValue(x); break;
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
    case smSingle: SinglePulseEvent(x, ev); break;
    case smPulse: PulseEvent(x, ev); break;
    case smStep: StepEvent(x, ev); break;
    case smSin: SinEvent(x, ev); break;
    case smFile:
    case smList: TableEvent(t, x, ev); break;
    case smClock: ClockEvent(x, ev); break;
    case smSweep: SweepEvent(x, maxStep, ev); break;
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
    if (m_Model == smFile || m_Model == smList) {
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
    const bool periodic = m_Model == smPulse || m_Model == smSin || m_Model == smClock;
    if (m_Model == smFunction) return;
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
