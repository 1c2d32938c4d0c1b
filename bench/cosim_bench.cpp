// Lock-step co-simulation: the buck converter of examples/buck_cosim.qz3
// driven in 10 us intervals by a host PI loop for 20 ms, and the same 20 ms
// with the duty cycle held, once in 2000 calls and once in one call.
// Reports intervals per second of the host loop and the overhead of one
// QZ3_SimulateInterval call (the difference of the two held runs, per
// interval, with the time points that the interval ends add), next to the
// cost of one recorded time point of the single call. Times are the
// process's CPU time, so that a machine shared with other work still gives
// comparable figures.
//
//   ./build-release/bench/cosim_bench
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <ctime>
#include <string>

#include "qz3.h"

namespace {

const std::string kFile = std::string(QZ3_SOURCE_DIR) + "/examples/buck_cosim.qz3";
constexpr int kIntervals = 2000;
constexpr double kInterval = 10e-6;

double CpuNow() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
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

// The buck converter with its duty cycle held at 0.42, run for `intervals`
// calls that together cover 20 ms; CPU seconds, and the recorded points.
double HeldDutyRun(int intervals, double* points) {
    const int ncir = QZ3_Open(kFile.c_str());
    const int duty = QZ3_GetInput(ncir, "DUTY");
    const int trace = QZ3_AddVTrace(ncir, "RLOAD");
    QZ3_SetInputValue(ncir, duty, 0.42);
    QZ3_Start(ncir);
    const double begin = CpuNow();
    for (int k = 0; k < intervals; ++k) QZ3_SimulateInterval(ncir, kIntervals * kInterval / intervals);
    const double spent = CpuNow() - begin;
    *points = QZ3_GetDataSize(ncir, trace);
    QZ3_Close(ncir);
    return spent;
}

// The host's PI loop gives the rate of intervals; the same held circuit in
// 2000 calls and in one call gives what a call adds over the steps it holds.
void BM_LockStepBuck20ms(benchmark::State& state) {
    double lockStep = 0.0, split = 0.0, whole = 0.0, points = 0.0, splitPoints = 0.0;
    for (auto _ : state) {
        const int ncir = QZ3_Open(kFile.c_str());
        const int duty = QZ3_GetInput(ncir, "DUTY"), vout = QZ3_GetOutput(ncir, "VOUT");
        if (duty < 0 || vout < 0 || QZ3_Start(ncir) != 0) {
            state.SkipWithError(QZ3_GetError());
            QZ3_Close(ncir);
            return;
        }
        const double begin = CpuNow();
        LockStep(ncir, duty, vout);
        lockStep += CpuNow() - begin;
        QZ3_Close(ncir);

        state.PauseTiming();
        double p = 0.0;
        split += HeldDutyRun(kIntervals, &p);
        splitPoints += p;
        whole += HeldDutyRun(1, &p);
        points += p;
        state.ResumeTiming();
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["intervals_per_s"] = kIntervals * n / lockStep;
    state.counters["overhead_us_per_call"] = (split - whole) / n / kIntervals * 1e6;
    state.counters["one_call_ms"] = whole / n * 1e3;
    state.counters["us_per_point_one_call"] = whole / points * 1e6;
    state.counters["points_added_per_call"] = (splitPoints - points) / n / kIntervals;
}
BENCHMARK(BM_LockStepBuck20ms)->Unit(benchmark::kMillisecond);

long PeakKiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// 10^6 lock-step intervals of 10 us on the RC of the co-simulation tests,
// deleting old data as a long-running host does: the peak memory after the
// first 10^4 intervals and at the end must be the same.
void BM_MillionIntervalsKeepMemoryFlat(benchmark::State& state) {
    const std::string rc = std::string(QZ3_SOURCE_DIR) + "/tests/circuits/cosim_rc.qz3";
    for (auto _ : state) {
        const int ncir = QZ3_Open(rc.c_str());
        const int input = QZ3_GetInput(ncir, "VIN");
        QZ3_AddVTrace(ncir, "C1");
        if (input < 0 || QZ3_Start(ncir) != 0) {
            state.SkipWithError(QZ3_GetError());
            QZ3_Close(ncir);
            return;
        }
        long early = 0;
        for (int k = 0; k < 1000000; ++k) {
            QZ3_SetInputValue(ncir, input, (k / 100) % 2 ? 5.0 : 0.0);
            QZ3_SimulateInterval(ncir, 10e-6);
            if (k % 1000 == 999) QZ3_DeleteOldData(ncir);
            if (k == 10000) early = PeakKiB();
        }
        state.counters["peak_KiB_at_1e4"] = double(early);
        state.counters["peak_KiB_at_1e6"] = double(PeakKiB());
        QZ3_Close(ncir);
    }
}
BENCHMARK(BM_MillionIntervalsKeepMemoryFlat)->Unit(benchmark::kSecond)->Iterations(1);

}  // namespace
