// What the command reads back from the library for one trace: its points in
// order, with the name and unit it is shown with.
#pragma once

#include <string>
#include <vector>

namespace qz3::cli {

struct CWaveform {
    std::string name;
    std::string unit;       // "V", "A", "W" or empty
    std::vector<double> x;  // time (or frequency), non-decreasing
    std::vector<double> y;
};

}  // namespace qz3::cli
