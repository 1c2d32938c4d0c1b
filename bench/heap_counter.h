// Counts the heap allocations of a bench program, to show that a per-step
// path makes none. Included by exactly one source of a bench program: it
// replaces the program's global operator new and delete.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

namespace qz3bench {

inline size_t g_HeapAllocations = 0;

inline size_t HeapAllocations() { return g_HeapAllocations; }

}  // namespace qz3bench

void* operator new(size_t size) {
    ++qz3bench::g_HeapAllocations;
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
