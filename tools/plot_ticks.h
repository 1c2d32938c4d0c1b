// Tick values for plot axes. Linear axes get "nice" steps of 1, 2 or 5 times
// a power of ten and a range widened to whole steps; logarithmic axes (the
// frequency axis of a Bode plot) get one tick per decade. The labels are in
// engineering notation: on a linear axis with a unit, one common multiplier
// goes into the axis title ("time (ms)") and the ticks are plain numbers.
#pragma once

#include <string>
#include <vector>

namespace qz3::cli {

struct CAxisTicks {
    double lo = 0;  // the axis range, which holds all the values
    double hi = 1;
    std::vector<double> values;
};

// At most about `target` + 1 ticks covering [lo, hi]; a degenerate or
// non-finite range is widened to something drawable.
CAxisTicks NiceLinearTicks(double lo, double hi, int target = 6);
// Decades covering [lo, hi]; both must be positive (else 1 to 10).
CAxisTicks DecadeTicks(double lo, double hi);

struct CTickLabels {
    std::vector<std::string> labels;
    std::string unitText;  // multiplier letter and unit for the title: "ms", "kV", "V", ""
};

// Labels of linear ticks sharing one multiplier chosen by the largest tick.
// With an empty unit the multiplier letter stands in the title alone.
CTickLabels LinearTickLabels(const CAxisTicks& ticks, const std::string& unit);
// Labels of decade ticks, each in its own engineering form ("100", "1k").
CTickLabels DecadeTickLabels(const CAxisTicks& ticks, const std::string& unit);

}  // namespace qz3::cli
