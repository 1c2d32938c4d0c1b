#include "traces/chunk_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace qz3 {

void PrefaultForWriting(void* at, size_t bytes) {
#ifdef MADV_POPULATE_WRITE
    static const uintptr_t kPage = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const uintptr_t start = reinterpret_cast<uintptr_t>(at);
    const uintptr_t from = (start + kPage - 1) & ~(kPage - 1);
    const uintptr_t to = (start + bytes) & ~(kPage - 1);
    // A failure (an older kernel) leaves the pages to their faults.
    if (to > from) madvise(reinterpret_cast<void*>(from), to - from, MADV_POPULATE_WRITE);
#else
    (void)at;
    (void)bytes;
#endif
}

}  // namespace qz3
