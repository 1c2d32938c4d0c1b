#include "traces/data.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

using namespace qz3;

namespace {

// Lets a fixed number of chunks through, then refuses.
struct ChunkBudget {
    int left;
    static bool Allow(size_t, void* context) {
        auto* budget = static_cast<ChunkBudget*>(context);
        if (budget->left <= 0) return false;
        --budget->left;
        return true;
    }
};

// An uncompressed run with room for a number of chunks.
struct BudgetedRun {
    explicit BudgetedRun(int chunks) : budget{chunks}, run(&link, 0) {
        link.compress = false;
        run.SetChunkGate(&ChunkBudget::Allow, &budget);
    }
    CDataLink link;
    ChunkBudget budget;
    CData run;
};

void AddRamp(CData& run, int count, double t0 = 0.0) {
    for (int i = 0; i < count; ++i) ASSERT_EQ(run.AddPoint(t0 + i, t0 + i), 1);
}

std::vector<double> PointsOf(const CData& run) {
    std::vector<double> out;
    for (int i = 0; i < run.Count(); ++i) {
        double t, v;
        run.GetPoint(i, t, v, false);
        out.push_back(t);
        out.push_back(v);
    }
    return out;
}

std::vector<unsigned char> WrittenBytes(const CData& run) {
    FILE* file = std::tmpfile();
    EXPECT_NE(file, nullptr);
    EXPECT_TRUE(run.WriteBinary(file));
    std::vector<unsigned char> bytes(static_cast<size_t>(std::ftell(file)));
    std::rewind(file);
    EXPECT_EQ(std::fread(bytes.data(), 1, bytes.size(), file), bytes.size());
    std::fclose(file);
    return bytes;
}

}  // namespace

TEST(CData, WithoutCompressionEveryPointIsStored) {
    CDataLink link;
    link.compress = false;
    CData run(&link, 0);
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(run.AddPoint(i * 1e-3, 5.0), 1);
    EXPECT_EQ(run.Count(), 1000);
    EXPECT_EQ(link.points, 1000u);
    EXPECT_EQ(run.BlockCount(), 4);
}

TEST(CData, FlatStretchesKeepTheirEnds) {
    CDataLink link;
    CData run(&link, 0);
    for (int i = 0; i < 100000; ++i) ASSERT_EQ(run.AddPoint(i, 5.0), 1);
    ASSERT_EQ(run.Count(), 2);  // the first point and the end of the stretch
    EXPECT_EQ(PointsOf(run), (std::vector<double>{0, 5, 99999, 5}));
    EXPECT_EQ(link.points, 2u);  // absorbed repeats aren't offered points
    EXPECT_EQ(run.BlockCount(), 1);

    // A change stores a point; a new stretch again keeps two.
    run.AddPoint(100000, 6.0);
    run.AddPoint(100001, 6.0);
    run.AddPoint(100002, 6.0);
    EXPECT_EQ(PointsOf(run),
              (std::vector<double>{0, 5, 99999, 5, 100000, 6, 100002, 6}));

    // A reading between the stretch's ends is the constant.
    double v;
    ASSERT_TRUE(run.GetValueAt(50000.5, v, false));
    EXPECT_EQ(v, 5.0);
}

TEST(CData, CompressionToleranceIsRelative) {
    CDataLink link;
    CData run(&link, 0);
    run.AddPoint(0, 0.0);
    run.AddPoint(1, 0.0);  // 0 after 0: tolerance 0 and still a repeat
    run.AddPoint(2, 0.0);
    EXPECT_EQ(run.Count(), 2);
    run.AddPoint(3, 1e-300);  // anything but 0 after 0 is a change
    EXPECT_EQ(run.Count(), 3);

    CData near(&link, 0);
    near.AddPoint(0, 1.0);
    near.AddPoint(1, 1.0 + 4e-13);  // within 1e-12 relative
    near.AddPoint(2, 1.0 + 8e-13);  // compared with the last stored value
    EXPECT_EQ(near.Count(), 2);
    near.AddPoint(3, 1.0 + 1e-9);
    near.AddPoint(4, 1.0 + 2e-9);
    EXPECT_EQ(near.Count(), 4);

    CData alternating(&link, 0);
    for (int i = 0; i < 50; ++i) alternating.AddPoint(i, i % 2);
    EXPECT_EQ(alternating.Count(), 50);
}

