#include "components/elem_code.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <new>

#include "components/block_names.h"
#include "components/block_pins.h"
#include "components/calc_link.h"
#include "components/custom_type.h"
#include "components/element_state.h"
#include "components/solver_port.h"
#include "base/number_format.h"
#include "expr/number_text.h"
#include "expr/state_text.h"

namespace qz3 {

namespace {

enum CodeRow : uint8_t { kCode, kFile, kIc };

constexpr CParamRow kRows[] = {
    TextRow(kParamCode, "Code", "c_code", MemberAt<&CElemCode::m_Code>, ""),
    TextRow(kParamCodeFile, "File", "file", MemberAt<&CElemCode::m_File>, ""),
    TextRow(kParamInitList, "IC", "ic", MemberAt<&CElemCode::m_IC>, ""),
};
constexpr uint8_t kOrderCode[] = {kCode, kIc, kEndOfRows};
constexpr uint8_t kOrderFile[] = {kFile, kIc, kEndOfRows};

// The lines of a file, joined with the line ends the language counts.
bool ReadLines(const std::string& path, std::string& text) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    std::string line;
    text.clear();
    bool first = true;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (!first) text += "\r\n";
        text += line;
        first = false;
    }
    return !in.bad();
}

// A double as the evaluator reads it back bit for bit: "0(" and its image.
std::string ExactText(double x) {
    const std::string hex = DoubleToHex(x);
    return hex == "0" ? std::string("0.0") : "0(" + hex.substr(1) + ")";
}

}  // namespace

const CParamTable kCodeBlockParams = ParamTableOf(kRows);
const CModelInfo kModelsCodeBlock[] = {{"C", ModelId::Code, kOrderCode, 0, 0, kReadV},
                                       {"File", ModelId::CodeFile, kOrderFile, 0, 0, kReadV},
                                       {}};

// A new block has three inputs and three outputs.
CElemCode::CElemCode(const CCmpType* type) : CCmp(type) {
    MakeCustom();
    custom->m_Ins = "x1,x2,x3";
    custom->m_Outs = "y1,y2,y3";
    EndCustom();
}

void CElemCode::EndCustom() {
    const std::vector<std::string> ins = NameItems(custom->m_Ins);
    const std::vector<std::string> outs = NameItems(custom->m_Outs);
    const int inputs = static_cast<int>(ins.size()), outputs = static_cast<int>(outs.size());
    PlaceDefaultPins(*custom, inputs, outputs);
    AdoptCustomPins();
    const CBlockNames named = NameBlockPins(ins, outs, inputs, outputs, pinCount);
    m_Inputs = inputs;
    m_Outputs = outputs;
    m_Clocked = named.clocked ? 1 : 0;
    m_PinNames = named.names;
}

bool CElemCode::CheckParams(CSolverPort* calc) {
    bool sound = CheckParamRows(this, calc);
    if (pinCount < m_Inputs + m_Outputs || pinCount > m_Inputs + m_Outputs + 1)
        sound = AddCmpError(calc, std::to_string(pinCount) + " pins for " + std::to_string(m_Inputs) + " inputs and " +
                                      std::to_string(m_Outputs) + " outputs");
    return sound;
}

int CElemCode::PinKind(int pin) const {
    return pin >= m_Inputs && pin < m_Inputs + m_Outputs ? kPinAnalog : kPinSensing;
}

std::string CElemCode::PinName(int pin) const {
    return pin >= 0 && pin < static_cast<int>(m_PinNames.size()) ? m_PinNames[static_cast<size_t>(pin)] : std::string();
}

int CElemCode::AssignBranches(CSolverPort*, int first) {
    branchCount = m_Outputs;
    firstBranch = branchCount > 0 ? first : 0;
    return branchCount;
}

