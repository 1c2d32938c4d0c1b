// Files of format version 2 and older are turned into the present tree in
// memory, right after parsing and before anything reads them: the rest of
// the library sees the present keys only. A conversion works on the tree
// alone: it moves and renames elements and attributes, and collects
// warnings for the user, one line each.
//
// Recipe:
//     CConversion conversion;
//     if (!ConvertToCurrent(root, conversion)) fail(conversion.text);
//     if (conversion.converted) tell(conversion.text);    // the warnings
#pragma once

#include <string>

namespace qz3 {

class CXmlNode;

struct CConversion {
    bool converted = false;  // the file was of an older version
    int fromVersion = -1;    // its "ver", -1 when it had no Version
    std::string text;        // the warnings, or the reason of a failure
};

// False with the reason in result.text when the tree cannot be converted.
// A tree of the present version is left alone and counts as success.
bool ConvertToCurrent(CXmlNode& root, CConversion& result);

// The record a conversion leaves under the root, so that a host that only
// sees the saved file learns what was done: "from" and "warnings".
inline constexpr const char* kConversionRecord = "Converted";

}  // namespace qz3
