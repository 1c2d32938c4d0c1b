// The example PI controller as a library block (examples/blocks/
// pi_controller.c), measured three ways:
//   - BM_DllDirectCall: its Main called straight on an array, the cost of
//     the user's code alone;
//   - BM_DllBlockEvaluation: one evaluation as the solver makes it, inputs
//     from the solution, the call, the guard check, outputs and variables
//     back; the difference to the direct call is the block's overhead, and
//     an evaluation must allocate nothing;
//   - BM_BuckWithDllPi / BM_BuckWithCodePi: the regulated buck converter
//     through the C interface, 30 ms simulated, with the library block and
//     with its C-code twin.
//
//   ./build/bench/dll_block_bench
#include <benchmark/benchmark.h>

#include "heap_counter.h"
#include <dlfcn.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <string>

#include "components/cmp.h"
#include "components/custom_type.h"
#include "components/elem_dll.h"
#include "components/elem_set.h"
#include "qz3.h"
#include "qz3_block.h"
#include "solver/calc.h"

namespace {

const std::string kBlockPath = std::string(QZ3_EXAMPLES_BUILD_DIR) + "/pi_controller.so";

// The measured voltage moves a little at each call, so that the controller
// works on a changing error.
double Measured(double t) { return 4.9 + (t > 0.5 ? 0.2 : 0.0); }

}  // namespace


static void BM_DllDirectCall(benchmark::State& state) {
    void* library = dlopen(kBlockPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        state.SkipWithError(dlerror());
        return;
    }
    auto main = reinterpret_cast<QZ3_BlockMain>(dlsym(library, "Main"));
    double data[7 + QZ3_BLOCK_GUARD_WORDS] = {0, 0, 5, 0.01, 30, 100e-6, 5.0 / 12};
    double t = 0.0;
    for (auto _ : state) {
        data[0] = Measured(t);
        t += 1e-6;
        main(t, data);
        benchmark::DoNotOptimize(data[1]);
    }
    dlclose(library);
}
BENCHMARK(BM_DllDirectCall);

static void BM_DllBlockEvaluation(benchmark::State& state) {
    using namespace qz3;
    std::unique_ptr<CCmp> made(CElemSet::Instance().Create("X_DLL", nullptr));
    auto* block = static_cast<CElemDll*>(made.get());
    block->name = "PI";
    block->custom->m_Left[0] = block->custom->m_Right[0] = 1;
    block->custom->m_Ins = "vout";
    block->custom->m_Outs = "duty";
    block->custom->m_Vars = "ref,kp,ki,ts,integ";
    block->EndCustom();
    block->m_Dll = kBlockPath;
    block->m_PauseName = block->m_ExitName = "";
    block->m_IC = "ref=5, kp=0.01, ki=30, ts=100e-6";
    block->nodes[0] = 1;
    block->nodes[1] = 2;
    CCalc calc;
    calc.SetSizes(2, 1, 0);
    if (!calc.AllocArrays() || block->AssignBranches(&calc, 3) != 1 || !block->Simulate(&calc, PhaseInit, 0.0)) {
        state.SkipWithError(calc.m_Error.c_str());
        return;
    }
    double t = 0.0;
    const size_t before = qz3bench::HeapAllocations();
    for (auto _ : state) {
        calc.VecX[1] = Measured(t);
        t += 1e-6;
        if (!block->Simulate(&calc, PhaseEval, t)) {
            state.SkipWithError(calc.m_Error.c_str());
            break;
        }
    }
    state.counters["allocs_per_eval"] =
        benchmark::Counter(static_cast<double>(qz3bench::HeapAllocations() - before) / static_cast<double>(state.iterations()));
    block->Simulate(&calc, PhaseReset, t);
}
BENCHMARK(BM_DllBlockEvaluation);

static void RunBuck(benchmark::State& state, const std::string& path) {
    for (auto _ : state) {
        const int ncir = QZ3_Open(path.c_str());
        if (ncir < 0 || QZ3_Start(ncir) != 0 || QZ3_SimulateInterval(ncir, 30e-3) != 0) {
            state.SkipWithError(QZ3_GetError());
            if (ncir >= 0) QZ3_Close(ncir);
            return;
        }
        QZ3_Close(ncir);
    }
    state.counters["sim_s_per_s"] = benchmark::Counter(30e-3 * static_cast<double>(state.iterations()),
                                                       benchmark::Counter::kIsRate);
}

static void BM_BuckWithDllPi(benchmark::State& state) {
    RunBuck(state, std::string(QZ3_EXAMPLES_BUILD_DIR) + "/buck_dll_pi.qz3");
}
BENCHMARK(BM_BuckWithDllPi)->Unit(benchmark::kMillisecond);

static void BM_BuckWithCodePi(benchmark::State& state) {
    RunBuck(state, std::string(QZ3_SOURCE_DIR) + "/examples/buck_ccode_pi.qz3");
}
BENCHMARK(BM_BuckWithCodePi)->Unit(benchmark::kMillisecond);
