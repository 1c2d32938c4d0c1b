#include "expr/number_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>

using namespace qz3;

namespace {

const double kInf = std::numeric_limits<double>::infinity();

struct ParseRow {
    const char* text;
    bool prefixes;
    ValueType type;
    double re;  // the value, for every type; exact integers fit a double here
    double im;
};

void ExpectParses(const ParseRow& r) {
    SCOPED_TRACE(std::string("text: \"") + r.text + "\"");
    CValue v;
    ASSERT_TRUE(ParseNumber(r.text, v, r.prefixes)) << ExprError();
    ASSERT_EQ(v.Type, r.type);
    switch (v.Type) {
        case vtComplex: EXPECT_EQ(v.Re(), r.re); EXPECT_EQ(v.Im, r.im); break;
        case vtDouble: EXPECT_EQ(v.Re(), r.re); break;
        case vtInt64: EXPECT_EQ(static_cast<double>(v.I64), r.re); break;
        case vtInt: EXPECT_EQ(static_cast<double>(v.I32), r.re); break;
        default: FAIL();
    }
}

struct ErrorRow {
    std::string text;
    bool prefixes;
    std::string message;
};

void ExpectFails(const ErrorRow& r) {
    SCOPED_TRACE("text: \"" + r.text + "\"");
    ExprError() = "stale";
    CValue v;
    EXPECT_FALSE(ParseNumber(r.text, v, r.prefixes));
    EXPECT_EQ(ExprError(), r.message);
}

}  // namespace

TEST(ParseNumber, ValuesAndTypes) {
    const ParseRow rows[] = {
        // Plain integers stay vtInt; width is chosen before the sign.
        {"", true, vtInt, 0, 0},
        {"0", true, vtInt, 0, 0},
        {"42", true, vtInt, 42, 0},
        {"+42", true, vtInt, 42, 0},
        {"-42", true, vtInt, -42, 0},
        {" 1 2 ", true, vtInt, 12, 0},
        {"2147483647", true, vtInt, 2147483647.0, 0},
        {"2147483648", true, vtInt64, 2147483648.0, 0},
        {"-2147483648", true, vtInt64, -2147483648.0, 0},
        {"5i64", true, vtInt64, 5, 0},
        {"-5i64", true, vtInt64, -5, 0},
        {"1.5i64", true, vtDouble, 1.5, 0},
        // Decimal overflow wraps silently: 2^64 - 1 reads as -1.
        {"18446744073709551615", true, vtInt, -1, 0},
        // Multipliers.
        {"1.5k", true, vtDouble, 1500, 0},
        {"4k7", true, vtDouble, 4700, 0},
        {"4.7k9", true, vtDouble, 4700, 0},
        {"-4k7", true, vtDouble, -4700, 0},
        {"1K", true, vtDouble, 1000, 0},
        {"1M", true, vtDouble, 1e6, 0},
        {"1m", true, vtDouble, 1e-3, 0},
        {"2T", true, vtDouble, 2e12, 0},
        {"3G", true, vtDouble, 3e9, 0},
        {"10u", true, vtDouble, 1e-5, 0},
        {"22n", true, vtDouble, 22e-9, 0},
        {"1p5", true, vtDouble, 1.5e-12, 0},
        {"3f", true, vtDouble, 3e-15, 0},
        {"1e3", true, vtDouble, 1000, 0},
        {"2.5E-3", true, vtDouble, 2.5e-3, 0},
        {"1.", true, vtDouble, 1, 0},
        {".5", true, vtDouble, 0.5, 0},
        // Imaginary numbers.
        {"2j", true, vtComplex, 0, 2},
        {"j", true, vtComplex, 0, 0},
        {"-1.5kj", true, vtComplex, 0, -1500},
        // Infinity, only with a lower-case i.
        {"inf", true, vtDouble, kInf, 0},
        {"-inf", true, vtDouble, -kInf, 0},
        {"iNF", true, vtDouble, kInf, 0},
        // Radix prefixes.
        {"0x7FFFFFFF", true, vtInt, 2147483647.0, 0},
        {"0x80000000", true, vtInt64, 2147483648.0, 0},
        {"0xFFFFFFFF", true, vtInt64, 4294967295.0, 0},
        {"-0x10", true, vtInt, -16, 0},
        {"0X1f", true, vtInt, 31, 0},
        {"0x1G", true, vtInt, 16, 0},  // a non-digit counts as 0
        {"0x", true, vtInt, 0, 0},
        {"0xFFFFFFFFFFFFFFFF", true, vtInt, -1, 0},
        {"0x7FFFFFFFFFFFFFFF", true, vtInt64, 9223372036854775807.0, 0},
        {"0b101", true, vtInt, 5, 0},
        {"-0B11", true, vtInt, -3, 0},
        {"017", true, vtInt, 15, 0},
        {"017", false, vtInt, 17, 0},
        {"010", false, vtInt, 10, 0},
        {"09", false, vtInt, 9, 0},
    };
    for (const ParseRow& r : rows) ExpectParses(r);
}

