// The expression evaluator: text in, value out, in one pass.
//
// There is no tree and no compiled form: the text is scanned character by
// character and reduced on an operator-precedence stack as it goes, at every
// evaluation. Only the taken branch of a condition computes ("b==0 ? 0 : a/b"
// can't fail), but names are still resolved in the other one.
//
// Recipe:
//   double x;  CValue v;
//   if (!EvalExpr("=2*R1.R + max(a, 3)", &x, doc, &vars, nullptr, false,
//                 nullptr, &v))
//       report("Error : " + ExprError());
//
// On failure the result is untouched and ExprError() holds exactly one
// message. The common case allocates nothing: names are looked up as views
// into the text, and the stack is a fixed block that spills to the heap only
// for deeply nested text.
#pragma once

#include <string_view>

#include "expr/value.h"

namespace qz3 {

class CDoc;
class CCmps;
class CTraces;
class CVarList;

bool EvalExpr(std::string_view text, double* result, CDoc* doc, CVarList* vars, CCmps* cmps,
              bool useCalc = false, CTraces* traces = nullptr, CValue* typed = nullptr,
              bool complexTraces = false, bool traceFormula = false, bool intArith = false);

// Pre- and post-increment of a variable as it is read: modes 1 "++x",
// 2 "--x", 3 "x++", 4 "x--", 0 plain copy. Booleans don't step.
void StepValue(int mode, CValue& dest, CValue& var);

// Limits that keep hostile text from exhausting the machine.
constexpr int kMaxBracketDepth = 1000;
constexpr int kMaxEvalStack = 4096;
constexpr int kMaxEvalRecursion = 16;

}  // namespace qz3
