// The delay element and the lossless line through the C interface: a ramp
// delayed by 1 ms, and a 50 Ohm line of 0.1 ms from a 50 Ohm source into a
// matched, an open and a shorted end.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>

#include "circuit_run.h"
#include "qz3.h"

namespace {

using qz3test::Circuit;
using qz3test::TestCircuit;

std::string WithLoad(const char* load) {
    std::ifstream in(TestCircuit("lines.qz3"));
    std::stringstream text;
    text << in.rdbuf();
    std::string s = text.str();
    s.replace(s.find("LOAD"), 4, load);
    const std::string path = ::testing::TempDir() + "lines_" + load + ".qz3";
    std::ofstream(path) << s;
    return path;
}

}  // namespace

TEST(Lines, DelayRepeatsItsInputOneDelayLater) {
    Circuit c(WithLoad("50"));
    const int out = QZ3_AddVTrace(c.ncir, "RD");
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(c.ncir, 5e-3), 0) << QZ3_GetError();
    const int count = QZ3_GetDataSize(c.ncir, out);
    ASSERT_GT(count, 1000);
    for (int i = 0; i < count; ++i) {
        double t = 0, v = 0;
        ASSERT_EQ(QZ3_GetDataAt(c.ncir, out, i, &t, &v), 0);
        EXPECT_NEAR(v, t <= 1e-3 ? 0.0 : (t - 1e-3) * 1000, 1e-6) << t;
    }
    // A new delay set between runs is the one the next run uses.
    ASSERT_EQ(QZ3_SetValue(c.ncir, "D1.t", 2e-3), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(c.ncir, 3e-3), 0) << QZ3_GetError();
    EXPECT_NEAR(c.ValueAt(out, 2.5e-3), 0.5, 1e-6);
    EXPECT_NEAR(c.ValueAt(out, 1.5e-3), 0.0, 1e-9);
}

// The source steps to 1 V at 1 ms; the line's near end sees half of it.
// Matched, the far end gets the same half after the delay; open, it doubles
// and the near end follows a delay later; shorted, the far end stays at 0
// and the near end falls back to 0.
TEST(Lines, LosslessLineBouncesAsTheBounceDiagramSays) {
    const struct {
        const char* load;
        double far, nearAfter;
    } cases[] = {{"50", 0.5, 0.5}, {"1e9", 1.0, 1.0}, {"1e-9", 0.0, 0.0}};
    for (const auto& k : cases) {
        Circuit c(WithLoad(k.load));
        const int near = QZ3_AddVTrace(c.ncir, "RIN"), far = QZ3_AddVTrace(c.ncir, "RL");
        ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
        ASSERT_EQ(QZ3_Simulate(c.ncir, 1.5e-3), 0) << QZ3_GetError();
        EXPECT_NEAR(c.ValueAt(near, 0.99e-3), 0.0, 1e-6) << k.load;
        EXPECT_NEAR(c.ValueAt(near, 1.05e-3), 0.5, 1e-6) << k.load;
        EXPECT_NEAR(c.ValueAt(far, 1.05e-3), 0.0, 1e-6) << k.load;
        EXPECT_NEAR(c.ValueAt(far, 1.15e-3), k.far, 1e-6) << k.load;
        EXPECT_NEAR(c.ValueAt(near, 1.25e-3), k.nearAfter, 1e-6) << k.load;
        // The edge arrives as sharp as it left: the source's corner at 1 ms
        // is a time point at the far end at 1.1 ms, and the step after it
        // as long as the first step at the source.
        EXPECT_NEAR(c.ValueAt(far, 1.1e-3), 0.0, 1e-9) << k.load;
        EXPECT_NEAR(c.ValueAt(far, 1.1e-3+ 0.25e-6), k.far, 1e-6) << k.load;
    }
}

// A lossy line (10 Ohm of series loss in all, no shunt loss) between 50 Ohm
// ends: the step arrives after the delay, weaker than the lossless half,
// and settles at the divider 50 / (50 + 10 + 50).
TEST(Lines, LossyLineAttenuatesAndSettlesAtItsResistance) {
    Circuit c(TestCircuit("lines_lossy.qz3"));
    const int far = QZ3_AddVTrace(c.ncir, "RL");
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(c.ncir, 5e-3), 0) << QZ3_GetError();
    EXPECT_NEAR(c.ValueAt(far, 1.09e-3), 0.0, 1e-9);
    const double arrived = c.ValueAt(far, 1.15e-3);
    EXPECT_LT(arrived, 0.5);
    EXPECT_GT(arrived, 0.44);
    double t = 0, v = 0;
    ASSERT_EQ(QZ3_GetLastData(c.ncir, far, &t, &v), 0);
    EXPECT_NEAR(v / (50.0 / 110.0), 1.0, 5e-3);
}

