// Delay memory and lossy lines through the C interface.
//   BM_DelayMemoryStaysFlat: a 1 us delay of a sine for 10^7 steps of 1 us,
//   peak memory after 10^5 steps and at the end.
//   BM_LossyLineStep/N: microseconds per step of a lossy line of N sections.
//
//   ./build-release/bench/delay_bench
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <chrono>
#include <fstream>
#include <string>

#include "qz3.h"

namespace {

long PeakKiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

std::string WriteFile(const std::string& name, const std::string& cmps, double step) {
    const std::string path = "/tmp/qz3_bench_" + name + ".qz3";
    std::ofstream(path) << "<?xml version=\"1.0\"?>\n<QZ3><Version ver=\"3\" /><Doc><Cir><Cmps>\n" << cmps
                        << "</Cmps></Cir><Tran><Settings step=\"" << step << "\" /></Tran></Doc></QZ3>\n";
    return path;
}

void BM_DelayMemoryStaysFlat(benchmark::State& state) {
    const std::string file = WriteFile(
        "delay",
        "<Cmp type=\"V_V\" id=\"1\" name=\"V1\" node0=\"0\" node1=\"1\" model=\"Sin\"><Signal u0=\"0\" u1=\"1\" p=\"1e-3\" "
        "/></Cmp>\n<Cmp type=\"X_Delay\" id=\"2\" name=\"D1\" node0=\"1\" node1=\"2\" model=\"Delay\" t=\"1e-6\" ic=\"0\" />\n"
        "<Cmp type=\"R_R\" id=\"3\" name=\"R1\" node0=\"0\" node1=\"2\" model=\"R\" r=\"1e3\" />\n",
        1e-6);
    for (auto _ : state) {
        const int ncir = QZ3_Open(file.c_str());
        if (ncir < 0 || QZ3_Start(ncir) != 0) {
            state.SkipWithError(QZ3_GetError());
            return;
        }
        QZ3_Simulate(ncir, 0.1);
        const long early = PeakKiB();
        for (int k = 0; k < 99; ++k) QZ3_Simulate(ncir, 0.1);
        state.counters["peak_KiB_at_1e5"] = double(early);
        state.counters["peak_KiB_at_1e7"] = double(PeakKiB());
        QZ3_Close(ncir);
    }
}
BENCHMARK(BM_DelayMemoryStaysFlat)->Unit(benchmark::kSecond)->Iterations(1);

void BM_LossyLineStep(benchmark::State& state) {
    const double step = 1e-6, delay = state.range(0) * step;
    const std::string file = WriteFile(
        "lossy" + std::to_string(state.range(0)),
        "<Cmp type=\"V_V\" id=\"1\" name=\"V1\" node0=\"0\" node1=\"1\" model=\"Sin\"><Signal u0=\"0\" u1=\"1\" p=\"1e-3\" "
        "/></Cmp>\n<Cmp type=\"R_R\" id=\"2\" name=\"RS\" node0=\"1\" node1=\"2\" model=\"R\" r=\"50\" />\n"
        "<Cmp type=\"X_Line\" id=\"3\" name=\"TL\" node0=\"2\" node1=\"0\" node2=\"3\" node3=\"0\" model=\"Lossy\" t=\"" +
            std::to_string(delay) + "\" z=\"50\" r=\"1e-4\" g=\"1e-10\" rf=\"1\" gf=\"1\" />\n"
        "<Cmp type=\"R_R\" id=\"4\" name=\"RL\" node0=\"0\" node1=\"3\" model=\"R\" r=\"50\" />\n",
        step);
    const int ncir = QZ3_Open(file.c_str());
    if (ncir < 0 || QZ3_Start(ncir) != 0) {
        state.SkipWithError(QZ3_GetError());
        return;
    }
    for (auto _ : state) QZ3_Simulate(ncir, 1000 * step);
    state.counters["us_per_step"] =
        benchmark::Counter(1000.0 * state.iterations(), benchmark::Counter::kIsRate | benchmark::Counter::kInvert) ;
    QZ3_Close(ncir);
}
BENCHMARK(BM_LossyLineStep)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond);

}  // namespace
