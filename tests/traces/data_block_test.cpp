#include "traces/data_block.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace qz3;

TEST(CDataBlock, SampleSizesByType) {
    const uint32_t expected[] = {0, 1, 1, 2, 2, 4, 4, 4, 8};
    for (uint32_t type = 0; type < 9; ++type) EXPECT_EQ(SampleSize(type), expected[type]) << type;
    EXPECT_EQ(SampleSize(9), 0u);
    EXPECT_EQ(SampleSize(0xFFFFFFFFu), 0u);
}

TEST(CDataBlock, SamplesReadThroughTheScaling) {
    // One raw sample of each type, all meaning -3 or 200 before scaling.
    unsigned char buffer[8];
    const int8_t i8 = -3;
    const uint8_t u8 = 200;
    const int16_t i16 = -3;
    const uint16_t u16 = 200;
    const int32_t i32 = -3;
    const uint32_t u32 = 200;
    const float f32 = -3.0f;
    const double f64 = 200.0;
    const void* sources[] = {&i8, &u8, &i16, &u16, &i32, &u32, &f32, &f64};
    const double raws[] = {-3, 200, -3, 200, -3, 200, -3, 200};
    for (uint32_t type = 1; type <= 8; ++type) {
        std::memcpy(buffer, sources[type - 1], SampleSize(type));
        CDataBlock block(type, 1, SampleSize(type));
        block.m_Data = buffer;
        block.m_YOffset = 1.0;
        block.m_YScale = 0.5;
        block.m_YZero = 10.0;
        block.m_XZero = 2.0;
        block.m_XScale = 0.25;
        EXPECT_DOUBLE_EQ(block.SampleValue(0), (raws[type - 1] - 1.0) * 0.5 + 10.0) << type;
        EXPECT_DOUBLE_EQ(block.SampleTime(4), 3.0) << type;
    }
}

TEST(CDataBlock, WidenStartsAtTheFirstValue) {
    CDataBlock block(0, 2, 16);
    block.m_Min = -100.0;  // stale values must not survive the first point
    block.m_Max = 100.0;
    block.Widen(3.0);
    block.m_Count = 1;
    EXPECT_EQ(block.m_Min, 3.0);
    EXPECT_EQ(block.m_Max, 3.0);
    block.Widen(-1.0);
    block.Widen(7.0);
    block.Widen(2.0);
    EXPECT_EQ(block.m_Min, -1.0);
    EXPECT_EQ(block.m_Max, 7.0);
    EXPECT_EQ(block.m_XScale, 1.0);
    EXPECT_EQ(block.m_YScale, 1.0);
    EXPECT_FALSE(block.m_StatValid);
}
