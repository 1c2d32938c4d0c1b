// The transient state machine on circuits built in code.
#include <cmath>
#include <vector>

#include "expr/param.h"
#include "solver/run_fixture.h"

using qz3::CCalc;
using qz3::test::RunDoc;

namespace {

// RC = 1 ms, driven by a constant 1 V through R.
struct DrivenRC : RunDoc {
    qz3::test::CProbe* source;
    qz3::CElemC* cap;
    DrivenRC() : RunDoc(1e-5) {
        source = Probe("V1", 0, 1, 1.0);
        R("R1", 1, 2, 1e3);
        cap = C("C1", 0, 2, 1e-6, 0.0);
    }
};

}  // namespace

TEST(CalcStep, ConstantDrivenRcPassesEulerAndFactorThenOnlyMultiplies) {
    DrivenRC rc;
    ASSERT_TRUE(rc.doc.Start()) << rc.doc.RunError();
    EXPECT_EQ(rc.calc.m_State, CCalc::StateFirst);
    // The operating point is the first recorded point, at t = 0.
    ASSERT_EQ(rc.source->history.size(), 1u);
    EXPECT_EQ(rc.source->history[0], 0.0);

    std::vector<int> states;
    for (int turn = 0; turn < 12; ++turn) {
        states.push_back(rc.calc.m_State);
        ASSERT_TRUE(rc.calc.StepOnce()) << rc.calc.m_Error;
    }
    // First factor 0.25: two steps of h/4, then the half step left in three.
    const std::vector<int> expected = {3, 4, 4, 4, 4, 5, 6, 6, 6, 6, 6, 6};
    EXPECT_EQ(states, expected);
    // h/2 in two steps, h/2 in three, one factorised step, six fast ones.
    EXPECT_NEAR(rc.calc.m_Time, 8e-5, 1e-18);

    const int stampsAtTrap = rc.source->stamps;
    const int evalsAtTrap = rc.source->evals;
    for (int turn = 0; turn < 200; ++turn) ASSERT_TRUE(rc.calc.StepOnce()) << rc.calc.m_Error;
    EXPECT_EQ(rc.calc.m_State, CCalc::StateTrap);
    EXPECT_EQ(rc.source->stamps, stampsAtTrap) << "a trapezoidal step assembled";
    EXPECT_EQ(rc.source->evals, evalsAtTrap + 200);
    EXPECT_NEAR(rc.calc.m_Time, 2.08e-3, 1e-15);
    // v = 1 - exp(-t/RC) through the whole run, also across the Euler phase.
    const double t = rc.calc.m_Time;
    EXPECT_NEAR(rc.X(2), 1.0 - std::exp(-t / 1e-3), 2e-6);
    // Each accepted point was recorded once, in order.
    ASSERT_EQ(rc.source->history.size(), 213u);
    for (size_t i = 1; i < rc.source->history.size(); ++i) EXPECT_LT(rc.source->history[i - 1], rc.source->history[i]);
}

TEST(CalcStep, FastTrapezoidalStepEqualsTheAssembledOne) {
    DrivenRC rc;
    ASSERT_TRUE(rc.doc.Start());
    for (int turn = 0; turn < 8; ++turn) ASSERT_TRUE(rc.calc.StepOnce());
    ASSERT_EQ(rc.calc.m_State, CCalc::StateTrap);
    const int m = rc.calc.m_Total;
    std::vector<double> before(rc.calc.VecX, rc.calc.VecX + m);
    ASSERT_TRUE(rc.calc.StepOnce());
    std::vector<double> fast(rc.calc.VecX, rc.calc.VecX + m);
    // The same step again, assembled and solved.
    std::copy(before.begin(), before.end(), rc.calc.VecXPrev);
    rc.calc.m_Time -= rc.calc.m_Step;
    ASSERT_TRUE(rc.calc.StepTrap());
    for (int i = 1; i < m; ++i) EXPECT_NEAR(rc.calc.VecX[i], fast[i], 1e-14) << i;
}

TEST(CalcStep, SwitchesOffSecondEulerStepsAndConstantStep) {
    DrivenRC rc;
    rc.doc.m_Advanced.m_SeveralEulerSteps = false;
    ASSERT_TRUE(rc.doc.Start());
    std::vector<int> states;
    for (int turn = 0; turn < 4; ++turn) {
        states.push_back(rc.calc.m_State);
        ASSERT_TRUE(rc.calc.StepOnce());
    }
    EXPECT_EQ(states, (std::vector<int>{3, 4, 5, 6}));

    DrivenRC constant;
    constant.doc.m_Advanced.m_ConstantStep = true;
    ASSERT_TRUE(constant.doc.Start());
    for (int turn = 0; turn < 6; ++turn) {
        ASSERT_TRUE(constant.calc.StepOnce());
        EXPECT_EQ(constant.calc.m_Step, 1e-5);
    }
    EXPECT_NEAR(constant.calc.m_Time, 6e-5, 1e-18);
}

TEST(CalcStep, StepTableRowZeroFactorisesAtOnce) {
    DrivenRC rc;
    rc.doc.m_Advanced.m_StepMode = 0;
    // First step factor 1: two full Euler steps already pass the nominal one,
    // so the second Euler turn factorises and takes the first fast step.
    ASSERT_TRUE(rc.doc.Start());
    std::vector<int> states;
    for (int turn = 0; turn < 4; ++turn) {
        states.push_back(rc.calc.m_State);
        ASSERT_TRUE(rc.calc.StepOnce());
    }
    EXPECT_EQ(states, (std::vector<int>{3, 4, 4, 6}));
    EXPECT_NEAR(rc.calc.m_Time, 4e-5, 1e-18);
}

