#include "expr/eval_expr.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "expr/eval_entry.h"
#include "expr/eval_links.h"
#include "expr/functions.h"
#include "expr/number_text.h"
#include "expr/var_list.h"

namespace qz3 {

CEvalLinks& EvalLinks() {
    static CEvalLinks links;
    return links;
}

void StepValue(int mode, CValue& dest, CValue& var) {
    auto step = [&var](int delta) {
        switch (var.Type) {
            case vtComplex:
            case vtDouble: var.Dbl += delta; break;
            case vtInt64: var.I64 = static_cast<int64_t>(static_cast<uint64_t>(var.I64) + static_cast<uint64_t>(delta)); break;
            case vtInt: var.I32 = static_cast<int32_t>(static_cast<uint32_t>(var.I32) + static_cast<uint32_t>(delta)); break;
            default: break;
        }
    };
    if (mode == 1 || mode == 2) step(mode == 1 ? 1 : -1);
    dest = var;
    if (mode == 3 || mode == 4) step(mode == 3 ? 1 : -1);
}

namespace {

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsAlnum(char c) { return IsLetter(c) || IsDigit(c); }

std::string_view Trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    return s;
}

bool Fail(std::string_view message) {
    ExprError().assign(message);
    return false;
}

bool FailQuoted(const char* head, std::string_view name, const char* tail) {
    std::string& e = ExprError();
    e = head;
    e.append(name);
    e += tail;
    return false;
}

int CastCode(std::string_view name) {
    if (name == "int") return opCastInt;
    if (name == "int64") return opCastInt64;
    if (name == "float" || name == "double") return opCastDouble;
    if (name == "complex") return opCastComplex;
    if (name == "bool") return opCastBool;
    return 0;
}

// Only evaluations started from inside an evaluation (computed trace names)
// nest; this counts them so that no text can recurse without end.
thread_local int g_EvalDepth = 0;

struct CDepthGuard {
    CDepthGuard() { ++g_EvalDepth; }
    ~CDepthGuard() { --g_EvalDepth; }
};

// The operator stack: a fixed block on the machine stack, spilling to the
// heap only for deeply nested text, and never beyond kMaxEvalStack.
class CEvalStack {
public:
    int Count() const { return m_Count; }
    CEvalEntry& operator[](int i) { return m_Data[i]; }
    CEvalEntry& Top() { return m_Data[m_Count - 1]; }
    void Drop(int n) { m_Count -= n; }
    bool Push(const CEvalEntry& e) {
        if (m_Count == kInline && m_Data == m_Inline) {
            m_Heap.assign(m_Inline, m_Inline + kInline);
            m_Heap.resize(kInline * 2);
            m_Data = m_Heap.data();
        } else if (m_Data != m_Inline && m_Count == static_cast<int>(m_Heap.size())) {
            if (m_Count >= kMaxEvalStack) return false;
            m_Heap.resize(m_Heap.size() * 2);
            m_Data = m_Heap.data();
        }
        m_Data[m_Count++] = e;
        return true;
    }

private:
    static constexpr int kInline = 32;
    CEvalEntry m_Inline[kInline];
    std::vector<CEvalEntry> m_Heap;
    CEvalEntry* m_Data = m_Inline;
    int m_Count = 0;
};

class CEvaluator {
public:
    CEvaluator(std::string_view text, CDoc* doc, CVarList* vars, CCmps* cmps, bool useCalc, CTraces* traces,
               bool complexTraces, bool traceFormula, bool intArith)
        : m_Text(text), m_Vars(vars), m_Cmps(cmps), m_Traces(traces), m_ComplexTraces(complexTraces),
          m_TraceFormula(traceFormula) {
        m_Ctx.Doc = doc;
        m_Ctx.UseCalc = useCalc;
        m_Ctx.IntArith = intArith;
        if (!m_Cmps && doc && EvalLinks().DocCmps) m_Cmps = EvalLinks().DocCmps(doc);
    }

    bool Run(CValue& out);
    bool NoData() const { return m_NoData; }

private:
    size_t Size() const { return m_Text.size(); }
    char At(size_t i) const { return i < m_Text.size() ? m_Text[i] : ' '; }

