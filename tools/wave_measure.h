// Measurements of a recorded waveform between two cursors, for "--measure
// TRACE.WORD": the words of the library's cursor measurements ("mean",
// "rms", "acrms", "min", "max", "pp", "left", "right", "delta", "freq",
// "period", "integral"), computed here from the points the command read.
// The waveform is taken as straight lines between its points, as the
// library takes it.
#pragma once

#include <string>

#include "waveform.h"

namespace qz3::cli {

struct CMeasureRequest {
    std::string trace;  // the trace's name, as the file has it
    std::string word;   // lower case
};

// "V(C1).mean" into its trace and word: split at the last ".". False with
// a message for a text without one or with an unknown word.
bool ParseMeasure(const std::string& text, CMeasureRequest& out, std::string& error);

// NaN where the waveform has nothing to say (no points between the
// cursors, no crossings for a frequency).
double MeasureWave(const CWaveform& wave, const std::string& word, double from, double to);

}  // namespace qz3::cli
