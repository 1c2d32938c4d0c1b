#include "components/elem_cs.h"

#include <climits>
#include <cmath>

#include "components/element_state.h"
#include "components/param_check.h"
#include "document/xml_node.h"
#include "expr/state_text.h"
#include "components/solver_port.h"

namespace qz3 {

namespace {
constexpr int kSlopeLog = 2;
constexpr double kPi = 3.14159265358;

const char* const kSlopeWords[] = {"Linear", "Cos", "Log", nullptr};

// Rows of the logic types, then of the voltage and the current types, whose
// thresholds differ only in their unit.
CParam s_SwitchLogic[] = {{kParamOnOff, "Active"}, {kParamOnOff, "IC"}, {}};
CParam s_OneShotLogic[] = {{kParamOnOff, "Active"}, {kParamFormula, "Width", "s"}, {}};
CParam s_StepsLogic[] = {{kParamFormula, "Roff", "Ohm"}, {kParamFormula, "Ron", "Ohm"}, {kParamChoice, "Slope"},
                         {kParamFormula, "Ramp", "s"},   {kParamFormula, "Steps"},     {kParamOnOff, "IC"},
                         {}};

#define QZ3_CONTROLLED_ROWS(suffix, unit)                                                                   \
    CParam s_Switch##suffix[] = {{kParamFormula, "Threshold", unit},                                       \
                                 {kParamFormula, "Hysteresis", unit},                                      \
                                 {kParamOnOff, "Active"},                                                  \
                                 {kParamOnOff, "IC"},                                                      \
                                 {}};                                                                      \
    CParam s_OneShot##suffix[] = {                                                                         \
        {kParamFormula, "Threshold", unit}, {kParamFormula, "Width", "s"}, {kParamOnOff, "Active"}, {}};    \
    CParam s_Steps##suffix[] = {{kParamFormula, "Threshold", unit}, {kParamFormula, "Hysteresis", unit},    \
                                {kParamFormula, "Roff", "Ohm"},     {kParamFormula, "Ron", "Ohm"},          \
                                {kParamChoice, "Slope"},            {kParamFormula, "Ramp", "s"},           \
                                {kParamFormula, "Steps"},           {kParamOnOff, "IC"},                    \
                                {}};

QZ3_CONTROLLED_ROWS(Voltage, "V")
QZ3_CONTROLLED_ROWS(Current, "A")
#undef QZ3_CONTROLLED_ROWS

}  // namespace

