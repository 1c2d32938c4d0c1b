// Traces a host adds to a running RC circuit, and traces deleted or saved
// with their points while the file holds a digital trace behind an analog
// one (loading moves the digital one to the front of the list).
// VG = 1 V charges C1 = 1 uF through R1 = 1 kOhm from 0 V: tau = 1 ms.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "circuit_run.h"
#include "qz3.h"
#include "test_files.h"

namespace {

using qz3::test::ReadBytes;

using qz3test::Circuit;
using qz3test::TestCircuit;

constexpr double kTau = 1e-3;
constexpr double kTol = 1e-4;  // trapezoidal steps of 10 us

double Charge(double t) { return 1.0 - std::exp(-t / kTau); }

int CountOf(const std::string& text, const std::string& piece) {
    int n = 0;
    for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) ++n;
    return n;
}

// The "size" of the Data record inside the Trace element that holds key.
int RecordedSize(const std::string& text, const std::string& key) {
    size_t at = text.find(key);
    if (at == std::string::npos) return -1;
    size_t end = text.find("</Trace>", at);
    size_t size = text.find("size=\"", at);
    if (size == std::string::npos || size > end) return -1;
    return std::atoi(text.c_str() + size + 6);
}

double ValueAt(int ncir, int trace, double t) {
    double value = NAN;
    EXPECT_EQ(QZ3_GetData(ncir, trace, t, &value), 0) << QZ3_GetError();
    return value;
}

TEST(TraceHost, ComponentTracesOfSourcesAndCapacitors) {
    Circuit c(TestCircuit("trace_host_rc.qz3"));
    const int vIn = QZ3_AddVTrace(c.ncir, "VG");
    EXPECT_EQ(std::string(QZ3_GetError()), "OK");
    const int iIn = QZ3_AddITrace(c.ncir, "VG");
    const int pIn = QZ3_AddPTrace(c.ncir, "VG");
    const int vCap = QZ3_AddVTrace(c.ncir, "C1");
    const int iCap = QZ3_AddITrace(c.ncir, "C1");
    for (int handle : {vIn, iIn, pIn, vCap, iCap}) ASSERT_GE(handle, 0);
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(3 * kTau));
    for (double t : {0.5e-3, 1e-3, 2.5e-3}) {
        const double current = std::exp(-t / kTau) * 1e-3;
        EXPECT_NEAR(ValueAt(c.ncir, vIn, t), 1.0, 1e-12) << t;
        EXPECT_NEAR(ValueAt(c.ncir, vCap, t), Charge(t), kTol) << t;
        EXPECT_NEAR(std::abs(ValueAt(c.ncir, iIn, t)), current, kTol * 1e-3) << t;
        EXPECT_NEAR(std::abs(ValueAt(c.ncir, pIn, t)), current, kTol * 1e-3) << t;
        EXPECT_NEAR(std::abs(ValueAt(c.ncir, iCap, t)), current, kTol * 1e-3) << t;
    }
}

// A formula names components through the evaluator's own V(), I() and P()
// when no trace of the list has that text as its expression.
TEST(TraceHost, FunctionTracesReadComponentsOfTheLiveSolution) {
    Circuit c(TestCircuit("trace_host_rc.qz3"));
    struct Row {
        const char* formula;
        double (*expected)(double t);
    };
    const Row rows[] = {
        {"V(C1)*2", [](double t) { return 2 * Charge(t); }},
        {"V(VG)-V(C1)", [](double t) { return 1 - Charge(t); }},
        {"V(R1)", [](double t) { return -(1 - Charge(t)); }},
        {"abs(I(R1))*1000", [](double t) { return 1 - Charge(t); }},
        {"P(R1)*1000", [](double t) { return (1 - Charge(t)) * (1 - Charge(t)); }},
        {"mV/1000+V(C1)", [](double t) { return 2 * Charge(t); }},
    };
    std::vector<int> handles;
    for (const Row& row : rows) {
        handles.push_back(QZ3_AddFuncTrace(c.ncir, row.formula));
        ASSERT_GE(handles.back(), 0) << row.formula << ": " << QZ3_GetError();
    }
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(2 * kTau));
    for (size_t i = 0; i < handles.size(); ++i) {
        EXPECT_GT(QZ3_GetDataSize(c.ncir, handles[i]), 50) << rows[i].formula;
        for (double t : {0.0, 0.3e-3, 1e-3, 2e-3})
            EXPECT_NEAR(ValueAt(c.ncir, handles[i], t), rows[i].expected(t), kTol) << rows[i].formula << " at " << t;
    }
}

