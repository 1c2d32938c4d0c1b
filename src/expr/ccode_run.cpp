// Running a parsed C-code program: a walk over the statement tree with the
// variables of all scopes in one list, each scope being the entries from
// its start index on. Expressions go to the evaluator with integer
// arithmetic; assignments are recognised here, so that "=" is a statement
// form and never an operator of an expression.
#include <string>

#include "expr/ccode_assign.h"
#include "expr/ccode_node.h"
#include "expr/eval_expr.h"
#include "expr/number_text.h"
#include "expr/var_list.h"

namespace qz3 {

namespace {

// Elements of one array: 4 M values, about 100 MB.
constexpr int32_t kMaxArraySize = 1 << 22;

std::string_view TrimBlanks(std::string_view s) {
    while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
    while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
    return s;
}

// A condition is true unless it is zero; a NaN is true, as in C.
bool Truth(const CValue& v) {
    switch (v.Type) {
        case vtComplex: return v.Dbl != 0.0 || v.Im != 0.0;
        case vtDouble: return v.Dbl != 0.0;
        case vtInt64: return v.I64 != 0;
        case vtInt: return v.I32 != 0;
        case vtBool: return v.Byte != 0;
        default: return false;
    }
}

class CCodeRunner {
public:
    CCodeRunner(const CCodeNode& root, CVarList* vars) : m_Host(root.Host), m_Cmps(root.Cmps), m_Vars(vars) {}

    int RunList(const CCodeNode& node, int first, int scopeBase);

private:
    int RunStatement(const CCodeNode& node, int scopeBase);
    int RunScope(const CCodeNode& node, int first);
    int RunSwitch(const CCodeNode& node);
    int RunIf(const CCodeNode& node, int scopeBase);
    int RunWhile(const CCodeNode& node, int scopeBase);
    int RunDo(const CCodeNode& node, int scopeBase);
    int RunFor(const CCodeNode& node, int scopeBase);
    bool Declare(const CCodeNode& node, ValueType type, int scopeBase);
    bool Initialise(CVarEntry& entry, std::string_view rhs, bool list);
    bool Execute(std::string_view text, CValue* result, int chain = 0);
    bool Evaluate(std::string_view text, CValue& value);
    bool Condition(std::string_view text, bool& truth);
    bool Index(std::string_view text, int32_t& index);
    bool Guard(const char* loop, int cycle);

    CDoc* Doc() const { return m_Host ? m_Host->Doc() : nullptr; }
    static bool Fail(std::string text) {
        ExprError() = std::move(text);
        return false;
    }

