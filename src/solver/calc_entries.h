// The walk of one row's entries, the same for both storages: the dense one
// offers every column, the row store only the entries that were written.
// Whoever walks asks the flags, as a walk of a whole row always has.
#pragma once

#include "solver/calc.h"

namespace qz3 {

template <class Visit>
void CCalc::ForEachEntry(int i, Visit&& visit) {
    if (IsLargeCircuit()) {
        for (CRowEntry& e : m_Rows.Row(i)) visit(static_cast<int>(e.column), e.g, e.c, e.flagG, e.flagC);
        return;
    }
    double* g = MatrixG[i];
    double* c = MatrixC[i];
    unsigned char* fg = FlagG[i];
    unsigned char* fc = FlagC[i];
    for (int j = 1; j < m_Size; ++j) visit(j, g[j], c[j], fg[j], fc[j]);
}

}  // namespace qz3
