// The "Trace" generator's view of the result store: the points of one run
// of a recorded trace as samples of time and value.
//
// Which run belongs to a trace name is the trace set's business. It plugs a
// finder in with SetSignalTraceFinder; until one is set every name is
// "not found", which is also what a document without traces says.
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