bool CElemCode::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit: return Init(calc);
        case PhaseEval: return m_Clocked || Compute(calc, t);
        case PhaseSources: return Outputs(calc);
        case PhaseStamp: return calc->StampPass() != 0 || Stamp(calc);
        case PhaseSample:
            if (m_Clocked) state = ClockLevel(calc, this, pinCount - 1);
            return true;
        case PhasePins: SetBlockPinGroups(this, m_Inputs, m_Outputs); return true;
        default: return true;
    }
}

bool CElemCode::Init(CSolverPort* calc) {
    m_Host.Attach(calc);
    m_Tree.reset();
    auto tree = std::unique_ptr<CCodeNode>(new (std::nothrow) CCodeNode());
    if (!tree) return AddCmpError(calc, "No enough memory");
    tree->Cmps = owner;
    tree->Host = &m_Host;
    if (!ProgramText(calc, m_Source)) return false;
    CodeErrorPos() = 0;
    if (!tree->Parse(m_Source)) return ProgramError(calc);
    m_Mode = tree->FindChild(ckMain) ? kRunMain : kRunAll;
    m_Tree = std::move(tree);
    // A run that goes on with the same model keeps its variables.
    if (lastModel != ModelId::None && model == lastModel && !m_PinValue.empty()) return true;
    m_Vars.Clear();
    m_PinValue.clear();
    if (!m_Vars.Add("t", vtDouble, 0)) return AddCmpError(calc, "Can't create variable");
    if (m_Mode == kRunMain && m_Tree->Run(0, &m_Vars, m_Vars.Count(), kRunAll) == kCodeFailed)
        return ProgramError(calc);
    if (!BindPins(calc)) return false;
    if (m_Mode == kRunMain && m_Tree->Run(0, &m_Vars, m_Vars.Count(), kRunInit) == kCodeFailed)
        return ProgramError(calc);
    return ApplyInitialValues(calc);
}

bool CElemCode::ProgramText(CSolverPort* calc, std::string& text) {
    if (model != ModelId::CodeFile) {
        text = m_Code;
        return true;
    }
    if (!attachment.empty()) {
        text = attachment;
        return true;
    }
    if (m_File.empty()) return AddCmpError(calc, "No file name");
    const std::string path = FindDocumentFile(calc->Doc(), m_File);
    if (path.empty()) return AddCmpError(calc, "Can't find " + m_File);
    if (!ReadLines(path, text)) return AddCmpError(calc, "Can't read " + m_File);
    return true;
}

// Each pin is a double variable; a name "y[2]" is element 2 of an array.
// All variables are made first and their addresses taken behind, since a
// growing array moves its values.
bool CElemCode::BindPins(CSolverPort* calc) {
    for (int pin = 0; pin < m_Inputs + m_Outputs && pin < pinCount; ++pin)
        if (!BindPin(calc, pin)) return false;
    m_PinValue.assign(static_cast<size_t>(pinCount), nullptr);
    for (int pin = 0; pin < m_Inputs + m_Outputs && pin < pinCount; ++pin) {
        const std::string& name = m_PinNames[static_cast<size_t>(pin)];
        const size_t open = name.find('[');
        const bool element = !name.empty() && name.back() == ']' && open != std::string::npos;
        CVarEntry* entry = m_Vars.Find(element ? name.substr(0, open) : name, 0);
        const int index = element ? std::atoi(name.c_str() + open + 1) : 0;
        m_PinValue[static_cast<size_t>(pin)] = &entry->Value[index].Dbl;
    }
    return true;
}

bool CElemCode::BindPin(CSolverPort* calc, int pin) {
    const std::string& name = m_PinNames[static_cast<size_t>(pin)];
    const size_t open = name.find('[');
    const bool element = !name.empty() && name.back() == ']' && open != std::string::npos;
    const std::string variable = element ? name.substr(0, open) : name;
    int index = element ? std::atoi(name.c_str() + open + 1) : 0;
    if (index < 0) index = 0;
    CVarEntry* entry = m_Vars.Find(variable, 0);
    if (!entry) {
        if (!m_Vars.Add(variable.c_str(), vtDouble, element ? index + 1 : 0))
            return AddCmpError(calc, "Can't create variable");
        return true;
    }
    if (entry->Value[0].Type != vtDouble) return AddCmpError(calc, "Variable type mismatch: '" + name + "'");
    if (!element) return true;
    if (!entry->IsArray()) return AddCmpError(calc, "Variable/array mismatch: '" + name + "'");
    if (!m_Vars.Resize(*entry, index + 1)) return AddCmpError(calc, "Cannot increase array size: '" + name + "'");
    return true;
}