    bool ScanOperand();
    bool ScanOperator();
    bool ScanNumber();
    bool ScanName();
    bool ScanTraceReference();
    bool ComputedTraceName(size_t start);
    bool ResolveName(std::string_view name);
    bool ResolveKeyword(std::string_view name, bool& done);
    bool CallOrArray(std::string_view name, size_t start, bool& resolveAsName, std::string_view& nameOut);
    bool OpenBracket();
    bool PushPrefix(int op);
    bool PushOperator(int op, int level);
    bool Reduce();
    bool ReduceEntries(int k);
    bool InspectTop();
    void OperandDone() {
        m_ExpectOperand = false;
        m_SignAllowed = false;
    }
    bool ExpressionError() { return FailQuoted("Expression error in '", m_Text, "'"); }

    std::string_view m_Text;
    CVarList* m_Vars;
    CCmps* m_Cmps;
    CTraces* m_Traces;
    bool m_ComplexTraces;
    bool m_TraceFormula;
    CEvalContext m_Ctx;

    size_t m_Pos = 0;
    bool m_ExpectOperand = true;
    bool m_SignAllowed = true;
    int m_Base = 0;
    bool m_Active = true;
    bool m_WantComponent = false;
    bool m_NoData = false;
    CEvalEntry m_Operand;
    CEvalStack m_Stack;
    std::string m_NameBuffer;  // only for names built from pieces (computed trace names)
};

bool CEvaluator::Run(CValue& out) {
    // Every pass of the loop consumes at least one character or ends it.
    while (m_Pos <= Size()) {
        if (!(m_ExpectOperand ? ScanOperand() : ScanOperator())) return false;
    }
    if (m_Base != 0) return ExpressionError();
    if (m_Stack.Count() == 0)
        out.SetDouble(0.0);
    else
        out = m_Stack[0].Value;
    return true;
}

bool CEvaluator::OpenBracket() {
    if (m_Base >= 100 * kMaxBracketDepth) return Fail("Expression nested too deeply");
    m_Base += 100;
    m_SignAllowed = true;
    ++m_Pos;
    return true;
}

bool CEvaluator::ScanOperand() {
    char c = At(m_Pos);
    char next = At(m_Pos + 1);
    switch (c) {
        case ' ':
        case '\t':
        case '=': ++m_Pos; return true;
        case '(':
        case '[': return OpenBracket();
        case '!': ++m_Pos; return PushPrefix(opNot);
        case '~': ++m_Pos; return PushPrefix(opCompl);
        case '-':
            if (next == '-' && m_Pos + 1 < Size()) {
                m_Ctx.PendingStep = 2;
                m_Pos += 2;
                return true;
            }
            ++m_Pos;
            return PushPrefix(opNeg);
        case '+':
            if (next == '+' && m_Pos + 1 < Size()) {
                m_Ctx.PendingStep = 1;
                m_Pos += 2;
                return true;
            }
            if (!m_SignAllowed) return Fail("Syntax error");
            m_SignAllowed = false;
            ++m_Pos;
            return true;
        case '{': return ScanTraceReference();
        case ')':
            m_Operand.Value.SetInt(0);
            m_Base -= 100;
            ++m_Pos;
            OperandDone();
            return true;
        default: break;
    }
    if (IsDigit(c) || c == '.') return m_WantComponent ? ScanName() : ScanNumber();
    if (IsLetter(c) || c == '_') return ScanName();
    return Fail("Syntax error");
}

bool CEvaluator::ScanOperator() {
    char c = At(m_Pos);
    char next = At(m_Pos + 1);
    bool hasNext = m_Pos + 1 < Size();
    auto binary = [&](int op, int level, size_t length, bool setsSign) {
        m_Pos += length;
        if (setsSign) m_SignAllowed = true;
        return PushOperator(op, level);
    };
    switch (c) {
        case ' ':
            if (m_Pos >= Size()) return binary(opEnd, -1, 1, false);
            ++m_Pos;
            return true;
        case ')': m_Base -= 100; ++m_Pos; return true;
        case ']':
            m_Base -= 100;
            ++m_Pos;
            if (m_Pos + 1 < Size() && (At(m_Pos) == '+' || At(m_Pos) == '-') && At(m_Pos + 1) == At(m_Pos)) {
                m_Ctx.PendingStep = At(m_Pos) == '+' ? 3 : 4;
                m_Pos += 2;
            }
            return true;
        case ';': ++m_Pos; return true;
        case '!':
            if (next == '=' && hasNext) return binary(opNe, 9, 2, true);
            return Fail("Unknown operator '!'");
        case '=':
            if (next == '=' && hasNext) return binary(opEq, 9, 2, true);
            return Fail("Operator '=' not allowed");
        case '&':
            if (next == '&' && hasNext) return binary(opAndAnd, 5, 2, true);
            return binary(opAnd, 8, 1, true);
        case '|':
            if (next == '|' && hasNext) return binary(opOrOr, 4, 2, true);
            return binary(opOr, 6, 1, true);
        case '<':
            if (next == '=' && hasNext) return binary(opLe, 10, 2, true);
            if (next == '<' && hasNext) return binary(opShl, 11, 2, true);
            return binary(opLt, 10, 1, true);
        case '>':
            if (next == '=' && hasNext) return binary(opGe, 10, 2, true);
            if (next == '>' && hasNext) return binary(opShr, 11, 2, true);
            return binary(opGt, 10, 1, true);
        case '+': return binary(opAdd, 12, 1, false);
        case '-': return binary(opSub, 12, 1, false);
        case '*': return binary(opMul, 13, 1, false);
        case '/': return binary(opDiv, 13, 1, false);
        case '%': return binary(opMod, 13, 1, false);
        case '^': return binary(opXor, 7, 1, true);
        case '?': return binary(opCond, 2, 1, true);
        case ':': return binary(opColon, 3, 1, true);
        case ',': return binary(opComma, 1, 1, true);
        default: break;
    }
    char message[] = "Unknown operator '?'";
    message[sizeof(message) - 3] = c;
    return Fail(std::string_view(message, sizeof(message) - 1));
}

bool CEvaluator::ScanNumber() {
    size_t start = m_Pos;
    bool prefixed = At(start) == '0' && (At(start + 1) == 'x' || At(start + 1) == 'X' || At(start + 1) == 'b' ||
                                         At(start + 1) == 'B');
    while (m_Pos < Size()) {
        char c = m_Text[m_Pos];
        if (!IsAlnum(c) && c != '.') break;
        ++m_Pos;
        if ((c == 'E' || c == 'e') && !prefixed && m_Pos < Size() && (m_Text[m_Pos] == '+' || m_Text[m_Pos] == '-'))
            ++m_Pos;
    }
    std::string_view token = Trim(m_Text.substr(start, m_Pos - start));
    if (m_Pos < Size() && m_Text[m_Pos] == '(') {
        // The exact image of a double, as state values are written.
        char digits[17] = {};
        size_t from = m_Pos + 1;
        for (size_t i = 0; i < 16 && from + i < Size(); ++i) digits[i] = m_Text[from + i];
        uint8_t bytes[8] = {};
        HexToBytes(digits, bytes, 16);
        double x;
        std::memcpy(&x, bytes, sizeof x);
        m_Operand.Value.SetDouble(x);
        size_t close = m_Text.find(')', from);
        m_Pos = close == std::string_view::npos ? Size() : close + 1;
    } else if (!ParseNumber(token, m_Operand.Value, true)) {
        return FailQuoted("Wrong variable name or number format: '", token, "'");
    }
    OperandDone();
    return true;
}

bool CEvaluator::ScanName() {
    size_t start = m_Pos;
    while (m_Pos < Size()) {
        char c = m_Text[m_Pos];
        if (IsAlnum(c) || c == '_' || c == ' ') {
            ++m_Pos;
        } else if (c == '.') {
            // "name.(expr)": a trace picked by a computed name, or a cursor
            // measurement at a time ("Vout.(1.5m)") where a document's
            // components are in reach.
            const bool computed = (m_Traces && !m_TraceFormula) || (m_Cmps && EvalLinks().Measurement);
            if (computed && At(m_Pos + 1) == '(' && m_Pos + 1 < Size()) return ComputedTraceName(start);
            ++m_Pos;
        } else {
            break;
        }
    }
    std::string_view name = Trim(m_Text.substr(start, m_Pos - start));
    bool resolveAsName = true;
    if (!CallOrArray(name, start, resolveAsName, name)) return false;
    if (!resolveAsName) return true;
    if (m_Pos + 1 < Size() && (At(m_Pos) == '+' || At(m_Pos) == '-') && At(m_Pos + 1) == At(m_Pos)) {
        m_Ctx.PendingStep = At(m_Pos) == '+' ? 3 : 4;
        m_Pos += 2;
    }
    return ResolveName(name);
}

// A name followed by "(", "[" or a cast's ")". resolveAsName stays true when
// the name is an operand after all (a trace name such as "V(R1)").
bool CEvaluator::CallOrArray(std::string_view name, size_t start, bool& resolveAsName, std::string_view& nameOut) {
    char c = At(m_Pos);
    bool atEnd = m_Pos >= Size();
    if (c == '(' && !atEnd) {
        const CFuncRow* row = FindFunction(name);
        if (!row) return FailQuoted("Unknown function ", name, "");
        if (row->Code >= 69 && row->Code <= 72) {
            if (m_Ctx.UseCalc) {
                m_WantComponent = true;
            } else if (m_Traces && !m_TraceFormula) {
                size_t close = m_Text.find(')', m_Pos);
                m_Pos = close == std::string_view::npos ? Size() : close + 1;
                nameOut = Trim(m_Text.substr(start, m_Pos - start));
                return true;
            } else {
                return FailQuoted("Function ", name, " not allowed");
            }
        }
        resolveAsName = false;
        m_Operand.Value.SetInt(0);
        return PushOperator(row->Code, 50);
    }
    if (c == '[' && !atEnd) {
        CVarEntry* entry = m_Vars ? m_Vars->Find(name) : nullptr;
        if (!entry && m_Cmps && EvalLinks().ComponentArray) entry = EvalLinks().ComponentArray(m_Cmps, name);
        if (!entry || !entry->IsArray()) return FailQuoted("Unknown array '", name, "'");
        resolveAsName = false;
        m_Operand.Array = entry;
        m_Operand.Value.SetArray(entry);
        return PushOperator(opIndex, 60);
    }
    if (c == ')' && !atEnd) {
        if (int cast = CastCode(name)) {
            resolveAsName = false;
            m_SignAllowed = false;
            m_Base -= 100;
            ++m_Pos;
            m_Operand.Value.SetInt(0);
            return PushOperator(cast, 14);
        }
    }
    return true;
}

bool CEvaluator::ResolveKeyword(std::string_view name, bool& done) {
    done = true;
    CValue& v = m_Operand.Value;
    if (SameName(name, "false")) {
        v.SetBool(0);
    } else if (SameName(name, "true")) {
        v.SetBool(1);
    } else if (SameName(name, "high") || SameName(name, "low")) {
        double low = 0, high = 0, threshold = 0;
        bool isHigh = SameName(name, "high");
        if (!m_Ctx.Doc || !EvalLinks().LogicLevels || !EvalLinks().LogicLevels(m_Ctx.Doc, low, high, threshold))
            return Fail(isHigh ? "Value 'high' : no active document" : "Value 'low' : no active document");
        v.SetDouble(isHigh ? high : low);
    } else if (SameName(name, "pi")) {
        v.SetDouble(kPi);
    } else if (SameName(name, "rad")) {
        v.SetDouble(57.295779513260925);
    } else if (SameName(name, "nan") && name[0] == 'N') {
        return Fail("'NaN' not allowed in the expression");
    } else {
        done = false;
    }
    return true;
}

bool CEvaluator::ResolveName(std::string_view name) {
    OperandDone();
    bool done = false;
    if (!ResolveKeyword(name, done)) return false;
    if (done) return true;
    if (CVarEntry* entry = m_Vars ? m_Vars->Find(name) : nullptr) {
        if (entry->IsArray())
            m_Operand.Value.SetArray(entry);
        else
            StepValue(m_Ctx.PendingStep, m_Operand.Value, *entry->Value);
        m_Ctx.PendingStep = 0;
        return true;
    }
    const CEvalLinks& links = EvalLinks();
    if (m_WantComponent) {
        CCmp* cmp = m_Cmps && links.FindComponent ? links.FindComponent(m_Cmps, name) : nullptr;
        if (!cmp) return FailQuoted("Unknown name '", name, "'");
        m_Operand.Cmp = cmp;
        m_Operand.Value.SetDouble(0.0);
        m_WantComponent = false;
        return true;
    }
    if (m_Traces && !m_TraceFormula && links.TraceByName &&
        links.TraceByName(m_Traces, name, m_ComplexTraces, m_Operand.Value))
        return true;
    if (m_Cmps) {
        m_Operand.Value.SetDouble(0.0);
        if (links.ParamValue && links.ParamValue(m_Cmps, name, m_Operand.Value)) {
            int step = m_Ctx.PendingStep;
            if (step % 2 == 1) return Fail("Operator '++' not allowed for component parameter");
            if (step != 0) return Fail("Operator '--' not allowed for component parameter");
            return true;
        }
        double measured = 0.0;
        const int measurement = links.Measurement ? links.Measurement(m_Cmps, name, measured) : -1;
        if (measurement == 1) {
            m_Operand.Value.SetDouble(measured);
            return true;
        }
        // A soft failure, as a trace without data: a function trace waits.
        if (measurement == 0) return Fail(("_No data for trace " + std::string(name)).c_str());
    }
    if (!ParseNumber(name, m_Operand.Value, true))
        return FailQuoted("Wrong variable name or number format: '", name, "'");
    return true;
}

// "name.(expr)": the bracket is evaluated and its value becomes part of the
// trace name, so that a formula can pick one trace of a parameter sweep.
bool CEvaluator::ComputedTraceName(size_t start) {
    size_t open = m_Pos + 1;
    int depth = 0;
    size_t close = open;
    for (; close < Size(); ++close) {
        if (m_Text[close] == '(') ++depth;
        if (m_Text[close] == ')' && --depth == 0) break;
    }
    if (close >= Size()) return ExpressionError();
    double x = 0.0;
    if (!EvalExpr(m_Text.substr(open + 1, close - open - 1), &x, m_Ctx.Doc, m_Vars, m_Cmps, m_Ctx.UseCalc, m_Traces,
                  nullptr, m_ComplexTraces, m_TraceFormula, m_Ctx.IntArith))
        return false;
    m_NameBuffer.assign(Trim(m_Text.substr(start, open - start)));
    m_NameBuffer += '(';
    m_NameBuffer += NumberToText(x, 12);
    m_NameBuffer += ')';
    m_Pos = close + 1;
    return ResolveName(m_NameBuffer);
}

bool CEvaluator::ScanTraceReference() {
    if (!m_TraceFormula) return Fail("Syntax error");
    size_t from = m_Pos + 1;
    if (At(from) == '{' && from < Size()) ++from;
    size_t close = m_Text.find('}', from);
    if (close == std::string_view::npos) return Fail("Syntax error");
    std::string_view inside = m_Text.substr(from, close - from);
    char buffer[64] = {};
    std::memcpy(buffer, inside.data(), inside.size() < 63 ? inside.size() : 63);
    int index = -1, run = -2;
    std::sscanf(buffer, "%d.%d", &index, &run);
    m_Pos = close + 1;
    if (At(m_Pos) == '}' && m_Pos < Size()) ++m_Pos;
    double x = 0.0;
    if (m_Vars && m_Vars->Count() > 0) x = (*m_Vars)[0].Value[0].AsDouble();
    std::string traceName(inside);
    const CEvalLinks& links = EvalLinks();
    if (run == -1 || !m_Traces || !links.TraceReference ||
        !links.TraceReference(m_Traces, index, run, x, m_Operand.Value, traceName)) {
        m_NoData = true;
        return FailQuoted("_No data for trace ", traceName, "");
    }
    OperandDone();
    return true;
}

bool CEvaluator::PushPrefix(int op) {
    if (!m_SignAllowed) return Fail("Syntax error");
    m_SignAllowed = false;
    m_Operand.Value.SetInt(0);
    return PushOperator(op, 14);
}

bool CEvaluator::PushOperator(int op, int level) {
    m_Operand.Op = op;
    m_Operand.Prio = level + m_Base;
    if (!m_Stack.Push(m_Operand)) return Fail("Expression too complex");
    m_ExpectOperand = true;
    return Reduce() && InspectTop();
}

bool CEvaluator::Reduce() {
    int k = 1;
    // Each pass either stops, moves k one entry down, or shrinks the stack.
    while (m_Stack.Count() >= 2) {
        int top = m_Stack.Count() - 1;
        if (k > top) return ExpressionError();
        CEvalEntry& prev = m_Stack[top - k];
        if (m_Stack[top].Prio > prev.Prio) break;
        if (prev.Op == opComma || prev.Op == opColon) {
            ++k;
            if (prev.Op == opComma && k > top) return Fail("Syntax error");
            continue;
        }
        if (!ReduceEntries(k)) return false;
        k = 1;
    }
    return true;
}

bool CEvaluator::ReduceEntries(int k) {
    int top = m_Stack.Count() - 1;
    CEvalEntry& prev = m_Stack[top - k];
    CEvalEntry* args = &m_Stack[top - k + 1];
    if (prev.Op == opCond) {
        bool taken = prev.Value.AsBool();
        prev.Value = taken ? args[0].Value : m_Stack[top].Value;
        m_Active = true;
    } else if (!m_Active || prev.Op == opDeadCond) {
        prev.Op = opNone;
    } else if (prev.Op >= opFirstFunction && prev.Op <= opLastFunction) {
        if (!CallFunction(prev.Op, args, k, prev.Value, m_Ctx)) return false;
    } else if (prev.Op != opNone) {
        if (!ApplyOperator(prev.Op, prev, args, k, m_Ctx)) return false;
    }
    prev.Op = m_Stack[top].Op;
    prev.Prio = m_Stack[top].Prio;
    m_Stack.Drop(k);
    return true;
}

bool CEvaluator::InspectTop() {
    CEvalEntry& top = m_Stack.Top();
    if (top.Op == opCond) {
        if (m_Active) {
            top.Value.Convert(vtBool);
            m_Active = top.Value.Byte != 0;
        } else {
            top.Op = opDeadCond;
        }
    } else if (top.Op == opColon) {
        if (m_Stack.Count() < 2) return ExpressionError();
        if (m_Stack[m_Stack.Count() - 2].Op == opCond) m_Active = !m_Active;
    }
    return true;
}

bool IsInfinityText(std::string_view text, double& x) {
    if (SameName(text, "inf")) {
        x = HUGE_VAL;
        return true;
    }
    if (SameName(text, "-inf")) {
        x = -HUGE_VAL;
        return true;
    }
    return false;
}

}  // namespace

bool EvalExpr(std::string_view text, double* result, CDoc* doc, CVarList* vars, CCmps* cmps, bool useCalc,
              CTraces* traces, CValue* typed, bool complexTraces, bool traceFormula, bool intArith) {
    double infinity;
    if (IsInfinityText(text, infinity)) {
        if (typed) typed->SetDouble(infinity);
        *result = infinity;
        return true;
    }
    if (g_EvalDepth >= kMaxEvalRecursion) return Fail("Expression nested too deeply");
    CDepthGuard guard;
    CEvaluator evaluator(text, doc, vars, cmps, useCalc, traces, complexTraces, traceFormula, intArith);
    CValue value;
    if (!evaluator.Run(value)) {
        if (evaluator.NoData()) {
            if (typed) typed->SetDouble(0.0);
            *result = 0.0;
        }
        return false;
    }
    if (typed) *typed = value;
    *result = value.AsDouble();
    return true;
}

}  // namespace qz3