TEST(CData, InterpolationAtAndBetweenPoints) {
    CDataLink link;
    CData run(&link, 0);
    const double times[] = {0, 1, 2, 3};
    const double values[] = {0, 10, 4, -5};
    for (int i = 0; i < 4; ++i) run.AddPoint(times[i], values[i]);

    struct Row {
        double t;
        bool ok;
        double expected;
    } rows[] = {
        {0.0, true, 0.0},   {0.5, true, 5.0},     {1.0, true, 10.0}, {1.25, true, 8.5},
        {2.5, true, -0.5},  {3.0, true, -5.0},    {3.0 * (1 + 1e-13), true, -5.0},
        {3.001, false, 0},  {-0.5, false, 0},     {1e300, false, 0},
    };
    for (const Row& row : rows) {
        double v = 123.0;
        EXPECT_EQ(run.GetValueAt(row.t, v, false), row.ok) << row.t;
        if (row.ok)
            EXPECT_DOUBLE_EQ(v, row.expected) << row.t;
        else
            EXPECT_TRUE(std::isnan(v)) << row.t;
    }
    double v;
    EXPECT_FALSE(run.GetValueAt(std::nan(""), v, false));
}

TEST(CData, OnePointAnswersOnlyAtItsTime) {
    CDataLink link;
    CData run(&link, 0);
    double v = 0.0;
    EXPECT_FALSE(run.GetValueAt(0.0, v, false));
    EXPECT_TRUE(std::isnan(v));
    run.AddPoint(2.0, 7.0);
    ASSERT_TRUE(run.GetValueAt(2.0, v, false));
    EXPECT_EQ(v, 7.0);
    EXPECT_FALSE(run.GetValueAt(2.1, v, false));
    EXPECT_TRUE(std::isnan(v));
    EXPECT_FALSE(run.GetValueAt(1.9, v, false));
}

TEST(CData, EventPointsAtOneTimeReadTheLaterOne) {
    // A switching event stores the value before and after at one time.
    CDataLink link;
    CData run(&link, 0);
    run.AddPoint(0.0, 0.0);
    run.AddPoint(1.0, 0.0);
    run.AddPoint(1.0, 5.0);
    run.AddPoint(2.0, 5.0);
    EXPECT_EQ(run.FindIndex(1.0), 2);
    double v;
    ASSERT_TRUE(run.GetValueAt(1.0, v, false));
    EXPECT_EQ(v, 5.0);
    ASSERT_TRUE(run.GetValueAt(0.5, v, false));
    EXPECT_EQ(v, 0.0);
}

TEST(CData, FindIndexEdgesAndBlockBoundaries) {
    CDataLink link;
    CData run(&link, 0);
    EXPECT_EQ(run.FindIndex(0.0), -1);
    AddRamp(run, 1000, 10.0);  // times 10 .. 1009
    EXPECT_EQ(run.FindIndex(9.0), -1);
    EXPECT_EQ(run.FindIndex(10.0 * (1 - 1e-13)), 0);  // equal to the first time
    EXPECT_EQ(run.FindIndex(10.0), 0);
    EXPECT_EQ(run.FindIndex(10.5), 0);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(run.FindIndex(10.0 + i), i);
        ASSERT_EQ(run.FindIndex(10.0 + i + 0.5), i);
        // Just before a point but equal within the tolerance: that point.
        ASSERT_EQ(run.FindIndex((10.0 + i) * (1 - 1e-13)), i);
        ASSERT_EQ(run.FindIndex((10.0 + i) * (1 - 1e-9)), i - 1);
    }
    EXPECT_EQ(run.FindIndex(1e9), 999);
    EXPECT_EQ(run.FindIndex(std::nan("")), -1);
}

