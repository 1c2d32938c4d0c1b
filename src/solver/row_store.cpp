#include "solver/row_store.h"

#include <cstddef>

namespace qz3 {

void CRowStore::Reset(int n) {
    const size_t rows = n > 0 ? static_cast<size_t>(n) : 0;
    m_Rows.assign(rows, {});
    m_AnyG.assign(rows, 0);
    m_AnyC.assign(rows, 0);
    m_Written.clear();
}

void CRowStore::Clear() {
    for (const int32_t i : m_Written) {
        m_Rows[static_cast<size_t>(i)].clear();
        m_AnyG[static_cast<size_t>(i)] = m_AnyC[static_cast<size_t>(i)] = 0;
    }
    m_Written.clear();
}

// Stamps of one element mostly arrive in rising columns: the search for the
// place runs from the end of the row.
CRowEntry& CRowStore::At(int i, int j) {
    std::vector<CRowEntry>& row = m_Rows[static_cast<size_t>(i)];
    if (row.empty()) m_Written.push_back(i);
    size_t at = row.size();
    while (at > 0 && row[at - 1].column > j) --at;
    if (at > 0 && row[at - 1].column == j) return row[at - 1];
    return *row.insert(row.begin() + static_cast<std::ptrdiff_t>(at), CRowEntry{j, 0, 0, 0.0, 0.0});
}

size_t CRowStore::Entries() const {
    size_t count = 0;
    for (const std::vector<CRowEntry>& row : m_Rows) count += row.size();
    return count;
}

}  // namespace qz3
