#include "components/elem_cs.h"
#include "base/constants.h"

#include <array>
#include <climits>
#include <cmath>

#include "components/element_state.h"
#include "components/param_check.h"
#include "xml/xml_node.h"
#include "expr/state_text.h"
#include "components/solver_port.h"
#include "expr/number_text.h"

namespace qz3 {

namespace {
constexpr int kSlopeLog = 2;

const char* const kSlopeWords[] = {"Linear", "Cos", "Log", nullptr};

// A resistance of the steps is positive on a logarithmic slope, else not
// negative.
const char* StepResistanceFault(const void* owner, double r) {
    const auto* cs = static_cast<const CElemCS*>(static_cast<const CCmp*>(owner));
    if (cs->slope.Index == kSlopeLog) return r <= 0 ? " <= 0" : nullptr;
    return r < 0 ? " < 0" : nullptr;
}

enum SwitchRow : uint8_t {
    kThresholdV, kThresholdA, kHysteresisV, kHysteresisA, kIc, kWidthOneShot, kRoff, kRon, kSlope, kRamp, kSteps,
    kOwnRowCount
};

// The threshold is checked in every model, shown or not (CheckParams); the
// ramp is shown to users as the width of the steps.
constexpr std::array<CParamRow, kOwnRowCount> kOwnRows = {
    Unchecked(FormulaRow("Threshold", "V", "thr", MemberAt<&CElemCS::threshold>, 0.0)),
    Unchecked(FormulaRow("Threshold", "A", "thr", MemberAt<&CElemCS::threshold>, 0.0)),
    FormulaRow("Hysteresis", "V", "hyst", MemberAt<&CElemCS::hysteresis>, 0.0,
               {ParamTest::Infinite, ParamTest::Negative}),
    FormulaRow("Hysteresis", "A", "hyst", MemberAt<&CElemCS::hysteresis>, 0.0,
               {ParamTest::Infinite, ParamTest::Negative}),
    FlagRow(kParamOnOff, "IC", "ic", MemberAt<&CElemCS::ic>, 0),
    FormulaRow("Width", "s", "width", MemberAt<&CElemCS::width>, 0.1, {ParamTest::Infinite, ParamTest::Negative}),
    WithRule(FormulaRow("Roff", "Ohm", "roff", MemberAt<&CElemCS::roff>, 1000.0, {ParamTest::Infinite}),
             &StepResistanceFault),
    WithRule(FormulaRow("Ron", "Ohm", "ron", MemberAt<&CElemCS::ron>, 1.0, {ParamTest::Infinite}),
             &StepResistanceFault),
    ChoiceRow("Slope", "slope", MemberAt<&CElemCS::slope>, kSlopeWords, 0),
    CheckedAs(FormulaRow("Ramp", "s", "steps_width", MemberAt<&CElemCS::ramp>, 0.1,
                         {ParamTest::Negative, ParamTest::Infinite}),
              "Width"),
    FormulaRow("Steps", nullptr, "steps", MemberAt<&CElemCS::steps>, 10.0, {ParamTest::Infinite, ParamTest::Negative}),
};

constexpr auto kRows = JoinRows(kOwnRows, kSwitchTimeRows);
constexpr uint8_t kActive = kOwnRowCount + static_cast<uint8_t>(qz3::kActive);
using Time = SwitchTimeOrders<kOwnRowCount>;

constexpr uint8_t kOrderSwitchLogic[] = {kActive, kIc, kEndOfRows};
constexpr uint8_t kOrderOneShotLogic[] = {kActive, kWidthOneShot, kEndOfRows};
constexpr uint8_t kOrderStepsLogic[] = {kRoff, kRon, kSlope, kRamp, kSteps, kIc, kEndOfRows};
constexpr uint8_t kOrderSwitchV[] = {kThresholdV, kHysteresisV, kActive, kIc, kEndOfRows};
constexpr uint8_t kOrderSwitchA[] = {kThresholdA, kHysteresisA, kActive, kIc, kEndOfRows};
constexpr uint8_t kOrderOneShotV[] = {kThresholdV, kWidthOneShot, kActive, kEndOfRows};
constexpr uint8_t kOrderOneShotA[] = {kThresholdA, kWidthOneShot, kActive, kEndOfRows};
constexpr uint8_t kOrderStepsV[] = {kThresholdV, kHysteresisV, kRoff, kRon, kSlope, kRamp, kSteps, kIc, kEndOfRows};
constexpr uint8_t kOrderStepsA[] = {kThresholdA, kHysteresisA, kRoff, kRon, kSlope, kRamp, kSteps, kIc, kEndOfRows};

}  // namespace

const CParamTable kControlledSwitchParams = ParamTableOf(kRows);

#define QZ3_LOGIC_SWITCH_MODELS(b)                                                                            \
    {"Switch", ModelId::Switch, kOrderSwitchLogic, 0, b, kReadVIP}, {"Off", ModelId::Off, nullptr, 0, b, kReadVIP}, \
        {"On", ModelId::On, nullptr, 0, b, kReadVIP},                                                       \
        {"One-shot", ModelId::OneShot, kOrderOneShotLogic, 0, b, kReadVIP},                                 \
        {"Step", ModelId::Step, Time::kStep, 0, b, kReadVIP}, {"Single", ModelId::Single, Time::kSingle, 0, b, kReadVIP}, \
        {"Pulse", ModelId::Pulse, Time::kPulse, 0, b, kReadVIP}, {"Clock", ModelId::Clock, Time::kClock, 0, b, kReadVIP}, \
        {"List", ModelId::List, Time::kList, 0, b, kReadVIP}, {"File", ModelId::File, Time::kFile, 0, b, kReadVIP},       \
        {"Steps", ModelId::Steps, kOrderStepsLogic, 0, b, kReadVIP}, {"SubCir", ModelId::SubCir, nullptr, 0, 0}, {}

#define QZ3_CONTROLLED_SWITCH_MODELS(unit, b)                                                                   \
    {"Switch", ModelId::Switch, kOrderSwitch##unit, 0, b, kReadVIP}, {"Off", ModelId::Off, nullptr, 0, b, kReadVIP}, \
        {"On", ModelId::On, nullptr, 0, b, kReadVIP},                                                         \
        {"One-shot", ModelId::OneShot, kOrderOneShot##unit, 0, b, kReadVIP},                                  \
        {"Steps", ModelId::Steps, kOrderSteps##unit, 0, b, kReadVIP}, {"SubCir", ModelId::SubCir, nullptr, 0, 0}, {}

// The types ending in 3 have the unknown of their second contact; a current
// control adds the unknown of its sensing path.
const CModelInfo kModelsSLcs[] = {QZ3_LOGIC_SWITCH_MODELS(1)};
const CModelInfo kModelsSLcs3[] = {QZ3_LOGIC_SWITCH_MODELS(2)};
const CModelInfo kModelsSVcs[] = {QZ3_CONTROLLED_SWITCH_MODELS(V, 1)};
const CModelInfo kModelsSCcs[] = {QZ3_CONTROLLED_SWITCH_MODELS(A, 2)};
const CModelInfo kModelsSVcs3[] = {QZ3_CONTROLLED_SWITCH_MODELS(V, 2)};
const CModelInfo kModelsSCcs3[] = {QZ3_CONTROLLED_SWITCH_MODELS(A, 3)};

#undef QZ3_LOGIC_SWITCH_MODELS
#undef QZ3_CONTROLLED_SWITCH_MODELS

CElemCS::CElemCS(const CCmpType* typeDescriptor) : CSwitchBase(typeDescriptor) {}

bool CElemCS::IsLogic() const { return type == TypeId::LogicControlledSwitch || type == TypeId::LogicControlledSpdt; }
bool CElemCS::IsCurrent() const { return type == TypeId::CurrentControlledSwitch || type == TypeId::CurrentControlledSpdt; }

bool CElemCS::Xml(CXmlNode* node, bool modelOnly) {
    CCmp::Xml(node, modelOnly);
    if (!node->m_bWrite && (slope.Index < 0 || slope.Index > kSlopeLog)) slope.Index = 0;
    XmlSignal(node);
    return true;
}

bool CElemCS::CheckParams(CSolverPort* calc) {
    CParamCheck check(calc, this);
    check.Param(threshold, "Threshold").Fault(std::isinf(threshold.m_Value), "Threshold = infinite");
    if (IsTimeModel(model)) return CheckSignal(calc) && check.Ok();
    return CheckParamRows(this, calc) && check.Ok();
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
    RunWhileControlled(calc, c, commit, changedOut);
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

bool Near(double t, double x) { return RealSame(t, x); }

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
