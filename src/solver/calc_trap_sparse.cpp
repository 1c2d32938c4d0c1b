// The trapezoidal step of large circuits: sparse triangular solves instead of
// a product with the eliminated system.
//
// FactorTrap leaves -A^-1 (4C/h) in MatrixC, and A^-1 is dense: the product
// costs n^2 per step however sparse the circuit is. A large circuit keeps the
// sparse LU factors of A = G + 2C/h instead, together with the prepared
// C' = -4C/h (and the columns of the input rows) and 2B, and each step solves
//     A z = 2B + C' y,    x1 = -(x0 + z)
// which is the same product taken the other way round. The factors are made
// from the flagged entries that PrepareTrapMatrices leaves, over the rows and
// columns in the system. A system the sparse factorisation finds singular goes
// on through the dense elimination, so that its rows without a pivot behave
// exactly as they always have.
#include <algorithm>

#include "solver/calc.h"

namespace qz3 {

// After PrepareTrapMatrices: false when the system is singular to within m_Zero.
bool CCalc::FactorTrapSparse() {
    CollectSystemColumns(m_TrapColumns);
    CollectTrapRightSide();
    m_TrapLu = m_TrapLus.Update(m_TrapColumns, m_Zero);
    return m_TrapLu != nullptr;
}

// Numbers the unknowns in the system (the rows not out of it) and copies the
// flagged entries of G over them by columns.
void CCalc::CollectSystemColumns(CSparseColumns& a) {
    m_LastEuler.lu = nullptr;
    const int n = m_Size;
    m_SparseSlot.assign(static_cast<size_t>(n), -1);
    m_SparseUnknown.clear();
    for (int i = 1; i < n; ++i) {
        if (RowOff[i]) continue;
        m_SparseSlot[i] = static_cast<int32_t>(m_SparseUnknown.size());
        m_SparseUnknown.push_back(i);
    }
    const int size = static_cast<int>(m_SparseUnknown.size());
    a.Clear(size);
    // Count per column, then place.
    std::vector<int32_t>& count = a.start;
    count.assign(static_cast<size_t>(size) + 1, 0);
    ForEachSystemEntry([&](int, int j, double) { ++count[m_SparseSlot[j] + 1]; });
    for (int s = 0; s < size; ++s) count[s + 1] += count[s];
    a.row.assign(static_cast<size_t>(count[size]), 0);
    a.value.assign(static_cast<size_t>(count[size]), 0.0);
    m_SparseFill.assign(count.begin(), count.end() - 1);
    ForEachSystemEntry([&](int i, int j, double g) {
        const int32_t at = m_SparseFill[m_SparseSlot[j]]++;
        a.row[at] = m_SparseSlot[i];
        a.value[at] = g;
    });
}

// Calls visit(i, j, g) for each flagged entry of G in a row and a column of
// the system, row by row and in rising columns.
template <class Visit>
void CCalc::ForEachSystemEntry(Visit&& visit) {
    for (const int32_t i : m_SparseUnknown)
        for (const CRowEntry& e : m_Rows.Row(i))
            if (e.flagG && m_SparseSlot[e.column] >= 0) visit(i, e.column, e.g);
}

// C' by rows over all columns, as the product would use it, and 2B.
void CCalc::CollectTrapRightSide() {
    const int size = static_cast<int>(m_SparseUnknown.size());
    m_TrapB.assign(static_cast<size_t>(size), 0.0);
    m_TrapRight.assign(static_cast<size_t>(size), 0.0);
    m_TrapCStart.assign(1, 0);
    m_TrapCColumn.clear();
    m_TrapCValue.clear();
    for (int s = 0; s < size; ++s) {
        const int i = m_SparseUnknown[s];
        m_TrapB[s] = VecB[i];
        for (const CRowEntry& e : m_Rows.Row(i)) {
            if (!e.flagC) continue;
            m_TrapCColumn.push_back(e.column);
            m_TrapCValue.push_back(e.c);
        }
        m_TrapCStart.push_back(static_cast<int32_t>(m_TrapCColumn.size()));
    }
    m_TrapUnknown = m_SparseUnknown;
}

// x1 = -(x0 + A^-1 (2B + C' y)), with y = x0 or E0 + E1 on the input rows.
// Rows with a link are left to ResolveLinks.
void CCalc::TrapSparseSolve() {
    const double* p = VecXPrev;
    const int size = static_cast<int>(m_TrapUnknown.size());
    double* right = m_TrapRight.data();
    for (int s = 0; s < size; ++s) {
        double sum = m_TrapB[s];
        for (int32_t q = m_TrapCStart[s]; q < m_TrapCStart[s + 1]; ++q) {
            const int j = m_TrapCColumn[q];
            sum += m_TrapCValue[q] * (RowInput[j] ? VecEPrev[j] + VecE[j] : p[j]);
        }
        right[s] = sum;
    }
    m_TrapLu->Solve(right);
    for (int s = 0; s < size; ++s) {
        const int i = m_TrapUnknown[s];
        if (NodeLink[i].kind != 0) continue;
        VecX[i] = -p[i];
        AddRound(&VecX[i], -right[s]);
    }
}

}  // namespace qz3
