#include "expr/param.h"

#include <gtest/gtest.h>

#include <cmath>

#include "expr/formula.h"
#include "expr/number_text.h"
#include "waveforms/pwl.h"

namespace qz3 {
namespace {

const char* const kSlopes[] = {"Rise", "Fall", "Both", nullptr};

struct Members {
    CFormula formula;
    ChoiceValue choice{0, kSlopes};
    int32_t flag = 0;
    std::string text;
    CPWL pwl;
};

CParam Row(uint32_t kind, void* data) {
    CParam row(kind, "P", "");
    row.Data = data;
    return row;
}

TEST(Param, LenientTextAcceptsExpressionsAndWords) {
    Members m;
    CParam formula = Row(kParamFormula, &m.formula);
    std::string error;
    bool ok = false;
    formula.SetText(error, " 2*3 ", nullptr, &ok, nullptr);
    EXPECT_TRUE(ok);
    EXPECT_EQ(m.formula.m_Value, 6.0);
    EXPECT_TRUE(m.formula.m_Text.empty());
    formula.SetText(error, "=2*3", nullptr, &ok, nullptr);
    EXPECT_TRUE(ok);
    EXPECT_EQ(m.formula.m_Text, "=2*3");
    formula.SetText(error, "nosuch+1", nullptr, &ok, nullptr);
    EXPECT_FALSE(ok);
    EXPECT_EQ(error.rfind("Error : ", 0), 0u);

    CParam onOff = Row(kParamOnOff, &m.flag);
    const struct {
        const char* text;
        int32_t flag;
    } flags[] = {{"on", 1}, {"OFF", 0}, {"2", 1}, {"-1", 0}, {"0.7", 0}, {"Yes", 0}};
    for (const auto& row : flags) {
        m.flag = 5;
        onOff.SetText(error, row.text, nullptr, &ok, nullptr);
        if (std::string(row.text) == "Yes") {
            EXPECT_FALSE(ok);  // another kind's word is no number either
            continue;
        }
        EXPECT_TRUE(ok) << row.text;
        EXPECT_EQ(m.flag, row.flag) << row.text;
    }

    CParam choice = Row(kParamChoice, &m.choice);
    choice.SetText(error, "fall", nullptr, &ok, nullptr);
    EXPECT_EQ(m.choice.Index, 1);
    choice.SetText(error, "2", nullptr, &ok, nullptr);
    EXPECT_EQ(m.choice.Index, 2);
    choice.SetText(error, "7", nullptr, &ok, nullptr);
    EXPECT_EQ(m.choice.Index, 0);  // not a position: back to the first
    EXPECT_EQ(choice.GetText(), "Rise");
}

TEST(Param, StrictTextOfTheLibrary) {
    Members m;
    CParam formula = Row(kParamFormula, &m.formula);
    std::string error;
    EXPECT_EQ(formula.SetTextApi("1k", nullptr, error), 0);
    EXPECT_EQ(m.formula.m_Value, 1000.0);
    EXPECT_TRUE(m.formula.m_Text.empty());
    EXPECT_EQ(formula.SetTextApi("=2*3", nullptr, error), 0);
    EXPECT_EQ(m.formula.m_Value, 6.0);
    EXPECT_EQ(m.formula.m_Text, "=2*3");
    EXPECT_EQ(formula.SetTextApi("2*3", nullptr, error), -1);
    EXPECT_EQ(error.rfind("error in value  2*3 : ", 0), 0u) << error;
    EXPECT_TRUE(m.formula.m_Error);
    error.clear();
    EXPECT_EQ(formula.SetTextApi("", nullptr, error), -1);
    EXPECT_EQ(error, "no text");

    const struct {
        uint32_t kind;
        const char* good;
        const char* bad;
        const char* message;
    } flags[] = {
        {kParamOnOff, "On", "on", "text on is not On/Off"},
        {kParamYesNo, "Yes", "yes", "text yes is not Yes/No"},
        {kParamLowHigh, "High", "1", "text 1 is not High/Low"},
    };
    for (const auto& row : flags) {
        CParam flag = Row(row.kind, &m.flag);
        m.flag = 0;
        error.clear();
        EXPECT_EQ(flag.SetTextApi(row.good, nullptr, error), 0);
        EXPECT_EQ(m.flag, 1);
        EXPECT_EQ(flag.SetTextApi(row.bad, nullptr, error), -1);
        EXPECT_EQ(error, row.message);
    }
    CParam choice = Row(kParamChoice, &m.choice);
    error.clear();
    EXPECT_EQ(choice.SetTextApi("Both", nullptr, error), 0);
    EXPECT_EQ(m.choice.Index, 2);
    EXPECT_EQ(choice.SetTextApi("both", nullptr, error), -1);
    EXPECT_EQ(error, "text both not found");
}

TEST(Param, ValuesByNumber) {
    Members m;
    std::string error;
    CParam choice = Row(kParamChoice, &m.choice);
    EXPECT_EQ(choice.SetValue(1.95, nullptr, error), 0);
    EXPECT_EQ(m.choice.Index, 2);
    EXPECT_EQ(choice.SetValue(0.95, nullptr, error), 0);
    EXPECT_EQ(m.choice.Index, 1);

    CParam formula = Row(kParamFormula, &m.formula);
    m.formula.m_Text = "=1+1";
    EXPECT_EQ(formula.SetValue(4.5, nullptr, error), 0);
    EXPECT_TRUE(m.formula.m_Text.empty());  // a number drops the formula
    double v = 0.0;
    EXPECT_EQ(formula.GetValue(&v, error), 0);
    EXPECT_EQ(v, 4.5);
    EXPECT_EQ(formula.GetValue(nullptr, error), -1);
    EXPECT_EQ(error, "NULL pointer to value");
    m.formula.m_Error = true;
    error.clear();
    EXPECT_EQ(formula.GetValue(&v, error), -1);
    EXPECT_EQ(error, "formula error");
    EXPECT_EQ(formula.ValueOrZero(), 0.0);

    CParam text = Row(kParamString, &m.text);
    error.clear();
    EXPECT_EQ(text.GetValue(&v, error), -1);
    EXPECT_EQ(error, "parameter type not supported");
    error.clear();
    EXPECT_EQ(text.SetValue(1.0, nullptr, error), -1);
    EXPECT_EQ(error, "parameter type not supported");
}

TEST(Param, TextsForDisplayAndForTheHost) {
    Members m;
    std::string error;
    CParam code = Row(kParamCode, &m.text);
    EXPECT_EQ(code.GetText(), "<no code>");
    m.text = std::string(40, 'a') + "\n";
    EXPECT_EQ(code.GetText(), std::string(33, 'a') + "...");
    // The cut comes right behind the 33rd kept character, whatever follows.
    m.text = std::string(33, 'b') + ";";
    EXPECT_EQ(code.GetText(), std::string(33, 'b') + "...");
    m.text = std::string(32, 'c') + ";";
    EXPECT_EQ(code.GetText(), std::string(32, 'c'));
    m.text = "x=1;\r\ny=2;\n";
    EXPECT_EQ(code.GetText(), "x=1;y=2;");  // control characters and the last one dropped

    CParam text = Row(kParamString, &m.text);
    m.text = "123456";
    char buffer[8];
    EXPECT_EQ(text.GetTextBuffer(buffer, 4, error), 7);
    EXPECT_STREQ(buffer, "123");

    CParam formula = Row(kParamFormula, &m.formula);
    m.formula.SetValue(1500.0);
    EXPECT_EQ(formula.GetTextBuffer(buffer, sizeof buffer, error), 7);
    EXPECT_STREQ(buffer, "1.5e+3");
    formula.ShowText = 1;
    m.formula.m_Text = "=R1";
    EXPECT_EQ(formula.GetText(), "=R1");

    CParam lowHigh = Row(kParamLowHigh, &m.flag);
    m.flag = 3;
    EXPECT_EQ(lowHigh.GetText(), "High");
    CParam pwl = Row(kParamPwl, &m.pwl.m_Text);
    EXPECT_EQ(pwl.SetTextApi("1,2,3", nullptr, error), 0);
    EXPECT_EQ(pwl.GetText(), "1,2,3");
}

TEST(Param, TablesAreSearchedIgnoringCase) {
    CParam table[] = {{kParamFormula, "R", "Ohm"}, {kParamFormula, "Position", ""}, {}};
    CFormula a, b;
    table[0].Data = &a;
    table[1].Data = &b;
    EXPECT_EQ(ParamRowCount(table), 2);
    EXPECT_EQ(FindParamRow(table, "position"), &table[1]);
    EXPECT_EQ(FindParamRow(table, "pos"), nullptr);
    EXPECT_EQ(FindParamRow(nullptr, "R"), nullptr);
    EXPECT_EQ(table[1].Data, &b);
}

}  // namespace
}  // namespace qz3
