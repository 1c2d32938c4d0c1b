// The transient trace set as the solver reaches it, through the document.
//
// A run clears the set at its start, has it bind its traces (Prepare) when
// the circuit is built or a trace was added, and hands it each accepted time
// point (Sample). These four calls are the whole contract; their bodies live
// in document/doc_run_traces.cpp, the one file that knows the set's class.
#pragma once

#include <cstdint>
#include <string>

namespace qz3 {

class CCalc;
class CDoc;
class CTrace;

// Binds the transient traces to the solver; the text of what went wrong.
std::string PrepareRunTraces(CDoc* doc, CCalc& calc);
// Records one accepted time point; false when a trace failed.
bool SampleRunTraces(CDoc* doc, CCalc& calc, double t, bool hold);
// Start of a run: every transient trace starts an empty run.
void ClearRunTraces(CDoc* doc);
// The memory counter of the trace set of a transient (or an AC) run.
void CountRunMemory(CDoc* doc, bool transient, int64_t delta);
// A trace's name for messages.
std::string RunTraceName(const CTrace* trace);

}  // namespace qz3
