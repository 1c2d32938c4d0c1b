#include "components/elem_y.h"

#include <cmath>

#include "base/number_format.h"
#include "components/custom_type.h"
#include "components/element_state.h"
#include "components/solver_port.h"
#include "expr/state_text.h"
#include "xml/xml_node.h"

namespace qz3 {

namespace {

const char* const kDominanceWords[] = {"Both", "Set", "Reset", nullptr};
const char* const kCustomWords[] = {"and", "or", "xor"};

enum LogicRow : uint8_t { kDelay, kUp, kDown, kHysteresis, kDominance, kFunc, kIc, kRowCount };

constexpr CParamRow kRows[] = {
    FormulaRow("Delay", "s", "delay", MemberAt<&CElemY::delay>, 1e-8, {ParamTest::Infinite, ParamTest::Negative}),
    FormulaRow("Up", "s", "delay", MemberAt<&CElemY::delay>, 1e-8, {ParamTest::Infinite, ParamTest::Negative}),
    FormulaRow("Down", "s", "down", MemberAt<&CElemY::down>, 1e-8, {ParamTest::Infinite, ParamTest::Negative}),
    FormulaRow("Hysteresis", "V", "hyst", MemberAt<&CElemY::hysteresis>, 1.0, {ParamTest::Infinite, ParamTest::Negative}),
    ChoiceRow("Dominance", "dominance", MemberAt<&CElemY::dominance>, kDominanceWords, 0),
    TextRow(kParamFunction, "f", "func", MemberAt<&CElemY::func>, "0"),
    FlagRow(kParamLowHigh, "IC", "ic", MemberAt<&CElemY::ic>, 0),
};

// Each family shows its own rows, and the delay rows of its model behind.
#define QZ3_LOGIC_ORDERS(name, ...)                                                       \
    constexpr uint8_t kOrder##name##Logic[] = {__VA_ARGS__ kIc, kEndOfRows};             \
    constexpr uint8_t kOrder##name##Delay[] = {__VA_ARGS__ kDelay, kIc, kEndOfRows};     \
    constexpr uint8_t kOrder##name##Delay2[] = {__VA_ARGS__ kDown, kUp, kIc, kEndOfRows};
QZ3_LOGIC_ORDERS(Gate)
QZ3_LOGIC_ORDERS(Schmitt, kHysteresis,)
QZ3_LOGIC_ORDERS(Dominance, kDominance,)
QZ3_LOGIC_ORDERS(Function, kFunc,)
#undef QZ3_LOGIC_ORDERS

}  // namespace

const CParamTable kLogicParams = ParamTableOf(kRows);

#define QZ3_LOGIC_MODELS(name)                                                                         \
    {"Logic", ModelId::Logic, kOrder##name##Logic, 0, 0, kReadV}, {"Delay", ModelId::Delay, kOrder##name##Delay, 0, 0, kReadV}, \
        {"Delay2", ModelId::Delay2, kOrder##name##Delay2, 0, 0, kReadV}, {"SubCir", ModelId::SubCir, nullptr, 0, 0}, {}
const CModelInfo kModelsGate[] = {QZ3_LOGIC_MODELS(Gate)};
const CModelInfo kModelsSchmitt[] = {QZ3_LOGIC_MODELS(Schmitt)};
const CModelInfo kModelsFlipFlop[] = {QZ3_LOGIC_MODELS(Gate)};
const CModelInfo kModelsFlipFlopDominance[] = {QZ3_LOGIC_MODELS(Dominance)};
const CModelInfo kModelsLogicFunction[] = {QZ3_LOGIC_MODELS(Function)};
#undef QZ3_LOGIC_MODELS

CElemY::CElemY(const CCmpType* typeDescriptor) : CCmp(typeDescriptor) {}

bool CElemY::IsFlipFlop() const {
    return type == TypeId::DFlipFlop || type == TypeId::SrTrigger || type == TypeId::JkTrigger;
}

int CElemY::OutputPin() const { return clocked ? pinCount - 2 : pinCount - 1; }

int CElemY::InputCount() const { return OutputPin(); }

std::string CElemY::PinName(int pin) const {
    if (!IsFlipFlop()) return {};
    if (pin == 2) return "Q";
    if (pin == 3) return "-Q";
    return {};
}

// The custom gate and the formula gate draw their own box; its pins are
// the inputs, then the output, then (with a formula) a clock.
void CElemY::BeginCustom() {
    if (type == TypeId::CustomGate || type == TypeId::LogicalFunction) MakeCustom();
}

void CElemY::EndCustom() {
    if (type != TypeId::CustomGate && type != TypeId::LogicalFunction) return;
    AdoptCustomPins();
    // One pin more than the named inputs and the output is the clock.
    const int names = custom ? ListCount(custom->m_Ins) : 0;
    clocked = type == TypeId::LogicalFunction && names > 0 && pinCount == names + 2 ? 1 : 0;
}

bool CElemY::Xml(CXmlNode* node, bool modelOnly) {
    CCmp::Xml(node, modelOnly);
    if (type != TypeId::CustomGate) return true;
    const std::string word = node->Str("custom_type", kCustomWords[mode >= 0 && mode <= 2 ? mode : 0]);
    if (!node->m_bWrite) mode = word == "or" ? 1 : word == "xor" ? 2 : 0;
    return true;
}

bool CElemY::NextView(int delta) {
    if (type != TypeId::CustomGate) return CCmp::NextView(delta);
    mode = ((mode + delta) % 3 + 3) % 3;
    EndCustom();
    return false;
}

bool CElemY::CheckParams(CSolverPort* calc) {
    bool ok = CheckParamRows(this, calc);
    if (type == TypeId::CustomGate && pinCount < 2) ok = AddCmpError(calc, "at least one input is needed");
    if (type == TypeId::LogicalFunction) {
        const int names = custom ? ListCount(custom->m_Ins) : 0;
        if (pinCount < 2) ok = AddCmpError(calc, "at least one input is needed");
        else if (names > 0 && pinCount != names + 1 && pinCount != names + 2)
            ok = AddCmpError(calc, "the pins don't match the inputs");
    }
    return ok;
}

bool CElemY::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit: return Init(calc, t);
        case PhaseStamp: return calc->StampPass() != 1 || Stamp(calc);
        case PhaseHistory: TrackClock(calc); return true;
        case PhasePins: SetPinGroups(); return true;
        default: return true;
    }
}

bool CElemY::Init(CSolverPort* calc, double t) {
    if (type == TypeId::LogicalFunction && !PrepareFunction(calc)) return false;
    if (model != lastModel) {
        state = out = ic != 0 ? 1 : 0;
        state2 = out2 = 1 - state;
        tOut = tOut2 = kNoPending;
        lastClock = -1;
    }
    if (lastModel == ModelId::None) ReadStored(StoredState(calc, this));
    m_FunctionError.clear();
    return true;
}

void CElemY::ReadStored(const std::string& stored) {
    if (stored.empty()) return;
    state = KeyInt(stored, "s", state);
    out = KeyInt(stored, "z", out);
    tOut = KeyHex(stored, "t", tOut);
    if (IsFlipFlop()) {
        state2 = KeyInt(stored, "ns", state2);
        out2 = KeyInt(stored, "no", out2);
        tOut2 = KeyHex(stored, "nt", tOut2);
    }
    if (IsFlipFlop() || type == TypeId::LogicalFunction) lastClock = KeyInt(stored, "c", lastClock);
}

std::string CElemY::GetState() {
    std::string text;
    AddKeyInt(text, "s", state);
    AddKeyInt(text, "z", out);
    AddKeyHex(text, "t", tOut);
    if (IsFlipFlop()) {
        AddKeyInt(text, "ns", state2);
        AddKeyInt(text, "no", out2);
        AddKeyHex(text, "nt", tOut2);
    }
    if (IsFlipFlop() || type == TypeId::LogicalFunction) AddKeyInt(text, "c", lastClock);
    return text;
}

// The output as it stands becomes the start level of the next run.
std::string CElemY::SaveIC(std::string& text, int index, bool apply) {
    text.clear();
    const std::string stored = StateForIC(this, index, index == 0 ? GetState() : std::string());
    if (stored.empty()) return text;
    const int level = KeyInt(stored, "z", out) != 0 ? 1 : 0;
    if (apply) ic = level;
    text = level ? "IC=High" : "IC=Low";
    return text;
}

// Outputs replace the rows of their nodes, so they come in the second pass.
bool CElemY::Stamp(CSolverPort* calc) {
    // Without a delay the output is the wanted level; this also holds after
    // the search has put back the states of a failed attempt.
    if (model == ModelId::Logic) {
        out = state;
        if (IsFlipFlop()) out2 = state2;
    }
    if (IsFlipFlop()) {
        if (!calc->ClaimOutput(nodes[2], this, 2) || !calc->ClaimOutput(nodes[3], this, 3)) return false;
        calc->SetLogicOutput(nodes[2], out);
        calc->SetLogicOutput(nodes[3], out2);
        return true;
    }
    if (pinCount < 2) return true;
    const int node = nodes[OutputPin()];
    if (!calc->ClaimOutput(node, this, -1)) return false;
    calc->SetLogicOutput(node, out);
    return true;
}

void CElemY::SetPinGroups() {
    int* groups = PinGroups();
    int next = 1;
    for (int p = 0; p < pinCount; ++p) {
        const bool output = IsFlipFlop() ? (p == 2 || p == 3) : p == OutputPin();
        groups[p] = output ? 0 : next++;
    }
}

bool CElemY::GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* r) {
    *nodeA = 0;
    *nodeB = pinCount < 2 ? -1 : nodes[IsFlipFlop() ? 2 : OutputPin()];
    *branch = 0;
    *r = 0.0;
    return true;
}

