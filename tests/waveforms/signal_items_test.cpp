#include "waveforms/signal_items.h"

#include <gtest/gtest.h>

namespace qz3 {
namespace {

TEST(SignalItems, SplitterKeepsFormulasAndQuotesWhole) {
    struct Row { const char* text; std::vector<std::string> items; };
    const Row rows[] = {
        {"0,0", {"0", "0"}},
        {"  1 2\t3 ", {"1", "2", "3"}},
        {"1, 2 ,3", {"1", "2", "3"}},
        {"", {}},
        {"\"a b, c\" 4", {"\"a b, c\"", "4"}},
        {"=sin (t), 5", {"=sin(t)", "5"}},
        {"(1) 2", {"(1)2"}},  // a blank behind a bracket joins
        {"(t > 1),2", {"(t>1)", "2"}},
        {"a = b c", {"a=b", "c"}},
        {"x ! y", {"x!y"}},
        {"1 * 2", {"1", "*", "2"}},
    };
    for (const Row& row : rows) EXPECT_EQ(SplitSignalItems(row.text), row.items) << row.text;
}

TEST(SignalItems, LinesSplitAtAnyLineEnd) {
    const std::vector<std::string> expected = {"a", "b", "", "c"};
    EXPECT_EQ(SplitTextLines("a\r\nb\n\rc"), expected);
    EXPECT_TRUE(SplitTextLines("").empty());
}

}  // namespace
}  // namespace qz3
