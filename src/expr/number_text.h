// Number text: the parser that turns what a user writes ("4k7", "0x1F",
// "2j", "5i64") into a CValue, the printer of engineering notation, the
// relative comparison the whole expression side uses, and the bit-exact hex
// image of doubles that keeps state values unchanged across a save.
//
// Failures never throw: a parser returns false and leaves the message in
// ExprError(), the one process-wide string shared by all expression work.
// Its content means something only after a failure; callers copy it into
// their own message. All text work here is in the C locale ("." is the
// point whatever the host has set).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "expr/value.h"

namespace qz3 {

// The last message of the evaluator and the number parser. Process-wide,
// without a lock: evaluation runs on the thread of the command in progress.
// Write with `ExprError() = "..."`.
std::string& ExprError();

// Parses a number text into `out`. `prefixes` is true for formula text
// (0x / 0b / leading-0 octal allowed) and false for plain numbers.
// Allocation-free for texts that parse; at most 127 characters.
bool ParseNumber(std::string_view text, CValue& out, bool prefixes);
// ParseNumber without prefixes, then the result as a double.
bool ParseDouble(std::string_view text, double& out);
// Reader of numbers in files: "" is a negative quiet NaN, "inf"/"-inf" are
// the infinities, everything else is whatever strtod yields. No diagnostics.
double TextToDouble(std::string_view text);

// Engineering notation with a power of ten that is a multiple of 3:
// 1500 -> "1.5e+3", 0.5 -> "500e-3", NaN -> "". Every caller passes 12.
std::string NumberToText(double x, unsigned digits);

// 0 if a and b agree within min(|a|,|b|)*1e-12, else -1 if b > a, else 1.
// A NaN on either side gives 1.
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
