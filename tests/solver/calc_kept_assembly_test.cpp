// The Euler phase of a large circuit takes its assembly and its factors back
// instead of making them again: the same run, bit for bit.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "document/doc.h"
#include "solver/calc.h"

namespace {

using qz3::CCalc;
using qz3::CDoc;

// The circuits are small; lowering the size of the sparse ways sends them
// through the row store, where the Euler phase keeps what it can.
void LoadAsLarge(CDoc& doc, const std::string& file, bool keep) {
    ASSERT_EQ(doc.Load(file), 0) << doc.m_LastError;
    doc.m_Calc->m_SparseTrapMinSize = 1;
    doc.m_Calc->m_KeepAssemblies = keep;
    ASSERT_TRUE(doc.Start()) << doc.RunError();
}

// Runs both in lockstep to `end` and compares every turn; the kept run's calc.
void ExpectSameRuns(CDoc& kept, CDoc& plain, double end) {
    CCalc& a = *kept.m_Calc;
    CCalc& b = *plain.m_Calc;
    ASSERT_EQ(a.m_Total, b.m_Total);
    for (int turn = 0; a.m_Time < end; ++turn) {
        const bool okA = a.StepOnce(), okB = b.StepOnce();
        ASSERT_EQ(okA, okB) << "turn " << turn << ": " << a.m_Error << " / " << b.m_Error;
        ASSERT_EQ(a.m_Error, b.m_Error) << "turn " << turn;
        if (!okA) return;
        ASSERT_EQ(a.m_Time, b.m_Time) << "turn " << turn;
        ASSERT_EQ(a.m_State, b.m_State) << "turn " << turn;
        ASSERT_EQ(0, std::memcmp(a.VecX, b.VecX, sizeof(double) * static_cast<size_t>(a.m_Total))) << "turn " << turn;
        ASSERT_EQ(0, std::memcmp(a.NodeBad, b.NodeBad, static_cast<size_t>(a.m_Size))) << "turn " << turn;
    }
}

TEST(CalcKeptAssembly, EulerPhasesGiveTheSameRunsBitForBit) {
    struct Case {
        const char* file;
        double end;
    };
    // A converter (an event every half period), a rectifier whose diode
    // turns off inside steps, and switchings that need the loosened searches.
    const Case cases[] = {
        {"/examples/buck_converter.qz3", 3e-3},
        {"/examples/half_wave_rectifier.qz3", 30e-3},
        {"/tests/circuits/switching_inductor_cut.qz3", 2e-3},
        {"/tests/circuits/switching_diode_cycle.qz3", 2e-3},
        {"/tests/circuits/switching_bridge.qz3", 20e-3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        const std::string file = std::string(QZ3_SOURCE_DIR) + c.file;
        CDoc kept, plain;
        LoadAsLarge(kept, file, true);
        LoadAsLarge(plain, file, false);
        ExpectSameRuns(kept, plain, c.end);
        EXPECT_GT(kept.m_Calc->m_AssemblyReuses, 0);
        EXPECT_GT(kept.m_Calc->m_EulerReuses, 0);
        EXPECT_EQ(plain.m_Calc->m_AssemblyReuses, 0);
        EXPECT_EQ(plain.m_Calc->m_EulerReuses, 0);
    }
}

TEST(CalcKeptAssembly, EveryEulerPhaseOfAConverterAssemblesOnce) {
    CDoc doc;
    LoadAsLarge(doc, std::string(QZ3_SOURCE_DIR) + "/examples/buck_converter.qz3", true);
    CCalc& calc = *doc.m_Calc;
    while (calc.m_Time < 2e-3) ASSERT_TRUE(calc.StepOnce()) << calc.m_Error;
    // Each event: the first Euler step and the factorisation take the
    // search's assembly back, and so do the steps of the rest of the phase;
    // the factors of a step come back for the next of the same length.
    const int64_t events = calc.m_FactorCount;
    EXPECT_GT(events, 300);
    EXPECT_GE(calc.m_AssemblyReuses, 4 * events);
    EXPECT_GE(calc.m_EulerReuses, 2 * events);

    // A component outside the rule keeps every assembly fresh; a new start
    // decides again and forgets the counts.
    calc.m_KeepAssemblies = false;
    ASSERT_TRUE(doc.Start()) << doc.RunError();
    while (calc.m_Time < 1e-3) ASSERT_TRUE(calc.StepOnce()) << calc.m_Error;
    EXPECT_EQ(calc.m_AssemblyReuses, 0);
    EXPECT_EQ(calc.m_EulerReuses, 0);
}

}  // namespace
