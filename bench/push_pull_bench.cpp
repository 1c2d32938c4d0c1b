// The push-pull stage of examples/ driven through 1000 periods of its 1 kHz
// sine, one second of simulated time: each period has four crossovers, each
// a switching event of the junction search. Reports events and accepted
// points per wall second, for comparison with the buck converter's
// (bench/buck_bench).
//
//   ./build-bench/bench/push_pull_bench
#include <benchmark/benchmark.h>

#include <string>

#include "qz3.h"

namespace {

std::string Example(const char* file) { return std::string(QZ3_SOURCE_DIR) + "/examples/" + file; }

constexpr double kPeriods = 1000, kPeriod = 1e-3;

// Changes of a junction-state trace: each is one side switching.
long CountChanges(int ncir, int trace) {
    const int count = QZ3_GetDataSize(ncir, trace);
    long changes = 0;
    double last = 0;
    for (int i = 0; i < count; ++i) {
        double t = 0, y = 0;
        QZ3_GetDataAt(ncir, trace, i, &t, &y);
        if (i > 0 && y != last) ++changes;
        last = y;
    }
    return changes;
}

void BM_PushPull1000Periods(benchmark::State& state) {
    long events = 0, points = 0;
    for (auto _ : state) {
        const int ncir = QZ3_Open(Example("push_pull_stage.qz3").c_str());
        // The file's step resolves one period by 1000 points for its plots;
        // 100 a period keep the sine's shape and leave the events to the
        // search.
        if (ncir < 0 || QZ3_SetStep(ncir, kPeriod / 100) != 0 || QZ3_Start(ncir) != 0 ||
            QZ3_Simulate(ncir, kPeriods * kPeriod) != 0) {
            state.SkipWithError(QZ3_GetError());
            if (ncir >= 0) QZ3_Close(ncir);
            return;
        }
        state.PauseTiming();
        events += CountChanges(ncir, QZ3_GetTrace(ncir, "S(Q1)")) + CountChanges(ncir, QZ3_GetTrace(ncir, "S(Q2)"));
        points += QZ3_GetDataSize(ncir, QZ3_GetTrace(ncir, "Vout"));
        state.ResumeTiming();
        QZ3_Close(ncir);
    }
    using benchmark::Counter;
    state.counters["events_per_s"] = Counter(double(events), Counter::kIsRate);
    state.counters["points_per_s"] = Counter(double(points), Counter::kIsRate);
    state.counters["events_per_run"] = double(events) / state.iterations();
    state.counters["points_per_run"] = double(points) / state.iterations();
}
BENCHMARK(BM_PushPull1000Periods)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