TEST(CalcStep, PlanStepTakesTheNearestBreakAndTheSmallestSteps) {
    DrivenRC rc;
    ASSERT_TRUE(rc.doc.Start());
    rc.calc.m_StepFirstPrev = 1.0;
    rc.calc.PlanStep();
    EXPECT_TRUE(std::isnan(rc.calc.m_NextBreak));
    EXPECT_EQ(rc.calc.m_StepNominal, 1e-5);
    EXPECT_EQ(rc.calc.m_StepFirst, 0.25e-5);
    EXPECT_EQ(rc.calc.m_StepMin, 0.125e-5);
    EXPECT_EQ(rc.calc.m_Step, rc.calc.m_StepFirst);
    EXPECT_TRUE(CCalc::TimesMeet(1.0, 1.0 + 1e-13));
    EXPECT_FALSE(CCalc::TimesMeet(1.0, 1.0 + 1e-11));
    EXPECT_FALSE(CCalc::TimesMeet(0.0, 1e-300));
}

TEST(CalcStep, ParameterChangeRebuildsAtThePresentTimeAndSameValueDoesNot) {
    DrivenRC rc;
    ASSERT_TRUE(rc.doc.Simulate(1e-4, 2));
    const double t = rc.calc.m_Time;
    EXPECT_DOUBLE_EQ(t, 1e-4);
    const double v = rc.X(2);
    qz3::CParam* rowR = rc.doc.m_Cmps->FindParam("R1.R");
    ASSERT_NE(rowR, nullptr);
    std::string error;
    qz3::BeforeParamChange(&rc.doc);
    ASSERT_EQ(rowR->SetValue(1e3, &rc.doc, error), 0);
    EXPECT_EQ(rc.calc.m_Changes, 0u) << "the same value must not rebuild";
    ASSERT_EQ(rowR->SetValue(2e3, &rc.doc, error), 0);
    EXPECT_EQ(rc.calc.m_Changes & 4u, 4u);
    // One turn prepares, the next finds the operating point from the kept voltage.
    ASSERT_TRUE(rc.calc.StepOnce()) << rc.calc.m_Error;
    EXPECT_EQ(rc.calc.m_State, CCalc::StateIC);
    ASSERT_TRUE(rc.calc.StepOnce()) << rc.calc.m_Error;
    EXPECT_EQ(rc.calc.m_Time, t);
    EXPECT_NEAR(rc.X(2), v, 1e-12);
    ASSERT_TRUE(rc.doc.Simulate(1e-4, 2));
    EXPECT_DOUBLE_EQ(rc.calc.m_Time, 2e-4);
}

TEST(CalcStep, IntervalModesLandOrOvershoot) {
    DrivenRC rc;
    ASSERT_TRUE(rc.doc.Simulate(1e-9, 2));
    EXPECT_DOUBLE_EQ(rc.calc.m_Time, 1e-9);
    ASSERT_TRUE(rc.doc.Simulate(3.3e-5, 2));
    EXPECT_DOUBLE_EQ(rc.calc.m_Time, 1e-9 + 3.3e-5);
    const double before = rc.calc.m_Time;
    ASSERT_TRUE(rc.doc.Simulate(1.234e-4, 0));
    EXPECT_GE(rc.calc.m_Time, before + 1.234e-4 * (1 - 1e-12));
    EXPECT_LT(rc.calc.m_Time, before + 1.234e-4 + 1e-5);
    const double at = rc.calc.m_Time;
    ASSERT_TRUE(rc.doc.Simulate(0.0, 0));
    EXPECT_EQ(rc.calc.m_Time, at);
    ASSERT_TRUE(rc.doc.Simulate(std::nan(""), 2));
    EXPECT_EQ(rc.calc.m_Time, at);
}

TEST(CalcStep, BadStepFailsAndFailedRunRestartsAtZero) {
    DrivenRC rc;
    rc.doc.m_TranSettings.m_Step = 0.0;
    EXPECT_FALSE(rc.doc.Start());
    EXPECT_EQ(rc.doc.RunError(), "step <= 0");
    EXPECT_FALSE(rc.doc.m_Running);
    rc.doc.m_TranSettings.m_Step = std::nan("");
    EXPECT_FALSE(rc.doc.Simulate(1e-3, 0));
    rc.doc.m_TranSettings.m_Step = 1e-5;
    ASSERT_TRUE(rc.doc.Simulate(5e-5, 2));
    // A run that fails in the middle is over; the next call starts again at 0.
    rc.cap->c.m_Error = true;
    rc.calc.m_Changes |= 4;
    EXPECT_FALSE(rc.doc.Simulate(1e-5, 2));
    EXPECT_EQ(rc.doc.RunError(), "C1 : C : formula error\n");
    EXPECT_FALSE(rc.doc.m_Running);
    rc.cap->c.m_Error = false;
    ASSERT_TRUE(rc.doc.Simulate(1e-5, 2)) << rc.doc.RunError();
    EXPECT_DOUBLE_EQ(rc.calc.m_Time, 1e-5);
}

TEST(CalcStep, EmptyCircuitRuns) {
    RunDoc empty;
    ASSERT_TRUE(empty.doc.Start()) << empty.doc.RunError();
    ASSERT_TRUE(empty.doc.Simulate(1e-4, 0));
    EXPECT_NEAR(empty.calc.m_Time, 1e-4, 1e-15);
}
