// The switching search's retries. When an attempt finds no consistent set of
// states, the search loosens the problem step by step: one change at a time,
// a soft open of the element that triggered it, leaky open diodes, a leak on
// floating node groups; each in a limited and then an unlimited pass; and
// then all again with a tenfold coarser rounding to zero.
#include <functional>
#include <memory>
#include <vector>

#include "components/elem_d.h"
#include "components/elem_fixture.h"
#include "solver/run_fixture.h"

namespace {

using qz3::CCalc;
using qz3::CSolverPort;
using qz3::test::RunDoc;

// What was in force when the search asked the element to move.
struct Attempt {
    bool firstOnly = false;
    bool softOpen = false;
    bool leaky = false;
    bool floatFix = false;
    double zero = 0.0;
    bool operator==(const Attempt&) const = default;
};

// An element that moves between two states whenever it is asked, unless the
// attempt in force suits it. It offers no segments to try, so an attempt
// that doesn't suit it ends as soon as its two states repeat.
struct Picky : qz3::test::CProbe {
    std::function<bool(const Attempt&)> suits = [](const Attempt&) { return false; };
    std::vector<Attempt> attempts;  // one entry per attempt, in order

    bool CheckSegment(CSolverPort* port, bool commit) override {
        const auto* calc = static_cast<const CCalc*>(port);
        const Attempt now{calc->FirstOnly(), softOpen, calc->m_Leaky, calc->m_FloatFix, calc->Zero()};
        if (commit && (attempts.empty() || !(attempts.back() == now))) attempts.push_back(now);
        if (suits(now)) return false;
        if (commit) state = 1 - state;
        return true;
    }
    bool CanSoftOpen() const override { return true; }
};

Picky* AddPicky(RunDoc& doc) {
    auto* picky = doc.Add(new Picky, "P1", 1, 0);
    doc.R("R1", 1, 0, 1.0);
    return picky;
}

// The whole chain, in its order, when nothing ever suits the element: five
// roundings, two passes each, five attempts per pass.
TEST(CalcFallback, EveryRetryIsTriedInItsOrder) {
    RunDoc doc;
    Picky* picky = AddPicky(doc);
    ASSERT_TRUE(doc.Prepare());
    const double zero = doc.calc.m_Zero;
    EXPECT_EQ(doc.calc.SolveSwitching(false), 6);
    EXPECT_EQ(doc.calc.m_Error, "No solution  while calculating switching triggered by P1");

    std::vector<Attempt> expected;
    double z = zero;
    for (int round = 0; round < 5; ++round, z *= 10.0) {
        for (int pass = 0; pass < 2; ++pass) {
            expected.push_back({false, false, false, false, z});
            expected.push_back({true, false, false, false, z});
            expected.push_back({false, true, false, false, z});
            expected.push_back({false, false, true, false, z});
            expected.push_back({false, false, false, true, z});
        }
    }
    ASSERT_EQ(picky->attempts.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) EXPECT_TRUE(picky->attempts[i] == expected[i]) << "attempt " << i;
    // Every relaxation is lifted again, and the state is where it began.
    EXPECT_FALSE(doc.calc.FirstOnly() || doc.calc.m_Leaky || doc.calc.m_FloatFix || picky->softOpen);
    EXPECT_EQ(doc.calc.m_Zero, zero);
    EXPECT_EQ(picky->state, 0);
}

// Each retry on its own finds the states when it is what the element needs,
// and the search stops there with its relaxation lifted.
TEST(CalcFallback, EachRetryEndsTheSearchWhenItSuits) {
    const struct {
        const char* name;
        std::function<bool(const Attempt&)> suits;
        size_t attempts;  // the attempt that succeeds, counted from 1
    } rows[] = {
        {"one at a time", [](const Attempt& a) { return a.firstOnly; }, 2},
        {"soft open", [](const Attempt& a) { return a.softOpen; }, 3},
        {"leaky diodes", [](const Attempt& a) { return a.leaky; }, 4},
        {"floating groups", [](const Attempt& a) { return a.floatFix; }, 5},
        {"coarser rounding", [](const Attempt& a) { return a.zero > 5e-11; }, 21},
    };
    for (const auto& row : rows) {
        RunDoc doc;
        Picky* picky = AddPicky(doc);
        picky->suits = row.suits;
        ASSERT_TRUE(doc.Prepare());
        EXPECT_EQ(doc.calc.SolveSwitching(false), 0) << row.name << ": " << doc.calc.m_Error;
        EXPECT_EQ(picky->attempts.size(), row.attempts) << row.name;
        EXPECT_FALSE(doc.calc.FirstOnly() || doc.calc.m_Leaky || doc.calc.m_FloatFix || picky->softOpen) << row.name;
    }
}

// The soft-open retry is offered to the element that triggered the failed
// attempt only if its stamp honours it: the ideal diodes of the diode family
// (diode, zener, thyristor, bridge), not their tables nor other elements.
TEST(CalcFallback, SoftOpenIsForTheIdealDiodes) {
    using qz3::test::MakeElem;
    EXPECT_TRUE(MakeElem<qz3::CElemD>("D_D", "Diode")->CanSoftOpen());
    EXPECT_TRUE(MakeElem<qz3::CElemD>("D_Z", "Zener")->CanSoftOpen());
    EXPECT_TRUE(MakeElem<qz3::CElemD>("D_VCT", "Thyristor")->CanSoftOpen());
    EXPECT_TRUE(MakeElem<qz3::CElemD>("D_BR", "Diode")->CanSoftOpen());
    EXPECT_FALSE(MakeElem<qz3::CElemD>("D_D", "PWL")->CanSoftOpen());
    EXPECT_FALSE(MakeElem<qz3::CElemD>("D_D", "Storage")->CanSoftOpen());
    EXPECT_FALSE(MakeElem<qz3::CCmp>("R_R")->CanSoftOpen());

    // An element that cannot open softly is not asked: the chain skips the step.
    struct Stiff : Picky {
        bool CanSoftOpen() const override { return false; }
    };
    RunDoc doc;
    auto* stiff = doc.Add(new Stiff, "P1", 1, 0);
    doc.R("R1", 1, 0, 1.0);
    ASSERT_TRUE(doc.Prepare());
    EXPECT_EQ(doc.calc.SolveSwitching(false), 6);
    for (const Attempt& a : stiff->attempts) EXPECT_FALSE(a.softOpen);
    EXPECT_EQ(stiff->attempts.size(), 40u);
}

}  // namespace
