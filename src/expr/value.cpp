#include "expr/value.h"

#include "expr/number_text.h"

namespace qz3 {

namespace {

// Truncation toward zero; out of range or NaN gives the most negative value,
// the "indefinite integer" the processor's conversion produces.
int64_t TruncToInt64(double x) {
    if (x >= -9223372036854775808.0 && x < 9223372036854775808.0) return static_cast<int64_t>(x);
    return INT64_MIN;
}

int32_t TruncToInt32(double x) {
    if (x > -2147483649.0 && x < 2147483648.0) return static_cast<int32_t>(x);
    return INT32_MIN;
}

// The payload of an integer-like tag, widened; only called for vtInt64,
// vtInt and vtBool.
int64_t IntegerPayload(const CValue& v) {
    if (v.Type == vtInt64) return v.I64;
    if (v.Type == vtInt) return v.I32;
    return v.Byte ? 1 : 0;
}

void ConvertFromFloating(CValue& v, ValueType to) {
    const double re = v.Dbl;
    switch (to) {
        case vtComplex: v.SetComplex(re, 0.0); break;
        case vtDouble: v.Type = vtDouble; break;  // Im stays, unread
        case vtInt64: v.SetInt64(TruncToInt64(re)); break;
        case vtInt: v.SetInt(TruncToInt32(re)); break;
        case vtBool: {
            // NaN compares unequal to 0.0 and so is true.
            const bool imZero = v.Type != vtComplex || v.Im == 0.0;
            v.SetBool(re == 0.0 && imZero ? 0 : 1);
            break;
        }
        default: break;
    }
}

void ConvertFromInteger(CValue& v, ValueType to) {
    const int64_t n = IntegerPayload(v);
    switch (to) {
        case vtComplex: v.SetComplex(static_cast<double>(n), 0.0); break;
        case vtDouble: v.SetDouble(static_cast<double>(n)); break;
        case vtInt64: v.SetInt64(n); break;
        // Keeps the low 32 bits, as a plain register move would.
        case vtInt: v.SetInt(static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(n)))); break;
        case vtBool: v.SetBool(n != 0 ? 1 : 0); break;
        default: break;
    }
}

}  // namespace

void CValue::Convert(ValueType to) {
    if (Type == to) return;
    // An array reference has no numeric payload: only its tag moves.
    if (Type == vtArray || to == vtArray || to > vtArray) {
        Type = to;
        return;
    }
    if (Type == vtComplex || Type == vtDouble)
        ConvertFromFloating(*this, to);
    else
        ConvertFromInteger(*this, to);
}

void CValue::AssignConverted(CValue& source) {
    source.Convert(Type);
    *this = source;
}

std::string ValueToText(const CValue& v) {
    switch (v.Type) {
        case vtComplex: {
            std::string text = NumberToText(v.Dbl, 12);
            if (v.Im > 0) text += "+" + NumberToText(v.Im, 12) + "j";
            else if (v.Im < 0) text += "-" + NumberToText(-v.Im, 12) + "j";
            return text;
        }
        case vtDouble: return NumberToText(v.Dbl, 12);
        case vtInt64: return std::to_string(static_cast<long long>(v.I64));
        case vtInt: return std::to_string(v.I32);
        case vtBool: return v.Byte ? "true" : "false";
        default: return std::string();
    }
}

}  // namespace qz3
