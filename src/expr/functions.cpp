#include "expr/functions.h"

#include <cmath>
#include <cstdlib>
#include <string>

#include "expr/eval_links.h"
#include "expr/number_text.h"
#include "expr/var_list.h"

namespace qz3 {

bool& RandomUsed() {
    thread_local bool used = false;
    return used;
}

namespace {

// Messages are the row's head ("Function 'log'") and a tail.
bool FailHead(const char* head, const char* tail) {
    std::string& e = ExprError();
    e = head;
    e += tail;
    return false;
}

const char* const kComplexArgument = " : complex argument not allowed";
const char* const kComplexArguments = " : complex arguments not allowed";

bool AnyComplex(const CFuncCall& c) {
    for (int i = 0; i < c.Count; ++i)
        if (c.Args[i].Value.Type == vtComplex) return true;
    return false;
}

double Arg(const CFuncCall& c, int i) { return c.Args[i].Value.AsDouble(); }

double GuardedSin(double x) { return std::fabs(std::fmod(x, kPi)) < kTrigZero ? 0.0 : std::sin(x); }
double GuardedCos(double x) { return std::fabs(std::fmod(x + kHalfPi, kPi)) < kTrigZero ? 0.0 : std::cos(x); }

// One real argument, complex refused with the given head.
template <double (*F)(double)>
bool RealFunction(CFuncCall& c, const char* head) {
    if (AnyComplex(c)) return FailHead(head, kComplexArgument);
    c.Result.SetDouble(F(Arg(c, 0)));
    return true;
}

double Floor(double x) { return std::floor(x); }
double Ceil(double x) { return std::ceil(x); }
double Sin(double x) { return GuardedSin(x); }
double Tan(double x) { return std::fabs(std::fmod(x, kPi)) < kTrigZero ? 0.0 : std::tan(x); }
// The guard adds 90.0, not a quarter turn: it practically never fires.
double Cos(double x) { return std::fabs(std::fmod(x + 90.0, kPi)) < kTrigZero ? 0.0 : std::cos(x); }
double Asin(double x) { return std::asin(x); }
double Acos(double x) { return std::acos(x); }
double Atan(double x) { return std::atan(x); }
double Sqr(double x) { return std::sqrt(std::fabs(x)); }

bool FnFloor(CFuncCall& c) { return RealFunction<Floor>(c, "Function 'floor'"); }
bool FnCeil(CFuncCall& c) { return RealFunction<Ceil>(c, "Function 'ceil'"); }
bool FnSin(CFuncCall& c) { return RealFunction<Sin>(c, "Function 'sin'"); }
bool FnCos(CFuncCall& c) { return RealFunction<Cos>(c, "Function 'cos'"); }
bool FnTan(CFuncCall& c) { return RealFunction<Tan>(c, "Function 'tan'"); }
bool FnAsin(CFuncCall& c) { return RealFunction<Asin>(c, "Function 'asin'"); }
bool FnAcos(CFuncCall& c) { return RealFunction<Acos>(c, "Function 'acos'"); }
bool FnAtan(CFuncCall& c) { return RealFunction<Atan>(c, "Function 'atan'"); }
bool FnSqr(CFuncCall& c) { return RealFunction<Sqr>(c, "Function 'sqr'"); }

bool FnRound(CFuncCall& c) {
    if (AnyComplex(c)) return FailHead("Function 'round'", c.Count == 2 ? kComplexArguments : kComplexArgument);
    double x = Arg(c, 0);
    if (c.Count == 2) {
        double q = Arg(c, 1);
        c.Result.SetDouble(q > 0 ? std::floor(x / q + 0.5) * q : x);
    } else {
        c.Result.SetDouble(std::floor(x + 0.5));
    }
    return true;
}

bool FnAtan2(CFuncCall& c) {
    if (c.Args[c.Count - 1].Value.Type == vtComplex || c.Args[0].Value.Type == vtComplex)
        return FailHead("Function 'atan2'", kComplexArguments);
    double y = Arg(c, 0), x = c.Count == 2 ? Arg(c, 1) : 1.0;
    c.Result.SetDouble(y == 0.0 && x == 0.0 ? 0.0 : std::atan2(y, x));
    return true;
}

CValue AsComplex(const CValue& v) {
    CValue z = v;
    z.Convert(vtComplex);
    return z;
}

bool FnPhase(CFuncCall& c) {
    CValue z = AsComplex(c.Args[0].Value);
    c.Result.SetDouble(z.Dbl == 0.0 && z.Im == 0.0 ? 0.0 : std::atan2(z.Im, z.Dbl));
    return true;
}

// Root of a complex number through its polar form.
void PolarPower(double re, double im, double power, CValue& out) {
    double r = std::pow(std::sqrt(im * im + re * re), power);
    double a = std::atan2(im, re) * power;
    out.SetComplex(GuardedCos(a) * r, GuardedSin(a) * r);
}

bool FnSqrt(CFuncCall& c) {
    const CValue& v = c.Args[0].Value;
    if (v.Type != vtComplex) {
        double x = v.AsDouble();
        if (x < 0) return FailHead("Function 'sqrt'", " : negative argument");
        c.Result.SetDouble(std::sqrt(x));
    } else if (v.Im == 0.0) {
        if (v.Dbl < 0)
            c.Result.SetComplex(0.0, std::sqrt(-v.Dbl));
        else
            c.Result.SetComplex(std::sqrt(v.Dbl), 0.0);
    } else {
        PolarPower(v.Dbl, v.Im, 0.5, c.Result);
    }
    return true;
}

bool FnSq(CFuncCall& c) {
    const CValue& v = c.Args[0].Value;
    if (v.Type == vtComplex)
        c.Result.SetComplex(v.Dbl * v.Dbl - v.Im * v.Im, 2 * v.Dbl * v.Im);
    else
        c.Result.SetDouble(v.AsDouble() * v.AsDouble());
    return true;
}

bool FnExp(CFuncCall& c) {
    const CValue& v = c.Args[0].Value;
    if (v.Type != vtComplex) {
        double x = v.AsDouble();
        c.Result.SetDouble(x < -300.0 ? 0.0 : std::exp(x));
        return true;
    }
    double r = std::sqrt(v.Im * v.Im + v.Dbl * v.Dbl);
    double a = r == 0.0 ? 0.0 : std::atan2(v.Im, v.Dbl);
    double x = std::cos(a) * r, y = std::sin(a) * r;
    double im = GuardedSin(y) == 0.0 ? 0.0 : std::sin(y) * std::exp(x);
    double re = GuardedCos(y) == 0.0 ? 0.0 : std::cos(y) * std::exp(x);
    c.Result.SetComplex(re, im);
    return true;
}

// Logarithm of the first argument divided by ln(base).
bool Logarithm(CFuncCall& c, double baseLog) {
    const CValue& v = c.Args[0].Value;
    if (v.Type == vtComplex) {
        double re = std::log(std::sqrt(v.Im * v.Im + v.Dbl * v.Dbl));
        c.Result.SetComplex(re / baseLog, std::atan2(v.Im, v.Dbl) / baseLog);
        return true;
    }
    double x = v.AsDouble();
    if (x <= 0) return FailHead("Function 'log'", " : argument <= 0");
    c.Result.SetDouble(std::log(x) / baseLog);
    return true;
}

bool FnLog(CFuncCall& c) {
    double baseLog = 1.0;
    if (c.Count == 2) {
        if (c.Args[1].Value.Type == vtComplex) return FailHead("Function 'log'", " : complex base not allowed");
        baseLog = std::log(Arg(c, 1));
    }
    return Logarithm(c, baseLog);
}
bool FnLog10(CFuncCall& c) { return Logarithm(c, std::log(10.0)); }
bool FnLog2(CFuncCall& c) { return Logarithm(c, std::log(2.0)); }

bool FnPow(CFuncCall& c) {
    if (c.Args[1].Value.Type == vtComplex) return FailHead("Function 'pow'", " : complex power not allowed");
    const CValue& a = c.Args[0].Value;
    double b = Arg(c, 1);
    if (a.Type != vtComplex) {
        double x = a.AsDouble();
        c.Result.SetDouble(x == 0.0 ? 0.0 : std::pow(x, b));
    } else if (a.Dbl == 0.0 && a.Im == 0.0) {
        c.Result.SetComplex(0.0, 0.0);
    } else {
        PolarPower(a.Dbl, a.Im, b, c.Result);
    }
    return true;
}

bool FnPwr(CFuncCall& c) {
    if (AnyComplex(c)) return FailHead("Function 'pwr'", kComplexArguments);
    double a = Arg(c, 0), b = Arg(c, 1);
    c.Result.SetDouble(a > 0 ? std::pow(a, b) : -std::pow(-a, b));
    return true;
}

bool FnAbs(CFuncCall& c) {
    const CValue& v = c.Args[0].Value;
    switch (v.Type) {
        case vtComplex: c.Result.SetDouble(std::sqrt(v.Dbl * v.Dbl + v.Im * v.Im)); break;
        case vtDouble: c.Result.SetDouble(std::fabs(v.Dbl)); break;
        case vtInt64: c.Result.SetInt64(v.I64 < 0 ? static_cast<int64_t>(0 - static_cast<uint64_t>(v.I64)) : v.I64); break;
        default: {
            int32_t i = v.AsInt();
            c.Result.SetInt(i < 0 ? static_cast<int32_t>(0u - static_cast<uint32_t>(i)) : i);
        }
    }
    return true;
}

bool FnSign(CFuncCall& c) {
    if (AnyComplex(c)) return FailHead("Function 'sign'", kComplexArgument);
    double x = Arg(c, 0);
    c.Result.SetInt(x > 0 ? 1 : x < 0 ? -1 : 0);
    return true;
}

bool FnDb(CFuncCall& c) {
    if (AnyComplex(c)) return FailHead("Function 'dB'", kComplexArguments);
    double x = c.Count == 2 ? Arg(c, 0) / Arg(c, 1) : Arg(c, 0);
    c.Result.SetDouble(std::log10(std::fabs(x)) * 20);
    return true;
}

// Compares two values of the same tag by that tag's own slot.
bool Less(const CValue& a, const CValue& b) {
    switch (a.Type) {
        case vtDouble: return a.Dbl < b.Dbl;
        case vtInt64: return a.I64 < b.I64;
        case vtInt: return a.I32 < b.I32;
        case vtBool: return a.Byte < b.Byte;
        default: return false;
    }
}

bool MinMax(CFuncCall& c, bool wantMax) {
    const char* head = "Functions 'min' and 'max'";
    const CValue* values;
    int count;
    if (c.Count == 1 && c.Args[0].Value.Type == vtArray) {
        const CVarEntry* array = static_cast<const CVarEntry*>(c.Args[0].Value.Ptr);
        values = array->Value;
        count = array->Size < 1 ? 1 : array->Size;
        if (values[0].Type == vtComplex) return FailHead(head, kComplexArguments);
        CValue best = values[0];
        for (int i = 1; i < count; ++i) {
            CValue v = values[i];
            v.Type = best.Type;
            if (wantMax ? Less(best, v) : Less(v, best)) best = v;
        }
        c.Result = best;
        return true;
    }
    ValueType t = vtArray;
    for (int i = 0; i < c.Count; ++i)
        if (c.Args[i].Value.Type < t) t = c.Args[i].Value.Type;
    if (t == vtComplex) return FailHead(head, kComplexArguments);
    CValue best = c.Args[0].Value;
    best.Convert(t);
    for (int i = 1; i < c.Count; ++i) {
        CValue v = c.Args[i].Value;
        v.Convert(t);
        if (wantMax ? Less(best, v) : Less(v, best)) best = v;
    }
    c.Result = best;
    return true;
}
bool FnMin(CFuncCall& c) { return MinMax(c, false); }
bool FnMax(CFuncCall& c) { return MinMax(c, true); }

bool SumOrMean(CFuncCall& c, bool mean) {
    double re = 0, im = 0;
    bool complex = false;
    int count = c.Count;
    if (c.Count == 1 && c.Args[0].Value.Type == vtArray) {
        const CVarEntry* array = static_cast<const CVarEntry*>(c.Args[0].Value.Ptr);
        count = array->Size < 1 ? 1 : array->Size;
        complex = array->Value[0].Type == vtComplex;
        for (int i = 0; i < count; ++i) {
            re += array->Value[i].AsDouble();
            if (complex) im += array->Value[i].ImOrZero();
        }
    } else {
        complex = AnyComplex(c);
        for (int i = 0; i < c.Count; ++i) {
            re += Arg(c, i);
            im += c.Args[i].Value.ImOrZero();
        }
    }
    if (mean) {
        re /= count;
        im /= count;
    }
    if (complex)
        c.Result.SetComplex(re, im);
    else
        c.Result.SetDouble(re);
    return true;
}
bool FnSum(CFuncCall& c) { return SumOrMean(c, false); }
bool FnMean(CFuncCall& c) { return SumOrMean(c, true); }

template <ValueType T>
bool FnCast(CFuncCall& c) {
    c.Result = c.Args[0].Value;
    c.Result.Convert(T);
    return true;
}

template <int Kind>
bool FnReading(CFuncCall& c) {
    static const char* const names[] = {"V", "I", "P", "S"};
    CCmp* cmp = c.Args[0].Cmp;
    const CEvalLinks& links = EvalLinks();
    // Without a named component or a solver there is nothing to read.
    if (!cmp || !c.Ctx.Doc || !links.ComponentReading) {
        ExprError() = std::string("Function ") + names[Kind] + " needs a component of an active document";
        return false;
    }
    return links.ComponentReading(c.Ctx.Doc, cmp, Kind, c.Result);
}

bool FnRe(CFuncCall& c) {
    c.Result.SetDouble(AsComplex(c.Args[0].Value).Dbl);
    return true;
}
bool FnIm(CFuncCall& c) {
    c.Result.SetDouble(AsComplex(c.Args[0].Value).Im);
    return true;
}

// The generator gives 0 to 32767 whatever the C library's range.
double Rand15() { return static_cast<double>(std::rand() & 0x7FFF); }

bool FnRandom(CFuncCall& c) {
    if (AnyComplex(c)) return FailHead("Function 'random'", kComplexArgument);
    RandomUsed() = true;
    c.Result.SetDouble(Rand15() * Arg(c, 0) / 32767.0);
    return true;
}

bool FnGauss(CFuncCall& c) {
    if (AnyComplex(c)) return FailHead("Function 'gauss'", kComplexArguments);
    RandomUsed() = true;
    double u = 0, s = 0;
    // Polar method; bounded so that a broken generator can't hang a run.
    for (int tries = 0; tries < 100000; ++tries) {
        u = 2 * Rand15() / 32767.0 - 1;
        double v = 2 * Rand15() / 32767.0 - 1;
        s = v * v + u * u;
        if (s < 1 && s > 0) break;
    }
    if (!(s < 1 && s > 0)) s = 0.5;
    c.Result.SetDouble(std::sqrt(-2 * std::log(s) / s) * (u * Arg(c, 1)) + Arg(c, 0));
    return true;
}

bool FnPar(CFuncCall& c) {
    if (!AnyComplex(c)) {
        double a = Arg(c, 0);
        for (int i = 1; i < c.Count; ++i) {
            double b = Arg(c, i);
            a = a * b / (a + b);
        }
        c.Result.SetDouble(a);
        return true;
    }
    CValue a = AsComplex(c.Args[0].Value);
    for (int i = 1; i < c.Count; ++i) {
        CValue b = AsComplex(c.Args[i].Value);
        double pr = a.Dbl * b.Dbl - a.Im * b.Im, pi = a.Dbl * b.Im + a.Im * b.Dbl;
        double sr = a.Dbl + b.Dbl, si = a.Im + b.Im;
        double inv = 1.0 / (sr * sr + si * si);
        a.SetComplex((pr * sr + pi * si) * inv, (pi * sr - pr * si) * inv);
    }
    c.Result = a;
    return true;
}

bool FnLimit(CFuncCall& c) {
    if (AnyComplex(c)) return FailHead("Function 'limit'", kComplexArguments);
    double x = Arg(c, 0), lo = Arg(c, 1), hi = Arg(c, 2);
    c.Result.SetDouble(lo > x ? lo : x > hi ? hi : x);
    return true;
}

bool LogicTest(CFuncCall& c, bool high) {
    const char* head = high ? "Function 'ishigh'" : "Function 'islow'";
    if (AnyComplex(c)) return FailHead(head, kComplexArgument);
    double low = 0, hi = 0, threshold = 0;
    const CEvalLinks& links = EvalLinks();
    if (!c.Ctx.Doc || !links.LogicLevels || !links.LogicLevels(c.Ctx.Doc, low, hi, threshold))
        return FailHead(head, " : no active document");
    double x = Arg(c, 0);
    c.Result.SetBool(high ? (x >= threshold) : (threshold > x));
    return true;
}
bool FnIsLow(CFuncCall& c) { return LogicTest(c, false); }
bool FnIsHigh(CFuncCall& c) { return LogicTest(c, true); }

// Rows in order of name length; a name of 8 characters or more is no function.
const CFuncRow kFunctions[] = {
    {"V", 69, 1, 1, FnReading<0>, "Function 'V'"},
    {"I", 70, 1, 1, FnReading<1>, "Function 'I'"},
    {"P", 71, 1, 1, FnReading<2>, "Function 'P'"},
    {"S", 72, 1, 1, FnReading<3>, "Function 'S'"},
    {"sq", 49, 1, 1, FnSq, "Function 'sq'"},
    {"lg", 52, 1, 1, FnLog10, "Function 'log10'"},
    {"ln", 51, 1, 2, FnLog, "Function 'log'"},
    {"lb", 53, 1, 1, FnLog2, "Function 'log2'"},
    {"tg", 41, 1, 1, FnTan, "Function 'tan'"},
    {"db", 58, 1, 2, FnDb, "Function 'dB'"},
    {"re", 73, 1, 1, FnRe, "Function 're'"},
    {"im", 74, 1, 1, FnIm, "Function 'im'"},
    {"abs", 56, 1, 1, FnAbs, "Function 'abs'"},
    {"min", 59, 1, kAnyCount, FnMin, "Functions 'min' and 'max'"},
    {"max", 60, 1, kAnyCount, FnMax, "Functions 'min' and 'max'"},
    {"exp", 50, 1, 1, FnExp, "Function 'exp'"},
    {"pow", 54, 2, 2, FnPow, "Function 'pow'"},
    {"pwr", 55, 2, 2, FnPwr, "Function 'pwr'"},
    {"sqr", 48, 1, 1, FnSqr, "Function 'sqr'"},
    {"int", 63, 1, 1, FnCast<vtInt>, "Function 'int'"},
    {"log", 51, 1, 2, FnLog, "Function 'log'"},
    {"mag", 56, 1, 1, FnAbs, "Function 'abs'"},
    {"sin", 39, 1, 1, FnSin, "Function 'sin'"},
    {"cos", 40, 1, 1, FnCos, "Function 'cos'"},
    {"tan", 41, 1, 1, FnTan, "Function 'tan'"},
    {"par", 77, 1, kAnyCount, FnPar, "Function 'par'"},
    {"lim", 78, 3, 3, FnLimit, "Function 'limit'"},
    {"sum", 62, 1, kAnyCount, FnSum, "Functions 'mean' and 'sum'"},
    {"sqrt", 47, 1, 1, FnSqrt, "Function 'sqrt'"},
    {"bool", 68, 1, 1, FnCast<vtBool>, "Function 'bool'"},
    {"sign", 57, 1, 1, FnSign, "Function 'sign'"},
    {"log2", 53, 1, 1, FnLog2, "Function 'log2'"},
    {"asin", 42, 1, 1, FnAsin, "Function 'asin'"},
    {"acos", 43, 1, 1, FnAcos, "Function 'acos'"},
    {"atan", 44, 1, 1, FnAtan, "Function 'atan'"},
    {"ceil", 37, 1, 1, FnCeil, "Function 'ceil'"},
    {"mean", 61, 1, kAnyCount, FnMean, "Functions 'mean' and 'sum'"},
    {"rand", 75, 1, 1, FnRandom, "Function 'random'"},
    {"int64", 64, 1, 1, FnCast<vtInt64>, "Function 'int64'"},
    {"round", 38, 1, 2, FnRound, "Function 'round'"},
    {"islow", 79, 1, 1, FnIsLow, "Function 'islow'"},
    {"log10", 52, 1, 1, FnLog10, "Function 'log10'"},
    {"phase", 46, 1, 1, FnPhase, "Function 'phase'"},
    {"atan2", 45, 1, 2, FnAtan2, "Function 'atan2'"},
    {"float", 66, 1, 1, FnCast<vtDouble>, "Function 'double'"},
    {"floor", 36, 1, 1, FnFloor, "Function 'floor'"},
    {"limit", 78, 3, 3, FnLimit, "Function 'limit'"},
    {"gauss", 76, 2, 2, FnGauss, "Function 'gauss'"},
    {"double", 65, 1, 1, FnCast<vtDouble>, "Function 'double'"},
    {"ishigh", 80, 1, 1, FnIsHigh, "Function 'ishigh'"},
    {"random", 75, 1, 1, FnRandom, "Function 'random'"},
    {"complex", 67, 1, 1, FnCast<vtComplex>, "Function 'complex'"},
    {"average", 61, 1, kAnyCount, FnMean, "Functions 'mean' and 'sum'"},
};

// Row of each code, filled from the table once: the first row of a code is
// its main name.
struct CCodeIndex {
    const CFuncRow* ByCode[opLastFunction + 1] = {};
    CCodeIndex() {
        for (const CFuncRow& row : kFunctions)
            if (!ByCode[row.Code]) ByCode[row.Code] = &row;
    }
};

const CCodeIndex& CodeIndex() {
    static const CCodeIndex index;
    return index;
}

}  // namespace

const CFuncRow* FindFunction(std::string_view name) {
    if (name.empty() || name.size() > kMaxFunctionName) return nullptr;
    for (const CFuncRow& row : kFunctions)
        if (name.size() == std::char_traits<char>::length(row.Name) && name == row.Name) return &row;
    return nullptr;
}

const CFuncRow* FunctionByCode(int code) {
    if (code < opFirstFunction || code > opLastFunction) return nullptr;
    return CodeIndex().ByCode[code];
}

bool CallFunction(int code, CEvalEntry* args, int count, CValue& result, CEvalContext& ctx) {
    const CFuncRow* row = FunctionByCode(code);
    if (!row) return true;
    if (count < row->MinArgs || count > row->MaxArgs) return FailHead(row->Head, " : wrong number of parameters");
    CFuncCall call{args, count, result, ctx};
    return row->Impl(call);
}

}  // namespace qz3
