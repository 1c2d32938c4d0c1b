// Logic circuits through the C interface: gate truth tables, flip-flops at
// their clock edges, a ring oscillator and a ripple counter whose edges are
// events (the stored point before an edge lies exactly on the event time),
// logic generators on analog thresholds, and the texts of bad circuits.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "circuit_run.h"

namespace {

using qz3test::Circuit;
using qz3test::Example;
using qz3test::Series;
using qz3test::TestCircuit;

constexpr double kPi = 3.14159265358979323846;
// Digital traces record levels 0 and 1; the outputs themselves stand at
// the document's default levels, 0 V and 5 V.
constexpr double kHigh = 5.0;
constexpr double kThr = 0.5;

// The level of a logic trace at t.
int LevelAt(const Circuit& c, const char* name, double t) { return c.At(name, t) > kThr ? 1 : 0; }

// The time of the last point before each change of level: an edge that is an
// event is stored at its exact time with the old level, then the new one.
std::vector<double> Edges(const Series& s, int direction) {
    std::vector<double> times;
    for (size_t i = 1; i < s.size(); ++i) {
        const bool rise = s.y[i - 1] < kThr && s.y[i] > kThr, fall = s.y[i - 1] > kThr && s.y[i] < kThr;
        if ((direction > 0 && rise) || (direction < 0 && fall)) times.push_back(s.t[i - 1]);
    }
    return times;
}

void ExpectEdgesAt(const Series& s, int direction, const std::vector<double>& expected, const char* what) {
    const std::vector<double> edges = Edges(s, direction);
    ASSERT_EQ(edges.size(), expected.size()) << what;
    for (size_t i = 0; i < edges.size(); ++i) EXPECT_NEAR(edges[i], expected[i], 1e-12 * expected[i]) << what << " edge " << i;
}

std::string StartError(const Circuit& c) {
    QZ3_Start(c.ncir);
    return QZ3_GetError();
}

TEST(Logic, EveryGateFollowsItsTruthTable) {
    Circuit c(TestCircuit("logic_gates.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(8e-3));
    bool seen[8] = {};
    for (int k = 0; k < 8; ++k) {
        const double t = (k + 0.5) * 1e-3;
        const int a = LevelAt(c, "V(A)", t), b = LevelAt(c, "V(B)", t), x = LevelAt(c, "V(C)", t);
        seen[a + 2 * b + 4 * x] = true;
        const struct {
            const char* trace;
            int expected;
        } rows[] = {
            {"V(BUF)", a},           {"V(NOT)", 1 - a},           {"V(AND2)", a & b},
            {"V(OR2)", a | b},       {"V(XOR2)", a ^ b},          {"V(NAND2)", 1 - (a & b)},
            {"V(AND3)", a & b & x},  {"V(OR3)", a | b | x},       {"V(XOR3)", a ^ b ^ x},
            {"V(NOR3)", 1 - (a | b | x)}, {"V(COR)", a | b | x},  {"V(CXOR)", a ^ b ^ x},
            {"V(TWO)", a + b + x == 2 ? 1 : 0},
        };
        for (const auto& row : rows) {
            EXPECT_EQ(LevelAt(c, row.trace, t), row.expected) << row.trace << " a=" << a << " b=" << b << " c=" << x;
            EXPECT_DOUBLE_EQ(c.At(row.trace, t), row.expected) << row.trace;
        }
        // An output on an electrical node holds its level against a load.
        EXPECT_NEAR(std::fabs(c.At("I(RL)", t)), (a & b) * kHigh / 1000.0, 1e-12) << t;
    }
    for (int combination = 0; combination < 8; ++combination) EXPECT_TRUE(seen[combination]) << combination;
}

// Rising clock at 0.25 ms + k ms; D is 0, 1, 0, 0 (a pulse between edges), 1
// at those edges.
TEST(Logic, FlipFlopsTakeTheirInputsAtTheActiveEdgeAfterTheirDelay) {
    Circuit c(TestCircuit("logic_flipflops.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(5e-3));
    const Series ff = c.Read("V(FF)");
    ExpectEdgesAt(ff, +1, {1.25e-3 + 10e-6, 4.25e-3 + 10e-6}, "FF rising");
    ExpectEdgesAt(ff, -1, {2.25e-3 + 10e-6}, "FF falling");
    // The state reading shows the level taken at the edge while the output
    // still waits for its delay.
    EXPECT_EQ(c.At("S(FF)", 1.255e-3), 1.0);
    EXPECT_EQ(LevelAt(c, "V(FF)", 1.255e-3), 0);
    EXPECT_EQ(c.At("S(FF)", 1.2e-3), 0.0);

    // Falling clock active (view 2); rising output at once, falling after Down.
    const Series ffn = c.Read("V(FFN)");
    ExpectEdgesAt(ffn, +1, {0.75e-3, 2.75e-3, 4.75e-3}, "FFN rising");
    ExpectEdgesAt(ffn, -1, {1.75e-3 + 30e-6, 3.75e-3 + 30e-6}, "FFN falling");

    // Set and reset override the clock; after a set the first clock reading
    // is no edge.
    const std::pair<double, int> rs[] = {{1.0e-3, 0}, {1.5e-3, 1}, {2.4e-3, 0}, {2.6e-3, 1},
                                         {3.0e-3, 1}, {3.4e-3, 0}, {3.6e-3, 0}, {4.5e-3, 1}};
    for (const auto& [t, level] : rs) EXPECT_EQ(LevelAt(c, "V(RS)", t), level) << t;

    // J and K high: the flip-flop toggles at every rising edge.
    const Series jk = c.Read("V(JK)");
    ExpectEdgesAt(jk, +1, {0.25e-3 + 5e-6, 2.25e-3 + 5e-6, 4.25e-3 + 5e-6}, "JK rising");
    ExpectEdgesAt(jk, -1, {1.25e-3 + 5e-6, 3.25e-3 + 5e-6}, "JK falling");

    // Set and reset together with dominance 0 hold Q high; released, Q falls.
    EXPECT_EQ(LevelAt(c, "V(RSD)", 2.0e-3), 0);
    EXPECT_EQ(LevelAt(c, "V(RSD)", 2.6e-3), 1);
    EXPECT_EQ(LevelAt(c, "V(RSD)", 3.0e-3), 0);

    // A pulse generator under a logic control runs only while the control
    // (S, high from 2.5 ms to 2.7 ms) is high, and is idle before and after.
    // It starts at the control's edge, an event, and stops at its end.
    const Series pulses = c.Read("V(CP)");
    ExpectEdgesAt(pulses, +1, {2.5e-3, 2.56e-3, 2.62e-3, 2.68e-3}, "CP rising");
    ExpectEdgesAt(pulses, -1, {2.53e-3, 2.59e-3, 2.65e-3, 2.7e-3}, "CP falling");
    EXPECT_EQ(LevelAt(c, "V(CP)", 2.4e-3), 0);
    EXPECT_EQ(LevelAt(c, "V(CP)", 2.8e-3), 0);
    // "High" ignores the view.
    EXPECT_EQ(LevelAt(c, "V(HIGHINV)", 1e-3), 1);
}

TEST(Logic, RingOfThreeInvertersOscillatesWithSixDelays) {
    Circuit c(Example("ring_oscillator.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(100e-6));
    constexpr double d = 1e-6;
    const Series u3 = c.Read("V(U3)");
    const std::vector<double> rising = Edges(u3, +1), falling = Edges(u3, -1);
    ASSERT_GE(rising.size(), 15u);
    ASSERT_GE(falling.size(), 15u);
    for (size_t i = 0; i < rising.size(); ++i) EXPECT_NEAR(rising[i], d + 6 * d * i, 1e-12 * rising[i]) << i;
    for (size_t i = 0; i < falling.size(); ++i) EXPECT_NEAR(falling[i], 4 * d + 6 * d * i, 1e-12 * falling[i]) << i;

    // Saving the state as initial conditions keeps each output's level.
    ASSERT_EQ(QZ3_SaveIC(c.ncir), 0) << QZ3_GetError();
    char text[32];
    for (const char* name : {"U1", "U2", "U3"}) {
        const std::string trace = std::string("V(") + name + ")";
        ASSERT_GE(QZ3_GetText(c.ncir, (std::string(name) + ".IC").c_str(), text, sizeof text), 0) << QZ3_GetError();
        EXPECT_STREQ(text, c.Last(trace.c_str()) > kThr ? "High" : "Low") << name;
    }
}

// Rising clock edges at 0.5 us + k us; each flip-flop waits 10 ns.
TEST(Logic, FourBitCounterCountsAndWraps) {
    Circuit c(Example("counter4.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(40e-6));
    for (int k = 0; k < 38; ++k) {
        const double t = 0.5e-6 + k * 1e-6 + 0.25e-6;
        const int count = LevelAt(c, "V(Q0)", t) + 2 * LevelAt(c, "V(Q1)", t) + 4 * LevelAt(c, "V(Q2)", t) +
                          8 * LevelAt(c, "V(Q3)", t);
        EXPECT_EQ(count, (k + 1) % 16) << "after edge " << k;
    }
    // Bit i is a square wave of period 2^(i+1) clock periods, its edges a
    // chain of i + 1 delays behind the clock.
    const char* bits[] = {"V(Q0)", "V(Q1)", "V(Q2)", "V(Q3)"};
    for (int i = 0; i < 4; ++i) {
        const double period = 1e-6 * (2 << i);
        const std::vector<double> rising = Edges(c.Read(bits[i]), +1);
        ASSERT_GE(rising.size(), 2u) << bits[i];
        const double first = 0.5e-6 + (period / 2 - 1e-6) + 10e-9 * (i + 1);
        for (size_t n = 0; n < rising.size(); ++n)
            EXPECT_NEAR(rising[n], first + n * period, 1e-12 * rising[n]) << bits[i] << " edge " << n;
    }
}

// Thresholds on a 1 kHz sine of amplitude 1: 0.5 is crossed at 1/12 and
// 5/12 of the period; a hysteresis of 1 around 0 switches at +-0.5.
TEST(Logic, ThresholdGeneratorsSwitchAtTheCrossings) {
    Circuit c(TestCircuit("logic_threshold.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(2e-3));
    // A crossing is bracketed down to the smallest step, an eighth of the
    // step; the last point with the old level lies within it, before it.
    const double p = 1e-3, located = 0.125 * 10e-6;
    auto near = [&](const char* trace, int direction, std::vector<double> expected) {
        const std::vector<double> edges = Edges(c.Read(trace), direction);
        ASSERT_EQ(edges.size(), expected.size()) << trace;
        for (size_t i = 0; i < edges.size(); ++i) {
            EXPECT_LE(edges[i], expected[i] * (1 + 1e-12)) << trace << " " << i;
            EXPECT_GE(edges[i], expected[i] - located) << trace << " " << i;
        }
    };
    near("V(G)", +1, {p / 12, p + p / 12});
    near("V(G)", -1, {5 * p / 12, p + 5 * p / 12});
    near("V(GH)", +1, {p / 12, p + p / 12});
    near("V(GH)", -1, {7 * p / 12, p + 7 * p / 12});
    near("V(GI)", +1, {p / 12, p + p / 12});
    const double up = std::asin(0.4) / (2 * kPi) * p;
    near("V(ST)", +1, {up, p + up});
    near("V(ST)", -1, {p / 2 + up, 1.5 * p + up});
}

// A cycled table lands a point on each pair time of every turn, the wrap
// at the end of a turn included, for a source and for a logic generator.
TEST(Logic, CycledListLandsOnEveryPairTime) {
    Circuit c(TestCircuit("logic_list_cycle.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(10e-3));
    const Series v = c.Read("V(V1)");
    for (int k = 1; k <= 9; ++k) {
        const double corner = k * 1e-3;
        const bool landed =
            std::any_of(v.t.begin(), v.t.end(), [&](double t) { return std::fabs(t - corner) <= 1e-12 * corner; });
        EXPECT_TRUE(landed) << corner;
    }
    const Series level = c.Read("V(L)");
    ExpectEdgesAt(level, +1, {1e-3, 2.5e-3, 4e-3, 5.5e-3, 7e-3, 8.5e-3}, "L rising");
    ExpectEdgesAt(level, -1, {2e-3, 3e-3, 5e-3, 6e-3, 8e-3, 9e-3}, "L falling");
}

TEST(Logic, BadParametersRefuseTheRunWithTheirLines) {
    Circuit c(TestCircuit("logic_bad.qz3"));
    EXPECT_EQ(QZ3_SetText(c.ncir, "G2.Up", "=nosuch*2"), -1);  // kept, with its error flag
    EXPECT_EQ(StartError(c),
              "QZ3_Start: CG : at least one input is needed\nFF : Delay < 0\nG2 : Up : formula error\n"
              "G2 : Down < 0\nOS : Width < 0\nST : Hysteresis < 0\nVG : Hysteresis < 0\n");
}

// A gate's output on a node that a voltage source holds: two outputs.
TEST(Logic, GateOutputOnASourceNodeIsAShortCircuit) {
    Circuit c(TestCircuit("logic_short.qz3"));
    const bool failed = QZ3_Start(c.ncir) != 0 || QZ3_Simulate(c.ncir, 1e-4) != 0;
    EXPECT_TRUE(failed);
    const std::string error = QZ3_GetError();
    EXPECT_NE(error.find("Short circuit: V1, U1"), std::string::npos) << error;
}

TEST(Logic, LoopWithoutDelayEndsInTheSearchesMessage) {
    Circuit c(TestCircuit("logic_zero_delay_ring.qz3"));
    const auto begin = std::chrono::steady_clock::now();
    // The operating point already can't settle: the start or the run fails.
    const bool failed = QZ3_Start(c.ncir) != 0 || QZ3_Simulate(c.ncir, 1e-3) != 0;
    EXPECT_TRUE(failed);
    const std::string error = QZ3_GetError();
    EXPECT_NE(error.find("No solution  while calculating switching triggered by U"), std::string::npos) << error;
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
}

TEST(Logic, FailingFormulaStopsTheRunWithTheEvaluatorsText) {
    Circuit c(TestCircuit("logic_bad_formula.qz3"));
    QZ3_START_OR_SKIP(c);
    EXPECT_NE(QZ3_Simulate(c.ncir, 1e-3), 0);
    const std::string error = QZ3_GetError();
    EXPECT_EQ(error.rfind("QZ3_Simulate: F : ", 0), 0u) << error;
    EXPECT_NE(error.find("nosuchname"), std::string::npos) << error;
}

TEST(Logic, ParametersSurviveSaveAndReopen) {
    const std::string copy = ::testing::TempDir() + "logic_flipflops_copy.qz3";
    const std::pair<const char*, const char*> texts[] = {
        {"RSD.Dominance", "Both"}, {"RS.Dominance", "Reset"}, {"JK.IC", "High"}, {"FF.IC", "Low"},
        {"D.List", "0 0, 0.5e-3 1, 1.7e-3 0, 2.6e-3 1, 2.8e-3 0, 3.9e-3 1, 5e-3 1"},
    };
    const std::pair<const char*, double> values[] = {{"FF.Delay", 12e-6}, {"FFN.Down", 30e-6}, {"FFN.Up", 0.0}};
    {
        Circuit c(TestCircuit("logic_flipflops.qz3"));
        ASSERT_EQ(QZ3_SetText(c.ncir, "JK.IC", "High"), 0) << QZ3_GetError();
        ASSERT_EQ(QZ3_SetText(c.ncir, "RS.Dominance", "Reset"), 0) << QZ3_GetError();
        ASSERT_EQ(QZ3_SetValue(c.ncir, "FF.Delay", 12e-6), 0) << QZ3_GetError();
        ASSERT_EQ(QZ3_SaveAs(c.ncir, copy.c_str()), 0) << QZ3_GetError();
    }
    Circuit c(copy);
    char text[256];
    for (const auto& [name, expected] : texts) {
        ASSERT_GE(QZ3_GetText(c.ncir, name, text, sizeof text), 0) << name << QZ3_GetError();
        EXPECT_STREQ(text, expected) << name;
    }
    for (const auto& [name, expected] : values) {
        double v = NAN;
        ASSERT_EQ(QZ3_GetValue(c.ncir, name, &v), 0) << name << QZ3_GetError();
        EXPECT_EQ(v, expected) << name;
    }
    // The reopened file runs as the original: JK now starts high.
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(1e-3));
    EXPECT_EQ(LevelAt(c, "V(JK)", 0.1e-3), 1);
    EXPECT_EQ(LevelAt(c, "V(JK)", 0.5e-3), 0);
    std::remove(copy.c_str());
}

}  // namespace
