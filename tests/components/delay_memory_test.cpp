// The delay memory: interpolated reads, reads past the end, and memory that
// follows the read position, not the run.
#include <gtest/gtest.h>

#include "components/delay_memory.h"

namespace {

using qz3::CDelay;

TEST(DelayMemory, ReadsInterpolateAndMemoryFollowsTheReadPosition) {
    CDelay memory(3);
    double a = 1, b = 1;
    memory.Get(0.0, &a, &b);
    EXPECT_EQ(a + b, 0.0);  // nothing stored yet
    for (int i = 0; i < 4000; ++i) ASSERT_TRUE(memory.Add(i * 0.25, i, -i));
    memory.Get(2.5, &a, &b);
    EXPECT_EQ(a, 10.0);  // exactly on a sample
    EXPECT_EQ(b, -10.0);
    memory.Get(2.625, &a, &b);
    EXPECT_NEAR(a, 10.5, 1e-9);
    EXPECT_NEAR(b, -10.5, 1e-9);
    EXPECT_EQ(memory.BlockCount(), 4);
    // A read far behind the last sample: the blocks before it are spent.
    memory.Get(750.0, &a, &b);
    EXPECT_EQ(a, 3000.0);
    EXPECT_EQ(memory.BlockCount(), 2);
    memory.Get(5000.0, &a, &b);  // past the last sample
    EXPECT_EQ(a, 3999.0);
    EXPECT_EQ(memory.BlockCount(), 1);
    // Its text gives the unread samples back.
    CDelay copy(3);
    copy.Load(memory.Text());
    copy.Get(5000.0, &a, &b);
    EXPECT_EQ(a, 3999.0);
    EXPECT_EQ(b, -3999.0);
}

}  // namespace
