#include "solver/factor_cache.h"

#include <cstring>
#include <utility>

namespace qz3 {

namespace {

template <class T>
size_t VectorBytes(const std::vector<T>& v) { return v.capacity() * sizeof(T); }

size_t RowsBytes(const CFactorRows& r) {
    return VectorBytes(r.start) + VectorBytes(r.column) + VectorBytes(r.value) + VectorBytes(r.anyFlag);
}

// The finaliser of splitmix64: every input bit reaches every output bit.
uint64_t Mix(uint64_t x) {
    x ^= x >> 30;
    x *= 0xbf58476d1ce4e5b9ull;
    x ^= x >> 27;
    x *= 0x94d049bb133111ebull;
    x ^= x >> 31;
    return x;
}

}  // namespace

size_t CFactorEntry::Bytes() const { return sizeof(CFactorEntry) + RowsBytes(g) + RowsBytes(c) + VectorBytes(b); }

// The lanes folded through the finaliser, with the number of words: a key
// depends on every bit of every lane.
CFactorKey CFactorHasher::Key() const {
    uint64_t a = Mix(m_Count), b = Mix(~m_Count);
    for (int lane = 0; lane < 4; ++lane) {
        a = Mix(a ^ m_A[lane]);
        b = Mix(b + m_B[lane]);
    }
    return {a, b};
}

}  // namespace qz3