// A source of 150 Ohm into a 50 Ohm line of 0.1 ms left open: the wave of
// 0.25 V doubles at the open end and comes back to be reflected by half at
// the source, so each level of the bounce diagram is the sum of a geometric
// series: near 0.25, 0.625, 0.8125; far 0.5, 0.75, 0.875, tending to 1 V.
TEST(Lines, MismatchedEndsGiveEveryLevelOfTheBounceDiagram) {
    Circuit c(WithLoad("1e9"));
    ASSERT_EQ(QZ3_SetValue(c.ncir, "RS.R", 150.0), 0) << QZ3_GetError();
    const int near = QZ3_AddVTrace(c.ncir, "RIN"), far = QZ3_AddVTrace(c.ncir, "RL");
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(c.ncir, 1.7e-3), 0) << QZ3_GetError();
    const double T = 1e-4, start = 1e-3;
    const double nearLevels[] = {0.25, 0.25, 0.625, 0.625, 0.8125, 0.8125};
    const double farLevels[] = {0.0, 0.5, 0.5, 0.75, 0.75, 0.875};
    for (int k = 0; k < 6; ++k) {
        const double t = start + (k + 0.5) * T;
        EXPECT_NEAR(c.ValueAt(near, t), nearLevels[k], 1e-6) << k;
        EXPECT_NEAR(c.ValueAt(far, t), farLevels[k], 1e-6) << k;
    }
}

// The impedance and the delay set through the C interface between runs:
// 50 Ohm at both ends of a 150 Ohm line of 0.2 ms reflect by -1/2 at each
// end, from a first wave of 0.75 V.
TEST(Lines, LineParametersSetBetweenRunsAreUsed) {
    Circuit c(WithLoad("50"));
    const int near = QZ3_AddVTrace(c.ncir, "RIN"), far = QZ3_AddVTrace(c.ncir, "RL");
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(c.ncir, 1.5e-3), 0) << QZ3_GetError();
    EXPECT_NEAR(c.ValueAt(far, 1.4e-3), 0.5, 1e-6);
    ASSERT_EQ(QZ3_SetValue(c.ncir, "TL.z", 150.0), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_SetText(c.ncir, "TL.t", "0.2m"), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(c.ncir, 1.8e-3), 0) << QZ3_GetError();
    EXPECT_NEAR(c.ValueAt(near, 1.1e-3), 0.75, 1e-6);
    EXPECT_NEAR(c.ValueAt(far, 1.1e-3), 0.0, 1e-9);
    EXPECT_NEAR(c.ValueAt(far, 1.3e-3), 0.375, 1e-6);
    EXPECT_NEAR(c.ValueAt(near, 1.5e-3), 0.5625, 1e-6);
    EXPECT_NEAR(c.ValueAt(far, 1.7e-3), 0.46875, 1e-6);
}

// Delays and lines refuse what they can't model, each with its own line,
// and run again once the value is mended.
TEST(Lines, BadDelaysAndLinesGiveTheirMessages) {
    struct Case {
        const char* file;
        const char* name;
        double value;
        const char* error;
    };
    const double nan = std::nan(""), inf = INFINITY;
    const Case cases[] = {
        {"lines.qz3", "D1.t", -1e-3, "QZ3_Start: D1 : t < 0\n"},
        {"lines.qz3", "TL.t", -1e-3, "QZ3_Start: TL : t < 0\n"},
        {"lines.qz3", "TL.z", -50, "QZ3_Start: TL : z0 < 0\n"},
        {"lines_lossy.qz3", "TL.z", 0, "QZ3_Start: TL : z0 = 0\n"},
        {"lines_lossy.qz3", "TL.z", inf, "QZ3_Start: TL : z0 = infinite\n"},
        {"lines_lossy.qz3", "TL.z", -1, "QZ3_Start: TL : z0 < 0\n"},
        {"lines_lossy.qz3", "TL.t", 0, "QZ3_Start: TL : t <= 0\nTL : t <= 0.0\n"},
        // Ten million sections of one step each: more than one line may hold.
        {"lines_lossy.qz3", "TL.t", 10.0, "QZ3_Start: TL : No enough memory\n"},
        {"lines_lossy.qz3", "TL.r", -1, "QZ3_Start: TL : r < 0\n"},
        {"lines_lossy.qz3", "TL.rf", 0, "QZ3_Start: TL : fr <= 0\n"},
        {"lines_lossy.qz3", "TL.g", -1, "QZ3_Start: TL : G < 0\n"},
        {"lines_lossy.qz3", "TL.gf", -1, "QZ3_Start: TL : fG <= 0\n"},
    };
    // A time that is no number is refused where it is set.
    {
        Circuit c(TestCircuit("lines.qz3"));
        for (const char* name : {"D1.t", "TL.t"}) {
            EXPECT_EQ(QZ3_SetValue(c.ncir, name, nan), -1) << name;
            EXPECT_EQ(std::string(QZ3_GetError()), "QZ3_SetValue: value = NaN") << name;
        }
        EXPECT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    }
    for (const Case& k : cases) {
        Circuit c(TestCircuit(k.file));
        double good = 0;
        ASSERT_EQ(QZ3_GetValue(c.ncir, k.name, &good), 0) << QZ3_GetError();
        ASSERT_EQ(QZ3_SetValue(c.ncir, k.name, k.value), 0) << k.name << QZ3_GetError();
        EXPECT_NE(QZ3_Start(c.ncir), 0) << k.name;
        EXPECT_EQ(std::string(QZ3_GetError()), k.error) << k.name;
        ASSERT_EQ(QZ3_SetValue(c.ncir, k.name, good), 0) << QZ3_GetError();
        EXPECT_EQ(QZ3_Start(c.ncir), 0) << k.name << ": " << QZ3_GetError();
        EXPECT_EQ(QZ3_Simulate(c.ncir, 1e-4), 0) << k.name << ": " << QZ3_GetError();
    }
}
