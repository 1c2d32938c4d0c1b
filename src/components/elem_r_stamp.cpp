// The resistor family's entries in the equations (PhaseStamp, pass 0).
#include "components/elem_r.h"
#include "components/solver_port.h"

namespace qz3 {

bool CElemR::Stamp(CSolverPort* calc) {
    if (calc->StampPass() != 0) return true;
    const int a = nodes[0], b = nodes[1];
    const int k = firstBranch;
    bool sound = true;
    switch (model) {
        case ModelId::R:
            if (r.m_Value == 0.0) calc->StampSwitch(a, b, k, true);
            else sound = calc->StampResistor(a, b, r.m_Value);
            break;
        case ModelId::Potentiometer: sound = StampPotentiometer(calc); break;
        case ModelId::PwlI: sound = StampPwlI(calc); break;
        case ModelId::Pwl:
            if (IsType(TypeId::Resistor)) {
                // i_k = slope * (x_b - x_a) + offset, the conductance of the segment.
                calc->StampVCCS(b, a, a, b, k, pwl.Slope(state));
                calc->SetB(k, -pwl.Offset(state));
                break;
            }
            if (type == TypeId::CurrentControlledResistor) calc->StampSwitch(nodes[2], nodes[3], k + 1, true);
            calc->StampResistorBranch(a, b, k, pwl.Slope(state));
            break;
        default: break;
    }
    return sound ? true : calc->CmpError(this, nullptr);
}

bool CElemR::StampPotentiometer(CSolverPort* calc) {
    const int a = nodes[0], b = nodes[1], c = nodes[2];
    const int k = firstBranch;
    const double R = r.m_Value, p = position.m_Value;
    if (R == 0.0) {
        calc->StampSwitch(a, c, k, true);
        calc->StampSwitch(c, b, k + 1, true);
        return true;
    }
    if (!(p > 0.0)) {
        calc->StampSwitch(a, c, k, true);
        return calc->StampResistor(c, b, R);
    }
    if (p >= 1.0) {
        if (!calc->StampResistor(a, c, R)) return false;
        calc->StampSwitch(c, b, k, true);
        return true;
    }
    return calc->StampResistor(a, c, R * p) && calc->StampResistor(c, b, R * (1.0 - p));
}

// x[b] - x[a] = s * i + o, with i the unknown k.
bool CElemR::StampPwlI(CSolverPort* calc) {
    const int a = nodes[0], b = nodes[1];
    const int k = firstBranch;
    const double s = pwlI.Slope(state), o = pwlI.Offset(state);
    calc->StampBranchVoltage(a, b, k, o);
    calc->SetG(k, k, -s);
    return true;
}

}  // namespace qz3
