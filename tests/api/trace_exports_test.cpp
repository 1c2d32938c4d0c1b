// Trace handles, added traces and data reads through the C interface, on a
// schematic in tests/circuits. Runs that record points are tested with the
// solver in tests/circuits/trace_run_test.cpp.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>

#include "qz3.h"
#include "test_files.h"

namespace {

using qz3::test::ReadBytes;

std::string CircuitPath(const char* file) { return std::string(QZ3_TEST_DATA_DIR) + "/circuits/" + file; }

std::string TempPath(const std::string& file) { return ::testing::TempDir() + file; }

void WriteBytes(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary);
    out << bytes;
}

int CountOf(const std::string& text, const std::string& piece) {
    int n = 0;
    for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) ++n;
    return n;
}

class TraceExports : public ::testing::Test {
protected:
    void SetUp() override {
        ncir = QZ3_Open(CircuitPath("trace_exports.qz3").c_str());
        ASSERT_GE(ncir, 0) << QZ3_GetError();
    }
    void TearDown() override { QZ3_Close(ncir); }

    std::string Error() const { return QZ3_GetError(); }
    int ncir = -1;
};

TEST_F(TraceExports, GetTraceGivesOneHandlePerTrace) {
    int v = QZ3_GetTrace(ncir, "V(R1)");
    ASSERT_GE(v, 0) << Error();
    EXPECT_EQ(Error(), "OK");
    EXPECT_EQ(QZ3_GetTrace(ncir, "v(r1)"), v);
    EXPECT_EQ(QZ3_GetTrace(ncir, "\"V(R1)\""), v);
    int named = QZ3_GetTrace(ncir, "DOUBLE");
    ASSERT_GE(named, 0) << Error();
    EXPECT_NE(named, v);
    // The expression of a named trace isn't its label.
    EXPECT_EQ(QZ3_GetTrace(ncir, "V(R1)*2"), -1);
    EXPECT_EQ(Error(), "QZ3_GetTrace: trace V(R1)*2 not found");
    // A trace that isn't kept is still in the set and answers.
    EXPECT_GE(QZ3_GetTrace(ncir, "scratch"), 0);

    struct Row {
        int ncir;
        const char* name;
        const char* message;
    };
    const Row rows[] = {
        {ncir, nullptr, "QZ3_GetTrace: NULL pointer"},
        {ncir, "", "QZ3_GetTrace: no trace name"},
        {ncir, "V(R2)", "QZ3_GetTrace: trace V(R2) not found"},
        {ncir, "V(R1).phase", "QZ3_GetTrace: trace V(R1).phase not found"},  // only AC traces have it
        {ncir + 1000, "V(R1)", "QZ3_GetTrace: wrong circuit handle"},
        {ncir + 1000, nullptr, "QZ3_GetTrace: NULL pointer"},  // the name is checked first
    };
    for (const Row& row : rows) {
        EXPECT_EQ(QZ3_GetTrace(row.ncir, row.name), -1);
        EXPECT_EQ(Error(), row.message);
    }
}

