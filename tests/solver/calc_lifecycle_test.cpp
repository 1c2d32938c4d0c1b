#include "solver/calc_fixture.h"

using qz3::CCalc;

// A sanitizer's allocator aborts on a huge request instead of failing it.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QZ3_UNDER_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QZ3_UNDER_SANITIZER 1
#endif
#endif

TEST(CalcLifecycle, EmptyRunStartsAtTheOperatingPoint) {
    CCalc c;
    c.m_IterLimit[2] = 35;
    c.m_StepBase = 1e-6;
    c.BeginRun(true);
    EXPECT_EQ(c.m_Changes, 65535u);
    EXPECT_TRUE(c.m_FirstStore);
    ASSERT_TRUE(c.StartRun()) << c.m_Error;
    EXPECT_EQ(c.m_State, 1);
    EXPECT_EQ(c.m_Changes, 0u);
    EXPECT_EQ(c.m_Size, 1);
    EXPECT_EQ(c.m_IterLimit[2], 10);
    EXPECT_EQ(c.m_StepMin, 1e-6);
    EXPECT_EQ(c.m_StepFirst, 1e-6);
    // (18n + 67)n + 80m bytes for n = m = 1.
    EXPECT_EQ(c.m_Memory, 18 + 67 + 80);
    ASSERT_NE(c.MatrixG, nullptr);
    EXPECT_TRUE(c.EndRun());
    EXPECT_EQ(c.m_Memory, 0);
    EXPECT_EQ(c.m_State, 0);
    EXPECT_EQ(c.MatrixG, nullptr);
    EXPECT_TRUE(c.m_Error.empty());
}

TEST(CalcLifecycle, MatricesAreRowsBehindPointers) {
    CCalc c;
    c.SetSizes(3, 2, 4);
    ASSERT_TRUE(c.AllocArrays());
    const int n = 6;
    EXPECT_EQ(c.m_Size, n);
    EXPECT_EQ(c.m_Total, n + 4);
    EXPECT_EQ(c.m_Memory, (18 * n + 67) * n + 80 * (n + 4));
    EXPECT_EQ(c.MatrixG[1], c.MatrixG[0] + n);
    EXPECT_EQ(c.MatrixC[0], c.MatrixG[0] + n * n);
    EXPECT_EQ(c.FlagC[0], c.FlagG[0] + n * n);
    for (int i = 0; i < n + 4; ++i) EXPECT_EQ(c.VecX[i], 0.0);
    EXPECT_EQ(sizeof(qz3::CNodeLink), 48u);  // the memory count assumes it
    c.FreeRun();
    EXPECT_EQ(c.VecX, nullptr);
}

TEST(CalcLifecycle, SizeLimitIsOneGigabytePerMatrix) {
    CCalc c;
    c.SetSizes(11179, 0, 0);
    ASSERT_TRUE(c.AllocArrays()) << c.m_Error;
    EXPECT_EQ(c.m_Size, 11180);
    c.FreeMatrices();
    c.SetSizes(11180, 0, 0);
    EXPECT_FALSE(c.AllocArrays());
    EXPECT_EQ(c.m_Error, "Schematic too big");
    EXPECT_EQ(c.MatrixG, nullptr);
#ifndef QZ3_UNDER_SANITIZER
    c.SetSizes(1 << 21, 0, 0);  // the allocation fails before the size is judged
    EXPECT_FALSE(c.AllocArrays());
    EXPECT_EQ(c.m_Error, "No enough memory");
    EXPECT_EQ(c.VecX, nullptr);
#endif
}

TEST(CalcLifecycle, ErrorTexts) {
    CCalc c;
    EXPECT_EQ(c.ErrorText(), nullptr);
    c.CodeError(qz3::ErrorMark::EvaluateFunctions);
    EXPECT_STREQ(c.ErrorText(), "Unknown error 1014");
    c.CodeError(qz3::ErrorMark::InitialState);  // the first words stand
    EXPECT_EQ(c.m_Error, "Unknown error 1014");
    c.SetError("a");
    c.AddError("b");
    EXPECT_EQ(c.m_Error, "a\nb");
    EXPECT_FALSE(c.CmpError(nullptr, "bad"));
    EXPECT_EQ(c.m_Error, "a\nb : bad\n");
    c.SetError("inner");
    EXPECT_FALSE(c.CmpError(nullptr, nullptr));
    EXPECT_EQ(c.m_Error, " : inner");
    c.SetError("boom");
    c.m_Time = 0.5;
    EXPECT_TRUE(c.EndRun());
    EXPECT_EQ(c.m_Error, "Transient error:\nt=500e-3\nboom");
    c.ClearError();
    EXPECT_EQ(c.ErrorText(), nullptr);
}
