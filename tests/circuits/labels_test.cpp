// Labels through the C interface: a label that drives its node, one that
// gives a capacitor its start, one with a waveform, and a plain label read
// as a co-simulation output.
#include <gtest/gtest.h>

#include <cmath>

#include "circuit_run.h"
#include "qz3.h"

using qz3test::Circuit;
using qz3test::TestCircuit;

// SUPPLY drives 3 V into 1 kOhm and 1 uF; START draws the capacitor to 1 V
// for the operating point only, so it charges from about 1 V.
// OUT reads the capacitor's node.
TEST(Labels, DriveStartAndReadTheirNodes) {
    Circuit c(TestCircuit("labels.qz3"));
    const int out = QZ3_GetOutput(c.ncir, "OUT");
    ASSERT_GE(out, 0) << QZ3_GetError();
    const int wave = QZ3_AddVTrace(c.ncir, "WAVE");
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    // The pull of 1 V through 1 Ohm against 3 V through 1 kOhm.
    const double start = (3.0 / 1e3 + 1.0) / (1.0 / 1e3 + 1.0);
    for (double t : {0.5e-3, 1e-3, 2e-3}) {
        double now = 0, v = 0;
        QZ3_GetSimulationTime(c.ncir, &now);
        ASSERT_EQ(QZ3_SimulateInterval(c.ncir, t - now), 0) << QZ3_GetError();
        ASSERT_EQ(QZ3_GetOutputValue(c.ncir, out, &v), 0);
        EXPECT_NEAR(v, 3 - (3 - start) * std::exp(-t / 1e-3), 1e-4) << t;
    }
    double v = 0;
    ASSERT_EQ(QZ3_GetData(c.ncir, wave, 0.25e-3, &v), 0);
    EXPECT_EQ(v, 1.0);
    ASSERT_EQ(QZ3_GetData(c.ncir, wave, 0.75e-3, &v), 0);
    EXPECT_EQ(v, 0.0);
}
