#include "solver/entry_lists.h"

#include <utility>

namespace qz3 {

// The marks of the last elimination are taken back through its lists, so that
// a begin costs what the last elimination listed, not n x n; the lists keep
// their capacity, and a run of eliminations of one size allocates nothing.
void CEntryLists::Begin(int n) {
    const size_t size = static_cast<size_t>(n);
    if (size != m_N) {
        m_N = size;
        m_Listed.assign(size * size, 0);
        m_Columns.assign(size, {});
        m_Rows.assign(size, {});
        m_IdAt.assign(size, 0);
        m_PlaceOf.assign(size, 0);
    } else {
        for (size_t id = 0; id < size; ++id)
            for (const int32_t column : m_Columns[id]) m_Listed[id * size + column] = 0;
    }
    for (size_t i = 0; i < size; ++i) {
        m_Columns[i].clear();
        m_Rows[i].clear();
        m_IdAt[i] = m_PlaceOf[i] = static_cast<int32_t>(i);
    }
}

void CEntryLists::SwapPlaces(int p1, int p2) {
    std::swap(m_IdAt[p1], m_IdAt[p2]);
    m_PlaceOf[m_IdAt[p1]] = p1;
    m_PlaceOf[m_IdAt[p2]] = p2;
}

}  // namespace qz3
