// Traces recorded by a running simulation, read back through the C
// interface: an RC discharge with time constant 1 ms from 1 V.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

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

// A run of several blocks of points, read back one point at a time: every
// point is the exponential, the times rise, and a read between two points
// (also two on either side of a block boundary) interpolates between them.
TEST_F(TraceRun, LongRunReadsBackPointByPointAcrossBlocks) {
    ASSERT_EQ(QZ3_Simulate(ncir, 10 * kTau), 0) << QZ3_GetError();
    const int count = QZ3_GetDataSize(ncir, v);
    ASSERT_GT(count, 3 * 256) << QZ3_GetError();
    std::vector<double> times(count), values(count);
    for (int i = 0; i < count; ++i) {
        ASSERT_EQ(QZ3_GetDataAt(ncir, v, i, &times[i], &values[i]), 0) << i << ": " << QZ3_GetError();
        EXPECT_NEAR(values[i], std::exp(-times[i] / kTau), 1e-4) << i;
        if (i > 0) ASSERT_GT(times[i], times[i - 1]) << i;
    }
    EXPECT_NEAR(times.back(), 10 * kTau, 1e-9);
    for (int i = 0; i + 1 < count; ++i) {
        const double middle = (times[i] + times[i + 1]) / 2;
        EXPECT_NEAR(At(v, middle), (values[i] + values[i + 1]) / 2, 1e-15) << i;
    }
    double t = 0, value = 0;
    ASSERT_EQ(QZ3_GetLastData(ncir, v, &t, &value), 0);
    EXPECT_EQ(t, times.back());
    EXPECT_EQ(value, values.back());
    EXPECT_EQ(QZ3_GetDataAt(ncir, v, count, &t, &value), -1);
    EXPECT_EQ(std::string(QZ3_GetError()), "QZ3_GetDataAt: no data at requested index");
}

// Points before the start time aren't kept: each one takes the place of the
// first point, so the run begins with the last of them and goes on from the
// start time, block after block.
TEST(TraceRunHeldStart, PointsBeforeTheStartReplaceTheFirstOne) {
    const int ncir = QZ3_Open(CircuitPath("trace_rc_held_start.qz3").c_str());
    ASSERT_GE(ncir, 0) << QZ3_GetError();
    const int v = QZ3_GetTrace(ncir, "V(C1)");
    ASSERT_GE(v, 0) << QZ3_GetError();
    if (QZ3_Start(ncir) != 0 && std::string(QZ3_GetError()).find("not available in this build") != std::string::npos) {
        QZ3_Close(ncir);
        GTEST_SKIP() << "no transient run in this build";
    }
    constexpr double kStart = 2e-3, kStep = 10e-6;
    ASSERT_EQ(QZ3_Simulate(ncir, 8e-3), 0) << QZ3_GetError();
    const int count = QZ3_GetDataSize(ncir, v);
    ASSERT_GT(count, 2 * 256);
    double t = 0, value = 0;
    ASSERT_EQ(QZ3_GetDataAt(ncir, v, 0, &t, &value), 0) << QZ3_GetError();
    EXPECT_LT(t, kStart);
    EXPECT_GT(t, kStart - 2 * kStep);
    EXPECT_NEAR(value, std::exp(-t / kTau), 1e-4);
    ASSERT_EQ(QZ3_GetDataAt(ncir, v, 1, &t, &value), 0) << QZ3_GetError();
    EXPECT_GE(t, kStart * (1 - 1e-12));
    EXPECT_LT(t, kStart + 2 * kStep);
    double last = t;
    for (int i = 2; i < count; ++i) {
        ASSERT_EQ(QZ3_GetDataAt(ncir, v, i, &t, &value), 0) << QZ3_GetError();
        ASSERT_GT(t, last) << i;
        EXPECT_NEAR(value, std::exp(-t / kTau), 1e-4) << i;
        last = t;
    }
    EXPECT_EQ(QZ3_GetData(ncir, v, kStart / 2, &value), -1);
    QZ3_Close(ncir);
}

}  // namespace
