#include "expr/formula.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>

#include "expr/eval_expr.h"
#include "expr/eval_links.h"
#include "expr/functions.h"
#include "expr/number_text.h"

namespace qz3 {

namespace {

// NaN equals NaN, infinities equal each other whatever their signs, others
// are the same within the relative tolerance 1e-12.
bool SameValue(double a, double b) {
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    if (std::isinf(a) && std::isinf(b)) return true;
    return RealSame(a, b);
}

std::string Binary(uint32_t bits) {
    std::string text = "0b";
    int top = 31;
    while (top > 0 && !(bits >> top & 1u)) --top;
    for (int i = top; i >= 0; --i) text += (bits >> i & 1u) ? '1' : '0';
    return text;
}

bool IsNameStart(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '"'; }
bool IsNameChar(char c) { return IsNameStart(c) || (c >= '0' && c <= '9') || c == '.'; }

// Deeper chains than this don't occur in a schematic; they can only be rings
// among formulas loaded from a file, which a walk must not follow forever.
constexpr int kMaxReferenceDepth = 64;

bool CheckCircularAt(const CFormula* self, const std::string& text, CCmps* cmps, int depth) {
    if (!cmps || text.empty() || !EvalLinks().ParamFormula) return true;
    if (depth > kMaxReferenceDepth) {
        ExprError() = "Circular reference";
        return false;
    }
    int from = 1, start = 0;
    for (std::string name = NextName(text, from, start); !name.empty(); name = NextName(text, from, start)) {
        const CFormula* target = EvalLinks().ParamFormula(cmps, name);
        if (!target) continue;
        if (target == self) {
            ExprError() = "Circular reference";
            return false;
        }
        if (!CheckCircularAt(self, target->m_Text, cmps, depth + 1)) return false;
    }
    return true;
}

}  // namespace

std::string NextName(const std::string& text, int& from, int& start) {
    size_t n = text.size();
    size_t i = from < 1 ? 0 : static_cast<size_t>(from - 1);
    while (i < n) {
        char c = text[i];
        if (IsNameStart(c)) {
            size_t begin = i;
            bool inQuotes = false;
            while (i < n && (inQuotes || IsNameChar(text[i]))) {
                if (text[i] == '"') inQuotes = !inQuotes;
                ++i;
            }
            from = static_cast<int>(i) + 1;
            if (i < n && text[i] == '(') continue;  // a function, no reference
            start = static_cast<int>(begin) + 1;
            return text.substr(begin, i - begin);
        }
        if ((c >= '0' && c <= '9') || c == '.') {
            while (i < n) {
                char d = text[i];
                bool part = (d >= '0' && d <= '9') || d == '.' || (d >= 'a' && d <= 'z') || (d >= 'A' && d <= 'Z');
                if (!part) break;
                ++i;
                if ((d == 'e' || d == 'E') && i < n && (text[i] == '+' || text[i] == '-')) ++i;
            }
            continue;
        }
        ++i;
    }
    from = static_cast<int>(n) + 1;
    return std::string();
}

bool CFormula::Evaluate(CDoc* doc, CCmps* cmps, bool& changed) {
    double old = m_Value;
    changed = false;
    RandomUsed() = false;
    if (!m_Text.empty()) {
        double x = 0.0;
        if (!EvalExpr(m_Text, &x, doc, nullptr, cmps)) return false;
        if (std::isnan(x)) {
            m_Value = x;
        } else {
            // 12 significant digits, as the file keeps them.
            double rounded;
            if (!ParseDouble(NumberToText(x, 12), rounded)) return false;
            m_Value = rounded;
        }
    }
    if (!IsLive()) m_Text.clear();
    if (RandomUsed()) {
        // A random value would change at every pass and never settle.
        RandomUsed() = false;
        return true;
    }
    changed = !SameValue(old, m_Value);
    RandomUsed() = false;
    return true;
}

void CFormula::SetValue(double x) {
    m_Text.clear();
    m_Value = x;
    m_Error = false;
}

std::string CFormula::ToText() const {
    if (m_Blank && std::isnan(m_Value)) return std::string();
    if (m_Error) return "#VAL";
    if (m_Format < 1 || m_Format > 4) return NumberToText(m_Value, 12);
    CValue v;
    v.SetDouble(m_Value);
    v.Convert(vtInt);
    uint32_t bits = static_cast<uint32_t>(v.I32);
    if (m_Bits == 8) bits &= 0xFFu;
    if (m_Bits == 16) bits &= 0xFFFFu;
    if (bits == 0) return "0";
    char buffer[40];
    switch (m_Format) {
        case 1: std::snprintf(buffer, sizeof buffer, "%d", static_cast<int32_t>(bits)); break;
        case 2: return Binary(bits);
        case 3: std::snprintf(buffer, sizeof buffer, "0%o", bits); break;
        default: std::snprintf(buffer, sizeof buffer, "0x%X", bits); break;
    }
    return buffer;
}

bool CheckCircular(const CFormula* self, const std::string& text, CCmps* cmps) {
    return CheckCircularAt(self, text, cmps, 0);
}

}  // namespace qz3
