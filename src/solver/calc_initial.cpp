// The initial state: the operating point at the start of a run (and again
// after a dynamic value jumped), and the first step after a discontinuity.
// Both hand the work to the switching search; they differ in the equations
// it solves: the DC form, or one backward Euler step.
#include "components/cmp.h"
#include "solver/calc.h"

namespace qz3 {

namespace {
constexpr int kFound = 0, kTerminated = 3, kPaused = 5;
}

bool CCalc::SimIC() {
    const int r = SolveSwitching(false);
    if (r == kPaused) return true;
    if (r == kTerminated) return false;
    if (r != kFound) {
        if (m_Error.empty()) m_Error = "No solution in sim_ic: reason unknown";
        return false;
    }
    RunPhase(PhaseSample, m_Time);
    // The first point of every trace is the operating point; a later one
    // records nothing, since time doesn't advance.
    if (m_FirstStore) {
        m_FirstStore = false;
        if (!StoreResults()) {
            CodeError(ErrorMark::StoreFirstPoint);
            return false;
        }
    }
    if (m_State != StateIdle) RunPhase(PhaseStore, 0.0);
    m_State = StateFirst;
    PlanStep();
    return true;
}

bool CCalc::SimState() {
    if (!RunPhase(PhaseEval, m_Time)) return false;
    // A first step is never shorter than planned; a break that it overruns
    // is found reached by the next turn.
    m_Step = m_StepFirst;
    const int r = SolveSwitching(true);
    if (r == kPaused) return true;
    if (r != kFound) {
        if (m_Error.empty()) m_Error = "No solution in sim_state: reason unknown";
        return false;
    }
    AdvanceTime(m_Step);
    if (!StoreResults()) {
        CodeError(ErrorMark::StoreInitialPoint);
        return false;
    }
    if (!CheckStates(true)) {
        CodeError(ErrorMark::CheckInitialStates);
        return false;
    }
    if (m_Switched) {
        // Another discontinuity at once; a jump request is not lost, since the
        // element has committed its values and the search runs again.
        m_State = StateFirst;
        PlanStep();
    } else {
        m_State = StateEuler;
    }
    m_EulerCount = m_EulerTarget = 0;
    return true;
}

}  // namespace qz3