const CModelInfo kModelsSLcs[] = {
    {"Switch", ModelId::Switch, s_SwitchLogic, 0, 1, kReadVIP}, {"Off", ModelId::Off, nullptr, 0, 1, kReadVIP},
    {"On", ModelId::On, nullptr, 0, 1, kReadVIP},               {"One-shot", ModelId::OneShot, s_OneShotLogic, 0, 1, kReadVIP},
    {"Step", ModelId::Step, nullptr, 0, 1, kReadVIP},               {"Single", ModelId::Single, nullptr, 0, 1, kReadVIP},
    {"Pulse", ModelId::Pulse, nullptr, 0, 1, kReadVIP},             {"Clock", ModelId::Clock, nullptr, 0, 1, kReadVIP},
    {"List", ModelId::List, nullptr, 0, 1, kReadVIP},               {"File", ModelId::File, nullptr, 0, 1, kReadVIP},
    {"Steps", ModelId::Steps, s_StepsLogic, 0, 1, kReadVIP},    {"SubCir", ModelId::SubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsSLcs3[] = {
    {"Switch", ModelId::Switch, s_SwitchLogic, 0, 2, kReadVIP}, {"Off", ModelId::Off, nullptr, 0, 2, kReadVIP},
    {"On", ModelId::On, nullptr, 0, 2, kReadVIP},               {"One-shot", ModelId::OneShot, s_OneShotLogic, 0, 2, kReadVIP},
    {"Step", ModelId::Step, nullptr, 0, 2, kReadVIP},               {"Single", ModelId::Single, nullptr, 0, 2, kReadVIP},
    {"Pulse", ModelId::Pulse, nullptr, 0, 2, kReadVIP},             {"Clock", ModelId::Clock, nullptr, 0, 2, kReadVIP},
    {"List", ModelId::List, nullptr, 0, 2, kReadVIP},               {"File", ModelId::File, nullptr, 0, 2, kReadVIP},
    {"Steps", ModelId::Steps, s_StepsLogic, 0, 2, kReadVIP},    {"SubCir", ModelId::SubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsSVcs[] = {
    {"Switch", ModelId::Switch, s_SwitchVoltage, 0, 1, kReadVIP}, {"Off", ModelId::Off, nullptr, 0, 1, kReadVIP},
    {"On", ModelId::On, nullptr, 0, 1, kReadVIP},                 {"One-shot", ModelId::OneShot, s_OneShotVoltage, 0, 1, kReadVIP},
    {"Steps", ModelId::Steps, s_StepsVoltage, 0, 1, kReadVIP},    {"SubCir", ModelId::SubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsSCcs[] = {
    {"Switch", ModelId::Switch, s_SwitchCurrent, 0, 2, kReadVIP}, {"Off", ModelId::Off, nullptr, 0, 2, kReadVIP},
    {"On", ModelId::On, nullptr, 0, 2, kReadVIP},                 {"One-shot", ModelId::OneShot, s_OneShotCurrent, 0, 2, kReadVIP},
    {"Steps", ModelId::Steps, s_StepsCurrent, 0, 2, kReadVIP},    {"SubCir", ModelId::SubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsSVcs3[] = {
    {"Switch", ModelId::Switch, s_SwitchVoltage, 0, 2, kReadVIP}, {"Off", ModelId::Off, nullptr, 0, 2, kReadVIP},
    {"On", ModelId::On, nullptr, 0, 2, kReadVIP},                 {"One-shot", ModelId::OneShot, s_OneShotVoltage, 0, 2, kReadVIP},
    {"Steps", ModelId::Steps, s_StepsVoltage, 0, 2, kReadVIP},    {"SubCir", ModelId::SubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsSCcs3[] = {
    {"Switch", ModelId::Switch, s_SwitchCurrent, 0, 3, kReadVIP}, {"Off", ModelId::Off, nullptr, 0, 3, kReadVIP},
    {"On", ModelId::On, nullptr, 0, 3, kReadVIP},                 {"One-shot", ModelId::OneShot, s_OneShotCurrent, 0, 3, kReadVIP},
    {"Steps", ModelId::Steps, s_StepsCurrent, 0, 3, kReadVIP},    {"SubCir", ModelId::SubCir, nullptr, 0, 0},
    {},
};

CElemCS::CElemCS(const CCmpType* typeDescriptor) : CSwitchBase(typeDescriptor) { slope.Items = kSlopeWords; }

bool CElemCS::IsLogic() const { return type == TypeId::LogicControlledSwitch || type == TypeId::LogicControlledSpdt; }
bool CElemCS::IsCurrent() const { return type == TypeId::CurrentControlledSwitch || type == TypeId::CurrentControlledSpdt; }

bool CElemCS::Xml(CXmlNode* node, bool modelOnly) {
    CCmp::Xml(node, modelOnly);
    active = node->Bool("a", active != 0) ? 1 : 0;
    node->Val("thr", threshold);
    node->Val("hyst", hysteresis);
    node->Val("width", width);
    node->Val("roff", roff);
    node->Val("ron", ron);
    node->Val("steps", steps);
    slope.Index = node->Int("slope", slope.Index);
    if (slope.Index < 0 || slope.Index > kSlopeLog) slope.Index = 0;
    node->Val("steps_width", ramp);
    ic = node->Bool("ic", ic != 0) ? 1 : 0;
    XmlSignal(node);
    return true;
}

CParam* CElemCS::BindParams() {
    if (IsTimeModel(model)) return BindTimeParams();
    const bool logic = IsLogic(), current = IsCurrent();
    switch (model) {
        case ModelId::Switch:
            if (logic) return qz3::BindParams(s_SwitchLogic, {&active, &ic});
            return qz3::BindParams(current ? s_SwitchCurrent : s_SwitchVoltage,
                                   {&threshold, &hysteresis, &active, &ic});
        case ModelId::OneShot:
            if (logic) return qz3::BindParams(s_OneShotLogic, {&active, &width});
            return qz3::BindParams(current ? s_OneShotCurrent : s_OneShotVoltage, {&threshold, &width, &active});
        case ModelId::Steps:
            if (logic) return qz3::BindParams(s_StepsLogic, {&roff, &ron, &slope, &ramp, &steps, &ic});
            return qz3::BindParams(current ? s_StepsCurrent : s_StepsVoltage,
                                   {&threshold, &hysteresis, &roff, &ron, &slope, &ramp, &steps, &ic});
        default: return nullptr;
    }
}

bool CElemCS::CheckParams(CSolverPort* calc) {
    CParamCheck check(calc, this);
    check.Param(threshold, "Threshold").Fault(std::isinf(threshold.m_Value), "Threshold = infinite");
    if (IsTimeModel(model)) return CheckSignal(calc) && check.Ok();
    auto checkHysteresis = [&] {
        const double h = hysteresis.m_Value;
        check.Param(hysteresis, "Hysteresis").Fault(std::isinf(h), "Hysteresis = infinite").Fault(h < 0, "Hysteresis < 0");
    };
    auto checkResistance = [&](const CFormula& f, const std::string& name) {
        const double r = f.m_Value;
        check.Param(f, name).Fault(std::isinf(r), name + " = infinite");
        if (slope.Index == kSlopeLog) check.Fault(r <= 0, name + " <= 0");
        else check.Fault(r < 0, name + " < 0");
    };
    switch (model) {
        case ModelId::Switch: checkHysteresis(); break;
        case ModelId::OneShot:
            check.Param(width, "Width")
                .Fault(std::isinf(width.m_Value), "Width = infinite")
                .Fault(width.m_Value < 0, "Width < 0");
            break;
        case ModelId::Steps:
            checkHysteresis();
            checkResistance(roff, "Roff");
            checkResistance(ron, "Ron");
            // The ramp is shown to users as the width of the steps.
            check.Param(ramp, "Width").Fault(ramp.m_Value < 0, "Width < 0").Fault(std::isinf(ramp.m_Value), "Width = infinite");
            check.Param(steps, "Steps")
                .Fault(std::isinf(steps.m_Value), "Steps = infinite")
                .Fault(steps.m_Value < 0, "Steps < 0");
            break;
        default: break;
    }
    return check.Ok();
}

int CElemCS::PinKind(int pin) const {
    const bool sensing = (IsLogic() && pin == 2) || ((type == TypeId::VoltageControlledSwitch || type == TypeId::VoltageControlledSpdt) && (pin == 2 || pin == 3));
    return sensing ? kPinSensing : kPinAnalog;
}

double CElemCS::Control(const CSolverPort* calc) const {
    if (IsLogic()) return calc->X(nodes[2]) - calc->LogicThreshold();
    if (IsCurrent()) return calc->X(firstBranch + 1) - threshold.m_Value;
    return calc->X(nodes[3]) - calc->X(nodes[2]) - threshold.m_Value;
}

double CElemCS::StepResistance(int s) const {
    const double off = roff.m_Value, on = ron.m_Value;
    const int N = stepCount;
    if (N <= 1) return s != 0 ? on : off;
    switch (slope.Index) {
        case 1: return off + (1 - std::cos(s * kPi / N)) * (on - off) * 0.5;
        case kSlopeLog: return std::pow(10.0, std::log10(on / off) * s / N + std::log10(off));
        default: return off + (on - off) * s / N;
    }
}

bool CElemCS::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit: return Init(calc, t);
        case PhaseReset: signal.Reset(); return true;
        case PhaseStamp: return Stamp(calc);
        case PhaseSample:
            if (model == ModelId::OneShot) state2 = Control(calc) > 0 ? 1 : 0;
            return true;
        case PhasePins: SetPinGroups(); return true;
        default: return true;
    }
}

bool CElemCS::Init(CSolverPort* calc, double t) {
    const double n = std::floor(steps.m_Value + 1.5);
    stepCount = n > INT_MAX ? INT_MAX : n < 0 ? 0 : static_cast<int32_t>(n);
    if (model != lastModel) {
        if (IsTimeModel(model) && !StartSignal(calc, t, false)) return false;
        switch (model) {
            case ModelId::Switch: state = ic; break;
            case ModelId::OneShot:
                state = state2 = 0;
                tEnd = 0.0;
                break;
            case ModelId::Steps:
                state = ic;
                step = ic ? stepCount : 0;
                tEnd = 0.0;
                break;
            case ModelId::On: state = 1; break;
            case ModelId::Off: state = 0; break;
            default: break;
        }
    }
    if (lastModel == ModelId::None) ReadStored(StoredState(calc, this));
    return true;
}

void CElemCS::ReadStored(const std::string& stored) {
    if (stored.empty()) return;
    if (IsTimeModel(model)) {
        signal.LoadState(stored);
        return;
    }
    if (model != ModelId::Switch && model != ModelId::OneShot && model != ModelId::Steps) return;
    state = KeyInt(stored, "s", state);
    if (model == ModelId::Switch) return;
    tEnd = KeyHex(stored, "t", tEnd);
    if (model == ModelId::OneShot) {
        state2 = KeyInt(stored, "i", state2);
        return;
    }
    step = KeyInt(stored, "st", step);
    if (step > stepCount) {
        step = stepCount;
        state = 1;
    }
}

bool CElemCS::Stamp(CSolverPort* calc) {
    if (calc->StampPass() != 0) return true;
    const int k = firstBranch;
    if (IsCurrent()) calc->StampSwitch(nodes[2], nodes[3], k + 1, true);
    if (IsTimeModel(model)) state = SignalPosition();
    if (model != ModelId::Steps) {
        StampContacts(calc, state);
        return true;
    }
    const int common = nodes[1];
    calc->StampResistorBranch(nodes[0], common, k, StepResistance(step));
    const int second = SecondContact();
    if (second < 0) return true;
    // The logic SPDT switch doesn't ramp its second way: that way stays open.
    if (type == TypeId::LogicControlledSpdt) calc->StampSwitch(nodes[second], common, k + SecondBranch(), false);
    else calc->StampResistorBranch(nodes[second], common, k + SecondBranch(), StepResistance(stepCount - step));
    return true;
}

bool CElemCS::CheckState(CSolverPort* calc, bool commit, bool* changedOut) {
    const double c = Control(calc);
    const double h = hysteresis.m_Value * 0.5;
    if (IsTimeModel(model)) {
        CheckTimeModel(calc, c, commit, changedOut);
        return true;
    }
    switch (model) {
        case ModelId::Switch:
            if (state == active && c + h < 0) {
                *changedOut = true;
                if (commit) state = 1 - active;
            } else if (state != active && c - h > 0) {
                *changedOut = true;
                if (commit) state = active;
            }
            break;
        case ModelId::OneShot:
            if (state2 == 0 && c > 0) {
                *changedOut = true;
                if (!commit) break;
                state2 = 1;
                state = active;
                tEnd = calc->Time() + width.m_Value;
            } else if (state2 == 1 && c < 0) {
                *changedOut = true;
                if (commit) state2 = 0;
            }
            break;
        case ModelId::Steps: CheckSteps(calc, c, commit, changedOut); break;
        default: break;
    }
    return true;
}

// The signal runs while the control is above 0: it starts afresh at each
// rising control and stops when the control falls.
void CElemCS::CheckTimeModel(CSolverPort* calc, double c, bool commit, bool* changedOut) {
    if (!signal.m_Running && c > 0) {
        *changedOut = true;
        if (commit) {
            signal.SyncNumbers();
            signal.RestartWave(calc->Time());
        }
    } else if (signal.m_Running && c < 0) {
        *changedOut = true;
        if (commit) signal.m_Running = false;
    }
    CheckClock(commit, changedOut);
}

void CElemCS::CheckSteps(CSolverPort* calc, double c, bool commit, bool* changedOut) {
    const double h = hysteresis.m_Value * 0.5;
    const int N = stepCount;
    if (state == 0 && c - h > 0) {
        *changedOut = true;
        if (!commit) return;
        state = 1;
        if (step < N && ++step < N) tEnd = calc->Time() + StepTime();
    } else if (state == 1 && c + h < 0) {
        *changedOut = true;
        if (!commit) return;
        state = 0;
        if (step > 0 && --step > 0) tEnd = calc->Time() + StepTime();
    }
}

namespace {

bool Near(double t, double x) { return std::fabs(t - x) <= std::fmin(std::fabs(t), std::fabs(x)) * 1e-12; }

}  // namespace

void CElemCS::NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) {
    if (IsTimeModel(model)) {
        SignalEvent(calc, t, tNext, stepMax, stepMin);
    } else if (model == ModelId::OneShot && state == active) {
        if (!Near(t, tEnd) && tEnd > t) {
            *tNext = tEnd;
            *stepMax = width.m_Value * 0.25;
        } else {
            state = 1 - active;
        }
    } else if (model == ModelId::Steps && stepCount > 1) {
        if ((state == 1 && step < stepCount) || (state == 0 && step > 0)) NextStep(t, tNext, stepMax);
    }
}

// One more step of the ramp towards the side that `state` asks for.
void CElemCS::NextStep(double t, double* tNext, double* stepMax) {
    *stepMax = StepTime() * 0.25;
    if (!Near(t, tEnd) && tEnd > t) {
        *tNext = tEnd;
        return;
    }
    const int end = state == 1 ? stepCount : 0;
    step += state == 1 ? 1 : -1;
    if (step == end) return;
    tEnd += StepTime();
    *tNext = tEnd;
}

void CElemCS::SetPinGroups() {
    SetContactGroups();
    int* groups = PinGroups();
    if (IsLogic()) {
        groups[2] = 2;
    } else if (IsCurrent()) {
        groups[2] = groups[3] = 2;
    } else {
        groups[2] = 2;
        groups[3] = 3;
    }
}

std::string CElemCS::GetState() {
    std::string s;
    if (IsTimeModel(model)) {
        signal.SaveState(s);
        return s;
    }
    if (model != ModelId::Switch && model != ModelId::OneShot && model != ModelId::Steps) return s;
    AddKeyInt(s, "s", state);
    if (model == ModelId::OneShot) AddKeyInt(s, "i", state2);
    if (model == ModelId::Steps) AddKeyInt(s, "st", step);
    if (model != ModelId::Switch) AddKeyHex(s, "t", tEnd);
    return s;
}

std::string CElemCS::SaveIC(std::string& out, int index, bool apply) {
    out.clear();
    if (model != ModelId::Switch && model != ModelId::Steps) return out;
    const std::string text = StateForIC(this, index, index == 0 ? GetState() : std::string());
    if (text.empty()) return out;
    const int s = KeyInt(text, "s", state);
    if (apply) ic = s != 0 ? 1 : 0;
    out = s != 0 ? "IC=On" : "IC=Off";
    return out;
}

bool CElemCS::IsOn() const {
    if (model == ModelId::On) return true;
    const bool activeLow = model == ModelId::Single || model == ModelId::Pulse || model == ModelId::Step || model == ModelId::Clock ||
                           model == ModelId::Switch || model == ModelId::OneShot;
    return activeLow && active == 0;
}

}  // namespace qz3
