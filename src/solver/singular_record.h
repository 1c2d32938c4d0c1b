// What the elimination of a singular system leaves behind, kept for the next
// time the same system comes.
//
// A large circuit's system goes to Gauss-Jordan only when the sparse factors
// find it singular, and those are the trial states of the switching search: a
// converter meets a few dozen of them tens of thousands of times. The forward
// pass depends on the matrix alone, except for the right side in column 0,
// which sees only swaps, scalings and snapped subtractions. A record keeps
// those operations in order and the eliminated rows; a hit puts the rows back,
// replays the operations on the new right side, and the rest of the solve
// runs as it always does: the same numbers, the same free and infinite
// unknowns, bit for bit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "solver/factor_cache.h"

namespace qz3 {

// One operation of the forward pass on the right side y.
struct CRightSideStep {
    enum Kind : int32_t { Swap, Scale, Subtract };
    Kind kind;
    int32_t row;     // Swap: y[row] <-> y[other]; Scale: y[row] /= value;
    int32_t other;   // Subtract: y[row] -= value * y[other], snapped
    double value;
};

// An entry of the eliminated matrix at its final place.
struct CPlacedEntry {
    int32_t row;
    int32_t column;
    double value;
    unsigned char flag;
};

struct CSingularRecord {
    CFactorKey key;
    std::vector<CRightSideStep> steps;
    std::vector<CPlacedEntry> rows;
    size_t Bytes() const;
};

using CSingularRecords = CKeptCache<CSingularRecord>;

}  // namespace qz3
