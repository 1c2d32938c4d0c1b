#include <cmath>
#include <limits>

#include "solver/calc_fixture.h"

using qz3::test::CalcNet;

namespace {
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kTol = 1e-12;
}  // namespace

TEST(CalcStamps, DividerGivesRatioAndSourceCurrent) {
    CalcNet net(2, 1);  // 1: source node, 2: tap
    const int k = net.Branch(0);
    ASSERT_TRUE(net.calc.StampVoltage(0, 1, k, 12.0));
    ASSERT_TRUE(net.calc.StampResistor(1, 2, 1000.0));
    ASSERT_TRUE(net.calc.StampResistor(2, 0, 3000.0));
    ASSERT_TRUE(net.Solve()) << net.calc.m_Error;
    EXPECT_NEAR(net.X(1), 12.0, kTol);
    EXPECT_NEAR(net.X(2), 12.0 * 3000.0 / 4000.0, kTol);
    // The branch unknown leaves pin a (ground) and enters pin b: it feeds the load.
    EXPECT_NEAR(net.X(k), 12.0 / 4000.0, kTol);
}

TEST(CalcStamps, WheatstoneBridgeMatchesNodalAnalysis) {
    const double V = 10.0, R1 = 1e3, R2 = 2e3, R3 = 3e3, R4 = 4e3, R5 = 5e3;
    CalcNet net(3, 1);
    const int k = net.Branch(0);
    ASSERT_TRUE(net.calc.StampVoltage(0, 1, k, V));
    ASSERT_TRUE(net.calc.StampResistor(1, 2, R1));
    ASSERT_TRUE(net.calc.StampResistor(2, 0, R2));
    ASSERT_TRUE(net.calc.StampResistor(1, 3, R3));
    ASSERT_TRUE(net.calc.StampResistor(3, 0, R4));
    ASSERT_TRUE(net.calc.StampResistor(2, 3, R5));
    ASSERT_TRUE(net.Solve());
    // Nodal equations of the two bridge nodes, solved by Cramer's rule.
    const double a11 = 1 / R1 + 1 / R2 + 1 / R5, a12 = -1 / R5, b1 = V / R1;
    const double a21 = -1 / R5, a22 = 1 / R3 + 1 / R4 + 1 / R5, b2 = V / R3;
    const double det = a11 * a22 - a12 * a21;
    const double v2 = (b1 * a22 - a12 * b2) / det;
    const double v3 = (a11 * b2 - a21 * b1) / det;
    EXPECT_NEAR(net.X(2), v2, kTol);
    EXPECT_NEAR(net.X(3), v3, kTol);
    EXPECT_NEAR(net.X(k), (V - v2) / R1 + (V - v3) / R3, kTol);
}

TEST(CalcStamps, CurrentSourcesIntoAResistor) {
    CalcNet net(1, 1);
    const int k = net.Branch(0);
    net.calc.StampCurrent(1, 0, k, 2e-3);  // enters node 1
    ASSERT_TRUE(net.calc.StampResistor(1, 0, 1e3));
    ASSERT_TRUE(net.Solve());
    EXPECT_NEAR(net.X(1), 2.0, kTol);
    EXPECT_NEAR(net.X(k), 2e-3, kTol);

    CalcNet rev(1, 1);
    rev.calc.StampCurrentRev(1, 0, rev.Branch(0), 2e-3);  // leaves node 1
    ASSERT_TRUE(rev.calc.StampResistor(1, 0, 1e3));
    ASSERT_TRUE(rev.Solve());
    EXPECT_NEAR(rev.X(1), -2.0, kTol);
}

TEST(CalcStamps, ParallelVoltageSources) {
    // Equal values: the second row cancels exactly, its unknown is free and 0.
    CalcNet same(1, 2);
    ASSERT_TRUE(same.calc.StampVoltage(0, 1, same.Branch(0), 5.0));
    ASSERT_TRUE(same.calc.StampVoltage(0, 1, same.Branch(1), 5.0));
    ASSERT_TRUE(same.Solve());
    EXPECT_EQ(same.X(1), 5.0);
    EXPECT_EQ(same.X(same.Branch(0)), 0.0);
    EXPECT_EQ(same.X(same.Branch(1)), 0.0);
    for (int i = 1; i < 4; ++i) EXPECT_EQ(same.Bad(i), 0) << i;

    // Different values contradict each other: the currents are infinite.
    CalcNet loop(1, 2);
    ASSERT_TRUE(loop.calc.StampVoltage(0, 1, loop.Branch(0), 5.0));
    ASSERT_TRUE(loop.calc.StampVoltage(0, 1, loop.Branch(1), 6.0));
    ASSERT_TRUE(loop.Solve());
    EXPECT_EQ(loop.X(1), 5.0);
    EXPECT_EQ(loop.Bad(1), 0);
    EXPECT_EQ(loop.Bad(loop.Branch(1)), 255);
    EXPECT_EQ(loop.Bad(loop.Branch(0)), 255);  // leans on the infinite one
}

