#include "expr/eval_expr.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "expr/number_text.h"
#include "expr/var_list.h"

namespace qz3 {
namespace {

struct ValueRow {
    const char* Text;
    ValueType Type;
    double Expected;
};

struct ErrorRow {
    const char* Text;
    const char* Message;
};

bool Eval(const std::string& text, CValue& v, CVarList* vars = nullptr, bool intArith = false) {
    double x = -12345.0;
    return EvalExpr(text, &x, nullptr, vars, nullptr, false, nullptr, &v, false, false, intArith);
}

void ExpectValues(const ValueRow* rows, size_t count, CVarList* vars = nullptr, bool intArith = false) {
    for (size_t i = 0; i < count; ++i) {
        CValue v;
        ASSERT_TRUE(Eval(rows[i].Text, v, vars, intArith)) << rows[i].Text << " : " << ExprError();
        EXPECT_EQ(v.Type, rows[i].Type) << rows[i].Text;
        EXPECT_DOUBLE_EQ(v.AsDouble(), rows[i].Expected) << rows[i].Text;
    }
}

void ExpectErrors(const ErrorRow* rows, size_t count, CVarList* vars = nullptr) {
    for (size_t i = 0; i < count; ++i) {
        CValue v;
        double x = 777.0;
        EXPECT_FALSE(EvalExpr(rows[i].Text, &x, nullptr, vars, nullptr, false, nullptr, &v)) << rows[i].Text;
        EXPECT_EQ(ExprError(), rows[i].Message) << rows[i].Text;
        EXPECT_EQ(x, 777.0) << "result must stay untouched: " << rows[i].Text;
    }
}

TEST(EvalExpr, PrecedenceSignsAndLiterals) {
    const ValueRow rows[] = {
        {"", vtDouble, 0.0},          {"1+2*3", vtDouble, 7},      {"2*(-3)", vtDouble, -6},
        {"-2*3", vtDouble, -6},       {"2==-2", vtBool, 0},        {"(1+2)*3", vtDouble, 9},
        {"1+2*", vtInt, 1},           {"1+", vtInt, 1},            {"=3", vtInt, 3},
        {"1;", vtInt, 1},             {"0x10", vtInt, 16},         {"010", vtInt, 8},
        {"1e+3", vtDouble, 1000},     {"0x1E+3", vtDouble, 33},    {"4k7", vtDouble, 4700},
        {"7/2", vtDouble, 3.5},       {"7i64/2", vtInt64, 3},      {"7%4", vtDouble, 3},
        {"1<<4", vtInt, 16},          {"-16>>2", vtInt, -4},       {"5i64<<40", vtInt64, 5.0 * 1099511627776.0},
        {"6&3", vtInt, 2},            {"6|3", vtInt, 7},           {"6^3", vtInt, 5},
        {"!0", vtBool, 1},            {"~0", vtInt, -1},           {"1&&0", vtBool, 0},
        {"0||2", vtBool, 1},          {"0.1+0.2==0.3", vtBool, 1}, {"1+1e-13-1", vtDouble, 0},
        {"1e20-1e20", vtDouble, 0},   {"true+true", vtInt, 2},     {"pi", vtDouble, 3.14159265358},
        {"rad", vtDouble, 57.295779513260925}, {"PI*2", vtDouble, 6.28318530716},
        {"inf", vtDouble, HUGE_VAL},  {"-INF", vtDouble, -HUGE_VAL}, {"(int)3.7", vtInt, 3},
        {"(bool)5", vtBool, 1},       {"(int64)2", vtInt64, 2},    {"2j*2j", vtComplex, -4},
        {"1 ? 2 : 3", vtInt, 2},      {"0 ? 2 : 3", vtInt, 3},     {"1?0?5:6:7", vtInt, 7},
        {"0?1:0?8:9", vtInt, 9},      {"0 ? 1/0 : 4", vtInt, 4},   {"1 ? 4 : 1/0", vtInt, 4},
        {"a==-b", vtBool, 0},         {"3 < 4", vtBool, 1},        {"3 >= 4", vtBool, 0},
        {"2147483647+1", vtDouble, 2147483648.0},
        {"1.0(000000000000F03F)", vtDouble, 1.0},
    };
    CVarList vars;
    vars.Add("a", vtInt, 0)->Value->SetInt(1);
    vars.Add("b", vtInt, 0)->Value->SetInt(1);
    ExpectValues(rows, sizeof rows / sizeof rows[0], &vars);
}

TEST(EvalExpr, ConditionGroupsFromTheLeft) {
    // "a?b:c?d:e" is "(a?b:c)?d:e": with a true, b=0 picks e.
    CValue v;
    ASSERT_TRUE(Eval("1?0:1?5:6", v));
    EXPECT_EQ(v.I32, 6);
}

TEST(EvalExpr, IntegerArithmeticForCode) {
    const ValueRow rows[] = {
        {"7/2", vtInt, 3}, {"-7/2", vtInt, -3}, {"2147483647+1", vtInt, -2147483648.0},
        {"(-2147483647-1)/(-1)", vtInt, -2147483648.0}, {"7i64/2", vtInt64, 3},
    };
    ExpectValues(rows, sizeof rows / sizeof rows[0], nullptr, true);
}

TEST(EvalExpr, Errors) {
    const ErrorRow rows[] = {
        {"2*-3", "Syntax error"},
        {"2+-3", "Syntax error"},
        {"!!1", "Syntax error"},
        {"-~1", "Syntax error"},
        {"(int)-1", "Syntax error"},
        {"1,2", "Syntax error"},
        {")", "Expression error in ')'"},
        {"(1", "Expression error in '(1'"},
        {"1:2", "Expression error in '1:2'"},
        {"a=1", "Operator '=' not allowed"},
        {"1;2", "Unknown operator '2'"},
        {"1 2", "Unknown operator '2'"},
        {"1\t+2", "Unknown operator '\t'"},
        {"3!", "Unknown operator '!'"},
        {"1/0", "Division by zero"},
        {"1i64/0", "Division by zero"},
        {"1.5/0", "Division by zero"},
        {"1j/0", "Division by zero"},
        {"1j%2", "Function 'fmod' : complex arguments not allowed"},
        {"1j<2", "Operator '<': complex arguments not allowed"},
        {"1j>=2", "Operator '>=': complex arguments not allowed"},
        {"1.5|1", "Operator '|' : floating point arguments not allowed"},
        {"1j&1", "Operator '&' : complex arguments not allowed"},
        {"1.0<<2", "Operator '<<' : floating point arguments not allowed"},
        {"1j>>2", "Operator '>>' : complex arguments not allowed"},
        {"~1.5", "Operator '~' : floating point argument not allowed"},
        {"~1j", "Operator '~' : complex argument not allowed"},
        {"nosuch", "Wrong variable name or number format: 'nosuch'"},
        {"a b", "Wrong variable name or number format: 'a b'"},
        {"5V", "Wrong variable name or number format: '5V'"},
        {"NaN", "'NaN' not allowed in the expression"},
        {"high", "Value 'high' : no active document"},
        {"low", "Value 'low' : no active document"},
        {"Sin(1)", "Unknown function Sin"},
        {"sinsinsin(1)", "Unknown function sinsinsin"},
        {"V(R1)", "Function V not allowed"},
        {"S(R1)", "Function S not allowed"},
        {"q[1]", "Unknown array 'q'"},
        {"{1}", "Syntax error"},
        {"0 ? nosuch : 1", "Wrong variable name or number format: 'nosuch'"},
        {"#", "Syntax error"},
    };
    CVarList vars;
    vars.Add("a", vtInt, 0);
    ExpectErrors(rows, sizeof rows / sizeof rows[0], &vars);
}

TEST(EvalExpr, VariablesArraysAndSteps) {
    CVarList vars;
    vars.Add("x", vtInt, 0)->Value->SetInt(5);
    CVarEntry* arr = vars.Add("arr", vtDouble, 3);
    arr->Value[0].SetDouble(1.5);
    arr->Value[1].SetDouble(2.5);
    arr->Value[2].SetDouble(4.0);
    CVarEntry* small = vars.Add("small", vtInt, 2);
    const ValueRow rows[] = {
        {"x*2", vtDouble, 10}, {"X", vtInt, 5}, {"arr[1]", vtDouble, 2.5}, {"arr[0]+arr[2]", vtDouble, 5.5},
        {"max(arr)", vtDouble, 4.0}, {"sum(arr)", vtDouble, 8.0}, {"mean(arr)", vtDouble, 8.0 / 3},
    };
    ExpectValues(rows, sizeof rows / sizeof rows[0], &vars);

    CValue v;
    ASSERT_TRUE(Eval("x++", v, &vars));
    EXPECT_EQ(v.I32, 5);
    EXPECT_EQ(vars.Find("x")->Value->I32, 6);
    ASSERT_TRUE(Eval("++x", v, &vars));
    EXPECT_EQ(v.I32, 7);
    ASSERT_TRUE(Eval("--x", v, &vars));
    EXPECT_EQ(v.I32, 6);
    ASSERT_TRUE(Eval("arr[0]++", v, &vars));
    EXPECT_DOUBLE_EQ(v.Dbl, 1.5);
    EXPECT_DOUBLE_EQ(arr->Value[0].Dbl, 2.5);
    // The index of the outer array is checked against the inner one.
    small->Value[1].SetInt(2);
    EXPECT_FALSE(Eval("arr[small[1]]", v, &vars));
    EXPECT_EQ(ExprError(), "Array index too high");
    small->Value[1].SetInt(1);
    ASSERT_TRUE(Eval("arr[small[1]]", v, &vars));
    EXPECT_DOUBLE_EQ(v.Dbl, 2.5);
    EXPECT_FALSE(Eval("small[arr[2]-2]", v, &vars));
    EXPECT_EQ(ExprError(), "Array index too high");

    const ErrorRow errors[] = {
        {"arr[3]", "Array index too high"},
        {"arr[-1]", "Negative array index"},
        {"arr[1j]", "Complex array index not allowed"},
    };
    ExpectErrors(errors, sizeof errors / sizeof errors[0], &vars);
}

TEST(EvalExpr, DeepNestingAndLongTextEndCleanly) {
    std::string open(10000, '(');
    std::string deep = open + "1" + std::string(10000, ')');
    CValue v;
    EXPECT_FALSE(Eval(deep, v));
    EXPECT_EQ(ExprError(), "Expression nested too deeply");

    std::string negations;
    for (int i = 0; i < 900; ++i) negations += "-(";
    negations += "1" + std::string(900, ')');
    ASSERT_TRUE(Eval(negations, v)) << ExprError();
    EXPECT_EQ(v.I32, 1);

    std::string sum = "0";
    while (sum.size() < 10000) sum += "+1";
    ASSERT_TRUE(Eval(sum, v)) << ExprError();
    EXPECT_DOUBLE_EQ(v.AsDouble(), 5000.0);

    std::string right;
    for (int i = 0; i < 999; ++i) right += "1+(";
    right += "1" + std::string(999, ')');
    ASSERT_TRUE(Eval(right, v)) << ExprError();
    EXPECT_DOUBLE_EQ(v.AsDouble(), 1000.0);
}

TEST(EvalExpr, ResultConvertedToDouble) {
    double x = 0;
    CValue v;
    ASSERT_TRUE(EvalExpr("3+4j", &x, nullptr, nullptr, nullptr, false, nullptr, &v));
    EXPECT_EQ(v.Type, vtComplex);
    EXPECT_DOUBLE_EQ(v.Im, 4.0);
    EXPECT_DOUBLE_EQ(x, 3.0);
    ASSERT_TRUE(EvalExpr("-(2j)", &x, nullptr, nullptr, nullptr, false, nullptr, &v));
    EXPECT_FALSE(std::signbit(v.Dbl));
    EXPECT_DOUBLE_EQ(v.Im, -2.0);
}

}  // namespace
}  // namespace qz3
