// Recorded points read back through the C interface, as a host reads a run
// after it ends: one QZ3_GetDataAt per point, and QZ3_GetData at times
// between the points. What is measured is the cost of one export call
// around a point read: the error text, the circuit and trace look-ups.
#include <benchmark/benchmark.h>

#include <string>

#include "qz3.h"

namespace {

std::string Example(const char* file) { return std::string(QZ3_SOURCE_DIR) + "/examples/" + file; }

// The buck converter of examples/, 10 ms at its own step: some ten
// thousand points in each trace.
class RecordedBuck {
public:
    RecordedBuck() : ncir(QZ3_Open(Example("buck_converter.qz3").c_str())) {
        ok = ncir >= 0 && QZ3_Start(ncir) == 0 && QZ3_Simulate(ncir, 10e-3) == 0;
        trace = ok ? QZ3_GetTrace(ncir, "Vout") : -1;
        count = trace >= 0 ? QZ3_GetDataSize(ncir, trace) : 0;
        ok = ok && count > 0;
    }
    ~RecordedBuck() {
        if (ncir >= 0) QZ3_Close(ncir);
    }
    int ncir;
    int trace = -1;
    int count = 0;
    bool ok = false;
};

void BM_GetDataAtEveryPoint(benchmark::State& state) {
    RecordedBuck buck;
    if (!buck.ok) return state.SkipWithError(QZ3_GetError());
    for (auto _ : state) {
        double sum = 0;
        for (int i = 0; i < buck.count; ++i) {
            double t = 0, v = 0;
            QZ3_GetDataAt(buck.ncir, buck.trace, i, &t, &v);
            sum += v;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * buck.count);
}

void BM_GetDataBetweenPoints(benchmark::State& state) {
    RecordedBuck buck;
    if (!buck.ok) return state.SkipWithError(QZ3_GetError());
    const double step = 10e-3 / buck.count;
    for (auto _ : state) {
        double sum = 0;
        for (int i = 0; i < buck.count; ++i) {
            double v = 0;
            QZ3_GetData(buck.ncir, buck.trace, (i + 0.5) * step, &v);
            sum += v;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * buck.count);
}

}  // namespace

BENCHMARK(BM_GetDataAtEveryPoint)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GetDataBetweenPoints)->Unit(benchmark::kMillisecond);