TEST(CData, GetPointRangeShiftAndApplyMode) {
    CDataLink link;
    link.mode = kTraceDigital;
    link.threshold = 2.5;
    link.shift = 10.0;
    CData run(&link, 0);
    run.AddPoint(0.0, 0.0);
    run.AddPoint(1.0, 5.0);
    run.AddPoint(2.0, 2.5);
    double t = 9, v = 9;
    EXPECT_FALSE(run.GetPoint(-1, t, v, true));
    EXPECT_EQ(t, 0.0);
    EXPECT_EQ(v, 0.0);
    t = v = 9;
    EXPECT_FALSE(run.GetPoint(3, t, v, true));
    EXPECT_EQ(t, 0.0);
    EXPECT_EQ(v, 0.0);

    ASSERT_TRUE(run.GetPoint(1, t, v, true));
    EXPECT_EQ(t, 11.0);
    EXPECT_EQ(v, 1.0);
    ASSERT_TRUE(run.GetPoint(2, t, v, true));
    EXPECT_EQ(v, 0.0);  // at the threshold is low
    ASSERT_TRUE(run.GetPoint(1, t, v, false));
    EXPECT_EQ(v, 5.0);

    // Searches take the shift off first; logic holds until the next point.
    EXPECT_EQ(run.FindIndex(10.5), 0);
    EXPECT_EQ(run.FindIndex(0.5), -1);
    ASSERT_TRUE(run.GetValueAt(11.9, v, true));
    EXPECT_EQ(v, 1.0);
    ASSERT_TRUE(run.GetValueAt(10.5, v, false));
    EXPECT_DOUBLE_EQ(v, 2.5);

    link.mode = kTraceBus;
    ASSERT_TRUE(run.GetValueAt(10.5, v, true));
    EXPECT_EQ(v, 0.0);
    ASSERT_TRUE(run.GetPoint(2, t, v, true));
    EXPECT_EQ(v, 3.0);  // floor(2.5 + 0.5)
}

TEST(CData, DeleteOldKeepsWhatAReadAtThePresentNeeds) {
    CDataLink link;
    CData run(&link, 0);
    AddRamp(run, 600);  // (i, i)

    run.DeleteOld(-5.0);  // nothing at or before: all stays
    EXPECT_EQ(run.Count(), 600);
    run.DeleteOld(0.0);  // index 0 leaves everything
    EXPECT_EQ(run.Count(), 600);

    run.DeleteOld(300.5);  // keeps 300 .. 599
    ASSERT_EQ(run.Count(), 300);
    double t, v;
    ASSERT_TRUE(run.GetPoint(0, t, v, false));
    EXPECT_EQ(t, 300.0);
    ASSERT_TRUE(run.GetValueAt(300.5, v, false));
    EXPECT_DOUBLE_EQ(v, 300.5);
    EXPECT_EQ(run.FindIndex(299.0), -1);
    ASSERT_TRUE(run.GetPoint(299, t, v, false));
    EXPECT_EQ(t, 599.0);

    run.DeleteOld(599.0);  // the present time is the last point
    ASSERT_EQ(run.Count(), 1);
    ASSERT_TRUE(run.GetValueAt(599.0, v, false));
    EXPECT_EQ(v, 599.0);

    // The run grows on from its new end, across the old block bounds.
    AddRamp(run, 700, 600.0);
    ASSERT_EQ(run.Count(), 701);
    EXPECT_EQ(run.FindIndex(899.0), 300);
    ASSERT_TRUE(run.GetValueAt(1000.25, v, false));
    EXPECT_DOUBLE_EQ(v, 1000.25);

    run.DeleteOld(1e9);  // beyond the last point: the last point stays
    ASSERT_EQ(run.Count(), 1);
    ASSERT_TRUE(run.GetPoint(0, t, v, false));
    EXPECT_EQ(t, 1299.0);

    run.DeleteOld(1e9);  // one point is left alone
    EXPECT_EQ(run.Count(), 1);
}

