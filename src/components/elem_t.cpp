// The bipolar transistors' tables, file keys, checks, start states and state
// text. Their equations and junction tests are in elem_t_stamp.cpp.
#include "components/elem_t.h"

#include <cmath>
#include <iterator>
#include <limits>

#include "components/element_state.h"
#include "components/solver_port.h"
#include "expr/state_text.h"

namespace qz3 {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

enum BipolarRow : uint8_t { kB, kF1Linear, kF1Transistor, kIc, kVbe, kVsat, kIcSwitch, kIcBe, kIcBc, kRowCount };

// The base-collector junction must not open before the base-emitter one
// would: that would put the saturated collector below the emitter.
const char* AboveVbe(const void* owner, double value) {
    const auto* t = static_cast<const CElemT*>(static_cast<const CCmp*>(owner));
    return value > t->vbe.m_Value ? " > Vbe" : nullptr;
}

// In the order of the check lines. A linear stage with f1 = 0 has no gain
// left, which it may; the junction model needs a corner above zero.
constexpr CParamRow kRows[] = {
    FormulaRow("B", "A/A", "b", MemberAt<&CElemT::b>, 100.0, {ParamTest::Infinite, ParamTest::NotPositive}),
    FormulaRow("f1", "Hz", "f1", MemberAt<&CTransistorBase::f1>, kInf, {ParamTest::Negative}),
    FormulaRow("f1", "Hz", "f1", MemberAt<&CTransistorBase::f1>, kInf, {ParamTest::NotPositive}),
    InitialCondition("IC", "A", "ic", MemberAt<&CTransistorBase::ic>),
    FormulaRow("Vbe", "V", "vbe", MemberAt<&CElemT::vbe>, 0.7, {ParamTest::Infinite, ParamTest::Negative}),
    WithRule(FormulaRow("Vsat", "V", "vsat", MemberAt<&CElemT::vsat>, 0.5, {ParamTest::Infinite, ParamTest::Negative}),
             &AboveVbe),
    FlagRow(kParamOnOff, "IC", "s_ic", MemberAt<&CTransistorBase::icSwitch>, 0),
    FlagRow(kParamOnOff, "ICbe", "be_ic", MemberAt<&CElemT::icBe>, 0),
    FlagRow(kParamOnOff, "ICbc", "bc_ic", MemberAt<&CElemT::icBc>, 0),
};
static_assert(std::size(kRows) == kRowCount);

constexpr uint8_t kOrderLinear[] = {kB, kF1Linear, kIc, kEndOfRows};
constexpr uint8_t kOrderSwitch[] = {kVbe, kIcSwitch, kEndOfRows};
constexpr uint8_t kOrderTransistor[] = {kB, kF1Transistor, kIc, kVbe, kVsat, kIcBe, kIcBc, kEndOfRows};

}  // namespace

const CParamTable kBipolarParams = ParamTableOf(kRows);

#define QZ3_BIPOLAR_MODELS                                                                   \
    {"Linear", ModelId::Linear, kOrderLinear, 0, 2, kReadVIP},                               \
        {"Switch", ModelId::Switch, kOrderSwitch, 0, 2, kReadVIP},                           \
        {"Transistor", ModelId::Transistor, kOrderTransistor, 0, 3, kReadVIP},               \
        {"SubCir", ModelId::SubCir, nullptr, 0, 0}, {}

const CModelInfo kModelsNpn[] = {QZ3_BIPOLAR_MODELS};
const CModelInfo kModelsPnp[] = {QZ3_BIPOLAR_MODELS};

#undef QZ3_BIPOLAR_MODELS

bool CElemT::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit: Init(calc); return true;
        case PhaseStore:
            i = model == ModelId::Transistor ? Sign() * calc->X(firstBranch + 1) : calc->X(firstBranch);
            return true;
        case PhaseStamp: return Stamp(calc);
        case PhaseFloat: return HasJunctions() ? FloatFix(calc) : true;
        case PhasePins:
            for (int p = 0; p < pinCount; ++p) PinGroups()[p] = 1;
            return true;
        default: return true;
    }
}

// The start state of a new model; a junction with an infinite drop never
// conducts.
void CElemT::InitState() {
    state = 0;
    if (model == ModelId::Switch) state = std::isinf(vbe.m_Value) ? 0 : icSwitch != 0;
    if (model == ModelId::Transistor) {
        const int be = std::isinf(vbe.m_Value) ? 0 : icBe != 0;
        const int bc = std::isinf(vsat.m_Value) ? 0 : icBc != 0;
        state = be | (bc << 1);
    }
    swOut = state;
}

void CElemT::LoadStoredState(const std::string& stored) {
    CTransistorBase::LoadStoredState(stored);
    swOut = KeyInt(stored, "o", swOut);
}

std::string CElemT::GetState() {
    std::string text = StateText(model != ModelId::Switch);
    if (model == ModelId::Switch) AddKeyInt(text, "o", swOut);
    return text;
}

// The output current of "Linear" and "Transistor" as a number, and the
// junctions of "Transistor".
std::string CElemT::ModelIC(const std::string& text, int s, bool apply) {
    std::string out = CurrentIC(text, apply);
    if (model != ModelId::Transistor) return out;
    if (apply) {
        icBe = s & 1;
        icBc = (s >> 1) & 1;
    }
    out += (s & 1) ? ",ICbe=On" : ",ICbe=Off";
    out += (s & 2) ? ",ICbc=On" : ",ICbc=Off";
    return out;
}

void CElemT::Transform(const CTransform& edit) {
    if (edit.kind != 1) return;
    icSwitch = icBe = icBc = 0;
    ic.SetValue(edit.sub == 0 ? std::numeric_limits<double>::quiet_NaN() : 0.0);
}

bool CElemT::SegmentRange(int* first, int* last) {
    *first = 0;
    *last = model == ModelId::Transistor ? 3 : model == ModelId::Switch ? 1 : 0;
    return *first < *last;
}

}  // namespace qz3
