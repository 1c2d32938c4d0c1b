// The generators against their analytic shapes, driven by a small stepping
// loop that behaves like the transient solver: it steps by the largest step,
// shortened to the generator's stepMax and to its next corner.
#include "waveforms/signal_wave.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace qz3 {
namespace {

constexpr double kPi = 3.14159265358;

struct Track {
    std::vector<double> times;
    std::vector<double> values;
    bool stalled = false;
};

Track Drive(CSignalWave& wave, double tEnd, double maxStep, int stepLimit = 200000) {
    Track track;
    double t = 0.0;
    wave.StartWave(t, true);
    track.times.push_back(t);
    track.values.push_back(wave.WaveValue(t));
    for (int n = 0; n < stepLimit && t < tEnd; ++n) {
        const CSignalEvent ev = wave.WaveEvent(t, maxStep);
        double next = t + (ev.hasMax ? std::min(maxStep, ev.stepMax) : maxStep);
        if (ev.hasNext && ev.tNext < next) next = ev.tNext;
        if (!(next > t)) {
            track.stalled = true;
            break;
        }
        t = next;
        track.times.push_back(t);
        track.values.push_back(wave.WaveValue(t));
    }
    return track;
}

bool Lands(const Track& track, double corner) {
    return std::any_of(track.times.begin(), track.times.end(),
                       [&](double t) { return std::fabs(t - corner) <= 1e-12 * std::fabs(corner); });
}

CSignalWave Pulse(ModelId model, double u0, double u1, double p, double w, double r, double f, double d) {
    CSignalWave wave;
    wave.m_Model = model;
    wave.m_Num.u0 = u0;
    wave.m_Num.u1 = u1;
    wave.m_Num.period = p;
    wave.m_Num.width = w;
    wave.m_Num.rise = r;
    wave.m_Num.fall = f;
    wave.m_Num.delay = d;
    return wave;
}

// The trapezoid of a linear pulse train at time t.
double TrapezoidAt(double t, double u0, double u1, double p, double w, double r, double f, double d) {
    if (t < d) return u0;
    const double e = std::isinf(p) ? t - d : std::fmod(t - d, p);
    if (e < r) return u0 + (u1 - u0) * e / r;
    if (e < w) return u1;
    if (e < w + f) return u1 - (u1 - u0) * (e - w) / f;
    return u0;
}

TEST(SignalWave, PulseLandsOnEveryCornerAndFollowsTheTrapezoid) {
    const double p = 1e-3, w = 0.4e-3, r = 0.1e-3, f = 0.2e-3, d = 0.25e-3;
    CSignalWave wave = Pulse(ModelId::Pulse, -1.0, 5.0, p, w, r, f, d);
    const Track track = Drive(wave, 5e-3, 1e-4);
    ASSERT_FALSE(track.stalled);
    for (int k = 0; k < 4; ++k)
        for (double corner : {0.0, r, w, w + f, p}) EXPECT_TRUE(Lands(track, d + k * p + corner)) << k << " " << corner;
    for (size_t i = 0; i < track.times.size(); ++i)
        EXPECT_NEAR(track.values[i], TrapezoidAt(track.times[i], -1.0, 5.0, p, w, r, f, d), 1e-9) << track.times[i];
}

TEST(SignalWave, SharpPulseJumpsAtDelayAndWidth) {
    CSignalWave wave = Pulse(ModelId::Pulse, 0.0, 1.0, 1.0, 0.3, 0.0, 0.0, 0.1);
    const Track track = Drive(wave, 2.5, 0.07);
    ASSERT_FALSE(track.stalled);
    for (double corner : {0.1, 0.4, 1.1, 1.4, 2.1, 2.4}) EXPECT_TRUE(Lands(track, corner)) << corner;
    // The landing point keeps the old level; the next point has the new one.
    for (size_t i = 1; i < track.times.size(); ++i) {
        const double t = track.times[i];
        const double e = std::fmod(t - 0.1, 1.0);
        if (t > 0.1 + 1e-9 && e > 1e-9 && e < 0.3 - 1e-9) EXPECT_EQ(track.values[i], 1.0) << t;
        if (t > 0.1 && e > 0.3 + 1e-9 && e < 1.0 - 1e-9) EXPECT_EQ(track.values[i], 0.0) << t;
        if (t > 0.1 && std::fabs(e - 0.3) < 1e-9) {
            EXPECT_EQ(track.values[i], 1.0) << "falling corner " << t;
            ASSERT_LT(i + 1, track.times.size());
            EXPECT_EQ(track.values[i + 1], 0.0) << "after the falling corner " << t;
        }
    }
    // Landed a hair before or exactly on the falling corner, the top still
    // holds; a time past it (a step that overran the corner) is low.
    CSignalWave top = Pulse(ModelId::Pulse, 0.0, 1.0, 1.0, 0.3, 0.0, 0.0, 0.1);
    top.StartWave(0.2, true);
    for (const double t : {0.4 - 1e-16, 0.4, 0.4 + 1e-17}) EXPECT_EQ(top.WaveValue(t), 1.0) << t;
    EXPECT_EQ(top.WaveValue(0.4 + 1e-9), 0.0);
}

// A step that lands on a corner and is then undone and halved asks for
// earlier times again: they get the shape that held there.
TEST(SignalWave, TimesBeforeACornerKeepTheirShapeAfterLandingOnIt) {
    struct Case {
        double fall, rise, landOn, askAt, expected;
    };
    // Single pulse 0 -> 10 from d = 1, w = 2: top from 1 + r, fall from 3.
    const Case cases[] = {
        {0.0, 0.0, 3.0, 2.5, 10.0},   // sharp end: half steps before it stay high
        {0.0, 0.0, 3.0, 3.0, 10.0},   // the corner keeps the top until the break moves it on
        {0.5, 0.0, 3.25, 2.9, 10.0},  // in the fall, back before its start
        {0.5, 0.0, 3.25, 3.1, 8.0},   // in the fall, back inside it
        {0.0, 1.0, 3.0, 1.5, 5.0},    // back into the rise
    };
    for (const Case& c : cases) {
        CSignalWave wave = Pulse(ModelId::Single, 0.0, 10.0, 1.0, 2.0, c.rise, c.fall, 1.0);
        wave.StartWave(0.0, true);
        for (double t = 0.0; t < c.landOn; t += 0.25) wave.WaveEvent(t, 0.25);
        wave.WaveValue(c.landOn);
        EXPECT_NEAR(wave.WaveValue(c.askAt), c.expected, 1e-12) << c.landOn << " -> " << c.askAt;
    }
}

TEST(SignalWave, SinglePulseEndsLowAndCosineEdgesAreSmooth) {
    CSignalWave wave = Pulse(ModelId::Single, 0.0, 2.0, 1.0, 0.5, 0.2, 0.1, 0.3);
    wave.m_Slope = ssCos;
    const Track track = Drive(wave, 3.0, 0.01);
    for (double corner : {0.3, 0.5, 0.8, 0.9}) EXPECT_TRUE(Lands(track, corner)) << corner;
    for (size_t i = 0; i < track.times.size(); ++i) {
        const double t = track.times[i], e = t - 0.3;
        double expected = 0.0;
        if (e > 0 && e < 0.2) expected = (1 - std::cos(e / 0.2 * kPi)) * 2.0 * 0.5;
        else if (e >= 0.2 && e < 0.5) expected = 2.0;
        else if (e >= 0.5 && e < 0.6) expected = 2.0 - (1 - std::cos((e - 0.5) / 0.1 * kPi)) * 2.0 * 0.5;
        EXPECT_NEAR(track.values[i], expected, 1e-9) << t;
    }
    EXPECT_EQ(track.values.back(), 0.0);
    EXPECT_EQ(wave.m_Stage, sgDone);
}

TEST(SignalWave, ExponentialPulseReachesTheLevelsAtTheCorners) {
    CSignalWave single = Pulse(ModelId::Single, 1.0, 3.0, 1.0, 0.5, 0.1, 0.2, 0.0);
    single.m_Slope = ssExp;
    single.StartWave(0.0, true);
    single.WaveEvent(0.0, 0.01);
    EXPECT_NEAR(single.WaveValue(0.5), 3.0, 1e-12);
    const double rise = 1.0 + 2.0 * (1 - std::exp(-0.25 / 0.1)) / (1 - std::exp(-0.5 / 0.1));
    EXPECT_NEAR(single.WaveValue(0.25), rise, 1e-12);
    EXPECT_NEAR(single.WaveValue(0.7), -2.0 * (1 - std::exp(-1.0)) + 3.0, 1e-12);

    CSignalWave train = Pulse(ModelId::Pulse, 1.0, 3.0, 1.0, 0.5, 0.1, 0.2, 0.0);
    train.m_Slope = ssExp;
    train.StartWave(0.0, true);
    train.WaveEvent(0.0, 0.01);
    // The periodic fall is scaled so that it ends at u0 at the next period.
    EXPECT_NEAR(train.WaveValue(1.0), 1.0, 1e-12);
    EXPECT_NEAR(train.WaveValue(0.6), -2.0 * (1 - std::exp(-0.5)) / (1 - std::exp(-2.5)) + 3.0, 1e-12);
}

TEST(SignalWave, StepRisesFromTheDelay) {
    CSignalWave wave = Pulse(ModelId::Step, 1.0, 4.0, 1.0, 0.5, 0.2, 0.0, 0.5);
    const Track track = Drive(wave, 1.5, 0.03);
    EXPECT_TRUE(Lands(track, 0.5));
    EXPECT_TRUE(Lands(track, 0.7));
    for (size_t i = 0; i < track.times.size(); ++i) {
        const double t = track.times[i];
        const double expected = t <= 0.5 ? 1.0 : t >= 0.7 ? 4.0 : 1.0 + 3.0 * (t - 0.5) / 0.2;
        EXPECT_NEAR(track.values[i], expected, 1e-9) << t;
    }
    CSignalWave sharp = Pulse(ModelId::Step, 0.0, 1.0, 1.0, 0.5, 0.0, 0.0, 0.5);
    sharp.StartWave(0.0, true);
    EXPECT_EQ(sharp.WaveValue(0.4), 0.0);
    EXPECT_EQ(sharp.WaveValue(0.5), 1.0);
    CSignalWave expStep = Pulse(ModelId::Step, 0.0, 1.0, 1.0, 0.5, 0.1, 0.0, 0.0);
    expStep.m_Slope = ssExp;
    expStep.StartWave(0.0, true);
    expStep.WaveEvent(0.0, 0.01);
    EXPECT_NEAR(expStep.WaveValue(0.1), 1.0 - std::exp(-1.0), 1e-12);
    CSignalWave idle = Pulse(ModelId::Step, 7.0, 1.0, 1.0, 0.5, 0.0, 0.0, 0.0);
    idle.StartWave(0.5, false);
    EXPECT_EQ(idle.WaveValue(0.6), 7.0);
}

TEST(SignalWave, SineWithPhaseDecayAndDelay) {
    CSignalWave wave;
    wave.m_Model = ModelId::Sin;
    wave.m_Num = CSignalNumbers{};
    wave.m_Num.u0 = 0.5;
    wave.m_Num.u1 = 2.0;
    wave.m_Num.period = 0.02;
    wave.m_Num.phase = 30.0;
    wave.m_Num.decay = 5.0;
    wave.m_Num.delay = 0.013;
    const Track track = Drive(wave, 0.1, 1e-3);
    ASSERT_FALSE(track.stalled);
    EXPECT_TRUE(Lands(track, 0.013));
    for (size_t i = 0; i < track.times.size(); ++i) {
        const double t = track.times[i];
        double expected = 0.5;
        if (t >= 0.013)
            expected = 0.5 + 2.0 * std::exp(-5.0 * (t - 0.013)) *
                                 std::sin((30.0 / 360.0 + (t - 0.013) / 0.02) * 2 * kPi);
        EXPECT_NEAR(track.values[i], expected, 1e-9) << t;
        if (t >= 0.013) EXPECT_LE(track.times[i] - track.times[i - 1], 0.02 / 16 * (1 + 1e-12));
    }
    // A run that starts inside the sine picks up its phase.
    wave.StartWave(0.05, true);
    const double t = 0.051;
    EXPECT_NEAR(wave.WaveValue(t),
                0.5 + 2.0 * std::exp(-5.0 * (t - 0.013)) * std::sin((30.0 / 360.0 + (t - 0.013) / 0.02) * 2 * kPi),
                1e-9);
}

CSignalWave Sweep(double f0, double f1, double w, int type) {
    CSignalWave wave;
    wave.m_Model = ModelId::Sweep;
    wave.m_Num.u0 = 0.0;
    wave.m_Num.u1 = 1.0;
    wave.m_Num.f0 = f0;
    wave.m_Num.f1 = f1;
    wave.m_Num.width = w;
    wave.m_Num.delay = 0.0;
    wave.m_SweepType = type;
    return wave;
}

TEST(SignalWave, SweepFrequenciesFitWholeCycles) {
    struct Row { double f0, f1, w; int type; double fa, fb; };
    const Row rows[] = {
        {100, 10000, 1.0, swLinear, 100, 10000},   // 5050 cycles already
        {100, 10001, 1.0, swLinear, 100, 10002},   // 5050.5 rounds up to 5051
        {10001, 100, 1.0, swLinear, 10002, 100},   // a falling sweep moves the higher too
        {50.5, 50.5, 1.0, swLinear, 51, 51},
        {0, 0, 0.25, swLinear, 4, 4},
    };
    for (const Row& row : rows) {
        CSignalWave wave = Sweep(row.f0, row.f1, row.w, row.type);
        wave.AdjustSweep();
        EXPECT_DOUBLE_EQ(wave.m_Fa, row.fa) << row.f0 << " " << row.f1;
        EXPECT_DOUBLE_EQ(wave.m_Fb, row.fb) << row.f0 << " " << row.f1;
    }
    CSignalWave expo = Sweep(0, 1000, 1.0, swExp);
    expo.AdjustSweep();
    EXPECT_DOUBLE_EQ(expo.m_Fa, 0.01);
    const double k = 1.0 / std::log(expo.m_Fb / expo.m_Fa);
    const double cycles = k * (expo.m_Fb - expo.m_Fa);
    EXPECT_GE(expo.m_Fb, 1000.0);
    EXPECT_NEAR(cycles, std::round(cycles), 1e-3);
}

TEST(SignalWave, SweepRunsFromF0ToF1AndEndsAtTheWidth) {
    for (int type : {swLinear, swExp}) {
        CSignalWave wave = Sweep(10, 1000, 0.5, type);
        wave.m_Num.delay = 0.1;
        const Track track = Drive(wave, 0.8, 1e-3);
        ASSERT_FALSE(track.stalled);
        EXPECT_TRUE(Lands(track, 0.1));
        EXPECT_TRUE(Lands(track, 0.6));
        for (size_t i = 1; i < track.times.size(); ++i) {
            const double t = track.times[i], e = t - 0.1;
            double cycles;
            if (type == swLinear) {
                cycles = e * e * 0.5 / 0.5 * (wave.m_Fb - wave.m_Fa) + wave.m_Fa * e;
            } else {
                const double k = 0.5 / std::log(wave.m_Fb / wave.m_Fa);
                cycles = (std::exp(e / k) - 1) * wave.m_Fa * k;
            }
            const double expected = (e > 0 && e < 0.5 - 1e-12) ? std::sin(cycles * 6.28318530716) : 0.0;
            EXPECT_NEAR(track.values[i], expected, 1e-9) << t;
            // Sixteen steps per cycle of the present frequency at the least.
            const double fNow = type == swLinear ? wave.m_Fa + (wave.m_Fb - wave.m_Fa) * e / 0.5
                                                 : wave.m_Fa * std::exp(e * std::log(wave.m_Fb / wave.m_Fa) / 0.5);
            if (e > 0 && e < 0.5) EXPECT_LE(track.times[i] - track.times[i - 1], 1.0 / (16 * fNow) * 1.0001) << t;
        }
    }
}

TEST(SignalWave, ClockIsHighForOneStepAtEachEdge) {
    CSignalWave wave = Pulse(ModelId::Clock, 0.0, 5.0, 0.25, 0.0, 0.0, 0.0, 0.1);
    wave.m_Num.clockStep = 1e-6;
    wave.StartWave(0.0, true);
    double t = 0.0;
    std::vector<double> edges;
    for (int n = 0; n < 400 && t < 1.0; ++n) {
        const CSignalEvent ev = wave.WaveEvent(t, 0.1);
        if (wave.ClockPending()) {
            edges.push_back(t);
            EXPECT_TRUE(wave.IsHigh());
            EXPECT_EQ(wave.WaveValue(t), 5.0);
            ASSERT_TRUE(ev.hasMin);
            EXPECT_EQ(ev.stepMin, 1e-6);
            wave.ClockClose();
            EXPECT_EQ(wave.WaveValue(t), 0.0);
        }
        double next = t + (ev.hasMax ? std::min(0.1, ev.stepMax) : 0.1);
        if (ev.hasNext && ev.tNext < next) next = ev.tNext;
        ASSERT_GT(next, t);
        t = next;
    }
    ASSERT_EQ(edges.size(), 4u);
    for (size_t k = 0; k < edges.size(); ++k) EXPECT_NEAR(edges[k], 0.1 + 0.25 * k, 1e-12);
}

TEST(SignalWave, DegenerateParametersNeverStall) {
    struct Row { ModelId model; double p, w, r, f; };
    const Row rows[] = {
        {ModelId::Pulse, 0.0, 0.5, 0.0, 0.0},   // period 0
        {ModelId::Pulse, 1.0, 3.0, 0.0, 0.0},   // width above period
        {ModelId::Pulse, 1.0, 0.5, 2.0, 0.0},   // rise above width and period
        {ModelId::Pulse, 1.0, 0.7, 0.1, 0.6},   // fall running into the next period
        {ModelId::Pulse, 1.0, 0.0, 0.0, 0.0},   // no width at all
        {ModelId::Pulse, -1.0, 0.5, 0.1, 0.1},  // negative period
        {ModelId::Pulse, NAN, 0.5, 0.1, 0.1},
        {ModelId::Single, 1.0, 0.0, 0.0, 0.0},
        {ModelId::Single, 1.0, 0.5, -1.0, -1.0},
        {ModelId::Step, 1.0, 0.5, 0.0, 0.0},
        {ModelId::Clock, 0.0, 0.0, 0.0, 0.0},
        {ModelId::Clock, INFINITY, 0.0, 0.0, 0.0},
        {ModelId::Sin, 0.0, 0.0, 0.0, 0.0},
    };
    for (const Row& row : rows) {
        CSignalWave wave = Pulse(row.model, 0.0, 1.0, row.p, row.w, row.r, row.f, 0.2);
        const Track track = Drive(wave, 4.0, 0.05, 1000);
        EXPECT_FALSE(track.stalled) << static_cast<int>(row.model) << " " << row.p << " " << row.w;
        EXPECT_GE(track.times.back(), 4.0) << static_cast<int>(row.model) << " " << row.p << " " << row.w;
    }
    CSignalWave sweep = Sweep(100, 100, 0.0, swLinear);
    EXPECT_FALSE(Drive(sweep, 1.0, 0.05, 1000).stalled);
    CSignalWave never = Pulse(ModelId::Pulse, 0.0, 1.0, 1.0, 0.5, 0.0, 0.0, INFINITY);
    const Track idle = Drive(never, 1.0, 0.1);
    EXPECT_EQ(*std::max_element(idle.values.begin(), idle.values.end()), 0.0);
}

TEST(SignalWave, StartInsideAPulsePicksTheStage) {
    struct Row { ModelId model; double t; int stage; };
    const Row rows[] = {
        {ModelId::Single, 0.0, sgBefore}, {ModelId::Single, 0.15, sgRise}, {ModelId::Single, 0.4, sgTop},
        {ModelId::Single, 0.65, sgFall},  {ModelId::Single, 0.9, sgDone},  {ModelId::Pulse, 2.15, sgRise},
        {ModelId::Pulse, 3.4, sgTop},     {ModelId::Pulse, 5.65, sgFall},  {ModelId::Pulse, 7.95, sgDone},
    };
    for (const Row& row : rows) {
        CSignalWave wave = Pulse(row.model, 0.0, 1.0, 1.0, 0.5, 0.2, 0.2, 0.1);
        wave.StartWave(row.t, true);
        EXPECT_EQ(wave.m_Stage, row.stage) << static_cast<int>(row.model) << " " << row.t;
        EXPECT_NEAR(wave.WaveValue(row.t), TrapezoidAt(row.t, 0.0, 1.0, 1.0, 0.5, 0.2, 0.2, 0.1), 1e-9);
    }
}

TEST(SignalWave, ShiftKeepsThePhaseOfPeriodicWaves) {
    CSignalWave pulse = Pulse(ModelId::Pulse, 0.0, 1.0, 2.0, 0.5, 0.0, 0.0, 0.0);
    pulse.ShiftDelay(5.0);
    EXPECT_DOUBLE_EQ(pulse.m_Num.delay, -1.0);
    CSignalWave ahead = Pulse(ModelId::Pulse, 0.0, 1.0, 2.0, 0.5, 0.0, 0.0, 3.0);
    ahead.ShiftDelay(1.0);
    EXPECT_DOUBLE_EQ(ahead.m_Num.delay, 2.0);
    CSignalWave whole = Pulse(ModelId::Clock, 0.0, 1.0, 2.0, 0.5, 0.0, 0.0, 0.0);
    whole.ShiftDelay(4.0);
    EXPECT_DOUBLE_EQ(whole.m_Num.delay, -2.0);
    CSignalWave single = Pulse(ModelId::Single, 0.0, 1.0, 2.0, 0.5, 0.0, 0.0, 0.5);
    single.ShiftDelay(5.0);
    EXPECT_DOUBLE_EQ(single.m_Num.delay, -4.5);
}

}  // namespace
}  // namespace qz3