TEST(CData, DeleteOldBakesShiftAndLogicIntoTheKeptPoints) {
    CDataLink link;
    link.mode = kTraceDigital;
    link.threshold = 1.0;
    link.shift = 0.5;
    CData run(&link, 0);
    run.AddPoint(0.0, 0.0);
    run.AddPoint(1.0, 3.0);
    run.AddPoint(2.0, 0.2);
    run.AddPoint(3.0, 4.0);
    run.DeleteOld(1.5);
    ASSERT_EQ(run.Count(), 3);
    double t, v;
    ASSERT_TRUE(run.GetPoint(0, t, v, false));
    EXPECT_EQ(t, 2.0);  // 1 + the shift in store, + the shift on reading
    EXPECT_EQ(v, 1.0);
    ASSERT_TRUE(run.GetPoint(1, t, v, false));
    EXPECT_EQ(v, 0.0);
    ASSERT_TRUE(run.GetPoint(2, t, v, false));
    EXPECT_EQ(t, 4.0);
    EXPECT_EQ(v, 1.0);
}

TEST(CData, DeleteOldEndsAFlatStretch) {
    CDataLink link;
    CData run(&link, 0);
    for (int i = 0; i < 10; ++i) run.AddPoint(i, 1.0);
    ASSERT_EQ(run.Count(), 2);
    run.DeleteOld(9.0);
    ASSERT_EQ(run.Count(), 1);
    EXPECT_FALSE(run.m_Flat);
    // With no last point the first repeat is stored as a new point, and the
    // stretch starts again from there: three points at most.
    run.AddPoint(10.0, 1.0);
    run.AddPoint(11.0, 1.0);
    EXPECT_EQ(PointsOf(run), (std::vector<double>{9, 1, 10, 1, 11, 1}));
    run.AddPoint(12.0, 1.0);
    EXPECT_EQ(PointsOf(run), (std::vector<double>{9, 1, 10, 1, 12, 1}));
}

TEST(CData, RefusedChunksRecycleTheOldest) {
    const int64_t liveBefore = CData::LiveChunks();
    int64_t setBytes = 0;
    CDataLink link;
    link.compress = false;
    link.setBytes = &setBytes;
    ChunkBudget budget{2};
    {
        CData run(&link, 0);
        run.SetChunkGate(&ChunkBudget::Allow, &budget);
        AddRamp(run, 2 * kChunkPoints);
        EXPECT_EQ(run.ChunkCount(), 2);
        EXPECT_EQ(setBytes, 2 * 16 * kChunkPoints);
        EXPECT_EQ(CData::LiveChunks(), liveBefore + 2);

        // The third chunk is refused: the first is reused for the newest data.
        EXPECT_EQ(run.AddPoint(2.0 * kChunkPoints, -1.0), 0);
        ASSERT_EQ(run.Count(), kChunkPoints + 1);
        EXPECT_EQ(run.ChunkCount(), 2);
        EXPECT_EQ(run.BlockCount(), kChunkBlocks + 1);
        EXPECT_EQ(setBytes, 2 * 16 * kChunkPoints);
        EXPECT_EQ(CData::LiveChunks(), liveBefore + 2);
        EXPECT_EQ(run.FindIndex(0.0), -1);
        EXPECT_EQ(run.FindIndex(kChunkPoints - 1.0), -1);
        EXPECT_EQ(run.FindIndex(kChunkPoints), 0);
        double t, v;
        ASSERT_TRUE(run.GetPoint(kChunkPoints, t, v, false));
        EXPECT_EQ(t, 2.0 * kChunkPoints);
        EXPECT_EQ(v, -1.0);
        ASSERT_TRUE(run.GetValueAt(kChunkPoints + 0.5, v, false));
        EXPECT_EQ(v, kChunkPoints + 0.5);

        // The reused chunk fills without loss, then the next recycle comes.
        for (int i = 1; i < kChunkPoints; ++i)
            ASSERT_EQ(run.AddPoint(2.0 * kChunkPoints + i, 0.0), 1);
        EXPECT_EQ(run.AddPoint(3.0 * kChunkPoints, 0.0), 0);
        EXPECT_EQ(run.Count(), kChunkPoints + 1);
        EXPECT_EQ(run.FindIndex(2.0 * kChunkPoints), 0);
        run.Clear();
        EXPECT_EQ(run.Count(), 0);
        EXPECT_EQ(run.BlockCount(), 0);
        EXPECT_EQ(setBytes, 0);
        EXPECT_EQ(CData::LiveChunks(), liveBefore);
    }
}

