#include "run_command.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>

#include "cli_process.h"
#include "csv_writer.h"

namespace qz3::cli {
namespace {

using testing::DataFile;
using testing::ReadWholeFile;
using testing::RunCli;
using testing::TempPath;

const std::string kRc = DataFile("rc_charge.qz3");

CSchematicText RcText() {
    CSchematicText file;
    std::string error;
    EXPECT_TRUE(ReadSchematicText(kRc, file, error)) << error;
    return file;
}

// What the library says when it opens `path`, as the command must repeat it.
std::string LibraryOpenMessage(const std::string& path) {
    int ncir = QZ3_Open(path.c_str());
    std::string message = QZ3_GetError();
    if (ncir >= 0) QZ3_Close(ncir);
    return ncir >= 0 ? "" : message;
}

TEST(RunCommand, SelectsAllRecordingTracesOrTheNamedOnes) {
    CSchematicText file = RcText();
    std::vector<CTraceText> selected;
    std::string error;
    ASSERT_TRUE(SelectTraces(file, {}, selected, error));
    ASSERT_EQ(selected.size(), 3u);  // the Scope trace records nothing
    EXPECT_EQ(selected[0].name, "V(in)");
    EXPECT_EQ(selected[1].name, "C1");
    EXPECT_EQ(selected[2].name, "I(R1)");
    ASSERT_TRUE(SelectTraces(file, {"i(r1)", "\"C1\""}, selected, error));
    ASSERT_EQ(selected.size(), 2u);
    EXPECT_EQ(selected[0].unit, "A");
    EXPECT_FALSE(SelectTraces(file, {"C1", "V(out)"}, selected, error));
    EXPECT_EQ(error, "unknown trace 'V(out)'; the file has: V(in), C1, I(R1), Scope view");
    EXPECT_FALSE(SelectTraces(CSchematicText(), {}, selected, error));
    EXPECT_EQ(error, "the file has no transient traces to record");
}

TEST(RunCommand, SlicesEndOnWholeStepsAndExactlyAtTheEnd) {
    std::vector<double> ends = SliceEnds(0, 5e-3, 1e-6, 200);
    ASSERT_EQ(ends.size(), 200u);
    EXPECT_NEAR(ends[0], 25e-6, 1e-15);  // 5000 steps in 200 slices of 25
    EXPECT_EQ(ends.back(), 5e-3);
    for (size_t i = 1; i < ends.size(); ++i) EXPECT_GT(ends[i], ends[i - 1]);

    ends = SliceEnds(1.0, 10e-3, 3e-3, 200);  // a step that doesn't divide the length
    EXPECT_EQ(ends, (std::vector<double>{1.003, 1.006, 1.009, 1.01}));
    EXPECT_EQ(SliceEnds(0, 1, 0, 10), (std::vector<double>{1}));  // no usable step: one slice
    EXPECT_TRUE(SliceEnds(0, 0, 1e-3).empty());
    EXPECT_TRUE(SliceEnds(0, NAN, 1e-3).empty());
    EXPECT_LE(SliceEnds(0, 1e6, 1e-12).size(), 201u);  // bounded whatever the numbers
}

TEST(RunCommand, FigureHasOnePanelPerUnit) {
    std::vector<CWaveform> waves = {
        {"V(a)", "V", {0, 1}, {0, 1}}, {"I(R)", "A", {0, 1}, {0, 1}}, {"V(b)", "V", {0, 1}, {1, 0}}};
    CPlotFigure figure = TransientFigure(waves, "t.qz3");
    EXPECT_EQ(figure.title, "t.qz3");
    EXPECT_EQ(figure.xAxis.unit, "s");
    ASSERT_EQ(figure.panels.size(), 2u);
    EXPECT_EQ(figure.panels[0].yAxis.label, "voltage");
    ASSERT_EQ(figure.panels[0].series.size(), 2u);
    EXPECT_EQ(figure.panels[0].series[1].name, "V(b)");
    EXPECT_EQ(figure.panels[1].yAxis.label, "current");
    EXPECT_EQ(figure.panels[1].yAxis.unit, "A");
}

TEST(RunCommandCli, UsageAndHelp) {
    testing::CCliResult result = RunCli({});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_NE(result.err.find("usage: qz3 COMMAND"), std::string::npos);
    result = RunCli({"frobnicate", kRc});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err.rfind("qz3: unknown command 'frobnicate'\n", 0), 0u);
    result = RunCli({"run", "--help"});
    EXPECT_EQ(result.exitCode, 0);
    for (const char* option : {"--time", "--step", "--set", "--trace", "--csv", "--svg"})
        EXPECT_NE(result.out.find(option), std::string::npos) << option;
    result = RunCli({"--version"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "Version 3.4.30.11, Date 06/03/2022\n");
}

TEST(RunCommandCli, BadOptionsExitWithStatusTwo) {
    struct Row {
        std::vector<std::string> args;
        const char* message;
    };
    const Row rows[] = {
        {{"run"}, "no schematic file given"},
        {{"run", kRc, "--time", "abc"}, "--time: not a number: 'abc'"},
        {{"run", kRc, "--time", "-5m"}, "--time: must be greater than 0, not -5m"},
        {{"run", kRc, "--step", "0"}, "--step: must be greater than 0, not 0"},
        {{"run", kRc, "--set", "R1.R"}, "--set: expected NAME=VALUE, not 'R1.R'"},
        {{"run", kRc, "--csv"}, "option --csv needs a value"},
        {{"run", kRc, "--svg="}, "empty output file name"},
        {{"run", kRc, "--time", "1", "--time", "2"}, "option --time given twice"},
        {{"run", kRc, "--frobnicate"}, "unknown option --frobnicate"},
        {{"run", kRc, "--trace", "nope"}, "unknown trace 'nope'; the file has: V(in), C1, I(R1), Scope view"},
        {{"run", kRc, "--trace", "C1", "--trace", "V(out)"},
         "unknown trace 'V(out)'; the file has: V(in), C1, I(R1), Scope view"},
    };
    for (const Row& row : rows) {
        testing::CCliResult result = RunCli(row.args);
        EXPECT_EQ(result.exitCode, 2) << row.message;
        EXPECT_EQ(result.err, std::string("qz3 run: ") + row.message + "\n(see 'qz3 run --help')\n");
        EXPECT_EQ(result.out, "");
    }
}

TEST(RunCommandCli, LibraryErrorsComeThroughAsWorded) {
    std::string missing = TempPath("missing.qz3");
    std::string expected = LibraryOpenMessage(missing);
    ASSERT_NE(expected, "");
    if (expected.find("not available in this build") == std::string::npos) {
        EXPECT_EQ(expected.rfind("QZ3_Open: cannot open file ", 0), 0u) << expected;
    }
    testing::CCliResult result = RunCli({"run", missing});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, expected + "\n");

