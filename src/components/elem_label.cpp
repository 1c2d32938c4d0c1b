#include "components/elem_label.h"

#include <cmath>

#include "components/solver_port.h"

namespace qz3 {

bool CElemLabel::CheckParams(CSolverPort* calc) {
    if (model == ModelId::Label) return true;
    if (model == ModelId::IC) return CheckParamRows(this, calc);
    return CElemV::CheckParams(calc);
}

// A plain label only looks at its node; a driving one is a source.
int CElemLabel::PinKind(int pin) const { return model == ModelId::Label && !hostDriven ? kPinSensing : kPinAnalog; }

bool CElemLabel::Simulate(CSolverPort* calc, int phase, double t) {
    if (DrivesNode() || hostDriven) {
        if (phase == PhasePins) {
            PinGroups()[0] = 0;
            return true;
        }
        return CElemV::Simulate(calc, phase, t);
    }
    switch (phase) {
        case PhaseInit: icActive = true; return true;
        case PhasePins: PinGroups()[0] = 1; return true;
        case PhaseStamp: return model != ModelId::IC || calc->StampPass() != 0 || StampInitialCondition(calc, t);
        case PhaseCheckIC:
            if (model != ModelId::IC || !icActive || calc->NodeState(firstBranch) == 0) return true;
            icActive = false;
            calc->SetError(FullName() + " : IC removed");
            return false;
        default: return true;
    }
}

// Only the operating point at time 0 sees the pull towards V.
bool CElemLabel::StampInitialCondition(CSolverPort* calc, double t) {
    const int n = nodes[0], k = firstBranch;
    if (!(t > 0.0) && calc->Integrating() == 0 && std::isfinite(r.m_Value) && icActive && n > 0) {
        calc->AddG(n, k, 1.0);
        calc->AddG(k, n, 1.0);
        calc->AddG(k, k, r.m_Value);
        calc->SetB(k, -value.m_Value);
        return true;
    }
    calc->StampSwitch(0, 0, k, false);
    return true;
}

bool CElemLabel::GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* resistance) {
    CCmp::GetTraceNodes(calc, kind, nodeA, nodeB, branch, resistance);
    *nodeA = 0;
    *nodeB = nodes[0];
    if (!DrivesNode() && !hostDriven) *branch = -1;
    return true;
}

}  // namespace qz3