TEST(CData, ASingleChunkRecyclesIntoAnEmptyRun) {
    BudgetedRun budgeted(1);
    CData& run = budgeted.run;
    AddRamp(run, kChunkPoints);
    EXPECT_EQ(run.AddPoint(kChunkPoints, 42.0), 0);
    ASSERT_EQ(run.Count(), 1);
    double v;
    ASSERT_TRUE(run.GetValueAt(kChunkPoints, v, false));
    EXPECT_EQ(v, 42.0);
    EXPECT_EQ(run.ChunkCount(), 1);
}

TEST(CData, NoMemoryAtAllStopsTheRunGrowing) {
    CDataLink link;
    ChunkBudget budget{0};
    CData run(&link, 0);
    run.SetChunkGate(&ChunkBudget::Allow, &budget);
    EXPECT_EQ(run.AddPoint(0.0, 1.0), 0);
    EXPECT_EQ(run.AddPoint(1.0, 2.0), 0);
    EXPECT_EQ(run.Count(), 0);
    EXPECT_EQ(run.BlockCount(), 0);
    double v;
    EXPECT_FALSE(run.GetValueAt(0.0, v, false));
    EXPECT_EQ(run.FindIndex(0.0), -1);
}

TEST(CData, LongRunsWithDeleteOldStayInOneChunk) {
    const int64_t liveBefore = CData::LiveChunks();
    int64_t setBytes = 0;
    CDataLink link;
    link.setBytes = &setBytes;
    CData run(&link, 0);
    double t = 0.0;
    int maxBlocks = 0;
    for (int step = 0; step < 2000000; ++step) {
        t += 1e-6;
        ASSERT_EQ(run.AddPoint(t, std::sin(step * 0.01)), 1);
        if (step % 5000 == 4999) {
            run.DeleteOld(t);
            double v;
            ASSERT_TRUE(run.GetValueAt(t, v, false));
            ASSERT_DOUBLE_EQ(v, std::sin(step * 0.01));
            maxBlocks = std::max(maxBlocks, run.BlockCount());
        }
    }
    EXPECT_EQ(run.ChunkCount(), 1);
    EXPECT_LE(maxBlocks, 5000 / kBlockPoints + 1);
    EXPECT_EQ(setBytes, 16 * kChunkPoints);
    EXPECT_EQ(CData::LiveChunks(), liveBefore + 1);
    EXPECT_EQ(link.points, 2000000u);
}

TEST(CData, AcPointsHoldThreeDoublesUncompressed) {
    CDataLink link;
    CData run(&link, 0, 3);
    for (int i = 0; i < 300; ++i) ASSERT_EQ(run.AddACPoint(100.0 * (i + 1), 2.0, -45.0), 1);
    ASSERT_EQ(run.Count(), 300);
    double f, mag, phase;
    ASSERT_TRUE(run.GetACPoint(299, f, mag, phase));
    EXPECT_EQ(f, 30000.0);
    EXPECT_EQ(mag, 2.0);
    EXPECT_EQ(phase, -45.0);
    f = mag = phase = 1.0;
    EXPECT_FALSE(run.GetACPoint(300, f, mag, phase));
    EXPECT_EQ(f + mag + phase, 0.0);
    double t, v;
    ASSERT_TRUE(run.GetPoint(0, t, v, false));
    EXPECT_EQ(t, 100.0);
    EXPECT_EQ(v, 2.0);

    CData transient(&link, 0);
    transient.AddPoint(1.0, 1.0);
    EXPECT_FALSE(transient.GetACPoint(0, f, mag, phase));
}

