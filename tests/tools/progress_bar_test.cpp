#include "progress_bar.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>

namespace qz3::cli {
namespace {

// A FILE* over a string buffer, so the bar's output can be read back.
class CCapture {
public:
    CCapture() : m_File(open_memstream(&m_Data, &m_Size)) {}
    ~CCapture() {
        std::fclose(m_File);
        std::free(m_Data);
    }
    std::FILE* File() { return m_File; }
    std::string Text() {
        std::fflush(m_File);
        return std::string(m_Data, m_Size);
    }

private:
    char* m_Data = nullptr;
    size_t m_Size = 0;
    std::FILE* m_File;
};

TEST(ProgressBar, DrawsTheFilledShare) {
    EXPECT_EQ(CProgressBar::Line(0, "", 10), "[..........]   0%");
    EXPECT_EQ(CProgressBar::Line(0.45, "t = 4.5 ms", 10), "[####......]  45%  t = 4.5 ms");
    EXPECT_EQ(CProgressBar::Line(1, "", 4), "[####] 100%");
    EXPECT_EQ(CProgressBar::Line(7, "", 4), "[####] 100%");
    EXPECT_EQ(CProgressBar::Line(-1, "", 4), "[....]   0%");
    EXPECT_EQ(CProgressBar::Line(NAN, "", 4), "[....]   0%");
}

TEST(ProgressBar, QuietDuringTheFirstSecond) {
    CCapture capture;
    double now = 0;
    CProgressBar bar(capture.File(), true, [&] { return now; });
    now = 0.5;
    bar.Update(0.9, "");
    EXPECT_FALSE(bar.Shown());
    EXPECT_EQ(capture.Text(), "");
    now = 1.2;
    bar.Update(0.95, "x");
    EXPECT_TRUE(bar.Shown());
    EXPECT_NE(capture.Text().find("\r["), std::string::npos);
    EXPECT_NE(capture.Text().find(" 95%  x"), std::string::npos);
    size_t before = capture.Text().size();
    now = 1.25;  // too soon to redraw
    bar.Update(0.96, "x");
    EXPECT_EQ(capture.Text().size(), before);
    bar.Finish();
    EXPECT_FALSE(bar.Shown());
    std::string text = capture.Text();
    EXPECT_EQ(text.back(), '\r');  // the line is blanked and the cursor back
}

TEST(ProgressBar, NeverDrawsWhenDisabledOrNotATerminal) {
    CCapture capture;
    double now = 0;
    CProgressBar bar(capture.File(), false, [&] { return now; });
    now = 10;
    bar.Update(0.5, "");
    bar.Finish();
    EXPECT_EQ(capture.Text(), "");
    EXPECT_FALSE(CProgressBar::IsTerminal(capture.File()));
    EXPECT_FALSE(CProgressBar::IsTerminal(nullptr));
}

}  // namespace
}  // namespace qz3::cli