// ---- the outputs by model

double CElemY::DelayFor(int level) const {
    if (model == ModelId::Delay2) return level == 1 ? delay.m_Value : down.m_Value;
    return delay.m_Value;
}

void CElemY::Drive(CSolverPort* calc, int e, int32_t& seen, double& pending) const {
    if (model == ModelId::Logic) {
        seen = e;
        pending = kNoPending;
        return;
    }
    // The output already shows e: a pulse shorter than the delay is dropped.
    if (seen == e) {
        pending = kNoPending;
        return;
    }
    const double d = DelayFor(e);
    if (d > 0) {
        // The search may run after the step was planned: the new time is
        // asked for at once.
        pending = calc->Time() + d;
        calc->AskBreak(pending);
        return;
    }
    seen = e;
    pending = kNoPending;
}

void CElemY::LandPending(double t, int32_t wanted, int32_t& seen, double& pending, double* tNext,
                         double* stepMax) const {
    if (pending < 0) return;
    if (!RealSame(t, pending) && pending > t) {
        if (std::isnan(*tNext) || pending < *tNext) *tNext = pending;
        const double d = DelayFor(wanted);
        if (d > 0 && d < *stepMax) *stepMax = d;
        return;
    }
    seen = wanted;
    pending = kNoPending;
}