TEST(CalcStamps, ResistorEdgeCases) {
    CalcNet net(2, 0);
    EXPECT_TRUE(net.calc.StampResistor(1, 1, 0.0));  // one node: nothing, not even R = 0
    EXPECT_EQ(net.calc.MatrixG[1][1], 0.0);
    EXPECT_TRUE(net.calc.m_Error.empty());
    EXPECT_FALSE(net.calc.StampResistor(1, 2, 0.0));
    EXPECT_EQ(net.calc.m_Error, "Zero resistance");
    EXPECT_TRUE(net.calc.StampResistor(1, 2, kInf));
    net.calc.FillFlags();
    EXPECT_EQ(net.calc.FlagG[1][0], 0);  // structurally empty
    EXPECT_EQ(net.calc.FlagG[2][0], 0);
}

TEST(CalcStamps, VoltageOnOneNode) {
    CalcNet net(1, 1);
    EXPECT_TRUE(net.calc.StampVoltage(1, 1, net.Branch(0), 0.0));
    EXPECT_FALSE(net.calc.StampVoltage(1, 1, net.Branch(0), 1.0));
    EXPECT_EQ(net.calc.m_Error, "Short circuit");
}

TEST(CalcStamps, ControlledSources) {
    // VCVS with gain 3 across a divider output; output loaded by 1k.
    CalcNet vcvs(3, 2);
    ASSERT_TRUE(vcvs.calc.StampVoltage(0, 1, vcvs.Branch(0), 2.0));
    ASSERT_TRUE(vcvs.calc.StampVCVS(0, 3, 0, 1, vcvs.Branch(1), 3.0));
    ASSERT_TRUE(vcvs.calc.StampResistor(3, 0, 1e3));
    ASSERT_TRUE(vcvs.calc.StampResistor(2, 0, 1e3));
    ASSERT_TRUE(vcvs.Solve());
    EXPECT_NEAR(vcvs.X(3), 6.0, kTol);

    // Ideal amplifier as follower: the row forces x_c = x_d, the output holds the rest.
    CalcNet follower(2, 2);
    ASSERT_TRUE(follower.calc.StampVoltage(0, 1, follower.Branch(0), 1.5));
    ASSERT_TRUE(follower.calc.StampVCVS(0, 2, 2, 1, follower.Branch(1), kInf));
    ASSERT_TRUE(follower.calc.StampResistor(2, 0, 1e3));
    ASSERT_TRUE(follower.Solve());
    EXPECT_NEAR(follower.X(2), 1.5, kTol);

    // VCCS of 2 mS driven by 1 V into 1k: the unknown is the current, leaving a.
    CalcNet vccs(2, 2);
    ASSERT_TRUE(vccs.calc.StampVoltage(0, 1, vccs.Branch(0), 1.0));
    vccs.calc.StampVCCS(2, 0, 0, 1, vccs.Branch(1), 2e-3);
    ASSERT_TRUE(vccs.calc.StampResistor(2, 0, 1e3));
    ASSERT_TRUE(vccs.Solve());
    EXPECT_NEAR(vccs.X(vccs.Branch(1)), 2e-3, kTol);
    EXPECT_NEAR(vccs.X(2), -2.0, kTol);

    // CCCS mirrors the source current of a 1 V / 1k loop with gain 2.
    CalcNet cccs(2, 2);
    const int js = cccs.Branch(0);
    ASSERT_TRUE(cccs.calc.StampVoltage(0, 1, js, 1.0));
    ASSERT_TRUE(cccs.calc.StampResistor(1, 0, 1e3));
    cccs.calc.StampCCCS(2, 0, cccs.Branch(1), js, 2.0);
    ASSERT_TRUE(cccs.calc.StampResistor(2, 0, 1e3));
    ASSERT_TRUE(cccs.Solve());
    EXPECT_NEAR(cccs.X(cccs.Branch(1)), 2e-3, kTol);
    EXPECT_NEAR(cccs.X(2), -2.0, kTol);

    // CCVS: 1 mA through a transresistance of 500 gives 0.5 V.
    CalcNet ccvs(2, 2);
    const int jc = ccvs.Branch(0);
    ccvs.calc.StampCurrent(1, 0, jc, 1e-3);
    ASSERT_TRUE(ccvs.calc.StampResistor(1, 0, 1e3));
    ASSERT_TRUE(ccvs.calc.StampCCVS(0, 2, ccvs.Branch(1), jc, 500.0));
    ASSERT_TRUE(ccvs.calc.StampResistor(2, 0, 1e3));
    ASSERT_TRUE(ccvs.Solve());
    EXPECT_NEAR(ccvs.X(2), 0.5, kTol);
}

