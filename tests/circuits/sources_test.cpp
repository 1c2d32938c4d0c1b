// Whole circuits driven by the sources, through the C interface: corners
// of the waveforms land on time points, the responses follow their
// analytic forms, and bad tables and parameters refuse the run with their
// message. Until the build has the transient loop and the traces these
// tests are skipped.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "qz3.h"

namespace {

constexpr double kPi = 3.14159265358;

std::string CircuitPath(const char* file) { return std::string(QZ3_TEST_DATA_DIR) + "/circuits/" + file; }

bool Unavailable() { return std::string(QZ3_GetError()).find("not available in this build") != std::string::npos; }

using Points = std::vector<std::pair<double, double>>;

class Sources : public ::testing::Test {
protected:
    void TearDown() override {
        if (m_Cir >= 0) QZ3_Close(m_Cir);
    }

    // Marks the test skipped when a call failed for want of its subsystem.
    bool SkippedFor(int result) {
        if (result >= 0 || !Unavailable()) return false;
        Skip();
        return true;
    }
    void Skip() { GTEST_SKIP() << QZ3_GetError(); }

    void Open(const char* file) {
        m_Cir = QZ3_Open(CircuitPath(file).c_str());
        ASSERT_GE(m_Cir, 0) << QZ3_GetError();
    }

    // The voltage trace of a component; skips the test in a build without traces.
    int VTrace(const char* name) {
        const int handle = QZ3_AddVTrace(m_Cir, name);
        if (!SkippedFor(handle)) EXPECT_GE(handle, 0) << QZ3_GetError();
        return handle;
    }

    // Starts the run; skips the test in a build without the transient loop.
    int Start() {
        const int result = QZ3_Start(m_Cir);
        SkippedFor(result);
        return result;
    }

    void Run(double interval) {
        const int result = Start();
        if (IsSkipped()) return;
        ASSERT_EQ(result, 0) << QZ3_GetError();
        ASSERT_EQ(QZ3_Simulate(m_Cir, interval), 0) << QZ3_GetError();
    }

    Points Read(int trace) {
        Points points;
        const int count = QZ3_GetDataSize(m_Cir, trace);
        EXPECT_GT(count, 0) << QZ3_GetError();
        for (int i = 0; i < count; ++i) {
            double t = 0, v = 0;
            EXPECT_EQ(QZ3_GetDataAt(m_Cir, trace, i, &t, &v), 0) << QZ3_GetError();
            points.emplace_back(t, v);
        }
        return points;
    }

    bool Stop() const { return IsSkipped() || HasFatalFailure(); }

