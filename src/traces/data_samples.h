// The points of one run of a trace as the samples a "Trace" generator reads.
#pragma once

#include "waveforms/signal_wave.h"

namespace qz3 {

class CData;

class CDataSamples : public CSignalSamples {
public:
    explicit CDataSamples(const CData* data) : m_Data(data) {}
    int SampleCount() const override;
    // Times carry the run's shift, as every reader of the run sees them.
    double SampleTime(int i) const override;
    double SampleValue(int i) const override;

    const CData* m_Data;
};

}  // namespace qz3
