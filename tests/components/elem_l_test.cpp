#include "components/elem_l.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "components/elem_fixture.h"

namespace qz3 {
namespace {

using test::ElemNet;
using test::MakeElem;
using test::RoundTrip;

constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(ElemL, CheckLinesOfTheCoupledPair) {
    const struct {
        bool l1Error;
        double l1, l2, k;
        const char* lines;
    } rows[] = {
        {false, 1e-3, 1e-3, 0.5, ""},
        {false, 1e-3, 1e-3, 1.0, ""},
        {false, 1e-3, 1e-3, -1.0, ""},
        {false, 1e-3, 1e-3, 1.1, "T1 : K > 1\n"},
        {false, 1e-3, 1e-3, -1.5, "T1 : K < -1\n"},
        {false, kInf, 1e-3, 0.5, "T1 : L1 : infinite\n"},
        {true, 1e-3, kInf, 2.0, "T1 : L1 : formula error\nT1 : L2 : infinite\nT1 : K > 1\n"},
    };
    for (const auto& row : rows) {
        CCalc calc;
        auto pair = MakeElem<CElemL>("L_CL", nullptr, "T1");
        pair->l.m_Value = row.l1;
        pair->l.m_Error = row.l1Error;
        pair->l2.m_Value = row.l2;
        pair->k12.m_Value = row.k;
        EXPECT_EQ(pair->CheckParams(&calc), row.lines[0] == 0) << row.lines;
        EXPECT_EQ(calc.m_Error, row.lines);
    }
    CCalc calc;
    auto single = MakeElem<CElemL>("L_L", "L", "L7");
    single->l.m_Value = kInf;  // a constant current source: allowed
    EXPECT_TRUE(single->CheckParams(&calc));
    single->l.m_Error = true;
    EXPECT_FALSE(single->CheckParams(&calc));
    EXPECT_EQ(calc.m_Error, "L7 : L : formula error\n");
}

TEST(ElemL, FileKeysAndBlankICsSurviveSaving) {
    auto pair = MakeElem<CElemL>("L_CL");
    pair->l.SetValue(2e-3);
    pair->l2.SetValue(8e-3);
    pair->k12.SetValue(0.9);
    pair->ic2.SetValue(0.25);
    auto copy = RoundTrip(pair.get());
    EXPECT_DOUBLE_EQ(copy->l.m_Value, 2e-3);
    EXPECT_DOUBLE_EQ(copy->l2.m_Value, 8e-3);
    EXPECT_DOUBLE_EQ(copy->k12.m_Value, 0.9);
    EXPECT_TRUE(std::isnan(copy->ic.m_Value));
    EXPECT_DOUBLE_EQ(copy->ic2.m_Value, 0.25);

    auto single = MakeElem<CElemL>("L_L", "PWL");
    single->l.SetValue(3e-3);
    single->pwl.m_Text = "1e-3, 1, 2e-3";
    auto back = RoundTrip(single.get());
    EXPECT_EQ(back->model, ModelId::Pwl);
    EXPECT_EQ(back->pwl.m_Text, "1e-3, 1, 2e-3");
    EXPECT_DOUBLE_EQ(back->l.m_Value, 3e-3);  // kept for a return to model "L"
    EXPECT_EQ(back->BindParams()[1].Name, std::string("IC"));
}

// A winding with a known current is a current source at the operating
// point: 2 A into 5 Ohm gives 10 V, and a zero inductor forgets its current.
TEST(ElemL, KnownCurrentDrivesTheDcEquations) {
    ElemNet net(1, 1);
    auto l = MakeElem<CElemL>("L_L", "L");
    l->ic.SetValue(2.0);
    net.Wire(l.get(), {1, 0}, net.Branch(0));
    ASSERT_TRUE(l->Simulate(&net.calc, PhaseInit, 0.0));
    net.sources = [](CCalc& c) { c.StampResistor(1, 0, 5.0); };
    ASSERT_TRUE(net.Solve()) << net.calc.m_Error;
    EXPECT_NEAR(net.X(1), 10.0, 1e-12);
    EXPECT_NEAR(net.X(net.Branch(0)), 2.0, 1e-12);
    EXPECT_DOUBLE_EQ(net.calc.MatrixC[net.Branch(0)][1], 1 / 1e-6);

    l->Simulate(&net.calc, PhaseStore, 0.0);
    EXPECT_DOUBLE_EQ(l->i, 2.0);
    l->l.SetValue(0.0);
    l->Simulate(&net.calc, PhaseStore, 0.0);
    EXPECT_TRUE(std::isnan(l->i));
    ASSERT_TRUE(net.Solve());  // now a plain short
    EXPECT_NEAR(net.X(1), 0.0, 1e-15);
}

TEST(ElemL, DerivativeRowsOfTheCoupledPair) {
    ElemNet net(4, 2);
    auto pair = MakeElem<CElemL>("L_CL");
    pair->l.SetValue(4e-3);
    pair->l2.SetValue(1e-3);
    pair->k12.SetValue(0.5);
    net.Wire(pair.get(), {1, 2, 3, 4}, net.Branch(0));
    net.calc.ClearMatrices();
    net.calc.m_Integrating = 1;
    ASSERT_TRUE(pair->Simulate(&net.calc, PhaseStamp, 0.0));
    const int k = net.Branch(0);
    double** C = net.calc.MatrixC;
    EXPECT_DOUBLE_EQ(C[k][k], -4e-3);
    EXPECT_DOUBLE_EQ(C[k + 1][k + 1], -1e-3);
    EXPECT_DOUBLE_EQ(C[k][k + 1], -1e-3);  // sqrt(4e-3 * 1e-3) * 0.5
    EXPECT_DOUBLE_EQ(C[k + 1][k], -1e-3);
    EXPECT_EQ(net.calc.MatrixG[k][2], 1.0);
    EXPECT_EQ(net.calc.MatrixG[4][k + 1], -1.0);

    net.calc.ClearMatrices();
    net.calc.m_Transient = false;
    net.calc.m_Omega = 100.0;
    pair->Simulate(&net.calc, PhaseStamp, 0.0);
    EXPECT_DOUBLE_EQ(C[k][k], -0.4);
}

TEST(ElemL, InitialConditionsAreAddedAndRemoved) {
    ElemNet net(2, 2);
    auto pair = MakeElem<CElemL>("L_CL", nullptr, "T2");
    net.Wire(pair.get(), {1, 0, 2, 0}, net.Branch(0));
    pair->ic2.SetValue(1.0);
    pair->Simulate(&net.calc, PhaseInit, 0.0);
    EXPECT_TRUE(std::isnan(pair->i));
    EXPECT_TRUE(pair->Simulate(&net.calc, PhaseCheckIC, 0.0));

    net.calc.NodeBad[net.Branch(0)] = 1;  // winding 1 can't be settled without a current
    net.calc.NodeBad[2] = 255;           // winding 2's current contradicts the rest
    EXPECT_FALSE(pair->Simulate(&net.calc, PhaseCheckIC, 0.0));
    EXPECT_EQ(pair->i, 0.0);
    EXPECT_TRUE(std::isnan(pair->i2));
    EXPECT_EQ(net.calc.m_Error, "T2 : IC removed");  // only the last one stands
}

TEST(ElemL, SegmentChangeKeepsTheFlux) {
    ElemNet net(3, 1);
    auto l = MakeElem<CElemL>("L_VCL", "PWL");
    l->pwl.m_Text = "1e-3, 1, 4e-3";
    net.Wire(l.get(), {1, 0, 2, 3}, net.Branch(0));
    ASSERT_TRUE(l->Simulate(&net.calc, PhaseInit, 0.0)) << net.calc.m_Error;
    const int k = net.Branch(0);
    net.calc.VecX[k] = 2.0;
    net.calc.VecX[3] = 0.5;  // control inside the first segment
    bool changed = false;
    EXPECT_TRUE(l->CheckState(&net.calc, true, &changed));
    EXPECT_FALSE(changed);
    net.calc.VecX[3] = 3.0;
    EXPECT_TRUE(l->CheckState(&net.calc, false, &changed));
    EXPECT_TRUE(changed);
    EXPECT_FALSE(net.calc.m_JumpRequest);
    changed = false;
    l->CheckState(&net.calc, true, &changed);
    EXPECT_TRUE(changed);
    EXPECT_TRUE(net.calc.m_JumpRequest);
    EXPECT_DOUBLE_EQ(l->i, 0.5);  // 1e-3 * 2 A / 4e-3
}

TEST(ElemL, StateTextAndSavedIC) {
    auto l = MakeElem<CElemL>("L_L", "L");
    l->i = 1.5;
    l->state = 0;
    std::string out;
    EXPECT_EQ(l->SaveIC(out, 0, false), "IC=1.5");
    EXPECT_TRUE(std::isnan(l->ic.m_Value));
    l->SaveIC(out, 0, true);
    EXPECT_EQ(l->ic.m_Value, 1.5);
    l->states = new TStringList;
    l->states->Add("id=3," + l->GetState());
    l->i = -4.0;
    EXPECT_EQ(l->SaveIC(out, 1, false), "IC=1.5");
    EXPECT_EQ(l->SaveIC(out, 2, false), "");

    auto pair = MakeElem<CElemL>("L_CL");
    pair->i = 1.0;
    pair->i2 = -2.0;
    EXPECT_EQ(pair->SaveIC(out, 0, false), "IC1=1,IC2=-2");

    CTransform edit;
    edit.kind = 4;
    edit.sub = 2;
    edit.factor = 10.0;
    l->l.SetValue(1.0);
    l->Transform(edit);
    EXPECT_DOUBLE_EQ(l->l.m_Value, 0.01);
    edit.kind = 1;
    edit.sub = 0;
    l->Transform(edit);
    EXPECT_TRUE(std::isnan(l->ic.m_Value));
}

}  // namespace
}  // namespace qz3