TEST(CData, AcReadsInterpolateInTheOutputForm) {
    CDataLink link;
    CData run(&link, 0, 3);
    run.AddACPoint(10.0, 1.0, 0.0);
    run.AddACPoint(1000.0, 100.0, -90.0);
    double value, dB, phase;

    ASSERT_TRUE(run.GetACValueAt(505.0, value, dB, phase));
    EXPECT_DOUBLE_EQ(value, 50.5);
    EXPECT_DOUBLE_EQ(phase, -45.0);
    EXPECT_DOUBLE_EQ(dB, 20.0 * std::log10(50.5));
    ASSERT_TRUE(run.GetACValueAt(1000.0, value, dB, phase));
    EXPECT_EQ(value, 100.0);
    EXPECT_DOUBLE_EQ(dB, 40.0);
    EXPECT_FALSE(run.GetACValueAt(2000.0, value, dB, phase));
    EXPECT_TRUE(std::isnan(value) && std::isnan(dB) && std::isnan(phase));
    EXPECT_FALSE(run.GetACValueAt(5.0, value, dB, phase));

    // On a log axis and a dB scale, one decade of two is half way in dB.
    link.logX = true;
    link.dbY = true;
    ASSERT_TRUE(run.GetACValueAt(100.0, value, dB, phase));
    EXPECT_NEAR(value, 20.0, 1e-12);
    EXPECT_NEAR(dB, 20.0, 1e-12);
    EXPECT_NEAR(phase, -45.0, 1e-12);
    EXPECT_FALSE(run.GetACValueAt(0.0, value, dB, phase));
    EXPECT_FALSE(run.GetACValueAt(-1.0, value, dB, phase));

    // Real and imaginary forms use the engine's pi.
    link.logX = false;
    link.dbY = false;
    link.acOut = kAcReal;
    ASSERT_TRUE(run.GetACValueAt(1000.0, value, dB, phase));
    // The true pi would give about 6e-15 here.
    EXPECT_NEAR(value, 100.0 * std::cos(-90.0 * 3.14159265358 / 180.0), 1e-12);
    link.acOut = kAcImag;
    ASSERT_TRUE(run.GetACValueAt(1000.0, value, dB, phase));
    EXPECT_DOUBLE_EQ(value, -100.0);
    EXPECT_TRUE(std::isnan(dB));  // a negative value has no dB figure

    // On a dB scale a value beyond the range fails the whole read.
    link.dbY = true;
    EXPECT_FALSE(run.GetACValueAt(10.0, value, dB, phase));  // sin(0) = 0
    EXPECT_TRUE(std::isnan(value));
}

TEST(CData, BinaryLayoutIsThePointsInOrder) {
    CDataLink link;
    link.compress = false;
    CData run(&link, 0);
    std::vector<double> expected;
    for (int i = 0; i < 300; ++i) {
        run.AddPoint(i * 0.5, -i);
        expected.push_back(i * 0.5);
        expected.push_back(-i);
    }
    std::vector<unsigned char> bytes = WrittenBytes(run);
    ASSERT_EQ(bytes.size(), 300u * 16);
    EXPECT_EQ(std::memcmp(bytes.data(), expected.data(), bytes.size()), 0);

    // After a deletion the file holds what the run holds.
    run.DeleteOld(100.0);
    bytes = WrittenBytes(run);
    ASSERT_EQ(bytes.size(), 100u * 16);
    EXPECT_EQ(std::memcmp(bytes.data(), expected.data() + 400, bytes.size()), 0);

    CData ac(&link, 0, 3);
    ac.AddACPoint(1.0, 2.0, 3.0);
    ac.AddACPoint(4.0, 5.0, 6.0);
    bytes = WrittenBytes(ac);
    const double acExpected[] = {1, 2, 3, 4, 5, 6};
    ASSERT_EQ(bytes.size(), sizeof acExpected);
    EXPECT_EQ(std::memcmp(bytes.data(), acExpected, bytes.size()), 0);

    CData empty(&link, 0);
    EXPECT_TRUE(WrittenBytes(empty).empty());
    EXPECT_FALSE(empty.WriteBinary(nullptr));
}