namespace qz3 {
namespace {

// The step ladder of a sweep moves in whole rungs: a step that lands on a
// rung names the next one, never a sliver just behind the rung it stands on.
TEST(SignalWave, SweepLadderLeavesNoSliverSteps) {
    struct Row {
        double f0, f1;
        int type;
    };
    const Row rows[] = {{10, 1000, swLinear}, {10, 1000, swExp}, {1000, 10, swLinear}, {1000, 10, swExp},
                        {1, 100000, swExp}, {100000, 1, swExp}};
    for (const Row& row : rows) {
        CSignalWave wave = Sweep(row.f0, row.f1, 0.5, row.type);
        const Track track = Drive(wave, 0.6, 1e-3);
        ASSERT_FALSE(track.stalled);
        double least = 1.0;
        for (size_t i = 1; i < track.times.size(); ++i)
            least = std::min(least, track.times[i] - track.times[i - 1]);
        // The finest step of the sweep is a sixteenth of the top frequency's
        // cycle over e; anything far below it is a step lost on a rung.
        const double finest = 1.0 / (16.0 * std::max(wave.m_Fa, wave.m_Fb) * 2.72);
        EXPECT_GT(least, finest * 0.01) << row.f0 << " " << row.f1 << " " << row.type;
    }
}

}  // namespace
}  // namespace qz3
