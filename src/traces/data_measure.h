// Cursor measurements of one run: thirteen values between two cursors,
// computed in one pass, with each full block's sums kept in the block so
// that measuring again over a long run walks only the partial blocks.
//
//     CMeasurement m;
//     MeasureRun(run, left, right, m);
//     double mean = m.value[kMeasureMean];
#pragma once

#include <string_view>

namespace qz3 {

class CData;

enum MeasureWord : int {
    kMeasureLeft, kMeasureRight, kMeasureDelta, kMeasureMin, kMeasureMax, kMeasurePp, kMeasureMean, kMeasureRms,
    kMeasureAcRms, kMeasureFreq, kMeasurePeriod, kMeasureSlope, kMeasureIntegral, kMeasureCount
};

// The word's index ignoring case, or -1.
int MeasureWordIndex(std::string_view word);

struct CMeasurement {
    double value[kMeasureCount];
    double phase[kMeasureCount];  // an AC run's phase, in degrees
};

// All entries between the cursors t1 and t2; NaN where there is no result.
// Frequency and period walk every point between the cursors (the crossings
// of the mean); without `crossings` they are left out, and a measurement of
// the others over a long run costs only the partial blocks at its ends.
void MeasureRun(const CData& run, double t1, double t2, CMeasurement& out, bool crossings = true);

// A measurement text behind the trace name ("mean", "phase.max", "(1.5)")
// on a run between the cursors. False when the word isn't known; `found`
// says whether there is a number.
bool MeasureText(const CData& run, std::string_view rest, double t1, double t2, double& value, bool& found);

}  // namespace qz3
