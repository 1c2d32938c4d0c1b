#include "base/list.h"

#include <gtest/gtest.h>

using qz3::TStringList;

TEST(TStringList, SplitKeepsEmptyItemsAndTheTail) {
    TStringList l;
    l.Split("a,,b,", ',');
    ASSERT_EQ(l.Count(), 4);
    EXPECT_EQ(l[0], "a");
    EXPECT_EQ(l[1], "");
    EXPECT_EQ(l[2], "b");
    EXPECT_EQ(l[3], "");
    l.Split("", ',');
    EXPECT_EQ(l.Count(), 0);
    l.Split("one\r\ntwo", '\r');
    ASSERT_EQ(l.Count(), 2);
    EXPECT_EQ(l[1], "two");
    EXPECT_EQ(l.JoinCommas(), "one,two");
    EXPECT_EQ(l.JoinLines(), "one\ntwo\n");
}
