// Traces recorded by a running simulation, read back through the C
// interface: an RC discharge with time constant 1 ms from 1 V.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "qz3.h"

namespace {

std::string CircuitPath(const char* file) { return std::string(QZ3_TEST_DATA_DIR) + "/circuits/" + file; }

constexpr double kTau = 1e-3;

class TraceRun : public ::testing::Test {
protected:
    void SetUp() override {
        ncir = QZ3_Open(CircuitPath("trace_rc_discharge.qz3").c_str());
        ASSERT_GE(ncir, 0) << QZ3_GetError();
        v = QZ3_GetTrace(ncir, "V(C1)");
        ASSERT_GE(v, 0) << QZ3_GetError();
        if (QZ3_Start(ncir) != 0 && std::string(QZ3_GetError()).find("not available in this build") != std::string::npos)
            GTEST_SKIP() << "no transient run in this build";
        ASSERT_EQ(std::string(QZ3_GetError()), "OK");
    }
    void TearDown() override { QZ3_Close(ncir); }

    double At(int trace, double t) {
        double value = NAN;
        EXPECT_EQ(QZ3_GetData(ncir, trace, t, &value), 0) << QZ3_GetError();
        return value;
    }
    int Trace(const char* name) {
        int handle = QZ3_GetTrace(ncir, name);
        EXPECT_GE(handle, 0) << QZ3_GetError();
        return handle;
    }

    int ncir = -1;
    int v = -1;
};

TEST_F(TraceRun, StartRecordsTheOperatingPoint) {
    double t = -1, value = -1;
    ASSERT_EQ(QZ3_GetLastData(ncir, v, &t, &value), 0) << QZ3_GetError();
    EXPECT_EQ(t, 0.0);
    EXPECT_NEAR(value, 1.0, 1e-12);
    EXPECT_EQ(QZ3_GetDataSize(ncir, v), 1);
}

TEST_F(TraceRun, DischargeFollowsTheExponential) {
    ASSERT_EQ(QZ3_Simulate(ncir, 3 * kTau), 0) << QZ3_GetError();
    // Trapezoidal steps of 10 us: the error is far below 1e-4 of the value.
    for (double t : {0.25e-3, 1e-3, 2e-3, 3e-3}) EXPECT_NEAR(At(v, t), std::exp(-t / kTau), 1e-4) << t;
    double value = 0;
    EXPECT_EQ(QZ3_GetData(ncir, v, 4e-3, &value), -1);
    EXPECT_EQ(std::string(QZ3_GetError()), "QZ3_GetData: no data at requested time");
}

TEST_F(TraceRun, ConstantTraceKeepsThreePointsAtMost) {
    ASSERT_EQ(QZ3_Simulate(ncir, 3 * kTau), 0) << QZ3_GetError();
    int constant = Trace("const");
    EXPECT_LE(QZ3_GetDataSize(ncir, constant), 3);
    EXPECT_GT(QZ3_GetDataSize(ncir, v), 100);
    double t = 0, value = 0;
    ASSERT_EQ(QZ3_GetLastData(ncir, constant, &t, &value), 0);
    EXPECT_NEAR(t, 3 * kTau, 1e-9);
    EXPECT_EQ(value, 2.5);
    EXPECT_EQ(At(constant, 1.7e-3), 2.5);
}

TEST_F(TraceRun, FunctionTraceIsComputedFromTheOthers) {
    ASSERT_EQ(QZ3_Simulate(ncir, 2 * kTau), 0) << QZ3_GetError();
    int power = Trace("pw");
    int current = Trace("I(R1)");
    int count = QZ3_GetDataSize(ncir, power);
    ASSERT_GT(count, 10);
    for (int i = 0; i < count; i += count / 10) {
        double t = 0, p = 0;
        ASSERT_EQ(QZ3_GetDataAt(ncir, power, i, &t, &p), 0) << QZ3_GetError();
        double expected = At(v, t) * At(current, t);
        EXPECT_NEAR(p, expected, 1e-12 + 1e-9 * std::fabs(expected)) << t;
        // |P| of the resistor is V^2 / R.
        EXPECT_NEAR(std::fabs(p), At(v, t) * At(v, t) / 1e3, 1e-12) << t;
    }
}

TEST_F(TraceRun, TraceAddedMidRunHasNoEarlierPoints) {
    ASSERT_EQ(QZ3_Simulate(ncir, kTau), 0) << QZ3_GetError();
    int added = QZ3_AddFuncTrace(ncir, "V(C1)*1000");
    ASSERT_GE(added, 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(ncir, 2 * kTau), 0) << QZ3_GetError();
    double t = 0, value = 0;
    ASSERT_EQ(QZ3_GetDataAt(ncir, added, 0, &t, &value), 0) << QZ3_GetError();
    EXPECT_GE(t, kTau * (1 - 1e-9));
    EXPECT_EQ(QZ3_GetData(ncir, added, 0.5 * kTau, &value), -1);
    EXPECT_NEAR(At(added, 1.5 * kTau), 1000 * std::exp(-1.5), 0.1);
}

TEST_F(TraceRun, DeletingOldDataBoundsALongRun) {
    int most = 0;
    for (int k = 1; k <= 400; ++k) {
        ASSERT_EQ(QZ3_SimulateInterval(ncir, 0.1 * kTau), 0) << QZ3_GetError();
        ASSERT_EQ(QZ3_DeleteOldData(ncir), 0) << QZ3_GetError();
        int size = QZ3_GetDataSize(ncir, v);
        most = size > most ? size : most;
        // What a read at the present time needs is kept.
        double t = 0, value = 0;
        ASSERT_EQ(QZ3_GetLastData(ncir, v, &t, &value), 0) << QZ3_GetError();
        EXPECT_NEAR(t, 0.1 * kTau * k, 1e-9);
    }
    EXPECT_LE(most, 2);
}

}  // namespace
