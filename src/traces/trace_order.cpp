#include "traces/trace_order.h"

#include <cctype>
#include <cstring>
#include <memory>
#include <vector>
#include <string_view>

#include "expr/var_list.h"
#include "traces/trace.h"
#include "traces/trace_set.h"
#include "traces/traces.h"

namespace qz3 {

namespace {

// A cycle can't be deeper than the list, but a list can be long: past this
// the walk reports a cycle instead of exhausting the stack.
constexpr int kMaxOrderDepth = 10000;

enum TokenKind { kTokenNone, kTokenName, kTokenTraceCall };

bool IsLetter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }
bool IsDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }
bool IsRunChar(char c) { return IsLetter(c) || IsDigit(c) || c == '_'; }

// Reads the expression with anything past its end as a blank.
class CTokenScanner {
public:
    explicit CTokenScanner(std::string_view text) : m_Text(text) {}

    char At(size_t i) const { return i < m_Text.size() ? m_Text[i] : ' '; }
    bool AtEnd(size_t i) const { return i >= m_Text.size(); }

    // From pos, finds the next token: [start, end) and its kind; kTokenNone
    // at the end of the text.
    TokenKind Next(size_t pos, size_t& start, size_t& end) const {
        while (!AtEnd(pos)) {
            char c = At(pos);
            if (IsLetter(c) || c == '_' || c == '"') {
                start = pos;
                return ScanName(pos, end);
            }
            if (IsDigit(c) || c == '.') {
                pos = SkipNumber(pos);
                continue;
            }
            ++pos;
        }
        start = end = m_Text.size();
        return kTokenNone;
    }

private:
    TokenKind ScanName(size_t pos, size_t& end) const {
        size_t start = pos;
        while (!AtEnd(pos)) {
            char c = At(pos);
            if (c == '"') {
                pos = SkipQuoted(pos);
            } else if (IsLetter(c) || IsDigit(c) || c == '.' || c == '_') {
                ++pos;
            } else if (c == '(' && pos - start == 1 && std::strchr("VvIiPp", m_Text[start])) {
                size_t close = m_Text.find(')', pos);
                end = close == std::string_view::npos ? m_Text.size() : close + 1;
                return kTokenTraceCall;
            } else {
                break;
            }
        }
        end = pos < m_Text.size() ? pos : m_Text.size();
        return kTokenName;
    }

    // Behind the closing quote, or at the end of the text.
    size_t SkipQuoted(size_t pos) const {
        size_t close = m_Text.find('"', pos + 1);
        return close == std::string_view::npos ? m_Text.size() : close + 1;
    }

    size_t SkipNumber(size_t pos) const {
        while (!AtEnd(pos)) {
            char c = At(pos);
            if ((c == 'E' || c == 'e') && (At(pos + 1) == '+' || At(pos + 1) == '-')) {
                pos += 2;
            } else if (IsLetter(c) || IsDigit(c) || c == '.') {
                ++pos;
            } else {
                break;
            }
        }
        return pos;
    }

    std::string_view m_Text;
};

// A trace of the list that the token names, or -1.
int MatchToken(CTraces& traces, const CTrace& self, std::string_view token, TokenKind kind) {
    for (int j = 0; j < traces.Count(); ++j) {
        CTrace* other = traces.At(j);
        if (kind == kTokenTraceCall) {
            if (other != &self && other->m_Id > 0 && SameName(other->m_Expr, token)) return j;
            continue;
        }
        std::string name;
        if (self.m_Type == kTraceMath || (other->m_Id == 0 && other->m_Type >= kTraceZ && other->m_Type <= kTraceLoop))
            name = other->DisplayName();
        else
            name = other->m_Name;
        if (!name.empty() && SameName(name, token)) return j;
    }
    return -1;
}

// Reads a run selector behind a matched token: ".name" or ".\"name\"".
// Advances pos over it in any case; the run's id, or -1 when none is named.
int ReadRunSelector(const CTraces& traces, std::string_view text, size_t& pos) {
    if (pos + 1 >= text.size() || text[pos] != '.') return -1;
    size_t from = pos + 1;
    std::string name;
    if (text[from] == '"') {
        size_t close = text.find('"', from + 1);
        size_t stop = close == std::string_view::npos ? text.size() : close;
        name.assign(text.substr(from + 1, stop - from - 1));
        pos = close == std::string_view::npos ? text.size() : close + 1;
    } else {
        size_t stop = from;
        while (stop < text.size() && IsRunChar(text[stop])) ++stop;
        name.assign(text.substr(from, stop - from));
        pos = stop;
    }
    return traces.m_Set ? traces.m_Set->FindRun(name) : -1;
}

