// The transient state machine: one turn per StepOnce.
//
// Between events the equations are linear with constant coefficients: after a
// discontinuity a few backward Euler steps damp what the jump excites, then
// the system is factorised once and every trapezoidal step is one product.
// Before a step is accepted the elements are asked whether an event lies in
// it; if so the step is undone and the event bracketed by halving.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "base/change_bits.h"
#include "components/cmp.h"
#include "solver/calc.h"
#include "solver/run_traces.h"

namespace qz3 {

namespace {

// The mark of a silent failure of a state's routine; none for the edge step.
ErrorMark StateMark(int state) {
    switch (state) {
        case CCalc::StateIC: return ErrorMark::InitialState;
        case CCalc::StateReIC: return ErrorMark::RepeatInitialState;
        case CCalc::StateFirst: return ErrorMark::FirstStep;
        case CCalc::StateEuler: return ErrorMark::EulerStep;
        case CCalc::StateFactor: return ErrorMark::Factorisation;
        case CCalc::StateTrap: return ErrorMark::TrapezoidalStep;
        default: return ErrorMark::None;
    }
}

}  // namespace

bool CCalc::StepOnce() {
    m_Ticks = kTicksUnread;
    m_Error.clear();
    if (m_Changes == kChangeTraces) {  // only the traces changed
        if (!PrepareTraces()) return false;
        m_Changes = 0;
    } else if (m_Changes != 0) {
        // A changed parameter costs one turn that only prepares.
        m_StepBase = StepSetting();
        m_State = StateIdle;
    }
    return RunState();
}

bool CCalc::RunState() {
    const int state = m_State;
    m_TinyStepCmp = nullptr;
    bool ok = false;
    switch (state) {
        case StateIC:
        case StateReIC: ok = SimIC(); break;
        case StateFirst: ok = SimState(); break;
        case StateEuler:
        case StateFactor:
        case StateTrap:
        case StateEdge: ok = SimStep(); break;
        default:
            if (!StartRun()) {
                CodeError(ErrorMark::Restart);
                return false;
            }
            m_Error.clear();
            return true;
    }
    if (ok && m_TinyStepCmp) {
        CmpError(m_TinyStepCmp, "asks for a step below the resolution of the time");
        return false;
    }
    if (!ok) {
        if (const ErrorMark mark = StateMark(state); mark != ErrorMark::None) CodeError(mark);
        return false;
    }
    m_Error.clear();
    return true;
}

void CCalc::PlanStep() {
    m_NextBreak = std::numeric_limits<double>::quiet_NaN();
    m_StepNominal = m_StepBase;
    double first = 0.0;
    const double resolution = kTimeResolution * std::max(std::fabs(m_Time), m_StepBase);
    for (CCmp* cmp : m_Cmps) {
        if (cmp->IsSubCircuit()) continue;
        double next = m_NextBreak, maxStep = m_StepNominal, firstStep = 0.0;
        cmp->NextEvent(this, m_Time, &next, &maxStep, &firstStep);
        if (!std::isnan(next) && (std::isnan(m_NextBreak) || m_NextBreak > next)) m_NextBreak = next;
        if (maxStep > 0.0 && maxStep < m_StepNominal) m_StepNominal = maxStep;
        if (maxStep > 0.0 && maxStep < resolution && !m_TinyStepCmp) m_TinyStepCmp = cmp;
        if (firstStep > 0.0 && (first == 0.0 || first > firstStep)) first = firstStep;
    }
    if (Advanced().m_ConstantStep) {
        m_StepFirst = m_StepFirstPrev = m_StepNominal = m_StepMin = m_Step = m_StepBase;
        return;
    }
    const double t = m_Time;
    if (!std::isnan(m_NextBreak)) {
        const double d = m_NextBreak - t;
        if (!TimesMeet(t, m_NextBreak) && t <= m_NextBreak && d <= m_StepNominal && !TimesMeet(d, m_StepNominal))
            m_StepNominal = d;
    }
    // The first step never jumps up at once: the smaller of this plan and the last.
    m_StepFirst = m_StepFirstPrev;
    m_StepFirstPrev = m_StepNominal * FirstStepFactor();
    if (m_StepFirstPrev < m_StepFirst) m_StepFirst = m_StepFirstPrev;
    m_StepMin = m_StepNominal * SmallestStepFactor();
    m_Step = m_StepFirst;
    if (first > 0.0 && first < m_Step) m_Step = m_StepFirst = first;
}

// After the second Euler step: the rest of one nominal step from the event
// in k + 1 equal steps, so that the grid of nominal steps isn't lost.
void CCalc::PlanEulerPhase(bool& factorNow) {
    const double r = m_StepNominal - 2.0 * m_StepFirst;
    m_StepFirst = m_StepNominal * FirstStepFactor();
    const double k = std::trunc(r / m_StepFirst);
    if (k > 0.0 && r / (k + 1.0) > 0.0) {
        m_StepFirst = m_Step = r / (k + 1.0);
        m_EulerTarget = static_cast<int32_t>(k) + 2;
        factorNow = false;
        return;
    }
    m_EulerTarget = 0;
    m_State = StateFactor;
    factorNow = true;
}

// A near break is reached by a whole number of nominal steps.
void CCalc::FitStepsToBreak() {
    const double b = m_NextBreak;
    if (!Advanced().m_ConstantStep && !std::isnan(b)) {
        const double d = b - m_Time;
        const double quotient = d / m_StepNominal;
        if (quotient < 100.0) {
            const double k = std::trunc(quotient);
            const double s = k * m_StepNominal;
            if (!TimesMeet(s, d)) m_StepNominal = d / (k + 1.0);
        }
    }
    m_Step = m_StepNominal;
}

bool CCalc::TakeStep() {
    switch (m_State) {
        case StateFactor:
            m_Step = m_StepNominal;
            if (!FactorTrap()) return false;
            m_State = StateTrap;
            if (!StepTrapFast()) {
                CodeError(ErrorMark::FirstFastStep);
                return false;
            }
            return true;
        case StateTrap:
            if (StepTrapFast()) return true;
            CodeError(ErrorMark::FastStep);
            return false;
        case StateEdge:
            if (StepTrap()) return true;
            CodeError(ErrorMark::EdgeStep);
            return false;
        default:
            if (StepEuler()) return true;
            CodeError(ErrorMark::StepEuler);
            return false;
    }
}

bool CCalc::SimStep() {
    const size_t m = static_cast<size_t>(m_Total), n = static_cast<size_t>(m_Size);
    std::memcpy(VecXPrev, VecX, m * sizeof(double));
    std::memcpy(VecEPrev, VecE, n * sizeof(double));
    if (!RunPhase(PhaseEval, m_Time)) {
        CodeError(ErrorMark::EvaluateFunctions);
        return false;
    }
    const double b = m_NextBreak;
    if (!std::isnan(b) && (TimesMeet(m_Time, b) || b <= m_Time)) {
        PlanStep();
        m_State = StateFirst;
        return true;
    }
    const bool cs = Advanced().m_ConstantStep;
    bool factorNow = m_State == StateFactor;
    if (!cs && m_State == StateEuler && m_EulerCount == 1) PlanEulerPhase(factorNow);
    if (factorNow) FitStepsToBreak();
    if (b < m_Time + m_Step) {
        if (!cs) {
            m_Step = b - m_Time;
            if (m_Step < m_StepMin) m_Step = m_StepMin;
        }
        if (m_State != StateEuler) m_State = StateEdge;
    }
    if (!TakeStep()) return false;
    int hit = 0;  // 0 no event, 1 undone steps only, 2 an accepted part step
    // Each round halves the step, so the bisection ends at the smallest step.
    for (;;) {
        const int event = TestStep(hit);
        if (event < 0) return false;
        if (event == 0) {
            bool done = false;
            if (!AcceptStep(hit, done)) return false;
            if (done) return true;
        }
        bool located = false;
        if (!BracketEvent(hit, located)) return false;
        if (located) return CommitEvent();
    }
}

// -1 failure, 0 the step stands, 1 an element wants a change inside it (undone).
int CCalc::TestStep(int& hit) {
    bool switched = false;
    for (CCmp* cmp : m_Cmps) {
        if (cmp->IsSubCircuit() || !cmp->CheckSegment(this, false)) continue;
        cmp->changed = true;
        if (!m_Trigger) m_Trigger = cmp;
        m_Switched = switched = true;
        break;
    }
    if (!switched) {
        m_Switched = m_JumpRequest = false;
        for (CCmp* cmp : m_Cmps) {
            if (cmp->IsSubCircuit()) continue;
            bool flag = false;
            if (!cmp->CheckState(this, false, &flag)) {
                CodeError(ErrorMark::TestStates);
                return -1;
            }
            if (flag) {
                m_Switched = true;
                break;
            }
        }
        if (!m_Switched && m_JumpRequest) m_State = StateReIC;
    }
    if (!m_Switched) return 0;
    if (hit == 0) hit = 1;
    std::memcpy(VecX, VecXPrev, static_cast<size_t>(m_Total) * sizeof(double));
    std::memcpy(VecE, VecEPrev, static_cast<size_t>(m_Size) * sizeof(double));
    if (m_State != StateEuler) m_State = StateEdge;
    return 1;
}

// The step stands. Without an event so far it is the normal end of the turn.
bool CCalc::AcceptStep(int& hit, bool& done) {
    AdvanceTime(m_Step);
    if (hit != 0) {
        hit = 2;  // one accepted half of the bisection
        return true;
    }
    done = true;
    if (!StoreResults()) {
        CodeError(ErrorMark::StoreStep);
        return false;
    }
    if (m_State != StateEuler) return true;
    if (Advanced().m_SeveralEulerSteps) {
        ++m_EulerCount;
        if (m_EulerCount < 2 || m_EulerCount < m_EulerTarget) return true;
    }
    m_State = StateFactor;
    return true;
}

bool CCalc::BracketEvent(int& hit, bool& located) {
    if (Advanced().m_ConstantStep) {
        m_StepFirst = m_Step;
        located = true;
        return true;
    }
    if (m_Step <= 1.5 * m_StepMin) {
        if (hit == 2 && !StoreResults()) {
            CodeError(ErrorMark::StoreEvent);
            return false;
        }
        m_StepFirst = m_StepNominal * FirstStepFactor();
        if (m_NextBreak < m_Time + m_StepFirst) m_StepFirst = m_NextBreak - m_Time;
        located = true;
        return true;
    }
    m_Step *= 0.5;
    std::memcpy(VecXPrev, VecX, static_cast<size_t>(m_Total) * sizeof(double));
    std::memcpy(VecEPrev, VecE, static_cast<size_t>(m_Size) * sizeof(double));
    if (m_State == StateEdge) {
        if (StepTrap()) return true;
        CodeError(ErrorMark::RetryEdgeStep);
        return false;
    }
    if (StepEuler()) return true;
    CodeError(ErrorMark::RetryEulerStep);
    return false;
}

// The point where the search stopped becomes the start of the next states.
bool CCalc::CommitEvent() {
    if (m_State != StateIdle) RunPhase(PhaseStore, 0.0);
    if (!CheckStates(true)) {
        CodeError(ErrorMark::CommitEvent);
        return false;
    }
    if (m_State != StateReIC) m_State = StateFirst;
    if (m_Switched) PlanStep();
    return true;
}

void CCalc::AdvanceTime(double step) {
    // Knuth's two-sum: the exact rounding error of one addition.
    const double add = step + m_TimeCarry;
    const double sum = m_Time + add;
    const double addTaken = sum - m_Time;
    m_TimeCarry = (m_Time - (sum - addTaken)) + (add - addTaken);
    m_Time = sum;
    // A step that reaches a break lands on it exactly, whatever the rounding.
    if (!std::isnan(m_NextBreak) && TimesMeet(m_Time, m_NextBreak)) SetTime(m_NextBreak);
}

void CCalc::SetTime(double t) {
    m_Time = t;
    m_TimeCarry = 0.0;
}

void CCalc::AskBreak(double t) {
    if (t > m_Time && !TimesMeet(t, m_Time) && (std::isnan(m_NextBreak) || t < m_NextBreak)) m_NextBreak = t;
}

bool CCalc::StoreResults() {
    for (CCmp* cmp : m_PhaseCmps[PhaseHistory])
        if (!cmp->Simulate(this, PhaseHistory, m_Time)) return false;
    bool hold = false;
    if (!Advanced().m_StoreBeforeStart) {
        const bool early = m_Time < m_StartTime && !TimesMeet(m_Time, m_StartTime);
        hold = early || !m_NoStartTrigger;
    }
    return SampleRunTraces(m_Doc, *this, m_Time, hold);
}

bool CCalc::CheckStates(bool commit) {
    m_Switched = m_JumpRequest = false;
    for (CCmp* cmp : m_Cmps) {
        if (cmp->IsSubCircuit()) continue;
        bool flag = false;
        if (!cmp->CheckState(this, commit, &flag)) return false;
        if (!flag) continue;
        m_Switched = true;
        if (!commit) return true;
    }
    if (m_JumpRequest) m_State = StateReIC;
    return true;
}

}  // namespace qz3
