#include "summary_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

namespace qz3::cli {
namespace {

TEST(SummaryTable, MeanIsWeightedByTime) {
    // 0 for one second then 1 for nine: dense points in the first second
    // must not pull the mean towards 0.
    CWaveform wave{"w", "V", {}, {}};
    for (int i = 0; i <= 100; ++i) {
        wave.x.push_back(i * 0.01);
        wave.y.push_back(0);
    }
    wave.x.push_back(1);
    wave.y.push_back(1);
    wave.x.push_back(10);
    wave.y.push_back(1);
    CTraceSummary row = Summarize(wave);
    EXPECT_EQ(row.points, 103u);
    EXPECT_DOUBLE_EQ(row.min, 0);
    EXPECT_DOUBLE_EQ(row.max, 1);
    EXPECT_NEAR(row.mean, 0.9, 1e-12);  // a vertical step has no area
    EXPECT_DOUBLE_EQ(row.final, 1);
}

TEST(SummaryTable, RampAndDegenerateTraces) {
    CWaveform ramp{"r", "A", {0, 2}, {-1, 3}};
    CTraceSummary row = Summarize(ramp);
    EXPECT_DOUBLE_EQ(row.mean, 1);
    EXPECT_DOUBLE_EQ(row.min, -1);
    EXPECT_DOUBLE_EQ(row.final, 3);
    CWaveform single{"s", "", {5}, {7}};
    EXPECT_DOUBLE_EQ(Summarize(single).mean, 7);
    CWaveform sameTime{"o", "", {1, 1}, {2, 4}};
    EXPECT_DOUBLE_EQ(Summarize(sameTime).mean, 3);
    CTraceSummary empty = Summarize(CWaveform{"e", "V", {}, {}});
    EXPECT_EQ(empty.points, 0u);
    EXPECT_TRUE(std::isnan(empty.mean));
    EXPECT_TRUE(std::isnan(empty.final));
}

TEST(SummaryTable, PrintsAlignedColumnsWithUnits) {
    std::vector<CTraceSummary> rows = {{"V(C1)", "V", 501, 0, 0.99326, 0.8, 0.99326},
                                       {"I(R1)", "A", 12, 6.7e-6, 1e-3, 2e-4, 6.7e-6}};
    std::ostringstream out;
    PrintSummaryTable(out, rows);
    EXPECT_EQ(out.str(),
              "trace  points     min        max    mean      final\n"
              "V(C1)     501     0 V  993.26 mV  800 mV  993.26 mV\n"
              "I(R1)      12  6.7 uA       1 mA  200 uA     6.7 uA\n");
}

}  // namespace
}  // namespace qz3::cli
