// Trapezoidal steps of a large circuit by sparse triangular solves: the same
// points as the product with the eliminated system, and the dense way kept for
// a system the sparse factorisation finds singular.
#include <algorithm>
#include <climits>
#include <cmath>
#include <string>

#include "solver/run_fixture.h"

using qz3::CCalc;
using qz3::test::RunDoc;

namespace {

// 1 V behind `sections` RC sections of 1 kohm and 1 nF: well over a hundred unknowns.
struct Ladder : RunDoc {
    explicit Ladder(int sections, bool dense) : RunDoc(1e-7) {
        Probe("V", 0, 1, 1.0);
        for (int k = 1; k <= sections; ++k) {
            R("R" + std::to_string(k), k, k + 1, 1e3);
            C("C" + std::to_string(k), 0, k + 1, 1e-9, 0.0);
        }
        if (dense) calc.m_SparseTrapMinSize = INT_MAX;
    }
};

// Rounding apart: the two ways sum in different orders.
bool SameToRounding(double a, double b) { return std::fabs(a - b) <= 1e-12 * std::max({std::fabs(a), std::fabs(b), 1e-3}); }

void RunInLockstep(Ladder& sparse, Ladder& dense, double until) {
    CCalc& a = sparse.calc;
    CCalc& b = dense.calc;
    ASSERT_TRUE(sparse.doc.Start()) << sparse.doc.RunError();
    ASSERT_TRUE(dense.doc.Start()) << dense.doc.RunError();
    ASSERT_EQ(a.m_Total, b.m_Total);
    for (int turn = 0; a.m_Time < until; ++turn) {
        ASSERT_TRUE(a.StepOnce()) << a.m_Error;
        ASSERT_TRUE(b.StepOnce()) << b.m_Error;
        ASSERT_EQ(a.m_Time, b.m_Time) << "turn " << turn;
        ASSERT_EQ(a.m_State, b.m_State) << "turn " << turn;
        for (int i = 0; i < a.m_Total; ++i)
            ASSERT_TRUE(SameToRounding(a.VecX[i], b.VecX[i]))
                << "turn " << turn << " x" << i << ": " << a.VecX[i] << " against " << b.VecX[i];
    }
}

}  // namespace

TEST(CalcTrapSparse, LadderGivesThePointsOfTheDenseProduct) {
    Ladder sparse(80, false), dense(80, true);
    RunInLockstep(sparse, dense, 3e-5);
    ASSERT_GE(sparse.calc.m_Size, CCalc::kSparseTrapMinSize);
    EXPECT_TRUE(sparse.calc.m_TrapSparse);
    EXPECT_FALSE(dense.calc.m_TrapSparse);
    EXPECT_EQ(sparse.calc.m_State, CCalc::StateTrap);
    // The factors of a ladder stay as sparse as the ladder.
    EXPECT_LT(sparse.calc.m_TrapLu->Entries(), static_cast<size_t>(8 * sparse.calc.m_Size));
    // The far end of the ladder has begun to move, and the near end follows the source.
    EXPECT_GT(sparse.X(81), 0.0);
    EXPECT_LT(sparse.X(81), sparse.X(2));
    EXPECT_LT(sparse.X(2), 1.0);
}

TEST(CalcTrapSparse, SingularSystemGoesThroughTheDenseElimination) {
    // A second source in parallel with the first: two equal rows, one free unknown.
    Ladder sparse(80, false), dense(80, true);
    sparse.Probe("V2", 0, 1, 1.0);
    dense.Probe("V2", 0, 1, 1.0);
    RunInLockstep(sparse, dense, 1e-5);
    EXPECT_EQ(sparse.calc.m_State, CCalc::StateTrap);
    EXPECT_FALSE(sparse.calc.m_TrapSparse);
    EXPECT_GT(sparse.calc.m_FactorCount, 0);
    for (int i = 0; i < sparse.calc.m_Total; ++i) EXPECT_EQ(sparse.calc.VecX[i], dense.calc.VecX[i]) << i;
}

TEST(CalcTrapSparse, RowStoreHoldsTheEntriesAndFlagsOfTheWholeMatrices) {
    // Sources, a floating pair of capacitors and the ladder: every stamp kind the fixture has.
    Ladder ladder(80, false);
    ladder.C("Cf1", 90, 91, 1e-9, std::nan(""));
    ladder.R("Rf", 91, 92, 1e3);
    ladder.Probe("V2", 0, 1, 1.0);
    ASSERT_TRUE(ladder.Prepare()) << ladder.calc.m_Error;
    CCalc& c = ladder.calc;
    ASSERT_GE(c.m_Size, CCalc::kSparseTrapMinSize);
    const int n = c.m_Size;
    for (bool floatFix : {false, true}) {
        c.m_FloatFix = floatFix;
        // The rows copied out twice: a copy must clear what an earlier one left.
        for (int copy = 0; copy < 2; ++copy) {
            ASSERT_TRUE(c.Assemble());
            c.DensifyRows();
        }
        EXPECT_LT(c.m_Rows.Entries(), static_cast<size_t>(8 * n)) << "stored entries grow with the circuit";
        std::vector<unsigned char> flags;
        std::vector<double> values;
        for (int i = 1; i < n; ++i) {
            flags.insert(flags.end(), c.FlagG[i], c.FlagG[i] + n);
            flags.insert(flags.end(), c.FlagC[i], c.FlagC[i] + n);
            values.insert(values.end(), c.MatrixG[i] + 1, c.MatrixG[i] + n);
            values.insert(values.end(), c.MatrixC[i] + 1, c.MatrixC[i] + n);
        }
        c.m_SparseTrapMinSize = INT_MAX;
        ASSERT_TRUE(c.Assemble());
        c.m_SparseTrapMinSize = CCalc::kSparseTrapMinSize;
        size_t at = 0, value = 0, marked = 0;
        for (int i = 1; i < n; ++i) {
            for (int j = 0; j < n; ++j, ++at) EXPECT_EQ(flags[at], c.FlagG[i][j]) << "G " << i << "," << j;
            for (int j = 0; j < n; ++j, ++at) EXPECT_EQ(flags[at], c.FlagC[i][j]) << "C " << i << "," << j;
            for (int j = 1; j < n; ++j, ++value) EXPECT_EQ(values[value], c.MatrixG[i][j]) << "G " << i << "," << j;
            for (int j = 1; j < n; ++j, ++value) EXPECT_EQ(values[value], c.MatrixC[i][j]) << "C " << i << "," << j;
            marked += c.FlagG[i][0];
        }
        EXPECT_GT(marked, 150u);
    }
}
