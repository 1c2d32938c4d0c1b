#include "components/param_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

#include "components/elem_c.h"
#include "components/elem_d.h"
#include "components/elem_fixture.h"
#include "components/elem_set.h"
#include "xml/xml_node.h"

namespace qz3 {
namespace {

using test::MakeElem;

// Every model row of every type lists rows its class table has, once each,
// and every row a model shows reaches a member of a fresh component.
TEST(ParamTable, EveryModelListsRowsOfItsClassTable) {
    const CElemSet& set = CElemSet::Instance();
    for (int t = 0; t < set.Count(); ++t) {
        const CCmpType* type = set.At(t);
        std::unique_ptr<CCmp> cmp(set.Create(type->typeName, nullptr));
        for (const CModelInfo* model = type->models; model && model->name; ++model) {
            if (!model->params) continue;
            ASSERT_NE(type->params, nullptr) << type->typeName;
            std::set<int> seen;
            for (const uint8_t* i = model->params; *i != kEndOfRows; ++i) {
                ASSERT_LT(*i, type->params->count) << type->typeName << " " << model->name;
                EXPECT_TRUE(seen.insert(*i).second) << type->typeName << " " << model->name;
                EXPECT_NE(type->params->rows[*i].member(cmp.get()), nullptr);
            }
        }
    }
}

// Rows are bound per component: a row taken from one component still names
// that component's member after another component of the same model binds.
TEST(ParamTable, RowsOfTwoComponentsNeverShareData) {
    auto a = MakeElem<CElemD>("D_D", "Diode", "D1");
    auto b = MakeElem<CElemD>("D_D", "Diode", "D2");
    CParam* rowA = a->FindParam("Vd");
    CParam* rowB = b->FindParam("Vd");
    ASSERT_TRUE(rowA && rowB);
    EXPECT_EQ(rowA->Data, &a->vd);
    EXPECT_EQ(rowB->Data, &b->vd);
    std::string error;
    EXPECT_EQ(rowA->SetValue(0.7, nullptr, error), 0);
    EXPECT_EQ(a->vd.m_Value, 0.7);
    EXPECT_EQ(b->vd.m_Value, 0.0);
    // A new model binds its own rows, in the order the model shows them.
    a->model = ModelId::Storage;
    CParam* table = a->ParamTable();
    ASSERT_NE(table, nullptr);
    EXPECT_STREQ(table[0].Name, "t");
    EXPECT_STREQ(table[2].Name, "Vd");
    EXPECT_EQ(table[4].Kind, kParamEnd);
}

// A new component takes the defaults of its rows.
TEST(ParamTable, DefaultsComeFromTheRows) {
    auto zener = MakeElem<CElemD>("D_Z");
    EXPECT_EQ(zener->v.m_Value, 8.0);
    EXPECT_EQ(zener->FindParam("IC")->GetText(), "Off");
    auto thyristor = MakeElem<CElemD>("D_VCT");
    EXPECT_EQ(thyristor->threshold.m_Value, 5.0);
    EXPECT_EQ(thyristor->ihold.m_Value, 1.0);
    EXPECT_STREQ(thyristor->FindParam("Threshold")->Unit, "V");
    EXPECT_STREQ(MakeElem<CElemD>("D_CCT")->FindParam("Threshold")->Unit, "A");
    auto c = MakeElem<CElemC>("C_C");
    EXPECT_EQ(c->c.m_Value, 1.0);
    EXPECT_TRUE(c->ic.m_Blank);
    EXPECT_TRUE(std::isnan(c->ic.m_Value));
}

// The file holds every key some model of the type shows, whatever the
// present model; a table's keys only while its model is the present one.
TEST(ParamTable, FileKeysAreThoseOfTheType) {
    auto d = MakeElem<CElemD>("D_D", "Diode", "D1");
    d->pwl.m_Text = "0,1;1,2";
    CXmlNode out("Cmp");
    out.m_bWrite = true;
    d->Xml(&out, false);
    for (const char* key : {"vd", "ic", "t", "ts", "icq"}) EXPECT_TRUE(out.HasAttr(key)) << key;
    for (const char* key : {"v", "hold", "thr", "pwl", "pwlf", "pwlm"}) EXPECT_FALSE(out.HasAttr(key)) << key;

    d->model = ModelId::Pwl;
    CXmlNode withTable("Cmp");
    withTable.m_bWrite = true;
    d->Xml(&withTable, false);
    EXPECT_EQ(withTable.GetStr("pwl", ""), "0,1;1,2");

    // A zener's "ic" is the index of its word.
    auto z = MakeElem<CElemD>("D_Z", "Zener", "Z1");
    z->icZ.Index = 2;
    CXmlNode zener("Cmp");
    zener.m_bWrite = true;
    z->Xml(&zener, false);
    EXPECT_EQ(zener.GetInt("ic", -1), 2);
    EXPECT_TRUE(zener.HasAttr("v"));
    EXPECT_FALSE(zener.HasAttr("icq"));
}

// The check lines follow the table, not the order a model shows its rows:
// "Storage" shows t, ICQ, Vd but Vd's line comes first.
TEST(ParamTable, CheckLinesFollowTheTableOrder) {
    CCalc calc;
    auto d = MakeElem<CElemD>("D_D", "Storage", "D1");
    d->vd.m_Value = -1;
    d->t.m_Value = -1;
    d->icq.m_Error = true;
    EXPECT_FALSE(d->CheckParams(&calc));
    EXPECT_EQ(calc.m_Error, "D1 : Vd < 0\nD1 : t < 0\nD1 : ICQ : formula error\n");
}

}  // namespace
}  // namespace qz3
