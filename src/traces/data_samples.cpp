#include "traces/data_samples.h"

#include "traces/data.h"

namespace qz3 {

int CDataSamples::SampleCount() const { return m_Data ? m_Data->Count() : 0; }

double CDataSamples::SampleTime(int i) const {
    double t = 0.0, v = 0.0;
    m_Data->GetPoint(i, t, v, false);
    return t;
}

double CDataSamples::SampleValue(int i) const {
    double t = 0.0, v = 0.0;
    m_Data->GetPoint(i, t, v, false);
    return v;
}

}  // namespace qz3
