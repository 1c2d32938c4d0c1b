#include "components/cmps.h"

#include <gtest/gtest.h>

#include <string>

#include "components/cmp.h"
#include "components/elem_r.h"
#include "components/elem_set.h"
#include "components/variable.h"
#include "xml/xml_node.h"
#include "expr/param.h"

namespace qz3 {
namespace {

// A Cmps node parsed from text, in load mode as a file gives it.
struct Parsed {
    explicit Parsed(const std::string& body) { node.ParseText("<Cmps>" + body + "</Cmps>", 1); }
    CXmlNode node;
};

std::string Names(const CCmps& list) {
    std::string out;
    for (int i = 0; i < list.Count(); ++i) out += (i ? "," : "") + list.At(i)->name;
    return out;
}

TEST(Cmps, PathsSplitAtTheFirstPointOutsideQuotes) {
    const struct {
        const char* path;
        const char* left;
        const char* right;
    } rows[] = {
        {"", "", ""},
        {"R1", "R1", ""},
        {"R1.R", "R1", "R"},
        {"X1.X2.R1", "X1", "X2.R1"},
        {"\"a.b\".R", "a.b", "R"},
        {"\"a.b\"", "a.b", ""},
        {"\"open", "open", ""},
    };
    for (const auto& row : rows) {
        std::string left, right;
        SplitPath(row.path, left, right);
        EXPECT_EQ(left, row.left) << row.path;
        EXPECT_EQ(right, row.right) << row.path;
    }
}

TEST(Cmps, SortPutsNumbersInOrderLabelsThenVariablesLast) {
    CCmps list(nullptr);
    Parsed file(R"x(<Cmp type="var" name="A" /><Cmp type="R_R" name="R10" /><Cmp type="label" name="L1" />)x"
                R"x(<Cmp type="R_R" name="r2" /><Cmp type="R_R" name="Z" /><Cmp type="R_R" name="R2" />)x"
                R"x(<Cmp type="C_C" name="C1" /><Cmp type="var" name="b" />)x");
    ASSERT_TRUE(list.Load(&file.node));
    EXPECT_EQ(Names(list), "C1,R2,R10,Z,r2,L1,A,b");

    // Equal names keep their file order; a long list in reverse comes out in
    // numeric order.
    CCmps equal(nullptr);
    Parsed same(R"x(<Cmp type="R_R" name="N" r="1" /><Cmp type="C_C" name="A" /><Cmp type="R_R" name="N" r="2" />)x"
                R"x(<Cmp type="R_R" name="N" r="3" />)x");
    ASSERT_TRUE(equal.Load(&same.node));
    std::string order;
    for (int i = 1; i < equal.Count(); ++i) order += equal.At(i)->ParamTable()->GetText() + ",";
    EXPECT_EQ(Names(equal), "A,N,N,N");
    EXPECT_EQ(order, "1,2,3,");

    CCmps reversed(nullptr);
    std::string text, expected;
    for (int k = 300; k >= 1; --k) text += "<Cmp type=\"R_R\" name=\"R" + std::to_string(k) + "\" />";
    for (int k = 1; k <= 300; ++k) expected += (k > 1 ? ",R" : "R") + std::to_string(k);
    Parsed many(text);
    ASSERT_TRUE(reversed.Load(&many.node));
    EXPECT_EQ(Names(reversed), expected);
}

TEST(Cmps, LoaderReportsUnknownTypesModelsAndEmptyNames) {
    CCmps list(nullptr);
    Parsed file(R"x(<Cmp type="R_X" name="Q" /><Cmp type="R_R" name="R1" model="Banana" r="5" />)x"
                R"x(<Cmp type="R_R" model="R" /><Cmp type="r_r" name="R3" />)x");
    ASSERT_TRUE(list.Load(&file.node));
    EXPECT_EQ(file.node.ChildAt(0)->m_Error, "Unknown component type = R_X");
    EXPECT_EQ(file.node.ChildAt(1)->m_Error, "R1 : unknown model = Banana");
    EXPECT_EQ(file.node.ChildAt(2)->m_Error, "Empty component name");
    EXPECT_EQ(file.node.ChildAt(3)->m_Error, "Unknown component type = r_r");  // types are case-sensitive
    ASSERT_EQ(list.Count(), 2);
    CCmp* r1 = list.Find("r1");
    ASSERT_NE(r1, nullptr);
    EXPECT_EQ(r1->model, ModelId::R);  // falls back to the first row
    EXPECT_NE(list.Find("???"), nullptr);
    EXPECT_FALSE(list.Load(nullptr));

    CCmps quiet(nullptr);
    quiet.m_QuietLoad = true;
    Parsed again(R"x(<Cmp type="R_X" name="Q" /><Cmp type="R_R" name="R1" model="Banana" />)x");
    quiet.Load(&again.node);
    EXPECT_EQ(again.node.Errors(), "");
}

TEST(Cmps, ParamAccessReadsAssignsAndNamesModels) {
    CCmps list(nullptr);
    Parsed file(R"x(<Cmp type="R_R" name="R1" r="100" /><Cmp type="L_CUSTOM" name="D1" model="L" />)x"
                R"x(<Cmp type="var" name="K" value="3" />)x");
    ASSERT_TRUE(list.Load(&file.node));
    std::string result;
    bool ok = false;
    int errpos = 0;
    double number = 0;
    list.ParamAccess(0, "R1.R", "", "", result, ok, errpos, &number);
    EXPECT_TRUE(ok);
    EXPECT_EQ(result, "100");
    EXPECT_EQ(number, 100.0);
    list.ParamAccess(20, "R1", "", "\" 2*K \"", result, ok, errpos, &number);
    EXPECT_TRUE(ok) << result;
    EXPECT_EQ(number, 6.0);
    list.ParamAccess(28, "R1.R", "", "4", result, ok, errpos, &number);  // "+="
    EXPECT_EQ(number, 10.0);
    list.ParamAccess(30, "R1.R", "", "3", result, ok, errpos, &number);  // "*="
    EXPECT_EQ(result, "30");

    const struct {
        const char* path;
        const char* value;
        const char* result;
        bool ok;
    } rows[] = {
        {"R1.MODEL", "", "R", true},
        {"R1.model", "pwl", "PWL", true},
        {"R1.Model", "Nope", "Nope not found", false},
        {"D1.anything", "", "L", true},  // no parameter table: acts as the model
        {".R", "", ".R not found", false},
        {"R9.R", "", "R9 not found", false},
        {"R1.X", "", "R1.X not found", false},
        {"K.Value", "", "3", true},
    };
    for (const auto& row : rows) {
        list.ParamAccess(row.value[0] ? 20 : 0, row.path, "", row.value, result, ok, errpos, nullptr);
        EXPECT_EQ(result, row.result) << row.path;
        EXPECT_EQ(ok, row.ok) << row.path;
    }
    list.ParamAccess(20, "K", "", "nosuch*2", result, ok, errpos, nullptr);
    EXPECT_FALSE(ok);
    EXPECT_FALSE(result.empty());

    list.Find("R1")->scrambled = true;
    list.ParamAccess(0, "R1.R", "", "", result, ok, errpos, nullptr);
    EXPECT_EQ(result, "R1 operation not allowed");
    EXPECT_EQ(list.FindParam("R1.R"), nullptr);  // a closed component offers no rows
}

TEST(Cmps, FormulasReachAFixedPointInAnyOrder) {
    CCmps list(nullptr);
    Parsed file(R"x(<Cmp type="R_R" name="R1" node0="1" r_str="%3dR2*2" />)x"
                R"x(<Cmp type="R_R" name="R2" node0="1" r_str="%3dK%2b1" />)x"
                R"x(<Cmp type="var" name="K" value_str="%3dmax(3%2c+4)" />)x"
                R"x(<Cmp type="R_R" name="R4" node0="-1" node1="-1" r="7" />)x"
                R"x(<Cmp type="R_R" name="R5" node0="1" r_str="%3dR4" />)x");
    ASSERT_TRUE(list.Load(&file.node));
    EXPECT_TRUE(list.EvalParams());
    double v = 0;
    ASSERT_TRUE(list.FindValue("R1", v));
    EXPECT_EQ(v, 10.0);
    ASSERT_TRUE(list.FindValue("r2.r", v));
    EXPECT_EQ(v, 5.0);
    EXPECT_FALSE(list.FindValue("R4", v));  // unconnected components yield nothing
    CParam* r5 = list.FindParam("R5");
    ASSERT_NE(r5, nullptr);
    EXPECT_TRUE(r5->Formula().m_Error);
    EXPECT_FALSE(list.EvalParams());  // nothing moves any more

    // A formula in error that becomes sound counts as a change.
    static_cast<CElemR*>(list.Find("R4"))->nodes[0] = 2;
    EXPECT_TRUE(list.EvalParams());
    ASSERT_TRUE(list.FindValue("R5", v));
    EXPECT_EQ(v, 7.0);
}

TEST(Cmps, SaveWritesEveryComponentWithTheKeysItWasGiven) {
    CCmps list(nullptr);
    Parsed file(R"x(<Cmp type="R_R" id="1" name="R1" node0="1" node1="0" model="R" r="1e+3" extra="keep+me">)x"
                R"x(<Note a="1" /></Cmp>)x"
                R"x(<Cmp type="S_VCS" id="2" name="S1" node0="1" node1="0" node2="3" node3="0" ron="1" />)x"
                R"x(<Cmp type="var" name="K" value_str="%3d1%2b1" value="2" />)x");
    ASSERT_TRUE(list.Load(&file.node));
    CXmlNode out("Cmps");
    ASSERT_TRUE(list.Save(&out));
    std::string text;
    out.ToText(text);
    for (const char* piece : {"type=\"R_R\"", "extra=\"keep+me\"", "<Note a=\"1\" />", "type=\"S_VCS\"",
                              "node2=\"3\"", "ron=\"1\"", "value_str=\"%3d1%2b1\"", "value=\"2\"", "r=\"1e+3\""})
        EXPECT_NE(text.find(piece), std::string::npos) << piece << "\n" << text;
    EXPECT_EQ(text.find("extra=\"keep+me\" extra"), std::string::npos);  // written once
    EXPECT_EQ(list.NodeList().size(), 2u + 4u);
}

TEST(ElemSet, TheTableHoldsAllTypesInOrder) {
    const CElemSet& set = CElemSet::Instance();
    ASSERT_EQ(set.Count(), 98);
    EXPECT_STREQ(set.At(0)->typeName, "R_R");
    EXPECT_STREQ(set.At(97)->typeName, "Z_Z");
    bool seen[104] = {};
    for (int i = 0; i < set.Count(); ++i) {
        const int number = static_cast<int>(set.At(i)->type);
        ASSERT_GE(number, 6);
        ASSERT_LE(number, 103);
        EXPECT_FALSE(seen[number]) << set.At(i)->typeName;
        seen[number] = true;
    }
    EXPECT_EQ(set.FindType("label")->type, TypeId::Label);
    EXPECT_EQ(set.FindType("var")->type, TypeId::Variable);
    EXPECT_EQ(set.Create("NOPE", nullptr), nullptr);
    CCmps owner(nullptr);
    CCmp* pot = set.Create("R_Pot", &owner);
    ASSERT_NE(pot, nullptr);
    EXPECT_EQ(pot->owner, &owner);
    EXPECT_EQ(pot->pinCount, 3);
    EXPECT_EQ(pot->model, ModelId::Potentiometer);
    delete pot;
}

TEST(Cmp, NamesViewsAndDisconnectedPins) {
    std::unique_ptr<CCmp> r(CElemSet::Instance().Create("R_R", nullptr));
    r->name = "R1";
    EXPECT_EQ(r->FullName(), "R1");
    r->prefix = "X1.X2";
    EXPECT_EQ(r->FullName(), "X1.X2.R1");
    EXPECT_FALSE(r->IsDisconnected());  // nodes start at 0
    r->nodes[0] = r->nodes[1] = -1;
    EXPECT_TRUE(r->IsDisconnected());
    EXPECT_TRUE(r->NextView(1));  // no alternative views: wraps to 0
    EXPECT_EQ(r->view, 0);
    std::unique_ptr<CCmp> v(CElemSet::Instance().Create("var", nullptr));
    EXPECT_TRUE(v->IsVariable());
    EXPECT_FALSE(v->IsDisconnected());  // no pins at all still takes part
}

}  // namespace
}  // namespace qz3
