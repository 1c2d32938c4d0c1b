// Switching circuits run end to end through the C interface and held to
// their analytic answers: an LC tank, rectifiers, a buck converter,
// thyristors, and diode sets whose states must be searched.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "circuit_run.h"

namespace {

using qz3test::Bisect;
using qz3test::Circuit;
using qz3test::Example;
using qz3test::MeanOver;
using qz3test::Series;
using qz3test::TestCircuit;
using qz3test::ZeroCrossings;

constexpr double kPi = 3.14159265358979323846;

// First recorded time at or after `from` where the predicate holds.
template <class P>
double FirstTime(const Series& s, double from, P holds) {
    for (size_t i = 0; i < s.size(); ++i)
        if (s.t[i] >= from && holds(s.y[i])) return s.t[i];
    return NAN;
}

TEST(Switching, LcTankKeepsItsPeriodAndEnergy) {
    constexpr double L = 1e-3, C = 1e-6;
    const double period = 2 * kPi * std::sqrt(L * C);
    Circuit c(Example("lc_tank.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(20.5 * period));
    EXPECT_NEAR(c.At("V(C1)", 0.0), 1.0, 1e-12);
    const Series v = c.Read("V(C1)");
    const Series i = c.Read("I(L1)");
    ASSERT_EQ(v.size(), i.size());

    for (int direction : {+1, -1}) {
        const auto crossings = ZeroCrossings(v, direction);
        ASSERT_GE(crossings.size(), 20u) << direction;
        const double measured = (crossings.back() - crossings.front()) / double(crossings.size() - 1);
        EXPECT_NEAR(measured / period, 1.0, 1e-4) << "direction " << direction;
    }

    // The trapezoidal rule keeps the energy of a lossless tank; only the few
    // Euler steps at the start may take a little.
    auto energy = [&](size_t k) { return 0.5 * C * v.y[k] * v.y[k] + 0.5 * L * i.y[k] * i.y[k]; };
    const double e0 = 0.5 * C;
    double low = INFINITY, high = 0;
    for (size_t k = 0; k < v.size(); ++k) {
        if (v.t[k] < period) continue;
        low = std::min(low, energy(k));
        high = std::max(high, energy(k));
    }
    EXPECT_GT(low, e0 * (1 - 1e-3));
    EXPECT_LE(high, e0 * (1 + 1e-9));
    EXPECT_LT((high - low) / high, 1e-7);

    // Peak voltage in the last period, against the second one.
    auto peak = [&](double from, double to) {
        double p = 0;
        for (size_t k = 0; k < v.size(); ++k)
            if (v.t[k] >= from && v.t[k] <= to) p = std::max(p, std::fabs(v.y[k]));
        return p;
    };
    const double early = peak(period, 2 * period), late = peak(19.5 * period, 20.5 * period);
    EXPECT_NEAR(late, early, 1e-4);
    EXPECT_GT(late, 0.999);
}

TEST(Switching, HalfWaveRectifierPeaksAndSwitchesOnTime) {
    constexpr double A = 10, Vd = 0.7, R = 1e3, C = 100e-6, T = 20e-3, step = 10e-6;
    const double w = 2 * kPi / T;
    Circuit c(Example("half_wave_rectifier.qz3"));
    QZ3_START_OR_SKIP(c);

    // At the crest the diode conducts and the output is the source less Vd.
    ASSERT_TRUE(c.RunTo(T / 4));
    double t = 0;
    EXPECT_NEAR(c.Last("V(R1)", &t), A - Vd, 1e-6);
    EXPECT_NEAR(t, T / 4, 1e-15);
    ASSERT_TRUE(c.RunTo(1.5 * T));

    const Series vout = c.Read("V(R1)"), vin = c.Read("V(V1)"), id = c.Read("I(D1)");
    ASSERT_EQ(vout.size(), id.size());
    for (size_t k = 0; k < vout.size(); ++k) {
        EXPECT_LE(vout.y[k], A - Vd + 1e-6) << vout.t[k];
        if (id.y[k] > 0) EXPECT_NEAR(vout.y[k], vin.y[k] - Vd, 1e-9) << vout.t[k];
        EXPECT_GE(id.y[k], 0.0) << id.t[k];
    }

    // Conduction begins when the source exceeds Vd over the empty capacitor,
    // ends after the crest when the capacitor current outweighs the load's,
    // and begins again when the sine catches up with the decaying output.
    const double tOn = std::asin(Vd / A) / w;
    const double tOff = Bisect([&](double x) { return w * R * C * std::cos(w * x) + std::sin(w * x) - Vd / A; },
                               T / 4, T / 2) ;
    const double vOff = A * std::sin(w * tOff) - Vd;
    const double tOn2 = Bisect([&](double x) { return A * std::sin(w * x) - Vd - vOff * std::exp(-(x - tOff) / (R * C)); },
                               T, T + T / 4);
    // Events are bracketed down to the smallest step, an eighth of the step.
    const double located = 0.25 * step;
    EXPECT_NEAR(FirstTime(id, 0, [](double i) { return i > 0; }), tOn, located);
    EXPECT_NEAR(FirstTime(id, T / 4, [](double i) { return i <= 0; }), tOff, located);
    EXPECT_NEAR(FirstTime(id, tOff + step, [](double i) { return i > 0; }), tOn2, located);
}

TEST(Switching, BuckConverterSettlesAtHalfTheInput) {
    constexpr double step = 0.5e-6, period = 10e-6;
    Circuit c(Example("buck_converter.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_EQ(QZ3_Simulate(c.ncir, 11e-3), 0) << QZ3_GetError();
    EXPECT_STREQ(QZ3_GetError(), "OK");

    const Series vout = c.Read("Vout"), il = c.Read("I(L1)");
    EXPECT_NEAR(MeanOver(vout, 10e-3, 11e-3), 6.0, 0.005 * 6.0);
    EXPECT_NEAR(MeanOver(il, 10e-3, 11e-3), 1.2, 0.01 * 1.2);  // pin 1 to pin 0: towards the load

    // No step is shorter than the smallest one; two points at one time are
    // the two sides of a switching event.
    double shortest = INFINITY;
    for (size_t k = 1; k < vout.size(); ++k) {
        const double dt = vout.t[k] - vout.t[k - 1];
        ASSERT_GE(dt, 0.0) << vout.t[k];
        if (dt > 0) shortest = std::min(shortest, dt);
    }
    EXPECT_GE(shortest, 0.125 * step * (1 - 1e-9));

    // Every edge of the drive is a recorded time point.
    size_t next = 0;
    int missing = 0;
    for (int edge = 2000; edge <= 2200; ++edge) {
        const double te = edge * period / 2;
        while (next < vout.size() && vout.t[next] < te - 1e-10) ++next;
        if (next == vout.size() || std::fabs(vout.t[next] - te) > 1e-10) ++missing;
    }
    EXPECT_EQ(missing, 0);
}

// At a fine step a run makes hundreds of thousands of additions to its time.
// Each edge must still be taken at its own time and not a smallest step
// late: the inductor current rises only while the switch is on and never
// while it is off, between every pair of points of one half period.
TEST(Switching, BuckConverterTakesEveryEdgeOnTimeAtAFineStep) {
    constexpr double step = 2e-8, half = 5e-6;
    Circuit c(Example("buck_converter.qz3"));
    ASSERT_EQ(QZ3_SetStep(c.ncir, step), 0) << QZ3_GetError();
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(3e-3));
    const Series il = c.Read("I(L1)");
    ASSERT_GT(il.size(), 150000u);

    // The half period a time lies in, counting a time within a part in 1e9
    // of an edge as on it.
    auto halfOf = [&](double t, bool after) {
        const double h = t / half, edge = std::round(h);
        if (std::fabs(h - edge) < 1e-9 * std::max(1.0, edge)) return after ? edge : edge - 1;
        return std::floor(h);
    };
    int wrong = 0;
    double firstWrong = NAN;
    for (size_t k = 1; k < il.size(); ++k) {
        const double t0 = il.t[k - 1], t1 = il.t[k];
        const double n = halfOf(t0, true);
        if (t1 <= t0 || halfOf(t1, false) != n) continue;
        const bool on = std::fmod(n, 2.0) == 0.0;
        const double rise = il.y[k] - il.y[k - 1];
        if (on ? rise < 0 : rise > 1e-12) {
            if (!wrong) firstWrong = t0;
            ++wrong;
        }
    }
    EXPECT_EQ(wrong, 0) << "first at t = " << firstWrong;
}

TEST(Switching, ThyristorLatchesOnlyAboveItsHoldingCurrent) {
    constexpr double step = 10e-6;
    Circuit c(TestCircuit("switching_thyristor.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(4e-3));
    // The gate is high from 1 ms to 2 ms. TH1 carries 93 mA, below its
    // holding current of 1 A; TH2 carries 9.3 A.
    EXPECT_EQ(c.At("I(TH1)", 0.5e-3), 0.0);
    EXPECT_EQ(c.At("I(TH2)", 0.5e-3), 0.0);
    EXPECT_NEAR(c.At("I(TH1)", 1.5e-3), 9.3 / 100, 1e-9);
    EXPECT_NEAR(c.At("I(TH2)", 1.5e-3), 9.3, 1e-9);
    EXPECT_EQ(c.At("I(TH1)", 3e-3), 0.0);
    EXPECT_NEAR(c.At("I(TH2)", 3e-3), 9.3, 1e-9);
    EXPECT_NEAR(c.Last("I(TH2)"), 9.3, 1e-9);
    // A gate edge is a scheduled time. The first step behind it is taken
    // with the thyristor still blocked, since only the state test after a
    // step reads the gate; that test arms it, and the next first step
    // (a quarter of the nominal step each) finds it conducting.
    const Series i1 = c.Read("I(TH1)");
    const double firstStep = step * 0.25;
    const double on = FirstTime(i1, 0, [](double i) { return i > 0; });
    EXPECT_NEAR(on, 1e-3 + 2 * firstStep, 1e-15);
    EXPECT_EQ(c.At("I(TH1)", 1e-3 + firstStep), 0.0);
    EXPECT_NEAR(FirstTime(i1, 1.5e-3, [](double i) { return i <= 0; }), 2e-3, step);
}

// The end of a gate pulse is a scheduled time. Steps that are undone and
// halved in front of it must see the gate still high, and a run that ends its
// interval exactly there must go on.
TEST(Switching, GateStaysHighUpToTheEndOfItsPulse) {
    for (const double slice : {4e-3, 1e-4, 1e-5}) {
        Circuit c(TestCircuit("switching_thyristor.qz3"));
        QZ3_START_OR_SKIP(c);
        for (double end = slice; end < 4e-3 + slice / 2; end += slice) ASSERT_TRUE(c.RunTo(end)) << slice;
        double t = 0;
        ASSERT_EQ(QZ3_GetSimulationTime(c.ncir, &t), 0);
        EXPECT_NEAR(t, 4e-3, 1e-15);
        const Series vg = c.Read("V(VG)"), i1 = c.Read("I(TH1)");
        ASSERT_EQ(vg.size(), i1.size());
        for (size_t i = 0; i < vg.size(); ++i) {
            if (vg.t[i] <= 1.011e-3 || vg.t[i] >= 2e-3 * (1 - 1e-12)) continue;
            EXPECT_EQ(vg.y[i], 10.0) << "slice " << slice << " t=" << vg.t[i];
            EXPECT_NEAR(i1.y[i], 9.3 / 100, 1e-9) << "slice " << slice << " t=" << i1.t[i];
        }
        // The point on the corner closes the top; the low level follows the break.
        EXPECT_EQ(c.At("V(VG)", 2e-3), 10.0) << slice;
        const double low = FirstTime(vg, 1.5e-3, [](double v) { return v <= 0; });
        EXPECT_GT(low, 2e-3) << slice;
        EXPECT_LE(low, 2e-3 + 10e-6) << slice;
        EXPECT_EQ(c.At("I(TH1)", 3e-3), 0.0);
    }
}

// The gate falls at 2 ms, the end of a slice: the event found just before
// it is resolved by a shortened first step, and each slice still lands.
TEST(Switching, IntervalsEndingOnAGateEdgeLandAndGoOn) {
    Circuit c(TestCircuit("switching_thyristor.qz3"));
    QZ3_START_OR_SKIP(c);
    for (int k = 1; k <= 100; ++k) {
        ASSERT_EQ(QZ3_SimulateInterval(c.ncir, 40e-6), 0) << "slice " << k << ": " << QZ3_GetError();
        double now = 0;
        QZ3_GetSimulationTime(c.ncir, &now);
        ASSERT_NEAR(now, k * 40e-6, 1e-15) << k;
    }
    EXPECT_EQ(c.At("I(TH1)", 3e-3), 0.0);
    EXPECT_NEAR(c.Last("I(TH2)"), 9.3, 1e-9);
}

TEST(Switching, BridgeRectifierGivesTheMagnitudeLessTwoDrops) {
    constexpr double A = 10, Vd = 0.7, T = 20e-3;
    Circuit c(TestCircuit("switching_bridge.qz3"));
    QZ3_START_OR_SKIP(c);
    for (int k = 1; k <= 32; ++k) {
        const double t = k * T / 16;
        ASSERT_TRUE(c.RunTo(t));
        const double vin = A * std::sin(2 * kPi * t / T);
        EXPECT_NEAR(c.Last("Vin"), vin, 1e-9) << t;
        EXPECT_NEAR(c.Last("Vout"), std::max(std::fabs(vin) - 2 * Vd, 0.0), 1e-6) << t;
    }
}

TEST(Switching, DiodesThatTurnEachOtherOffAreSettledOrReported) {
    {
        // Both diodes on fight over the node voltage, both off leave it
        // floating: the search escapes the cycle with the lower drop on.
        Circuit c(TestCircuit("switching_diode_cycle.qz3"));
        QZ3_START_OR_SKIP(c);
        EXPECT_NEAR(c.Last("V(D1)"), 0.5, 1e-9);
        EXPECT_NEAR(c.Last("I(D2)"), 1e-3, 1e-12);
        EXPECT_EQ(c.Last("I(D1)"), 0.0);
        ASSERT_EQ(QZ3_Simulate(c.ncir, 1e-3), 0) << QZ3_GetError();
        EXPECT_NEAR(c.Last("I(D2)"), 1e-3, 1e-12);
    }
    {
        // The source pulls against both diodes: no set of states holds.
        Circuit c(TestCircuit("switching_no_solution.qz3"));
        const int rc = QZ3_Start(c.ncir);
        const std::string error = QZ3_GetError();
        QZ3_SKIP_IF_MISSING(error);
        EXPECT_EQ(rc, -1);
        EXPECT_EQ(error.rfind("QZ3_Start: ", 0), 0u) << error;
        EXPECT_NE(error.find("No solution "), std::string::npos) << error;
        EXPECT_NE(error.find("triggered by D1"), std::string::npos) << error;
    }
}

}  // namespace
