// The switching search: infinite unknowns, IC repair, cycles, limits, time-out.
#include <cmath>
#include <string>

#include "solver/run_fixture.h"

using qz3::CCalc;
using qz3::test::RunDoc;

TEST(CalcSwitching, ParallelSourcesOfDifferentValueAreAnInfiniteCurrent) {
    RunDoc equal;
    equal.Probe("V1", 0, 1, 2.0);
    equal.Probe("V2", 0, 1, 2.0);
    equal.R("R1", 1, 0, 10.0);
    ASSERT_TRUE(equal.doc.Start()) << equal.doc.RunError();
    EXPECT_EQ(equal.X(1), 2.0);

    RunDoc clash;
    clash.Probe("V1", 0, 1, 1.0);
    clash.Probe("V2", 0, 1, 2.0);
    clash.R("R1", 1, 0, 10.0);
    EXPECT_FALSE(clash.doc.Start());
    // Both branch currents are infinite: one line each.
    EXPECT_EQ(clash.doc.RunError(), "Infinite current : V1\nInfinite current : V2");
    EXPECT_FALSE(clash.doc.m_Running);
}

TEST(CalcSwitching, CapacitorLoopGivesUpAnIcAndRuns) {
    RunDoc loop;
    auto* c1 = loop.C("C1", 0, 1, 1e-6, 1.0);
    auto* c2 = loop.C("C2", 0, 1, 1e-6, 2.0);
    loop.R("R1", 1, 0, 1e3);
    ASSERT_TRUE(loop.doc.Start()) << loop.doc.RunError();
    // One IC stood, the other went; both now hold the node's voltage.
    const double v0 = loop.X(1);
    EXPECT_TRUE(v0 == 1.0 || v0 == 2.0) << v0;
    EXPECT_EQ(c1->v, loop.X(1));
    EXPECT_EQ(c2->v, loop.X(1));
    EXPECT_EQ(c1->ic.m_Value, 1.0);
    EXPECT_EQ(c2->ic.m_Value, 2.0);
    ASSERT_TRUE(loop.doc.Simulate(1e-3, 2)) << loop.doc.RunError();
    // 2 uF through 1 kOhm.
    EXPECT_NEAR(loop.X(1), v0 * std::exp(-0.5), 1e-6);
}

TEST(CalcSwitching, FloatingCapacitorPairRunsAtZero) {
    RunDoc pair;
    pair.C("C1", 1, 2, 1e-6, std::nan(""));
    pair.C("C2", 2, 1, 1e-6, std::nan(""));
    ASSERT_TRUE(pair.doc.Simulate(1e-4, 0)) << pair.doc.RunError();
    EXPECT_EQ(pair.X(1), 0.0);
    EXPECT_EQ(pair.X(2), 0.0);
}

TEST(CalcSwitching, ReportInfiniteNamesTheOwnerOnce) {
    RunDoc doc;
    doc.R("R1", 1, 0, 1.0);
    doc.C("C1", 1, 0, 1e-6, 1.0);
    doc.R("R2", 2, 0, 1.0);
    ASSERT_TRUE(doc.Prepare()) << doc.calc.m_Error;
    CCalc& c = doc.calc;
    ASSERT_EQ(c.m_Size, 4);  // nodes 1, 2 and the capacitor's branch 3
    c.m_Error.clear();
    c.NodeBad[1] = 255;
    c.NodeBad[3] = 255;
    c.ReportInfinite();
    EXPECT_EQ(c.m_Error, "Infinite voltage : R1, C1\nInfinite current : C1");
    c.ReportInfinite();
    EXPECT_EQ(c.m_Error, "Infinite voltage : R1, C1\nInfinite current : C1");
    c.m_Error.clear();
    c.NodeBad[1] = c.NodeBad[3] = 0;
    c.NodeBad[2] = 255;
    c.NodeDriver[2].cmp = c.m_Cmps[2];
    c.ReportInfinite();
    EXPECT_EQ(c.m_Error, "Infinite voltage : R2");
}

TEST(CalcSwitching, CoarseZeroSkipsTheSearch) {
    RunDoc doc;
    auto* probe = doc.Probe("P1", 1, 0);
    doc.R("R1", 1, 0, 1.0);
    ASSERT_TRUE(doc.Prepare());
    doc.calc.m_Zero = 1e-7;
    EXPECT_EQ(doc.calc.SolveSwitching(false), 0);
    EXPECT_EQ(probe->stamps, 0);
    EXPECT_EQ(doc.calc.m_Zero, 1e-7);
}

TEST(CalcSwitching, RestlessElementEndsWithNoSolutionAndItsName) {
    RunDoc doc;
    auto* probe = doc.Probe("P1", 1, 0);
    probe->restless = true;
    doc.R("R1", 1, 0, 1.0);
    ASSERT_TRUE(doc.Prepare());
    const double zero = doc.calc.m_Zero;
    EXPECT_EQ(doc.calc.SolveSwitching(false), 6);
    EXPECT_EQ(doc.calc.m_Error, "No solution  while calculating switching triggered by P1");
    // Five rounds of rounding, each back to the state the search began with.
    EXPECT_EQ(probe->state, 0);
    EXPECT_EQ(doc.calc.m_Zero, zero);
    EXPECT_EQ(doc.calc.m_Snapshots.Count(), 0);
    EXPECT_EQ(doc.calc.m_IterLimit[0], 10);
    EXPECT_FALSE(doc.doc.Start());
    EXPECT_EQ(doc.doc.RunError(), "No solution  while calculating switching triggered by P1");
}

