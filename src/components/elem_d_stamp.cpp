// The diode family's equations (PhaseStamp, pass 0), its switching tests
// for the solver's search, the changes that follow time, and the leak of an
// open diode that would leave a node floating.
#include <cmath>

#include "components/diode_check.h"
#include "components/elem_d.h"
#include "components/element_state.h"
#include "components/solver_port.h"

namespace qz3 {

void CElemD::QuadPair(int n, int* a, int* b) const {
    const int pa = nodes[0], pb = nodes[1], pc = nodes[2], pd = nodes[3];
    const bool ring = type == TypeId::DiodeRing;
    const int pairs[4][2] = {{pc, pa}, {ring ? pa : pd, ring ? pd : pa}, {pb, pc}, {ring ? pd : pb, ring ? pb : pd}};
    *a = pairs[n][0];
    *b = pairs[n][1];
}

bool CElemD::Stamp(CSolverPort* calc) {
    if (calc->StampPass() != 0) return true;
    const int a = nodes[0], b = nodes[1];
    const int k = firstBranch;
    const double Vd = vd.m_Value, V = v.m_Value;
    if (model == ModelId::Pwl) {
        calc->StampVCCS(b, a, a, b, k, pwl.Slope(state));
        calc->SetB(k, -pwl.Offset(state));
        return true;
    }
    if (model == ModelId::Storage) {
        calc->StampDiode(a, b, k, state != 0, state == -1 ? 0.0 : Vd, false);
        if (calc->IsTransient()) StampChargeRow(calc, t.m_Value);
        else calc->SetG(k + 1, k + 1, -1);
        return true;
    }
    if (model == ModelId::Soft) {
        StampSoft(calc);
        return true;
    }
    if (model != ModelId::Diode) return true;
    switch (type) {
        case TypeId::Diode: calc->StampDiode(a, b, k, state != 0, Vd, softOpen); break;
        case TypeId::Zener: calc->StampDiode(a, b, k, state != 0, state == -1 ? -V : Vd, softOpen); break;
        case TypeId::SymmetricZener: calc->StampDiode(a, b, k, state != 0, state < 0 ? -V : V, softOpen); break;
        case TypeId::Bridge:
        case TypeId::DiodeRing: StampQuad(calc); break;
        default:
            if (type == TypeId::CurrentThyristor) calc->StampSwitch(nodes[2], nodes[3], k + 1, true);
            calc->StampDiode(a, b, k, stage != 0 && state != 0, Vd, softOpen);
            break;
    }
    return true;
}

void CElemD::StampQuad(CSolverPort* calc) {
    for (int n = 0; n < 4; ++n) {
        int a, b;
        QuadPair(n, &a, &b);
        calc->StampDiode(a, b, firstBranch + n, (state >> n) & 1, vd.m_Value, softOpen);
    }
}

// The charge q, unknown k + 1: held at its value in the DC equations,
// dq/dt = i - q/lifeTime with the derivatives, and 0 without a life time.
void CElemD::StampChargeRow(CSolverPort* calc, double lifeTime) {
    const int k = firstBranch;
    if (calc->Integrating() == 0) {
        calc->SetG(k + 1, k + 1, 1);
        calc->SetB(k + 1, -q);
        return;
    }
    if (!(lifeTime > 0)) {
        calc->SetG(k + 1, k + 1, -1);
        return;
    }
    calc->SetG(k + 1, k, 1);
    if (!std::isinf(lifeTime)) calc->SetG(k + 1, k + 1, -1 / lifeTime);
    calc->SetC(k + 1, k + 1, -1);
}

// While it conducts with a life time, "Soft" first stores charge at its
// forward drop (stage 0), then recovers (stage 1): the reverse current is
// q/ts and the charge decays with ts towards the level i0.
void CElemD::StampSoft(CSolverPort* calc) {
    const int a = nodes[0], b = nodes[1];
    const int k = firstBranch;
    if (!(calc->IsTransient() && t.m_Value > 0 && state != 0)) {
        calc->StampDiode(a, b, k, state != 0, vd.m_Value, false);
        calc->SetG(k + 1, k + 1, -1);
        calc->SetB(k + 1, -0.0);
        return;
    }
    if (stage == 0) {
        calc->StampBranchVoltage(a, b, k, vd.m_Value);
        StampChargeRow(calc, t.m_Value);
        return;
    }
    const double recovery = ts.m_Value;
    calc->StampVCCS(b, a, k + 1, 0, k, 1 / recovery);
    calc->SetB(k + 1, i0);
    if (calc->Integrating() == 0) {
        calc->SetG(k + 1, k + 1, 1);
        calc->SetB(k + 1, -q);
        return;
    }
    calc->SetG(k + 1, k + 1, -1 / recovery);
    calc->SetC(k + 1, k + 1, -1);
}

bool CElemD::CheckSegment(CSolverPort* calc, bool commit) {
    const int a = nodes[0], b = nodes[1];
    const int k = firstBranch;
    const double Vd = vd.m_Value, V = v.m_Value;
    switch (model) {
        case ModelId::Pwl: return pwl.CheckSegment(calc->X(b) - calc->X(a), commit);
        case ModelId::Storage: return CheckDiode(calc, commit, &state, a, b, k, Vd, 0.0, stage != 0);
        case ModelId::Soft:
            if (state != 0 && t.m_Value > 0) return false;
            stage = 0;
            return CheckDiode(calc, commit, &state, a, b, k, Vd, 0.0, false);
        case ModelId::Diode: break;
        default: return false;
    }
    switch (type) {
        case TypeId::Diode: return CheckDiode(calc, commit, &state, a, b, k, Vd, 0.0, false);
        case TypeId::Zener: return CheckDiode(calc, commit, &state, a, b, k, Vd, -V, true);
        case TypeId::SymmetricZener: return CheckDiode(calc, commit, &state, a, b, k, V, -V, true);
        case TypeId::Bridge:
        case TypeId::DiodeRing: return CheckQuad(calc, commit);
        default: return CheckThyristor(calc, commit);
    }
}

// Each of the four diodes has one bit of `state` as its own state word.
bool CElemD::CheckQuad(CSolverPort* calc, bool commit) {
    bool any = false;
    for (int n = 0; n < 4; ++n) {
        int a, b;
        QuadPair(n, &a, &b);
        int bit = (state >> n) & 1;
        const bool moved = CheckDiode(calc, commit, &bit, a, b, firstBranch + n, vd.m_Value, 0.0, false);
        state = (state & ~(1 << n)) | ((bit & 1) << n);
        if (!moved) continue;
        any = true;
        if (!commit || calc->FirstOnly()) return true;
    }
    return any;
}

// Latched (stage 2) the thyristor holds while its current stays above
// Ihold and its voltage isn't negative.
bool CElemD::CheckThyristor(CSolverPort* calc, bool commit) {
    if (stage == 0) return false;
    const int a = nodes[0], b = nodes[1];
    const int k = firstBranch;
    const bool moved = CheckDiode(calc, commit, &state, a, b, k, vd.m_Value, 0.0, false);
    if (stage == 1) return moved;
    if (calc->X(k) > ihold.m_Value && !(calc->X(b) - calc->X(a) < 0)) return false;
    if (commit) stage = 0;
    return true;
}

double CElemD::GateLevel(const CSolverPort* calc) const {
    if (type == TypeId::VoltageThyristor) return calc->X(nodes[3]) - calc->X(nodes[2]) - threshold.m_Value;
    if (type == TypeId::CurrentThyristor) return calc->X(firstBranch + 1) - threshold.m_Value;
    return calc->X(nodes[2]) - calc->LogicThreshold();
}

bool CElemD::CheckState(CSolverPort* calc, bool commit, bool* changedOut) {
    if (model == ModelId::Diode && IsThyristor()) CheckGate(calc, commit, changedOut);
    else if (model == ModelId::Storage) CheckStorage(calc, commit, changedOut);
    else if (model == ModelId::Soft) CheckSoft(calc, commit, changedOut);
    return true;
}

void CElemD::CheckGate(CSolverPort* calc, bool commit, bool* changedOut) {
    const double g = GateLevel(calc);
    if (stage != 1) {
        if (!(g > 0)) return;
        *changedOut = true;
        if (commit) stage = 1;
        return;
    }
    if (g > 0) return;
    *changedOut = true;
    if (commit) stage = calc->X(firstBranch) > ihold.m_Value ? 2 : 0;
}

void CElemD::CheckStorage(CSolverPort* calc, bool commit, bool* changedOut) {
    if (!(t.m_Value > 0)) return;
    const double charge = calc->X(firstBranch + 1);
    if (stage == 0 && charge > 0) {
        *changedOut = true;
        if (commit) stage = 1;
    } else if (stage == 1 && charge < 0) {
        *changedOut = true;
        if (!commit) return;
        stage = 0;
        if (state == -1) state = 0;
    }
}

void CElemD::CheckSoft(CSolverPort* calc, bool commit, bool* changedOut) {
    if (state == 0 || !(t.m_Value > 0)) return;
    const int k = firstBranch;
    const double charge = calc->X(k + 1);
    if (!(charge > 0)) {
        *changedOut = true;
        if (commit) state = 0;
    } else if (stage == 0 && -calc->X(k) * ts.m_Value >= charge) {
        *changedOut = true;
        if (!commit) return;
        stage = 1;
        i0 = calc->X(k) * 0.01;
    } else if (stage == 1 && calc->X(nodes[1]) - calc->X(nodes[0]) >= vd.m_Value) {
        *changedOut = true;
        if (commit) stage = 0;
    }
}

// An open diode whose node has no other entry gets a large resistance, so
// the row isn't empty; false makes the solver look at the rows again.
bool CElemD::FloatFix(CSolverPort* calc) {
    const int count = IsQuad() ? 4 : 1;
    bool fixed = false;
    for (int n = 0; n < count; ++n) {
        int a = nodes[0], b = nodes[1];
        if (IsQuad()) QuadPair(n, &a, &b);
        const bool on = IsQuad() ? ((state >> n) & 1) != 0 : state != 0 && (!IsThyristor() || stage != 0);
        if (!on && LeakOpenJunction(calc, a, b)) fixed = true;
    }
    return !fixed;
}

void CElemD::GetTraceValue(CSolverPort* calc, int kind, double* value, double* value2) {
    *value = 0.0;
    *value2 = 0.0;
    if (!IsQuad() || kind != 2) return;
    const int k = firstBranch;
    double sum = 0.0;
    for (int n = 0; n < 4; ++n) {
        int a, b;
        QuadPair(n, &a, &b);
        sum += (calc->X(b) - calc->X(a)) * calc->X(k + n);
    }
    *value = sum;
}

}  // namespace qz3
