// A code block running a 20-line PI controller at each step, as the solver
// calls it: inputs from the solution, `main` over the kept variables, its
// locals dropped behind. The program is parsed once; a step must neither
// parse nor allocate.
#include <benchmark/benchmark.h>

#include "heap_counter.h"

#include <cstdlib>
#include <memory>
#include <new>

#include "components/cmp.h"
#include "components/custom_type.h"
#include "components/elem_code.h"
#include "components/elem_set.h"
#include "solver/calc.h"

namespace {

const char* const kController =
    "// A digital PI controller.\r\n"
    "double ref = 5;      // V wanted at the output\r\n"
    "double kp = 0.01;    // duty per volt of error\r\n"
    "double ki = 30;      // duty per volt-second\r\n"
    "double ts = 100e-6;  // the clock's period\r\n"
    "double integ;        // the integral part, kept between steps\r\n"
    "int calls;\r\n"
    "init() { integ = ref / 12; }\r\n"
    "main() {\r\n"
    "  double e = ref - vout;\r\n"
    "  integ += ki * ts * e;\r\n"
    "  if (integ > 0.95) integ = 0.95;\r\n"
    "  else if (integ < 0) integ = 0;\r\n"
    "  double u = kp * e + integ;\r\n"
    "  if (u > 0.95) u = 0.95;\r\n"
    "  if (u < 0) u = 0;\r\n"
    "  duty = u;\r\n"
    "  calls++;\r\n"
    "}\r\n";

}  // namespace


static void BM_PiControllerStep(benchmark::State& state) {
    using namespace qz3;
    std::unique_ptr<CCmp> made(CElemSet::Instance().Create("X_C", nullptr));
    auto* block = static_cast<CElemCode*>(made.get());
    block->name = "PI";
    block->custom->m_Ins = "vout";
    block->custom->m_Outs = "duty";
    block->custom->m_Left[0] = block->custom->m_Right[0] = 1;
    block->EndCustom();
    block->m_Code = kController;
    block->nodes[0] = 1;
    block->nodes[1] = 2;
    CCalc calc;
    calc.SetSizes(2, 1, 0);
    if (!calc.AllocArrays() || block->AssignBranches(&calc, 3) != 1 ||
        !block->Simulate(&calc, PhaseInit, 0.0)) {
        state.SkipWithError(calc.m_Error.c_str());
        return;
    }
    double t = 0.0;
    const size_t before = qz3bench::HeapAllocations();
    for (auto _ : state) {
        calc.VecX[1] = 4.9 + (t > 0.5 ? 0.2 : 0.0);
        t += 1e-6;
        if (!block->Simulate(&calc, PhaseEval, t)) {
            state.SkipWithError(calc.m_Error.c_str());
            break;
        }
    }
    state.counters["allocs_per_step"] =
        benchmark::Counter(static_cast<double>(qz3bench::HeapAllocations() - before) / static_cast<double>(state.iterations()));
    state.counters["evals_per_s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_PiControllerStep);
