// AC analysis through the C interface: an RC low-pass and a series RLC
// band-pass against their transfer functions, a formula amplifier at its
// small-signal gain, every settings message with its prefix, and a
// transient run that goes on after an AC run.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "circuit_run.h"
#include "test_files.h"
#include "qz3.h"

namespace {

using qz3test::Circuit;
using qz3test::TestCircuit;

constexpr double kPi = 3.14159265358979323846;

struct AcPoint {
    double f = 0, magnitude = 0, phase = 0;
};

AcPoint PointAt(int ncir, int trace, int index) {
    AcPoint p;
    EXPECT_EQ(QZ3_GetACDataAt(ncir, trace, index, &p.f, &p.magnitude, &p.phase), 0) << QZ3_GetError();
    return p;
}

using qz3::test::ReadBytes;

// A copy of a circuit file with one text replaced, in the test's temporary folder.
std::string VariantOf(const std::string& path, const std::string& from, const std::string& to, const char* name) {
    std::string text = ReadBytes(path);
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos) text.replace(at, from.size(), to);
    const std::string out = ::testing::TempDir() + name;
    std::ofstream(out) << text;
    return out;
}

std::string Variant(const char* file, const std::string& from, const std::string& to, const char* name) {
    return VariantOf(TestCircuit(file), from, to, name);
}

}  // namespace

// 1 kOhm and 1 uF over 301 logarithmic points from 1 Hz to 1 MHz: each
// point's frequency, |H| = 1/sqrt(1+(wRC)^2) and the phase -atan(wRC).
TEST(AcAnalysis, RcLowPassFollowsItsTransferFunctionAtEveryPoint) {
    Circuit c(TestCircuit("ac_rc.qz3"));
    ASSERT_EQ(QZ3_CalcAC(c.ncir), 0) << QZ3_GetError();
    EXPECT_STREQ(QZ3_GetError(), "OK");
    const int trace = QZ3_GetACTrace(c.ncir, "V(C1)");
    ASSERT_EQ(QZ3_GetACDataSize(c.ncir, trace), 301);
    for (int k = 0; k < 301; ++k) {
        const AcPoint p = PointAt(c.ncir, trace, k);
        const double f = std::pow(10.0, k / 50.0);
        EXPECT_NEAR(p.f / f, 1.0, 1e-12) << k;
        const double wrc = 2 * kPi * p.f * 1e-3;
        EXPECT_NEAR(p.magnitude * std::sqrt(1 + wrc * wrc), 1.0, 1e-9) << p.f;
        EXPECT_NEAR(p.phase, -std::atan(wrc) * 180 / kPi, 1e-9) << p.f;
    }
    // The source's model is given back, and the data of a second run
    // replaces that of the first.
    char model[32];
    ASSERT_GE(QZ3_GetText(c.ncir, "V1.V", model, sizeof model), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_CalcAC(c.ncir), 0) << QZ3_GetError();
    EXPECT_EQ(QZ3_GetACDataSize(c.ncir, trace), 301);
    double f = 1, m = 1, ph = 1;
    EXPECT_EQ(QZ3_GetACDataAt(c.ncir, trace, -1, &f, &m, &ph), -1);
    EXPECT_EQ(f + m + ph, 0.0);
}

