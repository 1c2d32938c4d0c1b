// A typical parameter formula, scanned anew at each evaluation as at run time.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <new>

#include "expr/eval_expr.h"
#include "expr/var_list.h"

namespace {

// Counts heap allocations, to see that the common case makes none.
size_t g_Allocations = 0;

}  // namespace

void* operator new(size_t size) {
    ++g_Allocations;
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }

static void BM_ParameterFormula(benchmark::State& state) {
    qz3::CVarList vars;
    vars.Add("vin", qz3::vtDouble, 0)->Value->SetDouble(2.5);
    vars.Add("gain", qz3::vtDouble, 0)->Value->SetDouble(10.0);
    vars.Add("vmax", qz3::vtDouble, 0)->Value->SetDouble(12.0);
    const char* text = "=limit(gain*vin, -vmax, vmax)*sqrt(2)+1k5";
    double x = 0;
    size_t before = g_Allocations;
    for (auto _ : state) {
        qz3::EvalExpr(text, &x, nullptr, &vars, nullptr);
        benchmark::DoNotOptimize(x);
    }
    state.counters["allocs_per_eval"] =
        benchmark::Counter(static_cast<double>(g_Allocations - before) / static_cast<double>(state.iterations()));
    state.counters["evals_per_s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ParameterFormula);
