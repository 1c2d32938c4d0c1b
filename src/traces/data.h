// One run of one trace: the points a simulation produced for it.
//
// How a run is used:
//     CDataLink link;                 // lives in the trace, see below
//     CData run(&link, 0);            // width 2: (time, value)
//     run.AddPoint(t, v);             // at every accepted time point; 0 = data lost
//     run.GetValueAt(t, v, true);     // interpolated read, NaN outside the data
//     run.DeleteOld(now);             // drop what a read at `now` no longer needs
// An AC run has width 3 (frequency, magnitude, phase in degrees) and is fed by
// AddACPoint and read by GetACPoint/GetACValueAt.
//
// Points lie in blocks of 256; the blocks are carved from chunks of 65536
// points allocated in one piece, so AddPoint allocates a block record once
// per 256 points and memory once per 65536. Point i is in block i / 256 at
// place i % 256. When a chunk is refused, the oldest chunk is recycled: the
// run keeps its newest data and the indices of the kept points shift down.
//
// The run keeps a cursor into the block being filled (the place of the next
// point and the room left), so that storing a point is "write, advance". The
// block's own count and m_Min/m_Max are brought up to date when the cursor
// leaves the block, before a stored value is overwritten, and on request
// (SettleOpenBlock); the step itself never touches the block record.
//
// Flat stretches are compressed while storing (the document's "dc"): a value
// that repeats the last one within min(|a|,|b|)*1e-12 is stored once as the
// end of the stretch, and later repeats only move that end's time.
#pragma once

#include <cstdint>
#include <cstdio>

#include "base/list.h"
#include "base/number_format.h"
#include "traces/annotation.h"
#include "traces/data_block.h"

namespace qz3 {

enum TraceMode : int { kTraceAnalog = 0, kTraceDigital = 1, kTraceBus = 2 };
enum AcOutput : int { kAcMagPhase = 0, kAcReal = 1, kAcImag = 2 };

// What a run reads from the trace that owns it, and the counters it feeds.
// The trace embeds one, keeps it current (its keys, the document's "dc"),
// and hands its address to each of its runs.
struct CDataLink {
    double shift = 0.0;      // added to every time on reading
    int mode = kTraceAnalog; // how apply-mode reads a value
    double threshold = 0.0;  // a digital value is 1 above it
    int acOut = kAcMagPhase; // output form of an AC read
    bool logX = false;       // AC reads interpolate on log frequency
    bool dbY = false;        // AC reads interpolate on dB
    bool compress = true;    // the document's "dc"
    uint32_t points = 0;     // points offered to the trace's runs
    int64_t* setBytes = nullptr; // chunk memory of the whole trace set
};

// Decides whether a chunk of `bytes` may be allocated; a refusal takes the
// same path as a failed allocation. The default lets every request through.
using ChunkGate = bool (*)(size_t bytes, void* context);

class CData {
public:
    // A run of doubles: width 2 for transient traces, 3 for AC traces (any
    // other width is taken as 2).
    CData(CDataLink* link, int id, uint32_t width = 2);
    virtual ~CData();
    CData(const CData&) = delete;
    CData& operator=(const CData&) = delete;

    // Turns an empty run into a run of stored samples (types 1 to 8) with
    // the given scaling; false for an unknown type or a run with points.
    bool SetStoredType(uint32_t type, double xZero, double xScale, double yZero, double yScale,
                       double yOffset);
    // Appends raw samples to a stored run, as read from a file's block;
    // returns how many were kept (fewer when memory ran out).
    int AddSamples(const void* raw, int count);

    // 1: stored or absorbed, nothing lost; 0: no room, or old data dropped.
    int AddPoint(double t, double v);
    int AddACPoint(double f, double magnitude, double phase) {
        return m_Type == kSampleDouble ? Store(f, magnitude, phase) : 1;
    }
    // Overwrites the first point of a run of doubles with points (a resumed
    // run's start, a held start); false when there is none.
    bool ReplaceFirstPoint(double t, double v);
    // Brings the count and m_Min/m_Max of the block being filled up to the
    // points stored so far.
    void SettleOpenBlock();

    // Out of range gives false and zeros. Apply-mode reads digital values
    // as 0/1 against the threshold and bus values rounded.
    bool GetPoint(int index, double& t, double& v, bool apply) const;
    bool GetACPoint(int index, double& f, double& magnitude, double& phase) const;
    // Index of the last point at or before t, or -1.
    int FindIndex(double t) const;
    // Linear interpolation between points; NaN and false outside the data.
    bool GetValueAt(double t, double& out, bool apply) const;
    // The same on frequencies, in the trace's output form; with dbY the
    // value is in dB too.
    bool GetACValueAt(double f, double& value, double& dB, double& phase) const;

