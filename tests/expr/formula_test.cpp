#include "expr/formula.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>

#include "expr/eval_links.h"
#include "expr/number_text.h"

namespace qz3 {
namespace {

// A tiny stand-in for a component list: parameters by "cmp.param" name.
std::map<std::string, CFormula>& Params() {
    static std::map<std::string, CFormula> params;
    return params;
}

class FormulaTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_Saved = EvalLinks();
        Params().clear();
        EvalLinks().ParamFormula = [](CCmps*, std::string_view name) -> CFormula* {
            auto it = Params().find(std::string(name));
            return it == Params().end() ? nullptr : &it->second;
        };
        EvalLinks().ParamValue = [](CCmps*, std::string_view name, CValue& out) {
            auto it = Params().find(std::string(name));
            if (it == Params().end()) return false;
            out.SetDouble(it->second.m_Value);
            return true;
        };
    }
    void TearDown() override { EvalLinks() = m_Saved; }
    CCmps* Cmps() { return reinterpret_cast<CCmps*>(0x40); }
    CEvalLinks m_Saved;
};

TEST_F(FormulaTest, LiveAndOnceEvaluatedText) {
    CFormula f;
    bool changed = false;
    f.m_Text = "=R1.R*2";
    Params()["R1.R"].m_Value = 1500;
    ASSERT_TRUE(f.Evaluate(nullptr, Cmps(), changed));
    EXPECT_TRUE(changed);
    EXPECT_DOUBLE_EQ(f.m_Value, 3000);
    EXPECT_EQ(f.m_Text, "=R1.R*2");
    ASSERT_TRUE(f.Evaluate(nullptr, Cmps(), changed));
    EXPECT_FALSE(changed);

    f.m_Text = "1/3";
    ASSERT_TRUE(f.Evaluate(nullptr, Cmps(), changed));
    EXPECT_TRUE(f.m_Text.empty());
    EXPECT_EQ(f.m_Value, 0.333333333333);  // 12 significant digits

    f.m_Text = "=random(1)";
    ASSERT_TRUE(f.Evaluate(nullptr, Cmps(), changed));
    EXPECT_FALSE(changed);

    f.m_Text = "=1/0";
    EXPECT_FALSE(f.Evaluate(nullptr, Cmps(), changed));
    EXPECT_EQ(ExprError(), "Division by zero");
}

TEST_F(FormulaTest, ToTextByFormat) {
    struct Row {
        double Value;
        int Format;
        int Bits;
        const char* Text;
    };
    const Row rows[] = {
        {1500, 0, 32, "1.5e+3"}, {-5, 1, 32, "-5"},   {5, 2, 32, "0b101"},   {8, 3, 32, "010"},
        {255, 4, 32, "0xFF"},    {-1, 4, 8, "0xFF"},  {-1, 4, 16, "0xFFFF"}, {0, 4, 32, "0"},
        {-1, 4, 32, "0xFFFFFFFF"},
    };
    for (const Row& row : rows) {
        CFormula f(row.Value);
        f.m_Format = row.Format;
        f.m_Bits = row.Bits;
        EXPECT_EQ(f.ToText(), row.Text) << row.Value;
    }
    CFormula blank(std::nan(""));
    blank.m_Blank = true;
    EXPECT_EQ(blank.ToText(), "");
    CFormula failed(1.0);
    failed.m_Error = true;
    EXPECT_EQ(failed.ToText(), "#VAL");
    failed.SetValue(2.0);
    EXPECT_FALSE(failed.m_Error);
    EXPECT_EQ(failed.ToText(), "2");
}

TEST_F(FormulaTest, CircularReferences) {
    CFormula& a = Params()["A.x"];
    CFormula& b = Params()["B.x"];
    b.m_Text = "=A.x+1";
    EXPECT_FALSE(CheckCircular(&a, "=A.x*2", Cmps()));
    EXPECT_EQ(ExprError(), "Circular reference");
    EXPECT_FALSE(CheckCircular(&a, "=B.x*2", Cmps()));
    EXPECT_TRUE(CheckCircular(&a, "=sin(C.x)+2", Cmps()));
    EXPECT_TRUE(CheckCircular(&a, "", Cmps()));
    EXPECT_TRUE(CheckCircular(&a, "=A.x", nullptr));
    // A ring that doesn't pass through self ends instead of running forever.
    CFormula& c = Params()["C.x"];
    CFormula& d = Params()["D.x"];
    c.m_Text = "=D.x";
    d.m_Text = "=C.x";
    EXPECT_FALSE(CheckCircular(&a, "=C.x", Cmps()));
}

TEST(NextName, SkipsFunctionsAndNumbers) {
    std::string text = "=sin(R1.R)*1e-3+4k7*\"my cmp\".v";
    int from = 1, start = 0;
    EXPECT_EQ(NextName(text, from, start), "R1.R");
    EXPECT_EQ(start, 6);
    EXPECT_EQ(NextName(text, from, start), "\"my cmp\".v");
    EXPECT_EQ(NextName(text, from, start), "");
}

}  // namespace
}  // namespace qz3
