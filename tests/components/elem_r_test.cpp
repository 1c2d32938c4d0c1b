#include "components/elem_r.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

#include "components/cmps.h"
#include "components/elem_set.h"
#include "xml/xml_node.h"
#include "solver/calc.h"

namespace qz3 {
namespace {

std::unique_ptr<CElemR> MakeR(const char* type, const char* model = nullptr) {
    CCmp* cmp = CElemSet::Instance().Create(type, nullptr);
    auto r = std::unique_ptr<CElemR>(static_cast<CElemR*>(cmp));
    r->name = "R1";
    if (model) r->model = r->FindModel(model, false)->model;
    return r;
}

TEST(ElemR, BranchesFollowTheModelAndTheValues) {
    CCalc calc;
    const struct {
        const char* type;
        const char* model;
        double r;
        double position;
        int branches;
    } rows[] = {
        {"R_R", "R", 1e3, 0, 0},
        {"R_R", "R", 0, 0, 1},
        {"R_R", "R", std::numeric_limits<double>::quiet_NaN(), 0, 0},
        {"R_R", "PWL", 1, 0, 1},
        {"R_R", "PWL-I", 1, 0, 1},
        {"R_Pot", "Potentiometer", 0, 0.5, 2},
        {"R_Pot", "Potentiometer", 1e3, 0.5, 0},
        {"R_Pot", "Potentiometer", 1e3, 0, 1},
        {"R_Pot", "Potentiometer", 1e3, 1, 1},
        {"R_VCR", "PWL", 1, 0, 1},
        {"R_CCR", "PWL", 1, 0, 2},
    };
    for (const auto& row : rows) {
        auto r = MakeR(row.type, row.model);
        r->r.m_Value = row.r;
        r->position.m_Value = row.position;
        EXPECT_EQ(r->AssignBranches(&calc, 7), row.branches) << row.type << " " << row.model << " " << row.r;
        EXPECT_EQ(r->firstBranch, row.branches > 0 ? 7 : 0);
        EXPECT_EQ(r->BranchIndex(0), r->firstBranch);
    }
}

TEST(ElemR, CheckLinesNameTheParameter) {
    const struct {
        bool rError;
        bool pError;
        double position;
        const char* lines;
    } rows[] = {
        {false, false, 0.5, ""},
        {false, false, -0.1, "P1 : Position < 0\n"},
        {false, false, 1.5, "P1 : Position > 1\n"},
        {true, false, 0.5, "P1 : R : formula error\n"},
        {true, true, 0.5, "P1 : R : formula error\nP1 : Position : formula error\n"},
    };
    for (const auto& row : rows) {
        CCalc calc;
        auto pot = MakeR("R_Pot");
        pot->name = "P1";
        pot->r.m_Error = row.rError;
        pot->position.m_Error = row.pError;
        pot->position.m_Value = row.position;
        EXPECT_EQ(pot->CheckParams(&calc), std::string(row.lines).empty());
        EXPECT_EQ(calc.m_Error, row.lines);
    }
    CCalc calc;
    auto r = MakeR("R_R");
    r->r.m_Value = -5.0;  // a negative resistance is accepted
    EXPECT_TRUE(r->CheckParams(&calc));
    r->prefix = "X1";
    r->r.m_Error = true;
    EXPECT_FALSE(r->CheckParams(&calc));
    EXPECT_EQ(calc.m_Error, "X1.R1 : R : formula error\n");
}

TEST(ElemR, StampsOfResistorShortAndPotentiometer) {
    CCalc calc;
    calc.SetSizes(3, 2, 0);
    ASSERT_TRUE(calc.AllocArrays());
    auto r = MakeR("R_R");
    r->nodes[0] = 1;
    r->nodes[1] = 2;
    r->r.m_Value = 4.0;
    r->AssignBranches(&calc, 4);
    ASSERT_TRUE(r->Simulate(&calc, PhaseStamp, 0.0));
    EXPECT_DOUBLE_EQ(std::fabs(calc.MatrixG[1][1]), 0.25);
    EXPECT_DOUBLE_EQ(calc.MatrixG[1][2], -calc.MatrixG[1][1]);
    calc.m_StampPass = 1;  // a resistor adds nothing in the second pass
    ASSERT_TRUE(r->Simulate(&calc, PhaseStamp, 0.0));
    EXPECT_DOUBLE_EQ(std::fabs(calc.MatrixG[1][1]), 0.25);

    double r1 = 0;
    int a = 0, b = 0, k = 0;
    ASSERT_TRUE(r->GetTraceNodes(&calc, 0, &a, &b, &k, &r1));
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 2);
    EXPECT_DOUBLE_EQ(r1, 4.0);  // the current of a resistor is read as V / R

