// The sparse LU on a ladder-shaped matrix (each unknown meets two neighbours
// and a branch of its own, as in an RC ladder): a full factorisation, a
// refactorisation with the kept pivot order, and one solve, by size.
#include <benchmark/benchmark.h>

#include <vector>

#include "solver/sparse_lu.h"

namespace {

using qz3::CSparseColumns;
using qz3::CSparseLu;

// Unknowns 0 .. k-1 are nodes, k .. 2k-1 their branches, numbered as the solver does.
CSparseColumns LadderMatrix(int k) {
    CSparseColumns a;
    a.Clear(2 * k);
    for (int j = 0; j < k; ++j) {  // node columns
        if (j > 0) a.Add(j - 1, -1e-3);
        a.Add(j, 2e-3);
        if (j + 1 < k) a.Add(j + 1, -1e-3);
        a.Add(k + j, 0.02);
        a.EndColumn();
    }
    for (int j = 0; j < k; ++j) {  // branch columns
        a.Add(j, 1.0);
        a.Add(k + j, -1.0);
        a.EndColumn();
    }
    return a;
}

void BM_SparseLuFactor(benchmark::State& state) {
    const CSparseColumns a = LadderMatrix(static_cast<int>(state.range(0)));
    CSparseLu lu;
    for (auto _ : state) benchmark::DoNotOptimize(lu.Factor(a, 1e-12));
    state.counters["entries"] = static_cast<double>(lu.Entries());
}
BENCHMARK(BM_SparseLuFactor)->Arg(100)->Arg(1000);

void BM_SparseLuRefactor(benchmark::State& state) {
    const CSparseColumns a = LadderMatrix(static_cast<int>(state.range(0)));
    CSparseLu lu;
    lu.Factor(a, 1e-12);
    for (auto _ : state) benchmark::DoNotOptimize(lu.Refactor(a, 1e-12));
}
BENCHMARK(BM_SparseLuRefactor)->Arg(100)->Arg(1000);

void BM_SparseLuSolve(benchmark::State& state) {
    const CSparseColumns a = LadderMatrix(static_cast<int>(state.range(0)));
    CSparseLu lu;
    lu.Factor(a, 1e-12);
    std::vector<double> b(static_cast<size_t>(a.n), 1.0);
    for (auto _ : state) {
        lu.Solve(b.data());
        benchmark::DoNotOptimize(b.data());
    }
}
BENCHMARK(BM_SparseLuSolve)->Arg(100)->Arg(1000);

}  // namespace
