// The solver's side of an AC analysis: the operating point that fixes the
// element states, the linearisation of the elements, and one complex
// elimination per frequency over G + jC.
#include <cmath>

#include "base/constants.h"
#include "components/cmp.h"
#include "solver/calc.h"

namespace qz3 {

namespace {

struct Complex {
    double re, im;
};

Complex Times(Complex a, Complex b) { return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re}; }

}  // namespace

// With dcop the states are those of the operating point, searched as at
// the start of a transient run; otherwise those PhaseInit left.
bool CCalc::SolveAcOperatingPoint() {
    m_AcInDcop = true;
    m_Transient = true;
    const int r = SolveSwitching(false);
    m_Transient = false;
    m_AcInDcop = false;
    if (r != 0 && m_Error.empty()) m_Error = "No solution in sim_ic: reason unknown";
    return r == 0;
}

// Elements with a formula find their small-signal gain; a subcircuit's
// stand-in and a component with no pin connected take no part.
bool CCalc::LinearizeComponents() {
    for (CCmp* cmp : m_Cmps) {
        if (cmp->IsSubCircuit()) continue;
        if (cmp->pinCount > 0 && cmp->IsDisconnected()) continue;
        if (!cmp->Simulate(this, PhaseLinearize, m_Time)) return false;
    }
    return true;
}

bool CCalc::SolveAC(double f, int row) {
    m_Omega = (f + f) * kPi;
    m_Integrating = 1;
    m_Time = f;
    if (!Assemble()) return false;
    if (IsLargeCircuit()) DensifyRows();
    const int n = m_Size;
    for (int i = 0; i < n; ++i) VecE[i] = VecEIm[i] = 0.0;
    if (row > 0 && row < n) VecE[row] = -1.0;
    SolveComplex(VecE, VecEIm);
    for (int i = 1; i < n; ++i) {
        if (std::isfinite(VecE[i]) && std::isfinite(VecEIm[i])) continue;
        SetError("Infinite or invalid solution");
        return false;
    }
    return true;
}

// The plan of SolveReal on M = G + jC: an entry is present when either part
// is flagged; rows change places by pointer, so x needs no permuting back.
void CCalc::SolveComplex(double* re, double* im) {
    m_MatrixDirty = true;
    const int n = m_Size;
    if (n < 2) return;
    double** G = MatrixG;
    double** C = MatrixC;
    unsigned char** FG = FlagG;
    unsigned char** FC = FlagC;
    const auto present = [&](int r, int j) { return FG[r][j] || FC[r][j]; };
    const auto at = [&](int r, int j) { return Complex{G[r][j], C[r][j]}; };
    for (int i = 1; i < n; ++i) {
        G[i][0] = re[i];
        C[i][0] = im[i];
    }
    for (int c = 1; c < n; ++c) {
        int best = 0;
        double bestSquare = 0.0;
        for (int r = 1; r < n; ++r) {
            if ((r < c && present(r, r)) || !present(r, c)) continue;
            const double square = G[r][c] * G[r][c] + C[r][c] * C[r][c];
            if (square > bestSquare) best = r, bestSquare = square;
        }
        if (best == 0) {
            // No row can pivot here, so every present entry of the column
            // is zero; a zero diagonal left flagged would pass its row for
            // one already used, and it would never be eliminated.
            FG[c][c] = FC[c][c] = 0;
            continue;
        }
        if (best != c) {
            std::swap(G[best], G[c]);
            std::swap(C[best], C[c]);
            std::swap(FG[best], FG[c]);
            std::swap(FC[best], FC[c]);
        }
        ScaleComplexPivotRow(c);
        for (int r = 1; r < n; ++r) {
            if (r == c || !present(r, c) || (r < c && present(r, r))) continue;
            const Complex m = at(r, c);
            for (int j = c + 1; j < n; ++j) {
                if (!present(c, j)) continue;
                const Complex d = Times(m, at(c, j));
                if (!present(r, j)) {
                    G[r][j] = -d.re;
                    C[r][j] = -d.im;
                    FG[r][j] = d.re != 0.0;
                    FC[r][j] = d.im != 0.0;
                } else {
                    FG[r][j] = AddRound(&G[r][j], -d.re);
                    FC[r][j] = AddRound(&C[r][j], -d.im);
                }
            }
            G[r][c] = C[r][c] = 0.0;
            FG[r][c] = FC[r][c] = 0;
            const Complex d0 = Times(m, at(c, 0));
            AddRound(&G[r][0], -d0.re);
            AddRound(&C[r][0], -d0.im);
        }
    }
    BackSubstituteComplex(re, im);
}

// Row c divided by its pivot p, so that M[c][c] becomes 1: the right side
// (column 0) and the present entries right of c.
void CCalc::ScaleComplexPivotRow(int c) {
    const int n = m_Size;
    double* g = MatrixG[c];
    double* ci = MatrixC[c];
    const unsigned char* fg = FlagG[c];
    const unsigned char* fc = FlagC[c];
    const double a = g[c], b = ci[c];
    const bool complexPivot = b != 0.0;
    if (complexPivot || a != 1.0) {
        const double k = complexPivot ? 1.0 / (a * a + b * b) : 0.0;
        const Complex inverse = complexPivot ? Complex{a * k, -b * k} : Complex{1.0 / a, 0.0};
        for (int j = 0; j < n; j = j == 0 ? c + 1 : j + 1) {
            if (j > 0 && !(fg[j] || fc[j])) continue;
            if (complexPivot) {
                const Complex v = Times(Complex{g[j], ci[j]}, inverse);
                g[j] = v.re;
                ci[j] = v.im;
            } else {
                g[j] /= a;
                ci[j] /= a;
            }
        }
    }
    g[c] = 1.0;
    ci[c] = 0.0;
    FlagG[c][c] = 1;
    FlagC[c][c] = 0;
}

// From the last row up: a row without its diagonal leaves its unknown at 0
// and marks it; what leans on it carries the dependence up.
void CCalc::BackSubstituteComplex(double* re, double* im) {
    const int n = m_Size;
    double** G = MatrixG;
    double** C = MatrixC;
    unsigned char** FG = FlagG;
    unsigned char** FC = FlagC;
    for (int i = 0; i < n; ++i) {
        re[i] = im[i] = 0.0;
        NodeBad[i] = 0;
    }
    bool badSeen = false;
    for (int i = n - 1; i >= 1; --i) {
        if (!(FG[i][i] || FC[i][i])) {
            NodeBad[i] = 1;
            badSeen = true;
            continue;
        }
        const Complex q{G[i][0], C[i][0]};
        re[i] = -q.re;
        im[i] = -q.im;
        for (int r = i - 1; r >= 1; --r) {
            if (!(FG[r][i] || FC[r][i])) continue;
            const Complex m{G[r][i], C[r][i]};
            const Complex d = Times(m, q);
            AddRound(&G[r][0], -d.re);
            AddRound(&C[r][0], -d.im);
            if (!badSeen) continue;
            for (int j = i + 1; j < n; ++j) {
                if (!NodeBad[j]) continue;
                const Complex e = Times(Complex{G[i][j], C[i][j]}, m);
                FG[r][j] = AddRound(&G[r][j], -e.re);
                FC[r][j] = AddRound(&C[r][j], -e.im);
            }
        }
    }
}

}  // namespace qz3
