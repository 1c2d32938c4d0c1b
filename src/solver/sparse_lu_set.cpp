#include "solver/sparse_lu_set.h"

#include "solver/factor_cache.h"

namespace qz3 {

namespace {

uint64_t PatternHash(const CSparseColumns& a) {
    CFactorHasher h;
    h.Add(static_cast<uint64_t>(a.n));
    // Two numbers a word.
    const auto addAll = [&h](const std::vector<int32_t>& v) {
        size_t k = 0;
        for (; k + 1 < v.size(); k += 2)
            h.Add(static_cast<uint64_t>(static_cast<uint32_t>(v[k])) << 32 | static_cast<uint32_t>(v[k + 1]));
        if (k < v.size()) h.Add(static_cast<uint32_t>(v[k]));
        h.Add(v.size());
    };
    addAll(a.start);
    addAll(a.row);
    return h.Key().a;
}

}  // namespace

CSparseLu& CSparseLuSet::Pattern(const CSparseColumns& a) {
    const uint64_t hash = PatternHash(a);
    for (auto it = m_Entries.begin(); it != m_Entries.end(); ++it) {
        if (it->hash != hash) continue;
        m_Entries.splice(m_Entries.begin(), m_Entries, it);
        return m_Entries.front().lu;
    }
    // A singular system keeps its entry too: the search meets its pattern
    // again, and the order is made once.
    m_Entries.push_front(CEntry{hash, CSparseLu{}});
    while (m_Entries.size() > m_Capacity) m_Entries.pop_back();
    return m_Entries.front().lu;
}

// Refactor compares the whole pattern, so a clash of hashes costs a
// factorisation, never a wrong one.
const CSparseLu* CSparseLuSet::Factorise(CSparseLu& lu, const CSparseColumns& a, double tiny) {
    if (lu.Refactor(a, tiny)) return &lu;
    ++m_FullCount;
    return lu.Factor(a, tiny) ? &lu : nullptr;
}

}  // namespace qz3
