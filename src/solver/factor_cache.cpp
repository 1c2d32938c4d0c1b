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

// Two chains with different multipliers; a false match needs both to collide.
void CFactorHasher::Add(uint64_t word) {
    m_A = Mix(m_A ^ word) + 0x632be59bd9b4e019ull;
    m_B = (m_B ^ Mix(word + 0x9e3779b97f4a7c15ull)) * 0x100000001b3ull;
}

// The bits themselves: -0 and 0 differ, which only costs a miss.
void CFactorHasher::AddDouble(double v) {
    uint64_t bits = 0;
    std::memcpy(&bits, &v, sizeof bits);
    Add(bits);
}

CFactorKey CFactorHasher::Key() const { return {Mix(m_A), Mix(m_B)}; }

}  // namespace qz3
