// The sources' tables, file keys and parameter checks.
#include "components/elem_v.h"
#include "components/elem_label.h"

#include <array>
#include <cmath>
#include <string>

#include "components/signal_link.h"
#include "components/signal_rows.h"
#include "xml/xml_node.h"

namespace qz3 {

namespace {

using Wave = SignalRows<&CElemV::signal>;

enum SourceRow : uint8_t {
    kValue, kLow, kHigh, kWidth, kPeriod, kClockStep, kSlope, kRise, kFall, kDelay, kPhase, kDecay, kF0, kF1,
    kSweepType, kFunction, kList, kFile, kTrace, kCycle, kRowCount
};

// Voltage sources name their levels V, V1, V0 in volts, current sources I,
// I1, I0 in amperes; the waveform's rows are the same for both. "v" is kept
// for every model, so a change of model doesn't lose it. The waveforms
// check their own parameters; "One-shot" (not a waveform) checks its
// levels and width here, low level first.
constexpr std::array<CParamRow, kRowCount> SourceRows(const char* value, const char* high, const char* low,
                                                      const char* unit) {
    return {
        FormulaRow(value, unit, "v", MemberAt<&CElemV::value>, 10.0, {ParamTest::Infinite}),
        Checked(Wave::Low(low, unit), {ParamTest::Infinite}),
        Checked(Wave::High(high, unit), {ParamTest::Infinite}),
        Checked(Wave::kWidth, {ParamTest::Negative, ParamTest::Infinite}),
        Wave::kPeriod, Wave::kClockStep, Wave::kSlope, Wave::kRise, Wave::kFall, Wave::kDelay, Wave::kPhase,
        Wave::kDecay, Wave::kF0, Wave::kF1, Wave::kSweepType, Wave::kFunction, Wave::kList, Wave::kFile,
        Wave::kTrace, Wave::kCycle,
    };
}

constexpr auto kVoltageRows = SourceRows("V", "V1", "V0", "V");
constexpr auto kCurrentRows = SourceRows("I", "I1", "I0", "A");

constexpr uint8_t kOrderValue[] = {kValue, kEndOfRows};
constexpr uint8_t kOrderOneShot[] = {kHigh, kLow, kWidth, kEndOfRows};
constexpr uint8_t kOrderStep[] = {kHigh, kLow, kSlope, kRise, kDelay, kEndOfRows};
constexpr uint8_t kOrderSingle[] = {kHigh, kLow, kWidth, kSlope, kRise, kFall, kDelay, kEndOfRows};
constexpr uint8_t kOrderPulse[] = {kHigh, kLow, kPeriod, kWidth, kSlope, kRise, kFall, kDelay, kEndOfRows};
constexpr uint8_t kOrderClock[] = {kHigh, kLow, kPeriod, kClockStep, kDelay, kEndOfRows};
constexpr uint8_t kOrderSine[] = {kHigh, kLow, kPeriod, kPhase, kDecay, kDelay, kEndOfRows};
constexpr uint8_t kOrderSweep[] = {kHigh, kLow, kWidth, kF0, kF1, kSweepType, kDelay, kEndOfRows};
constexpr uint8_t kOrderFunction[] = {kFunction, kEndOfRows};
constexpr uint8_t kOrderList[] = {kList, kDelay, kCycle, kEndOfRows};
constexpr uint8_t kOrderFile[] = {kCycle, kDelay, kFile, kEndOfRows};
constexpr uint8_t kOrderTrace[] = {kDelay, kTrace, kCycle, kEndOfRows};

}  // namespace

const CParamTable kVoltageSourceParams = ParamTableOf(kVoltageRows);
const CParamTable kCurrentSourceParams = ParamTableOf(kCurrentRows);

// Every waveform row offers V, I and P readings, as the plain value does.
#define QZ3_SOURCE_WAVE_ROWS                                                                                       \
    {"Step", ModelId::Step, kOrderStep, 0, 1, kReadVIP}, {"Single", ModelId::Single, kOrderSingle, 0, 1, kReadVIP},     \
        {"Pulse", ModelId::Pulse, kOrderPulse, 0, 1, kReadVIP}, {"Clock", ModelId::Clock, kOrderClock, 0, 1, kReadVIP}, \
        {"Sin", ModelId::Sin, kOrderSine, 0, 1, kReadVIP}, {"Sweep", ModelId::Sweep, kOrderSweep, 0, 1, kReadVIP},      \
        {"Function", ModelId::Function, kOrderFunction, 0, 1, kReadVIP},                                              \
        {"List", ModelId::List, kOrderList, 0, 1, kReadVIP}, {"File", ModelId::File, kOrderFile, 0, 1, kReadVIP},       \
        {"Trace", ModelId::Trace, kOrderTrace, 0, 1, kReadVIP}, {"SubCir", ModelId::SubCir, nullptr, 0, 0}

const CModelInfo kModelsVV[] = {{"V", ModelId::Source, kOrderValue, 0, 1, kReadVIP}, QZ3_SOURCE_WAVE_ROWS, {}};
const CModelInfo kModelsVCV[] = {{"V", ModelId::Source, kOrderValue, 0, 1, kReadVIP},
                                 {"One-shot", ModelId::OneShot, kOrderOneShot, 0, 1, kReadVIP},
                                 QZ3_SOURCE_WAVE_ROWS,
                                 {}};
const CModelInfo kModelsII[] = {{"I", ModelId::Source, kOrderValue, 0, 1, kReadVIP}, QZ3_SOURCE_WAVE_ROWS, {}};
const CModelInfo kModelsICI[] = {{"I", ModelId::Source, kOrderValue, 0, 1, kReadVIP},
                                 {"One-shot", ModelId::OneShot, kOrderOneShot, 0, 1, kReadVIP},
                                 QZ3_SOURCE_WAVE_ROWS,
                                 {}};

// A label drives its node as a voltage source from ground, or draws it
// through R at the start ("IC"); as "Label" it only names it.
constexpr std::array<CParamRow, 1> kLabelOwnRows = {FormulaRow("R", "Ohm", "r", MemberAt<&CElemLabel::r>, 1.0, {ParamTest::Negative})};
constexpr auto kLabelRows = JoinRows(kVoltageRows, kLabelOwnRows);
constexpr uint8_t kOrderLabelIc[] = {kValue, kRowCount, kEndOfRows};
const CParamTable kLabelParams = ParamTableOf(kLabelRows);
const CModelInfo kModelsLabel[] = {{"Label", ModelId::Label, nullptr, 0, 0, kReadV},
                                   {"V", ModelId::Source, kOrderValue, 0, 1, kReadVIP},
                                   QZ3_SOURCE_WAVE_ROWS,
                                   {"IC", ModelId::IC, kOrderLabelIc, 0, 1, kReadV},
                                   {}};

#undef QZ3_SOURCE_WAVE_ROWS

CElemV::CElemV(const CCmpType* typeDescriptor) : CCmp(typeDescriptor) {}

bool CElemV::IsVoltage() const {
    return type == TypeId::VoltageSource || type == TypeId::LogicVoltageSource || type == TypeId::Label;
}

// A one-pin source (a label) drives its node against ground.
int CElemV::Low() const { return pinCount >= 2 ? nodes[0] : 0; }
int CElemV::High() const { return pinCount >= 2 ? nodes[1] : nodes[0]; }
bool CElemV::IsControlled() const { return type == TypeId::LogicVoltageSource || type == TypeId::LogicCurrentSource; }

bool CElemV::IsTimeModel() const {
    switch (model) {
        case ModelId::Single: case ModelId::Pulse: case ModelId::Step: case ModelId::Sin: case ModelId::Function:
        case ModelId::File: case ModelId::List: case ModelId::Trace: case ModelId::Clock: case ModelId::Sweep: return true;
        default: return false;
    }
}

bool CElemV::Xml(CXmlNode* node, bool modelOnly) {
    CCmp::Xml(node, modelOnly);
    if (HasSignal()) signal.Xml(node);
    return true;
}

bool CElemV::CheckParams(CSolverPort* calc) {
    switch (model) {
        case ModelId::Source:
        case ModelId::OneShot: return CheckParamRows(this, calc);
        case ModelId::Function:
        case ModelId::SubCir: return true;
        default: return CheckSignal(calc, this, signal);
    }
}

int CElemV::PinKind(int pin) const {
    if (hostDriven) return kPinAnalog;
    return IsControlled() && pin == 2 ? kPinSensing : kPinAnalog;
}

}  // namespace qz3
