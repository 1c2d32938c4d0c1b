#include "components/elem_s.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "components/elem_cs.h"
#include "components/elem_fixture.h"

namespace qz3 {
namespace {

using test::ElemNet;
using test::MakeElem;
using test::RoundTrip;

constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(ElemS, CheckLinesOfTheControlledSwitch) {
    const struct {
        const char* type;
        const char* model;
        double threshold, hysteresis, width, roff, ron, ramp, steps;
        int slope;
        const char* lines;
    } rows[] = {
        {"S_VCS", "Switch", 1, 0, 0.1, 1e3, 1, 0.1, 10, 0, ""},
        {"S_VCS", "Switch", kInf, -1, 0.1, 1e3, 1, 0.1, 10, 0, "S1 : Threshold = infinite\nS1 : Hysteresis < 0\n"},
        {"S_CCS", "Switch", 0, kInf, 0.1, 1e3, 1, 0.1, 10, 0, "S1 : Hysteresis = infinite\n"},
        {"S_VCS", "One-shot", 0, 0, -1, 1e3, 1, 0.1, 10, 0, "S1 : Width < 0\n"},
        {"S_LCS", "One-shot", 0, 0, kInf, 1e3, 1, 0.1, 10, 0, "S1 : Width = infinite\n"},
        {"S_VCS", "Steps", 0, 0, 0.1, 0, 0, 0.1, 10, 0, ""},
        {"S_VCS", "Steps", 0, 0, 0.1, 0, -1, 0.1, 10, 2, "S1 : Roff <= 0\nS1 : Ron <= 0\n"},
        {"S_LCS3", "Steps", 0, 0, 0.1, kInf, 1, -1, kInf, 0,
         "S1 : Roff = infinite\nS1 : Width < 0\nS1 : Steps = infinite\n"},
        {"S_CCS3", "Steps", 0, 0, 0.1, 1, 1, kInf, -2, 0, "S1 : Width = infinite\nS1 : Steps < 0\n"},
    };
    for (const auto& row : rows) {
        CCalc calc;
        auto s = MakeElem<CElemCS>(row.type, row.model, "S1");
        s->threshold.m_Value = row.threshold;
        s->hysteresis.m_Value = row.hysteresis;
        s->width.m_Value = row.width;
        s->roff.m_Value = row.roff;
        s->ron.m_Value = row.ron;
        s->ramp.m_Value = row.ramp;
        s->steps.m_Value = row.steps;
        s->slope.Index = row.slope;
        EXPECT_EQ(s->CheckParams(&calc), row.lines[0] == 0) << row.type << " " << row.model;
        EXPECT_EQ(calc.m_Error, row.lines) << row.type << " " << row.model;
    }
    CCalc calc;
    auto s = MakeElem<CElemCS>("S_VCS", "Switch", "S2");
    s->hysteresis.m_Error = true;
    s->CheckParams(&calc);
    EXPECT_EQ(calc.m_Error, "S2 : Hysteresis : formula error\n");
}

TEST(ElemS, ResistanceOfTheSteps) {
    CCalc calc;
    auto s = MakeElem<CElemCS>("S_VCS", "Steps");
    s->roff.SetValue(1000.0);
    s->ron.SetValue(10.0);
    s->steps.SetValue(0.0);  // N = 1: all at once
    s->Simulate(&calc, PhaseInit, 0.0);
    EXPECT_EQ(s->stepCount, 1);
    EXPECT_EQ(s->StepResistance(0), 1000.0);
    EXPECT_EQ(s->StepResistance(1), 10.0);
    s->steps.SetValue(3.0);  // N = 4
    s->Simulate(&calc, PhaseInit, 0.0);
    EXPECT_EQ(s->stepCount, 4);
    EXPECT_DOUBLE_EQ(s->StepResistance(2), 505.0);
    s->slope.Index = 1;
    EXPECT_NEAR(s->StepResistance(2), 505.0, 1e-8);  // pi keeps 12 digits
    EXPECT_NEAR(s->StepResistance(1), 1000 - (1 - std::cos(3.14159265358 / 4)) * 990 * 0.5, 1e-9);
    s->slope.Index = 2;
    EXPECT_NEAR(s->StepResistance(2), 100.0, 1e-9);  // the geometric middle
    EXPECT_NEAR(s->StepResistance(4), 10.0, 1e-9);
}

// Thresholds are strict and the hysteresis is split around the threshold.
TEST(ElemS, SwitchFollowsItsControlWithHysteresis) {
    ElemNet net(3, 1);
    auto s = MakeElem<CElemCS>("S_VCS", "Switch");
    s->threshold.SetValue(1.0);
    s->hysteresis.SetValue(1.0);
    net.Wire(s.get(), {1, 0, 2, 3}, net.Branch(0));
    ASSERT_TRUE(s->Simulate(&net.calc, PhaseInit, 0.0));
    EXPECT_EQ(s->state, 0);
    const struct {
        double control;
        bool changes;
        int state;
    } steps[] = {{1.2, false, 0}, {1.5, false, 0}, {1.6, true, 1}, {0.6, false, 1}, {0.4, true, 0}};
    for (const auto& step : steps) {
        net.calc.VecX[3] = step.control;
        bool changed = false;
        ASSERT_TRUE(s->CheckState(&net.calc, true, &changed));
        EXPECT_EQ(changed, step.changes) << step.control;
        EXPECT_EQ(s->state, step.state) << step.control;
    }
    s->active = 0;  // inverted: open while the control is high
    s->hysteresis.SetValue(0.0);
    net.calc.VecX[3] = 1.0;  // exactly at the threshold: nothing
    bool changed = false;
    s->CheckState(&net.calc, true, &changed);
    EXPECT_FALSE(changed);
    net.calc.VecX[3] = 2.0;
    s->CheckState(&net.calc, true, &changed);
    EXPECT_EQ(s->state, 0);
    EXPECT_TRUE(s->IsOn());
}

TEST(ElemS, OneShotRetriggersOnlyAfterFalling) {
    ElemNet net(2, 1);
    auto s = MakeElem<CElemCS>("S_LCS", "One-shot");
    s->width.SetValue(1e-3);
    net.Wire(s.get(), {1, 0, 2}, net.Branch(0));
    s->Simulate(&net.calc, PhaseInit, 0.0);
    net.calc.VecX[2] = 5.0;
    net.calc.m_Time = 2.0;
    bool changed = false;
    s->CheckState(&net.calc, true, &changed);
    EXPECT_TRUE(changed);
    EXPECT_EQ(s->state, 1);
    EXPECT_DOUBLE_EQ(s->tEnd, 2.001);
    double next = NAN, stepMax = 1.0, stepMin = 0.0;
    s->NextEvent(&net.calc, 2.0, &next, &stepMax, &stepMin);
    EXPECT_DOUBLE_EQ(next, 2.001);
    EXPECT_DOUBLE_EQ(stepMax, 0.25e-3);
    s->NextEvent(&net.calc, 2.001, &next, &stepMax, &stepMin);
    EXPECT_EQ(s->state, 0);  // time is up
    changed = false;
    s->CheckState(&net.calc, true, &changed);  // still high: no new pulse
    EXPECT_FALSE(changed);
    net.calc.VecX[2] = 0.0;
    s->CheckState(&net.calc, true, &changed);
    net.calc.VecX[2] = 5.0;
    changed = false;
    s->CheckState(&net.calc, true, &changed);
    EXPECT_TRUE(changed);
    EXPECT_EQ(s->state, 1);
}

TEST(ElemS, StepsRampUpOnEvents) {
    ElemNet net(3, 1);
    auto s = MakeElem<CElemCS>("S_VCS", "Steps");
    s->steps.SetValue(2.0);  // N = 3
    s->ramp.SetValue(1.0);
    net.Wire(s.get(), {1, 0, 2, 3}, net.Branch(0));
    s->Simulate(&net.calc, PhaseInit, 0.0);
    net.calc.VecX[3] = 1.0;
    bool changed = false;
    s->CheckState(&net.calc, true, &changed);
    EXPECT_EQ(s->step, 1);
    EXPECT_DOUBLE_EQ(s->tEnd, 0.5);
    double next = NAN, stepMax = 1.0, stepMin = 0;
    s->NextEvent(&net.calc, 0.0, &next, &stepMax, &stepMin);
    EXPECT_DOUBLE_EQ(next, 0.5);
    EXPECT_DOUBLE_EQ(stepMax, 0.125);
    s->NextEvent(&net.calc, 0.5, &next, &stepMax, &stepMin);
    EXPECT_EQ(s->step, 2);
    EXPECT_DOUBLE_EQ(next, 1.0);
    s->NextEvent(&net.calc, 1.0, &next, &stepMax, &stepMin);
    EXPECT_EQ(s->step, 3);
    EXPECT_EQ(s->GetState(), "s=1,st=3,t=" + std::string("#000000000000F03F"));
}

// The SPDT switch closes one way and opens the other.
TEST(ElemS, SpdtContacts) {
    for (int position : {0, 1}) {
        ElemNet net(5, 3);
        auto s = MakeElem<CElemCS>("S_VCS3", "On");
        if (position == 0) s->model = ModelId::Off;
        net.Wire(s.get(), {1, 2, 4, 5, 3}, net.Branch(1));
        ASSERT_TRUE(s->Simulate(&net.calc, PhaseInit, 0.0));
        net.sources = [&](CCalc& c) {
            c.StampVoltage(0, 2, net.Branch(0), 10.0);
            c.StampResistor(1, 0, 100.0);
            c.StampResistor(3, 0, 100.0);
            c.StampResistor(4, 0, 1.0);
            c.StampResistor(5, 0, 1.0);
        };
        ASSERT_TRUE(net.Solve()) << net.calc.m_Error;
        EXPECT_EQ(net.X(1), position ? 10.0 : 0.0);
        EXPECT_EQ(net.X(3), position ? 0.0 : 10.0);
        EXPECT_EQ(s->PinKind(2), kPinSensing);
        EXPECT_EQ(s->PinKind(4), kPinAnalog);
    }
}

TEST(ElemS, PulseDrivesTheTimedSwitch) {
    for (int active : {1, 0}) {
        ElemNet net(2, 1);
        auto s = MakeElem<CElemS>("S_S", "Pulse");
        s->signal.m_Period.SetValue(1e-5);
        s->signal.m_Width.SetValue(5e-6);
        s->active = active;
        net.Wire(s.get(), {1, 2}, net.Branch(0));
        ASSERT_TRUE(s->CheckParams(&net.calc)) << net.calc.m_Error;
        ASSERT_TRUE(s->Simulate(&net.calc, PhaseInit, 0.0)) << net.calc.m_Error;
        double next = NAN, stepMax = 1.0, stepMin = 0;
        s->NextEvent(&net.calc, 0.0, &next, &stepMax, &stepMin);
        EXPECT_DOUBLE_EQ(next, 5e-6);
        net.calc.ClearMatrices();
        s->Simulate(&net.calc, PhaseStamp, 0.0);
        EXPECT_EQ(s->state, active);  // the state follows the contact
        s->NextEvent(&net.calc, 5e-6, &next, &stepMax, &stepMin);
        EXPECT_DOUBLE_EQ(next, 1e-5);
        s->Simulate(&net.calc, PhaseStamp, 5e-6);
        EXPECT_EQ(s->state, 1 - active);
        EXPECT_EQ(s->IsOn(), active == 0);
    }
    CCalc calc;
    auto s = MakeElem<CElemS>("S_S", "Pulse", "S9");
    s->signal.m_Period.SetValue(0.0);
    EXPECT_FALSE(s->CheckParams(&calc));
    EXPECT_EQ(calc.m_Error, "S9 : Period <= 0\n");
}

TEST(ElemS, FileKeysAndSavedState) {
    auto s = MakeElem<CElemCS>("S_LCS", "Steps");
    s->slope.Index = 2;
    s->ramp.SetValue(0.25);
    s->ic = 1;
    s->active = 0;
    auto copy = RoundTrip(s.get());
    EXPECT_EQ(copy->slope.Index, 2);
    EXPECT_DOUBLE_EQ(copy->ramp.m_Value, 0.25);
    EXPECT_EQ(copy->ic, 1);
    EXPECT_EQ(copy->active, 0);
    EXPECT_EQ(copy->BindParams()[2].GetText(), "Log");

    auto timed = MakeElem<CElemS>("S_S3", "List");
    timed->signal.m_List = "0,1,1e-3,0";
    timed->cycle = 1;
    auto tc = RoundTrip(timed.get());
    EXPECT_EQ(tc->signal.m_List, "0,1,1e-3,0");
    EXPECT_EQ(tc->cycle, 1);
    EXPECT_EQ(tc->BindParams()[1].GetText(), "Yes");

    std::string out;
    s->state = 1;
    EXPECT_EQ(s->SaveIC(out, 0, false), "IC=On");
    auto pulse = MakeElem<CElemS>("S_S", "Pulse");
    pulse->signal.m_Period.SetValue(1.0);
    pulse->tSources = 2.5;
    EXPECT_EQ(pulse->SaveIC(out, 0, false), "Delay=-500e-3");
    EXPECT_EQ(pulse->signal.m_Delay.m_Value, 0.0);
    pulse->SaveIC(out, 0, true);
    EXPECT_EQ(pulse->signal.m_Delay.m_Value, -0.5);
}

}  // namespace
}  // namespace qz3
