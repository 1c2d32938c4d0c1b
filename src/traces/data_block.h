// One block of at most 256 points of a run. A block owns nothing: its points
// live inside a chunk of 65536 points that the run (CData) allocates and
// frees. A point of a run of doubles is m_Width doubles (time, value, and for
// AC the phase); a point of a stored run is one raw sample, whose time
// follows from its place and whose value from the block's scaling.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qz3 {

constexpr int kBlockPoints = 256;
constexpr int kChunkBlocks = 256;
constexpr int kChunkPoints = kBlockPoints * kChunkBlocks;

// Sample types of stored runs; 0 is a run of doubles.
enum SampleType : uint32_t {
    kSampleDouble = 0,
    kSampleInt8 = 1,
    kSampleUInt8 = 2,
    kSampleInt16 = 3,
    kSampleUInt16 = 4,
    kSampleInt32 = 5,
    kSampleUInt32 = 6,
    kSampleFloat = 7,
    kSampleFloat64 = 8,
};

// Bytes of one raw sample of a stored type; 0 for type 0 and unknown types.
uint32_t SampleSize(uint32_t type);

class CDataBlock {
public:
    CDataBlock(uint32_t type, uint32_t width, uint32_t pointSize);
    virtual ~CDataBlock() = default;

    // Type 0: the doubles of the point at a place of this block.
    double* PointAt(int place) const {
        return reinterpret_cast<double*>(m_Data) + static_cast<size_t>(place) * m_Width;
    }
    // Stored types: time and scaled value of the sample at a place.
    double SampleTime(int place) const { return place * m_XScale + m_XZero; }
    double SampleValue(int place) const;

    // Keeps m_Min/m_Max over the values stored here; the first one sets both.
    void Widen(double value);
    // Takes the points stored at places [from, end) of a block of doubles
    // into the count (capped at a full block) and into m_Min/m_Max, in
    // place order, as Widen would one by one.
    void TakeIn(int from, int end);

    uint32_t m_Type;
    uint32_t m_Width;
    uint32_t m_PointSize;
    double m_XZero = 0.0;
    double m_XScale = 1.0;
    double m_YZero = 0.0;
    double m_YScale = 1.0;
    double m_YOffset = 0.0;
    unsigned char* m_Data = nullptr;
    uint32_t m_Count = 0;
    unsigned char* m_Chunk = nullptr;
    uint32_t m_ChunkIndex = 0;
    // m_Count, m_Max and m_Min of the block a run is filling lag behind its
    // points until the run settles it (CData::SettleOpenBlock).
    double m_Max = 0.0;
    double m_Min = 0.0;
    // Statistics of the whole block, cached by the cursor measurements.
    double m_StatMin = 0.0;
    double m_StatMax = 0.0;
    double m_Integral = 0.0;
    double m_IntegralSq = 0.0;
    double m_PhaseMin = 0.0;
    double m_PhaseMax = 0.0;
    bool m_StatValid = false;
};

}  // namespace qz3
