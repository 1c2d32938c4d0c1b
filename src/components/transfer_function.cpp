#include "components/transfer_function.h"

#include "base/constants.h"
#include "base/list.h"
#include "components/cmp.h"
#include "components/cmps.h"
#include "components/solver_port.h"
#include "expr/eval_expr.h"
#include "expr/number_text.h"

namespace qz3 {

namespace {

std::string Trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// c(s) *= (s - re), or by (s^2 - 2 re s + re^2 + im^2) for a conjugate pair.
void MultiplyByRoot(double* c, double re, double im) {
    if (im == 0.0) {
        for (int k = kMaxOrder; k >= 0; --k) c[k] = (k > 0 ? c[k - 1] : 0.0) - re * c[k];
        return;
    }
    const double m = re * re + im * im;
    for (int k = kMaxOrder; k >= 0; --k)
        c[k] = c[k] * m - 2.0 * re * (k > 0 ? c[k - 1] : 0.0) + (k > 1 ? c[k - 2] : 0.0);
}

// One group of roots from position `at`: its count, then its pairs.
bool ReadRootGroup(const TStringList& items, int& at, double* c, int& count) {
    double n = 0.0;
    if (at >= items.Count() || !ParseDouble(Trimmed(items[at]), n)) n = 0.0;
    ++at;
    count = n > 0 && n <= kMaxOrder ? static_cast<int>(n) : 0;
    for (int r = 0; r < count; ++r) {
        double re = 0.0, im = 0.0;
        if (at + 1 >= items.Count() || !ParseDouble(Trimmed(items[at]), re) ||
            !ParseDouble(Trimmed(items[at + 1]), im))
            return false;
        at += 2;
        MultiplyByRoot(c, re, im);
        if (im != 0.0) {
            at += 2;  // the conjugate
            ++r;
        }
    }
    return true;
}

}  // namespace

bool CPolynomialRatio::At(std::complex<double> x, std::complex<double>& h) const {
    std::complex<double> num = b[order], den = a[order];
    for (int k = order - 1; k >= 0; --k) {
        num = num * x + b[k];
        den = den * x + a[k];
    }
    if (den == std::complex<double>(0.0, 0.0)) return false;
    h = num / den;
    return true;
}

bool CPolynomialRatio::ZeroDenominator() const {
    for (int k = 0; k <= order; ++k)
        if (a[k] != 0.0) return false;
    return true;
}

bool CPolynomialRatio::FromRoots(const std::string& text, double gain) {
    order = 0;
    for (int k = 0; k <= kMaxOrder; ++k) b[k] = a[k] = k == 0 ? 1.0 : 0.0;
    TStringList items;
    items.Split(text, ',');
    if (items.Count() < 3) return true;
    int at = 0, zeros = 0, poles = 0;
    if (!ReadRootGroup(items, at, b, zeros) || !ReadRootGroup(items, at, a, poles)) return false;
    order = zeros > poles ? zeros : poles;
    for (double& coefficient : b) coefficient *= gain;
    return true;
}

void ReadNumberList(const std::string& text, double* out, int count) {
    for (int i = 0; i < count; ++i) out[i] = 0.0;
    TStringList items;
    items.Split(text, ',');
    for (int i = 0; i < items.Count() && i < count; ++i) {
        double v = 0.0;
        if (ParseDouble(Trimmed(items[i]), v)) out[i] = v;
    }
}

bool CFrequencyFormula::Evaluate(CSolverPort* calc, const CCmp* cmp, const std::string& text, double f, double omega,
                                 std::complex<double> z, std::complex<double>& out, std::string& error) {
    if (m_Vars.Count() == 0) {
        m_Vars.AddAcDefaults();
        m_Vars.Add("z", vtComplex, 0);
    }
    if (m_Vars.Count() < 5) {
        error = "No enough memory";
        return false;
    }
    m_Vars[0].Value->SetDouble(f);
    m_Vars[1].Value->SetDouble(omega);
    m_Vars[2].Value->SetComplex(0.0, omega);
    m_Vars[3].Value->SetComplex(0.0, omega);
    m_Vars[4].Value->SetComplex(z.real(), z.imag());
    double real = 0.0;
    CValue typed;
    if (!EvalExpr(text, &real, calc->Doc(), &m_Vars, cmp->owner, true, nullptr, &typed)) {
        error = ExprError();
        return false;
    }
    out = {typed.AsDouble(), typed.ImOrZero()};
    return true;
}

}  // namespace qz3
