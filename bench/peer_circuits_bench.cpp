// The circuits of the speed comparison (bench/make_circuits.py writes them at
// configure time into the build tree): N interleaved buck phases on one output
// capacitor for 10 ms, and the 1000-section RC ladder for 0.1 ms, each a whole
// run through the C interface from opening the file. The phase series shows
// how the time grows with the circuit; it is judged over 10 ms, since the
// first period of a run is mostly new factorisations of new states.
// bench/compare_ngspice.sh runs the same files against the peer simulator.
#include <benchmark/benchmark.h>

#include <string>

#include "qz3.h"

namespace {

std::string Circuit(const std::string& file) { return std::string(QZ3_BENCH_CIRCUITS) + "/" + file; }

// Opens, starts and runs one file for `simulated` seconds and counts the
// points of one trace; false with the error on the benchmark when any fails.
bool RunFile(benchmark::State& state, const std::string& file, const char* trace, double simulated, long& points) {
    const int ncir = QZ3_Open(Circuit(file).c_str());
    if (ncir < 0 || QZ3_Start(ncir) != 0 || QZ3_Simulate(ncir, simulated) != 0) {
        state.SkipWithError(QZ3_GetError());
        if (ncir >= 0) QZ3_Close(ncir);
        return false;
    }
    points += QZ3_GetDataSize(ncir, QZ3_GetTrace(ncir, trace));
    QZ3_Close(ncir);
    return true;
}

void BM_MultiphaseBuck10ms(benchmark::State& state) {
    const std::string file = "multiphase_buck_" + std::to_string(state.range(0)) + ".qz3";
    long points = 0;
    for (auto _ : state)
        if (!RunFile(state, file, "Vout", 10e-3, points)) return;
    state.counters["phases"] = double(state.range(0));
    state.counters["points_per_run"] = double(points) / state.iterations();
}
BENCHMARK(BM_MultiphaseBuck10ms)->RangeMultiplier(2)->Range(1, 32)->Unit(benchmark::kMillisecond);

void BM_RcLadder1000(benchmark::State& state) {
    long points = 0;
    for (auto _ : state)
        if (!RunFile(state, "ladder_1000.qz3", "V2", 1e-4, points)) return;
    state.counters["points_per_run"] = double(points) / state.iterations();
}
BENCHMARK(BM_RcLadder1000)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
