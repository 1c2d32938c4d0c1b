// The 4-bit ripple counter of the examples through the C interface.
//   BM_RippleCounter: 10^5 clock periods of 1 us; each period brings two
//   clock edges and, on average, 1.875 delayed flip-flop outputs, so
//   3.875 events per period. Reports events per second of wall time and
//   of process time (the machine may be shared).
//
//   ./build/bench/logic_bench
#include <benchmark/benchmark.h>

#include <chrono>
#include <ctime>
#include <string>

#include "qz3.h"

namespace {

void BM_RippleCounter(benchmark::State& state) {
    const std::string file = std::string(QZ3_SOURCE_DIR) + "/examples/counter4.qz3";
    constexpr double kPeriod = 1e-6;
    constexpr int kPeriods = 100000;
    for (auto _ : state) {
        const int ncir = QZ3_Open(file.c_str());
        if (ncir < 0 || QZ3_Start(ncir) != 0) {
            state.SkipWithError(QZ3_GetError());
            return;
        }
        const auto begin = std::chrono::steady_clock::now();
        const std::clock_t cpuBegin = std::clock();
        if (QZ3_Simulate(ncir, kPeriods * kPeriod) != 0) {
            state.SkipWithError(QZ3_GetError());
            QZ3_Close(ncir);
            return;
        }
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        const double cpuSeconds = double(std::clock() - cpuBegin) / CLOCKS_PER_SEC;
        const int q3 = QZ3_GetTrace(ncir, "V(Q3)");
        state.counters["events_per_s"] = 3.875 * kPeriods / seconds;
        state.counters["events_per_cpu_s"] = 3.875 * kPeriods / cpuSeconds;
        state.counters["points_Q3"] = double(QZ3_GetDataSize(ncir, q3));
        QZ3_Close(ncir);
    }
}
BENCHMARK(BM_RippleCounter)->Unit(benchmark::kSecond)->Iterations(1);

}  // namespace
