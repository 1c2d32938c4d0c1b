// Amplifiers, comparators and controlled sources in whole circuits,
// through the C interface: gains and limits against their analytic values,
// clipping and comparator switching located as events, oscillators and
// modulators with exact edges, and the messages of bad parameters.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "circuit_run.h"
#include "qz3.h"

namespace {

using qz3test::Circuit;
using qz3test::Series;
using qz3test::TestCircuit;

constexpr double kPi = 3.14159265358979;

Series RunAndRead(Circuit& c, const char* component, double time) {
    const int trace = QZ3_AddVTrace(c.ncir, component);
    EXPECT_GE(trace, 0) << QZ3_GetError();
    EXPECT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    EXPECT_EQ(QZ3_Simulate(c.ncir, time), 0) << QZ3_GetError();
    Series s;
    const int count = QZ3_GetDataSize(c.ncir, trace);
    for (int i = 0; i < count; ++i) {
        double t = NAN, y = NAN;
        EXPECT_EQ(QZ3_GetDataAt(c.ncir, trace, i, &t, &y), 0);
        s.t.push_back(t);
        s.y.push_back(y);
    }
    return s;
}

// Times at which the series leaves one level for another: the time of the
// last point at the old level.
std::vector<double> LevelChanges(const Series& s, double level) {
    std::vector<double> times;
    for (size_t i = 1; i < s.size(); ++i)
        if ((s.y[i - 1] == level) != (s.y[i] == level)) times.push_back(s.y[i - 1] == level ? s.t[i - 1] : s.t[i - 1]);
    return times;
}

std::string StartError(Circuit& c) {
    EXPECT_NE(QZ3_Start(c.ncir), 0);
    return QZ3_GetError();
}

}  // namespace

// A non-inverting amplifier of gain 3 (an ideal op-amp with 2k/1k feedback)
// clips a 15 V sine at +12 V and -10 V: inside the limits the output is
// three times the input, beyond them exactly the limit, and the clipping
// starts and ends where 45 sin(wt) crosses the limits, to within the step
// that follows a located event (1/8 of the 1 us step), not the step itself.
TEST(Amplifiers, NonInvertingAmplifierClipsAtItsLimitsAtTheAnalyticTimes) {
    Circuit c(TestCircuit("amp_clip.qz3"));
    const int in = QZ3_AddVTrace(c.ncir, "RI");
    const Series out = RunAndRead(c, "RL", 2e-3);
    ASSERT_GT(out.size(), 100u);
    for (size_t i = 0; i < out.size(); ++i) {
        double v = NAN;
        ASSERT_EQ(QZ3_GetData(c.ncir, in, out.t[i], &v), 0);
        const double y = out.y[i];
        if (y == 12.0 || y == -10.0) continue;
        EXPECT_LT(y, 12.0);
        EXPECT_GT(y, -10.0);
        EXPECT_NEAR(y, 3.0 * v, 1e-9) << "t=" << out.t[i];
    }
    const double w = 2 * kPi * 1000;
    const double upStart = std::asin(12.0 / 45.0) / w, upEnd = 0.5e-3 - upStart;
    const double loStart = 0.5e-3 + std::asin(10.0 / 45.0) / w, loEnd = 1e-3 - std::asin(10.0 / 45.0) / w;
    const std::vector<double> up = LevelChanges(out, 12.0), lo = LevelChanges(out, -10.0);
    ASSERT_GE(up.size(), 2u);
    ASSERT_GE(lo.size(), 2u);
    const double tolerance = 0.15e-6;
    EXPECT_NEAR(up[0], upStart, tolerance);
    EXPECT_NEAR(up[1], upEnd, tolerance);
    EXPECT_NEAR(lo[0], loStart, tolerance);
    EXPECT_NEAR(lo[1], loEnd, tolerance);
}