    int m_Cir = -1;
};

bool HasTimePoint(const Points& points, double corner) {
    for (const auto& [t, v] : points)
        if (std::fabs(t - corner) <= std::fabs(corner) * 1e-12) return true;
    return false;
}

TEST_F(Sources, PulseCornersAreTimePointsAndTheRcResponseIsExponential) {
    Open("src_pulse_rc.qz3");
    const int vc = VTrace("C1");
    if (Stop()) return;
    Run(3.05e-3);
    if (Stop()) return;
    const Points points = Read(vc);
    std::vector<std::pair<double, double>> edges;  // time, new level
    for (int n = 0; n < 3; ++n) {
        edges.emplace_back(n * 1e-3 + 0.1e-3, 1.0);
        edges.emplace_back(n * 1e-3 + 0.5e-3, 0.0);
    }
    for (const auto& [corner, level] : edges) EXPECT_TRUE(HasTimePoint(points, corner)) << corner;

    // Between corners the capacitor relaxes to the level with tau = 100 us.
    const double tau = 1e3 * 100e-9;
    for (const auto& [t, v] : points) {
        double vc0 = 0.0, since = 0.0, level = 0.0, expected = 0.0;
        for (const auto& [corner, next] : edges) {
            if (corner > t) break;
            vc0 = level + (vc0 - level) * std::exp(-(corner - since) / tau);
            since = corner;
            level = next;
        }
        expected = level + (vc0 - level) * std::exp(-(t - since) / tau);
        EXPECT_NEAR(v, expected, 2e-4) << t;
    }
}

TEST_F(Sources, SineWithPhaseDecayAndDelayAndALinearSweep) {
    Open("src_sin_sweep.qz3");
    const int sine = VTrace("R1");
    const int sweep = VTrace("R2");
    if (Stop()) return;
    Run(12e-3);
    if (Stop()) return;
    const double d = 0.2e-3, p = 1e-3;
    const Points sinePoints = Read(sine);
    EXPECT_TRUE(HasTimePoint(sinePoints, d));
    for (const auto& [t, v] : sinePoints) {
        const double expected =
            t < d ? 0.5 : 0.5 + 2.0 * std::exp(-200.0 * (t - d)) * std::sin((30.0 / 360.0 + (t - d) / p) * 2 * kPi);
        EXPECT_NEAR(v, expected, 1e-9) << t;
    }
    // 100 Hz to 1 kHz in 10 ms is 5.5 cycles: the end frequency is raised
    // to 1100 Hz, so that 6 whole cycles fit.
    const double w = 10e-3, fa = 100.0, fb = 1100.0;
    const Points sweepPoints = Read(sweep);
    EXPECT_TRUE(HasTimePoint(sweepPoints, w));
    for (const auto& [t, v] : sweepPoints) {
        const double cycles = t * t * 0.5 / w * (fb - fa) + fa * t;
        const double expected = t > 0.0 && t < w ? std::sin(cycles * 6.28318530716) : 0.0;
        EXPECT_NEAR(v, expected, 1e-9) << t;
    }
}

double CycledTable(const std::vector<std::pair<double, double>>& table, double t) {
    const double first = table.front().first, span = table.back().first - first;
    const double y = std::fmod(t - first, span) + first;
    for (size_t i = 0; i + 1 < table.size(); ++i) {
        const auto& [t0, v0] = table[i];
        const auto& [t1, v1] = table[i + 1];
        if (y >= t0 && y <= t1) return t1 > t0 ? v0 + (v1 - v0) * (y - t0) / (t1 - t0) : v0;
    }
    return table.back().second;
}

TEST_F(Sources, ListAndFileTablesAreFollowedPointByPointWithCycle) {
    Open("src_tables.qz3");
    const int list = VTrace("R1");
    const int file = VTrace("R2");
    if (Stop()) return;
    Run(7.5e-3);
    if (Stop()) return;
    const std::vector<std::pair<double, double>> table = {{0, 0}, {1e-3, 1}, {2e-3, 1}, {3e-3, -0.5}};
    const Points listPoints = Read(list), filePoints = Read(file);
    for (double corner : {1e-3, 2e-3, 3e-3, 4e-3, 5e-3, 6e-3, 7e-3}) {
        EXPECT_TRUE(HasTimePoint(listPoints, corner)) << corner;
        EXPECT_TRUE(HasTimePoint(filePoints, corner)) << corner;
    }
    for (const auto& [t, v] : listPoints) EXPECT_NEAR(v, CycledTable(table, t), 1e-9) << t;
    // The file feeds a current source into 1 kOhm.
    for (const auto& [t, v] : filePoints) EXPECT_NEAR(v, 1e3 * CycledTable(table, t), 1e-6) << t;
}

TEST_F(Sources, FunctionIsEvaluatedAtEveryStep) {
    Open("src_function.qz3");
    const int out = VTrace("R1");
    if (Stop()) return;
    Run(40e-3);
    if (Stop()) return;
    const Points points = Read(out);
    EXPECT_GT(points.size(), 300u);
    for (const auto& [t, v] : points) {
        // Comparisons of the formula language allow 1e-12 relative, so the
        // step that lands a hair past 1 ms still reads (t>1m) as false.
        const bool after = t > 1e-3 && std::fabs(t - 1e-3) > 1e-3 * 1e-12;
        const double expected = after ? std::sin(2 * kPi * 50 * t) : 0.0;
        EXPECT_NEAR(v, expected, 1e-9) << t;
    }
}

TEST_F(Sources, ControlledSourceStartsOnTheRisingControlAndNotBefore) {
    Open("src_controlled.qz3");
    const int out = VTrace("R1");
    if (Stop()) return;
    Run(4e-3);
    if (Stop()) return;
    const Points points = Read(out);
    EXPECT_TRUE(HasTimePoint(points, 2.5e-3));
    EXPECT_TRUE(HasTimePoint(points, 3e-3));
    for (const auto& [t, v] : points) {
        if (t < 2e-3) {
            EXPECT_EQ(v, 0.0) << t;
        } else if (t > 2e-3 * (1 + 1e-9) && t < 2.5e-3 * (1 - 1e-9)) {
            EXPECT_EQ(v, 1.0) << t;
        } else if (t > 2.5e-3 * (1 + 1e-9) && t < 3e-3 * (1 - 1e-9)) {
            EXPECT_EQ(v, 0.0) << t;
        } else if (t > 3e-3 * (1 + 1e-9) && t < 3.5e-3 * (1 - 1e-9)) {
            EXPECT_EQ(v, 1.0) << t;
        }
    }
}

TEST_F(Sources, SignalParametersAreReachableByName) {
    Open("src_pulse_rc.qz3");
    double v = 0;
    ASSERT_EQ(QZ3_GetValue(m_Cir, "V1.Period", &v), 0) << QZ3_GetError();
    EXPECT_EQ(v, 1e-3);
    ASSERT_EQ(QZ3_SetValue(m_Cir, "V1.Width", 250e-6), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_GetValue(m_Cir, "V1.Width", &v), 0) << QZ3_GetError();
    EXPECT_EQ(v, 250e-6);
    char text[64];
    ASSERT_GT(QZ3_GetText(m_Cir, "V1.Slope", text, sizeof text), 0) << QZ3_GetError();
    EXPECT_STREQ(text, "Linear");
    EXPECT_EQ(QZ3_GetValue(m_Cir, "V1.V", &v), -1);  // a pulse has no constant value
    EXPECT_NE(std::string(QZ3_GetError()).find("not found"), std::string::npos) << QZ3_GetError();
}

TEST_F(Sources, BadInputRefusesTheRunWithItsMessage) {
    const struct {
        const char* file;
        const char* message;
    } rows[] = {
        {"src_bad_params.qz3", "I1 : Decay < 0\nV1 : Period <= 0\n"},
        {"src_bad_missing_file.qz3", "V1 : File not found"},
        {"src_bad_no_file_name.qz3", "V1 : No file name"},
        {"src_bad_empty_file.qz3", "V1 : Empty file 'src_table_empty.txt'"},
        {"src_bad_text_file.qz3", "V1 : Error: "},
        {"src_trace_missing.qz3", "V1 : Trace Nope not found\n"},
        {"src_trace_nodata.qz3", "V1 : Trace const: no data\n"},
    };
    for (const auto& row : rows) {
        Open(row.file);
        if (Stop()) return;
        const int result = Start();
        if (Stop()) return;
        EXPECT_EQ(result, -1) << row.file;
        const std::string error = QZ3_GetError();
        EXPECT_EQ(error.rfind("QZ3_Start: ", 0), 0u) << error;
        EXPECT_NE(error.find(row.message), std::string::npos) << row.file << ": " << error;
        QZ3_Close(m_Cir);
        m_Cir = -1;
    }
}

TEST_F(Sources, OddListsUnsortedTablesAndWidePulsesRunToTheEnd) {
    for (const char* file : {"src_odd_list.qz3", "src_unsorted_file.qz3", "src_wide_pulse.qz3"}) {
        Open(file);
        const int out = VTrace("R1");
        if (Stop()) return;
        const auto begin = std::chrono::steady_clock::now();
        Run(10e-3);
        if (Stop()) return;
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10)) << file;
        double t = 0, v = 0;
        ASSERT_EQ(QZ3_GetLastData(m_Cir, out, &t, &v), 0) << QZ3_GetError();
        EXPECT_NEAR(t, 10e-3, 1e-12) << file;
        EXPECT_LT(QZ3_GetDataSize(m_Cir, out), 20000) << file;  // no run of zero-length steps
        QZ3_Close(m_Cir);
        m_Cir = -1;
    }
}

}  // namespace

