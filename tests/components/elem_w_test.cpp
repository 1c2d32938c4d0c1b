#include "components/elem_w.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "components/custom_type.h"
#include "elem_fixture.h"
#include "solver/calc.h"

namespace qz3 {
namespace {

using test::MakeElem;
using test::RoundTrip;

std::unique_ptr<CElemW> LoadW(const std::string& text) {
    CXmlNode node;
    node.ParseText(text, 1);
    auto w = MakeElem<CElemW>(node.GetStr("type", "").c_str());
    w->Xml(&node, false);
    return w;
}

TEST(ElemW, CheckLinesByTypeAndWinding) {
    CCalc calc;
    auto t2 = MakeElem<CElemW>("W_T2", nullptr, "T1");
    t2->n1.m_Value = std::numeric_limits<double>::infinity();
    t2->n2.m_Error = true;
    EXPECT_FALSE(t2->CheckParams(&calc));
    EXPECT_EQ(calc.m_Error, "T1 : n1 = infinite\nT1 : n2 : formula error\n");

    calc.m_Error.clear();
    auto w = MakeElem<CElemW>("W_W", nullptr, "W1");
    w->n.m_Value = -std::numeric_limits<double>::infinity();
    EXPECT_FALSE(w->CheckParams(&calc));
    EXPECT_EQ(calc.m_Error, "W1 : n = infinite\n");

    calc.m_Error.clear();
    auto custom = LoadW(R"(<Cmp type="W_CUSTOM" name="TC" n1="2" n3="5"><Custom l="7" r="7" /></Cmp>)");
    ASSERT_EQ(custom->pinCount, 6);
    ASSERT_EQ(custom->turns.size(), 3u);
    custom->turns[1].m_Value = std::numeric_limits<double>::infinity();
    custom->turns[2].m_Error = true;
    EXPECT_FALSE(custom->CheckParams(&calc));
    EXPECT_EQ(calc.m_Error, "TC : n2 : infinite\nTC : n3 : formula error\n");
}

TEST(ElemW, CustomTurnsAreRowsAndKeys) {
    auto custom = LoadW(R"(<Cmp type="W_CUSTOM" name="TC" n1="2" n2_str="=2*2"><Custom l="3" r="3" /></Cmp>)");
    CParam* table = custom->ParamTable();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(ParamRowCount(table), 2);
    EXPECT_STREQ(table[1].Name, "n2");
    EXPECT_EQ(table[0].GetText(), "2");
    EXPECT_EQ(custom->turns[1].m_Text, "=2*2");
    auto copy = RoundTrip(custom.get());
    ASSERT_EQ(copy->turns.size(), 2u);
    EXPECT_EQ(copy->turns[0].m_Value, 2.0);
    EXPECT_EQ(copy->turns[1].m_Text, "=2*2");
    EXPECT_EQ(copy->pinCount, 4);
}

TEST(ElemW, BranchesAndPinGroups) {
    CCalc calc;
    const struct {
        const char* type;
        int branches;
        std::vector<int> groups;
    } rows[] = {
        {"W_W", 1, {1, 1, 0}},
        {"W_T2", 3, {1, 1, 2, 2}},
        {"W_T3", 4, {1, 1, 2, 2, 2}},
    };
    for (const auto& row : rows) {
        auto w = MakeElem<CElemW>(row.type);
        EXPECT_EQ(w->AssignBranches(&calc, 7), row.branches) << row.type;
        EXPECT_EQ(w->firstBranch, 7) << row.type;
        w->Simulate(&calc, PhasePins, 0.0);
        EXPECT_EQ(std::vector<int>(w->PinGroups(), w->PinGroups() + w->pinCount), row.groups) << row.type;
    }
    auto custom = LoadW(R"(<Cmp type="W_CUSTOM" name="TC"><Custom l="7" r="1" /></Cmp>)");
    EXPECT_EQ(custom->AssignBranches(&calc, 3), 3);
    custom->Simulate(&calc, PhasePins, 0.0);
    EXPECT_EQ(std::vector<int>(custom->PinGroups(), custom->PinGroups() + 4), (std::vector<int>{1, 1, 2, 2}));
    auto empty = MakeElem<CElemW>("W_CUSTOM");
    EXPECT_EQ(empty->AssignBranches(&calc, 3), 0);
    EXPECT_EQ(empty->ParamTable(), nullptr);
}

}  // namespace
}  // namespace qz3
