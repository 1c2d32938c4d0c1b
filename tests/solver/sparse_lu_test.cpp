// The sparse LU against a dense elimination: random systems, refactorisation
// with new numbers, singular systems refused, and no fill on a chain.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <iterator>
#include <cstdlib>
#include <random>
#include <vector>

#include "solver/sparse_lu.h"
#include "solver/sparse_lu_set.h"
#include "solver/sparse_order.h"

namespace {

using qz3::CSparseColumns;
using qz3::CSparseLu;
using Dense = std::vector<std::vector<double>>;

CSparseColumns ColumnsOf(const Dense& a) {
    CSparseColumns c;
    const int n = static_cast<int>(a.size());
    c.Clear(n);
    for (int j = 0; j < n; ++j) {
        for (int i = 0; i < n; ++i)
            if (a[i][j] != 0.0) c.Add(i, a[i][j]);
        c.EndColumn();
    }
    return c;
}

// Gaussian elimination with partial pivoting: the reference.
std::vector<double> DenseSolve(Dense a, std::vector<double> b) {
    const int n = static_cast<int>(a.size());
    for (int c = 0; c < n; ++c) {
        int best = c;
        for (int r = c + 1; r < n; ++r)
            if (std::fabs(a[r][c]) > std::fabs(a[best][c])) best = r;
        std::swap(a[best], a[c]);
        std::swap(b[best], b[c]);
        for (int r = c + 1; r < n; ++r) {
            const double m = a[r][c] / a[c][c];
            for (int j = c; j < n; ++j) a[r][j] -= m * a[c][j];
            b[r] -= m * b[c];
        }
    }
    std::vector<double> x(n);
    for (int i = n - 1; i >= 0; --i) {
        double s = b[i];
        for (int j = i + 1; j < n; ++j) s -= a[i][j] * x[j];
        x[i] = s / a[i][i];
    }
    return x;
}

// A circuit-like matrix: a few entries per column, values of mixed sign and
// size, and no guarantee of a strong diagonal, so pivoting matters.
Dense RandomSystem(std::mt19937& rng, int n) {
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    std::uniform_int_distribution<int> index(0, n - 1);
    Dense a(n, std::vector<double>(n, 0.0));
    for (int i = 0; i < n; ++i) {
        a[i][i] = value(rng) * 1e-3;
        for (int k = 0; k < 3; ++k) a[index(rng)][i] = value(rng) * std::pow(10.0, index(rng) % 7 - 3);
        a[i][index(rng)] = value(rng);
    }
    return a;
}

void ExpectClose(const std::vector<double>& x, const std::vector<double>& want) {
    double scale = 0.0;
    for (double v : want) scale = std::fmax(scale, std::fabs(v));
    for (size_t i = 0; i < x.size(); ++i) EXPECT_NEAR(x[i], want[i], 1e-9 * scale) << "x" << i;
}

TEST(SparseLu, SolvesRandomSystemsLikeADenseElimination) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    for (int n : {1, 2, 5, 30, 120, 400}) {
        const Dense a = RandomSystem(rng, n);
        std::vector<double> b(n);
        for (double& v : b) v = value(rng);
        CSparseLu lu;
        ASSERT_TRUE(lu.Factor(ColumnsOf(a), 1e-12)) << "n=" << n;
        std::vector<double> x = b;
        lu.Solve(x.data());
        ExpectClose(x, DenseSolve(a, b));
        // A second right side with the same factors.
        std::vector<double> y(n, 1.0);
        lu.Solve(y.data());
        ExpectClose(y, DenseSolve(a, std::vector<double>(n, 1.0)));
    }
}

