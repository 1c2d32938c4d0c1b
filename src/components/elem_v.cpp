// The sources' tables, file keys and parameter checks.
#include "components/elem_v.h"

#include <cmath>
#include <initializer_list>
#include <string>

#include "document/xml_node.h"

namespace qz3 {

namespace {

template <size_t N>
void FillRows(CParam (&rows)[N], std::initializer_list<CParam> items) {
    size_t i = 0;
    for (const CParam& item : items) rows[i++] = item;
}

// The parameter tables of one family: voltage sources name their levels
// V, V1, V0 in volts, current sources I, I1, I0 in amperes; the rows of the
// waveform are the same for both.
struct CSourceTables {
    CParam value[2], oneShot[4], step[6], single[8], pulse[9], clock[6], sine[7], sweep[8], function[2],
        list[4], file[4], trace[4];

    CSourceTables(const char* level, const char* high, const char* low, const char* unit) {
        const CParam u1(kParamFormula, high, unit), u0(kParamFormula, low, unit);
        const CParam period(kParamFormula, "Period", "s"), width(kParamFormula, "Width", "s");
        const CParam slope(kParamChoice, "Slope"), rise(kParamFormula, "Rise", "s");
        const CParam fall(kParamFormula, "Fall", "s"), delay(kParamFormula, "Delay", "s");
        const CParam cycle(kParamYesNo, "Cycle");
        FillRows(value, {CParam(kParamFormula, level, unit)});
        FillRows(oneShot, {u1, u0, width});
        FillRows(step, {u1, u0, slope, rise, delay});
        FillRows(single, {u1, u0, width, slope, rise, fall, delay});
        FillRows(pulse, {u1, u0, period, width, slope, rise, fall, delay});
        FillRows(clock, {u1, u0, period, CParam(kParamFormula, "Step", "s"), delay});
        FillRows(sine, {u1, u0, period, CParam(kParamFormula, "Phase", "deg"), CParam(kParamFormula, "Decay", "1/s"),
                        delay});
        FillRows(sweep, {u1, u0, width, CParam(kParamFormula, "F0", "Hz"), CParam(kParamFormula, "F1", "Hz"),
                         CParam(kParamChoice, "Type"), delay});
        FillRows(function, {CParam(kParamFunction, "f")});
        FillRows(list, {CParam(kParamList, "List"), delay, cycle});
        FillRows(file, {cycle, delay, CParam(kParamFile, "File")});
        FillRows(trace, {delay, CParam(kParamString, "Trace"), cycle});
    }
};

CSourceTables s_Voltage("V", "V1", "V0", "V");
CSourceTables s_Current("I", "I1", "I0", "A");

}  // namespace

// Every waveform row offers V, I and P readings, as the plain value does.
#define QZ3_SOURCE_WAVE_ROWS(t)                                                                                  \
    {"Step", ModelId::Step, t.step, 0, 1, kReadVIP}, {"Single", ModelId::Single, t.single, 0, 1, kReadVIP},                  \
        {"Pulse", ModelId::Pulse, t.pulse, 0, 1, kReadVIP}, {"Clock", ModelId::Clock, t.clock, 0, 1, kReadVIP},              \
        {"Sin", ModelId::Sin, t.sine, 0, 1, kReadVIP}, {"Sweep", ModelId::Sweep, t.sweep, 0, 1, kReadVIP},                   \
        {"Function", ModelId::Function, t.function, 0, 1, kReadVIP}, {"List", ModelId::List, t.list, 0, 1, kReadVIP},        \
        {"File", ModelId::File, t.file, 0, 1, kReadVIP}, {"Trace", ModelId::Trace, t.trace, 0, 1, kReadVIP},                 \
        {"SubCir", ModelId::SubCir, nullptr, 0, 0}

const CModelInfo kModelsVV[] = {{"V", ModelId::Source, s_Voltage.value, 0, 1, kReadVIP}, QZ3_SOURCE_WAVE_ROWS(s_Voltage), {}};
const CModelInfo kModelsVCV[] = {{"V", ModelId::Source, s_Voltage.value, 0, 1, kReadVIP},
                                 {"One-shot", ModelId::OneShot, s_Voltage.oneShot, 0, 1, kReadVIP},
                                 QZ3_SOURCE_WAVE_ROWS(s_Voltage),
                                 {}};
const CModelInfo kModelsII[] = {{"I", ModelId::Source, s_Current.value, 0, 1, kReadVIP}, QZ3_SOURCE_WAVE_ROWS(s_Current), {}};
const CModelInfo kModelsICI[] = {{"I", ModelId::Source, s_Current.value, 0, 1, kReadVIP},
                                 {"One-shot", ModelId::OneShot, s_Current.oneShot, 0, 1, kReadVIP},
                                 QZ3_SOURCE_WAVE_ROWS(s_Current),
                                 {}};

#undef QZ3_SOURCE_WAVE_ROWS

CElemV::CElemV(const CCmpType* typeDescriptor) : CCmp(typeDescriptor), signal(this) {}

bool CElemV::IsVoltage() const { return type == TypeId::VoltageSource || type == TypeId::LogicVoltageSource; }
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
    // "v" is kept for every model, so a change of model doesn't lose it.
    node->Val("v", value);
    if (model != ModelId::Source) signal.Xml(node);
    return true;
}