// A series RLC read across R peaks at f0 = 1/(2 pi sqrt(LC)) with |H| = 1
// and falls to 1/sqrt(2) at f0 (sqrt(1 + 1/4Q^2) -+ 1/2Q); a formula
// amplifier 3s + sin(s) behind it has gain 3 + cos(0) = 4 at the
// operating point s = 0.
TEST(AcAnalysis, RlcBandPassPeaksAtResonanceWithItsQ) {
    const double L = 10e-3, C = 100e-9, R = 100;
    const double f0 = 1 / (2 * kPi * std::sqrt(L * C)), q = std::sqrt(L / C) / R;
    const double half = std::sqrt(1 + 1 / (4 * q * q));
    const double lo = f0 * (half - 1 / (2 * q)), hi = f0 * (half + 1 / (2 * q));
    char list[128];
    std::snprintf(list, sizeof list, "%.17g%%2c%.17g%%2c%.17g", lo, f0, hi);
    Circuit c(Variant("ac_rlc.qz3", "FREQS", list, "ac_rlc_list.qz3"));
    ASSERT_EQ(QZ3_CalcAC(c.ncir), 0) << QZ3_GetError();
    const int band = QZ3_GetACTrace(c.ncir, "V(R1)");
    const int amplified = QZ3_GetACTrace(c.ncir, "V(R4)");
    ASSERT_EQ(QZ3_GetACDataSize(c.ncir, band), 3);
    EXPECT_NEAR(PointAt(c.ncir, band, 1).magnitude, 1.0, 1e-9);
    EXPECT_NEAR(PointAt(c.ncir, band, 1).phase, 0.0, 1e-6);
    EXPECT_NEAR(PointAt(c.ncir, band, 0).magnitude, 1 / std::sqrt(2.0), 1e-9);
    EXPECT_NEAR(PointAt(c.ncir, band, 0).phase, 45.0, 1e-6);
    EXPECT_NEAR(PointAt(c.ncir, band, 2).magnitude, 1 / std::sqrt(2.0), 1e-9);
    EXPECT_NEAR(PointAt(c.ncir, band, 2).phase, -45.0, 1e-6);
    for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(PointAt(c.ncir, amplified, k).magnitude / PointAt(c.ncir, band, k).magnitude, 4.0, 1e-6) << k;
}

// Each settings fault gives its text after "AC error:\n"; a list item that
// doesn't parse names the last frequency reached. The handle stays usable.
TEST(AcAnalysis, SettingsFaultsGiveTheirTexts) {
    const std::string settings = "type=\"0\" from=\"1\" to=\"1e6\" points=\"301\" scale=\"0\" id=\"1\"";
    struct Case {
        const char* settings;
        const char* error;
    };
    const Case cases[] = {
        {"alg=\"1\"", "QZ3_CalcAC: AC error:\nWrong AC Method"},
        {"type=\"1\" list=\"\"", "QZ3_CalcAC: AC error:\nFrequency list is empty"},
        {"from=\"10\" to=\"1\"", "QZ3_CalcAC: AC error:\nTo < From"},
        {"from=\"0\" to=\"10\"", "QZ3_CalcAC: AC error:\nFrom <= 0"},
        {"type=\"1\" list=\"1%2c2%2cx\" id=\"1\"", "QZ3_CalcAC: AC error:\nf = 2\nSyntax error: 'x' is invalid character"},
    };
    for (const Case& k : cases) {
        Circuit c(Variant("ac_rc.qz3", settings, k.settings, "ac_rc_fault.qz3"));
        EXPECT_EQ(QZ3_CalcAC(c.ncir), -1);
        EXPECT_EQ(std::string(QZ3_GetError()), k.error);
        EXPECT_EQ(QZ3_AddVTrace(c.ncir, "R1") >= 0, true) << QZ3_GetError();
    }
    Circuit c(Variant("ac_rc.qz3", "name=\"I(R1)\" type=\"I\"", "name=\"Z(R1)\" type=\"Z\"", "ac_rc_z.qz3"));
    ASSERT_EQ(QZ3_CalcAC(c.ncir), 0) << QZ3_GetError();
    Circuit none(Variant("ac_rc.qz3", "id=\"1\" />", "id=\"0\" />", "ac_rc_none.qz3"));
    EXPECT_EQ(QZ3_CalcAC(none.ncir), 0) << QZ3_GetError();
    const int trace = QZ3_GetACTrace(none.ncir, "V(C1)");
    EXPECT_EQ(PointAt(none.ncir, trace, 0).magnitude, 0.0);
}

