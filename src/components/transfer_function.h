// A transfer function as a ratio of polynomials of degree up to 5, shared
// by the s-function block and the impedance: its coefficients from the
// formulas or from zeros and poles, and its complex value at a point.
//
//     H(x) = (b0 + b1 x + ... + bn x^n) / (a0 + a1 x + ... + an x^n)
#pragma once

#include <complex>
#include <string>

#include "expr/var_list.h"

namespace qz3 {

class CSolverPort;
class CCmp;

constexpr int kMaxOrder = 5;

struct CPolynomialRatio {
    int order = 0;
    double b[kMaxOrder + 1] = {1, 0, 0, 0, 0, 0};
    double a[kMaxOrder + 1] = {1, 0, 0, 0, 0, 0};

    // Horner's scheme from degree n down; false (h untouched) when the
    // denominator is exactly 0.
    bool At(std::complex<double> x, std::complex<double>& h) const;
    // Every denominator coefficient up to the order is 0.
    bool ZeroDenominator() const;
    // From "count, re, im, ..., count, re, im, ...": zeros, then poles; a
    // complex root stands for its conjugate too, which follows it and is
    // skipped. The numerator is multiplied by `gain`. Fewer than three items
    // leave order 0; false when an item doesn't parse.
    bool FromRoots(const std::string& text, double gain);
};

// Numbers separated by "," into out[0..count-1]; the rest stay 0.
void ReadNumberList(const std::string& text, double* out, int count);

// A formula of the frequency variables "f", "w" (doubles), "s" and "p" (j w)
// and, for z-domain blocks, "z", with a complex result; a real result has
// imaginary part 0.
class CFrequencyFormula {
public:
    // False with the evaluator's text in `error`.
    bool Evaluate(CSolverPort* calc, const CCmp* cmp, const std::string& text, double f, double omega,
                  std::complex<double> z, std::complex<double>& out, std::string& error);

private:
    CVarList m_Vars;
};

}  // namespace qz3
