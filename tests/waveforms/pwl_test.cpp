#include "waveforms/pwl.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace qz3 {
namespace {

bool Prepared(CPWL& table, const char* text, std::string* message = nullptr) {
    table.m_Text = text;
    std::string error;
    const bool ok = table.Prepare(error);
    if (message) *message = error;
    return ok;
}

TEST(Pwl, DefaultTableHasOneSegmentThatNeverChanges) {
    CPWL table;
    std::string error;
    ASSERT_TRUE(table.Prepare(error));
    EXPECT_EQ(table.m_Count, 1);
    EXPECT_EQ(table.m_First, 0);
    EXPECT_EQ(table.m_Last, 0);
    EXPECT_DOUBLE_EQ(table.Slope(0), 1.0);
    EXPECT_FALSE(table.CheckSegment(-1e9, true));
    EXPECT_FALSE(table.CheckSegment(1e9, true));
    EXPECT_EQ(table.Segment(), 0);
}

TEST(Pwl, TableWithoutZeroBreakIsMirrored) {
    CPWL table;
    ASSERT_TRUE(Prepared(table, "1, 2, 3"));
    EXPECT_EQ(table.m_Count, 3);
    EXPECT_EQ(table.m_First, -1);
    EXPECT_EQ(table.m_Last, 1);
    EXPECT_DOUBLE_EQ(table.Slope(-1), 3.0);
    EXPECT_DOUBLE_EQ(table.Slope(0), 1.0);
    EXPECT_DOUBLE_EQ(table.Slope(1), 3.0);
    EXPECT_DOUBLE_EQ(table.LowerBreak(0), -2.0);
    EXPECT_DOUBLE_EQ(table.LowerBreak(1), 2.0);
}

TEST(Pwl, ZeroBreakKeepsTheTableAndZeroBelongsAbove) {
    CPWL table;
    ASSERT_TRUE(Prepared(table, "1, 0, 3"));
    EXPECT_EQ(table.m_Count, 2);
    EXPECT_EQ(table.m_First, 0);
    EXPECT_EQ(table.m_Last, 1);
    EXPECT_DOUBLE_EQ(table.Slope(1), 3.0);
    EXPECT_TRUE(table.CheckSegment(0.0, false));  // exactly on the break: above it
    EXPECT_EQ(table.Segment(), 0);                // not moved without commit
    EXPECT_TRUE(table.CheckSegment(0.0, true));
    EXPECT_EQ(table.Segment(), 1);
    EXPECT_FALSE(table.CheckSegment(5.0, true));
}

TEST(Pwl, MessagesForBadTexts) {
    const struct {
        const char* text;
        const char* message;
    } rows[] = {
        {"1, 2", "Wrong number of PWL parameters"},
        {"", "Wrong number of PWL parameters"},
        {"1, 2, 3, 4", "Wrong number of PWL parameters"},
    };
    for (const auto& row : rows) {
        CPWL table;
        std::string message;
        EXPECT_FALSE(Prepared(table, row.text, &message)) << row.text;
        EXPECT_EQ(message, row.message) << row.text;
    }
    CPWL table;
    std::string message;
    EXPECT_FALSE(Prepared(table, "1, x, 3", &message));
    EXPECT_EQ(message.rfind("PWL error: ", 0), 0u) << message;

    CPWL inverted;
    inverted.SetLabels("V", "R, Ohm", "R(V)", "I(V)");
    inverted.m_Invert = true;
    EXPECT_FALSE(Prepared(inverted, "1, 2, 0", &message));
    EXPECT_EQ(message, "Zero value not allowed");
    CPWL plain;
    plain.SetLabels("I", "R, Ohm", "R(I)", "V(I)");
    EXPECT_FALSE(Prepared(plain, "1, 2, inf", &message));
    EXPECT_EQ(message, "Infinite value not allowed");
}

TEST(Pwl, CommitNeverCrossesSegmentZeroInOneStep) {
    CPWL table;
    ASSERT_TRUE(Prepared(table, "1, 2, 3"));
    table.Segment() = -1;
    EXPECT_TRUE(table.CheckSegment(5.0, true));
    EXPECT_EQ(table.Segment(), 0);
    EXPECT_TRUE(table.CheckSegment(5.0, true));
    EXPECT_EQ(table.Segment(), 1);
    EXPECT_TRUE(table.CheckSegment(-5.0, true));
    EXPECT_EQ(table.Segment(), 0);
    EXPECT_TRUE(table.CheckSegment(-5.0, true));
    EXPECT_EQ(table.Segment(), -1);
}

TEST(Pwl, PreparingTheSameTextAgainLeavesTheSegment) {
    CPWL table;
    ASSERT_TRUE(Prepared(table, "1, 2, 3"));
    table.Segment() = 1;
    ASSERT_TRUE(Prepared(table, "1, 2, 3"));
    EXPECT_EQ(table.Segment(), 1);
    ASSERT_TRUE(Prepared(table, "1, 2, 4"));  // a new text starts at segment 0
    EXPECT_EQ(table.Segment(), 0);
    table.Reset();
    EXPECT_EQ(table.m_Count, 0);
    EXPECT_TRUE(table.m_Prepared.empty());
}

// The integrated curve is continuous and passes through the origin:
// y = slope * v + offset on every segment.
TEST(Pwl, OffsetsMakeAContinuousCurveThroughTheOrigin) {
    CPWL table;
    table.SetLabels("I", "R, Ohm", "R(I)", "V(I)");
    ASSERT_TRUE(Prepared(table, "1, -1, 2, 0, 3, 2, 5"));
    ASSERT_EQ(table.m_First, -1);  // segment 0 ends at the break at 0
    auto curve = [&](int s, double v) { return table.Slope(s) * v + table.Offset(s); };
    EXPECT_DOUBLE_EQ(table.Offset(0), 0.0);
    EXPECT_DOUBLE_EQ(curve(0, 0.0), 0.0);
    for (int s = table.m_First + 1; s <= table.LastSegment(); ++s) {
        const double x = table.LowerBreak(s);
        EXPECT_NEAR(curve(s - 1, x), curve(s, x), 1e-12) << "segment " << s;
    }
    EXPECT_DOUBLE_EQ(curve(0, -0.5), -1.0);
    EXPECT_DOUBLE_EQ(curve(-1, -2.0), -3.0);
    EXPECT_DOUBLE_EQ(curve(1, 2.0), 6.0);
    EXPECT_DOUBLE_EQ(curve(2, 3.0), 11.0);

    CPWL mirrored;
    mirrored.SetLabels("I", "R, Ohm", "R(I)", "V(I)");
    ASSERT_TRUE(Prepared(mirrored, "1, 2, 3"));
    EXPECT_DOUBLE_EQ(mirrored.Slope(1) * 3.0 + mirrored.Offset(1), 5.0);
    EXPECT_DOUBLE_EQ(mirrored.Slope(-1) * -3.0 + mirrored.Offset(-1), -5.0);
}

TEST(Pwl, InvertedTableStoresReciprocals) {
    CPWL table;
    table.SetLabels("V", "R, Ohm", "R(V)", "I(V)");
    table.m_Invert = true;
    ASSERT_TRUE(Prepared(table, "4, 0, 0.5"));
    EXPECT_DOUBLE_EQ(table.Slope(0), 0.25);
    EXPECT_DOUBLE_EQ(table.Slope(1), 2.0);
}

}  // namespace
}  // namespace qz3