// An AC run in the middle of a transient one: the transient rebuilds and
// goes on from where it was (a 1 V step into the RC: 1 - exp(-t/RC)).
TEST(AcAnalysis, TransientGoesOnAfterAnAcRun) {
    Circuit c(Variant("ac_rc.qz3", "model=\"V\" v=\"0\"", "model=\"V\" v=\"1\"", "ac_rc_step.qz3"));
    const int vc = QZ3_AddVTrace(c.ncir, "C1");
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(c.ncir, 1e-3), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_CalcAC(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(c.ncir, 1e-3), 0) << QZ3_GetError();
    double t = 0, v = 0;
    ASSERT_EQ(QZ3_GetLastData(c.ncir, vc, &t, &v), 0);
    EXPECT_NEAR(t, 2e-3, 1e-5);
    EXPECT_NEAR(v, 1 - std::exp(-t / 1e-3), 1e-4);
}

// A diode biased on by 5 V: with dcop the AC sees it at its operating point
// (on: a short for the signal), without dcop in the state its start leaves
// (off: the whole signal across it). A trace of impedance needs an
// excitation: a source whose first pin is unconnected is refused.
TEST(AcAnalysis, OperatingPointFixesTheStatesAndADisabledSourceIsRefused) {
    {
        Circuit c(Variant("ac_diode.qz3", "DCOP", "true", "ac_diode_dcop.qz3"));
        ASSERT_EQ(QZ3_CalcAC(c.ncir), 0) << QZ3_GetError();
        EXPECT_EQ(PointAt(c.ncir, QZ3_GetACTrace(c.ncir, "V(D1)"), 0).magnitude, 0.0);
    }
    {
        Circuit c(Variant("ac_diode.qz3", "DCOP", "false", "ac_diode_start.qz3"));
        ASSERT_EQ(QZ3_CalcAC(c.ncir), 0) << QZ3_GetError();
        EXPECT_NEAR(PointAt(c.ncir, QZ3_GetACTrace(c.ncir, "V(D1)"), 0).magnitude, 1.0, 1e-12);
    }
    const std::string open = Variant("ac_diode.qz3", "name=\"V1\" node0=\"3\"", "name=\"V1\" node0=\"-1\"", "ac_open.qz3");
    Circuit c(VariantOf(open, "type=\"V\" />", "type=\"Z\" />", "ac_open_z.qz3"));
    EXPECT_EQ(QZ3_CalcAC(c.ncir), -1);
    EXPECT_EQ(std::string(QZ3_GetError()), "QZ3_CalcAC: AC error:\nAC source is disabled");
}

// A lossless line of 50 Ohm and 100 us fed through 50 Ohm: the wave sent is
// half the source, and the far end over a load ZL reads
// 0.5 (1 + G) exp(-jwT) with G = (ZL - 50)/(ZL + 50), at every frequency.
// The line's port rows have no diagonal of their own, which the
// elimination must not take for rows already used.
TEST(AcAnalysis, LosslessLineDelaysItsWaveByItsTime) {
    for (const double load : {50.0, 150.0}) {
        const std::string path =
            Variant("ac_line.qz3", "r=\"150\"", "r=\"" + std::to_string(load) + "\"", "ac_line_load.qz3");
        Circuit c(path);
        ASSERT_EQ(QZ3_CalcAC(c.ncir), 0) << QZ3_GetError();
        const int trace = QZ3_GetACTrace(c.ncir, "V(RL)");
        ASSERT_EQ(QZ3_GetACDataSize(c.ncir, trace), 10);
        const double reflection = (load - 50.0) / (load + 50.0);
        for (int k = 0; k < 10; ++k) {
            const AcPoint p = PointAt(c.ncir, trace, k);
            const std::complex<double> got = std::polar(p.magnitude, p.phase * kPi / 180);
            const std::complex<double> expected = std::polar(0.5 * (1 + reflection), -2 * kPi * p.f * 1e-4);
            EXPECT_LT(std::abs(got - expected), 1e-9) << "load " << load << " f " << p.f << " got " << got;
        }
    }
}

