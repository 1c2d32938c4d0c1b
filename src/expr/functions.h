// The built-in functions of the expression language.
//
// One table holds every name with its code, its argument counts, its
// implementation and the head of its messages. Aliases are rows of their own
// with the code and head of their main name, so `ln` reports 'log'. A new
// function is one row and one small implementation.
#pragma once

#include <string_view>

#include "expr/eval_entry.h"
#include "base/constants.h"

namespace qz3 {

struct CFuncCall {
    CEvalEntry* Args;
    int Count;
    CValue& Result;
    CEvalContext& Ctx;
};

using FuncImpl = bool (*)(CFuncCall& call);

struct CFuncRow {
    const char* Name;
    int Code;
    int MinArgs;
    int MaxArgs;  // kAnyCount for no limit
    FuncImpl Impl;
    const char* Head;  // "Function 'log'": the start of every message of the row
};

constexpr int kAnyCount = 1 << 30;
constexpr int kMaxFunctionName = 7;

// The row of a name (case counts), or null. Names of 8 characters or more
// are never functions.
const CFuncRow* FindFunction(std::string_view name);
// The main row of a code, or null.
const CFuncRow* FunctionByCode(int code);
// Checks the argument count and runs the function.
bool CallFunction(int code, CEvalEntry* args, int count, CValue& result, CEvalContext& ctx);

// Set by `random` and `gauss`; read and cleared by CFormula::Evaluate, so
// that a formula with a random value never counts as changed.
bool& RandomUsed();

// The evaluator's own constants of trigonometry, with exactly these digits.
constexpr double kHalfPi = 1.57079632679;
constexpr double kTrigZero = 1e-15;

}  // namespace qz3
