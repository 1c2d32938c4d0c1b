// Transient runs through the C interface, on schematics in tests/circuits.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "qz3.h"

namespace {

std::string CircuitPath(const char* file) { return std::string(QZ3_TEST_DATA_DIR) + "/circuits/" + file; }

class Run : public ::testing::Test {
protected:
    void Open(const char* file) {
        ncir = QZ3_Open(CircuitPath(file).c_str());
        ASSERT_GE(ncir, 0) << QZ3_GetError();
    }
    void TearDown() override {
        if (ncir >= 0) QZ3_Close(ncir);
    }
    double Time() {
        double t = -1.0;
        EXPECT_EQ(QZ3_GetSimulationTime(ncir, &t), 0);
        return t;
    }
    // The present voltage of a capacitor, read back through its IC.
    double Voltage(const char* cap) {
        EXPECT_EQ(QZ3_SaveIC(ncir), 0) << QZ3_GetError();
        double v = std::nan("");
        EXPECT_EQ(QZ3_GetValue(ncir, (std::string(cap) + ".IC").c_str(), &v), 0) << QZ3_GetError();
        return v;
    }
    std::string Error() const { return QZ3_GetError(); }

    int ncir = -1;
};

TEST_F(Run, CapacitorDischargeFollowsTheExponential) {
    Open("run_rc_discharge.qz3");
    ASSERT_EQ(QZ3_Start(ncir), 0) << Error();
    EXPECT_EQ(Error(), "OK");
    EXPECT_EQ(Time(), 0.0);
    ASSERT_EQ(QZ3_SimulateInterval(ncir, 1e-3), 0) << Error();
    EXPECT_DOUBLE_EQ(Time(), 1e-3);
    const double expected = std::exp(-Time() / 1e-3);
    EXPECT_NEAR(Voltage("C1") / expected - 1.0, 0.0, 1e-6);
}

TEST_F(Run, ResistiveNetworkSolvesAtTheOperatingPoint) {
    Open("run_divider.qz3");
    ASSERT_EQ(QZ3_Start(ncir), 0) << Error();
    EXPECT_NEAR(Voltage("CM"), 1.0, 1e-12);
    EXPECT_EQ(Voltage("CS"), 3.0);
}

TEST_F(Run, SimulateStopsAtOrAfterAndStepTurnsOnce) {
    Open("run_rc_discharge.qz3");
    // Without a start, the first call finds the operating point first.
    ASSERT_EQ(QZ3_Simulate(ncir, 1.23456e-4), 0) << Error();
    EXPECT_GE(Time(), 1.23456e-4);
    EXPECT_LT(Time(), 1.23456e-4 + 1e-6);
    const double before = Time();
    ASSERT_EQ(QZ3_SimulateStep(ncir), 0) << Error();
    EXPECT_GT(Time(), before);
    EXPECT_LE(Time(), before + 1e-6 * 1.000001);
    ASSERT_EQ(QZ3_Simulate(ncir, 0.0), 0);
    EXPECT_EQ(Error(), "OK");
    const double at = Time();
    EXPECT_EQ(QZ3_Simulate(ncir, std::nan("")), 0);
    EXPECT_EQ(Time(), at);
    // A restart goes back to time 0.
    ASSERT_EQ(QZ3_Start(ncir), 0);
    EXPECT_EQ(Time(), 0.0);
    ASSERT_EQ(QZ3_SimulateInterval(ncir, 1e-9), 0) << Error();
    EXPECT_DOUBLE_EQ(Time(), 1e-9);
    ASSERT_EQ(QZ3_SimulateInterval(ncir, 2.5e-9), 0) << Error();
    EXPECT_DOUBLE_EQ(Time(), 3.5e-9);
}

TEST_F(Run, MessagesOfBadCalls) {
    Open("run_rc_discharge.qz3");
    double t = 5.0;
    EXPECT_EQ(QZ3_GetSimulationTime(ncir, &t), 0);
    EXPECT_EQ(t, 0.0);
    EXPECT_EQ(Error(), "QZ3_GetSimulationTime: ");
    EXPECT_EQ(QZ3_GetSimulationTime(ncir, nullptr), -1);
    EXPECT_EQ(Error(), "QZ3_GetSimulationTime: NULL pointer");
    EXPECT_EQ(QZ3_SaveIC(ncir), -1);
    EXPECT_EQ(Error(), "QZ3_SaveIC: simulation not running");
    EXPECT_EQ(QZ3_Simulate(ncir, -1.0), -1);
    EXPECT_EQ(Error(), "QZ3_Simulate: interval < 0");
    EXPECT_EQ(QZ3_SimulateInterval(-77, -1.0), -1);
    EXPECT_EQ(Error(), "QZ3_SimulateInterval: interval < 0");
    EXPECT_EQ(QZ3_SetStep(ncir, 0.0), -1);
    EXPECT_EQ(Error(), "QZ3_SetStep: step <= 0");
    EXPECT_EQ(QZ3_SetStep(ncir, std::nan("")), -1);
    EXPECT_EQ(Error(), "QZ3_SetStep: step <= 0");
    EXPECT_EQ(QZ3_SetStep(ncir, 1e-6), 0);
    EXPECT_EQ(Error(), "OK");
    EXPECT_EQ(QZ3_SetTimeout(ncir, -3), 0);
    EXPECT_EQ(Error(), "OK");
    EXPECT_EQ(QZ3_Start(-77), -1);
    EXPECT_EQ(Error().rfind("QZ3_Start: ", 0), 0u);
}

TEST_F(Run, NewStepTakesEffectFromThePresentTime) {
    Open("run_rc_discharge.qz3");
    ASSERT_EQ(QZ3_SimulateInterval(ncir, 2e-4), 0) << Error();
    ASSERT_EQ(QZ3_SetStep(ncir, 4e-6), 0) << Error();
    ASSERT_EQ(QZ3_SimulateStep(ncir), 0);  // the turn that only prepares
    EXPECT_DOUBLE_EQ(Time(), 2e-4);
    ASSERT_EQ(QZ3_SimulateInterval(ncir, 8e-4), 0) << Error();
    EXPECT_DOUBLE_EQ(Time(), 1e-3);
    EXPECT_NEAR(Voltage("C1") / std::exp(-1.0) - 1.0, 0.0, 1e-5);
    // A changed resistance rebuilds at the present time too.
    ASSERT_EQ(QZ3_SetValue(ncir, "R1", 2e3), 0) << Error();
    ASSERT_EQ(QZ3_SimulateInterval(ncir, 1e-3), 0) << Error();
    EXPECT_DOUBLE_EQ(Time(), 2e-3);
    EXPECT_NEAR(Voltage("C1") / std::exp(-1.5) - 1.0, 0.0, 1e-5);
}

TEST_F(Run, FailedRunIsOverAndTheNextStartsAtZero) {
    Open("run_bad_step.qz3");
    EXPECT_EQ(QZ3_Start(ncir), -1);
    EXPECT_EQ(Error(), "QZ3_Start: step <= 0");
    EXPECT_EQ(QZ3_Simulate(ncir, 1e-3), -1);
    EXPECT_EQ(Error(), "QZ3_Simulate: step <= 0");
    ASSERT_EQ(QZ3_SetStep(ncir, 1e-5), 0);
    ASSERT_EQ(QZ3_SimulateInterval(ncir, 1e-4), 0) << Error();
    EXPECT_DOUBLE_EQ(Time(), 1e-4);
    // A formula fault fails the start with the component's words; the run
    // is over, and the next good one begins at 0 again.
    EXPECT_EQ(QZ3_SetText(ncir, "C1.C", "=nosuch*2"), -1);  // kept, with its error flag
    EXPECT_EQ(QZ3_Start(ncir), -1);
    EXPECT_EQ(Error(), "QZ3_Start: C1 : C : formula error\n");
    double t = 1.0;
    EXPECT_EQ(QZ3_GetSimulationTime(ncir, &t), 0);
    EXPECT_EQ(t, 0.0);
    EXPECT_EQ(QZ3_SimulateInterval(ncir, 1e-4), -1);
    EXPECT_EQ(Error(), "QZ3_SimulateInterval: C1 : C : formula error\n");
    ASSERT_EQ(QZ3_SetText(ncir, "C1.C", "1u"), 0) << Error();
    ASSERT_EQ(QZ3_SimulateInterval(ncir, 1e-4), 0) << Error();
    EXPECT_DOUBLE_EQ(Time(), 1e-4);
}

TEST_F(Run, EmptyCircuitAndFloatingCapacitorsRun) {
    Open("doc_minimal.qz3");
    ASSERT_EQ(QZ3_Start(ncir), 0) << Error();
    ASSERT_EQ(QZ3_Simulate(ncir, 1e-3), 0) << Error();
    EXPECT_GE(Time(), 1e-3);
}

}  // namespace
