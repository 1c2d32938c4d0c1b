// A 32-phase buck converter built from one phase subcircuit used 32 times,
// against the same converter written out flat. The hierarchy is flattened
// once when a run starts, so the cost of a step must be the flat one; the
// start itself is measured apart.
//
//   ./build/bench/subcircuit_bench
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "qz3.h"

namespace {

namespace fs = std::filesystem;

constexpr int kPhases = 32;
constexpr double kPeriod = 10e-6;
constexpr double kWarmUp = 20e-6;
constexpr double kMeasured = 40e-6;

std::string Schematic(const std::string& cmps) {
    return "<?xml version=\"1.0\"?>\n<QZ3>\n<Version ver=\"3\" />\n<Doc>\n<Cir>\n<Cmps>\n" + cmps +
           "</Cmps>\n</Cir>\n<Tran><Settings step=\"0.1e-6\" /></Tran>\n</Doc>\n</QZ3>\n";
}

std::string Cmp(const std::string& body) { return "<Cmp " + body + " />\n"; }

// One phase: a switch driven at 100 kHz and 40 % duty, its free-wheeling
// diode and its inductor, between the labels vin and out.
std::string Phase(const std::string& suffix, int id, int vin, int sw, int out, double delay) {
    const std::string ids[] = {std::to_string(id), std::to_string(id + 1), std::to_string(id + 2)};
    return "<Cmp type=\"S_S\" id=\"" + ids[0] + "\" name=\"S" + suffix + "\" node0=\"" + std::to_string(vin) + "\" node1=\"" +
           std::to_string(sw) + "\" model=\"Pulse\" a=\"true\"><Signal p=\"10e-6\" w=\"4e-6\" d=\"" +
           std::to_string(delay) + "\" /></Cmp>\n" +
           Cmp("type=\"D_D\" id=\"" + ids[1] + "\" name=\"D" + suffix + "\" node0=\"" + std::to_string(sw) +
               "\" node1=\"0\" model=\"Diode\" vd=\"0\"") +
           Cmp("type=\"L_L\" id=\"" + ids[2] + "\" name=\"L" + suffix + "\" node0=\"" + std::to_string(out) + "\" node1=\"" +
               std::to_string(sw) + "\" model=\"L\" l=\"10e-6\" ic=\"0\"");
}

std::string Shared() {
    return Cmp("type=\"V_V\" id=\"1\" name=\"V1\" node0=\"0\" node1=\"1\" model=\"V\" v=\"12\"") +
           Cmp("type=\"C_C\" id=\"2\" name=\"C1\" node0=\"0\" node1=\"2\" model=\"C\" c=\"100e-6\" ic=\"0\"") +
           Cmp("type=\"R_R\" id=\"3\" name=\"R1\" node0=\"0\" node1=\"2\" model=\"R\" r=\"0.1\"");
}

double Delay(int k) { return kPeriod * k / kPhases; }

// The files are generated once into a folder of their own.
const fs::path& Folder() {
    static const fs::path folder = [] {
        fs::path dir = fs::temp_directory_path() / "qz3_bench_multiphase";
        fs::create_directories(dir);
        std::ofstream(dir / "phase.qz3")
            << Schematic(Cmp("type=\"label\" id=\"1\" name=\"vin\" node0=\"1\" model=\"Label\"") + Phase("1", 2, 1, 2, 3, 0) +
                         Cmp("type=\"label\" id=\"5\" name=\"out\" node0=\"3\" model=\"Label\""));
        std::string hierarchical = Shared(), flat = Shared();
        for (int k = 0; k < kPhases; ++k) {
            hierarchical += "<Cmp type=\"X_B2\" id=\"" + std::to_string(100 + k) + "\" name=\"X" + std::to_string(k + 1) +
                            "\" node0=\"1\" node1=\"2\" model=\"SubCir\"><SubCir file=\"phase\" label1=\"vin\" "
                            "label2=\"out\" cmd=\"S1.Delay=" + std::to_string(Delay(k)) + "\" /></Cmp>\n";
            flat += Phase(std::to_string(k + 1), 100 + 3 * k, 1, 10 + k, 2, Delay(k));
        }
        std::ofstream(dir / "hierarchical.qz3") << Schematic(hierarchical);
        std::ofstream(dir / "flat.qz3") << Schematic(flat);
        return dir;
    }();
    return folder;
}

int OpenAndStart(benchmark::State& state, const char* file) {
    const int ncir = QZ3_Open((Folder() / file).string().c_str());
    if (ncir < 0 || QZ3_Start(ncir) != 0) {
        state.SkipWithError(QZ3_GetError());
        if (ncir >= 0) QZ3_Close(ncir);
        return -1;
    }
    return ncir;
}

// Wall time per accepted step over 40 us of switching, after a warm-up.
void StepCost(benchmark::State& state, const char* file) {
    long steps = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const int ncir = OpenAndStart(state, file);
        if (ncir < 0) return;
        const int trace = QZ3_AddVTrace(ncir, "R1");
        QZ3_Simulate(ncir, kWarmUp);
        const int before = QZ3_GetDataSize(ncir, trace);
        state.ResumeTiming();
        if (QZ3_Simulate(ncir, kMeasured) != 0) state.SkipWithError(QZ3_GetError());
        state.PauseTiming();
        steps += QZ3_GetDataSize(ncir, trace) - before;
        QZ3_Close(ncir);
        state.ResumeTiming();
    }
    state.counters["steps"] = double(steps) / state.iterations();
    state.counters["per_step"] = benchmark::Counter(double(steps), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_MultiphaseBuckStepHierarchical(benchmark::State& state) { StepCost(state, "hierarchical.qz3"); }
void BM_MultiphaseBuckStepFlat(benchmark::State& state) { StepCost(state, "flat.qz3"); }

// The start: loading, flattening and numbering 32 copies, and the first
// operating point.
void StartCost(benchmark::State& state, const char* file) {
    for (auto _ : state) {
        const int ncir = OpenAndStart(state, file);
        if (ncir < 0) return;
        state.PauseTiming();
        QZ3_Close(ncir);
        state.ResumeTiming();
    }
}

void BM_MultiphaseBuckStartHierarchical(benchmark::State& state) { StartCost(state, "hierarchical.qz3"); }
void BM_MultiphaseBuckStartFlat(benchmark::State& state) { StartCost(state, "flat.qz3"); }

}  // namespace

BENCHMARK(BM_MultiphaseBuckStepHierarchical)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MultiphaseBuckStepFlat)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MultiphaseBuckStartHierarchical)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MultiphaseBuckStartFlat)->Unit(benchmark::kMillisecond);
