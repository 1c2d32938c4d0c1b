// A document's transient run: start, go on, fail.
//
// There is no end of a run at a final time: the host decides how far to go.
// A failure ends the run, so that the next simulate call starts at time 0.
#include <cmath>

#include "components/cmp.h"
#include "components/cmps.h"
#include "document/doc.h"
#include "solver/calc.h"
#include "solver/run_traces.h"

namespace qz3 {

namespace {

// Turns in a row that leave the time where it was before a run is given up:
// an operating point, a rebuild and a jump take a few, never this many.
constexpr int kMaxStandingTurns = 100000;

// One call may ask for at most this many steps of the run's step: beyond it
// the host has asked for something that would not end in its lifetime.
constexpr double kMaxStepsPerCall = 1e12;

// The time-out is looked at every this many turns, not at every step.
constexpr int kTurnsPerClockLook = 1024;

// The end of an interval is reached when the time meets it or lies beyond it;
// a NaN end counts as reached.
bool EndReached(double t, double end) { return CCalc::TimesMeet(t, end) || !(end > t); }

// Mode 2 lands on the end exactly: a step that would come within a tenth of
// a step of it is shortened to it, so that no sliver is left over. A first
// step behind an event keeps its state and its switching search; any other
// becomes a trapezoidal step of free length. False when no step remains.
bool ShortenToEnd(CCalc& calc, double end) {
    const bool first = calc.m_State == CCalc::StateFirst;
    double& step = first ? calc.m_StepFirst : calc.m_Step;
    if (step * 1.1 + calc.m_Time > end) {
        step = calc.m_Step = end - calc.m_Time;
        if (!(step > 0.0)) return false;
        if (!first) calc.m_State = CCalc::StateEdge;
    }
    if (std::isnan(calc.m_NextBreak) || calc.m_NextBreak > end) calc.m_NextBreak = end;
    return true;
}

}  // namespace

const std::string& CDoc::RunError() const { return m_Calc->m_Error; }

// The host's time-out, in seconds, limits each simulate call as a whole; the
// run stays open, so the next call goes on from where this one stopped.
bool CDoc::TimeOutReached(int32_t began) const {
    const int seconds = m_Advanced.m_Timeout;
    return seconds > 0 && (CCalc::ClockMs() - began) / 1000 >= seconds;
}

bool CDoc::RunFailed() {
    m_Running = false;
    return false;
}

bool CDoc::Start() {
    CCalc& calc = *m_Calc;
    ClearRunTraces(this);
    // Formulas come to a fixed point before the elements check their values.
    m_Cmps->EvalParams();
    calc.BeginRun(true);
    if (!calc.StartRun()) {
        calc.CodeError(ErrorMark::StartRun);
        return RunFailed();
    }
    // The operating point belongs to the start, not to the first step.
    for (int turn = 0; calc.m_State == CCalc::StateIC; ++turn) {
        if (turn >= kMaxStandingTurns) {
            calc.SetError("No solution in sim_ic: reason unknown");
            return RunFailed();
        }
        if (!calc.StepOnce()) return RunFailed();
    }
    m_Running = true;
    return true;
}

bool CDoc::Simulate(double interval, int mode) {
    if (!m_Running && !Start()) return false;
    CCalc& calc = *m_Calc;
    if (mode == 1) return calc.StepOnce() || RunFailed();
    // The step the run takes from its next turn: a step the host set since
    // the last turn counts, not the one it replaces.
    if (interval / m_TranSettings.m_Step > kMaxStepsPerCall) {
        calc.SetError("interval of more than 1e12 steps");
        return false;
    }
    const double end = interval + calc.m_Time;
    double lastTime = calc.m_Time;
    int standing = 0;
    const int32_t began = CCalc::ClockMs();
    for (int turn = 1; !EndReached(calc.m_Time, end); ++turn) {
        if (mode == 2 && calc.m_State >= CCalc::StateFirst && !ShortenToEnd(calc, end)) return true;
        if (!calc.StepOnce()) return RunFailed();
        if (turn % kTurnsPerClockLook == 0 && TimeOutReached(began)) {
            calc.SetError("Time-out at t = " + calc.TimeText(calc.m_Time));
            return false;
        }
        standing = calc.m_Time == lastTime ? standing + 1 : 0;
        lastTime = calc.m_Time;
        if (standing >= kMaxStandingTurns) {
            calc.SetError("Time does not advance");
            return RunFailed();
        }
    }
    return true;
}

void CDoc::KeepRunState() {
    CCalc& calc = *m_Calc;
    if (calc.m_State == CCalc::StateIdle) return;
    for (CCmp* cmp : calc.m_Cmps)
        if (!cmp->IsSubCircuit()) cmp->Simulate(&calc, PhaseStore, 0.0);
}

}  // namespace qz3
