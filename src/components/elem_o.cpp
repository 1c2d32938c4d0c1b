// The amplifiers' tables, file keys and the constants of each type.
#include "components/elem_o.h"

#include <limits>

namespace qz3 {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

enum AmplifierRow : uint8_t {
    kKVV, kKVV1, kKAV, kKVA, kKAA, kF1, kVhi, kVlo, kIhi, kIlo, kHystV, kHystA, kFunc, kDelay,
    kLinIcV, kLinIcA, kOpIcV, kOpIcA, kFuncIcV, kFuncIcA, kCompIc, kTable, kRowCount
};

// The lower limit's rule names the upper one first: "Vhi < Vlo".
template <const char* Text>
const char* BelowLowerLimit(const void* owner, double lower) {
    const auto* amp = static_cast<const CElemO*>(static_cast<const CCmp*>(owner));
    return amp->vhi.m_Value < lower ? Text : nullptr;
}
constexpr char kBelowVlo[] = " < Vlo";
constexpr char kBelowIlo[] = " < Ilo";

constexpr CParamRow GainRow(const char* unit, double initial) {
    return FormulaRow("K", unit, "k", MemberAt<&CElemO::k>, initial);
}

constexpr CParamRow LinearIc(const char* unit) {
    return Checked(InitialCondition("IC", unit, "ic", MemberAt<&CElemO::linIc>), {ParamTest::Infinite});
}

// The gain's unit is output over input; a current output has its limits in
// amperes, a current input its hysteresis. "IVhi" is the name the upper
// current limit's formula error has always had.
constexpr CParamRow kRows[] = {
    GainRow("V/V", kInf),
    GainRow("V/V", 1.0),
    GainRow("A/V", kInf),
    GainRow("V/A", kInf),
    GainRow("A/A", kInf),
    FormulaRow("f1", "Hz", "f1", MemberAt<&CElemO::f1>, kInf, {ParamTest::Negative}),
    FormulaRow("Vhi", "V", "hi", MemberAt<&CElemO::vhi>, 15.0, {ParamTest::Infinite}),
    WithRule(FormulaRow("Vlo", "V", "lo", MemberAt<&CElemO::vlo>, -15.0, {ParamTest::Infinite}),
             &BelowLowerLimit<kBelowVlo>, "Vhi"),
    FormulaErrorAs(FormulaRow("Ihi", "A", "hi", MemberAt<&CElemO::vhi>, 1.0, {ParamTest::Infinite}), "IVhi"),
    WithRule(FormulaRow("Ilo", "A", "lo", MemberAt<&CElemO::vlo>, -1.0, {ParamTest::Infinite}),
             &BelowLowerLimit<kBelowIlo>, "Ihi"),
    FormulaRow("Hysteresis", "V", "hyst", MemberAt<&CElemO::hysteresis>, 0.1,
               {ParamTest::Infinite, ParamTest::Negative}),
    FormulaRow("Hysteresis", "A", "hyst", MemberAt<&CElemO::hysteresis>, 0.1,
               {ParamTest::Infinite, ParamTest::Negative}),
    TextRow(kParamFunction, "f", "f", MemberAt<&CElemO::f>, ""),
    FormulaRow("Delay", "s", "delay", MemberAt<&CElemO::delay>, 0.0, {ParamTest::Infinite, ParamTest::Negative}),
    LinearIc("V"),
    LinearIc("A"),
    FormulaRow("IC", "V", "opamp_ic", MemberAt<&CElemO::opampIc>, 0.0, {ParamTest::Infinite}),
    FormulaRow("IC", "A", "opamp_ic", MemberAt<&CElemO::opampIc>, 0.0, {ParamTest::Infinite}),
    FormulaRow("IC", "V", "func_ic", MemberAt<&CElemO::funcIc>, 0.0, {ParamTest::Infinite}),
    FormulaRow("IC", "A", "func_ic", MemberAt<&CElemO::funcIc>, 0.0, {ParamTest::Infinite}),
    FlagRow(kParamLowHigh, "IC", "comp_ic", MemberAt<&CElemO::compIc>, 0),
    TableRow("pwl", "pwl", MemberAt<&CCmp::pwl>),
};

// The rows each model shows, for one combination of units.
template <uint8_t K, uint8_t Hi, uint8_t Lo, uint8_t Hyst, uint8_t LinIc, uint8_t OpIc, uint8_t FuncIc>
struct AmplifierOrders {
    static constexpr uint8_t kLinear[] = {K, kF1, LinIc, kEndOfRows};
    static constexpr uint8_t kOpAmp[] = {K, kF1, Hi, Lo, OpIc, kEndOfRows};
    static constexpr uint8_t kComparator[] = {Hyst, Hi, Lo, kDelay, kCompIc, kEndOfRows};
    static constexpr uint8_t kFunction[] = {kFunc, FuncIc, kEndOfRows};
};
using VoltageVoltage1 = AmplifierOrders<kKVV1, kVhi, kVlo, kHystV, kLinIcV, kOpIcV, kFuncIcV>;
using VoltageVoltage = AmplifierOrders<kKVV, kVhi, kVlo, kHystV, kLinIcV, kOpIcV, kFuncIcV>;
using VoltageCurrent = AmplifierOrders<kKAV, kIhi, kIlo, kHystV, kLinIcA, kOpIcA, kFuncIcA>;
using CurrentVoltage = AmplifierOrders<kKVA, kVhi, kVlo, kHystA, kLinIcV, kOpIcV, kFuncIcV>;
using CurrentCurrent = AmplifierOrders<kKAA, kIhi, kIlo, kHystA, kLinIcA, kOpIcA, kFuncIcA>;
constexpr uint8_t kOrderTable[] = {kTable, kEndOfRows};

}  // namespace

