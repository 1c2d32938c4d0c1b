// SolveReal of a large circuit: the sparse LU instead of Gauss-Jordan.
//
// The elimination in the natural order of the unknowns fills a converter's
// matrix badly (every phase meets the shared output node); the sparse factors
// in minimum-degree order stay small. They answer only for a system that is
// regular: a column whose pivot is rounding noise against its column (m_Zero,
// the threshold of the snaps) sends the solve to Gauss-Jordan, which marks the
// free and the infinite unknowns in NodeBad exactly as it always has.
#include "solver/calc.h"

namespace qz3 {

// False, with nothing changed, when the system is singular to within m_Zero.
bool CCalc::SolveSparse() {
    CollectSystemColumns(m_SolveColumns);
    const CSparseLu* lu = m_SolveLus.Update(m_SolveColumns, m_Zero);
    if (!lu) return false;
    const int size = static_cast<int>(m_SparseUnknown.size());
    m_SolveRight.resize(static_cast<size_t>(size));
    double* right = m_SolveRight.data();
    for (int s = 0; s < size; ++s) right[s] = VecX[m_SparseUnknown[s]];
    lu->Solve(right);
    const int n = m_Size;
    for (int i = 0; i < n; ++i) NodeBad[i] = 0;
    for (int i = 1; i < n; ++i) VecX[i] = 0.0;
    for (int s = 0; s < size; ++s) VecX[m_SparseUnknown[s]] = -right[s];
    return true;
}

}  // namespace qz3
