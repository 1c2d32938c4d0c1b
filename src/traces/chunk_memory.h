// Pages of the chunks a run stores its points in.
#pragma once

#include <cstddef>

namespace qz3 {

// Blocks of a chunk whose pages are mapped in one request, ahead of the
// cursor: one system call instead of a page fault at each page the step
// writes first, and at most this much memory touched before it is used.
constexpr int kPrefaultBlocks = 16;

// Asks the system to map the whole pages inside [at, at + bytes) for
// writing now. A system without the request ignores it; the pages are then
// mapped by faults as before.
void PrefaultForWriting(void* at, size_t bytes);

}  // namespace qz3
