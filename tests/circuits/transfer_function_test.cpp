// Transfer-function blocks through the C interface: a second-order low-pass
// written as coefficients, as roots and as a formula of s gives the same
// complex value in AC analysis, and the coefficient and root forms follow
// the inverse Laplace transform of a step in a transient run; an integrator
// starts from its IC; a z-block is a wire in a transient run.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <string>

#include "circuit_run.h"
#include "qz3.h"

namespace {

using qz3test::Circuit;
using qz3test::TestCircuit;

constexpr double kPi = 3.14159265358;  // the solver's own digits of pi

// H(s) = 1 / (1 + s/1000)^2: a double pole at 1000 rad/s.
std::complex<double> LowPass(double f) {
    const std::complex<double> s(0.0, 2 * f * kPi);
    const std::complex<double> d = 1.0 + s / 1000.0;
    return 1.0 / (d * d);
}

}  // namespace

TEST(TransferFunction, CoefficientsRootsAndFormulaGiveTheirComplexValue) {
    Circuit c(TestCircuit("tf_blocks.qz3"));
    ASSERT_EQ(QZ3_CalcAC(c.ncir), 0) << QZ3_GetError();
    for (const char* name : {"Vpoly", "Vfunc", "Vroots"}) {
        const int trace = QZ3_GetACTrace(c.ncir, name);
        ASSERT_EQ(QZ3_GetACDataSize(c.ncir, trace), 6) << name;
        for (int k = 0; k < 6; ++k) {
            double f = 0, magnitude = 0, phase = 0;
            ASSERT_EQ(QZ3_GetACDataAt(c.ncir, trace, k, &f, &magnitude, &phase), 0);
            const std::complex<double> h = LowPass(f);
            EXPECT_NEAR(magnitude / std::abs(h), 1.0, 1e-9) << name << " f=" << f;
            EXPECT_NEAR(phase, std::arg(h) * 180 / kPi, 1e-7) << name << " f=" << f;
        }
    }
    // The z-block 1/(1 - 0.5/z) with z = exp(s T), T = 0.1 ms.
    const int z = QZ3_GetACTrace(c.ncir, "Vz");
    for (int k = 0; k < 6; ++k) {
        double f = 0, magnitude = 0, phase = 0;
        ASSERT_EQ(QZ3_GetACDataAt(c.ncir, z, k, &f, &magnitude, &phase), 0);
        const std::complex<double> h = 1.0 / (1.0 - 0.5 * std::exp(std::complex<double>(0.0, -2 * f * kPi * 1e-4)));
        EXPECT_NEAR(magnitude / std::abs(h), 1.0, 1e-9) << f;
    }
}

// A unit step at 1 ms into the double pole: y = 1 - (1 + x) e^-x with x
// the time since the step in milliseconds. The formula block is its gain at
// s = 0 in a transient run, the integrator 1/(1e-3 s) ramps from its IC of
// 2 V at 1 V/ms, and the z-block passes its input.
TEST(TransferFunction, StepResponseFollowsTheInverseLaplaceTransform) {
    Circuit c(TestCircuit("tf_blocks.qz3"));
    const int poly = QZ3_AddVTrace(c.ncir, "RO"), roots = QZ3_AddVTrace(c.ncir, "R4");
    const int gain = QZ3_AddVTrace(c.ncir, "R3"), integrator = QZ3_AddVTrace(c.ncir, "R5"), wire = QZ3_AddVTrace(c.ncir, "R6");
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(c.ncir, 6e-3), 0) << QZ3_GetError();
    for (int trace : {poly, roots}) {
        const int count = QZ3_GetDataSize(c.ncir, trace);
        ASSERT_GT(count, 100);
        for (int i = 0; i < count; ++i) {
            double t = 0, y = 0;
            ASSERT_EQ(QZ3_GetDataAt(c.ncir, trace, i, &t, &y), 0);
            const double x = (t - 1e-3) / 1e-3;
            const double expected = t <= 1e-3 ? 0.0 : 1 - (1 + x) * std::exp(-x);
            EXPECT_NEAR(y, expected, 1e-4) << "t=" << t;
        }
    }
    double y = 0;
    ASSERT_EQ(QZ3_GetData(c.ncir, gain, 3e-3, &y), 0);
    EXPECT_NEAR(y, 1.0, 1e-12);
    ASSERT_EQ(QZ3_GetData(c.ncir, integrator, 0.5e-3, &y), 0);
    EXPECT_NEAR(y, 2.0, 1e-12);
    ASSERT_EQ(QZ3_GetData(c.ncir, integrator, 4e-3, &y), 0);
    EXPECT_NEAR(y, 2.0 + 3.0, 1e-3);
    ASSERT_EQ(QZ3_GetData(c.ncir, wire, 3e-3, &y), 0);
    EXPECT_NEAR(y, 1.0, 1e-12);
}

