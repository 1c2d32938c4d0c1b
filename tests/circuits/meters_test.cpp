// Meters, sample/hold, integrators and the coupler in one circuit, through
// the C interface, and the co-simulation outputs that read the meters.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "circuit_run.h"
#include "qz3.h"

namespace {

using qz3test::Circuit;
using qz3test::TestCircuit;

}  // namespace

TEST(Meters, IntegralSampleHoldMetersAndCouplerReadTheirValues) {
    Circuit c(TestCircuit("meters.qz3"));
    const int integral = QZ3_AddVTrace(c.ncir, "VM"), held = QZ3_AddVTrace(c.ncir, "VSH");
    const int current = QZ3_AddITrace(c.ncir, "AM"), power = QZ3_AddPTrace(c.ncir, "WM");
    const int forward = QZ3_AddVTrace(c.ncir, "RF"), backward = QZ3_AddVTrace(c.ncir, "RB");
    const int reset = QZ3_AddVTrace(c.ncir, "VR");
    const int seriesCurrent = QZ3_AddITrace(c.ncir, "R1"), loadPower = QZ3_AddPTrace(c.ncir, "R2");
    const int output = QZ3_GetOutput(c.ncir, "VM"), meterOutput = QZ3_GetOutput(c.ncir, "AM");
    ASSERT_GE(output, 0) << QZ3_GetError();
    ASSERT_GE(meterOutput, 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    for (double t : {0.3e-3, 0.7e-3, 1.6e-3}) {
        double now = 0;
        QZ3_GetSimulationTime(c.ncir, &now);
        ASSERT_EQ(QZ3_SimulateInterval(c.ncir, t - now), 0) << QZ3_GetError();
        // 2 V into K = 1 from 1 V: 1 + 2t, read by the output and the trace;
        // logically 1 once it passes the file's threshold of 1.001 V.
        double value = 0;
        ASSERT_EQ(QZ3_GetOutputValue(c.ncir, output, &value), 0);
        EXPECT_NEAR(value, 1 + 2 * t, 1e-9) << t;
        EXPECT_NEAR(c.ValueAt(integral, t), 1 + 2 * t, 1e-9) << t;
        int level = -1;
        ASSERT_EQ(QZ3_GetOutputLogicalValue(c.ncir, output, &level), 0);
        EXPECT_EQ(level, 1 + 2 * t > 1.001 ? 1 : 0) << t;
        // The amperemeter's output is its branch: the trace's current.
        ASSERT_EQ(QZ3_GetOutputValue(c.ncir, meterOutput, &value), 0);
        EXPECT_NEAR(value, c.ValueAt(current, t), 1e-12) << t;
    }
    // The IC until the first rising clock at 0.25 ms, then the ramp t*1000
    // taken at that edge (within the first step after it), held to the next.
    EXPECT_EQ(c.ValueAt(held, 0.2e-3), -1.0);
    EXPECT_NEAR(c.ValueAt(held, 0.9e-3), 0.25, 1e-3);
    EXPECT_NEAR(c.ValueAt(held, 1.6e-3), 1.25, 1e-3);
    // 2 mA through the amperemeter and R1 in series, with the sign R1's own
    // current has (counted from pin 1 to pin 0, as every two-pin current);
    // the wattmeter reads what its load R2 takes: 2 V across 500 Ohm, +8 mW.
    EXPECT_NEAR(c.ValueAt(current, 1e-3), -2e-3, 1e-12);
    EXPECT_NEAR(c.ValueAt(current, 1e-3), c.ValueAt(seriesCurrent, 1e-3), 1e-12);
    EXPECT_NEAR(c.ValueAt(power, 1e-3), 8e-3, 1e-12);
    EXPECT_NEAR(c.ValueAt(power, 1e-3), c.ValueAt(loadPower, 1e-3), 1e-12);
    // A matched load: with the branch current x[k] = -40 mA (it leaves pin 0),
    // pin 2 gets r (V + Z x[k]) / 2 = 0 and pin 3 r (V - Z x[k]) / 2 = 0.2 V,
    // r = 0.1 at 20 dB.
    EXPECT_NEAR(c.ValueAt(forward, 1e-3), 0.0, 1e-12);
    EXPECT_NEAR(c.ValueAt(backward, 1e-3), 0.2, 1e-12);
    // The integrator with a reset: 0 while the clock is high (0.25 to 0.75 ms),
    // then integrating 2 V/s from 0 again.
    EXPECT_NEAR(c.ValueAt(reset, 0.5e-3), 0.0, 1e-12);
    EXPECT_NEAR(c.ValueAt(reset, 1.0e-3), 2 * (1.0e-3 - 0.75e-3), 1e-6);
}