// Every amplifier form and the controlled sources at a DC input (2 V and
// 0.5 V): the value each one's model gives, current inputs and a gain
// control included.
TEST(Amplifiers, EachFormAndModelGivesItsTransferValue) {
    Circuit c(TestCircuit("amp_models.qz3"));
    struct Expected {
        const char* load;
        double value;
    };
    const Expected rows[] = {
        {"R2", -5.0},   // "O_O" Linear, K = -2.5
        {"R3", 5.0},    // "O_OS" sums 2 + 0.5, K = 2
        {"R5", 5.0},    // "O_REF": 0.5 + 3 * (2 - 0.5)
        {"R67", 3.0},   // "O_FD": outputs 2 * 1.5 apart
        {"R8", 3.0},    // "O_VC": 1 mA/V * 1.5 V into 2 kOhm
        {"R9", 5.0},    // "Function" s*s+1
        {"R10", 2.5},   // "PWL" slope 2 up to 1, then 0.5
        {"R11", -1.0},  // "V_CCVS" 500 V/A, control current counted from pin 3 to pin 2
        {"R13", -2.0},  // "I_CCCS" 4 A/A likewise
        {"R21", 2.0},   // "O_CV" 1000 V/A of the 2 mA through its shorted input
        {"R23", 6.0},   // "O_CC" 3 A/A of the same 2 mA into 1 kOhm
        {"R25", 2.0},   // "O_VCG" gain 1 while its control (0.5 V) is below 1
    };
    std::vector<int> traces;
    for (const Expected& row : rows) traces.push_back(QZ3_AddVTrace(c.ncir, row.load));
    const int function = QZ3_AddVTrace(c.ncir, "R15");
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(c.ncir, 1e-4), 0) << QZ3_GetError();
    for (size_t i = 0; i < traces.size(); ++i) {
        double t = NAN, y = NAN;
        ASSERT_EQ(QZ3_GetLastData(c.ncir, traces[i], &t, &y), 0);
        EXPECT_NEAR(y, rows[i].value, 1e-12) << rows[i].load;
    }
    // "u*10+t" of a voltage-controlled source, evaluated from the point
    // before (a step of at most 10 us).
    double t = NAN, y = NAN;
    ASSERT_EQ(QZ3_GetLastData(c.ncir, function, &t, &y), 0);
    EXPECT_LE(y, 15.0 + t);
    EXPECT_GE(y, 15.0 + t - 10.5e-6);
}

// A comparator with hysteresis and an RC: it switches at +1 V on the way
// up and at -1 V on the way down, so the period is 2 RC ln(6/4).
TEST(Amplifiers, SchmittTriggerOscillatorHasTheAnalyticPeriod) {
    Circuit c(TestCircuit("amp_schmitt.qz3"));
    const int cap = QZ3_AddVTrace(c.ncir, "C1");
    const Series out = RunAndRead(c, "RL", 4e-3);
    std::vector<double> rises;
    for (size_t i = 1; i < out.size(); ++i)
        if (out.y[i - 1] == -5.0 && out.y[i] == 5.0) rises.push_back(out.t[i - 1]);
    ASSERT_GE(rises.size(), 4u);
    const double period = 2 * 1e-3 * std::log(6.0 / 4.0);
    for (size_t i = 1; i < rises.size(); ++i) EXPECT_NEAR((rises[i] - rises[i - 1]) / period, 1.0, 1e-4);
    double v = NAN;
    ASSERT_EQ(QZ3_GetData(c.ncir, cap, rises[1], &v), 0);
    EXPECT_NEAR(v, -1.0, 1e-3);
}

// A comparator with 2 V of hysteresis and 10 us of delay on a 15 V sine:
// its input passes +1 V and -1 V where 15 sin(wt) does, and the output
// follows each crossing 10 us later (the crossing located to a quarter of
// the 1 us step).
TEST(Amplifiers, ComparatorOutputFollowsItsCrossingsAfterTheDelay) {
    Circuit c(TestCircuit("amp_comparator_delay.qz3"));
    const Series out = RunAndRead(c, "RL", 1e-3);
    std::vector<double> rises, falls;
    for (size_t i = 1; i < out.size(); ++i) {
        if (out.y[i - 1] == -5.0 && out.y[i] == 5.0) rises.push_back(out.t[i - 1]);
        if (out.y[i - 1] == 5.0 && out.y[i] == -5.0) falls.push_back(out.t[i - 1]);
    }
    ASSERT_EQ(rises.size(), 1u);
    ASSERT_EQ(falls.size(), 1u);
    const double crossing = std::asin(1.0 / 15.0) / (2 * kPi * 1000);
    EXPECT_NEAR(rises[0], crossing + 10e-6, 0.3e-6);
    EXPECT_NEAR(falls[0], 0.5e-3 + crossing + 10e-6, 0.3e-6);
}