    // A file the command can read but the library refuses, or can't open yet.
    std::string refused = LibraryOpenMessage(kRc);
    result = RunCli({"run", kRc, "--time", "1m"});
    if (!refused.empty()) {
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, refused + "\n");
    }
}

class RunCommandSimulation : public ::testing::Test {
protected:
    void SetUp() override { QZ3_SKIP_UNLESS_SIMULATES(kRc); }

    // Reads a CSV written by the command: header names and numeric rows.
    static void ReadCsv(const std::string& path, std::vector<std::string>& header,
                        std::vector<std::vector<double>>& rows) {
        std::istringstream in(ReadWholeFile(path));
        std::string line;
        std::getline(in, line);
        std::istringstream names(line);
        for (std::string name; std::getline(names, name, ',');) header.push_back(name);
        while (std::getline(in, line)) {
            std::vector<double> row;
            std::istringstream cells(line);
            for (std::string cell; std::getline(cells, cell, ',');) row.push_back(cell.empty() ? NAN : std::stod(cell));
            rows.push_back(row);
        }
    }
};

TEST_F(RunCommandSimulation, CsvFollowsTheAnalyticCharge) {
    std::string csv = TempPath("rc.csv");
    testing::CCliResult result = RunCli({"run", kRc, "--trace", "C1", "--trace", "I(R1)", "--csv", csv});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    // The table is printed with a file written too, and where it went.
    EXPECT_EQ(result.out.rfind("trace  points", 0), 0u) << result.out;
    EXPECT_NE(result.out.find("wrote " + csv + "\n"), std::string::npos) << result.out;
    std::vector<std::string> header;
    std::vector<std::vector<double>> rows;
    ReadCsv(csv, header, rows);
    EXPECT_EQ(header, (std::vector<std::string>{"time", "C1", "I(R1)"}));
    ASSERT_GT(rows.size(), 100u);
    EXPECT_NEAR(rows.front()[0], 0, 1e-12);
    EXPECT_NEAR(rows.back()[0], 5e-3, 1e-9);  // the file's own length
    const double tau = 1e3 * 1e-6;
    for (const std::vector<double>& row : rows) {
        ASSERT_EQ(row.size(), 3u);
        double expected = 1 - std::exp(-row[0] / tau);
        EXPECT_NEAR(row[1], expected, 2e-3) << "t = " << row[0];
        EXPECT_NEAR(row[2], (1 - expected) / 1e3, 2e-6) << "t = " << row[0];
    }
    std::remove(csv.c_str());
}