const CParamTable kAmplifierParams = ParamTableOf(kRows);

#define QZ3_AMPLIFIER_LINEAR(O, b)                                                                     \
    {"Linear", ModelId::Linear, O::kLinear, 0, b, kReadVIP}, {"OpAmp", ModelId::OpAmp, O::kOpAmp, 0, b, kReadVIP}
#define QZ3_AMPLIFIER_COMPARATOR(O, b) {"Comparator", ModelId::Comparator, O::kComparator, 0, b, kReadVIP}
#define QZ3_AMPLIFIER_REST(O, b)                                                                       \
    {"Function", ModelId::Function, O::kFunction, 0, b, kReadVIP}, {"PWL", ModelId::Pwl, kOrderTable, 0, b, kReadVIP}, \
        {"SubCir", ModelId::SubCir, nullptr, 0, 0}

const CModelInfo kModelsOO[] = {QZ3_AMPLIFIER_LINEAR(VoltageVoltage1, 1), QZ3_AMPLIFIER_COMPARATOR(VoltageVoltage1, 1),
                                QZ3_AMPLIFIER_REST(VoltageVoltage1, 1), {}};
const CModelInfo kModelsOOD[] = {QZ3_AMPLIFIER_LINEAR(VoltageVoltage, 1), QZ3_AMPLIFIER_COMPARATOR(VoltageVoltage, 1),
                                 QZ3_AMPLIFIER_REST(VoltageVoltage, 1), {}};
const CModelInfo kModelsOOS[] = {QZ3_AMPLIFIER_LINEAR(VoltageVoltage, 1), QZ3_AMPLIFIER_REST(VoltageVoltage, 1), {}};
const CModelInfo kModelsOVC[] = {QZ3_AMPLIFIER_LINEAR(VoltageCurrent, 1), QZ3_AMPLIFIER_COMPARATOR(VoltageCurrent, 1),
                                 QZ3_AMPLIFIER_REST(VoltageCurrent, 1), {}};
const CModelInfo kModelsOCV[] = {QZ3_AMPLIFIER_LINEAR(CurrentVoltage, 2), QZ3_AMPLIFIER_COMPARATOR(CurrentVoltage, 2),
                                 QZ3_AMPLIFIER_REST(CurrentVoltage, 2), {}};
const CModelInfo kModelsOCC[] = {QZ3_AMPLIFIER_LINEAR(CurrentCurrent, 2), QZ3_AMPLIFIER_COMPARATOR(CurrentCurrent, 2),
                                 QZ3_AMPLIFIER_REST(CurrentCurrent, 2), {}};
const CModelInfo kModelsOVCG[] = {{"PWL", ModelId::Pwl, kOrderTable, 0, 1, kReadVIP}, {}};
const CModelInfo kModelsOCCG[] = {{"PWL", ModelId::Pwl, kOrderTable, 0, 2, kReadVIP}, {}};

#undef QZ3_AMPLIFIER_LINEAR
#undef QZ3_AMPLIFIER_COMPARATOR
#undef QZ3_AMPLIFIER_REST

CElemO::CElemO(const CCmpType* typeDescriptor) : CCmp(typeDescriptor) {
    switch (type) {
        case TypeId::DifferentialAmplifier:
        case TypeId::TransconductanceAmplifier: inputSign = -1; break;
        case TypeId::ReferencedAmplifier: inputSign = -1; outputMode = 1; break;
        case TypeId::FullyDifferentialAmplifier: inputSign = -1; outputMode = 2; break;
        case TypeId::SummingAmplifier: inputSign = 1; break;
        default: break;
    }
    voltageIn = type != TypeId::CurrentAmplifier && type != TypeId::CurrentAmplifierCurrentOut;
    voltageOut = type != TypeId::TransconductanceAmplifier && type != TypeId::CurrentAmplifierCurrentOut;
    SetTableLabels();
}

// A characteristic is the output over the input; a gain control's table
// is only the gain over the control, a staircase without a curve.
void CElemO::SetTableLabels() {
    if (type == TypeId::VoltageControlledAmplifier) {
        pwl.SetLabels("V", "K", "K(V)", "");
        return;
    }
    if (type == TypeId::CurrentControlledAmplifier) {
        pwl.SetLabels("A", "K", "K(I)", "");
        return;
    }
    static const char* const kLabels[2][2][4] = {
        {{"A", "K, A/A", "K(I)", "I(I)"}, {"A", "K, V/A", "K(I)", "V(I)"}},
        {{"V", "K, A/V", "K(V)", "I(V)"}, {"V", "K, V/V", "K(V)", "V(V)"}},
    };
    const char* const* l = kLabels[voltageIn ? 1 : 0][voltageOut ? 1 : 0];
    pwl.SetLabels(l[0], l[1], l[2], l[3]);
}

}  // namespace qz3