// An output fed straight back without hysteresis, and an ideal op-amp
// whose only feedback is its own inverting input: the runs end.
TEST(Amplifiers, OutputFedBackWithoutHysteresisEndsTheRun) {
    Circuit c(TestCircuit("amp_feedback_loop.qz3"));
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    const int rc = QZ3_Simulate(c.ncir, 1e-3);
    const std::string error = QZ3_GetError();
    if (rc != 0) EXPECT_FALSE(error.empty());
    double t = 0;
    QZ3_GetSimulationTime(c.ncir, &t);
    EXPECT_TRUE(rc != 0 || std::fabs(t - 1e-3) < 1e-12) << t;
}

// A square "VCO" at 2 V and 1 kHz/V runs at 2 kHz; a "PWM" at 3 V of 10 V
// full scale and 1 kHz is high for exactly 0.3 ms from each period's start.
TEST(ControlledSources, VcoFrequencyFollowsItsControlAndPwmEdgesAreExact) {
    {
        Circuit c(TestCircuit("vcs_vco.qz3"));
        const Series out = RunAndRead(c, "RL", 10e-3);
        int rises = 0;
        for (size_t i = 1; i < out.size(); ++i) rises += out.y[i - 1] == 0.0 && out.y[i] == 5.0;
        EXPECT_EQ(rises, 20);
        // A new control for the next run: 3 kHz.
        ASSERT_EQ(QZ3_SetValue(c.ncir, "VC.V", 3.0), 0) << QZ3_GetError();
        const Series faster = RunAndRead(c, "RL", 10e-3);
        rises = 0;
        for (size_t i = 1; i < faster.size(); ++i) rises += faster.y[i - 1] == 0.0 && faster.y[i] == 5.0;
        EXPECT_EQ(rises, 30);
    }
    Circuit c(TestCircuit("vcs_pwm.qz3"));
    const Series out = RunAndRead(c, "RL", 5e-3);
    std::vector<double> falls, rises;
    for (size_t i = 1; i < out.size(); ++i) {
        if (out.y[i - 1] == 5.0 && out.y[i] == 0.0) falls.push_back(out.t[i - 1]);
        if (out.y[i - 1] == 0.0 && out.y[i] == 5.0) rises.push_back(out.t[i - 1]);
    }
    ASSERT_EQ(falls.size(), 5u);
    for (size_t k = 0; k < falls.size(); ++k) EXPECT_NEAR(falls[k], k * 1e-3 + 0.3e-3, 1e-15) << k;
    ASSERT_GE(rises.size(), 4u);
    for (size_t k = 1; k < rises.size(); ++k) EXPECT_NEAR(rises[k], (k + 0.0) * 1e-3, 1e-15) << k;
}

// The control steps from 1 V to 3 V at 5 ms: the square counts 5 periods
// of 1 kHz before and 15 of 3 kHz after, and the sine, whose phase is
// accumulated, goes on from where it was without a jump: it follows
// sin(2 pi (1000 t)) and then sin(2 pi (5 + 3000 (t - 5 ms))).
TEST(ControlledSources, VcoPhaseIsAccumulatedWhenTheControlSteps) {
    Circuit c(TestCircuit("vcs_vco_step.qz3"));
    const int sine = QZ3_AddVTrace(c.ncir, "RS");
    const Series square = RunAndRead(c, "RL", 10e-3);
    int before = 0, after = 0;
    for (size_t i = 1; i < square.size(); ++i) {
        if (square.y[i - 1] != 0.0 || square.y[i] != 5.0) continue;
        (square.t[i] < 5e-3 ? before : after) += 1;
    }
    EXPECT_EQ(before, 5);
    EXPECT_EQ(after, 15);
    const int count = QZ3_GetDataSize(c.ncir, sine);
    ASSERT_GT(count, 10000);
    double previous = 0.0, worstJump = 0.0, worstError = 0.0;
    for (int i = 0; i < count; ++i) {
        double t = NAN, y = NAN;
        ASSERT_EQ(QZ3_GetDataAt(c.ncir, sine, i, &t, &y), 0);
        const double turns = t <= 5e-3 ? 1000 * t : 5 + 3000 * (t - 5e-3);
        worstError = std::fmax(worstError, std::fabs(y - std::sin(2 * kPi * turns)));
        if (i > 0) worstJump = std::fmax(worstJump, std::fabs(y - previous));
        previous = y;
    }
    // One step of 1 us at 3 kHz turns the phase by 0.003 of a period.
    EXPECT_LT(worstJump, 2 * kPi * 3000 * 1e-6 * 1.01);
    EXPECT_LT(worstError, 5e-3);
}