    // Keeps the points from the last one at or before t on.
    void DeleteOld(double t);
    void Clear();

    // The run's points as they lie in memory: each point's doubles, or each
    // raw sample of a stored type, with nothing in between.
    bool WriteBinary(FILE* file) const;

    int Count() const { return m_Count; }
    int BlockCount() const { return m_Blocks.Count(); }
    int ChunkCount() const;
    // Chunks held by all runs of the process, to watch memory in tests.
    static int64_t LiveChunks();
    void SetChunkGate(ChunkGate gate, void* context) {
        m_Gate = gate;
        m_GateContext = context;
    }

    CDataLink* m_Link;
    int32_t m_Id;
    uint32_t m_Type = kSampleDouble;
    uint32_t m_Width;
    uint32_t m_PointSize;
    int32_t m_Count = 0;
    int64_t m_Bytes = 0;
    TList<CDataBlock> m_Blocks;
    unsigned char* m_Chunk = nullptr;
    uint32_t m_ChunkUsed = 0;
    double m_XZero = 0.0;
    double m_XScale = 1.0;
    double m_YZero = 0.0;
    double m_YScale = 1.0;
    double m_YOffset = 0.0;
    bool m_Flat = false;
    double* m_Last = nullptr;
    // Notes placed on this run; they stay when its points are cleared.
    CAnnotations m_Annotations;

    // The results of the last cursor measurement (data_measure.h) and what
    // they were taken over: the cursors and the points there were. Asked
    // again over the same, they are given as they stand.
    struct CMeasureMemo {
        double t1 = 0.0, t2 = 0.0;
        int32_t count = -1;
        bool crossings = false;
        double lastTime = 0.0;
        double value[13] = {};
        double phase[13] = {};
    };
    mutable CMeasureMemo m_Measured;

private:
    struct AcSample {
        double f, value, phase;
    };

    // The common step: room left in the block being filled.
    int Store(double t, double v, double third) {
        if (m_Room == 0) return StoreInNextBlock(t, v, third);
        if (m_Link != nullptr) ++m_Link->points;
        WriteAtCursor(t, v, third);
        return 1;
    }
    void WriteAtCursor(double t, double v, double third) {
        double* at = m_Fill;
        at[0] = t;
        at[1] = v;
        if (m_Width > 2) at[2] = third;
        m_Last = at;
        m_Fill = at + m_Width;
        --m_Room;
        ++m_Count;
    }
    int StoreInNextBlock(double t, double v, double third);
    void StartFlatStretch(double v);
    void OpenCursor(int block);
    void CloseCursor();
    bool NewBlock();
    unsigned char* AllocateChunk();
    unsigned char* RecycleOldestChunk();
    void FreeChunks();
    void AddToSetBytes(int64_t bytes);

    // Points of the run held by a block; stale block counts left by
    // DeleteOld are never trusted.
    int LiveBlocks() const { return (m_Count + kBlockPoints - 1) / kBlockPoints; }
    int LiveCount(int block) const;
    double RawTime(int index) const;
    double ApplyMode(double v) const;
    int FindSampleIndex(double t) const;
    int FindPointIndex(double t) const;
    bool ReadAcSample(int index, AcSample& out) const;
    double AcValue(double magnitude, double phase) const;

    ChunkGate m_Gate = nullptr;
    void* m_GateContext = nullptr;
    // The cursor: the block being filled, the place of the next point in
    // it and the places left; m_Settled is the first place whose point the
    // block's count and extremes don't hold yet.
    CDataBlock* m_FillBlock = nullptr;
    double* m_Fill = nullptr;
    int m_Room = 0;
    int m_Settled = 0;
};

// Here rather than in data.cpp so that a trace's step inlines it: the usual
// point is a compare, two writes and a step of the cursor.
inline int CData::AddPoint(double t, double v) {
    if (m_Type != kSampleDouble) return 1;
    if (m_Last != nullptr && (m_Link == nullptr || m_Link->compress)) {
        const bool repeat = RealSame(v, m_Last[1]);
        if (m_Flat) {
            if (repeat) {
                m_Last[0] = t;  // the stretch grows; nothing is stored
                return 1;
            }
            m_Flat = false;
        } else if (repeat) {
            StartFlatStretch(v);
        }
    }
    return Store(t, v, 0.0);
}

}  // namespace qz3
