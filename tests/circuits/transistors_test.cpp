// Transistor circuits run through the C interface and held to the answers
// of their ideal models: bipolar switches in every region, their PNP
// mirrors, field-effect switches at and beyond their threshold, a
// push-pull stage across its crossovers, the file keys, and bad input.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "circuit_run.h"

namespace {

using qz3test::Circuit;
using qz3test::Example;
using qz3test::Series;
using qz3test::TestCircuit;

constexpr double kPi = 3.14159265358979323846;

// Sets the drive, starts and runs a few steps of the DC circuit.
bool RunAt(Circuit& c, const char* source, double drive) {
    EXPECT_EQ(QZ3_SetValue(c.ncir, source, drive), 0) << QZ3_GetError();
    const int started = QZ3_Start(c.ncir);
    EXPECT_EQ(started, 0) << QZ3_GetError();
    return started == 0 && c.RunTo(5e-6);
}

// The NPN stage of the test file, with Vcc 10 V, Rb 100 kOhm and Rc 1 kOhm,
// in the junction model (B 100, Vbe 0.7 V, Vsat 0.5 V): collector-emitter
// voltage and collector current for an input voltage.
struct Stage {
    double vce, ic, ib;
};

Stage JunctionModel(double vin) {
    constexpr double Vcc = 10, Rb = 100e3, Rc = 1e3, B = 100, Vbe = 0.7, Vsat = 0.5;
    if (vin <= Vbe) return {Vcc, 0, 0};
    const double ib = (vin - Vbe) / Rb;
    const double active = Vcc - Rc * B * ib;
    if (active > Vbe - Vsat) return {active, B * ib, ib};
    return {Vbe - Vsat, (Vcc - (Vbe - Vsat)) / Rc, ib};
}

// The same stage in model "Linear" (the base sits on the emitter, f1 1 MHz
// has no effect at DC) and "Switch" (the collector shorts to the emitter
// once the base conducts).
Stage LinearModel(double vin) {
    const double ib = vin / 100e3;
    return {10 - 1e3 * 100 * ib, 100 * ib, ib};
}
Stage SwitchModel(double vin) {
    if (vin <= 0.7) return {10, 0, 0};
    return {0, 10 / 1e3, (vin - 0.7) / 100e3};
}

void ExpectStage(Circuit& c, int n, const Stage& want, double sign, double vin) {
    const std::string k = std::to_string(n);
    const double tol = 1e-9;
    EXPECT_NEAR(c.Last(("Vce" + k).c_str()), sign * want.vce, tol) << "stage " << n << " at " << vin;
    EXPECT_NEAR(c.Last(("Ic" + k).c_str()), sign * want.ic, tol) << "stage " << n << " at " << vin;
    // The resistor's current runs from its pin 0 (the input) to the base.
    EXPECT_NEAR(-c.Last(("Ib" + k).c_str()), sign * want.ib, tol) << "stage " << n << " at " << vin;
}

void CheckBipolarStages(const char* file, double sign) {
    // Off below the base threshold, active where B * Ib leaves room on the
    // collector (up to 10.5 V), saturated beyond.
    for (double vin : {0.0, 0.5, 0.69, 0.75, 2.7, 5.7, 10.4, 10.6, 10.7, 20.0}) {
        Circuit c(TestCircuit(file));
        ASSERT_TRUE(RunAt(c, "VIN", sign * vin)) << vin;
        const Stage junction = JunctionModel(vin);
        ExpectStage(c, 1, junction, sign, vin);
        ExpectStage(c, 2, LinearModel(vin), sign, vin);
        ExpectStage(c, 3, SwitchModel(vin), sign, vin);
        // The junction bits: base-emitter alone is active, both saturated.
        const bool on = vin > 0.7, saturated = on && vin > 10.5;
        EXPECT_EQ(c.Last("S1"), (on ? 1 : 0) + (saturated ? 2 : 0)) << vin;
        // Power is that of all three pins: Vce * Ic and Vbe * Ib.
        EXPECT_NEAR(c.Last("P1"), junction.vce * junction.ic + (on ? 0.7 : 0.0) * junction.ib, 1e-9) << vin;
        if (on && !saturated) EXPECT_NEAR(c.Last("Ic1") / -c.Last("Ib1"), 100.0, 1e-9) << vin;
    }
}

TEST(Transistors, NpnStagesAreOffActiveAndSaturated) { CheckBipolarStages("transistor_npn_switch.qz3", 1.0); }

TEST(Transistors, PnpStagesMirrorTheNpnOnes) { CheckBipolarStages("transistor_pnp_switch.qz3", -1.0); }

// The FET stages of the test files: drain resistors of 100 Ohm, to 10 V for
// M1 to M3 and to -5 V for M4 (mirrored for the P-FETs), S 10 A/V, Vth 2 V,
// Rdson 1 Ohm, Vd 0.7 V.
struct Channel {
    double vds, id;
    int state;
};

Channel FetModel(double vg) {
    const double ov = vg - 2;
    if (ov < 0) return {10, 0, 0};
    const double saturation = 10 * ov, resistive = 10 / 101.0;
    if (resistive < saturation) return {resistive, resistive, 1};
    return {10 - 100 * saturation, saturation, 2};
}

Channel FetDModel(double vg) {
    // Against -5 V the drain sits below the source: a strong gate takes it
    // through Rdson, otherwise the body diode holds it Vd below.
    if (vg - 2 >= 0 && 10 * (vg - 2) * 101 > 5) return {-5 / 101.0, -5 / 101.0, 1};
    return {-0.7, -(5 - 0.7) / 100, 4};
}

void CheckFetStages(const char* file, double sign) {
    for (double vg : {0.0, 1.0, 1.999, 2.001, 2.003, 2.5, 5.0}) {
        Circuit c(TestCircuit(file));
        ASSERT_TRUE(RunAt(c, "VG", sign * vg)) << vg;
        const Channel fet = FetModel(vg), body = FetDModel(vg);
        EXPECT_NEAR(c.Last("Vds1"), sign * fet.vds, 1e-9) << vg;
        EXPECT_NEAR(c.Last("Id1"), sign * fet.id, 1e-9) << vg;
        EXPECT_EQ(c.Last("S1"), fet.state) << vg;
        EXPECT_NEAR(c.Last("P1"), fet.vds * fet.id, 1e-9) << vg;
        const bool closed = vg > 2;
        EXPECT_NEAR(c.Last("Vds2"), closed ? 0.0 : sign * 10, 1e-9) << vg;
        EXPECT_NEAR(c.Last("Id2"), closed ? sign * 0.1 : 0.0, 1e-9) << vg;
        EXPECT_NEAR(c.Last("Id3"), sign * 0.01 * vg, 1e-12) << vg;
        EXPECT_NEAR(c.Last("Vds4"), sign * body.vds, 1e-9) << vg;
        EXPECT_NEAR(c.Last("Id4"), sign * body.id, 1e-9) << vg;
        EXPECT_EQ(c.Last("S4"), body.state) << vg;
    }
}

TEST(Transistors, NFetsTurnOnAtTheirThreshold) { CheckFetStages("transistor_nfets.qz3", 1.0); }

TEST(Transistors, PFetsMirrorTheNFets) { CheckFetStages("transistor_pfets.qz3", -1.0); }

// The push-pull stage of the examples: a 5 V, 1 kHz sine through 1 kOhm
// onto both bases, 100 Ohm load on the joined emitters. Outside the dead
// zone of +-Vbe one transistor follows; the output is the input less Vbe,
// divided between the base resistor and the load reflected by B + 1.
TEST(Transistors, PushPullStageCrossesOverOnTime) {
    constexpr double A = 5, T = 1e-3, Vbe = 0.7, step = 1e-6;
    constexpr double follow = 101 * 100.0 / (1e3 + 101 * 100.0);
    const double w = 2 * kPi / T;
    Circuit c(Example("push_pull_stage.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(3 * T));
    const Series vin = c.Read("Vin"), vout = c.Read("Vout"), s1 = c.Read("S(Q1)"), s2 = c.Read("S(Q2)");
    ASSERT_EQ(vin.size(), vout.size());
    ASSERT_EQ(vin.size(), s1.size());
    ASSERT_EQ(vin.size(), s2.size());

    std::vector<double> changes;
    for (size_t k = 0; k < vin.size(); ++k) {
        const double x = vin.y[k];
        ASSERT_LE(s1.y[k] + s2.y[k], 1.0) << "both conduct at " << vin.t[k];
        double want = 0;
        if (s1.y[k] == 1) want = follow * (x - Vbe);
        if (s2.y[k] == 1) want = follow * (x + Vbe);
        EXPECT_NEAR(vout.y[k], want, 1e-9) << vin.t[k];
        // Each side conducts exactly while the input is beyond its Vbe, up
        // to the located edge of an event.
        const double edge = A * w * step;
        if (std::fabs(std::fabs(x) - Vbe) > edge) {
            EXPECT_EQ(s1.y[k], x > Vbe ? 1 : 0) << vin.t[k];
            EXPECT_EQ(s2.y[k], x < -Vbe ? 1 : 0) << vin.t[k];
        }
        if (k > 0 && (s1.y[k] != s1.y[k - 1] || s2.y[k] != s2.y[k - 1])) changes.push_back(vin.t[k]);
    }
    // Four crossings of +-Vbe a period, each one event located to a quarter
    // of the step.
    const double t0 = std::asin(Vbe / A) / w;
    std::vector<double> expected;
    for (int n = 0; n < 3; ++n)
        for (double t : {t0, T / 2 - t0, T / 2 + t0, T - t0}) expected.push_back(n * T + t);
    ASSERT_EQ(changes.size(), expected.size());
    for (size_t n = 0; n < expected.size(); ++n) EXPECT_NEAR(changes[n], expected[n], 0.25 * step) << n;
}

// The common-emitter switch of the examples: 0 to 5 V logic through 4.7
// kOhm saturates it (B * Ib far above 12 mA), and the load sees the supply
// less Vce(sat) while the input is high.
TEST(Transistors, LogicDrivenSwitchSaturatesAndCutsOff) {
    Circuit c(Example("transistor_switch.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(300e-6));
    for (int n = 0; n < 3; ++n) {
        const double high = 10e-6 + n * 100e-6 + 25e-6, low = high + 50e-6;
        EXPECT_NEAR(c.At("Vce", high), 0.2, 1e-9) << n;
        EXPECT_NEAR(c.At("Ic", high), (12 - 0.2) / 1e3, 1e-12) << n;
        EXPECT_NEAR(c.At("Vce", low), 12.0, 1e-9) << n;
        EXPECT_NEAR(c.At("Ic", low), 0.0, 1e-12) << n;
    }
}

// A collector current with a lag: f1 1 MHz and B 100 put the corner of the
// current gain at 10 kHz, so the collector follows a base step with the
// time constant B / (2 pi f1).
TEST(Transistors, LinearModelLagsWithItsCorner) {
    Circuit c(TestCircuit("transistor_linear_lag.qz3"));
    QZ3_START_OR_SKIP(c);
    const double tau = 100 / (2 * kPi * 1e6), final = 100 * 5 / 100e3;
    ASSERT_TRUE(c.RunTo(1e-6 + 5 * tau));
    for (double t : {0.5 * tau, tau, 2 * tau, 4 * tau})
        EXPECT_NEAR(c.At("Ic", 1e-6 + t), final * (1 - std::exp(-t / tau)), 2e-3 * final) << t;
    EXPECT_NEAR(c.At("Ic", 0.5e-6), 0.0, 1e-15);
}

// In AC the same lag is the pole of the current gain at f1/B: 1 V through
// 100 kOhm gives B * 10 uA into 1 kOhm, 1 V at low frequency.
TEST(Transistors, LinearModelGainFallsFromItsCorner) {
    Circuit c(TestCircuit("transistor_ac.qz3"));
    ASSERT_EQ(QZ3_CalcAC(c.ncir), 0) << QZ3_GetError();
    const int vout = QZ3_GetACTrace(c.ncir, "V(RC)"), ic = QZ3_GetACTrace(c.ncir, "I(Q1)");
    ASSERT_EQ(QZ3_GetACDataSize(c.ncir, vout), 201);
    for (int k = 0; k < 201; k += 10) {
        double f = 0, m = 0, phase = 0, fi = 0, mi = 0, phasei = 0;
        ASSERT_EQ(QZ3_GetACDataAt(c.ncir, vout, k, &f, &m, &phase), 0) << QZ3_GetError();
        ASSERT_EQ(QZ3_GetACDataAt(c.ncir, ic, k, &fi, &mi, &phasei), 0) << QZ3_GetError();
        const double x = f / 10e3;
        EXPECT_NEAR(m * std::sqrt(1 + x * x), 1.0, 1e-6) << f;
        EXPECT_NEAR(phase, -std::atan(x) * 180 / kPi, 1e-4) << f;
        EXPECT_NEAR(mi * 1e3, m, 1e-9) << f;
    }
}

std::string StartError(Circuit& c) {
    EXPECT_EQ(QZ3_Start(c.ncir), -1);
    return QZ3_GetError();
}

TEST(Transistors, FaultyParametersAreListed) {
    Circuit c(TestCircuit("transistor_bad_params.qz3"));
    EXPECT_EQ(StartError(c),
              "QZ3_Start: M1 : S < 0\nM1 : Rdson < 0\nM2 : Vd < 0\nM3 : f1 < 0\nQ1 : B <= 0\nQ2 : B <= 0\n"
              "Q2 : f1 < 0\nQ3 : f1 <= 0\nQ3 : Vsat > Vbe\nQ4 : Vbe < 0\nQ5 : all pins on one node\n"
              "Q6 : B <= 0\n");
    EXPECT_EQ(QZ3_SetText(c.ncir, "Q6.B", "=nosuch*2"), -1);
    EXPECT_NE(StartError(c).find("Q6 : B : formula error\n"), std::string::npos) << QZ3_GetError();
}

// A base tied straight to an ideal source fights the junction's drop: the
// search gives up at once with the transistor named, in either model.
TEST(Transistors, HardDrivenBaseEndsWithAMessage) {
    for (const char* file : {"transistor_hard_base.qz3", "transistor_hard_base_switch.qz3"}) {
        Circuit c(TestCircuit(file));
        const std::string error = StartError(c);
        EXPECT_EQ(error.rfind("QZ3_Start: No solution  while calculating switching triggered by Q1", 0), 0u) << error;
        EXPECT_NE(error.find("Infinite current : Q1"), std::string::npos) << error;
    }
}

// Every key comes back from a saved file as it was set; a transistor
// written without keys has the defaults.
TEST(Transistors, ParametersSurviveSaveAndReopen) {
    const std::string copy = ::testing::TempDir() + "transistor_keys_copy.qz3";
    // Numbers come back as numbers (the file has its own number text),
    // words as they were.
    const struct {
        const char* name;
        const char* text;
        double value;
    } rows[] = {
        {"Q1.B", "50", 50},          {"Q1.f1", "250k", 250e3},      {"Q1.IC", "1m", 1e-3},
        {"Q1.Vbe", "0.65", 0.65},    {"Q1.Vsat", "0.45", 0.45},     {"Q1.ICbe", "On", NAN},
        {"Q1.ICbc", "On", NAN},      {"Q2.Vbe", "0.6", 0.6},        {"Q2.IC", "On", NAN},
        {"M1.S", "3", 3},            {"M1.Vth", "1.5", 1.5},        {"M1.Rdson", "0.25", 0.25},
        {"M1.IC", "Saturated", NAN}, {"M2.Vth", "-3", -3},          {"M2.IC", "On", NAN},
        {"M3.Vd", "0.4", 0.4},       {"M3.IC", "Diode", NAN},       {"M4.S", "0.02", 0.02},
        {"M4.f1", "500k", 500e3},    {"M4.IC", "-2m", -2e-3},
    };
    {
        Circuit c(TestCircuit("transistor_keys.qz3"));
        for (const auto& row : rows) ASSERT_EQ(QZ3_SetText(c.ncir, row.name, row.text), 0) << row.name << QZ3_GetError();
        ASSERT_EQ(QZ3_SaveAs(c.ncir, copy.c_str()), 0) << QZ3_GetError();
    }
    Circuit c(copy);
    char text[64];
    for (const auto& row : rows) {
        if (std::isnan(row.value)) {
            ASSERT_GE(QZ3_GetText(c.ncir, row.name, text, sizeof text), 0) << row.name << QZ3_GetError();
            EXPECT_STREQ(text, row.text) << row.name;
            continue;
        }
        double v = 0;
        ASSERT_EQ(QZ3_GetValue(c.ncir, row.name, &v), 0) << row.name << QZ3_GetError();
        EXPECT_DOUBLE_EQ(v, row.value) << row.name;
    }
    // Each model writes its keys by their file names.
    std::string saved;
    if (FILE* f = std::fopen(copy.c_str(), "rb")) {
        char buffer[4096];
        for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, f)) > 0;) saved.append(buffer, n);
        std::fclose(f);
    }
    for (const char* key : {" b=\"50\"", " f1=", " ic=", " vbe=", " vsat=", " be_ic=\"true\"", " bc_ic=", " s_ic=",
                            " s=", " vth=", " rdson=", " vd=", " fet_ic=\"2\"", " fetd_ic=\"4\""})
        EXPECT_NE(saved.find(key), std::string::npos) << key;
    std::remove(copy.c_str());

    Circuit fresh(TestCircuit("transistor_keys.qz3"));
    const std::pair<const char*, double> defaults[] = {
        {"Q1.B", 100},  {"Q1.Vbe", 0.7}, {"Q1.Vsat", 0.5}, {"Q1.f1", INFINITY}, {"M1.S", 1},
        {"M1.Vth", 2},  {"M2.Vth", -2},  {"M1.Rdson", 0.1}, {"M3.Vd", 0.7},     {"M4.f1", INFINITY},
    };
    for (const auto& [name, value] : defaults) {
        double v = 0;
        ASSERT_EQ(QZ3_GetValue(fresh.ncir, name, &v), 0) << name << QZ3_GetError();
        EXPECT_EQ(v, value) << name;
    }
    ASSERT_GE(QZ3_GetText(fresh.ncir, "Q1.IC", text, sizeof text), 0);
    EXPECT_STREQ(text, "");
    ASSERT_GE(QZ3_GetText(fresh.ncir, "M1.IC", text, sizeof text), 0);
    EXPECT_STREQ(text, "Off");
}

// Saving the state as initial conditions: the saturated junction model
// gives both junctions and its transfer current, "Linear" its collector current, "Switch" its
// position; a new run starts from them.
TEST(Transistors, SaveIcKeepsJunctionsAndCurrents) {
    Circuit c(TestCircuit("transistor_npn_switch.qz3"));
    ASSERT_TRUE(RunAt(c, "VIN", 10.7));
    ASSERT_EQ(QZ3_SaveIC(c.ncir), 0) << QZ3_GetError();
    char text[64];
    for (const auto& [name, value] : {std::pair{"Q1.ICbe", "On"}, {"Q1.ICbc", "On"}, {"Q3.IC", "On"}}) {
        ASSERT_GE(QZ3_GetText(c.ncir, name, text, sizeof text), 0) << name;
        EXPECT_STREQ(text, value) << name;
    }
    double ic = 0;
    ASSERT_EQ(QZ3_GetValue(c.ncir, "Q2.IC", &ic), 0) << QZ3_GetError();
    EXPECT_NEAR(ic, 100 * 10.7 / 100e3, 1e-12);
    // The junction model keeps the current of its transfer path: B/(B + 1)
    // of the emitter current, more than the collector takes in saturation.
    ASSERT_EQ(QZ3_GetValue(c.ncir, "Q1.IC", &ic), 0) << QZ3_GetError();
    const Stage saturated = JunctionModel(10.7);
    EXPECT_NEAR(ic, 100 / 101.0 * (saturated.ic + saturated.ib), 1e-12);

    // The channels give the word of their state, "Linear" its current.
    Circuit fets(TestCircuit("transistor_nfets.qz3"));
    ASSERT_TRUE(RunAt(fets, "VG", 2.003));
    ASSERT_EQ(QZ3_SaveIC(fets.ncir), 0) << QZ3_GetError();
    for (const auto& [name, value] : {std::pair{"M1.IC", "Saturated"}, {"M2.IC", "On"}, {"M4.IC", "Diode"}}) {
        ASSERT_GE(QZ3_GetText(fets.ncir, name, text, sizeof text), 0) << name;
        EXPECT_STREQ(text, value) << name;
    }
    ASSERT_EQ(QZ3_GetValue(fets.ncir, "M3.IC", &ic), 0) << QZ3_GetError();
    EXPECT_NEAR(ic, 0.01 * 2.003, 1e-12);
}

}  // namespace
