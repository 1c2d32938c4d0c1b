// Singular systems of a large circuit taken from their records: the same run,
// bit for bit, as eliminating each one anew.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "document/doc.h"
#include "solver/calc.h"

namespace {

using qz3::CCalc;
using qz3::CDoc;

const std::string kBuck = std::string(QZ3_SOURCE_DIR) + "/examples/buck_converter.qz3";

// The converter is small; lowering the size of the sparse ways sends it
// through the row store and the sparse factors, whose singular trial states
// of the switching search then go through Gauss-Jordan.
void LoadAsLarge(CDoc& doc, size_t recordBytes) {
    ASSERT_EQ(doc.Load(kBuck), 0) << doc.m_LastError;
    doc.m_Calc->m_SparseTrapMinSize = 1;
    doc.m_Calc->m_SingularRecords.SetBudget(recordBytes);
    ASSERT_TRUE(doc.Start()) << doc.RunError();
}

TEST(CalcSingularSolve, RecordsGiveTheSameRunBitForBit) {
    // Records kept; none (the plain elimination every time); and a budget
    // too small for any record, which must leave the run as it is.
    CDoc kept, plain, tight;
    LoadAsLarge(kept, qz3::CSingularRecords::kDefaultBudget);
    LoadAsLarge(plain, 0);
    LoadAsLarge(tight, 256);
    CCalc& a = *kept.m_Calc;
    CCalc& b = *plain.m_Calc;
    CCalc& c = *tight.m_Calc;
    ASSERT_EQ(a.m_Total, b.m_Total);
    for (int turn = 0; a.m_Time < 3e-3; ++turn) {
        ASSERT_TRUE(a.StepOnce()) << a.m_Error;
        for (CCalc* other : {&b, &c}) {
            ASSERT_TRUE(other->StepOnce()) << other->m_Error;
            ASSERT_EQ(a.m_Time, other->m_Time) << "turn " << turn;
            ASSERT_EQ(a.m_State, other->m_State) << "turn " << turn;
            ASSERT_EQ(0, std::memcmp(a.VecX, other->VecX, sizeof(double) * static_cast<size_t>(a.m_Total)))
                << "turn " << turn;
            ASSERT_EQ(0, std::memcmp(a.NodeBad, other->NodeBad, static_cast<size_t>(a.m_Size))) << "turn " << turn;
        }
    }
    EXPECT_EQ(c.m_SingularRecords.Count(), 0);
    EXPECT_EQ(c.m_SingularHits, 0);
    EXPECT_EQ(c.m_SingularSolves, b.m_SingularSolves);
    // The search meets singular states at every event, but only a few distinct ones.
    EXPECT_GT(b.m_SingularSolves, 150);
    EXPECT_EQ(b.m_SingularHits, 0);
    EXPECT_EQ(a.m_SingularSolves, b.m_SingularSolves);
    EXPECT_GT(a.m_SingularHits * 10, a.m_SingularSolves * 9);
    EXPECT_EQ(a.m_SingularRecords.Count(), a.m_SingularSolves - a.m_SingularHits);

    // A new start forgets the records: its own first solves are new again.
    ASSERT_TRUE(kept.Start()) << kept.RunError();
    EXPECT_EQ(a.m_SingularHits, 0);
    EXPECT_EQ(a.m_SingularRecords.Count(), a.m_SingularSolves);
}

}  // namespace