void CElemY::NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) {
    if (model != ModelId::Delay && model != ModelId::Delay2) return;
    LandPending(t, state, out, tOut, tNext, stepMax);
    if (IsFlipFlop()) LandPending(t, state2, out2, tOut2, tNext, stepMax);
    // An input may move at this event, and the output then follows one delay
    // later: the first step after it must not run past that time.
    const double shortest = ShortestDelay();
    if (stepMin && shortest > 0 && (*stepMin <= 0 || shortest < *stepMin)) *stepMin = shortest;
}

double CElemY::ShortestDelay() const {
    if (model != ModelId::Delay2) return delay.m_Value;
    const double up = delay.m_Value, fall = down.m_Value;
    if (up <= 0) return fall;
    return fall > 0 && fall < up ? fall : up;
}

// ---- the evaluation

bool CElemY::CheckSegment(CSolverPort* calc, bool commit) {
    int e = state, e2 = state2;
    if (!Wanted(calc, commit, e, e2)) return false;
    const bool second = IsFlipFlop() && e2 != state2;
    if (e == state && !second) return false;
    if (!commit) return true;
    if (e != state) {
        state = e;
        Drive(calc, e, out, tOut);
    }
    if (second) {
        state2 = e2;
        Drive(calc, e2, out2, tOut2);
    }
    return true;
}

// The levels change inside the switching search; what is left here is a
// formula that failed there.
bool CElemY::CheckState(CSolverPort* calc, bool commit, bool* changed) {
    if (m_FunctionError.empty()) return true;
    calc->CmpError(this, m_FunctionError.c_str());
    m_FunctionError.clear();
    return false;
}

}  // namespace qz3