TEST(ParseNumber, BinaryAndOctalLengthLimits) {
    ExpectParses({("0b1" + std::string(63, '0')).c_str(), true, vtInt64, -9223372036854775808.0, 0});
    ExpectParses({("0b" + std::string(64, '1')).c_str(), true, vtInt, -1, 0});
    const std::string bin65 = "0b" + std::string(65, '1');
    ExpectFails({bin65, true, "Syntax error: '" + bin65 + "' is too big for 64 bit integer"});
    const std::string hex17 = "0x" + std::string(17, 'F');
    ExpectFails({"-" + hex17, true, "Syntax error: '" + hex17 + "' is too big for 64 bit integer"});
    ExpectParses({("0" + std::string(22, '7')).c_str(), true, vtInt, -1, 0});
    const std::string oct24 = "0" + std::string(23, '1');
    ExpectFails({oct24, true, "Syntax error: '" + oct24 + "' is too big for 64 bit integer"});
}

TEST(ParseNumber, ExactMessages) {
    const ErrorRow rows[] = {
        {"k", true, "Syntax error: 'k' is invalid number"},
        {"m", false, "Syntax error: 'm' is invalid number"},
        {"5V", true, "Syntax error: 'V' is invalid character"},
        {"1e3k", true, "Syntax error: 'k' is invalid character"},
        {"Inf", true, "Syntax error: 'I' is invalid character"},
        {"NaN", true, "Syntax error: 'N' is invalid character"},
        {"i64", true, "Syntax error: 'i' is invalid character"},
        {"1.2.3", true, "Syntax error: '.' is invalid character"},
        {"0x10", false, "Syntax error: 'x' is invalid character"},
        {"09", true, "Syntax error: '9' is not a valid octal value"},
        {"0b102", true, "Syntax error: '0b102' is not a valid binary value"},
        {"-0b2", true, "Syntax error: '-0b2' is not a valid binary value"},
        {std::string(128, ' '), true, "Syntax error: number string is too long"},
        {std::string(128, '1'), false, "Syntax error: number string is too long"},
    };
    for (const ErrorRow& r : rows) ExpectFails(r);
    // 127 characters is still a number.
    ExpectParses({(std::string(126, ' ') + "7").c_str(), true, vtInt, 7, 0});
}

TEST(ParseNumber, LongestMultiplierTextFitsTheBuffer) {
    // 127 characters that gain "e-15" behind the multiplier.
    const std::string text = "1f" + std::string(125, '0');
    CValue v;
    ASSERT_TRUE(ParseNumber(text, v, true)) << ExprError();
    EXPECT_EQ(v.Re(), 1e-15);
}

TEST(ParseDouble, ConvertsEveryTypeToDouble) {
    struct Row { const char* text; double value; };
    const Row rows[] = {
        {"2j", 0.0}, {"3", 3.0}, {"017", 17.0}, {"4k7", 4700.0}, {"5i64", 5.0}, {"-inf", -kInf},
    };
    for (const Row& r : rows) {
        double x = -1;
        EXPECT_TRUE(ParseDouble(r.text, x)) << r.text;
        EXPECT_EQ(x, r.value) << r.text;
    }
    double x = 0;
    EXPECT_FALSE(ParseDouble("0x10", x));
    EXPECT_EQ(ExprError(), "Syntax error: 'x' is invalid character");
}

TEST(TextToDouble, FileReaderRules) {
    const double nan = TextToDouble("");
    EXPECT_TRUE(std::isnan(nan));
    EXPECT_TRUE(std::signbit(nan));
    EXPECT_EQ(TextToDouble("inf"), kInf);
    EXPECT_EQ(TextToDouble("-inf"), -kInf);
    EXPECT_EQ(TextToDouble("1.25e3"), 1250.0);
    EXPECT_EQ(TextToDouble("12abc"), 12.0);  // strtod's answer stands
    EXPECT_EQ(TextToDouble("abc"), 0.0);
}

