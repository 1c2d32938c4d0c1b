// Engineering numbers as a user types them on the command line ("10m",
// "1u", "4k7", "2.5e-3") and as the command prints them on axes and tables
// ("10 ms", "-2.5 V"). The multiplier letters are those of the engine's own
// number text: T G M k K m u n p f, case-sensitive, so "M" is mega and "m"
// is milli. Everything is done in the C locale.
#pragma once

#include <string>
#include <string_view>

namespace qz3::cli {

// Reads a whole text as a number with an optional multiplier letter, which
// may also stand for the decimal point ("4k7" is 4700), and an optional unit
// of letters behind it that is ignored ("10ms"). False for anything else,
// also for NaN and infinities.
bool ParseEngineering(std::string_view text, double& out);

// Mantissa with at most `digits` significant digits and a multiplier letter:
// 0.01 -> "10m", 1500 -> "1.5k", 0 -> "0". Values beyond the letters fall
// back to an exponent ("1e-18"). Non-finite values print as "nan", "inf".
std::string FormatEngineering(double x, int digits = 4);

// FormatEngineering with a unit behind a blank: "10 ms", "1.5 kV", "3 V".
// Without a unit the blank is left out.
std::string FormatWithUnit(double x, const std::string& unit, int digits = 4);

}  // namespace qz3::cli
