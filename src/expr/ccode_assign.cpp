#include "expr/ccode_assign.h"

#include <cmath>
#include <cstdint>

#include "base/number_format.h"
#include "expr/int_wrap.h"
#include "expr/number_text.h"

namespace qz3 {

namespace {

std::string_view TrimBlanks(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    return s;
}

// The code of a combining assignment by the characters in front of "=";
// `width` says how many of them belong to the operator.
int CombiningCode(std::string_view text, size_t at, size_t& width) {
    width = 1;
    const char c = at > 0 ? text[at - 1] : ' ';
    switch (c) {
        case '!': return kAssignNone;
        case '%': return 32;
        case '&': return 19;
        case '*': return 30;
        case '+': return 28;
        case '-': return 29;
        case '/': return 31;
        case '^': return 18;
        case '|': return 17;
        case '<':
        case '>':
            if (at < 2 || text[at - 2] != c) return kAssignNone;
            width = 2;
            return c == '>' ? 26 : 27;
        default: width = 0; return kAssignPlain;
    }
}

const char* AssignSign(int op) {
    switch (op) {
        case 17: return "|=";
        case 18: return "^=";
        case 19: return "&=";
        case 26: return ">>=";
        case 27: return "<<=";
        default: return "?=";
    }
}

bool IsBitCode(int op) { return op == 17 || op == 18 || op == 19 || op == 26 || op == 27; }

bool FailSign(int op, const char* tail) {
    std::string& e = ExprError();
    e = "Operator '";
    e += AssignSign(op);
    e += tail;
    return false;
}

template <class T>
bool IntegerAssign(int op, T a, T b, T& out) {
    switch (op) {
        case 17: out = a | b; return true;
        case 18: out = a ^ b; return true;
        case 19: out = a & b; return true;
        case 26: out = WrapShr(a, static_cast<int>(b)); return true;
        case 27: out = WrapShl(a, static_cast<int>(b)); return true;
        case 28: out = WrapAdd(a, b); return true;
        case 29: out = WrapSub(a, b); return true;
        case 30: out = WrapMul(a, b); return true;
        case 31:
        case 32:
            // Left open by the language; the evaluator's wording serves.
            if (b == 0) {
                ExprError() = "Division by zero";
                return false;
            }
            out = op == 31 ? WrapDiv(a, b) : WrapRem(a, b);
            return true;
        default: ExprError() = "Unknown operator"; return false;
    }
}

double SnapSum(double a, double b) { return RealSame(a, -b) ? 0.0 : a + b; }

bool DoubleAssign(int op, double a, double b, double& out) {
    if (IsBitCode(op)) return FailSign(op, "' : floating point arguments not allowed");
    switch (op) {
        case 28: out = SnapSum(a, b); return true;
        case 29: out = SnapSum(a, -b); return true;
        case 30: out = a * b; return true;
        case 31: out = a / b; return true;
        case 32: out = std::fmod(a, b); return true;
        default: ExprError() = "Unknown operator"; return false;
    }
}

bool ComplexAssign(int op, const CValue& a, const CValue& b, CValue& out) {
    if (IsBitCode(op)) return FailSign(op, "' : complex arguments not allowed");
    // The message of "<<=" stands for "%=" as well.
    if (op == 32) return FailSign(27, "' : complex arguments not allowed");
    const bool real = a.Im == 0.0 && b.Im == 0.0;
    double re = 0.0, im = 0.0;
    switch (op) {
        case 28: re = SnapSum(a.Dbl, b.Dbl); im = SnapSum(a.Im, b.Im); break;
        case 29: re = SnapSum(a.Dbl, -b.Dbl); im = SnapSum(a.Im, -b.Im); break;
        case 30:
            if (real) {
                re = a.Dbl * b.Dbl;
                break;
            }
            re = a.Dbl * b.Dbl - a.Im * b.Im;
            im = a.Dbl * b.Im + a.Im * b.Dbl;
            break;
        case 31: {
            if (real) {
                re = a.Dbl / b.Dbl;
                break;
            }
            const double d = b.Dbl * b.Dbl + b.Im * b.Im;
            re = (a.Dbl * b.Dbl + a.Im * b.Im) / d;
            im = (a.Im * b.Dbl - a.Dbl * b.Im) / d;
            break;
        }
        default: ExprError() = "Unknown operator"; return false;
    }
    out.SetComplex(re, im);
    return true;
}

}  // namespace

int SplitAssign(std::string_view text, std::string_view& lhs, std::string_view& rhs, std::string_view& index) {
    lhs = rhs = index = std::string_view();
    const size_t at = text.find('=');
    int code = kAssignNone;
    if (at == std::string_view::npos) {
        lhs = TrimBlanks(text);
    } else {
        const char behind = at + 1 < text.size() ? text[at + 1] : ' ';
        if (behind == '=') return kAssignNone;
        size_t width = 0;
        code = kAssignPlain;
        if (behind != '"') {
            code = CombiningCode(text, at, width);
            if (code == kAssignNone) return kAssignNone;
        }
        lhs = TrimBlanks(text.substr(0, at - width));
        rhs = TrimBlanks(text.substr(at + 1));
    }
    // "a[i]" names an element, "a[]" an array sized by its initialisers.
    const size_t open = lhs.find('[');
    if (!lhs.empty() && lhs.back() == ']' && open != std::string_view::npos) {
        index = lhs.substr(open + 1, lhs.size() - open - 2);
        lhs = TrimBlanks(lhs.substr(0, open));
        if (TrimBlanks(index).empty()) index = "-100";
    }
    return code;
}

bool ApplyAssign(int op, CValue& target, CValue& value) {
    if (op == kAssignPlain) {
        target.AssignConverted(value);
        return true;
    }
    CValue a = target;
    CValue b = value;
    ValueType type = a.Type < b.Type ? a.Type : b.Type;
    if (type == vtBool) type = vtInt;
    a.Convert(type);
    b.Convert(type);
    CValue result;
    bool ok = true;
    switch (type) {
        case vtComplex: ok = ComplexAssign(op, a, b, result); break;
        case vtDouble: {
            double x = 0.0;
            ok = DoubleAssign(op, a.Dbl, b.Dbl, x);
            result.SetDouble(x);
            break;
        }
        case vtInt64: {
            int64_t x = 0;
            ok = IntegerAssign<int64_t>(op, a.I64, b.I64, x);
            result.SetInt64(x);
            break;
        }
        default: {
            int32_t x = 0;
            ok = IntegerAssign<int32_t>(op, a.I32, b.I32, x);
            result.SetInt(x);
            break;
        }
    }
    if (!ok) return false;
    target.AssignConverted(result);
    return true;
}

}  // namespace qz3
