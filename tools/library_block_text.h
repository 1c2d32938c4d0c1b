// What "qz3 info" tells of a library block ("X_DLL"): where its library
// comes from, the entry points it calls, and the names of its data array in
// their order (inputs, outputs, variables), as the block will name them.
#pragma once

#include <ostream>

#include "schematic_text.h"

namespace qz3::cli {

void PrintLibraryBlock(std::ostream& out, const CComponentText& cmp);

}  // namespace qz3::cli