// A control pulse train of 1 ms crosses the 0.5 threshold upwards three
// times in 3 ms: three pulses of 50 us, each starting at a rising crossing.
TEST(ControlledSources, OneShotGivesOnePulseOfItsWidthPerRisingCrossing) {
    Circuit c(TestCircuit("vcs_oneshot.qz3"));
    const Series out = RunAndRead(c, "RL", 3e-3);
    std::vector<double> starts, ends;
    for (size_t i = 1; i < out.size(); ++i) {
        if (out.y[i - 1] == 0.0 && out.y[i] == 2.0) starts.push_back(out.t[i - 1]);
        if (out.y[i - 1] == 2.0 && out.y[i] == 0.0) ends.push_back(out.t[i - 1]);
    }
    ASSERT_EQ(starts.size(), 3u);
    ASSERT_EQ(ends.size(), 3u);
    for (size_t k = 0; k < 3; ++k) {
        EXPECT_NEAR(ends[k] - starts[k], 50e-6, 1e-12) << k;
        EXPECT_NEAR(starts[k], 0.1e-3 + k * 1e-3, 3e-6) << k;
    }
}

// Parameters out of range refuse the start with their lines in table order;
// a formula that fails while running ends the run with the element's name.
TEST(Amplifiers, BadParametersGiveTheirMessages) {
    struct Case {
        const char* file;
        std::vector<std::pair<const char*, const char*>> set;
        const char* error;
    };
    const Case cases[] = {
        {"amp_clip.qz3", {{"O1.Vhi", "-20"}}, "QZ3_Start: O1 : Vhi < Vlo\n"},
        {"amp_clip.qz3", {{"O1.f1", "-1"}, {"O1.Vlo", "inf"}}, "QZ3_Start: O1 : f1 < 0\nO1 : Vlo = infinite\n"},
        {"amp_schmitt.qz3", {{"CMP.Hysteresis", "-1"}}, "QZ3_Start: CMP : Hysteresis < 0\n"},
        {"amp_schmitt.qz3", {{"CMP.Delay", "-1m"}}, "QZ3_Start: CMP : Delay < 0\n"},
        {"vcs_pwm.qz3", {{"E1.F", "0"}, {"E1.Vmax", "-1"}}, "QZ3_Start: E1 : Vmax <= 0\nE1 : F <= 0\n"},
        {"vcs_oneshot.qz3", {{"G1.Width", "-1"}, {"G1.I1", "inf"}}, "QZ3_Start: G1 : I1 = infinite\nG1 : Width < 0\n"},
        {"amp_models.qz3", {{"CHR.pwl", "1,2,x"}}, "QZ3_Start: CHR : PWL error: Syntax error: 'x' is invalid character\n"},
        {"vcs_vco.qz3", {{"E1.dFdV", "=VC.V*1e400"}}, "QZ3_Start: E1 : dFdV = infinite\n"},
        {"amp_keys.qz3", {{"GM.Ihi", "-5"}}, "QZ3_Start: GM : Ihi < Ilo\n"},
        {"amp_keys.qz3", {{"OP.IC", "inf"}}, "QZ3_Start: OP : IC = infinite\n"},
        {"amp_keys.qz3", {{"CMP.Hysteresis", "inf"}}, "QZ3_Start: CMP : Hysteresis = infinite\n"},
        {"amp_keys.qz3", {{"IPWM.Imax", "0"}}, "QZ3_Start: IPWM : Imax <= 0\n"},
    };
    for (const Case& k : cases) {
        Circuit c(TestCircuit(k.file));
        for (const auto& [name, text] : k.set) ASSERT_EQ(QZ3_SetText(c.ncir, name, text), 0) << name << QZ3_GetError();
        EXPECT_EQ(StartError(c), k.error) << k.file;
    }
    // Formulas that fail keep their text and name their parameter at the
    // start, the upper current limit by its old name "IVhi".
    const std::pair<const char*, const char*> formulaFaults[] = {
        {"GM.Ihi", "QZ3_Start: GM : IVhi : formula error\n"},
        {"GM.Ilo", "QZ3_Start: GM : Ilo : formula error\n"},
        {"OP.K", "QZ3_Start: OP : K : formula error\n"},
        {"TR.Hysteresis", "QZ3_Start: TR : Hysteresis : formula error\n"},
        {"OS.Threshold", "QZ3_Start: OS : Threshold : formula error\n"},
    };
    for (const auto& [name, error] : formulaFaults) {
        Circuit c(TestCircuit("amp_keys.qz3"));
        EXPECT_NE(QZ3_SetText(c.ncir, name, "=1/0"), 0) << name;
        EXPECT_EQ(StartError(c), error) << name;
    }
    Circuit c(TestCircuit("amp_models.qz3"));
    ASSERT_EQ(QZ3_SetText(c.ncir, "FUN.f", "sqrt(s-5)"), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    EXPECT_NE(QZ3_Simulate(c.ncir, 1e-4), 0);
    EXPECT_EQ(std::string(QZ3_GetError()).rfind("QZ3_Simulate: FUN : ", 0), 0u) << QZ3_GetError();
}

// Every key of the amplifiers and controlled sources comes back from a
// saved file as it was set.
TEST(Amplifiers, ParametersSurviveSaveAndReopen) {
    const std::string copy = ::testing::TempDir() + "amp_models_copy.qz3";
    const std::pair<const char*, const char*> values[] = {
        {"LIN.K", "-2.5"}, {"SUM.K", "2"}, {"FUN.f", "s*s+1"}, {"CHR.pwl", "2,1,0.5"}, {"E1.f", "u*10+t"},
        {"H1.K", "500"},
    };
    {
        Circuit c(TestCircuit("amp_models.qz3"));
        ASSERT_EQ(QZ3_SetText(c.ncir, "LIN.f1", "2k"), 0) << QZ3_GetError();
        ASSERT_EQ(QZ3_SaveAs(c.ncir, copy.c_str()), 0) << QZ3_GetError();
    }
    Circuit c(copy);
    char text[256];
    for (const auto& [name, value] : values) {
        ASSERT_GE(QZ3_GetText(c.ncir, name, text, sizeof text), 0) << name << QZ3_GetError();
        EXPECT_STREQ(text, value) << name;
    }
    double f1 = 0;
    ASSERT_EQ(QZ3_GetValue(c.ncir, "LIN.f1", &f1), 0);
    EXPECT_EQ(f1, 2000.0);
    std::remove(copy.c_str());
}

// Every parameter of every amplifier and controlled-source model, set to a
// value of its own, comes back from a saved and re-opened file, choices and
// live formulas included.
TEST(Amplifiers, EveryModelKeyComesBackFromTheFile) {
    const std::pair<const char*, const char*> values[] = {
        {"OP.K", "2.5"},         {"OP.f1", "7"},          {"OP.Vhi", "12"},       {"OP.Vlo", "-10"},
        {"OP.IC", "3"},          {"CMP.Hysteresis", "2"}, {"CMP.Vhi", "5"},       {"CMP.Vlo", "-5"},
        {"CMP.Delay", "=2*3"},   {"CMP.IC", "High"},      {"GM.K", "-1.5"},       {"GM.Ihi", "2"},
        {"GM.Ilo", "-3"},        {"GM.IC", "-2"},       {"TR.Hysteresis", "4"}, {"LIN.IC", "1.5"},
        {"FUN.f", "s*s+t"},      {"FUN.IC", "6"},         {"PWM.Vmax", "10"},     {"PWM.F", "50"},
        {"PWM.V1", "5"},         {"PWM.V0", "-1"},        {"PWM.Phase", "90"},    {"VCO.V1", "3"},
        {"VCO.V0", "1"},       {"VCO.Phase", "45"},     {"VCO.dFdV", "100"},   {"VCO.Type", "Triangle"},
        {"OS.Threshold", "1.5"}, {"OS.Width", "3"},       {"OS.V1", "2"},         {"OS.V0", "-2"},
        {"CCO.Type", "Sawtooth"}, {"CCO.I1", "8"},        {"CCO.I0", "-8"},       {"CCO.dFdI", "50"},
        {"CCO.Phase", "30"},     {"IPWM.Imax", "4"},      {"IPWM.F", "500"},      {"FE.IC", "9"},
        {"FE.f", "u*2"},         {"G1.I", "11"},
    };
    const std::string copy = ::testing::TempDir() + "amp_keys_copy.qz3";
    {
        Circuit c(TestCircuit("amp_keys.qz3"));
        for (const auto& [name, text] : values) ASSERT_EQ(QZ3_SetText(c.ncir, name, text), 0) << name << QZ3_GetError();
        ASSERT_EQ(QZ3_SaveAs(c.ncir, copy.c_str()), 0) << QZ3_GetError();
    }
    Circuit c(copy);
    char text[256];
    for (const auto& [name, value] : values) {
        ASSERT_GE(QZ3_GetText(c.ncir, name, text, sizeof text), 0) << name << QZ3_GetError();
        EXPECT_STREQ(text, value) << name;
    }
    std::remove(copy.c_str());
}

// The closed-loop buck converter of the examples: the error amplifier's
// integrator brings the output mean to the 5 V reference, before and after
// the load doubles at 10 ms, with the duty cycle near 5/12.
TEST(Amplifiers, ClosedLoopBuckRegulatesThroughALoadStep) {
    Circuit c(qz3test::Example("buck_closed_loop.qz3"));
    const int control = QZ3_GetTrace(c.ncir, "Vctl");
    const Series out = RunAndRead(c, "RLOAD", 20e-3);
    EXPECT_NEAR(qz3test::MeanOver(out, 8e-3, 10e-3), 5.0, 0.05);
    EXPECT_LT(qz3test::MeanOver(out, 10e-3, 10.5e-3), 4.99);
    EXPECT_NEAR(qz3test::MeanOver(out, 19e-3, 20e-3), 5.0, 0.005);
    double t = 0, v = 0;
    ASSERT_EQ(QZ3_GetLastData(c.ncir, control, &t, &v), 0);
    EXPECT_NEAR(v / 10.0, 5.0 / 12.0, 0.01);
}

// Saving the state as initial conditions: an op-amp on its upper limit
// gives its IC the limit, a comparator its position.
TEST(Amplifiers, SaveIcWritesTheOutputAndThePosition) {
    {
        Circuit c(TestCircuit("amp_clip.qz3"));
        ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
        ASSERT_EQ(QZ3_Simulate(c.ncir, 0.25e-3), 0) << QZ3_GetError();
        ASSERT_EQ(QZ3_SaveIC(c.ncir), 0) << QZ3_GetError();
        double ic = 0;
        ASSERT_EQ(QZ3_GetValue(c.ncir, "O1.IC", &ic), 0) << QZ3_GetError();
        EXPECT_EQ(ic, 12.0);
    }
    Circuit c(TestCircuit("amp_schmitt.qz3"));
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(c.ncir, 0.4e-3), 0) << QZ3_GetError();  // high after the first switch at 0.22 ms
    ASSERT_EQ(QZ3_SaveIC(c.ncir), 0) << QZ3_GetError();
    char text[16];
    ASSERT_GE(QZ3_GetText(c.ncir, "CMP.IC", text, sizeof text), 0) << QZ3_GetError();
    EXPECT_STREQ(text, "High");
}
