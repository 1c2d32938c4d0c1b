// The buck converter of examples/ run through the C interface for 10 ms of
// simulated time: simulated time per wall second, accepted steps and located
// switching events per second, peak memory, and the heap allocations made
// while the fast trapezoidal steps run.
//
//   ./build-bench/bench/buck_bench
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <new>
#include <string>

#include "qz3.h"

namespace {

std::atomic<long> g_Allocations{0};

std::string Example(const char* file) { return std::string(QZ3_SOURCE_DIR) + "/examples/" + file; }

constexpr double kSimulated = 10e-3;
constexpr double kHalfPeriod = 5e-6;

// Recorded points that land on an edge of the 100 kHz drive: each is a
// switching event that the run had to hit and search.
int CountEdgePoints(int ncir, int trace) {
    const int count = QZ3_GetDataSize(ncir, trace);
    int edges = 0;
    double last = -1;
    for (int i = 0; i < count; ++i) {
        double t = 0, y = 0;
        QZ3_GetDataAt(ncir, trace, i, &t, &y);
        const double k = std::round(t / kHalfPeriod);
        if (t != last && k > 0 && std::fabs(t - k * kHalfPeriod) < 1e-10) ++edges;
        last = t;
    }
    return edges;
}

double PeakMemoryMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024.0;
}

void BM_BuckConverter10ms(benchmark::State& state) {
    long steps = 0, events = 0;
    for (auto _ : state) {
        const int ncir = QZ3_Open(Example("buck_converter.qz3").c_str());
        if (ncir < 0 || QZ3_Start(ncir) != 0 || QZ3_Simulate(ncir, kSimulated) != 0) {
            state.SkipWithError(QZ3_GetError());
            if (ncir >= 0) QZ3_Close(ncir);
            return;
        }
        state.PauseTiming();
        const int vout = QZ3_GetTrace(ncir, "Vout");
        steps += QZ3_GetDataSize(ncir, vout);
        events += CountEdgePoints(ncir, vout);
        state.ResumeTiming();
        QZ3_Close(ncir);
    }
    using benchmark::Counter;
    state.counters["sim_ms_per_s"] = Counter(kSimulated * 1e3 * state.iterations(), Counter::kIsRate);
    state.counters["points_per_s"] = Counter(double(steps), Counter::kIsRate);
    state.counters["events_per_s"] = Counter(double(events), Counter::kIsRate);
    state.counters["points_per_run"] = double(steps) / state.iterations();
    state.counters["events_per_run"] = double(events) / state.iterations();
    state.counters["peak_MiB"] = PeakMemoryMiB();
}
BENCHMARK(BM_BuckConverter10ms)->Unit(benchmark::kMillisecond);

// The buck converter regulated by an error amplifier and a modulator, 20 ms
// with a load step: each edge of the drive is an event of the modulator,
// counted from the gate's level changes.
void BM_ClosedLoopBuck20ms(benchmark::State& state) {
    constexpr double kLoopSimulated = 20e-3;
    long events = 0, points = 0;
    for (auto _ : state) {
        const int ncir = QZ3_Open(Example("buck_closed_loop.qz3").c_str());
        const int gate = ncir >= 0 ? QZ3_AddVTrace(ncir, "RGATE") : -1;
        if (gate < 0 || QZ3_Start(ncir) != 0 || QZ3_Simulate(ncir, kLoopSimulated) != 0) {
            state.SkipWithError(QZ3_GetError());
            if (ncir >= 0) QZ3_Close(ncir);
            return;
        }
        state.PauseTiming();
        const int count = QZ3_GetDataSize(ncir, gate);
        double last = 0;
        for (int i = 0; i < count; ++i) {
            double t = 0, y = 0;
            QZ3_GetDataAt(ncir, gate, i, &t, &y);
            if (i > 0 && y != last) ++events;
            last = y;
        }
        points += QZ3_GetDataSize(ncir, QZ3_GetTrace(ncir, "I(L1)"));
        state.ResumeTiming();
        QZ3_Close(ncir);
    }
    using benchmark::Counter;
    state.counters["events_per_s"] = Counter(double(events), Counter::kIsRate);
    state.counters["events_per_run"] = double(events) / state.iterations();
    state.counters["points_per_run"] = double(points) / state.iterations();
}
BENCHMARK(BM_ClosedLoopBuck20ms)->Unit(benchmark::kMillisecond);

// An LC tank has no event after its start, so past the Euler steps every
// turn is a fast trapezoidal step. With its traces deleted nothing is
// recorded either: any allocation counted here belongs to the step itself.
void BM_TrapStepAllocations(benchmark::State& state) {
    long allocations = 0, steps = 0;
    for (auto _ : state) {
        const int ncir = QZ3_Open(Example("lc_tank.qz3").c_str());
        for (const char* name : {"V(C1)", "I(L1)", "Energy"}) QZ3_DeleteTrace(ncir, QZ3_GetTrace(ncir, name));
        if (QZ3_Start(ncir) != 0 || QZ3_Simulate(ncir, 50e-6) != 0) {
            state.SkipWithError(QZ3_GetError());
            QZ3_Close(ncir);
            return;
        }
        double t0 = 0, t1 = 0;
        QZ3_GetSimulationTime(ncir, &t0);
        const long before = g_Allocations.load();
        // One call for all steps, so that the interface's own work per call
        // doesn't count.
        QZ3_Simulate(ncir, 2e-3);
        allocations += g_Allocations.load() - before;
        QZ3_GetSimulationTime(ncir, &t1);
        steps += std::lround((t1 - t0) / 0.5e-6);
        QZ3_Close(ncir);
    }
    state.counters["allocs_per_trap_step"] = steps ? double(allocations) / double(steps) : -1.0;
    state.counters["trap_steps"] = double(steps) / state.iterations();
}
BENCHMARK(BM_TrapStepAllocations)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

// Counting replacements of the global allocation functions; the library
// resolves operator new to these like any other code in the process.
void* operator new(std::size_t size) {
    g_Allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    g_Allocations.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(size ? size : 1);
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept { return operator new(size, tag); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
