#include "eng_number.h"

#include <gtest/gtest.h>

#include <cmath>

namespace qz3::cli {
namespace {

TEST(EngNumber, ParsesMultipliersUnitsAndInfixPoints) {
    struct Row {
        const char* text;
        double value;
    };
    const Row rows[] = {
        {"10m", 10e-3},  {"1u", 1e-6},    {"2.5", 2.5},    {"1e-3", 1e-3},  {"1E+3", 1e3},    {"4k7", 4700},
        {"4K7", 4700},   {"3M", 3e6},     {"3m", 3e-3},    {"100n", 1e-7},  {"22p", 22e-12},  {"1f", 1e-15},
        {"2G", 2e9},     {"1T", 1e12},    {"10ms", 10e-3}, {"5us", 5e-6},   {"1.5kHz", 1500}, {"-2m", -2e-3},
        {".5u", 0.5e-6}, {"2e-3m", 2e-6}, {"7V", 7},       {"0", 0},        {"1e3k", 1e6},
    };
    for (const Row& row : rows) {
        double value = -1;
        ASSERT_TRUE(ParseEngineering(row.text, value)) << row.text;
        EXPECT_NEAR(value, row.value, std::fabs(row.value) * 1e-12) << row.text;
    }
}

TEST(EngNumber, RefusesWhatIsNoNumber) {
    for (const char* text : {"", "m", "abc", "1..2", "1m2.5", "10 ms", "1-2", "nan", "inf", "1e999", "4k7.1",
                             "--1", "1,5"}) {
        double value = 0;
        EXPECT_FALSE(ParseEngineering(text, value)) << text;
    }
}

TEST(EngNumber, FormatsWithMultiplierLetters) {
    struct Row {
        double value;
        int digits;
        const char* text;
    };
    const Row rows[] = {
        {0.01, 4, "10m"},    {1500, 4, "1.5k"},  {0, 4, "0"},          {1e-3, 4, "1m"},      {-2.5e-6, 4, "-2.5u"},
        {999.99, 3, "1k"},   {1, 4, "1"},        {123456, 3, "123k"},  {1e-18, 4, "1e-18"},  {2e15, 4, "2e+15"},
        {0.000999, 3, "999u"}, {47e-9, 4, "47n"}, {3.3e6, 4, "3.3M"},
    };
    for (const Row& row : rows) EXPECT_EQ(FormatEngineering(row.value, row.digits), row.text) << row.value;
    EXPECT_EQ(FormatEngineering(std::nan("")), "nan");
    EXPECT_EQ(FormatEngineering(-INFINITY), "-inf");
}

TEST(EngNumber, JoinsTheLetterToTheUnit) {
    EXPECT_EQ(FormatWithUnit(0.01, "s"), "10 ms");
    EXPECT_EQ(FormatWithUnit(3, "V"), "3 V");
    EXPECT_EQ(FormatWithUnit(1500, "V"), "1.5 kV");
    EXPECT_EQ(FormatWithUnit(1500, ""), "1.5k");
    EXPECT_EQ(FormatWithUnit(std::nan(""), "A"), "nan A");
}

TEST(EngNumber, FormattedTextReadsBack) {
    for (double value : {1.234e-9, 5.6e-3, 0.25, 77.0, 8.2e4, 1.5e9}) {
        double back = 0;
        ASSERT_TRUE(ParseEngineering(FormatEngineering(value, 6), back)) << value;
        EXPECT_NEAR(back, value, value * 1e-9);
    }
}

}  // namespace
}  // namespace qz3::cli
