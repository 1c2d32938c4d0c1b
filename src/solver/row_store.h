// The equations of a large circuit, kept by rows of the entries that exist.
//
// A circuit row has a handful of entries among thousands of columns: n x n
// storage would cost memory and page faults in proportion to the square of
// the circuit while holding almost nothing. Each row keeps its entries sorted
// by column, with the value and the flag of MatrixG and of MatrixC side by
// side, so that every walk meets them in the order a walk of a whole row
// would, and sums in the same order. Row 0 and column 0 (ground, and the
// right side of the dense elimination) are never stored.
//
// Clearing empties only the rows written since the last clear and keeps their
// capacity: once a run has met its states, assembling allocates nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qz3 {

struct CRowEntry {
    int32_t column;
    unsigned char flagG;
    unsigned char flagC;
    double g;
    double c;
};

class CRowStore {
public:
    // n empty rows.
    void Reset(int n);
    // Empties every row written since the last clear.
    void Clear();
    // The entry of row i (>= 1) and column j (>= 1), made with zeros when new.
    CRowEntry& At(int i, int j);
    std::vector<CRowEntry>& Row(int i) { return m_Rows[static_cast<size_t>(i)]; }
    const std::vector<CRowEntry>& Row(int i) const { return m_Rows[static_cast<size_t>(i)]; }
    // Row flags: some entry of the row is flagged in G (in C).
    unsigned char& AnyG(int i) { return m_AnyG[static_cast<size_t>(i)]; }
    unsigned char& AnyC(int i) { return m_AnyC[static_cast<size_t>(i)]; }
    unsigned char AnyG(int i) const { return m_AnyG[static_cast<size_t>(i)]; }
    // The rows written since the last clear, in no particular order.
    const std::vector<int32_t>& WrittenRows() const { return m_Written; }
    size_t Entries() const;

private:
    std::vector<std::vector<CRowEntry>> m_Rows;
    std::vector<unsigned char> m_AnyG, m_AnyC;
    std::vector<int32_t> m_Written;
};

}  // namespace qz3
