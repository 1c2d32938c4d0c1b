// AC analysis of an RC ladder of 100 sections over 1000 logarithmic points,
// through the C interface: frequency points per second, and the heap
// allocations per point (the difference between a run of 2000 points and
// one of 1000, so that what a run allocates once does not count).
//
//   ./build-bench/bench/ac_bench
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <new>
#include <string>

#include "qz3.h"

namespace {

std::atomic<long> g_Allocations{0};

std::string LadderFile(int sections, int points) {
    std::string cmps = "<Cmp type=\"V_V\" id=\"1\" name=\"V1\" node0=\"0\" node1=\"1\" model=\"V\" v=\"0\" />\n";
    int id = 2;
    for (int k = 1; k <= sections; ++k) {
        const std::string a = std::to_string(k), b = std::to_string(k + 1);
        cmps += "<Cmp type=\"R_R\" id=\"" + std::to_string(id++) + "\" name=\"R" + a + "\" node0=\"" + a +
                "\" node1=\"" + b + "\" model=\"R\" r=\"1e3\" />\n";
        cmps += "<Cmp type=\"C_C\" id=\"" + std::to_string(id++) + "\" name=\"C" + a + "\" node0=\"0\" node1=\"" + b +
                "\" model=\"C\" c=\"1e-9\" />\n";
    }
    const std::string last = std::to_string(id - 1);
    const std::string path = "/tmp/qz3_ac_ladder_" + std::to_string(points) + ".qz3";
    std::ofstream(path) << "<?xml version=\"1.0\"?>\n<QZ3><Version ver=\"3\" /><Doc><Cir><Cmps>\n"
                        << cmps << "</Cmps></Cir><Tran><Settings step=\"1e-6\" /></Tran>"
                        << "<Freq><Settings type=\"0\" from=\"1\" to=\"1e6\" points=\"" << points
                        << "\" scale=\"0\" id=\"1\" /><Traces><Trace id=\"" << last << "\" expr=\"C" << sections
                        << "\" name=\"Vout\" type=\"V\" /></Traces></Freq></Doc></QZ3>\n";
    return path;
}

long AllocationsOfRun(int ncir) {
    const long before = g_Allocations.load();
    QZ3_CalcAC(ncir);
    return g_Allocations.load() - before;
}

void BM_AcLadder100x1000(benchmark::State& state) {
    const int ncir = QZ3_Open(LadderFile(100, 1000).c_str());
    if (ncir < 0) {
        state.SkipWithError(QZ3_GetError());
        return;
    }
    for (auto _ : state)
        if (QZ3_CalcAC(ncir) != 0) state.SkipWithError(QZ3_GetError());
    const int twice = QZ3_Open(LadderFile(100, 2000).c_str());
    const long perPoint = (AllocationsOfRun(twice) - AllocationsOfRun(ncir)) / 1000;
    state.counters["points_per_s"] = benchmark::Counter(1000.0 * state.iterations(), benchmark::Counter::kIsRate);
    state.counters["allocs_per_point"] = double(perPoint);
    QZ3_Close(twice);
    QZ3_Close(ncir);
}
BENCHMARK(BM_AcLadder100x1000)->Unit(benchmark::kMillisecond);

}  // namespace

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
