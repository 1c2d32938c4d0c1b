// Lock-step co-simulation: the buck converter of examples/buck_cosim.qz3
// driven in 10 us intervals by a host PI loop for 20 ms, against the same
// 20 ms in one call with the duty cycle held. Reports intervals per second
// and the overhead of one QZ3_SimulateInterval call (the difference of the
// two, per interval).
//
//   ./build-release/bench/cosim_bench
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <string>

#include "qz3.h"

namespace {

const std::string kFile = std::string(QZ3_SOURCE_DIR) + "/examples/buck_cosim.qz3";
constexpr int kIntervals = 2000;
constexpr double kInterval = 10e-6;

double Seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

// The host's loop; the duty cycle it ends with.
double LockStep(int ncir, int duty, int vout) {
    double integral = 0.0, v = 0.0, d = 0.4;
    for (int k = 0; k < kIntervals; ++k) {
        QZ3_SimulateInterval(ncir, kInterval);
        QZ3_GetOutputValue(ncir, vout, &v);
        integral += (5.0 - v) * kInterval;
        d = std::clamp(0.002 * (5.0 - v) + 30.0 * integral, 0.0, 0.95);
        QZ3_SetInputValue(ncir, duty, d);
    }
    return d;
}

void BM_LockStepBuck20ms(benchmark::State& state) {
    double lockStep = 0.0, whole = 0.0;
    for (auto _ : state) {
        const int ncir = QZ3_Open(kFile.c_str());
        const int duty = QZ3_GetInput(ncir, "DUTY"), vout = QZ3_GetOutput(ncir, "VOUT");
        if (duty < 0 || vout < 0 || QZ3_Start(ncir) != 0) {
            state.SkipWithError(QZ3_GetError());
            QZ3_Close(ncir);
            return;
        }
        auto begin = std::chrono::steady_clock::now();
        const double d = LockStep(ncir, duty, vout);
        lockStep += Seconds(begin);
        QZ3_Close(ncir);

        state.PauseTiming();
        const int again = QZ3_Open(kFile.c_str());
        const int held = QZ3_GetInput(again, "DUTY");
        QZ3_Start(again);
        QZ3_SetInputValue(again, held, d);
        begin = std::chrono::steady_clock::now();
        QZ3_SimulateInterval(again, kIntervals * kInterval);
        whole += Seconds(begin);
        QZ3_Close(again);
        state.ResumeTiming();
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["intervals_per_s"] = kIntervals * n / lockStep;
    state.counters["overhead_us_per_call"] = (lockStep - whole) / n / kIntervals * 1e6;
    state.counters["one_call_ms"] = whole / n * 1e3;
}
BENCHMARK(BM_LockStepBuck20ms)->Unit(benchmark::kMillisecond);

}  // namespace