    CCodeHost* m_Host;
    CCmps* m_Cmps;
    CVarList* m_Vars;
    // Cycles of all loops of this run together: nested loops of 99 cycles
    // each would otherwise never reach a check.
    int64_t m_Cycles = 0;
};

int CCodeRunner::RunList(const CCodeNode& node, int first, int scopeBase) {
    for (int i = first; i < node.ChildCount(); ++i) {
        const int code = RunStatement(*node.Child(i), scopeBase);
        if (code != kCodeDone) return code;
    }
    return kCodeDone;
}

// The children run in a scope of their own: what they declare is gone
// behind it.
int CCodeRunner::RunScope(const CCodeNode& node, int first) {
    const int32_t base = m_Vars->Count();
    const int code = RunList(node, first, base);
    m_Vars->Truncate(base);
    return code;
}

int CCodeRunner::RunStatement(const CCodeNode& node, int scopeBase) {
    CodeErrorPos() = node.Pos;
    switch (node.Kind) {
        case ckBlock: return RunScope(node, 0);
        case ckComplex:
        case ckDouble:
        case ckInt64:
        case ckInt:
        case ckBool:
            for (int i = 0; i < node.ChildCount(); ++i) {
                CodeErrorPos() = node.Child(i)->Pos;
                if (!Declare(*node.Child(i), static_cast<ValueType>(node.Kind - 2), scopeBase)) return kCodeFailed;
            }
            return kCodeDone;
        case ckSwitch: return RunSwitch(node);
        case ckIf: return RunIf(node, scopeBase);
        case ckWhile: return RunWhile(node, scopeBase);
        case ckDo: return RunDo(node, scopeBase);
        case ckFor: return RunFor(node, scopeBase);
        case ckBreak: return kCodeBreak;
        case ckContinue: return kCodeContinue;
        case ckReturn: return kCodeReturn;
        case ckStatement: return Execute(node.Text1, nullptr) ? kCodeDone : kCodeFailed;
        default: return kCodeDone;  // labels, else, init and main run only through their owners
    }
}

// The first label of equal value is the entry, else default, else nothing;
// from there the statements fall through labels until a break.
int CCodeRunner::RunSwitch(const CCodeNode& node) {
    CValue value;
    if (!Evaluate(node.Text1, value)) return kCodeFailed;
    const int32_t key = value.AsInt();
    int entry = -1;
    for (int i = 0; i < node.ChildCount() && entry < 0; ++i) {
        const CCodeNode& label = *node.Child(i);
        if (label.Kind != ckCase) continue;
        CodeErrorPos() = label.Pos;
        CValue labelValue;
        if (!Evaluate(label.Text1, labelValue)) return kCodeFailed;
        if (labelValue.AsInt() == key) entry = i;
    }
    for (int i = 0; i < node.ChildCount() && entry < 0; ++i)
        if (node.Child(i)->Kind == ckDefault) entry = i;
    if (entry < 0) return kCodeDone;
    const int code = RunScope(node, entry + 1);
    return code == kCodeBreak ? kCodeDone : code;
}

int CCodeRunner::RunIf(const CCodeNode& node, int scopeBase) {
    bool truth = false;
    if (!Condition(node.Text1, truth)) return kCodeFailed;
    const CCodeNode* otherwise = node.FindChild(ckElse);
    if (!truth) return otherwise ? RunList(*otherwise, 0, scopeBase) : kCodeDone;
    for (int i = 0; i < node.ChildCount(); ++i) {
        const CCodeNode& child = *node.Child(i);
        if (child.Kind == ckElse) continue;
        const int code = RunStatement(child, scopeBase);
        if (code != kCodeDone) return code;
    }
    return kCodeDone;
}

int CCodeRunner::RunWhile(const CCodeNode& node, int scopeBase) {
    for (int cycle = 1;; ++cycle) {
        if (!Guard("while", cycle)) return kCodeFailed;
        CodeErrorPos() = node.Pos;
        bool truth = false;
        if (!Condition(node.Text1, truth)) return kCodeFailed;
        if (!truth) return kCodeDone;
        const int code = RunList(node, 0, scopeBase);
        if (code == kCodeBreak) return kCodeDone;
        if (code == kCodeReturn || code == kCodeFailed) return code;
    }
}

int CCodeRunner::RunDo(const CCodeNode& node, int scopeBase) {
    for (int cycle = 1;; ++cycle) {
        if (!Guard("do", cycle)) return kCodeFailed;
        const int code = RunList(node, 0, scopeBase);
        if (code == kCodeBreak) return kCodeDone;
        if (code == kCodeReturn || code == kCodeFailed) return code;
        CodeErrorPos() = node.Pos;
        bool truth = false;
        if (!Condition(node.Text1, truth)) return kCodeFailed;
        if (!truth) return kCodeDone;
    }
}

int CCodeRunner::RunFor(const CCodeNode& node, int scopeBase) {
    if (!Execute(node.Text1, nullptr)) return kCodeFailed;
    for (int cycle = 1;; ++cycle) {
        if (!Guard("for", cycle)) return kCodeFailed;
        CodeErrorPos() = node.Pos;
        if (!node.Text2.empty()) {
            bool truth = false;
            if (!Condition(node.Text2, truth)) return kCodeFailed;
            if (!truth) return kCodeDone;
        }
        const int code = RunList(node, 0, scopeBase);
        if (code == kCodeBreak) return kCodeDone;
        if (code == kCodeReturn || code == kCodeFailed) return code;
        CodeErrorPos() = node.Pos;
        if (!Execute(node.Text3, nullptr)) return kCodeFailed;
    }
}

// Every hundredth cycle of the run's loops: a stop ends the run without a
// message, a spent time allowance with the loop's own, which names the
// loop's own cycle.
bool CCodeRunner::Guard(const char* loop, int cycle) {
    if (++m_Cycles % 100 != 0) return true;
    if (m_Host && m_Host->StopRequested()) return Fail(std::string());
    if (m_Host && m_Host->TimedOut())
        return Fail(std::string("'") + loop + "' loop time-out at cycle " + std::to_string(cycle));
    return true;
}

bool CCodeRunner::Evaluate(std::string_view text, CValue& value) {
    double x = 0.0;
    if (!EvalExpr(text, &x, Doc(), m_Vars, m_Cmps, true, nullptr, &value, false, false, true)) return false;
    if (value.Type == vtArray) return Fail("Array '" + std::string(TrimBlanks(text)) + "' needs an index");
    return true;
}

// A condition is an expression and never an assignment: "=" in it is the
// evaluator's error.
bool CCodeRunner::Condition(std::string_view text, bool& truth) {
    CValue value;
    if (!Evaluate(text, value)) return false;
    truth = Truth(value);
    return true;
}

bool CCodeRunner::Index(std::string_view text, int32_t& index) {
    CValue value;
    if (!Evaluate(text, value)) return false;
    index = value.AsInt();
    return true;
}

// An expression, or an assignment whose value is itself executed, which
// makes "a = b = 3" a chain.
bool CCodeRunner::Execute(std::string_view text, CValue* result, int chain) {
    text = TrimBlanks(text);
    if (text.empty()) return true;
    std::string_view lhs, rhs, indexText;
    const int op = SplitAssign(text, lhs, rhs, indexText);
    if (op == kAssignNone) {
        CValue value;
        if (!Evaluate(text, value)) return false;
        if (result) *result = value;
        return true;
    }
    if (!m_Vars->Find(lhs, 0)) return Fail("Variable '" + std::string(lhs) + "' not found");
    if (chain >= kMaxAssignChain) return Fail("Assignment chain too long");
    CValue value;
    if (!Execute(rhs, &value, chain + 1)) return false;
    int32_t element = 0;
    if (!indexText.empty() && !Index(indexText, element)) return false;
    CVarEntry* entry = m_Vars->Find(lhs, 0);
    if (element < 0) return Fail(std::string(lhs) + ": negative array index");
    if (!indexText.empty() && element >= entry->Size) return Fail(std::string(lhs) + ": array index too high");
    CValue& target = entry->Value[element];
    if (!ApplyAssign(op, target, value)) return false;
    if (result) *result = target;
    return true;
}

bool CCodeRunner::Declare(const CCodeNode& node, ValueType type, int scopeBase) {
    const std::string_view text = TrimBlanks(node.Text1);
    if (text.empty()) return true;
    std::string_view name, rhs, indexText;
    const int op = SplitAssign(text, name, rhs, indexText);
    const bool list = op == kAssignPlain && rhs.size() >= 2 && rhs.front() == '{' && rhs.back() == '}';
    int32_t size = 0;
    if (!indexText.empty()) {
        if (!Index(indexText, size)) return false;
        if (size < 0) {
            // "[]": as many elements as initialisers
            size = 0;
            if (list && !TrimBlanks(rhs.substr(1, rhs.size() - 2)).empty()) {
                size = 1;
                int depth = 0;
                for (char c : rhs.substr(1, rhs.size() - 2)) {
                    if (c == '(') ++depth;
                    if (c == ')') --depth;
                    if (c == ',' && depth == 0) ++size;
                }
            }
        }
        if (size <= 0) return Fail("Array '" + std::string(name) + "' : size <= 0");
        // A program must not take the host's memory with one declaration.
        if (size > kMaxArraySize) return Fail("Array '" + std::string(name) + "' : size too large");
    }
    if (m_Vars->Find(name, scopeBase)) return Fail("Variable '" + std::string(name) + "' already exists");
    const std::string key(name);
    CVarEntry* entry = m_Vars->Add(key.c_str(), type, size);
    if (!entry) return Fail("Can't create variable");
    const int32_t at = m_Vars->Count() - 1;
    if (op != kAssignPlain) return true;
    return Initialise((*m_Vars)[at], rhs, list);
}

// Initialisers in order, converted to the variable's type, as far as it
// has elements; a surplus is ignored.
bool CCodeRunner::Initialise(CVarEntry& entry, std::string_view rhs, bool list) {
    const int32_t count = entry.Size < 1 ? 1 : entry.Size;
    const int32_t at = static_cast<int32_t>(&entry - &(*m_Vars)[0]);
    std::string_view rest = list ? rhs.substr(1, rhs.size() - 2) : rhs;
    for (int32_t i = 0; i < count; ++i) {
        size_t end = rest.size();
        if (list) {
            int depth = 0;
            for (size_t k = 0; k < rest.size(); ++k) {
                if (rest[k] == '(') ++depth;
                if (rest[k] == ')') --depth;
                if (rest[k] == ',' && depth == 0) {
                    end = k;
                    break;
                }
            }
        }
        const std::string_view item = TrimBlanks(rest.substr(0, end));
        if (list && item.empty() && end == rest.size()) return true;
        CValue value;
        if (!Evaluate(item, value)) return false;
        (*m_Vars)[at].Value[i].AssignConverted(value);
        if (!list || end == rest.size()) return true;
        rest = rest.substr(end + 1);
    }
    return true;
}

}  // namespace

int CCodeNode::Run(int firstChild, CVarList* vars, int scopeBase, int mode) {
    if (!vars) return kCodeFailed;
    CCodeRunner runner(*this, vars);
    if (mode == kRunAll) return runner.RunList(*this, firstChild, scopeBase);
    const CCodeNode* block = FindChild(mode == kRunInit ? ckInit : ckMain);
    if (!block) return kCodeDone;
    return runner.RunList(*block, 0, scopeBase) == kCodeFailed ? kCodeFailed : kCodeDone;
}


bool RunInitialValues(std::string_view text, CVarList* vars, CCmps* cmps, CCodeHost* host) {
    std::string statements(text);
    statements += ';';
    for (char& c : statements)
        if (c == ',') c = ';';
    CCodeNode tree;
    tree.Cmps = cmps;
    tree.Host = host;
    if (!tree.Parse(statements)) return false;
    const int32_t base = vars->Count();
    const int code = tree.Run(0, vars, base, kRunAll);
    vars->Truncate(base);
    return code != kCodeFailed;
}

}  // namespace qz3
