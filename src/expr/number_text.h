// Number text: the parser that turns what a user writes ("4k7", "0x1F",
// "2j", "5i64") into a CValue. The printer of engineering notation, the
// relative comparison and the hex image of doubles are in
// base/number_format.h, below the file layer that needs them too.
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

#include "base/number_format.h"
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
}  // namespace qz3
