#include <cmath>
#include <limits>

#include "solver/calc_fixture.h"

using qz3::CCalc;
using qz3::test::CalcNet;

TEST(CalcSolve, AddRoundSnapsCancellation) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Row {
        double a, d;
        bool result;
        double after;
    };
    const Row rows[] = {
        {0.0, 0.0, false, 0.0},
        {2.0, 0.0, true, 2.0},
        {0.0, 3.0, true, 3.0},
        {1.0, -1.0, false, 0.0},
        {1.0, 0.5, true, 1.5},
        {1.0, -(1.0 - 1e-13), false, 0.0},   // |d|*1e-12 >= 1e-13: noise
        {1.0, -(1.0 - 1e-11), true, 1.0 - (1.0 - 1e-11)},
        {1e308, 1e308, true, std::numeric_limits<double>::infinity()},
    };
    CCalc calc;
    for (const Row& row : rows) {
        double a = row.a;
        EXPECT_EQ(calc.AddRound(&a, row.d), row.result) << row.a << " + " << row.d;
        EXPECT_EQ(a, row.after) << row.a << " + " << row.d;
    }
    double a = 1.0;
    EXPECT_TRUE(calc.AddRound(&a, nan));
    EXPECT_TRUE(std::isnan(a));
    calc.m_Zero = 1e-14;
    a = 1.0;
    EXPECT_TRUE(calc.AddRound(&a, -(1.0 - 1e-13)));
    EXPECT_NE(a, 0.0);
}

// Two rows equal but for 1e-13 of their size: singular with zero 1e-12, not with 1e-14.
TEST(CalcSolve, NearSingularRowFollowsTheZeroSetting) {
    for (const double zero : {1e-12, 1e-14}) {
        CalcNet net(2, 0);
        net.calc.m_Zero = zero;
        double** G = net.calc.MatrixG;
        G[1][1] = 1.0, G[1][2] = 1.0;
        G[2][1] = 1.0, G[2][2] = 1.0 + 1e-13;
        net.calc.VecB[1] = 1.0;
        net.calc.VecB[2] = 2.0;
        ASSERT_TRUE(net.Solve());
        if (zero == 1e-12) {
            EXPECT_EQ(net.Bad(2), 255);
        } else {
            EXPECT_EQ(net.Bad(2), 0);
            // G x = -r, less the first row: (residue) * x2 = -(2 - 1).
            const double residue = (1.0 + 1e-13) - 1.0;
            EXPECT_NEAR(net.X(2), -1.0 / residue, 1e-6 / residue);
        }
    }
}

TEST(CalcSolve, PivotOfOneLeavesRowBitwise) {
    CalcNet net(2, 0);
    double** G = net.calc.MatrixG;
    G[1][1] = 1.0, G[1][2] = 0.1;
    G[2][2] = 3.0;
    net.calc.VecB[1] = 0.7;
    net.calc.VecB[2] = 0.3;
    ASSERT_TRUE(net.Solve());
    EXPECT_EQ(net.calc.MatrixG[1][2], 0.1);
    EXPECT_NEAR(net.X(2), -0.1, 1e-15);
    EXPECT_NEAR(net.X(1), -0.7 - 0.1 * net.X(2), 1e-15);
}

TEST(CalcSolve, RowExchangeFindsThePivot) {
    // The first row has nothing in column 1: rows are exchanged by pointer.
    CalcNet net(3, 0);
    double** G = net.calc.MatrixG;
    G[1][2] = 2.0, G[1][3] = 1.0;
    G[2][1] = 4.0, G[2][2] = 1.0;
    G[3][1] = 1.0, G[3][3] = 5.0;
    net.calc.VecB[1] = 1.0, net.calc.VecB[2] = 2.0, net.calc.VecB[3] = 3.0;
    const double g[3][3] = {{0, 2, 1}, {4, 1, 0}, {1, 0, 5}};
    const double r[3] = {1, 2, 3};
    ASSERT_TRUE(net.Solve());
    for (int i = 0; i < 3; ++i) {
        double sum = r[i];
        for (int j = 0; j < 3; ++j) sum += g[i][j] * net.X(j + 1);
        EXPECT_NEAR(sum, 0.0, 1e-14) << "row " << i + 1;
    }
}

TEST(CalcSolve, TrivialSizesAndRowsOutOfTheSystem) {
    CalcNet empty(0, 0);
    ASSERT_EQ(empty.calc.m_Size, 1);
    empty.calc.SolveReal();
    EXPECT_EQ(empty.X(0), 0.0);

    CalcNet net(1, 1);
    const int k = net.Branch(0);
    net.calc.StampSwitch(1, 0, k, false);
    ASSERT_TRUE(net.calc.StampResistor(1, 0, 10.0));
    net.calc.StampCurrent(1, 0, 0, 1.0);  // a current written at ground's row is ignored
    net.calc.VecX[k] = 7.0;
    ASSERT_TRUE(net.Solve());
    EXPECT_EQ(net.X(k), 0.0);
    EXPECT_EQ(net.Bad(k), 0);
}

TEST(CalcSolve, FloatingPairIsFreeNotBad) {
    // Two nodes joined by a resistor and nothing else: one row cancels, both are 0.
    CalcNet net(2, 0);
    ASSERT_TRUE(net.calc.StampResistor(1, 2, 1e3));
    ASSERT_TRUE(net.Solve());
    EXPECT_EQ(net.X(1), 0.0);
    EXPECT_EQ(net.X(2), 0.0);
    EXPECT_EQ(net.Bad(1), 0);
    EXPECT_EQ(net.Bad(2), 0);
}

TEST(CalcSolve, RowAddKeepsFlags) {
    CalcNet net(3, 0);
    double** C = net.calc.MatrixC;
    unsigned char** F = net.calc.FlagC;
    C[1][1] = 2.0, F[1][1] = 1;
    C[1][3] = 1.0, F[1][3] = 1;
    C[2][1] = 4.0, F[2][1] = 1;
    net.calc.RowAdd(1, 2, -2.0);
    EXPECT_EQ(C[2][1], 0.0);
    EXPECT_EQ(F[2][1], 0);  // cancelled to an exact zero
    EXPECT_EQ(C[2][3], -2.0);
    EXPECT_EQ(F[2][3], 1);
    EXPECT_EQ(F[2][0], 1);
    CalcNet tiny(0, 0);
    tiny.calc.RowAdd(0, 0, 1.0);
    EXPECT_EQ(tiny.calc.FlagC[0][0], 1);
}