TEST_F(TraceExports, AddedTracesAndTheirMessages) {
    int file = QZ3_GetTrace(ncir, "double");
    int added = QZ3_AddFuncTrace(ncir, "V(R1)*2");
    ASSERT_GE(added, 0) << Error();
    EXPECT_EQ(Error(), "OK");
    EXPECT_NE(added, file);
    // The same text twice makes two traces with two handles.
    int again = QZ3_AddFuncTrace(ncir, "V(R1)*2");
    EXPECT_GT(again, added);
    int var = QZ3_AddVarTrace(ncir, "gain");
    EXPECT_GT(var, again) << Error();
    // A resistor offers all three readings.
    int current = QZ3_AddITrace(ncir, "R1");
    EXPECT_GT(current, var) << Error();
    int power = QZ3_AddPTrace(ncir, "R1");
    EXPECT_GT(power, current) << Error();
    EXPECT_GE(QZ3_GetTrace(ncir, "P(R1)"), 0) << Error();

    struct Row {
        int (*add)(int, const char*);
        const char* name;
        const char* message;
    };
    const Row rows[] = {
        {QZ3_AddVTrace, nullptr, "QZ3_AddVTrace: NULL pointer"},
        {QZ3_AddVTrace, "", "QZ3_AddVTrace: no trace name"},
        {QZ3_AddITrace, "", "QZ3_AddITrace: no trace name"},
        {QZ3_AddPTrace, "", "QZ3_AddPTrace: no trace name"},
        {QZ3_AddVarTrace, "", "QZ3_AddVarTrace: no trace name"},
        {QZ3_AddFuncTrace, "", "QZ3_AddFuncTrace: no trace function"},
        {QZ3_AddFuncTrace, nullptr, "QZ3_AddFuncTrace: NULL pointer"},
        {QZ3_AddVTrace, "R7", "QZ3_AddVTrace: component R7 not found"},
        {QZ3_AddITrace, "R7", "QZ3_AddITrace: component R7 not found"},
        {QZ3_AddVarTrace, "nothing", "QZ3_AddVarTrace: variable nothing not found"},
        // A variable has no voltage, current or power.
        {QZ3_AddVTrace, "Gain", "QZ3_AddVTrace: V trace not allowed for component Gain"},
        {QZ3_AddITrace, "Gain", "QZ3_AddITrace: I trace not allowed for component Gain"},
        {QZ3_AddPTrace, "Gain", "QZ3_AddPTrace: P trace not allowed for component Gain"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.add(ncir, row.name), -1);
        EXPECT_EQ(Error(), row.message);
    }
    EXPECT_EQ(QZ3_AddFuncTrace(ncir + 1000, "t"), -1);
    EXPECT_EQ(Error(), "QZ3_AddFuncTrace: wrong circuit handle");
}

TEST_F(TraceExports, ReadsBeforeAnyRun) {
    int v = QZ3_GetTrace(ncir, "V(R1)");
    ASSERT_GE(v, 0);
    double t = 7.0, value = 7.0;
    EXPECT_EQ(QZ3_GetDataSize(ncir, v), 0);
    EXPECT_EQ(Error(), "OK");
    EXPECT_EQ(QZ3_GetDataAt(ncir, v, 0, &t, &value), -1);
    EXPECT_EQ(Error(), "QZ3_GetDataAt: no data at requested index");
    EXPECT_EQ(QZ3_GetDataAt(ncir, v, -1, &t, &value), -1);
    EXPECT_EQ(Error(), "QZ3_GetDataAt: no data at requested index");
    EXPECT_EQ(QZ3_GetLastData(ncir, v, &t, &value), -1);
    EXPECT_EQ(Error(), "QZ3_GetLastData: no data");
    EXPECT_EQ(QZ3_GetData(ncir, v, 0.0, &value), -1);
    EXPECT_EQ(Error(), "QZ3_GetData: no data at requested time");
    EXPECT_EQ(QZ3_DeleteOldData(ncir), 0);
    EXPECT_EQ(Error(), "OK");

    // A trace added by the host has no run before the next one starts.
    int added = QZ3_AddFuncTrace(ncir, "t");
    EXPECT_EQ(QZ3_GetDataSize(ncir, added), 0);
    EXPECT_EQ(QZ3_GetLastData(ncir, added, &t, &value), -1);
    EXPECT_EQ(Error(), "QZ3_GetLastData: no data");

    EXPECT_EQ(QZ3_GetDataAt(ncir, v, 0, nullptr, &value), -1);
    EXPECT_EQ(Error(), "QZ3_GetDataAt: NULL pointer");
    EXPECT_EQ(QZ3_GetLastData(ncir, v, &t, nullptr), -1);
    EXPECT_EQ(Error(), "QZ3_GetLastData: NULL pointer");
    EXPECT_EQ(QZ3_GetData(ncir, v, 0.0, nullptr), -1);
    EXPECT_EQ(Error(), "QZ3_GetData: NULL pointer");

    // Handles of circuits, parameters or AC traces aren't transient trace handles.
    int ac = QZ3_GetACTrace(ncir, "V(R1)");
    for (int wrong : {-1, 0, ncir, ac, v + 1000}) {
        EXPECT_EQ(QZ3_GetDataSize(ncir, wrong), -1);
        EXPECT_EQ(Error(), "QZ3_GetDataSize: wrong trace handle");
        EXPECT_EQ(QZ3_GetDataAt(ncir, wrong, 0, &t, &value), -1);
        EXPECT_EQ(Error(), "QZ3_GetDataAt: wrong trace handle");
        EXPECT_EQ(QZ3_GetLastData(ncir, wrong, &t, &value), -1);
        EXPECT_EQ(Error(), "QZ3_GetLastData: wrong trace handle");
        EXPECT_EQ(QZ3_GetData(ncir, wrong, 0.0, &value), -1);
        EXPECT_EQ(Error(), "QZ3_GetData: wrong trace handle");
        EXPECT_EQ(QZ3_DeleteTrace(ncir, wrong), -1);
        EXPECT_EQ(Error(), "QZ3_DeleteTrace: wrong trace handle");
    }
    EXPECT_EQ(QZ3_DeleteOldData(ncir + 1000), -1);
    EXPECT_EQ(Error(), "QZ3_DeleteOldData: wrong circuit handle");
}

