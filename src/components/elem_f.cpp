#include "components/elem_f.h"

#include <cmath>

#include "components/block_names.h"
#include "components/block_pins.h"
#include "components/custom_type.h"
#include "components/element_state.h"
#include "components/solver_port.h"
#include "expr/state_text.h"

namespace qz3 {

namespace {

enum FunctionRow : uint8_t { kK, kFunc, kIc, kFormat, kRes, kPow, kMax, kMin, kTable, kTableX, kTableY };

const char* const kBusFormats[] = {"Unsigned", "Signed", nullptr};

const char* MaxBelowMin(const void* owner, double min) {
    return static_cast<const CElemF*>(static_cast<const CCmp*>(owner))->m_Max.m_Value < min ? " < Min" : nullptr;
}

constexpr CParamRow kRows[] = {
    FormulaRow("K", "", "k", MemberAt<&CElemF::m_K>, 1.0, {ParamTest::Infinite}),
    TextRow(kParamFunction, "f", "func", MemberAt<&CElemF::m_Func>, "x"),
    FormulaRow("IC", "", "func_ic", MemberAt<&CElemF::m_IC>, 0.0, {ParamTest::Infinite}),
    ChoiceRow("Format", "format", MemberAt<&CElemF::m_Format>, kBusFormats, 0),
    FormulaRow("Resolution", "", "res", MemberAt<&CElemF::m_Res>, 0.0, {ParamTest::Negative, ParamTest::Infinite}),
    FormulaRow("power", "", "pow", MemberAt<&CElemF::m_Pow>, 2.0, {ParamTest::Infinite}),
    FormulaRow("Max", "", "max", MemberAt<&CElemF::m_Max>, 1.0, {ParamTest::Infinite}),
    WithRule(FormulaRow("Min", "", "min", MemberAt<&CElemF::m_Min>, -1.0, {ParamTest::Infinite}), &MaxBelowMin, "Max"),
    TextRow(kParamString, "Table", "table", MemberAt<&CElemF::m_Table>, ""),
    TextRow(kParamString, "TableX", "table_x", MemberAt<&CElemF::m_TableX>, ""),
    TextRow(kParamString, "TableY", "table_y", MemberAt<&CElemF::m_TableY>, ""),
};
constexpr uint8_t kOrderFunction[] = {kFunc, kIc, kEndOfRows};
constexpr uint8_t kOrderPwr[] = {kK, kPow, kEndOfRows};
constexpr uint8_t kOrderInt[] = {kK, kRes, kEndOfRows};
constexpr uint8_t kOrderLim[] = {kMax, kMin, kEndOfRows};
constexpr uint8_t kOrderGain[] = {kK, kEndOfRows};
constexpr uint8_t kOrderTable[] = {kTable, kTableX, kTableY, kIc, kEndOfRows};
constexpr uint8_t kOrderBus[] = {kFormat, kIc, kEndOfRows};

constexpr CModelInfo Model(const char* name, ModelId id, const uint8_t* order) {
    return {name, id, order, 0, 1, kReadV};
}

}  // namespace

const CParamTable kFunctionBlockParams = ParamTableOf(kRows);
const CModelInfo kModelsF1[] = {Model("Function", ModelId::Function, kOrderFunction),
                                Model("Pwr", ModelId::Pwr, kOrderPwr),
                                Model("Abs", ModelId::Abs, kOrderGain),
                                Model("Int", ModelId::Int, kOrderInt),
                                Model("Lim", ModelId::Lim, kOrderLim),
                                Model("Table", ModelId::Table, kOrderTable),
                                {}};
const CModelInfo kModelsF2[] = {Model("Function", ModelId::Function, kOrderFunction),
                                Model("Pwr", ModelId::Pwr, kOrderGain),
                                Model("Mul", ModelId::Mul, kOrderGain),
                                Model("Div", ModelId::Div, kOrderGain),
                                Model("Sum", ModelId::Sum, kOrderGain),
                                Model("Sub", ModelId::Sub, kOrderGain),
                                Model("Max", ModelId::Max, kOrderGain),
                                Model("Min", ModelId::Min, kOrderGain),
                                Model("GT", ModelId::Gt, kOrderGain),
                                Model("LT", ModelId::Lt, kOrderGain),
                                Model("Mag", ModelId::Mag, kOrderGain),
                                Model("Phase", ModelId::Phase, kOrderGain),
                                Model("Table", ModelId::Table, kOrderTable),
                                {}};
const CModelInfo kModelsFCustom[] = {Model("Function", ModelId::Function, kOrderFunction),
                                     Model("Bus", ModelId::Bus, kOrderBus), {}};
const CModelInfo kModelsBus[] = {Model("Bus", ModelId::Bus, kOrderBus), {}};

CElemF::CElemF(const CCmpType* type) : CCmp(type) {
    switch (this->type) {
        case TypeId::Function:
        case TypeId::FunctionClocked: m_PinNames = {"x", "out"}; break;
        case TypeId::Function2:
        case TypeId::Function2Clocked:
            m_Inputs = 2;
            m_PinNames = {"x", "y", "out"};
            break;
        default:
            // A box: three inputs and the output to start with.
            MakeCustom();
            custom->m_Ins = this->type == TypeId::Bus ? "2,1,0" : "x1,x2,x3";
            custom->m_Outs = this->type == TypeId::Bus ? "bus" : "out";
            EndCustom();
            return;
    }
    m_Clocked = pinCount > m_Inputs + 1 ? 1 : 0;
    if (m_Clocked) m_PinNames.push_back("clk");
}

// The bus keeps no name lists in its box: its bits are named by weight.
void CElemF::EndCustom() {
    if (type == TypeId::Bus) {
        PlaceDefaultPins(*custom, 3, 1);
        AdoptCustomPins();
        m_Inputs = pinCount > 1 ? pinCount - 1 : 0;
        m_Clocked = 0;
        m_PinNames.clear();
        for (int bit = m_Inputs - 1; bit >= 0; --bit) m_PinNames.push_back(std::to_string(bit));
        m_PinNames.push_back("bus");
        return;
    }
    const std::vector<std::string> ins = NameItems(custom->m_Ins);
    std::vector<std::string> outs = NameItems(custom->m_Outs);
    if (outs.size() > 1) outs.resize(1);
    PlaceDefaultPins(*custom, static_cast<int>(ins.size()), 1);
    AdoptCustomPins();
    const CBlockNames named = NameBlockPins(ins, outs, static_cast<int>(ins.size()), 1, pinCount);
    m_Inputs = named.inputs;
    m_Clocked = named.clocked ? 1 : 0;
    m_PinNames = named.names;
}

std::string CElemF::PinName(int pin) const {
    return pin >= 0 && pin < static_cast<int>(m_PinNames.size()) ? m_PinNames[static_cast<size_t>(pin)] : std::string();
}

double CElemF::Input(const CSolverPort* calc, int i) const { return i < m_Inputs ? calc->X(nodes[i]) : 0.0; }

bool CElemF::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit: return Init(calc);
        case PhaseEval: return m_Clocked || Evaluate(calc, t);
        case PhaseSources: return SetBlockOutput(calc, this, OutputPin(), firstBranch, m_Out);
        case PhaseStamp: return calc->StampPass() != 0 || Stamp(calc);
        case PhaseSample:
            if (m_Clocked) state = ClockLevel(calc, this, pinCount - 1);
            return true;
        case PhaseLinearize: return Linearize(calc, t);
        case PhasePins: SetBlockPinGroups(this, OutputPin(), 1); return true;
        default: return true;
    }
}

