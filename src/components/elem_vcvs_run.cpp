// The controlled sources during a run: stamps, the formula and the
// oscillator at each time point, one-shot pulses and modulator edges.
#include <algorithm>
#include <cmath>
#include <string>

#include "base/constants.h"
#include "base/number_format.h"
#include "components/elem_vcvs.h"
#include "components/element_state.h"
#include "components/one_shot.h"
#include "components/solver_port.h"
#include "components/source_stamps.h"
#include "expr/state_text.h"

namespace qz3 {

double CElemVCVS::Control(const CSolverPort* calc) const {
    if (IsCurrentControl()) return model == ModelId::Source ? 0.0 : calc->X(firstBranch + 1);
    return calc->X(nodes[3]) - calc->X(nodes[2]);
}

bool CElemVCVS::Simulate(CSolverPort* calc, int phaseNumber, double t) {
    switch (phaseNumber) {
        case PhaseInit: return Init(calc, t);
        case PhaseStamp: return calc->StampPass() != 0 || Stamp(calc);
        case PhaseEval: return model != ModelId::Function || m_Formula.Evaluate(calc, this, f, t, Control(calc), out);
        case PhaseSources: return Sources(calc, t);
        case PhaseSample:
            if (model == ModelId::OneShot) state2 = Control(calc) - threshold.m_Value > 0.0 ? 1 : 0;
            return true;
        case PhaseLinearize:
            gain = 0.0;
            return model != ModelId::Function || m_Formula.Slope(calc, this, f, t, Control(calc), gain);
        case PhasePins: SetPinGroups(); return true;
        default: return true;
    }
}

bool CElemVCVS::Init(CSolverPort* calc, double t) {
    if (ModelChanged()) {
        switch (model) {
            case ModelId::Function: out = ic.m_Value; break;
            case ModelId::Vco:
                tLast = t;
                acc = 0.0;
                break;
            case ModelId::Pwm:
                state = 0;
                acc = tLast = phase.m_Value / 360.0 / fpwm.m_Value;
                break;
            case ModelId::OneShot:
                state = 0;
                tLast = 0.0;
                break;
            case ModelId::Pwl: state = 0; break;
            default: break;
        }
    }
    if (model == ModelId::Function && !m_Formula.Prepare(calc, this, "u")) return false;
    if (lastModel == ModelId::None) LoadStoredState(calc);
    return true;
}

void CElemVCVS::LoadStoredState(CSolverPort* calc) {
    const std::string text = StoredState(calc, this);
    if (text.empty()) return;
    if (model == ModelId::Function) {
        out = KeyHex(text, "v", out);
        return;
    }
    if (model != ModelId::Vco && model != ModelId::Pwm && model != ModelId::OneShot) return;
    state = KeyInt(text, "s", state);
    state2 = KeyInt(text, "i", state2);
    tLast = KeyHex(text, "t", tLast);
    acc = KeyHex(text, "ph", acc);
}

bool CElemVCVS::Stamp(CSolverPort* calc) {
    const int a = nodes[0], b = nodes[1], kb = firstBranch;
    const bool voltage = IsVoltageOutput();
    if (IsCurrentControl() && model != ModelId::Source) calc->StampSwitch(nodes[2], nodes[3], kb + 1, true);
    switch (model) {
        case ModelId::Linear: return StampGain(calc, k.m_Value);
        case ModelId::Pwl:
            if (!StampGain(calc, pwl.Slope(state))) return false;
            calc->SetB(kb, -pwl.Offset(state));
            return true;
        case ModelId::Source: return StampSourceConstant(calc, this, voltage, a, b, kb, value.m_Value);
        case ModelId::Function:
            if (!calc->IsTransient() && calc->Integrating() == 1) return StampGain(calc, gain);
            return StampSourceInput(calc, this, voltage, a, b, kb);
        case ModelId::Vco: return StampSourceInput(calc, this, voltage, a, b, kb);
        case ModelId::Pwm:
        case ModelId::OneShot:
            return StampSourceConstant(calc, this, voltage, a, b, kb, state == 1 ? v1.m_Value : v0.m_Value);
        default: return true;
    }
}

// The output is g times the control.
bool CElemVCVS::StampGain(CSolverPort* calc, double g) {
    const int a = nodes[0], b = nodes[1], c = nodes[2], d = nodes[3], kb = firstBranch;
    switch (type) {
        case TypeId::Vcvs: return calc->StampVCVS(a, b, c, d, kb, g) || calc->CmpError(this, nullptr);
        case TypeId::Ccvs: return calc->StampCCVS(a, b, kb, kb + 1, g) || calc->CmpError(this, nullptr);
        case TypeId::Vccs: calc->StampVCCS(a, b, c, d, kb, g); return true;
        default: calc->StampCCCS(a, b, kb, kb + 1, g); return true;
    }
}

bool CElemVCVS::Sources(CSolverPort* calc, double t) {
    if (model == ModelId::Function) calc->SetSource(firstBranch, out);
    else if (model == ModelId::Vco) calc->SetSource(firstBranch, OscillatorValue(t, Control(calc)));
    return true;
}

// The phase grows by the frequency the control asks for since the last
// time point, so the wave never jumps when the control does.
double CElemVCVS::OscillatorValue(double t, double u) {
    acc += (t - tLast) * u * dfdv.m_Value;
    tLast = t;
    const double p = phase.m_Value / 360.0 + acc;
    const double low = v0.m_Value, high = v1.m_Value;
    if (vcoType.Index == 0) return low + high * std::sin(2.0 * p * kPi);
    const double m = std::fmod(p, 1.0);
    switch (vcoType.Index) {
        case 1: return m < 0.5 ? low : high;
        case 2: return 2.0 * (high - low) * std::min(m, 1.0 - m) + low;
        default: return m * (high - low) + low;
    }
}

bool CElemVCVS::CheckState(CSolverPort* calc, bool commit, bool* changedOut) {
    if (model == ModelId::Pwl) {
        if (pwl.CheckSegment(Control(calc), commit)) *changedOut = true;
    } else if (model == ModelId::OneShot) {
        CheckOneShot(this, Control(calc) - threshold.m_Value, width.m_Value, calc->Time(), commit, changedOut, tLast);
    }
    return true;
}

void CElemVCVS::NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) {
    if (model == ModelId::OneShot) OneShotEvent(this, t, width.m_Value, tLast, tNext, stepMax);
    else if (model == ModelId::Pwm) PwmEvent(t, Control(calc), tNext, stepMax);
}

