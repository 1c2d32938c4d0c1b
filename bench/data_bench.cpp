// Points stored per second by a run, with and without flat-stretch
// compression, and interpolated reads over a long run. The batches on fresh
// chunks include the first touch of their memory; the warm ones store into
// chunks that are recycled, which is the cost of the step itself.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "traces/data.h"

using namespace qz3;

namespace {

constexpr int kBatch = 1 << 20;  // 16 chunks per timed batch

// A varying signal with no flat stretches, computed outside the timing.
const std::vector<double>& Wave() {
    static const std::vector<double> wave = [] {
        std::vector<double> w(kBatch);
        for (int i = 0; i < kBatch; ++i) w[i] = std::sin(i * 1e-3) + 2.0;
        return w;
    }();
    return wave;
}

void StoreBatches(benchmark::State& state, bool compress, bool flat) {
    CDataLink link;
    link.compress = compress;
    CData run(&link, 0);
    const std::vector<double>& wave = Wave();
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i) run.AddPoint(i * 1e-6, flat ? 1.0 : wave[i]);
        benchmark::DoNotOptimize(run.m_Last);
        state.PauseTiming();
        run.Clear();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

// Two chunks, then the oldest is recycled for every further 65536 points.
bool TwoChunks(size_t, void* context) { return ++*static_cast<int*>(context) <= 2; }

void StoreWarm(benchmark::State& state, bool compress) {
    CDataLink link;
    link.compress = compress;
    CData run(&link, 0);
    int chunks = 0;
    run.SetChunkGate(&TwoChunks, &chunks);
    const std::vector<double>& wave = Wave();
    double t = 0.0;
    for (int i = 0; i < 3 * kChunkPoints; ++i) run.AddPoint(t += 1e-6, wave[i]);
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i) run.AddPoint(t += 1e-6, wave[i]);
        benchmark::DoNotOptimize(run.m_Last);
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

void BM_AddPointUncompressed(benchmark::State& state) { StoreBatches(state, false, false); }
void BM_AddPointWarmUncompressed(benchmark::State& state) { StoreWarm(state, false); }
void BM_AddPointWarmCompressed(benchmark::State& state) { StoreWarm(state, true); }
void BM_AddPointCompressedVarying(benchmark::State& state) { StoreBatches(state, true, false); }
void BM_AddPointCompressedFlat(benchmark::State& state) { StoreBatches(state, true, true); }

void BM_AddACPoint(benchmark::State& state) {
    CDataLink link;
    CData run(&link, 0, 3);
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i) run.AddACPoint(i + 1.0, 1.0, -45.0);
        state.PauseTiming();
        run.Clear();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

// The two-level bisection over a run of 4 Mi points.
void BM_GetValueAt(benchmark::State& state) {
    CDataLink link;
    link.compress = false;
    CData run(&link, 0);
    const int points = 4 * kBatch;
    for (int i = 0; i < points; ++i) run.AddPoint(i, i);
    unsigned step = 0;
    for (auto _ : state) {
        step = step * 1664525u + 1013904223u;
        double v;
        run.GetValueAt((step % points) + 0.5, v, false);
        benchmark::DoNotOptimize(v);
    }
    state.SetItemsProcessed(state.iterations());
}

}  // namespace

BENCHMARK(BM_AddPointUncompressed)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AddPointCompressedVarying)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AddPointWarmUncompressed)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AddPointWarmCompressed)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AddPointCompressedFlat)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AddACPoint)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GetValueAt);