TEST(NumberToText, EngineeringNotation) {
    struct Row { double x; const char* text; };
    const Row rows[] = {
        {1500, "1.5e+3"},
        {0.5, "500e-3"},
        {1000, "1e+3"},
        {999, "999"},
        {0, "0"},
        {-0.002, "-2e-3"},
        {999.9999999999999, "1e+3"},
        {-999.9999999999999, "-1e+3"},
        {1e-3, "1e-3"},
        {4700, "4.7e+3"},
        {123456789012345.0, "123.456789012e+12"},
        {kInf, "inf"},
        {-kInf, "-inf"},
        {std::nan(""), ""},
    };
    for (const Row& r : rows) EXPECT_EQ(NumberToText(r.x, 12), r.text) << r.x;
    EXPECT_EQ(NumberToText(1234, 3), "1.23e+3");
}

TEST(NumberToText, ExponentIsMultipleOfThreeAndReadsBack) {
    const double samples[] = {1e300, -1e300, 1e-300, 5e-324, 1.7976931348623157e308, 3.14159265358, 6.02e23};
    for (double x : samples) {
        const std::string text = NumberToText(x, 12);
        const size_t e = text.find('e');
        if (e != std::string::npos) EXPECT_EQ(std::stoi(text.substr(e + 1)) % 3, 0) << text;
        double back = 0;
        ASSERT_TRUE(ParseDouble(text, back)) << text << ": " << ExprError();
        // 12 digits keep the value to half a unit in the 12th place.
        EXPECT_LE(std::fabs(back - x), std::fabs(x) * 5e-12) << text;
    }
}

TEST(RealCompare, RelativeTolerance) {
    EXPECT_EQ(RealCompare(1.0, 1.0 + 1e-13), 0);
    EXPECT_EQ(RealCompare(1.0, 1.0 + 1e-11), -1);
    EXPECT_EQ(RealCompare(1.0 + 1e-11, 1.0), 1);
    EXPECT_EQ(RealCompare(0.0, 0.0), 0);
    EXPECT_EQ(RealCompare(0.0, 1e-300), -1);
    EXPECT_EQ(RealCompare(1e-300, 0.0), 1);
    EXPECT_EQ(RealCompare(-5.0, 5.0), -1);
    EXPECT_EQ(RealCompare(std::nan(""), 1.0), 1);
    EXPECT_EQ(RealCompare(1.0, std::nan("")), 1);
}

TEST(DoubleHex, BitExactRoundTrip) {
    EXPECT_EQ(DoubleToHex(0.0), "0");
    EXPECT_EQ(DoubleToHex(-0.0), "0");
    EXPECT_EQ(DoubleToHex(1.0), "#000000000000F03F");
    EXPECT_EQ(DoubleToHex(-2.0), "#00000000000000C0");
    const double samples[] = {1.0, 0.1, -1.0 / 3.0, 5e-324, 1.7976931348623157e308, kInf, 6.28318530716};
    for (double x : samples) {
        const double back = HexToDouble(DoubleToHex(x).c_str());
        EXPECT_EQ(std::memcmp(&back, &x, sizeof x), 0) << x;
    }
    EXPECT_EQ(HexToDouble("000000000000F03F"), 0.0);  // no "#"
    EXPECT_EQ(HexToDouble("0"), 0.0);
    EXPECT_EQ(HexToDouble("#000000000000f03f"), 1.0);  // lower case reads too
    EXPECT_EQ(HexToDouble("#000000000000F03FFF"), 1.0);  // digits past 16 are ignored
    EXPECT_EQ(HexToDouble("#000000000000Z03F"), HexToDouble("#000000000000003F"));
    EXPECT_EQ(HexToDouble(nullptr), 0.0);
}

TEST(DoubleHex, HexToBytesCountsWholeBytes) {
    uint8_t out[8] = {};
    EXPECT_EQ(HexToBytes("0AFF", out, 16), 2);
    EXPECT_EQ(out[0], 0x0A);
    EXPECT_EQ(out[1], 0xFF);
    EXPECT_EQ(HexToBytes("123", out, 16), 1);  // a lone last digit isn't a byte
    EXPECT_EQ(out[0], 0x12);
    EXPECT_EQ(HexToBytes("1234567890", out, 4), 2);
    EXPECT_EQ(out[1], 0x34);
    EXPECT_EQ(HexToBytes("", out, 16), 0);
}
