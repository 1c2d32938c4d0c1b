// How the "Trace" generator finds its samples: one slot, which the document
// fills with its own lookup (the trace by name in the list of the run's
// kind, and of its runs the stored one with samples). A test may plug
// another finder in.
#pragma once

#include <memory>
#include <string>

#include "waveforms/signal_wave.h"

namespace qz3 {

class CDoc;

// The samples of the trace `name` in the document's time-domain list
// (transient) or frequency list; null when there are none. *found tells
// whether the trace exists at all.
using SignalTraceFinder = std::unique_ptr<CSignalSamples> (*)(CDoc* doc, const std::string& name, bool transient,
                                                              bool* found);

void SetSignalTraceFinder(SignalTraceFinder finder);
// Null until a document has filled the slot.
SignalTraceFinder GetSignalTraceFinder();

}  // namespace qz3