bool Compiles(const CTrace& trace) {
    return trace.m_Id == 0 && (trace.m_Type == kTraceFunction || trace.m_Type == kTraceMath) && !trace.m_Expr.empty();
}

}  // namespace

void CompileTrace(CTraces& traces, int index) {
    CTrace& self = *traces.At(index);
    self.m_Compiled.clear();
    self.m_Deps.reset();
    if (!Compiles(self)) return;
    self.m_Deps = std::make_unique<bool[]>(static_cast<size_t>(traces.Count()));
    std::string_view text = self.m_Expr;
    CTokenScanner scanner(text);
    bool whole = self.m_Type == kTraceMath && self.m_Function.func != kFuncFunction;
    size_t pos = 0;
    while (pos < text.size()) {
        size_t start = 0, end = 0;
        TokenKind kind = whole ? kTokenName : scanner.Next(pos, start, end);
        if (whole) end = text.size();
        self.m_Compiled.append(text.substr(pos, start - pos));
        if (kind == kTokenNone) break;
        std::string_view token = text.substr(start, end - start);
        bool quoted = kind == kTokenName && token.size() >= 2 && token.front() == '"' && token.back() == '"';
        std::string_view key = quoted ? token.substr(1, token.size() - 2) : token;
        int match = MatchToken(traces, self, key, kind);
        pos = end;
        if (match < 0) {
            self.m_Compiled.append(token);
            continue;
        }
        int run = ReadRunSelector(traces, text, pos);
        self.m_Compiled += quoted ? "{{" : "{";
        self.m_Compiled += std::to_string(match);
        if (run >= 0) self.m_Compiled += "." + std::to_string(run);
        self.m_Compiled += "}";
        self.m_Deps[static_cast<size_t>(match)] = true;
    }
}

namespace {

class COrderWalk {
public:
    explicit COrderWalk(CTraces& traces) : m_Traces(traces), m_Busy(static_cast<size_t>(traces.Count()), false) {}

    // False on a cycle.
    bool Root(int index) {
        CTrace* root = m_Traces.At(index);
        m_Busy[static_cast<size_t>(index)] = true;
        bool good = true;
        for (int j = 0; good && j < m_Traces.Count(); ++j) {
            if (!DependsOn(*root, j)) continue;
            good = j != index && Visit(j, index, 1);
        }
        m_Busy[static_cast<size_t>(index)] = false;
        if (good) root->m_OrderIndex = m_Next++;
        return good;
    }

private:
    static bool DependsOn(const CTrace& trace, int j) { return trace.m_Deps && trace.m_Deps[static_cast<size_t>(j)]; }

    bool Visit(int index, int root, int depth) {
        CTrace* trace = m_Traces.At(index);
        if (trace->m_OrderIndex >= 0) return true;
        // A trace met again while its own visit is open closes a cycle that
        // the root is not part of.
        if (m_Busy[static_cast<size_t>(index)] || depth > kMaxOrderDepth) return false;
        m_Busy[static_cast<size_t>(index)] = true;
        bool good = true;
        for (int j = 0; good && j < m_Traces.Count(); ++j) {
            if (!DependsOn(*trace, j)) continue;
            good = j != root && Visit(j, root, depth + 1);
        }
        m_Busy[static_cast<size_t>(index)] = false;
        if (good) trace->m_OrderIndex = m_Next++;
        return good;
    }

    CTraces& m_Traces;
    std::vector<bool> m_Busy;
    int m_Next = 0;
};

}  // namespace

std::string MakeOrder(CTraces& traces) {
    int count = traces.Count();
    for (int i = 0; i < count; ++i) CompileTrace(traces, i);
    traces.m_Order.reset();
    for (int i = 0; i < count; ++i) traces.At(i)->m_OrderIndex = -1;
    if (count == 0) return "";
    COrderWalk walk(traces);
    for (int i = 0; i < count; ++i) {
        CTrace* trace = traces.At(i);
        if (trace->m_OrderIndex >= 0) continue;
        if (!walk.Root(i)) return "Trace " + trace->Label() + ": circular reference";
    }
    auto order = std::make_unique<int32_t[]>(static_cast<size_t>(count));
    for (int p = 0; p < count; ++p) {
        int found = -1;
        for (int i = 0; i < count && found < 0; ++i)
            if (traces.At(i)->m_OrderIndex == p) found = i;
        if (found < 0) return "Error creating recalculation order";
        order[static_cast<size_t>(p)] = found;
    }
    traces.m_Order = std::move(order);
    return "";
}

}  // namespace qz3
