// Ideal windings and transformers through the C interface, at DC where an
// ideal core passes any voltage: ratios of voltage and current, and power
// that balances over all windings of one core.
#include <gtest/gtest.h>

#include <cmath>

#include "circuit_run.h"
#include "qz3.h"

using qz3test::Circuit;
using qz3test::TestCircuit;

namespace {

struct Readings {
    const Circuit& c;
    double Last(int trace) const {
        double t = NAN, y = NAN;
        EXPECT_EQ(QZ3_GetLastData(c.ncir, trace, &t, &y), 0) << QZ3_GetError();
        return y;
    }
};

}  // namespace

TEST(Windings, RatiosAndPowerBalance) {
    Circuit c(TestCircuit("windings.qz3"));
    const int vT = QZ3_AddVTrace(c.ncir, "RT"), iT = QZ3_AddITrace(c.ncir, "VT"), iRT = QZ3_AddITrace(c.ncir, "RT");
    const int iW = QZ3_AddITrace(c.ncir, "VW"), v2 = QZ3_AddVTrace(c.ncir, "R2"), v3 = QZ3_AddVTrace(c.ncir, "R3");
    const int iD = QZ3_AddITrace(c.ncir, "VD"), vA = QZ3_AddVTrace(c.ncir, "RA"), vB = QZ3_AddVTrace(c.ncir, "RB");
    const int vC = QZ3_AddVTrace(c.ncir, "RC"), iC = QZ3_AddITrace(c.ncir, "VC");
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(3e-3));
    const Readings r{c};

    // n = 2: the voltage doubles, the current halves.
    EXPECT_NEAR(r.Last(vT), 6.0, 1e-9);
    EXPECT_NEAR(std::fabs(r.Last(iRT)), 0.06, 1e-12);
    EXPECT_NEAR(std::fabs(r.Last(iT)), 2.0 * 0.06, 1e-12);

    // Three windings of 1, 2 and 3 turns on one magnetic node: 2 V per turn;
    // the source delivers what the two loads take.
    EXPECT_NEAR(r.Last(v2), 4.0, 1e-9);
    EXPECT_NEAR(r.Last(v3), 6.0, 1e-9);
    const double loads = 4.0 * 4.0 / 10 + 6.0 * 6.0 / 30;
    EXPECT_NEAR(2.0 * std::fabs(r.Last(iW)), loads, 1e-9);

    // The centre tap splits the second winding into two equal halves of
    // opposite sign against it.
    EXPECT_NEAR(r.Last(vA), -1.0, 1e-9);
    EXPECT_NEAR(r.Last(vB), 1.0, 1e-9);
    EXPECT_NEAR(std::fabs(r.Last(iD)), 2.0, 1e-9);

    // A box of two windings, 1 and 3 turns; the dot on the second reverses
    // it, so its first pin carries the +3 V that its second would otherwise.
    EXPECT_NEAR(r.Last(vC), 3.0, 1e-9);
    EXPECT_NEAR(std::fabs(r.Last(iC)), 3.0 * 3.0 / 9, 1e-9);
}
