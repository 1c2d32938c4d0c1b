// What a host hands over can't write outside its buffers, poison a run with
// numbers that aren't numbers, or keep a call from returning.
#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "qz3.h"

namespace {

const std::string kRc = std::string(QZ3_TEST_DATA_DIR) + "/circuits/cosim_rc.qz3";
const std::string kTinyPeriod = std::string(QZ3_TEST_DATA_DIR) + "/circuits/run_tiny_period.qz3";
constexpr double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::nan("");

std::string Error() { return QZ3_GetError(); }

double Value(int ncir, const char* name) {
    double v = -1;
    EXPECT_EQ(QZ3_GetValue(ncir, name, &v), 0) << Error();
    return v;
}

class HostGuard : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_GE(ncir = QZ3_Open(kRc.c_str()), 0) << Error(); }
    void TearDown() override { QZ3_Close(ncir); }
    int ncir = -1;
};

}  // namespace

// A negative length is no room at all: the buffer around the text keeps
// every byte, whatever the length's size.
TEST_F(HostGuard, NegativeLengthWritesNothing) {
    const int param = QZ3_GetParam(ncir, "R1.R");
    for (int length : {-1, -5, INT_MIN}) {
        char buffer[32];
        std::memset(buffer, '#', sizeof buffer);
        EXPECT_EQ(QZ3_GetText(ncir, "R1.R", buffer + 8, length), -1);
        EXPECT_EQ(Error(), "QZ3_GetText: length = 0");
        EXPECT_EQ(QZ3_GetParamText(ncir, param, buffer + 8, length), -1);
        EXPECT_EQ(Error(), "QZ3_GetParamText: length = 0");
        for (char c : buffer) EXPECT_EQ(c, '#') << length;
    }
    char small[4];
    EXPECT_EQ(QZ3_GetText(ncir, "R1.R", small, sizeof small), 5);  // "1e+3" and its NUL
    EXPECT_STREQ(small, "1e+");
}

// NaN is refused wherever it would reach the equations, and the value stays
// as it was; an initial condition takes it as "none". An infinite resistance
// is an open circuit and is kept; an infinite step or input is refused.
TEST_F(HostGuard, NonFiniteValuesAreRefusedWhereTheyMeanNothing) {
    const int param = QZ3_GetParam(ncir, "R1.R");
    EXPECT_EQ(QZ3_SetValue(ncir, "R1.R", kNaN), -1);
    EXPECT_EQ(Error(), "QZ3_SetValue: value = NaN");
    EXPECT_EQ(QZ3_SetParamValue(ncir, param, kNaN), -1);
    EXPECT_EQ(Error(), "QZ3_SetParamValue: value = NaN");
    EXPECT_EQ(Value(ncir, "R1.R"), 1e3);
    EXPECT_EQ(QZ3_SetValue(ncir, "C1.IC", kNaN), 0) << Error();
    EXPECT_TRUE(std::isnan(Value(ncir, "C1.IC")));

    const int input = QZ3_GetInput(ncir, "VIN");
    EXPECT_EQ(QZ3_SetInputValue(ncir, input, kNaN), -1);
    EXPECT_EQ(Error(), "QZ3_SetInputValue: value = NaN");
    EXPECT_EQ(QZ3_SetInputValue(ncir, input, -kInf), -1);
    EXPECT_EQ(Error(), "QZ3_SetInputValue: value = infinite");
    EXPECT_EQ(QZ3_SetStep(ncir, kInf), -1);
    EXPECT_EQ(Error(), "QZ3_SetStep: step = infinite");

    // The input keeps its last good value: 7 V through R1 into C1 (tau 100 us).
    ASSERT_EQ(QZ3_SetInputValue(ncir, input, 7.0), 0);
    const int vc = QZ3_AddVTrace(ncir, "C1");
    ASSERT_EQ(QZ3_SimulateInterval(ncir, 1e-3), 0) << Error();
    double t = 0, v = 0;
    ASSERT_EQ(QZ3_GetLastData(ncir, vc, &t, &v), 0);
    EXPECT_NEAR(v, 7.0, 1e-3);
    // R1 open: C1 holds what it has.
    ASSERT_EQ(QZ3_SetValue(ncir, "R1.R", kInf), 0) << Error();
    ASSERT_EQ(QZ3_SetInputValue(ncir, input, 0.0), 0);
    ASSERT_EQ(QZ3_SimulateInterval(ncir, 1e-3), 0) << Error();
    ASSERT_EQ(QZ3_GetLastData(ncir, vc, &t, &v), 0);
    EXPECT_NEAR(v, 7.0, 1e-3);
}

// A step no run could take to the end, a pulse shorter than the resolution
// of the time, and a host's time-out: each call comes back.
TEST_F(HostGuard, EveryCallComesBack) {
    const auto began = std::chrono::steady_clock::now();
    ASSERT_EQ(QZ3_SetStep(ncir, 1e-300), 0) << Error();
    EXPECT_EQ(QZ3_Simulate(ncir, 1e-3), -1);
    EXPECT_EQ(Error(), "QZ3_Simulate: interval of more than 1e12 steps");
    EXPECT_EQ(QZ3_SimulateInterval(ncir, 1e308), -1);
    EXPECT_EQ(Error(), "QZ3_SimulateInterval: interval of more than 1e12 steps");
    ASSERT_EQ(QZ3_SetStep(ncir, 2e-6), 0) << Error();
    EXPECT_EQ(QZ3_Simulate(ncir, kInf), -1);
    EXPECT_EQ(Error(), "QZ3_Simulate: interval = infinite");

    // 10 s in 1 ns steps is 10^10 steps: the time-out of 1 s ends the call,
    // the run stays open, and the next call goes on from there.
    ASSERT_EQ(QZ3_SetStep(ncir, 1e-9), 0);
    ASSERT_EQ(QZ3_SetTimeout(ncir, 1), 0);
    EXPECT_EQ(QZ3_Simulate(ncir, 10.0), -1);
    EXPECT_EQ(Error().rfind("QZ3_Simulate: Time-out at t = ", 0), 0u) << Error();
    double reached = 0;
    ASSERT_EQ(QZ3_GetSimulationTime(ncir, &reached), 0);
    EXPECT_GT(reached, 0.0);
    ASSERT_EQ(QZ3_SimulateInterval(ncir, 1e-6), 0) << Error();
    double now = 0;
    ASSERT_EQ(QZ3_GetSimulationTime(ncir, &now), 0);
    EXPECT_NEAR(now, reached + 1e-6, 1e-12);

    const int tiny = QZ3_Open(kTinyPeriod.c_str());
    ASSERT_GE(tiny, 0) << Error();
    EXPECT_EQ(QZ3_Simulate(tiny, 1e-3), -1);
    EXPECT_NE(Error().find("V1 : asks for a step below the resolution of the time"), std::string::npos) << Error();
    QZ3_Close(tiny);
    // Generous for a loaded machine: without the guards these calls never end.
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(60));
}