TEST(TraceHost, ReadingsThatDoNotExistEndTheRun) {
    struct Row {
        const char* formula;
        const char* message;
    };
    const Row rows[] = {
        {"V(nothing)", "Unknown name 'nothing'"},
        {"I(Gain)*2", "I trace not supported by Gain"},
        {"1+V(Gain)", "V trace not supported by Gain"},
    };
    for (const Row& row : rows) {
        Circuit c(TestCircuit("trace_host_rc.qz3"));
        ASSERT_GE(QZ3_AddFuncTrace(c.ncir, row.formula), 0);
        const int started = QZ3_Start(c.ncir);
        const std::string error = QZ3_GetError();
        QZ3_SKIP_IF_MISSING(error);
        EXPECT_EQ(started, -1) << row.formula;
        EXPECT_NE(error.find(row.message), std::string::npos) << error;
    }
    Circuit c(TestCircuit("trace_host_rc.qz3"));
    EXPECT_EQ(QZ3_AddVTrace(c.ncir, "Gain"), -1);
    EXPECT_EQ(std::string(QZ3_GetError()), "QZ3_AddVTrace: V trace not allowed for component Gain");
}

TEST(TraceHost, DeletingTheDigitalTraceRemovesItsOwnElement) {
    Circuit c(TestCircuit("trace_host_rc.qz3"));
    ASSERT_EQ(QZ3_DeleteTrace(c.ncir, c.Trace("Vin")), 0) << QZ3_GetError();
    const std::string path = ::testing::TempDir() + "trace_host_deleted.qz3";
    ASSERT_EQ(QZ3_SaveAs(c.ncir, path.c_str()), 0) << QZ3_GetError();
    const std::string saved = ReadBytes(path);
    EXPECT_EQ(CountOf(saved, "<Trace "), 2);
    EXPECT_EQ(CountOf(saved, "name=\"Vin\""), 0);
    EXPECT_EQ(CountOf(saved, "name=\"Vout\""), 1);
    EXPECT_EQ(CountOf(saved, "name=\"mV\""), 1);

    // An added trace goes behind the file's own and is deleted as itself.
    const int added = QZ3_AddVTrace(c.ncir, "VG");
    ASSERT_GE(added, 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_DeleteTrace(c.ncir, c.Trace("Vout")), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_SaveAs(c.ncir, path.c_str()), 0) << QZ3_GetError();
    const std::string again = ReadBytes(path);
    EXPECT_EQ(CountOf(again, "<Trace "), 2);
    EXPECT_EQ(CountOf(again, "name=\"Vout\""), 0);
    EXPECT_EQ(CountOf(again, "expr=\"V(VG)\""), 1);
    EXPECT_EQ(CountOf(again, "name=\"mV\""), 1);
}

TEST(TraceHost, StoredPointsFollowTheTracesOfTheirElements) {
    Circuit c(TestCircuit("trace_host_rc.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(kTau));
    const int out = QZ3_GetDataSize(c.ncir, c.Trace("Vout"));
    const int in = QZ3_GetDataSize(c.ncir, c.Trace("Vin"));
    const int mv = QZ3_GetDataSize(c.ncir, c.Trace("mV"));
    ASSERT_GT(out, 50);
    ASSERT_LE(in, 3);  // a constant compresses
    const std::string path = ::testing::TempDir() + "trace_host_stored.qz3";
    ASSERT_EQ(QZ3_SaveAs(c.ncir, path.c_str()), 0) << QZ3_GetError();
    const std::string saved = ReadBytes(path);
    EXPECT_EQ(RecordedSize(saved, "name=\"Vout\""), out);
    EXPECT_EQ(RecordedSize(saved, "name=\"Vin\""), in);
    EXPECT_EQ(RecordedSize(saved, "name=\"mV\""), mv);

    // The block behind the zero byte holds the runs in the file's order:
    // Vout first, which starts at 0 V, then Vin at 1 V.
    const size_t zero = saved.find('\0');
    ASSERT_NE(zero, std::string::npos);
    ASSERT_EQ(saved.size() - zero - 1, static_cast<size_t>(out + in + mv) * 2 * sizeof(double));
    std::vector<double> points(static_cast<size_t>(out + in + mv) * 2);
    std::memcpy(points.data(), saved.data() + zero + 1, points.size() * sizeof(double));
    EXPECT_EQ(points[0], 0.0);
    EXPECT_NEAR(points[1], 0.0, 1e-12);
    EXPECT_NEAR(points[2 * out - 1], Charge(kTau), kTol);
    EXPECT_NEAR(points[2 * out + 1], 1.0, 1e-12);
}

}  // namespace
