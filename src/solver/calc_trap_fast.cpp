#include <utility>

#include "solver/calc.h"
#include "solver/calc_entries.h"

namespace qz3 {

// Eliminates A = G + 2C/h once for the nominal step. Afterwards MatrixC holds
// -A^-1 * (4C/h), extended by the columns of RowInput, and VecB holds A^-1 * 2B;
// that stays right for as long as neither h nor any element state changes.
// A system met before in this run is taken from the cache instead. A large
// circuit keeps sparse factors of A instead (calc_trap_sparse.cpp).
bool CCalc::FactorTrap() {
    m_Integrating = 1;
    if (!AssembleInStretch()) return false;
    // The factorisation ends the Euler phase and changes C and the rows' shape.
    m_AssemblyCopy.Drop();
    m_TrapSparse = false;
    if (IsLargeCircuit()) {
        PrepareTrapMatrices();
        m_TrapSparse = FactorTrapSparse();
        if (!m_TrapSparse) {
            DensifyRows();
            EliminateTrap();
        }
        ++m_FactorCount;
        return true;
    }
    const bool caching = m_FactorCache.Budget() > 0;
    const CFactorKey key = caching ? TrapFactorKey() : CFactorKey{};
    if (const CFactorEntry* kept = caching ? m_FactorCache.Find(key) : nullptr) {
        RestoreTrapFactor(*kept);
        ++m_FactorHits;
        return true;
    }
    PrepareTrapMatrices();
    EliminateTrap();
    ++m_FactorCount;
    if (caching) m_FactorCache.Store(SaveTrapFactor(key));
    return true;
}

void CCalc::PrepareTrapMatrices() {
    const int n = m_Size;
    const double w = 2.0 / m_Step;
    for (int i = 1; i < n; ++i) {
        if (RowOff[i]) continue;
        VecB[i] *= 2.0;
        if (RowFlagC(i)) {
            unsigned char& anyG = RowFlagG(i);
            ForEachEntry(i, [&](int j, double& g, double& c, unsigned char& fg, unsigned char& fc) {
                if (RowOff[j] || !fc) return;
                const double v = w * c;
                c = -2.0 * v;
                AddRound(&g, v);
                fg = 1;
                anyG = 1;
            });
        }
        // An input unknown carries E0 + E1 through its own column of the product.
        if (RowInput[i]) SetFlaggedC(i, i, 1.0);
    }
}

void CCalc::SetFlaggedC(int i, int j, double value) {
    if (IsLargeCircuit()) {
        CRowEntry& e = m_Rows.At(i, j);
        e.c = value;
        e.flagC = 1;
        m_Rows.AnyC(i) = 1;
        return;
    }
    MatrixC[i][j] = value;
    FlagC[i][j] = 1;
    FlagC[i][0] = 1;
}

// The elimination of SolveReal, with every row operation applied to MatrixC
// and VecB as well, and a backward pass that clears above the diagonal.
void CCalc::EliminateTrap() {
    m_MatrixDirty = true;
    const int n = m_Size;
    double** G = MatrixG;
    unsigned char** F = FlagG;
    for (int c = 1; c < n; ++c) {
        if (RowOff[c]) continue;
        const int best = FindPivotRow(c);
        if (best == 0) continue;
        if (best != c) SwapTrapRows(best, c);
        if (G[c][c] != 1.0) ScaleTrapRow(c);
        for (int r = 1; r < n; ++r) {
            if (!TakesPartBelow(r, c)) continue;
            const double m = G[r][c];
            SubtractPivotRow(r, c, m);
            if (FlagC[c][0]) RowAdd(c, r, -m);
            AddRound(&VecB[r], -VecB[c] * m);
        }
    }
    for (int i = n - 1; i >= 1; --i) {
        if (RowOff[i] || G[i][i] == 0.0) continue;
        for (int r = i - 1; r >= 1; --r) {
            if (RowOff[r] || !F[r][i]) continue;
            const double m = G[r][i];
            if (m != 0.0) {
                if (FlagC[i][0]) RowAdd(i, r, -m);
                AddRound(&VecB[r], -VecB[i] * m);
            }
            G[r][i] = 0.0;
            F[r][i] = 0;
        }
    }
}

void CCalc::SwapTrapRows(int r1, int r2) {
    std::swap(MatrixG[r1], MatrixG[r2]);
    std::swap(FlagG[r1], FlagG[r2]);
    std::swap(MatrixC[r1], MatrixC[r2]);
    std::swap(FlagC[r1], FlagC[r2]);
    std::swap(VecB[r1], VecB[r2]);
}

void CCalc::ScaleTrapRow(int c) {
    const int n = m_Size;
    const double inv = 1.0 / MatrixG[c][c];
    double* g = MatrixG[c];
    double* cRow = MatrixC[c];
    for (int j = 1; j < n; ++j) {
        if (FlagG[c][j]) g[j] *= inv;
        if (FlagC[c][j]) cRow[j] *= inv;
    }
    g[c] = 1.0;
    VecB[c] *= inv;
}

// One trapezoidal step as a single product: no assembly, no elimination.
bool CCalc::StepTrapFast() {
    m_Integrating = 1;
    if (!RunPhase(PhaseSources, m_Time + m_Step)) return false;
    if (m_TrapSparse)
        TrapSparseSolve();
    else
        TrapFastProduct();
    return ResolveLinks();
}

// x1 = -x0 - A^-1 (E0 + E1 + 2B) + A^-1 (4C/h) x0. Positive and negative parts
// are summed apart so that the final snap judges cancellation against their size.
// Rows with a link are left to ResolveLinks.
void CCalc::TrapFastProduct() {
    const int n = m_Size;
    const double* p = VecXPrev;
    for (int j = 0; j < n; ++j) MatrixG[j][0] = RowInput[j] ? VecEPrev[j] + VecE[j] : p[j];
    for (int i = 1; i < n; ++i) {
        if (RowOff[i] || NodeLink[i].kind != 0) continue;
        double s = p[i];
        AddRound(&s, VecB[i]);
        double pos = 0.0, neg = 0.0;
        (s >= 0.0 ? pos : neg) = s;
        if (FlagC[i][0]) {
            const double* c = MatrixC[i];
            const unsigned char* fc = FlagC[i];
            for (int j = 1; j < n; ++j) {
                if (!fc[j]) continue;
                const double d = c[j] * MatrixG[j][0];
                (d >= 0.0 ? pos : neg) += d;
            }
        }
        VecX[i] = -pos;
        AddRound(&VecX[i], -neg);
    }
}

}  // namespace qz3