// The stored state of the run's start if there is one, else the IC text.
bool CElemCode::ApplyInitialValues(CSolverPort* calc) {
    const std::string values = BlockInitialValues(calc, this, m_IC);
    if (values.empty()) return true;
    if (RunInitialValues(values, &m_Vars, owner, &m_Host)) return true;
    AddCmpError(calc, ExprError());
    AddCmpError(calc, "IC : " + m_IC);
    m_Tree.reset();
    return false;
}

bool CElemCode::ProgramError(CSolverPort* calc) {
    const std::string message = ExprError();
    m_Tree.reset();
    if (message.empty()) return false;  // a stop, which says nothing
    const int line = CodeLineOf(m_Source, CodeErrorPos());
    return AddCmpError(calc, line > 0 ? "Line " + std::to_string(line) + " : " + message : message);
}

// Inputs from the last solution, then the program; whatever it declared
// is dropped behind it.
bool CElemCode::Compute(CSolverPort* calc, double t) {
    if (!m_Tree) return AddCmpError(calc, "program not prepared");
    m_Host.Attach(calc);
    CodeErrorPos() = 0;
    m_Vars[0].Value[0].SetDouble(t);
    for (int pin = 0; pin < m_Inputs; ++pin) *m_PinValue[static_cast<size_t>(pin)] = calc->X(nodes[pin]);
    const int32_t count = m_Vars.Count();
    const int code = m_Tree->Run(0, &m_Vars, count, m_Mode);
    m_Vars.Truncate(count);
    if (code != kCodeFailed) return true;
    const std::string message = ExprError();
    if (message.empty()) return false;
    const int line = CodeLineOf(m_Source, CodeErrorPos());
    return AddCmpError(calc, line > 0 ? "Line " + std::to_string(line) + " : " + message : message);
}

bool CElemCode::Outputs(CSolverPort* calc) {
    if (m_PinValue.empty()) return true;
    for (int k = 0; k < m_Outputs; ++k) {
        const int pin = m_Inputs + k;
        if (!SetBlockOutput(calc, this, pin, firstBranch + k, *m_PinValue[static_cast<size_t>(pin)])) return false;
    }
    return true;
}

bool CElemCode::Stamp(CSolverPort* calc) {
    for (int k = 0; k < m_Outputs; ++k)
        if (!StampBlockOutput(calc, this, m_Inputs + k, firstBranch + k)) return false;
    return true;
}

bool CElemCode::CheckState(CSolverPort* calc, bool commit, bool* changed) {
    if (!m_Clocked || !ClockEdge(calc, this, pinCount - 1, commit, changed)) return true;
    return Compute(calc, calc->Time());
}

// The program's scalar variables as C-code, so that "save IC" and a stored
// state start the block where it stood.
std::string CElemCode::GetState() {
    std::string values;
    for (int32_t i = 1; i < m_Vars.Count(); ++i) {
        CVarEntry& entry = m_Vars[i];
        const int count = entry.IsArray() ? entry.Size : 1;
        for (int k = 0; k < count; ++k) {
            const CValue& v = entry.Value[k];
            if (v.Type == vtComplex || v.Type == vtArray) continue;
            if (!values.empty()) values += ',';
            values += entry.Name;
            if (entry.IsArray()) values += "[" + std::to_string(k) + "]";
            values += '=';
            values += v.Type == vtDouble ? ExactText(v.Dbl) : ValueToText(v);
        }
    }
    std::string text;
    AddKeyBraced(text, "s", values);
    return text;
}

}  // namespace qz3