namespace {

// A voltage source with both pins on one node: a constant other than 0 is a
// short circuit; a waveform there must end its run one way or the other.
TEST_F(Sources, SourceShortedOnItselfEndsTheRun) {
    Open("src_shorted_v.qz3");
    const int result = Start();
    if (Stop()) return;
    EXPECT_EQ(result, -1);
    EXPECT_NE(std::string(QZ3_GetError()).find("V1 : Short circuit"), std::string::npos) << QZ3_GetError();
    QZ3_Close(m_Cir);
    Open("src_shorted_pulse.qz3");
    const int started = Start();
    if (Stop()) return;
    const int ran = started == 0 ? QZ3_Simulate(m_Cir, 1e-3) : started;
    EXPECT_EQ(ran, -1);  // the pulse rises into the short circuit
    EXPECT_NE(std::string(QZ3_GetError()).find("V1"), std::string::npos) << QZ3_GetError();
}

}  // namespace

namespace {

// Saving the state of a running pulse moves its delay so that a run from 0
// finds the pulse where the old run left it: 2.5 ms into a 1 ms period
// delayed by 0.1 ms gives -0.4 ms.
TEST_F(Sources, SaveICShiftsThePulseDelayByTheRunTime) {
    Open("src_pulse_rc.qz3");
    const int started = Start();
    if (Stop()) return;
    ASSERT_EQ(started, 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_SimulateInterval(m_Cir, 2.5e-3), 0) << QZ3_GetError();
    double t = 0.0;
    ASSERT_EQ(QZ3_GetSimulationTime(m_Cir, &t), 0);
    ASSERT_NEAR(t, 2.5e-3, 1e-15);
    const int saved = QZ3_SaveIC(m_Cir);
    if (SkippedFor(saved)) return;
    ASSERT_EQ(saved, 0) << QZ3_GetError();
    double delay = 0.0;
    ASSERT_EQ(QZ3_GetValue(m_Cir, "V1.Delay", &delay), 0) << QZ3_GetError();
    EXPECT_NEAR(delay, -0.4e-3, 1e-15);
}

}  // namespace
