#include "solver/singular_record.h"

namespace qz3 {

size_t CSingularRecord::Bytes() const {
    return sizeof(CSingularRecord) + steps.capacity() * sizeof(CRightSideStep) +
           rows.capacity() * sizeof(CPlacedEntry);
}

}  // namespace qz3
