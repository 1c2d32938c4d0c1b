// The field-effect transistors' tables, file keys, checks, start states and
// state text. Their equations and channel tests are in elem_fet_stamp.cpp.
#include "components/elem_fet.h"

#include <cmath>
#include <iterator>
#include <limits>

#include "components/element_state.h"
#include "components/solver_port.h"
#include "expr/state_text.h"
#include "xml/xml_node.h"

namespace qz3 {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

// The start states of the channel, by `state`.
const char* const kFetIC[] = {"Off", "Resistive", "Saturated", "Reversed", nullptr};
const char* const kFetDIC[] = {"Off", "Resistive", "Saturated", "Reversed", "Diode", nullptr};
constexpr int kFetStates = 4;
constexpr int kFetDStates = 5;

enum FetRow : uint8_t { kS, kVthN, kVthP, kRdson, kVd, kF1, kIc, kIcSwitch, kIcFet, kIcFetD, kRowCount };

// In the order of the check lines. The threshold of a P-FET starts below
// zero, as a gate-source voltage.
constexpr CParamRow kRows[] = {
    FormulaRow("S", "A/V", "s", MemberAt<&CElemFET::s>, 1.0, {ParamTest::Infinite, ParamTest::Negative}),
    FormulaRow("Vth", "V", "vth", MemberAt<&CElemFET::vth>, 2.0, {ParamTest::Infinite}),
    FormulaRow("Vth", "V", "vth", MemberAt<&CElemFET::vth>, -2.0, {ParamTest::Infinite}),
    FormulaRow("Rdson", "Ohm", "rdson", MemberAt<&CElemFET::rdson>, 0.1, {ParamTest::Infinite, ParamTest::Negative}),
    FormulaRow("Vd", "V", "vd", MemberAt<&CElemFET::vd>, 0.7, {ParamTest::Negative}),
    FormulaRow("f1", "Hz", "f1", MemberAt<&CTransistorBase::f1>, kInf, {ParamTest::Negative}),
    InitialCondition("IC", "A", "ic", MemberAt<&CTransistorBase::ic>),
    FlagRow(kParamOnOff, "IC", "s_ic", MemberAt<&CTransistorBase::icSwitch>, 0),
    ChoiceRow("IC", "fet_ic", MemberAt<&CElemFET::icFet>, kFetIC, 0),
    ChoiceRow("IC", "fetd_ic", MemberAt<&CElemFET::icFetD>, kFetDIC, 0),
};
static_assert(std::size(kRows) == kRowCount);

template <uint8_t Vth>
struct FetOrders {
    static constexpr uint8_t kLinear[] = {kS, kF1, kIc, kEndOfRows};
    static constexpr uint8_t kSwitch[] = {Vth, kIcSwitch, kEndOfRows};
    static constexpr uint8_t kFet[] = {kRdson, kIcFet, kS, Vth, kEndOfRows};
    static constexpr uint8_t kFetD[] = {kVd, kRdson, kIcFetD, kS, Vth, kEndOfRows};
};
using NOrders = FetOrders<kVthN>;
using POrders = FetOrders<kVthP>;

}  // namespace

const CParamTable kFetParams = ParamTableOf(kRows);

#define QZ3_FET_MODELS(O)                                                                                      \
    {"Linear", ModelId::Linear, O::kLinear, 0, 1, kReadVIP}, {"Switch", ModelId::Switch, O::kSwitch, 0, 1, kReadVIP}, \
        {"FET", ModelId::Fet, O::kFet, 0, 1, kReadVIP}, {"FET-D", ModelId::FetD, O::kFetD, 0, 1, kReadVIP},     \
        {"SubCir", ModelId::SubCir, nullptr, 0, 0}, {}

const CModelInfo kModelsNFet[] = {QZ3_FET_MODELS(NOrders)};
const CModelInfo kModelsPFet[] = {QZ3_FET_MODELS(POrders)};

#undef QZ3_FET_MODELS

// A start state outside the words of its choice is "Off".
bool CElemFET::Xml(CXmlNode* node, bool modelOnly) {
    CCmp::Xml(node, modelOnly);
    if (node->m_bWrite) return true;
    if (icFet.Index < 0 || icFet.Index >= kFetStates) icFet.Index = 0;
    if (icFetD.Index < 0 || icFetD.Index >= kFetDStates) icFetD.Index = 0;
    return true;
}

bool CElemFET::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit: Init(calc); return true;
        case PhaseStore: i = calc->X(firstBranch); return true;
        case PhaseStamp: return Stamp(calc);
        case PhasePins: {
            // The gate draws nothing; the channel joins source and drain.
            int* groups = PinGroups();
            groups[0] = 2;
            groups[1] = groups[2] = 1;
            return true;
        }
        default: return true;
    }
}

void CElemFET::InitState() {
    switch (model) {
        case ModelId::Switch: state = icSwitch != 0; break;
        case ModelId::Fet: state = icFet.Index; break;
        case ModelId::FetD: state = icFetD.Index; break;
        default: state = 0; break;
    }
}

std::string CElemFET::GetState() { return StateText(model == ModelId::Linear); }

// "Linear" gives its current, "FET" and "FET-D" the word of their state.
std::string CElemFET::ModelIC(const std::string& text, int s, bool apply) {
    if (model == ModelId::Linear) return CurrentIC(text, apply);
    const bool withDiode = model == ModelId::FetD;
    const int start = s >= 0 && s < (withDiode ? kFetDStates : kFetStates) ? s : 0;
    if (apply) (withDiode ? icFetD : icFet).Index = start;
    return std::string("IC=") + kFetDIC[start];
}

void CElemFET::Transform(const CTransform& edit) {
    if (edit.kind != 1) return;
    icSwitch = 0;
    icFet.Index = icFetD.Index = 0;
    ic.SetValue(edit.sub == 0 ? std::numeric_limits<double>::quiet_NaN() : 0.0);
}

bool CElemFET::SegmentRange(int* first, int* last) {
    *first = 0;
    *last = model == ModelId::FetD ? 4 : model == ModelId::Fet ? 3 : 0;
    return *first < *last;
}

}  // namespace qz3
