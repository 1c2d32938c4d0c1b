#include "expr/functions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "expr/eval_expr.h"
#include "expr/eval_links.h"
#include "expr/number_text.h"

namespace qz3 {
namespace {

struct FuncRow {
    const char* Text;
    ValueType Type;
    double Re;
    double Im;
};

struct FuncError {
    const char* Text;
    const char* Message;
};

TEST(Functions, Values) {
    const FuncRow rows[] = {
        {"sin(pi)", vtDouble, 0.0, 0},          {"floor(-1.5)", vtDouble, -2, 0},     {"ceil(1.2)", vtDouble, 2, 0},
        {"sqr(-4)", vtDouble, 2, 0},            {"sq(-4)", vtDouble, 16, 0},          {"exp(-301)", vtDouble, 0, 0},
        {"log(8, 2)", vtDouble, 3, 0},          {"lg(100)", vtDouble, 2, 0},          {"log2(8)", vtDouble, 3, 0},
        {"pow(0, 0)", vtDouble, 0, 0},          {"pwr(0, 0)", vtDouble, -1, 0},       {"pwr(-2, 2)", vtDouble, -4, 0},
        {"round(2.5)", vtDouble, 3, 0},         {"round(-2.5)", vtDouble, -2, 0},     {"round(7, 5)", vtDouble, 5, 0},
        {"round(7, 0)", vtDouble, 7, 0},        {"abs(-3)", vtInt, 3, 0},             {"abs(-3.5)", vtDouble, 3.5, 0},
        {"mag(3+4j)", vtDouble, 5, 0},          {"sign(0)", vtInt, 0, 0},             {"sign(-2.5)", vtInt, -1, 0},
        {"limit(5, 1, 3)", vtDouble, 3, 0},     {"lim(0, 4, 3)", vtDouble, 4, 0},     {"min()", vtInt, 0, 0},
        {"max(1, 2)", vtInt, 2, 0},             {"min(3, 1.5, 2)", vtDouble, 1.5, 0}, {"max(1i64, 2)", vtInt64, 2, 0},
        {"par(2, 2)", vtDouble, 1, 0},          {"sum(1, 2, 3)", vtDouble, 6, 0},     {"average(1, 2)", vtDouble, 1.5, 0},
        {"mean(1j, 3)", vtComplex, 1.5, 0.5},   {"sqrt(-4+0j)", vtComplex, 0, 2},   {"sqrt(9)", vtDouble, 3, 0},
        {"sqrt(2j)", vtComplex, 1, 1},          {"sq(1+1j)", vtComplex, 0, 2},        {"re(3+4j)", vtDouble, 3, 0},
        {"im(3+4j)", vtDouble, 4, 0},           {"phase(1j)", vtDouble, M_PI / 2, 0}, {"atan2(1, 1)", vtDouble, M_PI / 4, 0},
        {"atan2(0, 0)", vtDouble, 0, 0},        {"db(10)", vtDouble, 20, 0},          {"db(1, 10)", vtDouble, -20, 0},
        {"int(3.9)", vtInt, 3, 0},              {"int64(-3.9)", vtInt64, -3, 0},      {"float(2)", vtDouble, 2, 0},
        {"double(2)", vtDouble, 2, 0},          {"complex(2)", vtComplex, 2, 0},      {"bool(0.5)", vtBool, 1, 0},
        {"log(-1j)", vtComplex, 0, -M_PI / 2},  {"pow(2, 10)", vtDouble, 1024, 0},    {"pow(1j, 2)", vtComplex, -1, 0},
        {"exp(0)", vtDouble, 1, 0},             {"sin (pi/2)", vtDouble, 1, 0},       {"tg(0)", vtDouble, 0, 0},
    };
    for (const FuncRow& row : rows) {
        CValue v;
        double x;
        ASSERT_TRUE(EvalExpr(row.Text, &x, nullptr, nullptr, nullptr, false, nullptr, &v)) << row.Text << ExprError();
        EXPECT_EQ(v.Type, row.Type) << row.Text;
        EXPECT_NEAR(v.AsDouble(), row.Re, 1e-9) << row.Text;
        EXPECT_NEAR(v.ImOrZero(), row.Im, 1e-9) << row.Text;
    }
}

TEST(Functions, EdgesThatDependOnTheGuards) {
    double x;
    ASSERT_TRUE(EvalExpr("sin(pi)", &x, nullptr, nullptr, nullptr));
    EXPECT_EQ(x, 0.0);
    ASSERT_TRUE(EvalExpr("cos(pi/2)", &x, nullptr, nullptr, nullptr));
    EXPECT_NE(x, 0.0);
    ASSERT_TRUE(EvalExpr("exp(-300)", &x, nullptr, nullptr, nullptr));
    EXPECT_GT(x, 0.0);
    ASSERT_TRUE(EvalExpr("par(0, 0)", &x, nullptr, nullptr, nullptr));
    EXPECT_TRUE(std::isnan(x));
}

TEST(Functions, Errors) {
    const FuncError rows[] = {
        {"log(0)", "Function 'log' : argument <= 0"},
        {"ln(-1)", "Function 'log' : argument <= 0"},
        {"lg(0)", "Function 'log' : argument <= 0"},
        {"lg(1, 2)", "Function 'log10' : wrong number of parameters"},
        {"lb(1, 2)", "Function 'log2' : wrong number of parameters"},
        {"log(1, 2, 3)", "Function 'log' : wrong number of parameters"},
        {"log(2, 1j)", "Function 'log' : complex base not allowed"},
        {"complex(1, 2)", "Function 'complex' : wrong number of parameters"},
        {"float(1, 2)", "Function 'double' : wrong number of parameters"},
        {"sin(1, 2)", "Function 'sin' : wrong number of parameters"},
        {"tg(1j)", "Function 'tan' : complex argument not allowed"},
        {"sqrt(-1)", "Function 'sqrt' : negative argument"},
        {"sqr(1j)", "Function 'sqr' : complex argument not allowed"},
        {"round(1j)", "Function 'round' : complex argument not allowed"},
        {"round(1j, 2)", "Function 'round' : complex arguments not allowed"},
        {"atan2(1, 1j)", "Function 'atan2' : complex arguments not allowed"},
        {"db(1j)", "Function 'dB' : complex arguments not allowed"},
        {"db(1, 2, 3)", "Function 'dB' : wrong number of parameters"},
        {"pwr(1j, 2)", "Function 'pwr' : complex arguments not allowed"},
        {"pow(2, 1j)", "Function 'pow' : complex power not allowed"},
        {"pow(2)", "Function 'pow' : wrong number of parameters"},
        {"gauss(1j, 1)", "Function 'gauss' : complex arguments not allowed"},
        {"lim(1j, 1, 2)", "Function 'limit' : complex arguments not allowed"},
        {"limit(1, 2)", "Function 'limit' : wrong number of parameters"},
        {"rand(1j)", "Function 'random' : complex argument not allowed"},
        {"max(1j, 2)", "Functions 'min' and 'max' : complex arguments not allowed"},
        {"islow(1)", "Function 'islow' : no active document"},
        {"ishigh(1)", "Function 'ishigh' : no active document"},
        {"dB(1)", "Unknown function dB"},
        {"mag(1, 2)", "Function 'abs' : wrong number of parameters"},
    };
    for (const FuncError& row : rows) {
        double x;
        EXPECT_FALSE(EvalExpr(row.Text, &x, nullptr, nullptr, nullptr)) << row.Text;
        EXPECT_EQ(ExprError(), row.Message) << row.Text;
    }
}

TEST(Functions, RandomSetsTheFlagAndStaysInRange) {
    RandomUsed() = false;
    double x;
    for (int i = 0; i < 200; ++i) {
        ASSERT_TRUE(EvalExpr("random(2)", &x, nullptr, nullptr, nullptr));
        EXPECT_GE(x, 0.0);
        EXPECT_LE(x, 2.0);
    }
    EXPECT_TRUE(RandomUsed());
    ASSERT_TRUE(EvalExpr("gauss(10, 0)", &x, nullptr, nullptr, nullptr));
    EXPECT_DOUBLE_EQ(x, 10.0);
}

TEST(Functions, TableAliasesShareCodes) {
    EXPECT_EQ(FindFunction("ln")->Code, FindFunction("log")->Code);
    EXPECT_EQ(FindFunction("average")->Code, FindFunction("mean")->Code);
    EXPECT_EQ(FunctionByCode(51)->Name, std::string("ln"));
    EXPECT_EQ(FindFunction("toolongname"), nullptr);
    EXPECT_EQ(FindFunction("Sin"), nullptr);
}

// Logic levels and readings come from the document through the links.
TEST(Functions, DocumentLinks) {
    CEvalLinks saved = EvalLinks();
    EvalLinks().LogicLevels = [](CDoc*, double& low, double& high, double& threshold) {
        low = 0.0;
        high = 5.0;
        threshold = 2.5;
        return true;
    };
    EvalLinks().FindComponent = [](CCmps*, std::string_view path) {
        return path == "R1" ? reinterpret_cast<CCmp*>(0x10) : nullptr;
    };
    EvalLinks().ComponentReading = [](CDoc*, CCmp*, int kind, CValue& out) {
        out.SetDouble(kind + 0.5);
        return true;
    };
    CDoc* doc = reinterpret_cast<CDoc*>(0x20);
    CCmps* cmps = reinterpret_cast<CCmps*>(0x30);
    double x;
    ASSERT_TRUE(EvalExpr("high-low", &x, doc, nullptr, cmps));
    EXPECT_DOUBLE_EQ(x, 5.0);
    ASSERT_TRUE(EvalExpr("ishigh(2.5)+islow(2.4)*2", &x, doc, nullptr, cmps));
    EXPECT_DOUBLE_EQ(x, 3.0);
    ASSERT_TRUE(EvalExpr("I(R1)*2", &x, doc, nullptr, cmps, true));
    EXPECT_DOUBLE_EQ(x, 3.0);
    EXPECT_FALSE(EvalExpr("V(R2)", &x, doc, nullptr, cmps, true));
    EXPECT_EQ(ExprError(), "Unknown name 'R2'");
    EvalLinks() = saved;
}

}  // namespace
}  // namespace qz3