TEST_F(TraceExports, AcTracesMirrorTheTransientOnes) {
    int ac = QZ3_GetACTrace(ncir, "V(R1)");
    ASSERT_GE(ac, 0) << Error();
    EXPECT_EQ(QZ3_GetACTrace(ncir, "v(r1)"), ac);
    EXPECT_EQ(QZ3_GetACTrace(ncir, "V(R1).phase"), ac);
    EXPECT_NE(QZ3_GetTrace(ncir, "V(R1)"), ac);
    EXPECT_EQ(QZ3_GetACTrace(ncir, "double"), -1);
    EXPECT_EQ(Error(), "QZ3_GetACTrace: trace double not found");
    EXPECT_EQ(QZ3_GetACTrace(ncir, ""), -1);
    EXPECT_EQ(Error(), "QZ3_GetACTrace: no trace name");
    EXPECT_EQ(QZ3_GetACTrace(ncir, nullptr), -1);
    EXPECT_EQ(Error(), "QZ3_GetACTrace: NULL pointer");

    EXPECT_EQ(QZ3_GetACDataSize(ncir, ac), 0);
    EXPECT_EQ(Error(), "OK");
    EXPECT_EQ(QZ3_GetACDataSize(ncir, QZ3_GetTrace(ncir, "V(R1)")), -1);
    EXPECT_EQ(Error(), "QZ3_GetACDataSize: wrong trace handle");

    double f = 1, mag = 2, phase = 3;
    EXPECT_EQ(QZ3_GetACDataAt(ncir, ac, -1, &f, &mag, &phase), -1);
    EXPECT_EQ(Error(), "QZ3_GetACDataAt: no data at requested index");
    EXPECT_EQ(f, 0.0);
    EXPECT_EQ(mag, 0.0);
    EXPECT_EQ(phase, 0.0);
    f = mag = phase = 5;
    EXPECT_EQ(QZ3_GetACDataAt(ncir, ac, 0, &f, nullptr, &phase), -1);
    EXPECT_EQ(Error(), "QZ3_GetACDataAt: NULL pointer");
    EXPECT_EQ(f, 5.0);  // only the index path clears the outputs
    EXPECT_EQ(QZ3_GetACDataAt(ncir, ac + 1000, 0, &f, &mag, &phase), -1);
    EXPECT_EQ(Error(), "QZ3_GetACDataAt: wrong trace handle");
    EXPECT_EQ(f, 5.0);
}

