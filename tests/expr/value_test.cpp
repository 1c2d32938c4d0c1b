#include "expr/value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace qz3;

namespace {

CValue Dbl(double x) { CValue v; v.SetDouble(x); return v; }
CValue Cplx(double re, double im) { CValue v; v.SetComplex(re, im); return v; }
CValue I64(int64_t x) { CValue v; v.SetInt64(x); return v; }
CValue I32(int32_t x) { CValue v; v.SetInt(x); return v; }
CValue Bool(uint8_t b) { CValue v; v.SetBool(b); return v; }

CValue Converted(CValue v, ValueType to) {
    v.Convert(to);
    EXPECT_EQ(v.Type, to);
    return v;
}

}  // namespace

TEST(CValue, SettersOwnOnlyTheirSlot) {
    CValue v;
    v.SetComplex(1.5, 2.5);
    v.SetDouble(3.0);
    EXPECT_EQ(v.Type, vtDouble);
    EXPECT_EQ(v.Im, 2.5);  // SetDouble leaves the imaginary part alone
    v.SetInt(7);
    EXPECT_EQ(v.Im, 2.5);
    v.SetComplex(4.0, -1.0);
    EXPECT_EQ(v.Re(), 4.0);
    EXPECT_EQ(v.Im, -1.0);
    // Widening promotion is the smallest tag.
    EXPECT_LT(vtComplex, vtDouble);
    EXPECT_LT(vtDouble, vtInt64);
    EXPECT_LT(vtInt64, vtInt);
    EXPECT_LT(vtInt, vtBool);
    EXPECT_EQ(static_cast<int>(vtArray), 5);
}

TEST(CValue, ConvertFromFloating) {
    EXPECT_EQ(Converted(Dbl(2.5), vtComplex).Im, 0.0);
    EXPECT_EQ(Converted(Dbl(2.5), vtComplex).Re(), 2.5);
    EXPECT_EQ(Converted(Cplx(2.5, 3), vtDouble).Re(), 2.5);
    EXPECT_EQ(Converted(Dbl(-2.9), vtInt).I32, -2);
    EXPECT_EQ(Converted(Dbl(2.9), vtInt64).I64, 2);
    EXPECT_EQ(Converted(Cplx(-7.9, 4), vtInt).I32, -7);
    EXPECT_EQ(Converted(Cplx(7.9, 4), vtInt64).I64, 7);
    // Out of range truncation is the processor's indefinite integer.
    EXPECT_EQ(Converted(Dbl(1e300), vtInt).I32, INT32_MIN);
    EXPECT_EQ(Converted(Dbl(2147483648.0), vtInt).I32, INT32_MIN);
    EXPECT_EQ(Converted(Dbl(-2147483648.5), vtInt).I32, INT32_MIN);
    EXPECT_EQ(Converted(Dbl(2147483647.9), vtInt).I32, INT32_MAX);
    EXPECT_EQ(Converted(Dbl(1e19), vtInt64).I64, INT64_MIN);
    EXPECT_EQ(Converted(Dbl(std::nan("")), vtInt64).I64, INT64_MIN);
    EXPECT_EQ(Converted(Dbl(9.2e18), vtInt64).I64, 9200000000000000000LL);
    // Bool: only zero is false; NaN is true.
    EXPECT_EQ(Converted(Dbl(0.0), vtBool).Byte, 0);
    EXPECT_EQ(Converted(Dbl(-0.0), vtBool).Byte, 0);
    EXPECT_EQ(Converted(Dbl(std::nan("")), vtBool).Byte, 1);
    EXPECT_EQ(Converted(Dbl(1e-300), vtBool).Byte, 1);
    EXPECT_EQ(Converted(Cplx(0, 0), vtBool).Byte, 0);
    EXPECT_EQ(Converted(Cplx(0, 1), vtBool).Byte, 1);
}

