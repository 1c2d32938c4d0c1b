#include "plot_ticks.h"

#include <gtest/gtest.h>

#include <cmath>

namespace qz3::cli {
namespace {

TEST(PlotTicks, LinearStepsAreOneTwoOrFive) {
    struct Row {
        double lo, hi;
        std::vector<double> ticks;
    };
    const Row rows[] = {
        {0, 5e-3, {0, 1e-3, 2e-3, 3e-3, 4e-3, 5e-3}},
        {0, 20e-3, {0, 5e-3, 10e-3, 15e-3, 20e-3}},
        {-0.3, 1.02, {-0.5, 0, 0.5, 1.0, 1.5}},
        {1, 1, {0.9, 0.95, 1.0, 1.05, 1.1}},
        {0, 0, {-1, -0.5, 0, 0.5, 1}},
        {7, 3, {3, 4, 5, 6, 7}},
    };
    for (const Row& row : rows) {
        CAxisTicks ticks = NiceLinearTicks(row.lo, row.hi);
        ASSERT_EQ(ticks.values.size(), row.ticks.size()) << row.lo << ".." << row.hi;
        for (size_t i = 0; i < ticks.values.size(); ++i) EXPECT_NEAR(ticks.values[i], row.ticks[i], 1e-12);
        EXPECT_LE(ticks.lo, std::min(row.lo, row.hi));
        EXPECT_GE(ticks.hi, std::max(row.lo, row.hi));
    }
}

TEST(PlotTicks, OriginIsExactAndBrokenRangesStillDraw) {
    CAxisTicks ticks = NiceLinearTicks(-0.7, 0.9);
    bool hasZero = false;
    for (double v : ticks.values) hasZero |= v == 0.0 && !std::signbit(v);
    EXPECT_TRUE(hasZero);
    for (double bad : {NAN, INFINITY}) {
        CAxisTicks fallback = NiceLinearTicks(0, bad);
        EXPECT_GE(fallback.values.size(), 2u);
        EXPECT_LT(fallback.values.size(), 65u);
    }
    EXPECT_LT(NiceLinearTicks(0, 1e300).values.size(), 65u);
}

TEST(PlotTicks, DecadesCoverTheRange) {
    CAxisTicks ticks = DecadeTicks(3, 2e5);
    std::vector<double> expected = {1, 10, 100, 1e3, 1e4, 1e5, 1e6};
    ASSERT_EQ(ticks.values.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) EXPECT_NEAR(ticks.values[i], expected[i], expected[i] * 1e-12);
    EXPECT_EQ(DecadeTicks(100, 100).values.size(), 2u);
    EXPECT_EQ(DecadeTicks(-1, 10).values.front(), 1);
}

TEST(PlotTicks, LinearLabelsShareOneMultiplier) {
    CTickLabels labels = LinearTickLabels(NiceLinearTicks(0, 5e-3), "s");
    EXPECT_EQ(labels.unitText, "ms");
    EXPECT_EQ(labels.labels, (std::vector<std::string>{"0", "1", "2", "3", "4", "5"}));
    labels = LinearTickLabels(NiceLinearTicks(-0.3, 1.02), "V");
    EXPECT_EQ(labels.unitText, "V");
    EXPECT_EQ(labels.labels.front(), "-0.5");
    EXPECT_EQ(labels.labels.back(), "1.5");
    labels = LinearTickLabels(NiceLinearTicks(0, 2500), "A");
    EXPECT_EQ(labels.unitText, "kA");
    EXPECT_EQ(labels.labels, (std::vector<std::string>{"0.0", "0.5", "1.0", "1.5", "2.0", "2.5"}));
    labels = LinearTickLabels(NiceLinearTicks(0, 3e-6), "");
    EXPECT_EQ(labels.unitText, "u");
}

TEST(PlotTicks, DecadeLabelsAreEngineeringNumbers) {
    CTickLabels labels = DecadeTickLabels(DecadeTicks(1, 1e6), "Hz");
    EXPECT_EQ(labels.unitText, "Hz");
    EXPECT_EQ(labels.labels, (std::vector<std::string>{"1", "10", "100", "1k", "10k", "100k", "1M"}));
}

}  // namespace
}  // namespace qz3::cli