TEST(CalcSwitching, TimeOutCountsWholeSecondsOfTheStep) {
    RunDoc doc;
    doc.Probe("P1", 1, 0)->restless = true;
    doc.R("R1", 1, 0, 1.0);
    ASSERT_TRUE(doc.Prepare());
    doc.doc.m_Advanced.m_Timeout = 1;
    // Truncated to whole seconds, 1.9 s is not more than 1.
    doc.calc.m_Ticks = CCalc::ClockMs() - 1900;
    doc.calc.m_IterLimit[0] = 3;
    EXPECT_EQ(doc.calc.TrySwitching(false, 0, 0), 6);
    doc.calc.m_Ticks = CCalc::ClockMs() - 5000;
    EXPECT_EQ(doc.calc.SolveSwitching(false), 4);
    EXPECT_EQ(doc.calc.m_Error, "Time-out while calculating switching : reason unknown");
    doc.calc.m_Trigger = doc.calc.m_Cmps[0];
    EXPECT_EQ(doc.calc.TrySwitching(false, 0, 1), 4);
    EXPECT_EQ(doc.calc.m_Error, "Time-out while calculating switching triggered by P1");
    doc.doc.m_Advanced.m_Timeout = 0;
    EXPECT_EQ(doc.calc.TrySwitching(false, 0, 0), 6);
}

// A turn reads no clock until its search looks at the time-out; the search
// then counts from that first look, and a turn without one never reads it.
TEST(CalcSwitching, TimeOutClockIsReadOnlyByTheSearch) {
    RunDoc doc;
    doc.Probe("P1", 1, 0)->restless = true;
    doc.R("R1", 1, 0, 1.0);
    ASSERT_TRUE(doc.Prepare());
    doc.doc.m_Advanced.m_Timeout = 1;
    doc.calc.m_Ticks = CCalc::kTicksUnread;
    doc.calc.m_IterLimit[0] = 40;
    EXPECT_EQ(doc.calc.TrySwitching(false, 0, 0), 6);
    EXPECT_NE(doc.calc.m_Ticks, CCalc::kTicksUnread);
    EXPECT_LE(doc.calc.m_Ticks, CCalc::ClockMs());
    // Looked at every 16 iterations: a search already late is caught at its first.
    doc.calc.m_Ticks = CCalc::ClockMs() - 5000;
    EXPECT_EQ(doc.calc.TrySwitching(false, 0, 0), 4);

    RunDoc rc;
    rc.R("R1", 1, 2, 1e3);
    rc.C("C1", 0, 2, 1e-6, 1.0);
    ASSERT_TRUE(rc.doc.Start()) << rc.doc.RunError();
    rc.doc.m_Advanced.m_Timeout = 1;
    while (rc.calc.m_State != CCalc::StateTrap) ASSERT_TRUE(rc.calc.StepOnce()) << rc.calc.m_Error;
    ASSERT_TRUE(rc.calc.StepOnce()) << rc.calc.m_Error;
    EXPECT_EQ(rc.calc.m_Ticks, CCalc::kTicksUnread);
}

TEST(CalcSwitching, SnapshotsFindRepeatedStateSets) {
    RunDoc doc;
    auto* p1 = doc.Probe("P1", 1, 0);
    auto* p2 = doc.Probe("P2", 1, 0);
    ASSERT_TRUE(doc.Prepare());
    CCalc& c = doc.calc;
    EXPECT_FALSE(c.SnapshotSeen());
    ASSERT_TRUE(c.PushSnapshot());
    EXPECT_FALSE(c.SnapshotSeen());
    p1->state = 1;
    ASSERT_TRUE(c.PushSnapshot());
    EXPECT_FALSE(c.SnapshotSeen());
    p1->state = 0;
    ASSERT_TRUE(c.PushSnapshot());
    EXPECT_TRUE(c.SnapshotSeen());
    p2->state = 1;
    ASSERT_TRUE(c.PushSnapshot());
    EXPECT_FALSE(c.SnapshotSeen());
    c.ClearSnapshots();
    EXPECT_EQ(c.m_Snapshots.Count(), 0);
}

TEST(CalcSwitching, UnlimitedPassRaisesTheLimitItNeeded) {
    // A probe that settles after 25 moves: restless until its state reaches 24.
    struct Counting : qz3::test::CProbe {
        bool CheckSegment(qz3::CSolverPort* calc, bool commit) override {
            if (state >= 24) return false;
            if (commit) ++state;
            return true;
        }
    };
    RunDoc slow;
    auto* counting = slow.Add(new Counting, "P1", 1, 0);
    slow.R("R1", 1, 0, 1.0);
    ASSERT_TRUE(slow.Prepare());
    EXPECT_EQ(slow.calc.TrySwitching(false, 2, 1), 0);
    EXPECT_EQ(counting->state, 24);
    EXPECT_EQ(slow.calc.m_IterLimit[2], 35);
}
