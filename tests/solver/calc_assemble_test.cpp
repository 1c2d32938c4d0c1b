#include "solver/calc_fixture.h"

using qz3::test::CalcNet;

// Pin arrays laid out as a component's: nodes, then pin groups.
TEST(CalcAssemble, FloatingGroupsGetOneLeakEach) {
    CalcNet net(5, 0);
    auto& c = net.calc;
    c.InitNodeGroups();
    const int capacitor12[] = {1, 2, 1, 1};   // conducts between 1 and 2
    const int resistor30[] = {3, 0, 1, 1};    // ties 3 to ground
    const int driven4[] = {4, 0};             // an output drives 4 itself
    const int resistor53[] = {5, 3, 1, 1};    // 5 joins the grounded 3
    c.JoinPinGroups(capacitor12, capacitor12 + 2, 2);
    c.JoinPinGroups(resistor30, resistor30 + 2, 2);
    c.JoinPinGroups(driven4, driven4 + 1, 1);
    c.JoinPinGroups(resistor53, resistor53 + 2, 2);
    EXPECT_EQ(c.NodeLink[1].group, 1);
    EXPECT_EQ(c.NodeLink[2].group, 1);
    for (int i : {3, 4, 5}) EXPECT_EQ(c.NodeLink[i].group, 0) << i;
    c.LeakFloatingGroups();
    EXPECT_EQ(c.MatrixG[1][1], -10.0 * c.m_Zero);  // from the lowest node of the group
    for (int i = 2; i <= 5; ++i) EXPECT_EQ(c.MatrixG[i][i], 0.0) << i;
    EXPECT_EQ(c.NodeLink[1].group, 0);
    EXPECT_EQ(c.NodeLink[2].group, 0);
}

TEST(CalcAssemble, GroupsJoinUnderTheSmallerNumber) {
    CalcNet net(4, 0);
    auto& c = net.calc;
    c.InitNodeGroups();
    const int a[] = {4, 3, 1, 1};
    const int b[] = {3, 2, 7, 7};
    const int unconnected[] = {-1, 2, 1, 1};  // not an electrical node: no join
    c.JoinPinGroups(a, a + 2, 2);
    c.JoinPinGroups(b, b + 2, 2);
    c.JoinPinGroups(unconnected, unconnected + 2, 2);
    EXPECT_EQ(c.NodeLink[4].group, 2);
    EXPECT_EQ(c.NodeLink[3].group, 2);
    EXPECT_EQ(c.NodeLink[1].group, 1);
    c.LeakFloatingGroups();
    EXPECT_EQ(c.MatrixG[1][1], -10.0 * c.m_Zero);
    EXPECT_EQ(c.MatrixG[2][2], -10.0 * c.m_Zero);
    EXPECT_EQ(c.MatrixG[3][3], 0.0);
}

// Two nodes joined only by a capacitor form a floating group; the leak makes the
// DC equations solvable with both at 0.
TEST(CalcAssemble, CapacitorPairSolvesWithTheLeak) {
    CalcNet net(2, 0);
    auto& c = net.calc;
    c.MatrixC[1][1] = -1e-6, c.MatrixC[1][2] = 1e-6;
    c.MatrixC[2][1] = 1e-6, c.MatrixC[2][2] = -1e-6;
    c.InitNodeGroups();
    const int capacitor[] = {1, 2, 1, 1};
    c.JoinPinGroups(capacitor, capacitor + 2, 2);
    c.LeakFloatingGroups();
    EXPECT_TRUE(c.FillFlags());
    EXPECT_EQ(c.FlagG[1][1], 1);
    EXPECT_EQ(c.FlagG[2][0], 0);
    EXPECT_EQ(c.FlagC[2][0], 1);
}

TEST(CalcAssemble, FlagsMarkStructureAndEmptyRows) {
    CalcNet net(3, 1);
    auto& c = net.calc;
    ASSERT_TRUE(c.StampResistor(1, 2, 5.0));
    c.StampSwitch(1, 2, net.Branch(0), false);
    EXPECT_FALSE(c.FillFlags());  // node 3 has no entry at all
    EXPECT_EQ(c.FlagG[1][1], 1);
    EXPECT_EQ(c.FlagG[1][2], 1);
    EXPECT_EQ(c.FlagG[1][3], 0);
    EXPECT_EQ(c.FlagG[1][0], 1);
    EXPECT_EQ(c.FlagG[3][0], 0);
    EXPECT_EQ(c.FlagG[net.Branch(0)][0], 0);  // rows out of the system get no marks
    // A leak put in later (as PhaseFloat does) is seen by the second look.
    ASSERT_TRUE(c.StampResistor(3, 0, 1e11));
    c.RescanEmptyRows();
    EXPECT_EQ(c.FlagG[3][3], 1);
    EXPECT_EQ(c.FlagG[3][0], 1);
}

TEST(CalcAssemble, ClearKeepsTheSolution) {
    CalcNet net(2, 1);
    auto& c = net.calc;
    ASSERT_TRUE(c.StampVoltage(0, 1, net.Branch(0), 1.0));
    c.VecE[1] = 3.0;
    c.VecX[1] = 2.0, c.VecXPrev[1] = 4.0, c.VecEPrev[1] = 5.0;
    c.AddLink(1, 1, 2, 0, 0.0);
    c.ClearMatrices();
    EXPECT_EQ(c.MatrixG[1][net.Branch(0)], 0.0);
    EXPECT_EQ(c.VecB[net.Branch(0)], 0.0);
    EXPECT_EQ(c.VecE[1], 0.0);
    EXPECT_EQ(c.NodeLink[2].kind, 0);
    EXPECT_EQ(c.VecX[1], 2.0);
    EXPECT_EQ(c.VecXPrev[1], 4.0);
    EXPECT_EQ(c.VecEPrev[1], 5.0);
}
