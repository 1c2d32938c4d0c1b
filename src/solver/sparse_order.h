// The order in which a sparse factorisation takes the columns.
//
// Eliminating an unknown joins all its neighbours to each other; taking the
// unknown with the fewest neighbours first keeps that fill small (minimum
// degree). A circuit's ground-like hubs (a supply rail, a shared capacitor)
// come last that way, and a chain such as a ladder is taken from its ends
// without any fill at all. The graph is that of A + A^T without the diagonal.
#pragma once

#include <cstdint>
#include <vector>

#include "solver/sparse_lu.h"

namespace qz3 {

// A permutation of the columns of a: entry k is the column to take at step k.
std::vector<int32_t> MinimumDegreeOrder(const CSparseColumns& a);

}  // namespace qz3
