// Factorisations of the trapezoidal system kept from one event to the next.
//
// A switching converter meets the same few combinations of element states
// (and of step length) again and again; eliminating the system anew after
// each event repeats the same arithmetic. The cache keeps what the
// elimination leaves behind, keyed by a fingerprint of everything it reads:
// the assembled matrices and their flags, the constant sources, the rows out
// of the system, the input rows, the step and the rounding threshold. A hit
// puts the eliminated rows back, value for value, so a run gives the same
// numbers with the cache as without it.
//
// The memory is bounded by a byte budget; the least recently used entry goes
// first. A budget of 0 keeps nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <list>
#include <utility>
#include <vector>

namespace qz3 {

// Two independent 64-bit hashes of the input of one elimination.
struct CFactorKey {
    uint64_t a = 0;
    uint64_t b = 0;
    bool operator==(const CFactorKey& o) const { return a == o.a && b == o.b; }
};

// The flagged entries of the rows of one eliminated system, row by row.
struct CFactorRows {
    std::vector<int32_t> start;  // row i's entries are [start[i], start[i + 1])
    std::vector<int32_t> column;
    std::vector<double> value;
    std::vector<unsigned char> anyFlag;  // the row's flag 0
};

struct CFactorEntry {
    CFactorKey key;
    CFactorRows g, c;
    std::vector<double> b;
    size_t Bytes() const;
};

// Kept results of one kind, found by their key. An Entry has `key` and
// Bytes(); the least recently used go first when the budget is exceeded.
template <class Entry>
class CKeptCache {
public:
    static constexpr size_t kDefaultBudget = size_t{64} << 20;

    void Clear() {
        m_Entries.clear();
        m_Bytes = 0;
    }
    void SetBudget(size_t bytes) {
        m_Budget = bytes;
        while (!m_Entries.empty() && m_Bytes > m_Budget) {
            m_Bytes -= m_Entries.back().Bytes();
            m_Entries.pop_back();
        }
    }
    size_t Budget() const { return m_Budget; }
    size_t Bytes() const { return m_Bytes; }
    int Count() const { return static_cast<int>(m_Entries.size()); }
    // The entry of this key, now the most recently used; null if none.
    const Entry* Find(const CFactorKey& key) {
        for (auto it = m_Entries.begin(); it != m_Entries.end(); ++it) {
            if (!(it->key == key)) continue;
            m_Entries.splice(m_Entries.begin(), m_Entries, it);
            return &m_Entries.front();
        }
        return nullptr;
    }
    // Takes the entry in, dropping the least recently used ones over budget.
    void Store(Entry&& entry) {
        const size_t bytes = entry.Bytes();
        if (bytes > m_Budget) return;
        m_Entries.push_front(std::move(entry));
        m_Bytes += bytes;
        SetBudget(m_Budget);
    }

private:
    std::list<Entry> m_Entries;  // most recently used first
    size_t m_Budget = kDefaultBudget;
    size_t m_Bytes = 0;
};

using CFactorCache = CKeptCache<CFactorEntry>;

// Builds a CFactorKey word by word.
class CFactorHasher {
public:
    // Words go round four lanes, so that the multiplications of neighbouring
    // words overlap instead of waiting for each other. Each step is one-to-one
    // in the lane and in the word: inputs that differ in one word never meet.
    void Add(uint64_t word) {
        uint64_t& a = m_A[m_Lane];
        uint64_t& b = m_B[m_Lane];
        a = Rotate(a ^ word, 29) * 0x9fb21c651e98df25ull;
        b = Rotate(b + word, 41) * 0xd6e8feb86659fd93ull;
        m_Lane = (m_Lane + 1) & 3;
        ++m_Count;
    }
    // The bits themselves: -0 and 0 differ, which only costs a miss.
    void AddDouble(double v) {
        uint64_t bits = 0;
        std::memcpy(&bits, &v, sizeof bits);
        Add(bits);
    }
    CFactorKey Key() const;

private:
    static uint64_t Rotate(uint64_t x, int r) { return x << r | x >> (64 - r); }
    uint64_t m_A[4] = {0x9e3779b97f4a7c15ull, 0x632be59bd9b4e019ull, 0x85ebca6b2f4a7c15ull, 0xc2b2ae3d27d4eb4full};
    uint64_t m_B[4] = {0x27d4eb2f165667c5ull, 0x94d049bb133111ebull, 0xbf58476d1ce4e5b9ull, 0x165667b19e3779f9ull};
    int m_Lane = 0;
    uint64_t m_Count = 0;
};

}  // namespace qz3
