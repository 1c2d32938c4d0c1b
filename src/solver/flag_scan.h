// A walk of the set flags of one matrix row. A circuit row has a handful of
// entries among hundreds or thousands of columns: eight flags are tested at
// a time, and a word of zeros is passed over whole.
#pragma once

#include <cstdint>
#include <cstring>

namespace qz3 {

// Calls visit(j) for each j in [1, n) with flags[j] != 0, in ascending order.
template <class Visit>
inline void ForEachFlag(const unsigned char* flags, int n, Visit&& visit) {
    int j = 1;
    for (; j < n && (j & 7) != 0; ++j)
        if (flags[j]) visit(j);
    for (; j + 8 <= n; j += 8) {
        uint64_t word;
        std::memcpy(&word, flags + j, sizeof word);
        if (word == 0) continue;
        for (int k = j; k < j + 8; ++k)
            if (flags[k]) visit(k);
    }
    for (; j < n; ++j)
        if (flags[j]) visit(j);
}

}  // namespace qz3
