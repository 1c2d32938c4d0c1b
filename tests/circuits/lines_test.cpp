// The delay element and the lossless line through the C interface: a ramp
// delayed by 1 ms, and a 50 Ohm line of 0.1 ms from a 50 Ohm source into a
// matched, an open and a shorted end.
#include <gtest/gtest.h>

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