CParam* CElemV::BindParams() {
    CSourceTables& t = IsVoltage() ? s_Voltage : s_Current;
    CSignal& s = signal;
    switch (model) {
        case ModelId::Source: return qz3::BindParams(t.value, {&value});
        case ModelId::OneShot: return qz3::BindParams(t.oneShot, {&s.m_U1, &s.m_U0, &s.m_Width});
        case ModelId::Step: return qz3::BindParams(t.step, {&s.m_U1, &s.m_U0, &s.m_SlopeChoice, &s.m_Rise, &s.m_Delay});
        case ModelId::Single:
            return qz3::BindParams(t.single, {&s.m_U1, &s.m_U0, &s.m_Width, &s.m_SlopeChoice, &s.m_Rise, &s.m_Fall,
                                              &s.m_Delay});
        case ModelId::Pulse:
            return qz3::BindParams(t.pulse, {&s.m_U1, &s.m_U0, &s.m_Period, &s.m_Width, &s.m_SlopeChoice, &s.m_Rise,
                                             &s.m_Fall, &s.m_Delay});
        case ModelId::Clock:
            return qz3::BindParams(t.clock, {&s.m_U1, &s.m_U0, &s.m_Period, &s.m_ClockStep, &s.m_Delay});
        case ModelId::Sin:
            return qz3::BindParams(t.sine, {&s.m_U1, &s.m_U0, &s.m_Period, &s.m_Phase, &s.m_Decay, &s.m_Delay});
        case ModelId::Sweep:
            return qz3::BindParams(t.sweep,
                                   {&s.m_U1, &s.m_U0, &s.m_Width, &s.m_F0, &s.m_F1, &s.m_SweepChoice, &s.m_Delay});
        case ModelId::Function: return qz3::BindParams(t.function, {&s.m_Function});
        case ModelId::List: return qz3::BindParams(t.list, {&s.m_List, &s.m_Delay, &s.m_Cycle});
        case ModelId::File: return qz3::BindParams(t.file, {&s.m_Cycle, &s.m_Delay, &s.m_File});
        case ModelId::Trace: return qz3::BindParams(t.trace, {&s.m_Delay, &s.m_Trace, &s.m_Cycle});
        default: return nullptr;
    }
}

bool CElemV::CheckParams(CSolverPort* calc) {
    const char* letter = IsVoltage() ? "V" : "I";
    switch (model) {
        case ModelId::Source:
            if (FormulaFault(calc, value, letter)) return false;
            if (std::isinf(value.m_Value)) return AddCmpError(calc, std::string(letter) + " = infinite");
            return true;
        case ModelId::OneShot: return CheckOneShot(letter, calc);
        case ModelId::Function:
        case ModelId::SubCir: return true;
        default: return signal.Check(calc);
    }
}

bool CElemV::CheckOneShot(const char* letter, CSolverPort* calc) {
    bool sound = true;
    auto level = [&](const CFormula& f, const std::string& name) {
        if (FormulaFault(calc, f, name.c_str())) sound = false;
        else if (std::isinf(f.m_Value)) sound = AddCmpError(calc, name + " = infinite");
    };
    level(signal.m_U0, std::string(letter) + "0");
    level(signal.m_U1, std::string(letter) + "1");
    const CFormula& width = signal.m_Width;
    if (FormulaFault(calc, width, "Width")) sound = false;
    else if (width.m_Value < 0) sound = AddCmpError(calc, "Width < 0");
    else if (std::isinf(width.m_Value)) sound = AddCmpError(calc, "Width = infinite");
    return sound;
}

int CElemV::PinKind(int pin) const {
    if (hostDriven) return kPinAnalog;
    return IsControlled() && pin == 2 ? kPinSensing : kPinAnalog;
}

}  // namespace qz3