bool CElemF::Init(CSolverPort* calc) {
    if (pinCount < m_Inputs + 1) return AddCmpError(calc, "no output pin");
    if (model == ModelId::Function && !PrepareVariables(calc)) return false;
    std::string error;
    if (model == ModelId::Table) {
        const bool parsed = m_Inputs >= 2 ? m_Points.ParseGrid(m_TableX, m_TableY, m_Table, error)
                                          : m_Points.ParsePairs(m_Table, error);
        if (!parsed) return AddCmpError(calc, error);
    }
    m_Gain.assign(static_cast<size_t>(m_Inputs), 0.0);
    if (lastModel != ModelId::None) return true;
    m_Out = m_IC.m_Value;
    if (const std::string stored = StoredState(calc, this); !stored.empty()) {
        m_Out = KeyHex(stored, "f", m_Out);
        state = KeyInt(stored, "c", state);
    }
    return true;
}

// t and one double per input, by the input's name; made once per run so
// that a step only writes the values.
bool CElemF::PrepareVariables(CSolverPort* calc) {
    m_Vars.Clear();
    m_InputValue.clear();
    if (!m_Vars.Add("t", vtDouble, 0)) return AddCmpError(calc, "No enough memory");
    for (int i = 0; i < m_Inputs; ++i)
        if (!m_Vars.Add(m_PinNames[static_cast<size_t>(i)].c_str(), vtDouble, 0))
            return AddCmpError(calc, "No enough memory");
    for (int i = 0; i < m_Inputs; ++i) m_InputValue.push_back(m_Vars[i + 1].Value);
    return true;
}

// The output row follows the inputs by their gains in AC; elsewhere it is
// the held value.
bool CElemF::Stamp(CSolverPort* calc) {
    if (!StampBlockOutput(calc, this, OutputPin(), firstBranch)) return false;
    if (calc->IsTransient() || calc->Integrating() != 1) return true;
    for (int i = 0; i < m_Inputs; ++i)
        if (nodes[i] != 0) calc->AddG(firstBranch, nodes[i], -m_Gain[static_cast<size_t>(i)]);
    return true;
}

bool CElemF::CheckState(CSolverPort* calc, bool commit, bool* changed) {
    if (!m_Clocked || !ClockEdge(calc, this, pinCount - 1, commit, changed)) return true;
    return Evaluate(calc, calc->Time());
}

std::string CElemF::GetState() {
    std::string text;
    AddKeyHex(text, "f", m_Out);
    AddKeyInt(text, "c", state);
    return text;
}

}  // namespace qz3
