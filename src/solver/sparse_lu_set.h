// Sparse factorisations kept by pattern.
//
// A converter's matrix takes one of a few patterns, one per combination of
// switch states, and comes back to each of them period after period. Each
// pattern keeps its own factors here: the pivot order and the patterns of L
// and U found once, and the next matrix of that pattern only refactored. The
// least recently used pattern goes when the set is full. The switching search
// of a large converter tries a hundred or so patterns over and over, singular
// ones among them (which keep their column order): the set holds them all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>

#include "solver/sparse_lu.h"

namespace qz3 {

class CSparseLuSet {
public:
    static constexpr size_t kDefaultCapacity = 128;

    // The factors of a, refactored from its pattern's entry or factored anew;
    // null when a is singular to within tiny. The pointer holds until the next
    // Update or Clear.
    const CSparseLu* Update(const CSparseColumns& a, double tiny) { return Factorise(Pattern(a), a, tiny); }
    // Update in two steps. The entry of a's pattern (empty when new), now the
    // most recently used; the reference holds until the next Pattern or Clear.
    CSparseLu& Pattern(const CSparseColumns& a);
    // a factored in its pattern's entry.
    const CSparseLu* Factorise(CSparseLu& lu, const CSparseColumns& a, double tiny);
    void Clear() { m_Entries.clear(); }
    int Count() const { return static_cast<int>(m_Entries.size()); }
    // Factorisations that had to choose pivot order and patterns anew.
    int64_t FullFactorisations() const { return m_FullCount; }

private:
    struct CEntry {
        uint64_t hash;
        CSparseLu lu;
    };
    std::list<CEntry> m_Entries;  // most recently used first
    size_t m_Capacity = kDefaultCapacity;
    int64_t m_FullCount = 0;
};

}  // namespace qz3