TEST(CalcStamps, ResistorBranchCarriesItsCurrent) {
    CalcNet net(2, 2);
    ASSERT_TRUE(net.calc.StampVoltage(0, 1, net.Branch(0), 4.0));
    net.calc.StampResistorBranch(1, 0, net.Branch(1), 2e3);
    ASSERT_TRUE(net.Solve());
    EXPECT_NEAR(net.X(net.Branch(1)), -2e-3, kTol);  // x_k = (x_b - x_a)/R
    EXPECT_NEAR(net.X(net.Branch(0)), 2e-3, kTol);

    CalcNet open(1, 1);
    open.calc.StampResistorBranch(1, 0, open.Branch(0), kInf);
    EXPECT_EQ(open.calc.RowOff[open.Branch(0)], 1);
}

TEST(CalcStamps, DiodeOnOffAndLeak) {
    // On with a drop of 0.7 V from a 5 V source through 1k: 4.3 mA.
    CalcNet on(2, 2);
    ASSERT_TRUE(on.calc.StampVoltage(0, 1, on.Branch(0), 5.0));
    ASSERT_TRUE(on.calc.StampResistor(1, 2, 1e3));
    on.calc.StampDiode(0, 2, on.Branch(1), true, 0.7, false);
    ASSERT_TRUE(on.Solve());
    EXPECT_NEAR(on.X(2), 0.7, kTol);
    EXPECT_EQ(on.calc.NodeLink[2].kind, 2);

    CalcNet off(2, 2);
    off.calc.StampDiode(0, 2, off.Branch(1), false, 0.7, false);
    EXPECT_EQ(off.calc.RowOff[off.Branch(1)], 1);

    CalcNet leak(2, 2);
    leak.calc.m_Leaky = true;
    leak.calc.StampDiode(1, 2, leak.Branch(1), false, 0.7, false);
    const int k = leak.Branch(1);
    EXPECT_EQ(leak.calc.RowOff[k], 0);
    EXPECT_EQ(leak.calc.MatrixG[k][k], 1.0);
    EXPECT_EQ(leak.calc.MatrixG[k][1], 10.0 * 1e-12);
    EXPECT_EQ(leak.calc.MatrixG[k][2], -10.0 * 1e-12);
}

TEST(CalcStamps, OutputsSourcesAndLogic) {
    CalcNet net(2, 1, 1);  // n = 4, signal node 4
    net.calc.SetLogicOutput(1, 1);
    EXPECT_EQ(net.calc.VecB[1], -5.0);
    EXPECT_EQ(net.calc.NodeLink[1].kind, 2);
    net.calc.SetLogicOutput(4, 0);
    EXPECT_EQ(net.X(4), 0.0);
    net.calc.SetSource(4, 3.0);
    EXPECT_EQ(net.X(4), 3.0);
    EXPECT_EQ(net.calc.GetLogicInput(4), 1);
    net.calc.SetSource(4, 2.5);
    EXPECT_EQ(net.calc.GetLogicInput(4), 0);  // threshold is not above itself

    // A driven output through a branch: x_node = -VecE[k] = the source value.
    const int k = net.Branch(0);
    ASSERT_TRUE(net.calc.SetOutput(2, k, false, 0.0));
    EXPECT_EQ(net.calc.RowInput[k], 1);
    net.calc.SetSource(k, 1.25);
    ASSERT_TRUE(net.Solve());
    EXPECT_EQ(net.X(1), 5.0);
    EXPECT_EQ(net.X(2), 1.25);
}

TEST(CalcStamps, GroundedOutputIsRefused) {
    CalcNet net(2, 0);
    EXPECT_FALSE(net.calc.ClaimOutput(0, nullptr, 0));
    EXPECT_NE(net.calc.m_Error.find(" : grounded output "), std::string::npos);
    EXPECT_TRUE(net.calc.ClaimOutput(1, nullptr, 0));
}
