// Components stored scrambled load, run and save as their plain forms do.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "circuit_run.h"
#include "test_files.h"
#include "qz3.h"

namespace {

using qz3test::Circuit;
using qz3test::TestCircuit;

using qz3::test::ReadBytes;

size_t Occurrences(const std::string& text, const std::string& word) {
    size_t count = 0;
    for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) ++count;
    return count;
}

// V1 is a 0/4 V pulse, 100 us delay, 400 us wide, 1 ms period, into a 3k:1k
// divider: R2 shows 1 V while the pulse is high and 0 V otherwise.
void ExpectDividerFollowsPulse(const std::string& path) {
    SCOPED_TRACE(path);
    Circuit circuit(path);
    ASSERT_GE(circuit.ncir, 0);
    const int trace = QZ3_AddVTrace(circuit.ncir, "R2");
    ASSERT_GE(trace, 0) << QZ3_GetError();
    QZ3_START_OR_SKIP(circuit);
    ASSERT_TRUE(circuit.RunTo(2e-3));
    const struct {
        double t, volts;
    } expected[] = {{50e-6, 0.0}, {300e-6, 1.0}, {450e-6, 1.0}, {800e-6, 0.0}, {1.3e-3, 1.0}, {1.7e-3, 0.0}};
    for (const auto& point : expected) EXPECT_NEAR(circuit.ValueAt(trace, point.t), point.volts, 1e-9) << point.t;
}

TEST(Scrambled, ResistorAndPulseSourceRunAsTheirPlainForms) {
    ExpectDividerFollowsPulse(TestCircuit("scrambled_plain.qz3"));
    ExpectDividerFollowsPulse(TestCircuit("scrambled_parts.qz3"));

    // Their parameters are closed to the host; an open neighbour isn't.
    Circuit circuit(TestCircuit("scrambled_parts.qz3"));
    double value = 0;
    EXPECT_EQ(QZ3_GetValue(circuit.ncir, "R2.R", &value), -1);
    EXPECT_STREQ(QZ3_GetError(), "QZ3_GetValue: parameter R2.R not found");
    EXPECT_EQ(QZ3_GetValue(circuit.ncir, "R1.R", &value), 0);
    EXPECT_DOUBLE_EQ(value, 3e3);
}

TEST(Scrambled, SaveScramblesAgainAndTheFileReopens) {
    const std::string saved = testing::TempDir() + "scrambled_saved.qz3";
    {
        Circuit circuit(TestCircuit("scrambled_parts.qz3"));
        ASSERT_EQ(QZ3_SaveAs(circuit.ncir, saved.c_str()), 0) << QZ3_GetError();
    }
    const std::string text = ReadBytes(saved);
    EXPECT_EQ(Occurrences(text, "Encr1=\""), 2u) << text;
    // Nothing of the closed components shows in plain text.
    EXPECT_EQ(text.find("name=\"R2\""), std::string::npos) << text;
    EXPECT_EQ(text.find("name=\"V1\""), std::string::npos) << text;
    EXPECT_EQ(text.find("<Signal"), std::string::npos) << text;
    EXPECT_NE(text.find("name=\"R1\""), std::string::npos) << text;
    ExpectDividerFollowsPulse(saved);

    // A second cycle gives the same file: the check values are those of the
    // components' own texts, made anew each time.
    const std::string again = testing::TempDir() + "scrambled_saved_again.qz3";
    {
        Circuit circuit(saved);
        ASSERT_EQ(QZ3_SaveAs(circuit.ncir, again.c_str()), 0) << QZ3_GetError();
    }
    EXPECT_EQ(ReadBytes(again), text);
    std::remove(saved.c_str());
    std::remove(again.c_str());
}

TEST(Scrambled, DamagedTextsLeaveOnlyTheirComponentOut) {
    // A wrong check value, a character outside the alphabet, a cut text, a
    // text that holds no element and an empty check: each of the five would
    // put 1 ohm across R2 if it were read.
    Circuit circuit(TestCircuit("scrambled_damaged.qz3"));
    ASSERT_GE(circuit.ncir, 0);
    EXPECT_STREQ(QZ3_GetError(), "OK");
    double value = 0;
    EXPECT_EQ(QZ3_GetValue(circuit.ncir, "RX.R", &value), -1);
    const int trace = QZ3_AddVTrace(circuit.ncir, "R2");
    ASSERT_GE(trace, 0) << QZ3_GetError();
    QZ3_START_OR_SKIP(circuit);
    ASSERT_TRUE(circuit.RunTo(5e-3));
    EXPECT_NEAR(circuit.ValueAt(trace, 4e-3), 1.0, 1e-9);
}

}  // namespace