TEST_F(RunCommandSimulation, TimeStepAndSetChangeTheRun) {
    std::string csv = TempPath("rc_set.csv");
    testing::CCliResult result =
        RunCli({"run", kRc, "--time", "2m", "--step", "10u", "--set", "R1.R=2k", "--trace", "c1", "--csv", csv});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    std::vector<std::string> header;
    std::vector<std::vector<double>> rows;
    ReadCsv(csv, header, rows);
    ASSERT_FALSE(rows.empty());
    EXPECT_NEAR(rows.back()[0], 2e-3, 1e-9);
    EXPECT_NEAR(rows.back()[1], 1 - std::exp(-1.0), 2e-3);  // tau is now 2 ms
    // 200 steps of 10 us, not 2000 of 1 us; each slice end the command lands
    // on exactly is a new start with a few short steps behind it.
    EXPECT_LT(rows.size(), 1500u);
    std::remove(csv.c_str());

    result = RunCli({"run", kRc, "--set", "R9.R=1"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err.rfind("QZ3_SetText: ", 0), 0u) << result.err;
}

TEST_F(RunCommandSimulation, SummaryAndSvg) {
    testing::CCliResult result = RunCli({"run", kRc});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out.rfind("trace", 0), 0u);
    for (const char* name : {"V(in)", "C1", "I(R1)"}) EXPECT_NE(result.out.find(name), std::string::npos) << name;
    EXPECT_EQ(result.out.find("Scope view"), std::string::npos);
    EXPECT_EQ(result.err, "");  // no progress bar off a terminal

    std::string svg = TempPath("rc.svg");
    result = RunCli({"run", kRc, "--svg", svg});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    std::string text = ReadWholeFile(svg);
    EXPECT_NE(text.find("<svg"), std::string::npos);
    EXPECT_NE(text.find(">time (ms)<"), std::string::npos);
    EXPECT_NE(text.find(">I(R1)<"), std::string::npos);
    std::remove(svg.c_str());
}

// Measurements between cursors, as a line each or in one JSON object: the
// RC charge's mean from 1 to 5 ms is 1 - tau/4ms (1 - e^-5 + e^-1).
TEST_F(RunCommandSimulation, MeasurementsBetweenCursorsAndJson) {
    testing::CCliResult result = RunCli({"run", kRc, "--trace", "C1", "--measure", "C1.mean", "--measure", "C1.left",
                                         "--from", "1m", "--to", "5m"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_NE(result.out.find("C1.mean = "), std::string::npos) << result.out;
    result = RunCli({"run", kRc, "--measure", "C1.mean", "--from", "1m", "--to", "5m", "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const size_t at = result.out.find("\"value\": ");
    ASSERT_NE(at, std::string::npos) << result.out;
    const double mean = std::stod(result.out.substr(at + 9));
    const double expected = 1 - (std::exp(-1.0) - std::exp(-5.0)) / 4.0;
    EXPECT_NEAR(mean, expected, 1e-4);
    EXPECT_EQ(result.out.front(), '{');
    result = RunCli({"run", kRc, "--measure", "C1.average"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_NE(result.err.find("unknown measurement 'average'"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace qz3::cli
