#include <cmath>
#include <utility>

#include "solver/calc.h"
#include "solver/flag_scan.h"

namespace qz3 {

// A sum that cancels to rounding noise becomes an exact zero, so structural
// zeros stay zeros and a singular circuit is seen as singular. Judging against
// the addend alone is enough: a cancellation makes the two about equal.
bool CCalc::AddRound(double* a, double d) const {
    if (d == 0.0) return *a != 0.0;
    if (*a == 0.0) {
        *a = d;
        return true;
    }
    const double s = *a + d;
    *a = s;
    if (s == 0.0) return false;
    if (!std::isfinite(s)) return true;
    if (std::fabs(d) * m_Zero >= std::fabs(s)) {
        *a = 0.0;
        return false;
    }
    return true;
}

void CCalc::RowAdd(int src, int dst, double factor) {
    const int n = m_Size;
    const double* from = MatrixC[src];
    const unsigned char* fromFlag = FlagC[src];
    double* to = MatrixC[dst];
    unsigned char* toFlag = FlagC[dst];
    for (int j = 1; j < n; ++j) {
        if (!fromFlag[j]) continue;
        const double d = factor * from[j];
        if (toFlag[j]) {
            toFlag[j] = AddRound(&to[j], d);
        } else {
            to[j] = d;
            toFlag[j] = 1;
        }
    }
    toFlag[0] = 1;
}

// Rows above c that already hold a pivot are done for the forward pass; rows
// above c without one stay candidates and may take this column.
bool CCalc::TakesPartInColumn(int r, int c) const {
    return !RowOff[r] && !(r < c && FlagG[r][r]) && FlagG[r][c];
}

bool CCalc::TakesPartBelow(int r, int c) const { return r != c && TakesPartInColumn(r, c); }

// The greatest entry wins, the first of equal ones, and an exact 0 never.
int CCalc::FindPivotRow(int c) const {
    int best = 0;
    double bestAbs = 0.0;
    for (int r = 1; r < m_Size; ++r) {
        if (!TakesPartInColumn(r, c)) continue;
        const double v = std::fabs(MatrixG[r][c]);
        if (v > bestAbs) best = r, bestAbs = v;
    }
    return best;
}

// Row r of MatrixG -= m * pivot row c, from column c on; the flags follow the snaps.
void CCalc::SubtractPivotRow(int r, int c, double m) {
    const int n = m_Size;
    const double* pivotRow = MatrixG[c];
    const unsigned char* pivotFlags = FlagG[c];
    double* row = MatrixG[r];
    unsigned char* flags = FlagG[r];
    for (int j = c + 1; j < n; ++j) {
        if (RowOff[j] || !pivotFlags[j]) continue;
        const double d = -(m * pivotRow[j]);
        if (flags[j]) {
            flags[j] = AddRound(&row[j], d);
        } else {
            row[j] = d;
            flags[j] = 1;
        }
    }
    row[c] = 0.0;
    flags[c] = 0;
}

// The right side of the DC equations for SolveReal: VecE + VecB, rows out of the system 0.
void CCalc::LoadDcRightSide() {
    for (int i = 1; i < m_Size; ++i) {
        if (RowOff[i]) {
            VecX[i] = 0.0;
            continue;
        }
        VecX[i] = VecE[i];
        AddRound(&VecX[i], VecB[i]);
    }
}

// The flagged entries of the rows in the system, for SolveReal's walks.
void CCalc::ListEntries() {
    const int n = m_Size;
    m_Entries.Begin(n);
    for (int i = 1; i < n; ++i) {
        if (RowOff[i]) continue;
        ForEachFlag(FlagG[i], n, [&](int j) { m_Entries.Add(i, j); });
    }
}

// FindPivotRow over the listed rows of column c: the greatest entry, the
// first place among equal ones, and an exact 0 never.
int CCalc::FindListedPivot(int c) const {
    int best = 0;
    double bestAbs = 0.0;
    for (const int32_t id : m_Entries.RowsOf(c)) {
        const int r = m_Entries.Place(id);
        if (!TakesPartInColumn(r, c)) continue;
        const double v = std::fabs(MatrixG[r][c]);
        if (v > bestAbs || (v == bestAbs && v > 0.0 && r < best)) best = r, bestAbs = v;
    }
    return best;
}

// SubtractPivotRow over the listed columns of the pivot row; fill is listed.
void CCalc::SubtractListedPivotRow(int r, int c, double m) {
    const double* pivotRow = MatrixG[c];
    const unsigned char* pivotFlags = FlagG[c];
    double* row = MatrixG[r];
    unsigned char* flags = FlagG[r];
    const int rowId = m_Entries.Id(r);
    for (const int32_t j : m_Entries.ColumnsOf(m_Entries.Id(c))) {
        if (j <= c || RowOff[j] || !pivotFlags[j]) continue;
        const double d = -(m * pivotRow[j]);
        if (flags[j]) {
            flags[j] = AddRound(&row[j], d);
        } else {
            row[j] = d;
            flags[j] = 1;
            m_Entries.Add(rowId, j);
        }
    }
    row[c] = 0.0;
    flags[c] = 0;
}

// Gauss-Jordan on the flagged entries of MatrixG with the right side in column 0.
// Rows are exchanged by pointer, columns never, so x needs no permuting back.
// On return VecX[i] = -(G^-1 r)[i]; NodeBad marks undetermined (1) and infinite (255).
// The walks go through lists of the entries that exist; every entry sees the
// same operations in the same order as in a walk of the whole rows.
void CCalc::SolveReal() {
    const int n = m_Size;
    if (n < 1) return;
    m_RecordSteps = false;
    if (IsLargeCircuit() && SolveLarge()) return;
    m_MatrixDirty = true;
    for (int i = 1; i < n; ++i) MatrixG[i][0] = VecX[i];
    ListEntries();
    EliminateForward();
    if (m_RecordSteps) KeepSingularRecord();
    FinishSolveReal();
}

void CCalc::EliminateForward() {
    const int n = m_Size;
    double** G = MatrixG;
    unsigned char** F = FlagG;
    for (int c = 1; c < n; ++c) {
        if (RowOff[c]) continue;
        const int best = FindListedPivot(c);
        if (best == 0) continue;
        if (best != c) {
            std::swap(G[best], G[c]);
            std::swap(F[best], F[c]);
            m_Entries.SwapPlaces(best, c);
            if (m_RecordSteps) RecordStep({CRightSideStep::Swap, best, c, 0.0});
        }
        double* pivotRow = G[c];
        const double p = pivotRow[c];
        if (p != 1.0) {
            for (const int32_t j : m_Entries.ColumnsOf(m_Entries.Id(c)))
                if (F[c][j]) pivotRow[j] /= p;
            pivotRow[c] = 1.0;
            pivotRow[0] /= p;
            if (m_RecordSteps) RecordStep({CRightSideStep::Scale, c, 0, p});
        }
        for (const int32_t id : m_Entries.RowsOf(c)) {
            const int r = m_Entries.Place(id);
            if (!TakesPartBelow(r, c)) continue;
            const double m = G[r][c];
            SubtractListedPivotRow(r, c, m);
            AddRound(&G[r][0], -pivotRow[0] * m);
            if (m_RecordSteps) RecordStep({CRightSideStep::Subtract, r, c, m});
        }
    }
}

void CCalc::FinishSolveReal() {
    const int n = m_Size;
    double** G = MatrixG;
    unsigned char** F = FlagG;
    // A row without pivot and with nothing on its right side said nothing about
    // its unknown: the unknown is free and takes 0.
    for (int i = 1; i < n; ++i) {
        if (RowOff[i] || F[i][i]) continue;
        if (G[i][0] == 0.0) {
            G[i][i] = 1.0;
            F[i][i] = 1;
        }
    }
    // The unknowns that could not be found, in the order they were met.
    std::vector<int32_t>& bad = m_BadUnknowns;
    bad.clear();
    for (int i = 0; i < n; ++i) NodeBad[i] = 0;
    for (int i = 1; i < n; ++i) VecX[i] = 0.0;

    for (int i = n - 1; i >= 1; --i) {
        if (RowOff[i]) continue;
        const double q = G[i][0];
        if (!F[i][i]) {
            NodeBad[i] = q == 0.0 ? 1 : 255;
            bad.push_back(i);
            continue;
        }
        VecX[i] = -q;
        for (const int32_t id : m_Entries.RowsOf(i)) {
            const int r = m_Entries.Place(id);
            if (r >= i || RowOff[r] || !F[r][i]) continue;
            double* row = G[r];
            AddRound(&row[0], -row[i] * q);
            // Pass the dependence on an unknown that could not be found up to the rows leaning on i.
            // Each such unknown has an entry of its own: the order of the walk doesn't matter.
            for (const int32_t j : bad) F[r][j] = AddRound(&row[j], -G[i][j] * row[i]);
        }
    }
    if (bad.empty()) return;
    // One ascending sweep: what depends on an undetermined unknown is undetermined too.
    for (int i = 1; i < n; ++i) {
        const unsigned char v = NodeBad[i];
        if (RowOff[i] || v == 0) continue;
        for (int r = 1; r < i; ++r)
            if (!RowOff[r] && G[r][i] != 0.0 && NodeBad[r] < 255) NodeBad[r] = v;
    }
}

}  // namespace qz3