TEST(TransferFunction, BadCoefficientsAndRootsGiveTheirMessages) {
    {
        Circuit c(TestCircuit("tf_blocks.qz3"));
        ASSERT_EQ(QZ3_SetText(c.ncir, "H1.a0", "0"), 0);
        ASSERT_EQ(QZ3_SetText(c.ncir, "H1.a1", "0"), 0);
        ASSERT_EQ(QZ3_SetText(c.ncir, "H1.a2", "0"), 0);
        EXPECT_NE(QZ3_Start(c.ncir), 0);
        EXPECT_EQ(std::string(QZ3_GetError()), "QZ3_Start: H1 : zero denominator\n");
    }
    Circuit c(TestCircuit("tf_blocks.qz3"));
    ASSERT_EQ(QZ3_SetText(c.ncir, "H3.Roots", "0, 1, x, 0"), 0) << QZ3_GetError();
    EXPECT_NE(QZ3_Start(c.ncir), 0);
    EXPECT_NE(std::string(QZ3_GetError()).find("H3 : Error converting roots to polynomials"), std::string::npos)
        << QZ3_GetError();
    ASSERT_EQ(QZ3_SetText(c.ncir, "H3.Roots", "0, 2, -1000, 0, -1000, 0"), 0);
    ASSERT_EQ(QZ3_SetText(c.ncir, "H1.b0", "inf"), 0);
    EXPECT_NE(QZ3_Start(c.ncir), 0);
    EXPECT_EQ(std::string(QZ3_GetError()), "QZ3_Start: H1 : b0 = infinite\n");
}

// An impedance 1/(s C) as coefficients and as a formula behind 1 kOhm: in
// AC both are the RC low-pass; in a transient run the coefficient form
// charges as a capacitor (1 - exp(-t/RC) after the step at 1 ms) and the
// formula form is a short.
TEST(Impedance, CapacitanceAsCoefficientsAndAsFormula) {
    Circuit c(TestCircuit("z_impedance.qz3"));
    ASSERT_EQ(QZ3_CalcAC(c.ncir), 0) << QZ3_GetError();
    for (const char* name : {"Vpoly", "Vformula"}) {
        const int trace = QZ3_GetACTrace(c.ncir, name);
        ASSERT_EQ(QZ3_GetACDataSize(c.ncir, trace), 5);
        for (int k = 0; k < 5; ++k) {
            double f = 0, magnitude = 0, phase = 0;
            ASSERT_EQ(QZ3_GetACDataAt(c.ncir, trace, k, &f, &magnitude, &phase), 0);
            const std::complex<double> h = 1.0 / std::complex<double>(1.0, 2 * f * kPi * 1e-3);
            EXPECT_NEAR(magnitude / std::abs(h), 1.0, 1e-9) << name << " " << f;
            EXPECT_NEAR(phase, std::arg(h) * 180 / kPi, 1e-7) << name << " " << f;
        }
    }
    const int poly = QZ3_AddVTrace(c.ncir, "ZC"), formula = QZ3_AddVTrace(c.ncir, "ZF");
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(c.ncir, 6e-3), 0) << QZ3_GetError();
    const int count = QZ3_GetDataSize(c.ncir, poly);
    ASSERT_GT(count, 100);
    for (int i = 0; i < count; ++i) {
        double t = 0, v = 0;
        ASSERT_EQ(QZ3_GetDataAt(c.ncir, poly, i, &t, &v), 0);
        EXPECT_NEAR(v, t <= 1e-3 ? 0.0 : 1 - std::exp(-(t - 1e-3) / 1e-3), 1e-4) << t;
    }
    double v = 1;
    ASSERT_EQ(QZ3_GetData(c.ncir, formula, 3e-3, &v), 0);
    EXPECT_EQ(v, 0.0);
}
