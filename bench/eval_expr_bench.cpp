// A typical parameter formula, scanned anew at each evaluation as at run time.
#include <benchmark/benchmark.h>

#include "heap_counter.h"

#include <cstdlib>
#include <new>

#include "expr/eval_expr.h"
#include "expr/var_list.h"


static void BM_ParameterFormula(benchmark::State& state) {
    qz3::CVarList vars;
    vars.Add("vin", qz3::vtDouble, 0)->Value->SetDouble(2.5);
    vars.Add("gain", qz3::vtDouble, 0)->Value->SetDouble(10.0);
    vars.Add("vmax", qz3::vtDouble, 0)->Value->SetDouble(12.0);
    const char* text = "=limit(gain*vin, -vmax, vmax)*sqrt(2)+1k5";
    double x = 0;
    size_t before = qz3bench::HeapAllocations();
    for (auto _ : state) {
        qz3::EvalExpr(text, &x, nullptr, &vars, nullptr);
        benchmark::DoNotOptimize(x);
    }
    state.counters["allocs_per_eval"] =
        benchmark::Counter(static_cast<double>(qz3bench::HeapAllocations() - before) / static_cast<double>(state.iterations()));
    state.counters["evals_per_s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ParameterFormula);
