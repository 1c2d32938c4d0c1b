// The "Trace" generator's view of the result store: the points of one run
// of a recorded trace as samples of time and value.
//
// By default the trace is looked up in the document's time-domain or
// frequency list and its stored run (number -1) with samples is taken; a
// test or a host build may plug another finder in with SetSignalTraceFinder.
#pragma once

#include <string>

#include "waveforms/signal_wave.h"

namespace qz3 {

class CData;
class CDoc;

class CDataSamples : public CSignalSamples {
public:
    explicit CDataSamples(const CData* data) : m_Data(data) {}
    int SampleCount() const override;
    // Times carry the run's shift, as every reader of the run sees them.
    double SampleTime(int i) const override;
    double SampleValue(int i) const override;

    const CData* m_Data;
};

// The run of the trace `name` in the document's time-domain list (transient)
// or frequency list. *found tells whether the trace exists at all; the run
// may then still be null or empty.
using SignalTraceFinder = const CData* (*)(CDoc* doc, const std::string& name, bool transient, bool* found);

void SetSignalTraceFinder(SignalTraceFinder finder);
SignalTraceFinder GetSignalTraceFinder();

}  // namespace qz3
