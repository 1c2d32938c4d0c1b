// The structure of the working matrix during one elimination, kept as lists,
// so that the pivot search and the row operations of SolveReal touch only the
// entries that exist instead of walking whole rows and columns of flags.
//
// The elimination exchanges rows by pointer; the lists name a row by the place
// it had when the elimination began (its identity) and translate both ways.
// Each entry is listed once, in its row and in its column, however often its
// flag is cleared by a snap and set again by fill; whoever walks a list still
// asks the flag whether the entry holds anything now.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qz3 {

class CEntryLists {
public:
    // Empty lists for a matrix of n rows; every row at its own place.
    void Begin(int n);
    void Add(int id, int column) {
        unsigned char& listed = m_Listed[static_cast<size_t>(id) * m_N + column];
        if (listed) return;
        listed = 1;
        m_Columns[id].push_back(column);
        m_Rows[column].push_back(id);
    }
    void SwapPlaces(int p1, int p2);
    int Place(int id) const { return m_PlaceOf[id]; }
    int Id(int place) const { return m_IdAt[place]; }
    const std::vector<int32_t>& ColumnsOf(int id) const { return m_Columns[id]; }
    const std::vector<int32_t>& RowsOf(int column) const { return m_Rows[column]; }

private:
    size_t m_N = 0;
    std::vector<unsigned char> m_Listed;  // n x n by identity; what the lists hold is marked
    std::vector<std::vector<int32_t>> m_Columns, m_Rows;
    std::vector<int32_t> m_IdAt, m_PlaceOf;
};

}  // namespace qz3
