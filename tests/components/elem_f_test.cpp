#include "components/elem_f.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "components/elem_code.h"
#include "components/elem_fixture.h"

namespace qz3 {
namespace {

using test::MakeElem;
using test::RoundTrip;

constexpr double kInf = std::numeric_limits<double>::infinity();

// A block whose inputs stand at nodes 1, 2, 3 ... with the given values.
struct CBlockAt {
    CCalc calc;
    std::unique_ptr<CElemF> f;
    CBlockAt(const char* type, const char* model) : f(MakeElem<CElemF>(type, model, "F1")) {
        calc.SetSizes(6, 2, 0);
        EXPECT_TRUE(calc.AllocArrays());
        for (int pin = 0; pin < f->pinCount; ++pin) f->nodes[pin] = pin + 1;
    }
    bool Run(std::initializer_list<double> inputs, double& out) {
        int node = 1;
        for (double v : inputs) calc.VecX[node++] = v;
        calc.m_Error.clear();
        if (!f->Simulate(&calc, PhaseInit, 0.0) || !f->Evaluate(&calc, 0.5)) return false;
        out = f->m_Out;
        return true;
    }
};

TEST(ElemF, ModelsComputeTheirFunction) {
    const struct {
        const char* type;
        const char* model;
        double x, y, k;
        double expected;
    } rows[] = {
        {"F_1", "Pwr", -4, 0, 1, -2},      {"F_1", "Pwr", 3, 0, 2, 18},       {"F_1", "Pwr", 0, 0, 1, 0},
        {"F_2", "Pwr", -2, 3, 1, -8},      {"F_2", "Pwr", -2, 0, 1, -1},      {"F_2", "Pwr", 5, 1, 1, 5},
        {"F_1", "Abs", -3, 0, 2, 6},       {"F_1", "Int", 1.26, 0, 1, 1.25},  {"F_1", "Lim", 7, 0, 3, 1},
        {"F_1", "Lim", -7, 0, 3, -1},      {"F_1", "Lim", 0.5, 0, 3, 0.5},    {"F_2", "Mul", 2, 3, 2, 12},
        {"F_2", "Div", 6, 0, 1, 0},        {"F_2", "Div", 6, 3, 2, 4},        {"F_2", "Sum", 2, 3, 2, 10},
        {"F_2", "Sub", 2, 3, 2, -2},       {"F_2", "Max", 2, 3, 1, 3},        {"F_2", "Min", 2, 3, 1, 2},
        {"F_2", "GT", 4, 3, 1, 5},         {"F_2", "GT", 2, 3, 1, 0},         {"F_2", "LT", 2, 3, 1, 5},
        {"F_2", "Mag", 3, 4, 1, 5},        {"F_2", "Phase", 1, 0, 1, 90},     {"F_2", "Phase", 0, 0, 1, 0},
        {"F_1C", "Abs", -1, 0, 1, 1},      {"F_2C", "Sum", 1, 1, 1, 2},
    };
    for (const auto& row : rows) {
        CBlockAt block(row.type, row.model);
        block.f->m_K.m_Value = row.k;
        block.f->m_Res.m_Value = 0.25;
        block.f->m_Pow.m_Value = row.k == 2 && std::string(row.model) == "Pwr" ? 2 : 0.5;
        double out = NAN;
        ASSERT_TRUE(block.Run({row.x, row.y}, out)) << row.type << " " << row.model << ": " << block.calc.m_Error;
        EXPECT_NEAR(out, row.expected, 1e-9) << row.type << " " << row.model << " x=" << row.x << " y=" << row.y;
    }
}

TEST(ElemF, FunctionTableAndBus) {
    CBlockAt formula("F_2", "Function");
    formula.f->m_Func = "x*y + t";
    double out = 0;
    ASSERT_TRUE(formula.Run({2, 3}, out)) << formula.calc.m_Error;
    EXPECT_DOUBLE_EQ(out, 6.5);
    formula.f->m_Func = "x +";
    ASSERT_TRUE(formula.Run({2, 3}, out));
    formula.f->m_Func = "nope * 2";
    EXPECT_FALSE(formula.Run({2, 3}, out));
    EXPECT_EQ(formula.calc.m_Error, "F1 : Wrong variable name or number format: 'nope'\n");

    CBlockAt table("F_1", "Table");
    table.f->m_Table = "0,0, 1,10, 3,30";
    for (const auto& [x, y] : {std::pair{0.5, 5.0}, {2.0, 20.0}, {-1.0, -10.0}, {4.0, 40.0}}) {
        ASSERT_TRUE(table.Run({x}, out)) << table.calc.m_Error;
        EXPECT_NEAR(out, y, 1e-12) << x;
    }
    table.f->m_Table = "0,1,2";
    EXPECT_FALSE(table.Run({0}, out));
    EXPECT_EQ(table.calc.m_Error, "F1 : Wrong number of Table parameters\n");

    CBlockAt grid("F_2", "Table");
    grid.f->m_TableX = "0,1";
    grid.f->m_TableY = "0,1,2";
    grid.f->m_Table = "0,1, 10,11, 20,21";
    ASSERT_TRUE(grid.Run({0.5, 1.5}, out)) << grid.calc.m_Error;
    EXPECT_NEAR(out, 15.5, 1e-12);
    grid.f->m_Table = "0,1,10,11,20";
    EXPECT_FALSE(grid.Run({0, 0}, out));
    EXPECT_EQ(grid.calc.m_Error, "F1 : Wwrong number of Table parameters\n");

    CBlockAt bus("Y_BUS", "Bus");
    ASSERT_EQ(bus.f->Inputs(), 3);
    EXPECT_EQ(bus.f->PinName(0), "2");
    EXPECT_EQ(bus.f->PinName(3), "bus");
    ASSERT_TRUE(bus.Run({5, 0, 5}, out));
    EXPECT_EQ(out, 5);
    bus.f->m_Format.Index = 1;
    ASSERT_TRUE(bus.Run({5, 0, 5}, out));
    EXPECT_EQ(out, -3);
}

TEST(ElemF, CheckLines) {
    const struct {
        const char* model;
        double k, power, res, max, min;
        const char* lines;
    } rows[] = {
        {"Abs", 1, 1, 0, 1, 0, ""},
        {"Abs", kInf, 1, 0, 1, 0, "F1 : K = infinite\n"},
        {"Pwr", 1, kInf, 0, 1, 0, "F1 : power = infinite\n"},
        {"Int", 1, 1, -1, 1, 0, "F1 : Resolution < 0\n"},
        {"Int", 1, 1, kInf, 1, 0, "F1 : Resolution = infinite\n"},
        {"Lim", kInf, 1, 0, 1, 2, "F1 : Max < Min\n"},
        {"Lim", 1, 1, 0, kInf, 0, "F1 : Max = infinite\n"},
    };
    for (const auto& row : rows) {
        CCalc calc;
        auto f = MakeElem<CElemF>("F_1", row.model, "F1");
        f->m_K.m_Value = row.k;
        f->m_Pow.m_Value = row.power;
        f->m_Res.m_Value = row.res;
        f->m_Max.m_Value = row.max;
        f->m_Min.m_Value = row.min;
        EXPECT_EQ(f->CheckParams(&calc), row.lines[0] == 0) << row.model;
        EXPECT_EQ(calc.m_Error, row.lines) << row.model;
    }
    CCalc calc;
    auto f = MakeElem<CElemF>("F_1", "Function", "F1");
    f->m_IC.m_Error = true;
    f->CheckParams(&calc);
    EXPECT_EQ(calc.m_Error, "F1 : IC : formula error\n");
}

TEST(ElemF, PinsOfFixedAndBoxedBlocksAndTheirFileKeys) {
    auto clocked = MakeElem<CElemF>("F_2C", "Sum");
    EXPECT_EQ(clocked->pinCount, 4);
    EXPECT_EQ(clocked->PinName(2), "out");
    EXPECT_EQ(clocked->PinName(3), "clk");

    auto custom = MakeElem<CElemF>("F_CUSTOM", "Function");
    EXPECT_EQ(custom->pinCount, 4);
    EXPECT_EQ(custom->PinName(1), "x2");
    custom->m_Func = "x1+x2";
    custom->m_IC.SetValue(2.5);
    auto copy = RoundTrip(custom.get());
    EXPECT_EQ(copy->m_Func, "x1+x2");
    EXPECT_EQ(copy->m_IC.m_Value, 2.5);
    EXPECT_EQ(copy->pinCount, 4);
    EXPECT_EQ(copy->PinName(3), "out");

    // A code block: two named inputs, a named output, one without a name
    // and a clock.
    CXmlNode file;
    file.ParseText(R"(<Cmp type="X_C" name="C1" model="C" c_code="y=1;"><Custom l="3" r="3" b="1">)"
                   R"(<Ins><In name="a"/><In name="b"/></Ins><Outs><Out name="y"/><Out name=""/></Outs>)"
                   R"(</Custom></Cmp>)",
                   1);
    auto code = MakeElem<CElemCode>("X_C");
    code->Xml(&file, false);
    EXPECT_EQ(code->m_Code, "y=1;");
    EXPECT_EQ(code->pinCount, 5);
    EXPECT_EQ(code->m_Inputs, 2);
    EXPECT_EQ(code->m_Outputs, 2);
    EXPECT_EQ(code->m_Clocked, 1);
    EXPECT_EQ(code->PinName(2), "y");
    EXPECT_EQ(code->PinName(3), "unnamed_out_4");
    EXPECT_EQ(code->PinName(4), "clk");
    auto fresh = MakeElem<CElemCode>("X_C");
    EXPECT_EQ(fresh->pinCount, 6);
    EXPECT_EQ(fresh->PinName(4), "y2");
}

}  // namespace
}  // namespace qz3
