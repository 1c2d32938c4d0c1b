// What the "ac" command says of a frequency response without output
// files: the gain at the first frequency, the peak, the -3 dB corner below
// that first gain, and the phase margin where the gain falls through 1.
#pragma once

#include <string>
#include <vector>

namespace qz3::cli {

struct CFrequencyResponse {
    std::string name;
    std::string unit;
    std::vector<double> f;
    std::vector<double> magnitude;
    std::vector<double> phase;  // degrees
};

struct CResponseSummary {
    double firstGain = 0;
    double peak = 0, peakFrequency = 0;
    bool hasCorner = false;
    double corner = 0;  // first frequency 3 dB below the first gain, on log f
    bool hasMargin = false;
    double crossover = 0, phaseMargin = 0;  // where |H| falls through 1; 180 + phase there
};

CResponseSummary SummarizeResponse(const CFrequencyResponse& response);

// A measurement over the whole response, the first and last frequency as
// cursors: "left", "right", "delta", "min", "max", "pp" of the magnitude (or
// of the phase after "phase."), and "slope" in dB per decade between them.
// False for a word it doesn't know.
bool MeasureResponse(const CFrequencyResponse& response, const std::string& word, double& value);

// Where a falling series crosses `level` between points i-1 and i, on a
// logarithmic frequency axis when both frequencies are positive.
double CrossingFrequency(const CFrequencyResponse& response, size_t i, double level);

}  // namespace qz3::cli