// The faults a circuit brings rather than its settings: a trace that needs
// an excitation with no source named, a formula of s that fails (with the
// frequency it failed at, in full digits, and the points before it kept),
// and a gain that isn't a number.
TEST(AcAnalysis, CircuitFaultsGiveTheirTextsAndFrequency) {
    const std::string impedance = Variant("ac_rc.qz3", "type=\"I\" />", "type=\"Z\" />", "ac_rc_z_trace.qz3");
    {
        Circuit c(VariantOf(impedance, "id=\"1\" />", "id=\"0\" />", "ac_rc_z_none.qz3"));
        EXPECT_EQ(QZ3_CalcAC(c.ncir), -1);
        EXPECT_EQ(std::string(QZ3_GetError()), "QZ3_CalcAC: AC error:\nNo AC source");
    }
    // A gain that exists only below 1.05 Hz: the third point of the sweep,
    // 10^(2/50) Hz, is where it fails.
    const std::string block = "<Cmp type=\"F_S\" id=\"4\" name=\"H1\" node0=\"2\" node1=\"3\" model=\"Function\" f=\"F\" />"
                              "<Cmp type=\"R_R\" id=\"5\" name=\"R5\" node0=\"0\" node1=\"3\" model=\"R\" r=\"1e3\" />"
                              "</Cmps>";
    const auto withBlock = [&](const char* formula, const char* name) {
        std::string text = block;
        text.replace(text.find("f=\"F\""), 5, std::string("f=\"") + formula + "\"");
        return Variant("ac_rc.qz3", "</Cmps>", text, name);
    };
    {
        Circuit c(withBlock("1/(f%3c1.05)", "ac_block_fails.qz3"));
        EXPECT_EQ(QZ3_CalcAC(c.ncir), -1);
        EXPECT_EQ(std::string(QZ3_GetError()), "QZ3_CalcAC: AC error:\nf = 1.09647819614\nH1 : Division by zero\n");
        EXPECT_EQ(QZ3_GetACDataSize(c.ncir, QZ3_GetACTrace(c.ncir, "V(C1)")), 2);
        EXPECT_EQ(QZ3_CalcAC(c.ncir), -1);  // the same again: nothing was left half done
    }
    {
        Circuit c(withBlock("1e308*1e308*0", "ac_block_nan.qz3"));
        EXPECT_EQ(QZ3_CalcAC(c.ncir), -1);
        EXPECT_EQ(std::string(QZ3_GetError()), "QZ3_CalcAC: AC error:\nf = 1\nInfinite or invalid solution");
    }
}

// One point is the sweep's start; a linear sweep may start at 0 Hz, where
// the capacitor is open and the whole signal is across it.
TEST(AcAnalysis, OnePointAndALinearSweepFromZero) {
    {
        Circuit c(Variant("ac_rc.qz3", "points=\"301\"", "points=\"1\"", "ac_rc_one.qz3"));
        ASSERT_EQ(QZ3_CalcAC(c.ncir), 0) << QZ3_GetError();
        const int trace = QZ3_GetACTrace(c.ncir, "V(C1)");
        ASSERT_EQ(QZ3_GetACDataSize(c.ncir, trace), 1);
        EXPECT_EQ(PointAt(c.ncir, trace, 0).f, 1.0);
    }
    Circuit c(Variant("ac_rc.qz3", "from=\"1\" to=\"1e6\" points=\"301\" scale=\"0\"",
                      "from=\"0\" to=\"1000\" points=\"11\" scale=\"1\"", "ac_rc_linear.qz3"));
    ASSERT_EQ(QZ3_CalcAC(c.ncir), 0) << QZ3_GetError();
    const int trace = QZ3_GetACTrace(c.ncir, "V(C1)");
    ASSERT_EQ(QZ3_GetACDataSize(c.ncir, trace), 11);
    for (int k = 0; k < 11; ++k) {
        const AcPoint p = PointAt(c.ncir, trace, k);
        EXPECT_NEAR(p.f, 100.0 * k, 1e-9);
        const double wrc = 2 * kPi * p.f * 1e-3;
        EXPECT_NEAR(p.magnitude * std::sqrt(1 + wrc * wrc), 1.0, 1e-9) << p.f;
    }
}
