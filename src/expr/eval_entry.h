// The evaluator's stack entry and operator codes, shared by the scanner,
// the operators and the built-in functions.
#pragma once

#include "expr/value.h"

namespace qz3 {

class CDoc;
class CCmp;
struct CVarEntry;

// An operand and the operator that follows it.
struct CEvalEntry {
    CValue Value;
    int Op = 0;
    int Prio = 0;
    CCmp* Cmp = nullptr;          // component named inside V(), I(), P(), S()
    CVarEntry* Array = nullptr;   // array most recently named in front of "["
};

enum EvalOp : int {
    opEnd = -1,
    opNone = 0,
    opComma = 10,
    opCond = 11,
    opDeadCond = 13,
    opColon = 14,
    opOrOr = 15,
    opAndAnd = 16,
    opOr = 17,
    opXor = 18,
    opAnd = 19,
    opEq = 20,
    opNe = 21,
    opLe = 22,
    opLt = 23,
    opGe = 24,
    opGt = 25,
    opShr = 26,
    opShl = 27,
    opAdd = 28,
    opSub = 29,
    opMul = 30,
    opDiv = 31,
    opMod = 32,
    opNot = 33,
    opCompl = 34,
    opNeg = 35,
    opFirstFunction = 36,
    opCastInt = 63,
    opCastInt64 = 64,
    opCastDouble = 65,
    opCastFloat = 66,
    opCastComplex = 67,
    opCastBool = 68,
    opLastFunction = 80,
    opIndex = 81,
};

// What an operator or function sees of the evaluation around it.
struct CEvalContext {
    CDoc* Doc = nullptr;
    bool UseCalc = false;
    bool IntArith = false;
    int PendingStep = 0;  // "++"/"--" waiting for an array element
};

// Applies a binary or prefix operator (codes 15 to 35, 81): `prev` holds the
// left operand (binary) and receives the result; `args` are the `count`
// entries behind it, the right operand first.
bool ApplyOperator(int op, CEvalEntry& prev, CEvalEntry* args, int count, CEvalContext& ctx);

}  // namespace qz3
