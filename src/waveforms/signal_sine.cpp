// The sine family: "Sin" (damped, delayed, with phase) and "Sweep".
#include <cmath>

#include "waveforms/signal_wave.h"
#include "base/constants.h"

namespace qz3 {

namespace {

constexpr double kE = 2.71828;

bool IsWhole(double c) { return c == std::trunc(c); }

}  // namespace

void CSignalWave::StartSin(double x) {
    if (!m_Running) return;
    const double d = m_Num.delay, p = m_Num.period;
    if (x < d || !(std::isfinite(p) && p > 0.0)) {
        // The phase is counted from the delay on.
        m_CycleFrac = 0.0;
        m_LastTime = std::isfinite(p) && p > 0.0 ? d : x;
        return;
    }
    m_CycleFrac = std::fmod(x - d, p) / p;
}

// The phase is summed over the steps rather than taken from t, so that a
// period given by a live formula changes without a jump in the waveform.
double CSignalWave::SinValue(double x) {
    const double d = m_Num.delay;
    if (!m_Running || !TimeReached(x, d)) {
        m_LastTime = std::isinf(d) ? x : d;
        return m_Num.u0;
    }
    m_CycleFrac += (x - m_LastTime) / m_Num.period;
    m_LastTime = x;
    double amplitude = m_Num.u1;
    if (m_Num.decay > 0.0) amplitude *= std::exp(-m_Num.decay * (x - d));
    return m_Num.u0 + amplitude * std::sin((m_Num.phase / 360.0 + m_CycleFrac) * kTwoPi);
}

void CSignalWave::SinEvent(double x, CSignalEvent& ev) {
    if (TimeReached(x, m_Num.delay)) {
        ev.hasMax = true;
        ev.stepMax = m_Num.period / 16.0;
        return;
    }
    ev.hasNext = true;
    ev.tNext = m_Num.delay + m_Shift;
    m_CycleFrac = 0.0;
}

void CSignalWave::StartSweep(double x) {
    const double d = m_Num.delay;
    if (d < x) {
        const double e = x - d;
        m_Stage = (e > m_Num.width || !(e > 0.0)) ? sgDone : sgTop;
    }
    AdjustSweep();
}

// A whole number of cycles fits into the width, so the sweep ends on a zero
// crossing; the frequency that moves is the higher one.
void CSignalWave::AdjustSweep() {
    const double w = m_Num.width;
    double f0 = m_Num.f0, f1 = m_Num.f1;
    if (f0 == f1) {
        if (f0 == 0.0) f0 = f1 = 1.0 / w;
        else if (!IsWhole(w * f0)) f0 = f1 = (std::trunc(w * f0) + 1.0) / w;
    } else if (m_SweepType == swLinear) {
        const double c = (f0 + f1) * w * 0.5;
        if (!IsWhole(c)) {
            const double s = 2.0 * (std::trunc(c) + 1.0) / w;
            if (f1 > f0) f1 = s - f0;
            else f0 = s - f1;
        }
    } else {
        double& lo = f0 < f1 ? f0 : f1;
        double& hi = f0 < f1 ? f1 : f0;
        if (lo == 0.0) lo = 0.01 / w;
        const double c = w / std::log(hi / lo) * (hi - lo);
        if (!IsWhole(c)) {
            const double n = std::trunc(c) + 1.0;
            for (double g = 1.0; g >= 1e-8; g *= 0.5) {
                const double h = (g + 1.0) * hi;
                if (n > w / std::log(h / lo) * (h - lo)) hi = h;
            }
        }
    }
    m_Fa = f0;
    m_Fb = f1;
}

double CSignalWave::SweepCycles(double e) const {
    const double w = m_Num.width;
    if (m_Fa == m_Fb) return m_Fa * e;
    if (m_SweepType == swLinear) return e * e * 0.5 / w * (m_Fb - m_Fa) + m_Fa * e;
    const double k = w / std::log(m_Fb / m_Fa);
    return (std::exp(e / k) - 1.0) * m_Fa * k;
}

double CSignalWave::SweepFrequency(double e) const {
    const double w = m_Num.width;
    if (m_Fa == m_Fb) return m_Fa;
    if (m_SweepType == swLinear) return m_Fa + (m_Fb - m_Fa) * e / w;
    return m_Fa * std::exp(e / (w / std::log(m_Fb / m_Fa)));
}

// Sweep time at which the frequency is f.
double CSignalWave::SweepTimeOf(double f) const {
    const double w = m_Num.width;
    if (m_SweepType == swLinear) return (f - m_Fa) * w / (m_Fb - m_Fa);
    return std::log(f / m_Fa) * (w / std::log(m_Fb / m_Fa));
}

double CSignalWave::SweepValue(double x) const {
    const double d = m_Num.delay;
    if (!m_Running || !(x > d) || TimeReached(x, d + m_Num.width)) return m_Num.u0;
    return m_Num.u0 + m_Num.u1 * std::sin(SweepCycles(x - d) * kTwoPi);
}

// The step follows the frequency on a ladder of rungs a factor e apart, so
// it changes only at a few times, and the solver lands on each of them.
void CSignalWave::SweepEvent(double x, double maxStep, CSignalEvent& ev) {
    const double d = m_Num.delay, w = m_Num.width;
    const double origin = d + m_Shift;
    if (m_Stage == sgBefore && !TimeReached(x, d)) {
        ev.hasNext = true;
        ev.tNext = origin;
        return;
    }
    if (TimeReached(x, d + w)) {
        m_Stage = sgDone;
        return;
    }
    m_Stage = sgTop;
    ev.hasNext = true;
    ev.tNext = origin + w;
    if (m_Fa == m_Fb) {
        ev.hasMax = true;
        ev.stepMax = 1.0 / (16.0 * m_Fa);
    } else {
        SweepLadder(x - d, maxStep, ev);
    }
    if (ev.hasMax && maxStep > 0.0 && ev.stepMax > maxStep) ev.stepMax = maxStep;
    if (ev.tNext > origin + w) ev.tNext = origin + w;
}

void CSignalWave::SweepLadder(double e, double maxStep, CSignalEvent& ev) {
    const double w = m_Num.width;
    const double origin = m_Num.delay + m_Shift;
    double l = 1.0 / (16.0 * maxStep);
    double y = SweepTimeOf(l);
    if (y < 0.0) {
        l = m_Fa;
        y = 0.0;
    } else if (y > w) {
        l = m_Fb;
        y = w;
    }
    const double f = SweepFrequency(e);
    const bool rising = m_Fb > m_Fa;
    // Tolerant tests: a step that landed on y is past it.
    const bool coarse = rising ? !TimeReached(e, y) : !TimeReached(y, e);
    if (coarse) {
        if (m_SweepType == swLinear) {
            ev.hasMax = true;
            ev.stepMax = maxStep;
        }
        if (rising) ev.tNext = origin + y;
        return;
    }
    double rung;
    if (rising) {
        // A step that landed on a rung may see the frequency a hair below it.
        rung = l * std::exp(std::trunc(std::log(f / l)) + 1.0);
        if (TimeReached(e, SweepTimeOf(rung))) rung *= kE;
        ev.stepMax = 1.0 / (16.0 * rung);
    } else {
        rung = m_Fa / std::exp(std::trunc(std::log(m_Fa / f)) + 1.0);
        if (TimeReached(e, SweepTimeOf(rung))) rung /= kE;
        ev.stepMax = 1.0 / (16.0 * rung * kE);
    }
    ev.hasMax = std::isfinite(ev.stepMax);
    const double at = SweepTimeOf(rung);
    if (std::isfinite(at)) ev.tNext = origin + at;
}

}  // namespace qz3
