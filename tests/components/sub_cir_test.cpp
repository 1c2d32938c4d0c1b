#include "components/sub_cir.h"

#include <gtest/gtest.h>

#include <string>

#include "components/cmp.h"
#include "components/cmps.h"
#include "components/elem_set.h"
#include "xml/xml_node.h"

namespace qz3 {
namespace {

// A list loaded from the text of one Cmps node.
void LoadList(CCmps& list, const std::string& cmps) {
    CXmlNode node;
    node.ParseText(cmps, 1);
    list.Load(&node);
}

std::string Names(CParam* table) {
    std::string out;
    for (; table && table->Kind != kParamEnd; ++table) out += std::string(table->Name) + ",";
    return out;
}

TEST(SubCir, TableFollowsThePinsAndTheBox) {
    CCmps list(nullptr);
    LoadList(list,
             R"(<Cmps><Cmp type="X_B3" name="X1" model="SubCir"><SubCir file="a" label1="p" label3="q" cmd="R1.R=2" /></Cmp>)"
             R"(<Cmp type="X_QZ3" name="X2" model="SubCir" />)"
             R"(<Cmp type="X_CUSTOM" name="X3" model="SubCir"><Custom l="3" r="1" /><SubCir label3="z" /></Cmp></Cmps>)");
    CCmp* x1 = list.Find("X1");
    ASSERT_NE(x1, nullptr);
    EXPECT_EQ(Names(x1->ParamTable()), "File,Pin1,Pin2,Pin3,Cmd,IC,");
    EXPECT_EQ(x1->FindParam("pin3")->GetText(), "q");
    EXPECT_EQ(x1->FindParam("Cmd")->GetText(), "R1.R=2");
    EXPECT_EQ(x1->FindParam("File")->GetText(), "a");
    // A new circuit block has three pins named by its box; the names are
    // the labels, so no pin rows are offered.
    CCmp* x2 = list.Find("X2");
    ASSERT_NE(x2, nullptr);
    EXPECT_EQ(x2->pinCount, 3);
    EXPECT_EQ(Names(x2->ParamTable()), "File,Cmd,IC,");
    EXPECT_EQ(x2->SubCircuit().m_Labels, (std::vector<std::string>{"x1", "x2", "x3"}));
    // A custom block takes its pins from the box and offers a row for each.
    CCmp* x3 = list.Find("X3");
    ASSERT_NE(x3, nullptr);
    EXPECT_EQ(x3->pinCount, 3);
    EXPECT_EQ(Names(x3->ParamTable()), "File,Pin1,Pin2,Pin3,Cmd,IC,");
    EXPECT_EQ(x3->FindParam("Pin3")->GetText(), "z");
}

TEST(SubCir, FileElementRoundTrip) {
    CCmps list(nullptr);
    LoadList(list, R"(<Cmps><Cmp type="R_R" name="R5" model="SubCir"><SubCir file="div" label1="in" label2="out" cmd="R2.R=3" ic="C1.IC=1" /></Cmp></Cmps>)");
    CXmlNode out("Cmps");
    list.Save(&out);
    std::string text;
    out.ToText(text);
    EXPECT_NE(text.find(R"(<SubCir file="div" label1="in" label2="out" cmd="R2.R%3d3" ic="C1.IC%3d1" />)"), std::string::npos) << text;
    CSubCir sub(list.Find("R5"));
    EXPECT_FALSE(sub.Xml(nullptr));
    CXmlNode bare("Cmp");
    bare.m_bWrite = false;
    EXPECT_FALSE(sub.Xml(&bare));
}

// A subcircuit that can't be loaded keeps an assignment inside it as a
// command of its own: an item of that name is replaced, a new one added.
TEST(SubCir, AssignmentToUnloadedListGoesIntoItsCommands) {
    CCmps list(nullptr);
    LoadList(list, R"(<Cmps><Cmp type="X_B2" name="X1" model="SubCir"><SubCir file="no such file" cmd="R1.R=2" /></Cmp></Cmps>)");
    std::string result;
    bool ok = false;
    int errpos = 0;
    list.ParamAccess(20, "X1.R1.R", "0", "5", result, ok, errpos, nullptr);
    EXPECT_TRUE(ok) << result;
    list.ParamAccess(20, "X1.C1.C", "0", "1u", result, ok, errpos, nullptr);
    EXPECT_TRUE(ok) << result;
    list.ParamAccess(0, "X1.Cmd", "0", "", result, ok, errpos, nullptr);
    EXPECT_EQ(result, "R1.R=5,C1.C=1u");
    list.ParamAccess(0, "X1.R1.R", "0", "", result, ok, errpos, nullptr);
    EXPECT_FALSE(ok);
    EXPECT_EQ(result, "X1.R1.R not found");
    EXPECT_EQ(list.FindPath("X1.R1"), nullptr);
}

}  // namespace
}  // namespace qz3
