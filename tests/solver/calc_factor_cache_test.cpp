// Kept trapezoidal factorisations: the same run with and without them, the
// count of eliminations, the byte budget, and a restart that forgets them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "document/doc.h"
#include "solver/calc.h"
#include "solver/factor_cache.h"

namespace {

using qz3::CCalc;
using qz3::CDoc;
using qz3::CFactorCache;
using qz3::CFactorEntry;
using qz3::CFactorHasher;
using qz3::CFactorKey;

const std::string kBuck = std::string(QZ3_SOURCE_DIR) + "/examples/buck_converter.qz3";

bool CloseTo(double a, double b) { return std::fabs(a - b) <= 1e-12 * std::max(std::fabs(a), std::fabs(b)); }

CFactorEntry EntryOf(uint64_t word, int values) {
    CFactorHasher h;
    h.Add(word);
    CFactorEntry e;
    e.key = h.Key();
    e.b.assign(static_cast<size_t>(values), 1.0);
    return e;
}

TEST(CalcFactorCache, BuckConverterGivesTheSamePointsWithFewerEliminations) {
    CDoc kept, plain;
    ASSERT_EQ(kept.Load(kBuck), 0) << kept.m_LastError;
    ASSERT_EQ(plain.Load(kBuck), 0) << plain.m_LastError;
    plain.m_Calc->m_FactorCache.SetBudget(0);
    ASSERT_TRUE(kept.Start()) << kept.RunError();
    ASSERT_TRUE(plain.Start()) << plain.RunError();
    CCalc& a = *kept.m_Calc;
    CCalc& b = *plain.m_Calc;
    ASSERT_EQ(a.m_Total, b.m_Total);
    int turns = 0;
    while (a.m_Time < 2e-3) {
        ASSERT_TRUE(a.StepOnce()) << a.m_Error;
        ASSERT_TRUE(b.StepOnce()) << b.m_Error;
        ASSERT_EQ(a.m_Time, b.m_Time) << "turn " << turns;
        ASSERT_EQ(a.m_State, b.m_State) << "turn " << turns;
        for (int i = 0; i < a.m_Total; ++i)
            ASSERT_TRUE(CloseTo(a.VecX[i], b.VecX[i])) << "turn " << turns << " x" << i << ": " << a.VecX[i]
                                                        << " against " << b.VecX[i];
        ++turns;
    }
    // 200 periods, two events each: every event needs a factorisation, but the
    // converter meets only a few distinct systems.
    EXPECT_GT(b.m_FactorCount, 300);
    EXPECT_EQ(b.m_FactorHits, 0);
    EXPECT_EQ(a.m_FactorCount + a.m_FactorHits, b.m_FactorCount);
    EXPECT_LT(a.m_FactorCount * 10, b.m_FactorCount);
    EXPECT_EQ(a.m_FactorCache.Count(), a.m_FactorCount);
    EXPECT_EQ(b.m_FactorCache.Count(), 0);

    // A new start forgets what the last run kept.
    ASSERT_TRUE(kept.Start()) << kept.RunError();
    EXPECT_EQ(a.m_FactorCache.Count(), 0);
    EXPECT_EQ(a.m_FactorCount, 0);
}

TEST(CalcFactorCache, BudgetDropsTheLeastRecentlyUsed) {
    CFactorCache cache;
    const size_t one = EntryOf(1, 100).Bytes();
    cache.SetBudget(2 * one + one / 2);
    cache.Store(EntryOf(1, 100));
    cache.Store(EntryOf(2, 100));
    const CFactorKey k1 = EntryOf(1, 100).key, k2 = EntryOf(2, 100).key, k3 = EntryOf(3, 100).key;
    ASSERT_NE(cache.Find(k1), nullptr);  // 1 is now the most recent
    cache.Store(EntryOf(3, 100));
    EXPECT_EQ(cache.Count(), 2);
    EXPECT_NE(cache.Find(k1), nullptr);
    EXPECT_EQ(cache.Find(k2), nullptr);
    EXPECT_NE(cache.Find(k3), nullptr);
    EXPECT_LE(cache.Bytes(), cache.Budget());
    // An entry larger than the whole budget is not kept, and a budget of 0 keeps nothing.
    cache.Store(EntryOf(4, 1000));
    EXPECT_EQ(cache.Find(EntryOf(4, 1000).key), nullptr);
    cache.SetBudget(0);
    EXPECT_EQ(cache.Count(), 0);
    EXPECT_EQ(cache.Bytes(), 0u);
}

TEST(CalcFactorCache, KeysTellWordsAndBitsApart) {
    CFactorHasher zero, negativeZero, one, swapped1, swapped2;
    zero.AddDouble(0.0);
    negativeZero.AddDouble(-0.0);
    one.AddDouble(1.0);
    swapped1.Add(1);
    swapped1.Add(2);
    swapped2.Add(2);
    swapped2.Add(1);
    EXPECT_FALSE(zero.Key() == negativeZero.Key());
    EXPECT_FALSE(zero.Key() == one.Key());
    EXPECT_FALSE(swapped1.Key() == swapped2.Key());
    CFactorHasher again;
    again.AddDouble(1.0);
    EXPECT_TRUE(again.Key() == one.Key());
}

}  // namespace
