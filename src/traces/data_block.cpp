#include "traces/data_block.h"

#include <algorithm>
#include <cstring>

namespace qz3 {

namespace {

// Raw samples may sit at any byte offset of a chunk, so they are read by copy.
template <class T>
double ReadRaw(const unsigned char* at) {
    T raw;
    std::memcpy(&raw, at, sizeof raw);
    return static_cast<double>(raw);
}

double RawSample(uint32_t type, const unsigned char* at) {
    switch (type) {
        case kSampleInt8: return ReadRaw<int8_t>(at);
        case kSampleUInt8: return ReadRaw<uint8_t>(at);
        case kSampleInt16: return ReadRaw<int16_t>(at);
        case kSampleUInt16: return ReadRaw<uint16_t>(at);
        case kSampleInt32: return ReadRaw<int32_t>(at);
        case kSampleUInt32: return ReadRaw<uint32_t>(at);
        case kSampleFloat: return ReadRaw<float>(at);
        case kSampleFloat64: return ReadRaw<double>(at);
        default: return 0.0;
    }
}

}  // namespace

uint32_t SampleSize(uint32_t type) {
    static const uint32_t kSizes[] = {0, 1, 1, 2, 2, 4, 4, 4, 8};
    return type < sizeof kSizes / sizeof kSizes[0] ? kSizes[type] : 0;
}

CDataBlock::CDataBlock(uint32_t type, uint32_t width, uint32_t pointSize)
    : m_Type(type), m_Width(width), m_PointSize(pointSize) {}

double CDataBlock::SampleValue(int place) const {
    const double raw = RawSample(m_Type, m_Data + static_cast<size_t>(place) * m_PointSize);
    return (raw - m_YOffset) * m_YScale + m_YZero;
}

void CDataBlock::Widen(double value) {
    if (m_Count == 0) {
        m_Min = m_Max = value;
        return;
    }
    if (value < m_Min) m_Min = value;
    if (value > m_Max) m_Max = value;
}

void CDataBlock::TakeIn(int from, int end) {
    if (from >= end) return;
    if (m_Count == 0) {
        m_Min = m_Max = PointAt(from)[1];
        m_Count = 1;
        ++from;
    }
    double low = m_Min;
    double high = m_Max;
    for (int place = from; place < end; ++place) {
        const double value = PointAt(place)[1];
        if (value < low) low = value;
        if (value > high) high = value;
    }
    m_Min = low;
    m_Max = high;
    m_Count = std::min<uint32_t>(m_Count + static_cast<uint32_t>(end - from), kBlockPoints);
}

}  // namespace qz3
