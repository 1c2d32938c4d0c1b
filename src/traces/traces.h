// The list of traces of one analysis, in the order of the file (digital and
// bus traces first), with the order in which a run computes them.
//
// Recipe of a run, as the solver drives it through CTraceSet:
//     traces.ClearRuns();                     // fresh run 0 for each kept trace
//     traces.Bind(calc);                      // components -> solver indices
//     std::string e = MakeOrder(traces);      // trace_order.cpp
//     traces.SampleTran(calc, t, hold) ...    // at every accepted point
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "base/list.h"

namespace qz3 {

class CCalc;
class CTrace;
class CTraceSet;

class CTraces {
public:
    explicit CTraces(CTraceSet* set);
    virtual ~CTraces();
    CTraces(const CTraces&) = delete;
    CTraces& operator=(const CTraces&) = delete;

    int Count() const { return m_List.Count(); }
    CTrace* At(int i) const { return m_List.At(i); }
    int IndexOf(const CTrace* trace) const { return m_List.IndexOf(trace); }
    // Takes ownership.
    void Add(CTrace* trace);
    // Destroys the trace at that place; the order is dropped with it.
    void Delete(int index);
    void Clear();
    // Digital and bus traces go in front of the first analog one; each
    // group keeps its order.
    void MoveDigitalFirst();

    // By display name ignoring case, one pair of double quotes stripped;
    // an AC trace also answers to its name + ".phase" (phase = 1).
    CTrace* FindTrace(std::string_view name, int* phase = nullptr) const;
    CTrace* FindByHandle(int handle) const;

    // Start of a run: every recording trace gets an empty run in progress,
    // resumed or not (CTrace::m_ReplaceFirst).
    void ClearRuns(bool resumed = false);
    // Middle of a run: a trace added since gets its run, the others keep theirs.
    void EnsureRuns();
    // Binds every trace to the solver's unknowns or to its component; true
    // when anything is to be recorded.
    bool Bind(CCalc& calc);
    // One accepted point for every trace, in the recalculation order. All
    // traces get their turn; false when one of them failed.
    bool SampleTran(CCalc& calc, double t, bool hold);
    bool SampleAC(CCalc& calc, double f, const double* re, const double* im);
    // A cursor measurement by its formula text: "left", "right", "delta", or
    // "trace.word" with the words of data_measure.h. False when the text
    // names no measurement; `found` whether it has a number.
    bool Measure(std::string_view name, double& value, bool& found) const;
    // The list index sampled at place p.
    int OrderAt(int p) const { return m_Order ? m_Order[p] : p; }

    CTraceSet* m_Set;
    double m_Left = 0.0;
    double m_Right = 0.0;
    std::unique_ptr<int32_t[]> m_Order;
    TList<CTrace> m_List;  // owned
};

}  // namespace qz3
