#include "expr/var_list.h"

#include <gtest/gtest.h>

namespace qz3 {
namespace {

TEST(VarList, FindNewestFirstIgnoringCase) {
    CVarList list;
    EXPECT_EQ(list.Find("x"), nullptr);
    EXPECT_EQ(list.Add("", vtInt, 0), nullptr);
    EXPECT_EQ(list.Count(), 0);
    list.Add("x", vtInt, 0)->Value->SetInt(1);
    list.Add("X", vtInt, 0)->Value->SetInt(2);
    EXPECT_EQ(list.Find("x")->Value->I32, 2);
    EXPECT_EQ(list.Find("x", 2), nullptr);
    EXPECT_EQ(list.Find("x", 0)->Name, std::string("X"));
    EXPECT_EQ(list.Find("y"), nullptr);
}

TEST(VarList, ValuePointersSurviveGrowth) {
    CVarList list;
    CValue* first = list.Add("v0", vtDouble, 0)->Value;
    first->SetDouble(3.5);
    for (int i = 1; i < 35; ++i) list.Add(("v" + std::to_string(i)).c_str(), vtInt, 0);
    EXPECT_EQ(list.Count(), 35);
    EXPECT_EQ(list.Find("v0")->Value, first);
    EXPECT_DOUBLE_EQ(first->Dbl, 3.5);
    EXPECT_EQ(list.Find("v20")->Value->Type, vtInt);
}

TEST(VarList, ArraysAndResize) {
    CVarList list;
    CVarEntry* a = list.Add("a", vtDouble, 3);
    EXPECT_EQ(a->Size, 3);
    EXPECT_TRUE(a->IsArray());
    for (int i = 0; i < 3; ++i) a->Value[i].SetDouble(i + 1.0);
    EXPECT_TRUE(list.Resize(*a, 2));
    EXPECT_EQ(a->Size, 3);
    ASSERT_TRUE(list.Resize(*a, 5));
    EXPECT_EQ(a->Size, 5);
    EXPECT_DOUBLE_EQ(a->Value[2].Dbl, 3.0);
    EXPECT_EQ(a->Value[4].Type, vtDouble);
    EXPECT_DOUBLE_EQ(a->Value[4].Dbl, 0.0);
    CVarEntry* scalar = list.Add("s", vtInt, 0);
    EXPECT_FALSE(scalar->IsArray());
    EXPECT_EQ(scalar->Value->I32, 0);
}

TEST(VarList, AcDefaultsAndClear) {
    CVarList list;
    list.AddAcDefaults();
    ASSERT_EQ(list.Count(), 4);
    EXPECT_STREQ(list[0].Name, "f");
    EXPECT_EQ(list[1].Value->Type, vtDouble);
    EXPECT_STREQ(list[2].Name, "s");
    EXPECT_EQ(list[3].Value->Type, vtComplex);
    list.Clear();
    EXPECT_EQ(list.Count(), 0);
    EXPECT_EQ(list.Find("f"), nullptr);
}

}  // namespace
}  // namespace qz3
