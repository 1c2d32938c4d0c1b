#include "components/elem_lg.h"

#include <array>
#include <cmath>

#include "components/element_state.h"
#include "components/one_shot.h"
#include "components/param_check.h"
#include "components/solver_port.h"
#include "expr/state_text.h"

namespace qz3 {

namespace {

enum GeneratorRow : uint8_t { kThresholdV, kThresholdA, kHysteresisV, kHysteresisA, kIc, kOwnRowCount };

// The threshold and hysteresis lines are written by CheckParams, since only
// some models check them.
constexpr std::array<CParamRow, kOwnRowCount> kOwnRows = {
    Unchecked(FormulaRow("Threshold", "V", "thr", MemberAt<&CElemLG::threshold>, 0.0)),
    Unchecked(FormulaRow("Threshold", "A", "thr", MemberAt<&CElemLG::threshold>, 0.0)),
    Unchecked(FormulaRow("Hysteresis", "V", "hyst", MemberAt<&CElemLG::hysteresis>, 0.0)),
    Unchecked(FormulaRow("Hysteresis", "A", "hyst", MemberAt<&CElemLG::hysteresis>, 0.0)),
    FlagRow(kParamLowHigh, "IC", "ic", MemberAt<&CElemLG::ic>, 0),
};

constexpr auto kRows = JoinRows(kOwnRows, kSwitchTimeRows);
constexpr uint8_t Time(SwitchTimeRow row) { return kOwnRowCount + static_cast<uint8_t>(row); }

// The time models show the signal's rows; a logic level has no "Active".
constexpr uint8_t kOrderStep[] = {Time(kDelay), kEndOfRows};
constexpr uint8_t kOrderSingle[] = {Time(kWidth), Time(kDelay), kEndOfRows};
constexpr uint8_t kOrderPulse[] = {Time(kPeriod), Time(kWidth), Time(kDelay), kEndOfRows};
constexpr uint8_t kOrderClock[] = {Time(kPeriod), Time(kClockStep), Time(kDelay), kEndOfRows};
constexpr uint8_t kOrderList[] = {Time(kList), Time(kCycle), Time(kDelay), kEndOfRows};
constexpr uint8_t kOrderFile[] = {Time(kFile), Time(kCycle), Time(kDelay), kEndOfRows};
constexpr uint8_t kOrderGateLogic[] = {kIc, kEndOfRows};
constexpr uint8_t kOrderOneShotLogic[] = {Time(kWidth), kEndOfRows};
constexpr uint8_t kOrderGateV[] = {kThresholdV, kHysteresisV, kIc, kEndOfRows};
constexpr uint8_t kOrderGateA[] = {kThresholdA, kHysteresisA, kIc, kEndOfRows};
constexpr uint8_t kOrderOneShotV[] = {kThresholdV, Time(kWidth), kEndOfRows};
constexpr uint8_t kOrderOneShotA[] = {kThresholdA, Time(kWidth), kEndOfRows};

}  // namespace

const CParamTable kLogicGeneratorParams = ParamTableOf(kRows);

#define QZ3_GENERATOR_TIME_MODELS                                                                                  \
    {"Step", ModelId::Step, kOrderStep, 0, 0, kReadV}, {"Single", ModelId::Single, kOrderSingle, 0, 0, kReadV},      \
        {"Pulse", ModelId::Pulse, kOrderPulse, 0, 0, kReadV}, {"Clock", ModelId::Clock, kOrderClock, 0, 0, kReadV}, \
        {"List", ModelId::List, kOrderList, 0, 0, kReadV}, {"File", ModelId::File, kOrderFile, 0, 0, kReadV}
#define QZ3_GENERATOR_CONTROLLED_MODELS(unit, b)                                                                  \
    {"Gate", ModelId::Source, kOrderGate##unit, 0, b, kReadV}, {"High", ModelId::On, nullptr, 0, b, kReadV},    \
        {"Low", ModelId::Off, nullptr, 0, b, kReadV}, {"One-shot", ModelId::OneShot, kOrderOneShot##unit, 0, b, kReadV}

const CModelInfo kModelsLogicGenerator[] = {{"Low", ModelId::Off, nullptr, 0, 0, kReadV},
                                            {"High", ModelId::On, nullptr, 0, 0, kReadV},
                                            QZ3_GENERATOR_TIME_MODELS,
                                            {"SubCir", ModelId::SubCir, nullptr, 0, 0},
                                            {}};
const CModelInfo kModelsLogicControlledGenerator[] = {
    {"Gate", ModelId::Source, kOrderGateLogic, 0, 0, kReadV}, {"Low", ModelId::Off, nullptr, 0, 0, kReadV},
    {"High", ModelId::On, nullptr, 0, 0, kReadV}, {"One-shot", ModelId::OneShot, kOrderOneShotLogic, 0, 0, kReadV},
    QZ3_GENERATOR_TIME_MODELS, {"SubCir", ModelId::SubCir, nullptr, 0, 0}, {}};
const CModelInfo kModelsVoltageControlledGenerator[] = {QZ3_GENERATOR_CONTROLLED_MODELS(V, 0),
                                                        {"SubCir", ModelId::SubCir, nullptr, 0, 0}, {}};
const CModelInfo kModelsCurrentControlledGenerator[] = {QZ3_GENERATOR_CONTROLLED_MODELS(A, 1),
                                                        {"SubCir", ModelId::SubCir, nullptr, 0, 0}, {}};

#undef QZ3_GENERATOR_TIME_MODELS
#undef QZ3_GENERATOR_CONTROLLED_MODELS

CElemLG::CElemLG(const CCmpType* typeDescriptor) : CSwitchBase(typeDescriptor) {}

bool CElemLG::Xml(CXmlNode* node, bool modelOnly) {
    CCmp::Xml(node, modelOnly);
    XmlSignal(node);
    // The pulse width of "One-shot" is the signal's.
    if (model == ModelId::OneShot) signal.Xml(node);
    return true;
}

bool CElemLG::CheckParams(CSolverPort* calc) {
    if (IsTimeModel(model)) return CheckSignal(calc);
    const bool analog = type == TypeId::VoltageControlledGenerator || type == TypeId::CurrentControlledGenerator;
    CParamCheck check(calc, this);
    auto thresholdLines = [&] {
        check.Param(threshold, "Threshold").Fault(std::isinf(threshold.m_Value), "Threshold = infinite");
    };
    if (model == ModelId::Source && analog) {
        thresholdLines();
        check.Param(hysteresis, "Hysteresis")
            .Fault(std::isinf(hysteresis.m_Value), "Hysteresis = infinite")
            .Fault(hysteresis.m_Value < 0, "Hysteresis < 0");
    } else if (model == ModelId::OneShot) {
        const CFormula& width = signal.m_Width;
        check.Param(width, "Width").Fault(width.m_Value < 0, "Width < 0").Fault(std::isinf(width.m_Value), "Width = infinite");
        if (analog) thresholdLines();
    }
    return check.Ok();
}

int CElemLG::PinKind(int pin) const {
    return type == TypeId::CurrentControlledGenerator && pin >= 1 ? kPinAnalog : kPinSensing;
}

double CElemLG::Control(const CSolverPort* calc) const {
    switch (type) {
        case TypeId::LogicControlledGenerator: return calc->X(nodes[1]) - calc->LogicThreshold();
        case TypeId::VoltageControlledGenerator: return calc->X(nodes[1]) - calc->X(nodes[2]) - threshold.m_Value;
        case TypeId::CurrentControlledGenerator: return calc->X(firstBranch) - threshold.m_Value;
        default: return 0.0;
    }
}

double CElemLG::HalfBand() const { return type == TypeId::LogicControlledGenerator ? 0.0 : hysteresis.m_Value * 0.5; }

int CElemLG::Level() const { return IsTimeModel(model) ? (signal.IsHigh() ? 1 : 0) : state; }

bool CElemLG::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit: return Init(calc, t);
        case PhaseReset: signal.Reset(); return true;
        case PhaseStamp: return Stamp(calc);
        case PhaseSources: signal.m_LastTime = t; return true;
        case PhaseSample:
            // The voltage-controlled type has no branch: its reading is
            // ground's, as the generator has always done.
            if (IsControlled())
                state2 = (type == TypeId::LogicControlledGenerator ? Control(calc) : calc->X(firstBranch) - threshold.m_Value) > 0 ? 1 : 0;
            return true;
        case PhasePins: SetPinGroups(); return true;
        default: return true;
    }
}

bool CElemLG::Init(CSolverPort* calc, double t) {
    if (IsTimeModel(model) && !StartSignal(calc, t, !IsControlled())) return false;
    if (model != lastModel) {
        if (model == ModelId::Source) state = view == 1 ? 1 - ic : ic;
        if (model == ModelId::OneShot) {
            state = 0;
            tEnd = 0.0;
        }
    }
    if (lastModel == ModelId::None && type == TypeId::LogicControlledGenerator) ReadStored(StoredState(calc, this));
    return true;
}

void CElemLG::ReadStored(const std::string& stored) {
    if (stored.empty()) return;
    if (IsTimeModel(model)) {
        signal.LoadState(stored);
        return;
    }
    if (model != ModelId::OneShot) return;
    state = KeyInt(stored, "s", state);
    tEnd = KeyHex(stored, "t", tEnd);
    state2 = KeyInt(stored, "i", state2);
}

bool CElemLG::Stamp(CSolverPort* calc) {
    if (calc->StampPass() == 0) {
        // The sensing path of a current control is an ordinary branch.
        if (type == TypeId::CurrentControlledGenerator) calc->StampSwitch(nodes[2], nodes[1], firstBranch, true);
        return true;
    }
    if (!calc->ClaimOutput(nodes[0], this, -1)) return false;
    if (model == ModelId::On || model == ModelId::Off) {
        calc->SetLogicOutput(nodes[0], model == ModelId::On ? 1 : 0);
        return true;
    }
    const int level = Level();
    calc->SetLogicOutput(nodes[0], view == 1 ? 1 - level : level);
    return true;
}

bool CElemLG::CheckState(CSolverPort* calc, bool commit, bool* changedOut) {
    *changedOut = false;
    if (IsControlled()) {
        const double c = Control(calc);
        if (model == ModelId::OneShot) {
            CheckOneShot(this, c, signal.m_Width.m_Value, calc->Time(), commit, changedOut, tEnd);
            if (c < 0) state2 = 0;
        }
    }
    if (commit && model == ModelId::Clock && signal.ClockPending()) signal.ClockClose();
    return true;
}

// "Gate" moves inside the switching search, so that it changes at the
// crossing the search has located and not one step behind it.
bool CElemLG::CheckSegment(CSolverPort* calc, bool commit) {
    if (!IsControlled()) return false;
    if (IsTimeModel(model)) return RunSignalInSearch(calc, commit);
    if (model != ModelId::Source) return false;
    const double c = Control(calc), h = HalfBand();
    if (!((state == 1 && c + h < 0) || (state == 0 && c - h > 0))) return false;
    if (commit) state = 1 - state;
    return true;
}

// A controlled time model starts and stops inside the search as well, at
// the control's own edge. The search compares `state`, which is kept equal
// to the signal's level; a start that leaves the level where it was only
// asks for the signal's first corner.
bool CElemLG::RunSignalInSearch(CSolverPort* calc, bool commit) {
    const double c = Control(calc);
    const bool start = !signal.m_Running && c > 0;
    if (!start && !(signal.m_Running && c < 0)) return false;
    if (!commit) return true;
    bool moved = false;
    RunWhileControlled(calc, c, true, &moved);
    if (start) {
        double next = std::nan(""), stepMax = calc->StepBase(), stepMin = 0.0;
        signal.NextEvent(calc->Time(), calc->StepBase(), &next, &stepMax, &stepMin);
        if (!std::isnan(next)) calc->AskBreak(next);
    }
    const int level = Level();
    if (level == state) return false;
    state = level;
    return true;
}

void CElemLG::NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) {
    if (IsTimeModel(model)) {
        SignalEvent(calc, t, tNext, stepMax, stepMin);
        if (IsControlled()) state = Level();
    } else if (model == ModelId::OneShot) {
        OneShotEvent(this, t, signal.m_Width.m_Value, tEnd, tNext, stepMax);
    }
}

bool CElemLG::GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* r) {
    *nodeA = 0;
    *nodeB = nodes[0];
    *branch = 0;
    *r = 0.0;
    return true;
}

void CElemLG::SetPinGroups() {
    int* groups = PinGroups();
    groups[0] = 0;
    if (pinCount > 1) groups[1] = 1;
    if (pinCount > 2) groups[2] = type == TypeId::CurrentControlledGenerator ? 1 : 2;
}

std::string CElemLG::GetState() {
    std::string text;
    if (type == TypeId::LogicGenerator) {
        AddKeyHex(text, "t", signal.m_LastTime);
        return text;
    }
    if (IsTimeModel(model)) {
        signal.SaveState(text);
    } else if (model == ModelId::Source) {
        AddKeyInt(text, "s", state);
    } else if (model == ModelId::OneShot) {
        AddKeyInt(text, "s", state);
        AddKeyInt(text, "i", state2);
        AddKeyHex(text, "t", tEnd);
    }
    return text;
}

}  // namespace qz3