TEST(CData, StoredSamplesReadThroughTheirScaling) {
    CDataLink link;
    CData run(&link, 3);
    EXPECT_FALSE(run.SetStoredType(9, 0, 1, 0, 1, 0));
    ASSERT_TRUE(run.SetStoredType(kSampleInt16, 1.0, 0.5, 10.0, 2.0, 100.0));
    std::vector<int16_t> raw(300);
    for (int i = 0; i < 300; ++i) raw[i] = static_cast<int16_t>(100 + i);
    ASSERT_EQ(run.AddSamples(raw.data(), 300), 300);
    EXPECT_EQ(run.AddPoint(5.0, 5.0), 1);  // nothing adds points to samples
    EXPECT_EQ(run.Count(), 300);

    double t, v;
    ASSERT_TRUE(run.GetPoint(260, t, v, false));
    EXPECT_DOUBLE_EQ(t, 1.0 + 260 * 0.5);
    EXPECT_DOUBLE_EQ(v, 260 * 2.0 + 10.0);
    EXPECT_EQ(run.FindIndex(0.9), -1);
    EXPECT_EQ(run.FindIndex(1.0), 0);
    EXPECT_EQ(run.FindIndex(1.74), 1);
    EXPECT_EQ(run.FindIndex(1e30), 299);
    ASSERT_TRUE(run.GetValueAt(1.25, v, false));
    EXPECT_DOUBLE_EQ(v, 11.0);
    run.DeleteOld(100.0);  // stored runs are read-only
    EXPECT_EQ(run.Count(), 300);

    std::vector<unsigned char> bytes = WrittenBytes(run);
    ASSERT_EQ(bytes.size(), 600u);
    EXPECT_EQ(std::memcmp(bytes.data(), raw.data(), bytes.size()), 0);
    EXPECT_FALSE(run.SetStoredType(kSampleInt8, 0, 1, 0, 1, 0));  // not empty

    // Out of memory, a stored run keeps its first samples and stops.
    ChunkBudget budget{1};
    CData bytes8(&link, 1);
    bytes8.SetChunkGate(&ChunkBudget::Allow, &budget);
    ASSERT_TRUE(bytes8.SetStoredType(kSampleUInt8, 0.0, 1.0, 0.0, 1.0, 0.0));
    std::vector<uint8_t> many(kChunkPoints + 10, 7);
    many[0] = 3;
    EXPECT_EQ(bytes8.AddSamples(many.data(), kChunkPoints + 10), kChunkPoints);
    ASSERT_TRUE(bytes8.GetPoint(0, t, v, false));
    EXPECT_EQ(v, 3.0);
    EXPECT_EQ(bytes8.m_Bytes, kChunkPoints);
}

// ---- the block being filled ------------------------------------------------

namespace {

double Wiggle(int i) { return std::sin(0.37 * i) * (1.0 + i % 97); }

// Points a .. b-1 of a fed series: their count and extremes.
void ExpectBlockHolds(const CDataBlock& block, const std::vector<double>& fed, size_t a, size_t b) {
    const auto [low, high] = std::minmax_element(fed.begin() + a, fed.begin() + b);
    EXPECT_EQ(block.m_Count, b - a);
    EXPECT_EQ(block.m_Min, *low);
    EXPECT_EQ(block.m_Max, *high);
}

}  // namespace

// A block's count and extremes are those of the points stored in it: a full
// block has them once the next one begins, the block being filled once it
// is settled. Every point reads back as it was given.
TEST(CData, BlocksKeepCountsAndExtremesOfTheirPoints) {
    CDataLink link;
    link.compress = false;
    CData run(&link, 0);
    std::vector<double> fed;
    const int count = 3 * kBlockPoints + 17;
    for (int i = 0; i < count; ++i) {
        fed.push_back(Wiggle(i));
        ASSERT_EQ(run.AddPoint(i * 1e-3, fed.back()), 1);
    }
    ASSERT_EQ(run.BlockCount(), 4);
    for (int b = 0; b < 3; ++b) ExpectBlockHolds(*run.m_Blocks[b], fed, b * kBlockPoints, (b + 1) * kBlockPoints);
    run.SettleOpenBlock();
    ExpectBlockHolds(*run.m_Blocks[3], fed, 3 * kBlockPoints, count);
    // Settling twice counts nothing twice; the block goes on filling.
    run.SettleOpenBlock();
    fed.push_back(-1000.0);
    run.AddPoint(count * 1e-3, fed.back());
    run.SettleOpenBlock();
    ExpectBlockHolds(*run.m_Blocks[3], fed, 3 * kBlockPoints, count + 1);
    for (int i = 0; i <= count; ++i) {
        double t, v;
        ASSERT_TRUE(run.GetPoint(i, t, v, false));
        ASSERT_EQ(t, i * 1e-3);
        ASSERT_EQ(v, fed[i]) << i;
    }
    EXPECT_EQ(link.points, static_cast<uint32_t>(count + 1));
}

