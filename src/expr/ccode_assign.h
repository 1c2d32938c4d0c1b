// Assignment in the C-code language: recognising "a = b", "a[i] += b" and
// their kind, and applying the operator to a typed variable.
//
// The operator codes are those of the evaluator's binary operators (28 for
// "+=", 19 for "&=" ...), with 20 for a plain "=", and 0 for a text that
// assigns nothing ("a == b", "a <= b", "!=").
#pragma once

#include <string_view>

#include "expr/value.h"

namespace qz3 {

constexpr int kAssignNone = 0;
constexpr int kAssignPlain = 20;

// Splits at the first "=": the trimmed target and value, and the index
// between the first "[" and a final "]" of the target ("-100" for "[]").
// The views point into `text`, or at a constant for "-100".
int SplitAssign(std::string_view text, std::string_view& lhs, std::string_view& rhs, std::string_view& index);

// target op= value; the target keeps its tag. False with ExprError().
bool ApplyAssign(int op, CValue& target, CValue& value);

}  // namespace qz3