TEST(SparseLu, RefactorsNewNumbersOfTheSamePatternOrPivotsAnew) {
    std::mt19937 rng(11);
    const int n = 80;
    Dense a = RandomSystem(rng, n);
    CSparseLu lu;
    ASSERT_TRUE(lu.Factor(ColumnsOf(a), 1e-12));
    const size_t entries = lu.Entries();
    for (auto& row : a)
        for (double& v : row)
            if (v != 0.0) v *= 1.0 + 0.1 * std::sin(v * 1e3);
    ASSERT_TRUE(lu.Refactor(ColumnsOf(a), 1e-12));
    EXPECT_EQ(lu.Entries(), entries);
    std::vector<double> x(n, 1.0);
    lu.Solve(x.data());
    ExpectClose(x, DenseSolve(a, std::vector<double>(n, 1.0)));

    // A new pattern is no refactorisation; Update factors it afresh.
    a[0][n - 1] = a[0][n - 1] == 0.0 ? 0.5 : 0.0;
    EXPECT_FALSE(lu.Refactor(ColumnsOf(a), 1e-12));
    ASSERT_TRUE(lu.Update(ColumnsOf(a), 1e-12));
    x.assign(n, 1.0);
    lu.Solve(x.data());
    ExpectClose(x, DenseSolve(a, std::vector<double>(n, 1.0)));

    // A kept pivot that became zero: the refactorisation declines, Update pivots anew.
    const Dense swapped = {{1.0, 2.0}, {3.0, 4.0}};
    ASSERT_TRUE(lu.Factor(ColumnsOf(swapped), 1e-12));  // pivots on the 3
    const Dense other = {{1.0, 2.0}, {1e-300, 4.0}};
    EXPECT_FALSE(lu.Refactor(ColumnsOf(other), 1e-12));
    EXPECT_FALSE(lu.Ready());
    ASSERT_TRUE(lu.Update(ColumnsOf(other), 1e-12));
    std::vector<double> z = {3.0, 8.0};
    lu.Solve(z.data());
    EXPECT_NEAR(z[0], -1.0, 1e-15);
    EXPECT_NEAR(z[1], 2.0, 1e-15);
}

TEST(SparseLu, RefusesSingularSystems) {
    CSparseLu lu;
    // An empty column: an unknown nothing determines (a floating node).
    EXPECT_FALSE(lu.Factor(ColumnsOf({{1.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {0.0, 0.0, 1.0}}), 1e-12));
    EXPECT_FALSE(lu.Ready());
    // Two parallel sources: equal rows.
    EXPECT_FALSE(lu.Factor(ColumnsOf({{1.0, -1.0, 0.0}, {1.0, -1.0, 0.0}, {0.0, 1.0, 1.0}}), 1e-12));
    // A dependence that cancels only to rounding noise counts as singular too.
    const double part = 1.0 / 49.0;  // part * 49 is 1 - 1.1e-16
    EXPECT_FALSE(lu.Factor(ColumnsOf({{1.0, 49.0}, {part, 1.0}}), 1e-12));
    EXPECT_TRUE(lu.Factor(ColumnsOf({{1.0, 49.0}, {part, 1.0}}), 0.0));
    EXPECT_TRUE(lu.Factor(ColumnsOf({{1.0, 49.0}, {part, 1.0 + 1e-9}}), 1e-12));
    // Size 0 is trivially factored.
    CSparseColumns none;
    none.Clear(0);
    EXPECT_TRUE(lu.Factor(none, 1e-12));
}

TEST(SparseLu, AMatrixMetAgainTakesItsNumbersBackBitForBit) {
    // Three matrices of one pattern in turn, as a converter's Euler and
    // trapezoidal steps of one state: each is refactored once, then its
    // numbers come back and solve exactly as on the first time.
    std::mt19937 rng(11);
    const Dense base = RandomSystem(rng, 40);
    const double scales[] = {1.0, 3.0, 0.5};
    const int kinds = static_cast<int>(std::size(scales));
    CSparseLu lu;
    std::vector<std::vector<double>> first(kinds);
    for (int round = 0; round < 4; ++round) {
        for (int k = 0; k < kinds; ++k) {
            Dense a = base;
            for (int i = 0; i < 40; ++i) a[i][i] += scales[k];
            ASSERT_TRUE(lu.Update(ColumnsOf(a), 1e-12));
            std::vector<double> x(40, 1.0);
            lu.Solve(x.data());
            if (round == 0) {
                ExpectClose(x, DenseSolve(a, std::vector<double>(40, 1.0)));
                first[k] = x;
            } else {
                EXPECT_EQ(0, std::memcmp(x.data(), first[k].data(), x.size() * sizeof(double))) << k;
            }
        }
    }
    EXPECT_EQ(lu.NumbersReused(), 3 * kinds);
    // A rounding threshold of its own is another matrix; so is one more than
    // the numbers kept, which pushes the oldest out.
    Dense a = base;
    for (int i = 0; i < 40; ++i) a[i][i] += scales[0];
    ASSERT_TRUE(lu.Update(ColumnsOf(a), 1e-11));
    EXPECT_EQ(lu.NumbersReused(), 3 * kinds);
    // A full factorisation chooses a new order: numbers of the old one never come back.
    ASSERT_TRUE(lu.Factor(ColumnsOf(a), 1e-12));
    ASSERT_TRUE(lu.Update(ColumnsOf(a), 1e-12));
    EXPECT_EQ(lu.NumbersReused(), 3 * kinds + 1);  // the numbers Factor just made
    Dense b = base;
    for (int i = 0; i < 40; ++i) b[i][i] += scales[1];
    ASSERT_TRUE(lu.Update(ColumnsOf(b), 1e-12));
    EXPECT_EQ(lu.NumbersReused(), 3 * kinds + 1);
}

TEST(SparseLu, AChainIsFactoredWithoutFill) {
    // A ladder: each unknown meets its two neighbours; numbered badly on purpose.
    const int n = 500;
    std::vector<int> place(n);
    for (int i = 0; i < n; ++i) place[i] = (i * 7) % n;  // 7 and 500 are coprime
    Dense a(n, std::vector<double>(n, 0.0));
    for (int i = 0; i < n; ++i) {
        a[place[i]][place[i]] = 2.5;
        if (i > 0) a[place[i]][place[i - 1]] = a[place[i - 1]][place[i]] = -1.0;
    }
    const CSparseColumns c = ColumnsOf(a);
    CSparseLu lu;
    ASSERT_TRUE(lu.Factor(c, 1e-12));
    EXPECT_EQ(lu.Entries(), c.row.size());
    std::vector<double> x(n, 1.0);
    lu.Solve(x.data());
    ExpectClose(x, DenseSolve(a, std::vector<double>(n, 1.0)));
    // The order is a permutation.
    std::vector<int32_t> order = qz3::MinimumDegreeOrder(c);
    std::sort(order.begin(), order.end());
    for (int i = 0; i < n; ++i) EXPECT_EQ(order[i], i);
}

}  // namespace