// A flat stretch overwrites the value of its first point with the repeat; the
// block has still seen the value first stored there.
TEST(CData, AStretchStartInTheOpenBlockKeepsTheValueSeenFirst) {
    CDataLink link;
    CData run(&link, 0);
    const double first = 2.0, repeat = 2.0 * (1.0 + 4e-13);
    run.AddPoint(0.0, first);
    run.AddPoint(1.0, repeat);
    ASSERT_EQ(run.Count(), 2);
    EXPECT_EQ(PointsOf(run), (std::vector<double>{0, repeat, 1, repeat}));
    run.SettleOpenBlock();
    EXPECT_EQ(run.m_Blocks[0]->m_Count, 2u);
    EXPECT_EQ(run.m_Blocks[0]->m_Min, first);
    EXPECT_EQ(run.m_Blocks[0]->m_Max, repeat);
}

// The first point of a run of points can be replaced, in place and without
// adding a point; an empty run or a run of stored samples has none.
TEST(CData, ReplacingTheFirstPoint) {
    CDataLink link;
    link.compress = false;
    CData run(&link, 0);
    EXPECT_FALSE(run.ReplaceFirstPoint(0.5, 7.0));
    AddRamp(run, kBlockPoints + 3);
    ASSERT_TRUE(run.ReplaceFirstPoint(0.5, 7.0));
    ASSERT_TRUE(run.ReplaceFirstPoint(0.75, 8.0));
    ASSERT_EQ(run.Count(), kBlockPoints + 3);
    run.AddPoint(1000.0, 9.0);
    std::vector<double> points = PointsOf(run);
    EXPECT_EQ(points[0], 0.75);
    EXPECT_EQ(points[1], 8.0);
    for (int i = 1; i < kBlockPoints + 3; ++i) ASSERT_EQ(points[2 * i], i);
    EXPECT_EQ(points[points.size() - 2], 1000.0);

    CData stored(&link, 0);
    ASSERT_TRUE(stored.SetStoredType(kSampleInt16, 0.0, 1.0, 0.0, 1.0, 0.0));
    const int16_t raw[3] = {1, 2, 3};
    ASSERT_EQ(stored.AddSamples(raw, 3), 3);
    EXPECT_FALSE(stored.ReplaceFirstPoint(0.5, 7.0));
}

// With room for two chunks, each further chunk of points takes the place of
// the oldest one: the store reports each loss once and keeps exactly the
// newest points, block by block.
TEST(CData, RepeatedRecyclesKeepTheNewestPointsExactly) {
    BudgetedRun budgeted(2);
    CData& run = budgeted.run;
    const int count = 5 * kChunkPoints + 100;
    int losses = 0;
    for (int i = 0; i < count; ++i)
        if (run.AddPoint(i, Wiggle(i)) == 0) ++losses;
    // Six chunks' worth of points, four of them in recycled chunks.
    EXPECT_EQ(losses, 4);
    EXPECT_EQ(run.ChunkCount(), 2);
    ASSERT_EQ(run.Count(), kChunkPoints + 100);
    const int first = count - run.Count();
    for (int i = 0; i < run.Count(); ++i) {
        double t, v;
        ASSERT_TRUE(run.GetPoint(i, t, v, false));
        ASSERT_EQ(t, first + i);
        ASSERT_EQ(v, Wiggle(first + i)) << i;
    }
    run.SettleOpenBlock();
    std::vector<double> kept;
    for (int i = first; i < count; ++i) kept.push_back(Wiggle(i));
    for (int b = 0; b < run.BlockCount(); ++b) {
        const size_t a = static_cast<size_t>(b) * kBlockPoints;
        ExpectBlockHolds(*run.m_Blocks[b], kept, a, std::min(kept.size(), a + kBlockPoints));
    }
}
