// Fast trapezoidal steps per second on RC ladders of 10, 100 and 1000
// sections: a charged capacitor at the head discharges down the ladder.
#include <benchmark/benchmark.h>

#include <string>

#include "components/cmps.h"
#include "components/elem_c.h"
#include "components/elem_r.h"
#include "components/elem_set.h"
#include "document/doc.h"
#include "solver/calc.h"

namespace {

using qz3::CCalc;
using qz3::CDoc;

void AddPair(CDoc& doc, const char* type, const std::string& name, int a, int b, double value, double ic) {
    qz3::CCmp* cmp = qz3::CElemSet::Instance().Create(type, doc.m_Cmps.get());
    cmp->name = name;
    cmp->nodes[0] = a;
    cmp->nodes[1] = b;
    if (auto* r = dynamic_cast<qz3::CElemR*>(cmp)) r->r.m_Value = value;
    if (auto* c = dynamic_cast<qz3::CElemC*>(cmp)) {
        c->c.m_Value = value;
        c->ic.m_Value = ic;
    }
    doc.m_Cmps->Add(cmp);
}

// Node k + 1 is the k-th tap; every tap has a capacitor to ground.
void BuildLadder(CDoc& doc, int sections) {
    AddPair(doc, "C_C", "C0", 0, 1, 1e-3, 1.0);
    for (int k = 1; k <= sections; ++k) {
        AddPair(doc, "R_R", "R" + std::to_string(k), k, k + 1, 1e3, 0.0);
        AddPair(doc, "C_C", "C" + std::to_string(k), 0, k + 1, 1e-9, 0.0);
    }
}

void TrapSteps(benchmark::State& state) {
    CDoc doc;
    doc.m_TranSettings.m_Step = 1e-7;
    BuildLadder(doc, static_cast<int>(state.range(0)));
    if (!doc.Start()) {
        state.SkipWithError(doc.RunError().c_str());
        return;
    }
    CCalc& calc = *doc.m_Calc;
    while (calc.m_State != CCalc::StateTrap)
        if (!calc.StepOnce()) {
            state.SkipWithError(calc.m_Error.c_str());
            return;
        }
    for (auto _ : state)
        if (!calc.StepOnce()) state.SkipWithError(calc.m_Error.c_str());
    state.counters["steps/s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["unknowns"] = calc.m_Size;
}

BENCHMARK(TrapSteps)->Arg(10)->Arg(100)->Arg(1000);

}  // namespace