namespace {

TEST(SparseLuSet, EachPatternIsFactoredOnceAndThenRefactored) {
    qz3::CSparseLuSet set;
    const Dense one = {{4.0, 1.0, 0.0}, {1.0, 4.0, 1.0}, {0.0, 1.0, 4.0}};
    const Dense two = {{4.0, 0.0, 1.0}, {0.0, 4.0, 0.0}, {1.0, 0.0, 4.0}};
    for (int round = 0; round < 5; ++round) {
        for (const Dense* a : {&one, &two}) {
            Dense scaled = *a;
            for (auto& row : scaled)
                for (double& v : row) v *= 1.0 + round;
            const CSparseLu* lu = set.Update(ColumnsOf(scaled), 1e-12);
            ASSERT_NE(lu, nullptr);
            std::vector<double> x = {1.0, 2.0, 3.0};
            lu->Solve(x.data());
            ExpectClose(x, DenseSolve(scaled, {1.0, 2.0, 3.0}));
        }
    }
    EXPECT_EQ(set.Count(), 2);
    EXPECT_EQ(set.FullFactorisations(), 2);
    // A singular matrix gives no factors; its pattern keeps a place, and its
    // column order, for the next time.
    for (int again = 0; again < 2; ++again)
        EXPECT_EQ(set.Update(ColumnsOf({{1.0, 1.0}, {1.0, 1.0}}), 1e-12), nullptr);
    EXPECT_EQ(set.Count(), 3);
    // Values of a known pattern that turn singular, and back: the factors the
    // failure left are never refactored.
    const Dense lost = {{1.0, 1.0, 0.0}, {1.0, 2.0, 1.0}, {0.0, 1.0, 1.0}};
    EXPECT_EQ(set.Update(ColumnsOf(lost), 1e-12), nullptr);
    const CSparseLu* back = set.Update(ColumnsOf(one), 1e-12);
    ASSERT_NE(back, nullptr);
    std::vector<double> x = {1.0, 2.0, 3.0};
    back->Solve(x.data());
    ExpectClose(x, DenseSolve(one, {1.0, 2.0, 3.0}));
    set.Clear();
    EXPECT_EQ(set.Count(), 0);
}

}  // namespace