TEST(CValue, ConvertFromInteger) {
    EXPECT_EQ(Converted(I64(0x100000005LL), vtInt).I32, 5);  // low 32 bits
    EXPECT_EQ(Converted(I64(0xFFFFFFFFLL), vtInt).I32, -1);
    EXPECT_EQ(Converted(I32(-5), vtInt64).I64, -5);  // sign-extended
    EXPECT_EQ(Converted(I64(INT64_MAX), vtComplex).Re(), 9223372036854775807.0);
    EXPECT_EQ(Converted(I64(3), vtComplex).Im, 0.0);
    EXPECT_EQ(Converted(I32(-3), vtDouble).Re(), -3.0);
    EXPECT_EQ(Converted(I64(0), vtBool).Byte, 0);
    EXPECT_EQ(Converted(I64(1LL << 40), vtBool).Byte, 1);
    EXPECT_EQ(Converted(I32(-1), vtBool).Byte, 1);
    EXPECT_EQ(Converted(Bool(1), vtDouble).Re(), 1.0);
    EXPECT_EQ(Converted(Bool(0), vtComplex).Re(), 0.0);
    EXPECT_EQ(Converted(Bool(1), vtInt64).I64, 1);
    EXPECT_EQ(Converted(Bool(1), vtInt).I32, 1);
    // Converting to the same tag touches nothing.
    CValue c = Cplx(1, 2);
    c.Convert(vtComplex);
    EXPECT_EQ(c.Im, 2.0);
}

TEST(CValue, ArrayOnlyChangesItsTag) {
    int anchor = 0;
    CValue a;
    a.SetArray(&anchor);
    a.Convert(vtDouble);
    EXPECT_EQ(a.Type, vtDouble);
    a.Type = vtArray;
    EXPECT_EQ(a.Ptr, &anchor);
}

TEST(CValue, AssignConvertedKeepsTargetTagAndConvertsSource) {
    CValue target = I32(0);
    CValue source = Dbl(7.8);
    target.AssignConverted(source);
    EXPECT_EQ(target.Type, vtInt);
    EXPECT_EQ(target.I32, 7);
    EXPECT_EQ(source.Type, vtInt);  // the source itself was converted
    CValue wide = Cplx(9, 9);
    CValue flag = Bool(1);
    wide.AssignConverted(flag);
    EXPECT_EQ(wide.Type, vtComplex);
    EXPECT_EQ(wide.Re(), 1.0);
    EXPECT_EQ(wide.Im, 0.0);
}

TEST(CValue, Readers) {
    EXPECT_EQ(Cplx(2, 3).AsDouble(), 2.0);
    EXPECT_EQ(I64(-4).AsDouble(), -4.0);
    EXPECT_EQ(Bool(1).AsDouble(), 1.0);
    EXPECT_EQ(Dbl(-3.7).AsInt(), -3);
    EXPECT_EQ(Dbl(1e300).AsInt(), INT32_MIN);
    EXPECT_EQ(Dbl(5e9).AsInt64(), 5000000000LL);
    EXPECT_TRUE(Dbl(std::nan("")).AsBool());
    EXPECT_FALSE(I32(0).AsBool());
    EXPECT_EQ(Dbl(1.0).ImOrZero(), 0.0);
    EXPECT_EQ(Cplx(1, -2).ImOrZero(), -2.0);
    EXPECT_TRUE(I64(1).IsInteger());
    EXPECT_FALSE(Dbl(1).IsInteger());
}

TEST(CValue, ValueToText) {
    struct Row { CValue v; const char* text; };
    const double inf = std::numeric_limits<double>::infinity();
    const Row rows[] = {
        {Cplx(1, 2), "1+2j"},
        {Cplx(1, -2), "1-2j"},
        {Cplx(1, 0), "1"},
        {Cplx(1, std::nan("")), "1"},
        {Cplx(0, 1500), "0+1.5e+3j"},
        {Cplx(-2e-3, -inf), "-2e-3-infj"},
        {Dbl(1500), "1.5e+3"},
        {Dbl(std::nan("")), ""},
        {I64(-9223372036854775807LL - 1), "-9223372036854775808"},
        {I32(-17), "-17"},
        {Bool(1), "true"},
        {Bool(0), "false"},
    };
    for (const Row& r : rows) EXPECT_EQ(ValueToText(r.v), r.text);
    CValue a;
    a.SetArray(nullptr);
    EXPECT_EQ(ValueToText(a), "");
}
