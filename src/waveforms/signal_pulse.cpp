// The pulse family: "Single", "Pulse", "Step" and "Clock".
//
// A pulse is a base time b and a stage. NextEvent moves the stage on from
// the position of x against b + r, b + w and b + w + f and names the next of
// these corners, so the solver lands a step exactly on every one of them.
// The step that lands on a corner still belongs to the stage it closes: an
// edge of zero length takes effect after the break, and the trapezoidal
// step into the corner doesn't average the two levels. Value moves a stage
// on by itself only for a time past the corner, after a step that overran it.
#include <algorithm>
#include <cmath>

#include "waveforms/signal_wave.h"
#include "base/constants.h"

namespace qz3 {

namespace {


// exp(-a), taken as 0 far out so that long tails don't underflow slowly.
double ExpDecay(double a) { return a >= 300.0 ? 0.0 : std::exp(-a); }

// Past a corner by more than the tolerance: the landing point isn't.
bool Passed(double e, double corner) { return !TimeReached(corner, e); }

int StageAt(double e, double r, double w, double f) {
    if (e > w + f) return sgDone;
    if (e > w) return sgFall;
    if (e > r) return sgTop;
    if (e > 0.0) return sgRise;
    return sgDone;
}

}  // namespace

void CSignalWave::StartPulse(double x) {
    const double d = m_Num.delay;
    const double p = m_Num.period;
    m_Base = d;
    if (d >= x) return;
    double e = x - d;
    if (m_Model == ModelId::Pulse && std::isfinite(p) && p > 0.0) {
        e = std::fmod(e, p);
        if (TimeReached(e, p)) e = 0.0;
        m_Base = x - e;
    }
    m_Stage = StageAt(e, m_Num.rise, m_Num.width, m_Num.fall);
}

void CSignalWave::StartStep(double x) {
    const double d = m_Num.delay;
    m_Base = d;
    if (x > d) m_Stage = d + m_Num.rise > x ? sgRise : sgTop;
}

void CSignalWave::StartClock(double x) {
    const double d = m_Num.delay;
    const double p = m_Num.period;
    m_Base = d;
    if (!(d < x)) return;
    double e = x - d;
    if (std::isfinite(p) && p > 0.0) {
        e = std::fmod(e, p);
        if (e == p) e = 0.0;
    }
    m_Stage = sgDone;
    m_Base = x - e;
}

double CSignalWave::RiseShape(double e, double r) const {
    const double du = m_Num.u1 - m_Num.u0;
    if (m_Slope == ssCos) return m_Num.u0 + (1.0 - std::cos(e / r * kPi)) * du * 0.5;
    return m_Num.u0 + du * e / r;
}

double CSignalWave::PulseValue(double e) {
    const double r = m_Num.rise, w = m_Num.width, f = m_Num.fall;
    if (m_Stage == sgRise && (TimeReached(e, r) || !(r > 0.0))) m_Stage = sgTop;
    // The rise meets u1 at its corner either way; the top may end in a jump.
    if (m_Stage == sgTop && (Passed(e, w) || !(w > 0.0))) m_Stage = sgFall;
    // A step that landed on a corner moved the stage on; when it is undone and
    // halved, the earlier times get the shape that held there, not a glitch.
    // At the falling corner itself the stage decides: the top until the break
    // moves it on.
    int stage = m_Stage;
    if (stage == sgFall && w > 0.0 && !TimeReached(e, w)) stage = sgTop;
    if (stage == sgTop && r > 0.0 && !TimeReached(e, r)) stage = sgRise;
    switch (stage) {
    case sgRise: return RiseShape(e, r);
    case sgTop: return m_Num.u1;
    case sgFall:
        if (!(f > 0.0) || TimeReached(e, w + f)) return m_Num.u0;
        // The fall is the rise mirrored: from u1 towards u0.
        return m_Num.u0 + m_Num.u1 - RiseShape(e - w, f);
    default: return m_Num.u0;
    }
}

double CSignalWave::PulseExpValue(double e) const {
    const double u0 = m_Num.u0, u1 = m_Num.u1;
    const double r = m_Num.rise, w = m_Num.width, f = m_Num.fall, p = m_Num.period;
    const bool single = m_Model == ModelId::Single;
    const bool upToWidth = single ? (e < w || TimeReached(w, e)) : e <= w;
    if (upToWidth) {
        if (!(r > 0.0) || !(w > 0.0)) return u1;
        // Scaled so that the rise ends at u1 exactly at w.
        return u0 + (u1 - u0) * (1.0 - ExpDecay(e / r)) / (1.0 - ExpDecay(w / r));
    }
    if (!(f > 0.0)) return u0;
    const double fallen = 1.0 - ExpDecay((e - w) / f);
    if (single) return (u0 - u1) * fallen + u1;
    if (w >= p) return u0;
    return (u0 - u1) * fallen / (1.0 - ExpDecay((p - w) / f)) + u1;
}

double CSignalWave::StepValue(double x, double e) const {
    const double d = m_Num.delay, r = m_Num.rise;
    if (!m_Running || (m_Stage == sgBefore && !TimeReached(x, d))) return m_Num.u0;
    if (m_Slope == ssExp) {
        if (!(r > 0.0)) return m_Num.u1;
        return (m_Num.u0 - m_Num.u1) * ExpDecay(e / r) + m_Num.u1;
    }
    if (TimeReached(x, d + r)) return m_Num.u1;
    if (!(r > 0.0)) return m_Num.u0;
    return RiseShape(e, r);
}

// Before the delay the only corner is the delay itself. Returns false when
// the pulse hasn't begun yet and the event is already stated.
bool CSignalWave::PulseStarted(double x, CSignalEvent& ev) {
    if (m_Stage != sgBefore) return true;
    if (!TimeReached(x, m_Num.delay)) {
        ev.hasNext = true;
        ev.tNext = m_Num.delay + m_Shift;
        return false;
    }
    m_Base = m_Num.delay;
    return true;
}

void CSignalWave::SinglePulseEvent(double x, CSignalEvent& ev) {
    if (PulseStarted(x, ev)) SingleTable(x, ev);
}

void CSignalWave::SingleTable(double x, CSignalEvent& ev) {
    const double b = m_Base, r = m_Num.rise, w = m_Num.width, f = m_Num.fall;
    const double origin = b + m_Shift;
    if (TimeReached(x, b + w + f)) {
        m_Stage = sgDone;
        return;
    }
    ev.hasNext = ev.hasMax = true;
    if (TimeReached(x, b + w)) {
        m_Stage = sgFall;
        ev.tNext = origin + w + f;
        ev.stepMax = f / 4.0;
    } else if (TimeReached(x, b + r)) {
        m_Stage = sgTop;
        ev.tNext = origin + w;
        ev.stepMax = (w - r) / 4.0;
    } else {
        m_Stage = sgRise;
        ev.tNext = origin + std::min(w, r);
        ev.stepMax = std::min(w, r) / 4.0;
    }
}

// Moves the base on to the period that holds x. A run that starts far out
// jumps by whole periods first, so the loop stays a few turns long.
void CSignalWave::AdvanceBase(double x, double p) {
    if (!(std::isfinite(p) && p > 0.0)) return;
    const double periods = std::floor((x - m_Base) / p);
    if (periods > 2.0 && std::isfinite(periods)) m_Base += (periods - 1.0) * p;
    for (int turn = 0; turn < 8 && TimeReached(x, m_Base + p); ++turn) m_Base += p;
}

void CSignalWave::PulseEvent(double x, CSignalEvent& ev) {
    if (!PulseStarted(x, ev)) return;
    AdvanceBase(x, m_Num.period);
    PulseTable(x, ev);
}

void CSignalWave::PulseTable(double x, CSignalEvent& ev) {
    const double b = m_Base, r = m_Num.rise, w = m_Num.width, f = m_Num.fall, p = m_Num.period;
    const double origin = b + m_Shift;
    ev.hasNext = ev.hasMax = true;
    if (TimeReached(x, b + w + f)) {
        m_Stage = sgDone;
        ev.tNext = origin + p;
        ev.stepMax = (p - w - f) / 4.0;
    } else if (TimeReached(x, b + w)) {
        m_Stage = sgFall;
        ev.tNext = origin + std::min(p, w + f);
        ev.stepMax = std::min(p - w, f) / 4.0;
    } else if (TimeReached(x, b + r)) {
        m_Stage = sgTop;
        ev.tNext = origin + std::min(p, w);
        ev.stepMax = (std::min(p, w) - r) / 4.0;
    } else {
        m_Stage = sgRise;
        const double first = std::min({w, p, r});
        ev.tNext = origin + first;
        ev.stepMax = first / 4.0;
    }
}

void CSignalWave::StepEvent(double x, CSignalEvent& ev) {
    const double d = m_Num.delay, r = m_Num.rise;
    if (TimeReached(x, d + r)) {
        m_Stage = sgTop;
        return;
    }
    ev.hasNext = true;
    ev.tNext = d + m_Shift;
    if (!(r > 0.0)) return;
    if (TimeReached(x, d)) {
        m_Stage = sgRise;
        ev.tNext = d + m_Shift + r;
        ev.hasMax = true;
        ev.stepMax = r / 4.0;
    }
}

// The clock is high for one solver step at each edge: the element's
// CheckState closes the pulse (ClockClose) and the next call here drops it.
void CSignalWave::ClockEvent(double x, CSignalEvent& ev) {
    const double d = m_Num.delay, p = m_Num.period;
    if (m_Stage == sgBefore) {
        ev.hasNext = true;
        ev.tNext = d + m_Shift;
        if (!TimeReached(x, d)) return;
        m_Base = d;
        m_Stage = sgTop;
        ev.hasMax = true;
        ev.stepMax = p;
        ev.hasMin = true;
        ev.stepMin = m_Num.clockStep;
    } else if (m_Stage == sgFall) {
        m_Stage = sgDone;
        ev.hasMin = true;
        ev.stepMin = m_Num.clockStep;
    }
    if (!std::isfinite(p) || !(p > 0.0)) return;
    ev.hasMax = ev.hasNext = true;
    ev.stepMax = p;
    if (TimeReached(x, m_Base + p)) {
        AdvanceBase(x, p);
        m_Stage = sgTop;
        ev.hasMin = true;
        ev.stepMin = m_Num.clockStep;
    }
    ev.tNext = m_Base + m_Shift + p;
}

}  // namespace qz3
