#include <limits>

#include "solver/calc_fixture.h"

using qz3::test::CalcNet;

TEST(CalcLinks, ClosedSwitchGivesTheIdenticalDouble) {
    CalcNet net(3, 2);
    ASSERT_TRUE(net.calc.StampVoltage(0, 1, net.Branch(0), 1.0 / 3.0));
    ASSERT_TRUE(net.calc.StampResistor(1, 2, 7.0));
    net.calc.StampSwitch(2, 3, net.Branch(1), true);
    ASSERT_TRUE(net.calc.StampResistor(3, 0, 11.0));
    ASSERT_TRUE(net.Solve());
    EXPECT_EQ(net.X(2), net.X(3));
    EXPECT_NEAR(net.X(3), (1.0 / 3.0) * 11.0 / 18.0, 1e-15);
    // The switch current enters pin a: it runs against the load current here.
    EXPECT_NEAR(net.X(net.Branch(1)), -(1.0 / 3.0) / 18.0, 1e-15);
}

TEST(CalcLinks, RingOfSwitchesDropsTheLastLink) {
    CalcNet net(3, 4);
    ASSERT_TRUE(net.calc.StampVoltage(0, 1, net.Branch(0), 2.0));
    net.calc.StampSwitch(1, 2, net.Branch(1), true);
    net.calc.StampSwitch(2, 3, net.Branch(2), true);
    net.calc.StampSwitch(3, 1, net.Branch(3), true);
    ASSERT_TRUE(net.calc.StampResistor(3, 0, 4.0));
    EXPECT_EQ(net.calc.NodeLink[2].target, 1);
    EXPECT_EQ(net.calc.NodeLink[3].target, 2);
    EXPECT_EQ(net.calc.NodeLink[1].kind, 0);  // would have closed the ring
    ASSERT_TRUE(net.Solve());
    EXPECT_EQ(net.X(1), 2.0);
    EXPECT_EQ(net.X(2), 2.0);
    EXPECT_EQ(net.X(3), 2.0);
    // The matrix row of the dropped link still holds the relation.
    EXPECT_EQ(net.calc.MatrixG[net.Branch(3)][0], 0.0);
}

TEST(CalcLinks, ReverseTurnsAChainAround) {
    CalcNet net(4, 0);
    auto& c = net.calc;
    c.AddLink(1, 1, 2, 0, 0.0);  // x2 = x1
    c.AddLink(2, 2, 3, 0, 0.5);  // x3 = x2 + 0.5
    c.AddLink(1, 4, 3, 0, 0.0);  // 3 is taken: x4 follows x3, negated
    EXPECT_EQ(c.NodeLink[4].target, 3);
    EXPECT_TRUE(c.NodeLink[4].negate);
    ASSERT_TRUE(c.ReverseLink(4));
    EXPECT_EQ(c.NodeLink[4].kind, 0);
    EXPECT_EQ(c.NodeLink[3].target, 4);
    EXPECT_EQ(c.NodeLink[2].target, 3);
    EXPECT_EQ(c.NodeLink[1].target, 2);
    c.OrderLinks();
    c.VecX[4] = 1.0;
    ASSERT_TRUE(c.ResolveLinks());
    // The original relations hold after the reversal.
    EXPECT_EQ(c.VecX[3], 1.0);
    EXPECT_EQ(c.VecX[2], c.VecX[3] - 0.5);
    EXPECT_EQ(c.VecX[1], c.VecX[2]);
}

TEST(CalcLinks, ChainsToGroundStayAndConflictsAreDropped) {
    CalcNet net(3, 0);
    auto& c = net.calc;
    c.AddLink(1, 0, 0, 0, 0.0);
    EXPECT_EQ(c.NodeLink[0].kind, 0);
    c.AddLink(1, 0, 1, 0, 0.0);
    c.AddLink(2, 0, 2, 0, 1.5);
    EXPECT_FALSE(c.ReverseLink(1));
    c.AddLink(1, 1, 2, 0, 0.0);  // both fixed to ground: nothing recorded
    EXPECT_EQ(c.NodeLink[2].target, 0);
    EXPECT_EQ(c.NodeLink[2].kind, 2);
    EXPECT_EQ(c.NodeLink[1].target, 0);

    // A source-driven link follows VecE of its source.
    c.AddLink(3, 0, 3, 2, 0.0);
    c.VecE[2] = -4.0;
    c.OrderLinks();
    ASSERT_TRUE(c.ResolveLinks());
    EXPECT_EQ(c.VecX[3], 4.0);
    EXPECT_EQ(c.VecX[2], 1.5);
}

TEST(CalcLinks, InfiniteSolutionIsReported) {
    CalcNet net(2, 0);
    net.calc.VecX[2] = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(net.calc.ResolveLinks());
    EXPECT_EQ(net.calc.m_Error, "Infinite or invalid solution");
    net.calc.VecX[2] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(net.calc.ResolveLinks());

    CalcNet signal(1, 0, 1);  // signal entries are not checked
    signal.calc.VecX[2] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(signal.calc.ResolveLinks());
}

TEST(CalcLinks, OrderPutsRootsFirst) {
    CalcNet net(4, 0);
    auto& c = net.calc;
    c.AddLink(1, 3, 4, 0, 0.0);  // 4 follows 3
    c.AddLink(1, 2, 3, 0, 0.0);  // 3 follows 2
    c.AddLink(2, 1, 2, 0, 1.0);  // 2 follows 1
    c.OrderLinks();
    EXPECT_EQ(c.NodeLink[0].order, 2);
    EXPECT_EQ(c.NodeLink[1].order, 3);
    EXPECT_EQ(c.NodeLink[2].order, 4);
    c.VecX[1] = 1.0;
    ASSERT_TRUE(c.ResolveLinks());
    EXPECT_EQ(c.VecX[4], 2.0);
}
