// CSV output: one column of the independent variable and one column per
// trace, with a header line. A missing value (NaN) is an empty cell, so that
// a trace that started late or ended early leaves gaps instead of inventing
// numbers. Numbers carry 12 significant digits, as the schematic file does.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "waveform.h"

namespace qz3::cli {

struct CSampleTable {
    std::string xName = "time";
    std::vector<double> x;
    std::vector<std::string> headers;          // one per column
    std::vector<std::vector<double>> columns;  // each as long as x; NaN = no value
};

// Sorted union of all x values of the waveforms; equal values appear once.
std::vector<double> UnionTimeBase(const std::vector<CWaveform>& waves);

// A cell as CSV wants it: quoted when it holds a comma, quote or line break.
std::string CsvField(const std::string& text);
void WriteCsv(std::ostream& out, const CSampleTable& table);
// False with "cannot write PATH" when the file cannot be made.
bool WriteCsvFile(const std::string& path, const CSampleTable& table, std::string& error);

}  // namespace qz3::cli
