// The operators of the expression language: arithmetic with promotion to
// the widest operand, tolerant comparison of doubles, bit operations on
// integers only, prefix operators, casts and array elements.
#include <cmath>
#include <cstdint>
#include <string>

#include "expr/eval_entry.h"
#include "expr/eval_expr.h"
#include "expr/int_wrap.h"
#include "expr/number_text.h"
#include "expr/var_list.h"

namespace qz3 {

namespace {

bool Fail(const char* message) {
    ExprError() = message;
    return false;
}

const char* OperatorSign(int op) {
    switch (op) {
        case opOr: return "|";
        case opXor: return "^";
        case opAnd: return "&";
        case opShr: return ">>";
        case opShl: return "<<";
        case opLe: return "<=";
        case opLt: return "<";
        case opGe: return ">=";
        case opGt: return ">";
        default: return "?";
    }
}

bool FailOperator(int op, const char* tail) {
    std::string& e = ExprError();
    e = "Operator '";
    e += OperatorSign(op);
    e += tail;
    return false;
}

// A sum that cancels within the relative tolerance is exactly zero, so that
// 1e20 - 1e20 and 1 + 1e-13 - 1 don't leave rounding dust behind.
double SnapAdd(double a, double b) { return RealSame(a, -b) ? 0.0 : a + b; }
double SnapSub(double a, double b) { return RealSame(a, b) ? 0.0 : a - b; }

ValueType ArithmeticType(CValue& a, CValue& b, bool intArith) {
    if (!intArith && a.Type == vtInt && b.Type == vtInt) {
        a.Convert(vtDouble);
        b.Convert(vtDouble);
    }
    ValueType t = a.Type < b.Type ? a.Type : b.Type;
    if (t >= vtBool) t = vtInt;
    a.Convert(t);
    b.Convert(t);
    return t;
}

template <class T>
bool IntegerArithmetic(int op, T a, T b, T& out) {
    switch (op) {
        case opAdd: out = WrapAdd(a, b); return true;
        case opSub: out = WrapSub(a, b); return true;
        case opMul: out = WrapMul(a, b); return true;
        default:
            if (b == 0) return Fail("Division by zero");
            out = WrapDiv(a, b);
            return true;
    }
}

bool ComplexArithmetic(int op, const CValue& a, const CValue& b, CValue& out) {
    double re = 0, im = 0;
    switch (op) {
        case opAdd: re = SnapAdd(a.Dbl, b.Dbl); im = SnapAdd(a.Im, b.Im); break;
        case opSub: re = SnapSub(a.Dbl, b.Dbl); im = SnapSub(a.Im, b.Im); break;
        case opMul:
            re = a.Dbl * b.Dbl - a.Im * b.Im;
            im = a.Dbl * b.Im + a.Im * b.Dbl;
            break;
        default: {
            double d = b.Dbl * b.Dbl + b.Im * b.Im;
            if (d == 0.0) return Fail("Division by zero");
            re = (a.Dbl * b.Dbl + a.Im * b.Im) / d;
            im = (a.Im * b.Dbl - a.Dbl * b.Im) / d;
        }
    }
    out.SetComplex(re, im);
    return true;
}

bool Arithmetic(int op, CValue a, CValue b, CValue& out, bool intArith) {
    switch (ArithmeticType(a, b, intArith)) {
        case vtComplex: return ComplexArithmetic(op, a, b, out);
        case vtDouble: {
            double x = 0;
            switch (op) {
                case opAdd: x = SnapAdd(a.Dbl, b.Dbl); break;
                case opSub: x = SnapSub(a.Dbl, b.Dbl); break;
                case opMul: x = a.Dbl * b.Dbl; break;
                default:
                    if (b.Dbl == 0.0) return Fail("Division by zero");
                    x = a.Dbl / b.Dbl;
            }
            out.SetDouble(x);
            return true;
        }
        case vtInt64: {
            int64_t x;
            if (!IntegerArithmetic<int64_t>(op, a.I64, b.I64, x)) return false;
            out.SetInt64(x);
            return true;
        }
        default: {
            int32_t x;
            if (!IntegerArithmetic<int32_t>(op, a.I32, b.I32, x)) return false;
            out.SetInt(x);
            return true;
        }
    }
}

bool Modulo(CValue a, CValue b, CValue& out) {
    if (a.Type == vtComplex || b.Type == vtComplex) return Fail("Function 'fmod' : complex arguments not allowed");
    out.SetDouble(std::fmod(a.AsDouble(), b.AsDouble()));
    return true;
}

template <class T>
bool Ordered(int op, T a, T b) {
    switch (op) {
        case opEq: return a == b;
        case opNe: return a != b;
        case opLe: return a <= b;
        case opLt: return a < b;
        case opGe: return a >= b;
        default: return a > b;
    }
}

bool Compare(int op, CValue a, CValue b, CValue& out) {
    bool r;
    if (a.Type == vtComplex || b.Type == vtComplex) {
        if (op != opEq && op != opNe) return FailOperator(op, "': complex arguments not allowed");
        a.Convert(vtComplex);
        b.Convert(vtComplex);
        bool same = RealSame(a.Dbl, b.Dbl) && RealSame(a.Im, b.Im);
        r = op == opEq ? same : !same;
    } else if (a.Type == vtDouble || b.Type == vtDouble) {
        r = Ordered(op, RealCompare(a.AsDouble(), b.AsDouble()), 0);
    } else if (a.Type == vtInt64 || b.Type == vtInt64) {
        r = Ordered(op, a.AsInt64(), b.AsInt64());
    } else {
        r = Ordered(op, a.AsInt(), b.AsInt());
    }
    out.SetBool(r ? 1 : 0);
    return true;
}

// Bit operations and shifts accept integers only; the result is 64-bit if
// either side is.
bool IntegerOnly(int op, const CValue& a, const CValue& b) {
    if (a.Type == vtComplex || b.Type == vtComplex) return FailOperator(op, "' : complex arguments not allowed");
    if (a.Type == vtDouble || b.Type == vtDouble) return FailOperator(op, "' : floating point arguments not allowed");
    return true;
}

bool Bitwise(int op, CValue a, CValue b, CValue& out) {
    if (!IntegerOnly(op, a, b)) return false;
    if (a.Type == vtInt64 || b.Type == vtInt64) {
        int64_t x = a.AsInt64(), y = b.AsInt64();
        out.SetInt64(op == opOr ? (x | y) : op == opXor ? (x ^ y) : (x & y));
    } else {
        int32_t x = a.AsInt(), y = b.AsInt();
        out.SetInt(op == opOr ? (x | y) : op == opXor ? (x ^ y) : (x & y));
    }
    return true;
}

bool Shift(int op, CValue a, CValue b, CValue& out) {
    if (!IntegerOnly(op, a, b)) return false;
    int32_t count = b.AsInt();
    if (a.Type == vtInt64) {
        int n = count & 63;
        int64_t x = a.I64;
        out.SetInt64(op == opShr ? (x >> n) : static_cast<int64_t>(static_cast<uint64_t>(x) << n));
    } else {
        int n = count & 31;
        int32_t x = a.AsInt();
        out.SetInt(op == opShr ? (x >> n) : static_cast<int32_t>(static_cast<uint32_t>(x) << n));
    }
    return true;
}

bool Prefix(int op, CValue a, CValue& out) {
    switch (op) {
        case opNot: out.SetBool(a.AsBool() ? 0 : 1); return true;
        case opCompl:
            if (a.Type == vtComplex) return Fail("Operator '~' : complex argument not allowed");
            if (a.Type == vtDouble) return Fail("Operator '~' : floating point argument not allowed");
            if (a.Type == vtInt64)
                out.SetInt64(~a.I64);
            else
                out.SetInt(~a.AsInt());
            return true;
        default: break;
    }
    switch (a.Type) {
        case vtComplex:
            // An imaginary number keeps its +0.0 real part.
            out.SetComplex(a.Dbl == 0.0 ? 0.0 : -a.Dbl, -a.Im);
            break;
        case vtDouble: out.SetDouble(-a.Dbl); break;
        case vtInt64: out.SetInt64(WrapNeg(a.I64)); break;
        default: out.SetInt(WrapNeg(a.AsInt())); break;
    }
    return true;
}

// The size checked is that of the array named last (in "a[b[1]]" the outer
// index is checked against b); the element comes from the array in front.
bool ArrayElement(CEvalEntry& prev, const CEvalEntry& top, const CValue& index, CEvalContext& ctx) {
    if (index.Type == vtComplex) return Fail("Complex array index not allowed");
    int32_t i = index.AsInt();
    if (i < 0) return Fail("Negative array index");
    const CVarEntry* sized = top.Array ? top.Array : prev.Array;
    CVarEntry* source = prev.Array;
    if (!sized || !source || i >= sized->Size) return Fail("Array index too high");
    if (i >= (source->Size < 1 ? 1 : source->Size)) return Fail("Array index too high");
    StepValue(ctx.PendingStep, prev.Value, source->Value[i]);
    ctx.PendingStep = 0;
    return true;
}

}  // namespace

bool ApplyOperator(int op, CEvalEntry& prev, CEvalEntry* args, int count, CEvalContext& ctx) {
    const CValue& right = args[0].Value;
    CValue& acc = prev.Value;
    switch (op) {
        case opOrOr: acc.SetBool(acc.AsBool() || right.AsBool()); return true;
        case opAndAnd: acc.SetBool(acc.AsBool() && right.AsBool()); return true;
        case opOr:
        case opXor:
        case opAnd: return Bitwise(op, acc, right, acc);
        case opEq:
        case opNe:
        case opLe:
        case opLt:
        case opGe:
        case opGt: return Compare(op, acc, right, acc);
        case opShr:
        case opShl: return Shift(op, acc, right, acc);
        case opAdd:
        case opSub:
        case opMul:
        case opDiv: return Arithmetic(op, acc, right, acc, ctx.IntArith);
        case opMod: return Modulo(acc, right, acc);
        case opNot:
        case opCompl:
        case opNeg: return Prefix(op, right, acc);
        case opIndex: return ArrayElement(prev, args[count - 1], right, ctx);
        default: return true;
    }
}

}  // namespace qz3
