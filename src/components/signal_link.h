// A signal generator as its element drives it: the one place that gives a
// generator what it needs of the rest of the system (the evaluation of table
// items and of "Function" with the document and the element's list, the
// search for a "File", the element's attachment as table text, the samples
// of a "Trace"), and that turns its faults into the element's lines.
#pragma once

#include "waveforms/signal.h"

namespace qz3 {

class CSolverPort;
class CCmp;

// Prepares `signal` for the element's model and starts it at t (idle unless
// `run`). A failure is the element's line in the solver's error text.
bool PrepareSignal(CSolverPort* calc, CCmp* cmp, CSignal& signal, double t, bool run);
// The check lines of the waveform, named for the element; false on a fault.
bool CheckSignal(CSolverPort* calc, const CCmp* cmp, const CSignal& signal);
// Writes the value at t through SetSource(index); false with the element's
// line when "Function" fails. Outside the integration a formula is tried one
// step ahead as well, so that a formula about to fail stops the run now.
bool SignalValue(CSolverPort* calc, const CCmp* cmp, CSignal& signal, double t, int index);

}  // namespace qz3