// Each period rises at its start (`acc` before it is advanced) and falls
// after T/Vmax*u, the control read at the rising edge.
void CElemVCVS::PwmEvent(double t, double u, double* tNext, double* stepMax) {
    const double e = tLast;
    if (RealCompare(e, t) != 0 && e > t) {
        *tNext = e;
        return;
    }
    double next;
    if (state == 0) {
        const double period = 1.0 / fpwm.m_Value;
        const double w = std::clamp(period / vmax.m_Value * u, 0.0, period);
        next = acc + w;
        *stepMax = w * 0.25;
        acc += period;
        state = 1;
    } else {
        next = acc;
        *stepMax = (next - e) * 0.25;
        state = 0;
    }
    tLast = next;
    *tNext = next;
}

std::string CElemVCVS::GetState() {
    std::string text;
    if (model == ModelId::Function) {
        AddKeyHex(text, "v", out);
        return text;
    }
    AddKeyInt(text, "s", state);
    AddKeyInt(text, "i", state2);
    AddKeyHex(text, "t", tLast);
    AddKeyHex(text, "ph", acc);
    return text;
}

// The output branch joins pins 0 and 1 for a voltage output; a current
// output is no path. A control voltage pair draws nothing, a control
// current's path joins its pins.
void CElemVCVS::SetPinGroups() {
    int* groups = PinGroups();
    groups[0] = 1;
    groups[1] = IsVoltageOutput() ? 1 : 2;
    groups[2] = groups[1] + 1;
    groups[3] = IsCurrentControl() ? groups[2] : groups[2] + 1;
}

}  // namespace qz3
