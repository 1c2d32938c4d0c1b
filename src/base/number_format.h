// Doubles as text, and their comparison: the printer of engineering
// notation every file and message uses, the reader of numbers in files, the
// relative comparison of event times and values, and the bit-exact hex
// image of doubles that keeps state values unchanged across a save. All
// text work here is in the C locale ("." is the point whatever the host has
// set).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qz3 {

// strtod in the C locale.
double StrtodC(const char* s, char** end);
// 0 to 15 for a hex digit of either case, -1 for anything else.
int HexDigitValue(char c);

// Reader of numbers in files: "" is a negative quiet NaN, "inf"/"-inf" are
// the infinities, everything else is whatever strtod yields. No diagnostics.
double TextToDouble(std::string_view text);

// Engineering notation with a power of ten that is a multiple of 3:
// 1500 -> "1.5e+3", 0.5 -> "500e-3", NaN -> "". Every caller passes 12.
std::string NumberToText(double x, unsigned digits);

// a and b agree within min(|a|,|b|)*1e-12: the comparison of event times and
// of values everywhere. False when either is NaN. Inline: the step loop asks
// it at every point.
inline bool RealSame(double a, double b) {
    const double fa = a < 0 ? -a : a, fb = b < 0 ? -b : b;
    const double d = a - b;
    return (fa < fb ? fa : fb) * 1e-12 >= (d < 0 ? -d : d);
}

// 0 if RealSame, else -1 if b > a, else 1. A NaN on either side gives 1.
int RealCompare(double a, double b);

// "0" for either zero, otherwise "#" and 16 upper-case hex digits of the
// IEEE image, least significant byte first.
std::string DoubleToHex(double x);
// Inverse of DoubleToHex; text without a leading "#" gives 0.0.
double HexToDouble(const char* text);
// The decoder of HexToDouble without "#": reads at most maxChars characters
// in pairs into `out`, returns the number of whole bytes written.
int HexToBytes(const char* text, uint8_t* out, int maxChars);

}  // namespace qz3