TEST_F(TraceExports, AddedTracesAreSavedAndDeletedOnesDisappear) {
    int keep = QZ3_AddFuncTrace(ncir, "t*1000");
    int drop = QZ3_AddVarTrace(ncir, "Gain");
    ASSERT_GE(keep, 0);
    ASSERT_GE(drop, 0);
    std::string path = TempPath("trace_exports_added.qz3");
    ASSERT_EQ(QZ3_SaveAs(ncir, path.c_str()), 0) << Error();
    std::string saved = ReadBytes(path);
    EXPECT_EQ(CountOf(saved, "<Trace "), 7);  // four and two added, one AC
    EXPECT_EQ(CountOf(saved, "expr=\"t*1000\""), 1);

    ASSERT_EQ(QZ3_DeleteTrace(ncir, drop), 0) << Error();
    EXPECT_EQ(Error(), "OK");
    EXPECT_EQ(QZ3_DeleteTrace(ncir, drop), -1);
    EXPECT_EQ(Error(), "QZ3_DeleteTrace: wrong trace handle");
    ASSERT_EQ(QZ3_SaveAs(ncir, path.c_str()), 0) << Error();
    saved = ReadBytes(path);
    EXPECT_EQ(CountOf(saved, "<Trace "), 6);
    EXPECT_EQ(CountOf(saved, "expr=\"Gain\""), 1);  // the file's own Var trace stays

    // Deleting a trace of the file takes it out of the file too.
    ASSERT_EQ(QZ3_DeleteTrace(ncir, QZ3_GetTrace(ncir, "double")), 0) << Error();
    ASSERT_EQ(QZ3_SaveAs(ncir, path.c_str()), 0) << Error();
    saved = ReadBytes(path);
    EXPECT_EQ(CountOf(saved, "name=\"double\""), 0);

    // The saved file opens again with the added trace.
    int reopened = QZ3_Open(path.c_str());
    ASSERT_GE(reopened, 0) << Error();
    EXPECT_GE(QZ3_GetTrace(reopened, "t*1000"), 0) << Error();
    EXPECT_EQ(QZ3_GetTrace(reopened, "double"), -1);
    QZ3_Close(reopened);
}

TEST(TraceExportsFile, StoredDataIsWrittenBehindTheTextAndStillOpens) {
    std::string text = ReadBytes(CircuitPath("trace_exports.qz3"));
    size_t at = text.find("save=\"0\"");
    ASSERT_NE(at, std::string::npos);
    text.replace(at, 8, "save=\"2\"");
    std::string path = TempPath("trace_exports_stored.qz3");
    WriteBytes(path, text);

    int ncir = QZ3_Open(path.c_str());
    ASSERT_GE(ncir, 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Save(ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Save(ncir), 0) << QZ3_GetError();
    QZ3_Close(ncir);

    std::string saved = ReadBytes(path);
    size_t end = saved.find("</QZ3>");
    ASSERT_NE(end, std::string::npos);
    size_t zero = saved.find('\0');
    ASSERT_NE(zero, std::string::npos);
    EXPECT_GT(zero, end);
    // Nothing was recorded: the block is the zero byte alone.
    EXPECT_EQ(saved.size(), zero + 1);
    EXPECT_EQ(CountOf(saved, "<Storage "), 1);
    EXPECT_EQ(CountOf(saved, "<DataList"), 0);

    int reopened = QZ3_Open(path.c_str());
    ASSERT_GE(reopened, 0) << QZ3_GetError();
    int v = QZ3_GetTrace(reopened, "V(R1)");
    EXPECT_GE(v, 0);
    EXPECT_EQ(QZ3_GetDataSize(reopened, v), 0);
    QZ3_Close(reopened);
}

TEST(TraceExportsFile, RecordsOfStoredRunsOpenAsEmptyRuns) {
    std::string text = ReadBytes(CircuitPath("trace_exports.qz3"));
    std::string record = "<Trace id=\"1\" expr=\"V(R1)\" name=\"\" type=\"V\" mode=\"analog\" />";
    size_t at = text.find(record);
    ASSERT_NE(at, std::string::npos);
    text.replace(at, record.size(),
                 "<Trace id=\"1\" expr=\"V(R1)\" type=\"V\"><DataList><Data id=\"0\" size=\"3\" type=\"0\" />"
                 "</DataList></Trace>");
    // Points behind the text are never read back.
    std::string path = TempPath("trace_exports_records.qz3");
    WriteBytes(path, text + std::string(1, '\0') + std::string(48, '\x11'));
    int ncir = QZ3_Open(path.c_str());
    ASSERT_GE(ncir, 0) << QZ3_GetError();
    int v = QZ3_GetTrace(ncir, "V(R1)");
    EXPECT_EQ(QZ3_GetDataSize(ncir, v), 0);
    EXPECT_EQ(QZ3_GetError(), std::string("OK"));
    QZ3_Close(ncir);
}

}  // namespace