    int groups[3] = {};
    auto pot = MakeR("R_Pot");
    ASSERT_TRUE(pot->Simulate(&calc, PhasePins, 0.0));
    std::copy(pot->nodes + 3, pot->nodes + 6, groups);
    EXPECT_EQ(groups[0] + groups[1] + groups[2], 3);
    auto vcr = MakeR("R_VCR", "PWL");
    ASSERT_TRUE(vcr->Simulate(&calc, PhasePins, 0.0));
    EXPECT_EQ(vcr->nodes[4 + 2], 2);
    EXPECT_EQ(vcr->nodes[4 + 3], 3);
}

TEST(ElemR, PwlResistorIsSearchedOnlyWithSeveralSegments) {
    CCalc calc;
    auto r = MakeR("R_R", "PWL-I");
    int first = 0, last = 0;
    r->pwlI.m_Text = "1";
    ASSERT_TRUE(r->Simulate(&calc, PhaseInit, 0.0));
    EXPECT_FALSE(r->SegmentRange(&first, &last));
    r->pwlI.m_Text = "1, 2, 3";
    ASSERT_TRUE(r->Simulate(&calc, PhaseInit, 0.0));
    EXPECT_TRUE(r->SegmentRange(&first, &last));
    EXPECT_EQ(first, -1);
    EXPECT_EQ(last, 1);
    r->pwlI.m_Text = "1, 2";
    EXPECT_FALSE(r->Simulate(&calc, PhaseInit, 0.0));
    EXPECT_EQ(calc.m_Error, "R1 : Wrong number of PWL parameters\n");
    auto vcr = MakeR("R_VCR", "PWL");
    EXPECT_FALSE(vcr->SegmentRange(&first, &last));  // follows its control instead
}

TEST(ElemR, FileKeysSurviveAChangeOfModel) {
    CXmlNode node("Cmp");
    node.m_bWrite = false;
    node.AddRaw("type", "R_R");
    node.AddRaw("name", "R5");
    node.AddRaw("model", "PWL-I");
    node.AddRaw("r", "2.2e+3");
    node.AddRaw("pwli", "1%2c+2%2c+3");
    node.AddRaw("node0", "3");
    auto r = MakeR("R_R");
    r->Xml(&node, false);
    EXPECT_EQ(r->model, ModelId::PwlI);
    EXPECT_EQ(r->r.m_Value, 2200.0);
    EXPECT_EQ(r->pwlI.m_Text, "1, 2, 3");
    EXPECT_EQ(r->nodes[0], 3);
    EXPECT_EQ(r->BindParams()[0].Data, &r->pwlI.m_Text);  // "pwl" of this model is the V(I) table

    CXmlNode out("Cmp");
    r->model = ModelId::R;
    r->Xml(&out, false);
    EXPECT_EQ(out.GetRaw("model", ""), "R");
    EXPECT_EQ(out.GetRaw("r", ""), "2.2e+3");
    EXPECT_EQ(out.GetRaw("type", ""), "R_R");
}

}  // namespace
}  // namespace qz3
