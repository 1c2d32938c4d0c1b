// What a signal generator of an element needs from the rest of the system:
// the evaluation of table items with the document and the element's list,
// the search for a "File", and the element's attachment as table text.
#pragma once

#include "waveforms/signal.h"

namespace qz3 {

class CSolverPort;
class CCmp;

CSignalContext SignalContextFor(CSolverPort* calc, CCmp* cmp);

// Prepares `signal` for the owner's model and starts it at t (idle unless
// `run`). A failure is the owner's line in the solver's error text.
bool PrepareSignal(CSolverPort* calc, CCmp* cmp, CSignal& signal, double t, bool run);

}  // namespace qz3
