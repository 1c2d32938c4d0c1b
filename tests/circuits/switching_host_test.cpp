// Switching circuits given bad input, and runs whose parameters the host
// changes between two simulate calls.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "circuit_run.h"

namespace {

using qz3test::Circuit;
using qz3test::Series;
using qz3test::TestCircuit;

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// Value of the series at the first recorded time at or after t.
double FirstAtOrAfter(const Series& s, double t, double* when = nullptr) {
    for (size_t i = 0; i < s.size(); ++i)
        if (s.t[i] >= t) {
            if (when) *when = s.t[i];
            return s.y[i];
        }
    return NAN;
}

TEST(SwitchingInput, FaultyParametersAreAllListed) {
    Circuit c(TestCircuit("switching_bad_params.qz3"));
    const int rc = QZ3_Start(c.ncir);
    const std::string error = QZ3_GetError();
    QZ3_SKIP_IF_MISSING(error);
    EXPECT_EQ(rc, -1);
    EXPECT_EQ(error.rfind("QZ3_Start: ", 0), 0u) << error;
    EXPECT_TRUE(Contains(error, "T1 : K > 1\n")) << error;
    EXPECT_TRUE(Contains(error, "S1 : Hysteresis < 0\n")) << error;
    // A failed start leaves no run: simulating starts afresh and fails alike.
    EXPECT_EQ(QZ3_Simulate(c.ncir, 1e-4), -1);
    EXPECT_TRUE(Contains(QZ3_GetError(), "T1 : K > 1")) << QZ3_GetError();
}

TEST(SwitchingInput, InfiniteForwardDropNeverConducts) {
    Circuit c(TestCircuit("switching_vd_inf.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(1e-3));
    const Series v = c.Read("V(D1)"), i = c.Read("I(D1)");
    ASSERT_GT(v.size(), 2u);
    for (size_t k = 0; k < v.size(); ++k) {
        EXPECT_NEAR(v.y[k], 5.0, 1e-9) << v.t[k];
        EXPECT_EQ(i.y[k], 0.0) << i.t[k];
    }
}

TEST(SwitchingInput, CapacitorClosedOntoASourceTakesItsVoltage) {
    Circuit c(TestCircuit("switching_cap_onto_source.qz3"));
    QZ3_START_OR_SKIP(c);
    // C1 sits on the source from the start: its IC of 0 gives way silently.
    EXPECT_NEAR(c.At("V(C1)", 0.0), 10.0, 1e-9);
    EXPECT_NEAR(c.At("V(C2)", 0.0), 0.0, 1e-12);
    ASSERT_TRUE(c.RunTo(2e-3));
    EXPECT_STREQ(QZ3_GetError(), "OK");
    // C2 is switched onto the source at 1 ms and jumps to it.
    EXPECT_NEAR(c.At("V(C2)", 0.9e-3), 0.0, 1e-12);
    EXPECT_NEAR(c.At("V(C2)", 1.5e-3), 10.0, 1e-9);
    EXPECT_NEAR(c.Last("V(C1)"), 10.0, 1e-9);
}

// An ideal switch that opens in series with an inductor leaves its current
// nowhere to go: the Euler step behind the event takes it to zero at once,
// with the spike L*I/h across the inductor, and the run goes on.
TEST(SwitchingInput, InductorCutOpenLosesItsCurrentInOneStep) {
    constexpr double L = 1e-3, tCut = 1e-3;
    Circuit c(TestCircuit("switching_inductor_cut.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(2e-3));
    EXPECT_STREQ(QZ3_GetError(), "OK");
    const Series i = c.Read("I(L1)"), v = c.Read("V(L1)");
    // No IC: the inductor starts as a short, at the full current of 1 A.
    EXPECT_NEAR(std::fabs(c.At("I(L1)", tCut)), 1.0, 1e-9);
    double when = 0;
    EXPECT_EQ(FirstAtOrAfter(i, tCut * (1 + 1e-12), &when), 0.0);
    const double h = when - tCut;
    ASSERT_GT(h, 0.0);
    EXPECT_NEAR(std::fabs(FirstAtOrAfter(v, when)), L / h, 1e-6 * L / h);
    EXPECT_EQ(c.Last("I(L1)"), 0.0);
    EXPECT_NEAR(c.Last("V(L1)"), 0.0, 1e-9);
}

TEST(SwitchingHost, ResistanceChangeKeepsTheInductorCurrent) {
    constexpr double L = 1e-3;
    Circuit c(TestCircuit("switching_host_rl.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(1e-3));
    const double i0 = c.Last("I(L1)");
    EXPECT_NEAR(std::fabs(i0), 1 - std::exp(-10.0), 1e-5);

    ASSERT_EQ(QZ3_SetValue(c.ncir, "R1", 20.0), 0) << QZ3_GetError();
    ASSERT_TRUE(c.RunTo(1.5e-3));
    const Series i = c.Read("I(L1)");
    const double tau = L / 20.0, t0 = 1e-3;
    const double sign = i0 < 0 ? -1 : 1;
    double when = 0;
    const double first = FirstAtOrAfter(i, t0 * (1 + 1e-12), &when);
    EXPECT_NEAR(first, sign * (0.5 + (std::fabs(i0) - 0.5) * std::exp(-(when - t0) / tau)), 1e-5) << when;
    for (double dt : {10e-6, 50e-6, 100e-6, 400e-6}) {
        const double expected = sign * (0.5 + (std::fabs(i0) - 0.5) * std::exp(-dt / tau));
        EXPECT_NEAR(c.At("I(L1)", t0 + dt), expected, 1e-4) << dt;
    }
}

TEST(SwitchingHost, SwitchPositionChangeKeepsTheCapacitorVoltage) {
    constexpr double C = 1e-6, R = 1e3;
    Circuit c(TestCircuit("switching_host_rc.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(5e-3));
    const double v0 = c.Last("V(C1)");
    EXPECT_NEAR(v0, 5 * (1 - std::exp(-10.0)), 1e-5);

    // Active on: the switch follows its signal, which is low for a second.
    ASSERT_EQ(QZ3_SetValue(c.ncir, "S1.Active", 1), 0) << QZ3_GetError();
    ASSERT_TRUE(c.RunTo(7e-3));
    for (double dt : {0.0, 0.5e-3, 1e-3, 2e-3})
        EXPECT_NEAR(c.At("V(C1)", 5e-3 + dt), v0 * std::exp(-dt / (R * C)), 1e-4) << dt;
    const double v1 = c.Last("V(C1)");

    ASSERT_EQ(QZ3_SetValue(c.ncir, "S1.Active", 0), 0) << QZ3_GetError();
    ASSERT_TRUE(c.RunTo(9e-3));
    const double tau = 0.5 * R * C;
    for (double dt : {0.0, 0.5e-3, 2e-3})
        EXPECT_NEAR(c.At("V(C1)", 7e-3 + dt), 5 + (v1 - 5) * std::exp(-dt / tau), 1e-4) << dt;
}

}  // namespace
