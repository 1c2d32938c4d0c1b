#include <cmath>

#include "solver/calc_fixture.h"

using qz3::test::CalcNet;

namespace {

// Source on node 1, R from 1 to 2, C from 2 to ground; the source value comes
// through VecE of an input unknown, as a driven output does.
struct RcNet : CalcNet {
    static constexpr double R = 1e3, C = 1e-6, h = 1e-4;
    int k;
    RcNet() : CalcNet(2, 1) {
        k = Branch(0);
        EXPECT_TRUE(calc.SetOutput(1, k, false, 0.0));
        EXPECT_TRUE(calc.StampResistor(1, 2, R));
        calc.MatrixC[2][2] = -C;  // current into node 2 is -C dv/dt
        calc.FinishAssembly();
        calc.m_Step = h;
        calc.PrepareTrapMatrices();
        calc.EliminateTrap();
    }
    void Step(double vNext) {
        for (int i = 0; i < calc.m_Total; ++i) calc.VecXPrev[i] = calc.VecX[i];
        for (int i = 0; i < calc.m_Size; ++i) calc.VecEPrev[i] = calc.VecE[i];
        calc.SetSource(k, vNext);
        calc.TrapFastProduct();
        EXPECT_TRUE(calc.ResolveLinks());
    }
};

}  // namespace

// The product after one factorisation follows the trapezoidal recurrence
// v' = (v (1 - a) + a (u + u')) / (1 + a), a = h / 2RC, for a ramp input.
TEST(CalcTrapFast, RcRampFollowsTheTrapezoidalRule) {
    RcNet net;
    auto& c = net.calc;
    const double a = RcNet::h / (2 * RcNet::R * RcNet::C);
    double v = 0.0, u = 0.0;
    for (int step = 1; step <= 50; ++step) {
        const double uNext = 1e3 * step * RcNet::h;
        net.Step(uNext);
        v = (v * (1 - a) + a * (u + uNext)) / (1 + a);
        u = uNext;
        ASSERT_NEAR(c.VecX[1], uNext, 1e-12) << step;
        ASSERT_NEAR(c.VecX[2], v, 1e-9 * std::fabs(v) + 1e-12) << step;
        // The source current feeds the capacitor through R.
        ASSERT_NEAR(c.VecX[net.k], (uNext - c.VecX[2]) / RcNet::R, 1e-12) << step;
    }
}

// After the elimination MatrixG is the identity on its rows in use.
TEST(CalcTrapFast, EliminationLeavesTheIdentity) {
    RcNet net;
    auto& c = net.calc;
    for (int i = 1; i < c.m_Size; ++i)
        for (int j = 1; j < c.m_Size; ++j)
            EXPECT_EQ(c.MatrixG[i][j], i == j ? 1.0 : 0.0) << i << "," << j;
    // The linked source node is not computed by the product but by its link.
    EXPECT_EQ(c.NodeLink[1].kind, 3);
}

// A constant right side goes through VecB: a divider with a capacitor across
// the lower resistor settles to the divided value.
TEST(CalcTrapFast, ConstantSourceSettles) {
    CalcNet net(2, 1);
    auto& c = net.calc;
    ASSERT_TRUE(c.StampVoltage(0, 1, net.Branch(0), 3.0));
    ASSERT_TRUE(c.StampResistor(1, 2, 1e3));
    ASSERT_TRUE(c.StampResistor(2, 0, 2e3));
    c.MatrixC[2][2] = -1e-6;
    c.FinishAssembly();
    c.m_Step = 1e-5;
    c.PrepareTrapMatrices();
    c.EliminateTrap();
    // A consistent start: the source node and current at t = 0 with v2 = 0.
    c.VecX[1] = 3.0;
    c.VecX[net.Branch(0)] = 3.0 / 1e3;
    for (int step = 0; step < 5000; ++step) {
        for (int i = 0; i < c.m_Total; ++i) c.VecXPrev[i] = c.VecX[i];
        c.TrapFastProduct();
        ASSERT_TRUE(c.ResolveLinks());
    }
    EXPECT_NEAR(c.VecX[1], 3.0, 1e-12);
    EXPECT_NEAR(c.VecX[2], 2.0, 1e-9);
    EXPECT_NEAR(c.VecX[net.Branch(0)], 1e-3, 1e-12);
}
