// SolveReal of a large circuit: the sparse LU instead of Gauss-Jordan.
//
// The elimination in the natural order of the unknowns fills a converter's
// matrix badly (every phase meets the shared output node); the sparse factors
// in minimum-degree order stay small. They answer only for a system that is
// regular: a column whose pivot is rounding noise against its column (m_Zero,
// the threshold of the snaps) sends the solve to Gauss-Jordan, which marks the
// free and the infinite unknowns in NodeBad exactly as it always has.
#include <cstring>

#include "solver/calc.h"

namespace qz3 {

// The n x n storage is calloc'ed untouched: a large circuit pays for its pages
// only from the first time a dense way needs them. Column 0 is left to the
// dense ways, which keep the right side there, except for the row flags.
void CCalc::DensifyRows() {
    ClearDenseStorage();
    for (const int32_t i : m_Rows.WrittenRows()) {
        for (const CRowEntry& e : m_Rows.Row(i)) {
            MatrixG[i][e.column] = e.g;
            MatrixC[i][e.column] = e.c;
            FlagG[i][e.column] = e.flagG;
            FlagC[i][e.column] = e.flagC;
        }
        FlagG[i][0] = m_Rows.AnyG(i);
        FlagC[i][0] = m_Rows.AnyC(i);
    }
}

// Zeros the n x n storage unless it is still untouched; it is in use from now.
void CCalc::ClearDenseStorage() {
    const size_t n = static_cast<size_t>(m_Size);
    if (m_MatrixDirty) {
        std::memset(m_MatrixBlock, 0, 2 * n * n * sizeof(double));
        std::memset(m_FlagBlock, 0, 2 * n * n);
    }
    m_MatrixDirty = true;
}

// SolveReal of a large circuit: true when solved; false when the dense
// elimination must run, on the rows copied out for it.
bool CCalc::SolveLarge() {
    if (m_SolvingEuler && SameEulerSystem()) {
        ++m_EulerReuses;
        SolveBy(*m_LastEuler.lu);
        return true;
    }
    CollectSystemColumns(m_SolveColumns);
    CSparseLu& lu = m_SolveLus.Pattern(m_SolveColumns);
    // A pattern that was singular last time is mostly a trial state met
    // before: its record answers without the factorisation failing again.
    const bool suspect = lu.FoundSingular();
    bool replayed = suspect && ReplaySingularSolve();
    if (!replayed) {
        if (SolveSparse(lu)) {
            if (m_SolvingEuler) m_LastEuler = {m_RowsAssembly, m_Step, m_Zero, &lu};
            return true;
        }
        replayed = !suspect && ReplaySingularSolve();
    }
    ++m_SingularSolves;
    if (replayed) {
        FinishSolveReal();
        ClearReplayedSystem();
        return true;
    }
    m_RecordSteps = m_SingularRecords.Budget() > 0;
    DensifyRows();
    return false;
}

// False, with nothing changed, when the system is singular to within m_Zero.
bool CCalc::SolveSparse(CSparseLu& pattern) {
    const CSparseLu* lu = m_SolveLus.Factorise(pattern, m_SolveColumns, m_Zero);
    if (!lu) return false;
    SolveBy(*lu);
    return true;
}

// The right side is VecX over the unknowns of the last system collected.
void CCalc::SolveBy(const CSparseLu& lu) {
    const int size = static_cast<int>(m_SparseUnknown.size());
    m_SolveRight.resize(static_cast<size_t>(size));
    double* right = m_SolveRight.data();
    for (int s = 0; s < size; ++s) right[s] = VecX[m_SparseUnknown[s]];
    lu.Solve(right);
    const int n = m_Size;
    for (int i = 0; i < n; ++i) NodeBad[i] = 0;
    for (int i = 1; i < n; ++i) VecX[i] = 0.0;
    for (int s = 0; s < size; ++s) VecX[m_SparseUnknown[s]] = -right[s];
}

// The rows hold the assembly of the last Euler step solved, and this step has
// its length and rounding: the same matrix, whose factors are still the last
// ones made (any collection since would have forgotten them).
bool CCalc::SameEulerSystem() const {
    return m_LastEuler.lu && m_LastEuler.assembly == m_RowsAssembly && m_LastEuler.step == m_Step &&
           m_LastEuler.zero == m_Zero;
}

}  // namespace qz3
