// The table printed when a run writes no file: per trace the number of
// points, minimum, maximum, time-weighted mean and final value.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "waveform.h"

namespace qz3::cli {

struct CTraceSummary {
    std::string name;
    std::string unit;
    size_t points = 0;
    double min = 0, max = 0, mean = 0, final = 0;  // NaN when there are no points
};

// The mean is the trapezoidal integral over the span divided by the span,
// so that dense points around an event don't outweigh long quiet stretches;
// a single point, or points all at one time, give their plain average.
CTraceSummary Summarize(const CWaveform& wave);
void PrintSummaryTable(std::ostream& out, const std::vector<CTraceSummary>& rows);
// A table with a header line: the first column left-aligned, the others
// right-aligned; every line of `cells` has one cell per header.
void PrintTextTable(std::ostream& out, const std::vector<std::string>& headers,
                    const std::vector<std::vector<std::string>>& cells);

}  // namespace qz3::cli
