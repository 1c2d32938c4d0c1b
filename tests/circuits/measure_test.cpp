// Cursor measurements read by formulas after a run, through the C
// interface: a sine against its analytic mean, RMS, frequency and integral,
// the buck converter's mean against the points it recorded, the slope of an
// RC low-pass in AC, and the texts of what can't be measured.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "circuit_run.h"
#include "qz3.h"

namespace {

using qz3test::Circuit;
using qz3test::TestCircuit;

// The formula "=<measure>" into the variable X, and X's value back.
double Measured(const Circuit& c, const std::string& measure) {
    const std::string formula = "=" + measure;
    EXPECT_EQ(QZ3_SetText(c.ncir, "X.Value", formula.c_str()), 0) << measure << ": " << QZ3_GetError();
    double value = NAN;
    EXPECT_EQ(QZ3_GetValue(c.ncir, "X.Value", &value), 0) << measure << ": " << QZ3_GetError();
    return value;
}

qz3test::Series Recorded(const Circuit& c, int trace) {
    qz3test::Series s;
    const int count = QZ3_GetDataSize(c.ncir, trace);
    for (int i = 0; i < count; ++i) {
        double t = 0, v = 0;
        EXPECT_EQ(QZ3_GetDataAt(c.ncir, trace, i, &t, &v), 0);
        s.t.push_back(t);
        s.y.push_back(v);
    }
    return s;
}

// A fresh run of 2 ms, whose mean is that of the points it recorded.
void RunTwoMillisecondsAndMeasureTheMean(const Circuit& c, int trace) {
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_SimulateInterval(c.ncir, 2e-3), 0) << QZ3_GetError();
    const qz3test::Series s = Recorded(c, trace);
    EXPECT_NEAR(Measured(c, "Vc.mean") / qz3test::MeanOver(s, 0, 2e-3), 1.0, 1e-11);
}

}  // namespace

// 0.5 + 2 sin(2 pi 1000 t) between the cursors at 1 ms and 3 ms.
TEST(Measure, SineBetweenTheCursorsAgainstItsAnalyticValues) {
    Circuit c(TestCircuit("measure_sine.qz3"));
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(c.ncir, 3.2e-3), 0) << QZ3_GetError();
    const double A = 2.0, B = 0.5;
    const struct {
        const char* word;
        double value;
    } rows[] = {
        {"mean", B},
        {"rms", std::sqrt(B * B + A * A / 2)},
        {"acrms", A / std::sqrt(2.0)},
        {"pp", 2 * A},
        {"max", B + A},
        {"min", B - A},
        {"freq", 1000.0},
        {"period", 1e-3},
        {"integral", B * 2e-3},
    };
    for (const auto& row : rows)
        EXPECT_NEAR(Measured(c, std::string("Vout.") + row.word) / row.value, 1.0, 1e-6) << row.word;
    EXPECT_NEAR(Measured(c, "Vout.left"), B, 1e-9);
    EXPECT_NEAR(Measured(c, "Vout.delta"), 0.0, 1e-9);
    EXPECT_EQ(Measured(c, "left"), 1e-3);
    EXPECT_EQ(Measured(c, "right"), 3e-3);
    EXPECT_NEAR(Measured(c, "delta"), 2e-3, 1e-18);
    EXPECT_NEAR(Measured(c, "VOUT.MEAN*2"), 2 * B, 1e-6);
    // A value at a time: a quarter period after 1 ms the sine is at its top.
    EXPECT_NEAR(Measured(c, "Vout.(1.25e-3)"), B + A, 1e-6);
    EXPECT_NEAR(Measured(c, "Vout.(1m + 0.25m)"), B + A, 1e-6);
}

// The mean between 9 and 10 ms is the time-weighted mean of the recorded
// points; asked again, it gives the same from the blocks' kept sums.
TEST(Measure, BuckMeanEqualsTheMeanOfItsRecordedPoints) {
    Circuit c(TestCircuit("measure_buck.qz3"));
    const int trace = QZ3_GetTrace(c.ncir, "Vout");
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(c.ncir, 11e-3), 0) << QZ3_GetError();
    const double expected = qz3test::MeanOver(Recorded(c, trace), 9e-3, 10e-3);
    const double first = Measured(c, "Vout.mean");
    EXPECT_NEAR(first / expected, 1.0, 1e-12);
    EXPECT_EQ(Measured(c, "Vout.mean"), first);
}

// Far above its corner an RC low-pass falls 20 dB per decade.
TEST(Measure, AcSlopeOfAnRcLowPassIsMinusTwentyDbPerDecade) {
    Circuit c(TestCircuit("measure_sine.qz3"));
    ASSERT_EQ(QZ3_CalcAC(c.ncir), 0) << QZ3_GetError();
    EXPECT_NEAR(Measured(c, "Vac.slope"), -20.0, 0.01);
    EXPECT_NEAR(Measured(c, "Vac.phase.right"), -89.99, 0.01);
    // A standing wave ratio has no slope: the formula finds no result.
    EXPECT_GT(Measured(c, "Swr.max"), 1.0);
    EXPECT_EQ(QZ3_SetText(c.ncir, "X.Value", "=Swr.slope"), -1);
}

