#include "ac_command.h"

#include <gtest/gtest.h>

#include <cmath>

#include "ac_summary.h"
#include "cli_process.h"
#include "schematic_text.h"

namespace qz3::cli {
namespace {

using testing::ReadWholeFile;
using testing::RunCli;
using testing::TempPath;

const std::string kLowPass = std::string(QZ3_SOURCE_DIR) + "/examples/rc_lowpass_ac.qz3";

// The sweep of the command line replaces the file's own settings, keeps the
// other keys, and makes a Freq element for a file that has none.
TEST(AcCommand, SweepOptionsRewriteTheFrequencySettings) {
    CAcOptions options;
    options.hasFrom = options.hasTo = options.hasPoints = true;
    options.from = 10, options.to = 1e4, options.points = 7;
    const std::string withSettings = "<Doc><Freq><Settings type=\"1\" list=\"1\" id=\"3\" /></Freq></Doc>";
    EXPECT_EQ(WithSweep(withSettings, options),
              "<Doc><Freq><Settings type=\"0\" list=\"1\" id=\"3\" from=\"10\" to=\"10000\" points=\"7\" scale=\"0\" "
              "/></Freq></Doc>");
    options.linear = true;
    EXPECT_EQ(WithSweep("<Doc><Tran /></Doc>", options),
              "<Doc><Tran /><Freq><Settings type=\"0\" from=\"10\" to=\"10000\" points=\"7\" scale=\"1\" /></Freq></Doc>");
    EXPECT_EQ(WithSweep("<Doc><Freq /></Doc>", options),
              "<Doc><Freq><Settings type=\"0\" from=\"10\" to=\"10000\" points=\"7\" scale=\"1\" /></Freq></Doc>");
}

// A first-order low-pass sampled on a log grid: its corner, its peak at the
// first point, and an amplifier of gain 10 with a pole at 1 kHz whose gain
// falls through 1 near 10 kHz with a margin of about 90 degrees.
TEST(AcCommand, SummaryFindsCornerPeakAndPhaseMargin) {
    CFrequencyResponse response;
    for (int k = 0; k <= 600; ++k) {
        const double f = std::pow(10.0, k / 100.0), x = f / 1000.0;
        response.f.push_back(f);
        response.magnitude.push_back(10.0 / std::sqrt(1 + x * x));
        response.phase.push_back(-std::atan(x) * 180 / M_PI);
    }
    const CResponseSummary s = SummarizeResponse(response);
    EXPECT_NEAR(s.firstGain, 10.0, 1e-4);
    EXPECT_EQ(s.peakFrequency, 1.0);
    ASSERT_TRUE(s.hasCorner);
    EXPECT_NEAR(s.corner / 1000.0, 1.0, 1e-3);
    ASSERT_TRUE(s.hasMargin);
    EXPECT_NEAR(s.crossover / (1000.0 * std::sqrt(99.0)), 1.0, 1e-3);
    EXPECT_NEAR(s.phaseMargin, 180.0 - std::atan(std::sqrt(99.0)) * 180 / M_PI, 0.05);
}

// End to end: the summary names the corner of the example's RC low-pass,
// the CSV has a column pair per trace, the SVG is a two-panel Bode plot,
// and a file without AC traces or a bad option is a usage error.
TEST(AcCommandCli, SummaryCsvAndBodePlot) {
    testing::CCliResult result = RunCli({"ac", kLowPass});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_NE(result.out.find("159.15 Hz"), std::string::npos) << result.out;
    const std::string csv = TempPath("ac.csv"), svg = TempPath("ac.svg");
    result = RunCli({"ac", kLowPass, "--from", "1", "--to", "1k", "--points", "4", "--csv", csv, "--svg", svg});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::string table = ReadWholeFile(csv);
    EXPECT_EQ(table.substr(0, table.find('\n')), "frequency,Vout magnitude,Vout phase");
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 5);
    const std::string plot = ReadWholeFile(svg);
    EXPECT_NE(plot.find("dB"), std::string::npos);
    EXPECT_NE(plot.find("deg"), std::string::npos);
    EXPECT_NE(result.out.find("wrote " + csv), std::string::npos) << result.out;
    result = RunCli({"ac", kLowPass, "--from", "1e4", "--to", "1e5", "--measure", "Vout.slope"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const size_t at = result.out.find("Vout.slope = ");
    ASSERT_NE(at, std::string::npos) << result.out;
    EXPECT_NEAR(std::stod(result.out.substr(at + 13)), -20.0, 0.01);
    result = RunCli({"ac", kLowPass, "--measure", "Vout.average"});
    EXPECT_EQ(result.exitCode, 2);
    result = RunCli({"ac", kLowPass, "--points", "2.5"});
    EXPECT_EQ(result.exitCode, 2);
    result = RunCli({"ac", std::string(QZ3_SOURCE_DIR) + "/examples/buck_converter.qz3"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_NE(result.err.find("the file has no AC traces"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace qz3::cli
