// The controlled sources' tables and file keys.
#include "components/elem_vcvs.h"

namespace qz3 {

namespace {

enum ControlledSourceRow : uint8_t {
    kKVV, kKVA, kKAV, kKAA, kFunc, kIcV, kIcA, kValueV, kValueI, kV0, kI0, kV1, kI1, kPhase, kVmax, kImax, kType,
    kThresholdV, kThresholdA, kWidth, kDfdv, kDfdi, kF, kTable, kRowCount
};

const char* const kVcoTypes[] = {"Sin", "Square", "Triangle", "Sawtooth", nullptr};

constexpr CParamRow GainRow(const char* unit) { return FormulaRow("K", unit, "k", MemberAt<&CElemVCVS::k>, 1.0); }

// Levels are named and measured by the output, the control's full scale,
// threshold and frequency slope by the control.
constexpr CParamRow kRows[] = {
    GainRow("V/V"),
    GainRow("V/A"),
    GainRow("A/V"),
    GainRow("A/A"),
    TextRow(kParamFunction, "f", "f", MemberAt<&CElemVCVS::f>, ""),
    FormulaRow("IC", "V", "ic", MemberAt<&CElemVCVS::ic>, 0.0, {ParamTest::Infinite}),
    FormulaRow("IC", "A", "ic", MemberAt<&CElemVCVS::ic>, 0.0, {ParamTest::Infinite}),
    FormulaRow("V", "V", "v", MemberAt<&CElemVCVS::value>, 0.0, {ParamTest::Infinite}),
    FormulaRow("I", "A", "v", MemberAt<&CElemVCVS::value>, 0.0, {ParamTest::Infinite}),
    FormulaRow("V0", "V", "v0", MemberAt<&CElemVCVS::v0>, 0.0, {ParamTest::Infinite}),
    FormulaRow("I0", "A", "v0", MemberAt<&CElemVCVS::v0>, 0.0, {ParamTest::Infinite}),
    FormulaRow("V1", "V", "v1", MemberAt<&CElemVCVS::v1>, 10.0, {ParamTest::Infinite}),
    FormulaRow("I1", "A", "v1", MemberAt<&CElemVCVS::v1>, 10.0, {ParamTest::Infinite}),
    FormulaRow("Phase", "deg", "phase", MemberAt<&CElemVCVS::phase>, 0.0, {ParamTest::Infinite}),
    FormulaRow("Vmax", "V", "max", MemberAt<&CElemVCVS::vmax>, 1.0, {ParamTest::Infinite, ParamTest::NotPositive}),
    FormulaRow("Imax", "A", "max", MemberAt<&CElemVCVS::vmax>, 1.0, {ParamTest::Infinite, ParamTest::NotPositive}),
    ChoiceRow("Type", "vcotype", MemberAt<&CElemVCVS::vcoType>, kVcoTypes, 0),
    FormulaRow("Threshold", "V", "thr", MemberAt<&CElemVCVS::threshold>, 0.0),
    FormulaRow("Threshold", "A", "thr", MemberAt<&CElemVCVS::threshold>, 0.0),
    FormulaRow("Width", "s", "width", MemberAt<&CElemVCVS::width>, 0.1, {ParamTest::Infinite, ParamTest::Negative}),
    FormulaRow("dFdV", "Hz/V", "dfdv", MemberAt<&CElemVCVS::dfdv>, 1.0, {ParamTest::Infinite}),
    FormulaRow("dFdI", "Hz/A", "dfdv", MemberAt<&CElemVCVS::dfdv>, 1.0, {ParamTest::Infinite}),
    FormulaRow("F", "Hz", "fpwm", MemberAt<&CElemVCVS::fpwm>, 1.0, {ParamTest::Infinite, ParamTest::NotPositive}),
    TableRow("pwl", "pwl", MemberAt<&CCmp::pwl>),
};

// The rows each model shows, for one combination of output and control.
template <uint8_t K, uint8_t Value, uint8_t Ic, uint8_t High, uint8_t Low, uint8_t Thr, uint8_t Max, uint8_t Slope>
struct SourceOrders {
    static constexpr uint8_t kLinear[] = {K, kEndOfRows};
    static constexpr uint8_t kValue[] = {Value, kEndOfRows};
    static constexpr uint8_t kFunction[] = {Ic, kFunc, kEndOfRows};
    static constexpr uint8_t kVco[] = {High, Low, kPhase, Slope, kType, kEndOfRows};
    static constexpr uint8_t kCco[] = {kType, High, Low, Slope, kPhase, kEndOfRows};
    static constexpr uint8_t kOneShot[] = {Thr, kWidth, High, Low, kEndOfRows};
    static constexpr uint8_t kPwm[] = {Max, kF, High, Low, kPhase, kEndOfRows};
};
using Vcvs = SourceOrders<kKVV, kValueV, kIcV, kV1, kV0, kThresholdV, kVmax, kDfdv>;
using Ccvs = SourceOrders<kKVA, kValueV, kIcV, kV1, kV0, kThresholdA, kImax, kDfdi>;
using Vccs = SourceOrders<kKAV, kValueI, kIcA, kI1, kI0, kThresholdV, kVmax, kDfdv>;
using Cccs = SourceOrders<kKAA, kValueI, kIcA, kI1, kI0, kThresholdA, kImax, kDfdi>;
constexpr uint8_t kOrderTable[] = {kTable, kEndOfRows};

}  // namespace

const CParamTable kControlledSourceParams = ParamTableOf(kRows);

// A constant needs no control branch; every other model of a current
// control has one.
#define QZ3_CONTROLLED_SOURCE_MODELS(O, valueName, oscillator, b)                                              \
    {"Linear", ModelId::Linear, O::kLinear, 0, b, kReadVIP}, {valueName, ModelId::Source, O::kValue, 0, 1, kReadVIP}, \
        {"Function", ModelId::Function, O::kFunction, 0, b, kReadVIP},                                          \
        {"PWL", ModelId::Pwl, kOrderTable, 0, b, kReadVIP}, oscillator,                                          \
        {"One-shot", ModelId::OneShot, O::kOneShot, 0, b, kReadVIP}, {"PWM", ModelId::Pwm, O::kPwm, 0, b, kReadVIP}, {}

const CModelInfo kModelsVCVS[] = {
    QZ3_CONTROLLED_SOURCE_MODELS(Vcvs, "V", (CModelInfo{"VCO", ModelId::Vco, Vcvs::kVco, 0, 1, kReadVIP}), 1)};
const CModelInfo kModelsCCVS[] = {
    QZ3_CONTROLLED_SOURCE_MODELS(Ccvs, "V", (CModelInfo{"CCO", ModelId::Vco, Ccvs::kCco, 0, 2, kReadVIP}), 2)};
const CModelInfo kModelsVCCS[] = {
    QZ3_CONTROLLED_SOURCE_MODELS(Vccs, "I", (CModelInfo{"VCO", ModelId::Vco, Vccs::kVco, 0, 1, kReadVIP}), 1)};
const CModelInfo kModelsCCCS[] = {
    QZ3_CONTROLLED_SOURCE_MODELS(Cccs, "I", (CModelInfo{"CCO", ModelId::Vco, Cccs::kCco, 0, 2, kReadVIP}), 2)};

#undef QZ3_CONTROLLED_SOURCE_MODELS

// The characteristic is the output over the control; its slope is the gain.
CElemVCVS::CElemVCVS(const CCmpType* typeDescriptor) : CCmp(typeDescriptor) {
    switch (type) {
        case TypeId::Vcvs: pwl.SetLabels("V", "K, V/V", "K(V)", "V(V)"); break;
        case TypeId::Ccvs: pwl.SetLabels("A", "K, V/A", "K(I)", "V(I)"); break;
        case TypeId::Vccs: pwl.SetLabels("V", "K, A/V", "K(V)", "I(V)"); break;
        default: pwl.SetLabels("A", "K (A/A)", "K(I)", "I(I)"); break;
    }
}

}  // namespace qz3
