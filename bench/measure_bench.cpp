// Cursor measurements over a run of 10^7 points: the first measurement walks
// every point and keeps each full block's sums; measuring again walks only
// the partial blocks at the cursors.
//
//   ./build-release/bench/measure_bench
#include <benchmark/benchmark.h>

#include <cmath>

#include "traces/data.h"
#include "traces/data_measure.h"

namespace {

constexpr int kPoints = 10000000;

void FillSine(qz3::CData& run) {
    for (int i = 0; i < kPoints; ++i) {
        const double t = i * 1e-7;
        run.AddPoint(t, 0.5 + 2.0 * std::sin(6.28318530716 * 1000.0 * t));
    }
}

void BM_FirstMeasurement(benchmark::State& state) {
    qz3::CDataLink link;
    link.compress = false;
    for (auto _ : state) {
        state.PauseTiming();
        qz3::CData run(&link, 0);
        FillSine(run);
        state.ResumeTiming();
        qz3::CMeasurement m;
        qz3::MeasureRun(run, 0.1e-3, 0.9, m);
        benchmark::DoNotOptimize(m.value[qz3::kMeasureMean]);
    }
}
BENCHMARK(BM_FirstMeasurement)->Unit(benchmark::kMillisecond)->Iterations(2);

void BM_RepeatedMeasurement(benchmark::State& state) {
    qz3::CDataLink link;
    link.compress = false;
    qz3::CData run(&link, 0);
    FillSine(run);
    qz3::CMeasurement m;
    qz3::MeasureRun(run, 0.1e-3, 0.9, m);
    for (auto _ : state) {
        qz3::MeasureRun(run, 0.1e-3, 0.9, m);
        benchmark::DoNotOptimize(m.value[qz3::kMeasureMean]);
    }
}
BENCHMARK(BM_RepeatedMeasurement)->Unit(benchmark::kMillisecond);

// A run in progress: a point more since the last measurement, so the last
// results don't stand, but the full blocks' sums do.
void BM_MeasurementOfAGrowingRun(benchmark::State& state) {
    qz3::CDataLink link;
    link.compress = false;
    qz3::CData run(&link, 0);
    FillSine(run);
    qz3::CMeasurement m;
    qz3::MeasureRun(run, 0.1e-3, 0.9, m, false);
    double t = kPoints * 1e-7;
    for (auto _ : state) {
        run.AddPoint(t += 1e-7, 0.5);
        qz3::MeasureRun(run, 0.1e-3, 0.9, m, false);
        benchmark::DoNotOptimize(m.value[qz3::kMeasureMean]);
    }
}
BENCHMARK(BM_MeasurementOfAGrowingRun)->Unit(benchmark::kMicrosecond);

}  // namespace