// A word that isn't a measurement, a trace that doesn't exist and a trace
// without a run fail the formula with the evaluator's text.
TEST(Measure, UnknownWordsTracesAndEmptyRunsFail) {
    Circuit c(TestCircuit("measure_sine.qz3"));
    EXPECT_EQ(QZ3_SetText(c.ncir, "X.Value", "=Vout.mean"), -1);
    EXPECT_EQ(std::string(QZ3_GetError()),
              "QZ3_SetText: error in formula =Vout.mean : Wrong variable name or number format: 'Vout.mean'");
    ASSERT_EQ(QZ3_SetText(c.ncir, "X.Value", "0"), 0);
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(c.ncir, 1e-3), 0) << QZ3_GetError();
    EXPECT_EQ(QZ3_SetText(c.ncir, "X.Value", "=Vout.average"), -1);
    EXPECT_EQ(std::string(QZ3_GetError()),
              "QZ3_SetText: error in formula =Vout.average : Wrong variable name or number format: 'Vout.average'");
    EXPECT_EQ(QZ3_SetText(c.ncir, "X.Value", "=Vin.mean"), -1);
    EXPECT_EQ(std::string(QZ3_GetError()),
              "QZ3_SetText: error in formula =Vin.mean : Wrong variable name or number format: 'Vin.mean'");
}

// A file that places no cursors measures the whole run: three whole periods
// of the sine from 0 to 3 ms.
TEST(Measure, WithoutCursorsTheWholeRunIsMeasured) {
    Circuit c(TestCircuit("measure_sine_whole.qz3"));
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_SimulateInterval(c.ncir, 3e-3), 0) << QZ3_GetError();
    const double A = 2.0, B = 0.5;
    EXPECT_NEAR(Measured(c, "Vout.mean") / B, 1.0, 1e-6);
    EXPECT_NEAR(Measured(c, "Vout.rms") / std::sqrt(B * B + A * A / 2), 1.0, 1e-6);
    EXPECT_NEAR(Measured(c, "Vout.acrms") / (A / std::sqrt(2.0)), 1.0, 1e-6);
    EXPECT_NEAR(Measured(c, "Vout.freq") / 1000.0, 1.0, 1e-6);
    EXPECT_NEAR(Measured(c, "Vout.integral") / (B * 3e-3), 1.0, 1e-6);
    EXPECT_NEAR(Measured(c, "Vout.left"), B, 1e-9);
    EXPECT_NEAR(Measured(c, "Vout.right"), B, 1e-6);
    // The words without a trace are the cursors as they stand.
    EXPECT_EQ(Measured(c, "right"), 0.0);
}

// A function trace reads a measurement at every step: the largest value
// so far of the sine, which reaches its top a quarter period in.
TEST(Measure, FunctionTraceFollowsARunningMaximum) {
    Circuit c(TestCircuit("measure_sine_whole.qz3"));
    const int peak = QZ3_AddFuncTrace(c.ncir, "Vout.max");
    ASSERT_GE(peak, 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_SimulateInterval(c.ncir, 0.2e-3), 0) << QZ3_GetError();
    double t = 0, v = 0;
    ASSERT_EQ(QZ3_GetLastData(c.ncir, peak, &t, &v), 0) << QZ3_GetError();
    EXPECT_NEAR(v, 0.5 + 2 * std::sin(2 * 3.14159265358979 * 1000 * t), 1e-6);
    ASSERT_EQ(QZ3_SimulateInterval(c.ncir, 1e-3), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_GetLastData(c.ncir, peak, &t, &v), 0);
    EXPECT_NEAR(v, 2.5, 1e-6);
}

// A new run with the same count of points and the same last time measures
// its own points, not what the last run's measurement left.
TEST(Measure, ANewRunIsMeasuredAfresh) {
    Circuit c(TestCircuit("measure_rc.qz3"));
    const int trace = QZ3_GetTrace(c.ncir, "Vc");
    RunTwoMillisecondsAndMeasureTheMean(c, trace);
    // Twice the resistance: the same points in time, a slower filter. A
    // measurement can't be made of a run that has just been cleared, so the
    // formula goes before the restart.
    ASSERT_EQ(QZ3_SetText(c.ncir, "X.Value", "0"), 0);
    ASSERT_EQ(QZ3_SetValue(c.ncir, "R1.R", 2e3), 0) << QZ3_GetError();
    RunTwoMillisecondsAndMeasureTheMean(c, trace);
}

// Points dropped by DeleteOldData leave no kept sums behind in the blocks
// that then take the later points.
TEST(Measure, BlocksRefilledAfterDeleteOldDataAreMeasuredAfresh) {
    Circuit c(TestCircuit("measure_rc.qz3"));
    const int trace = QZ3_GetTrace(c.ncir, "Vc");
    RunTwoMillisecondsAndMeasureTheMean(c, trace);
    // Only the present point stays; the blocks take the next 2 ms.
    ASSERT_EQ(QZ3_DeleteOldData(c.ncir), 0);
    ASSERT_EQ(QZ3_SimulateInterval(c.ncir, 2e-3), 0) << QZ3_GetError();
    const qz3test::Series s = Recorded(c, trace);
    ASSERT_GT(s.size(), 512u);
    EXPECT_NEAR(Measured(c, "Vc.mean") / qz3test::MeanOver(s, s.t.front(), s.t.back()), 1.0, 1e-11);
    EXPECT_NEAR(Measured(c, "Vc.min") / *std::min_element(s.y.begin(), s.y.end()), 1.0, 1e-11);
}
