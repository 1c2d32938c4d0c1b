// qz3 convert: a file of an older format version saved as the present one,
// with what the conversion changed. And the same report for qz3 info.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "command_context.h"

namespace qz3::cli {

// What the library did to an older file when it opened it, read from the
// record it leaves in the converted tree.
struct CConversionNote {
    bool converted = false;
    std::string fromVersion;  // "-1" for a file without a version record
    std::vector<std::string> warnings;
};

// Reads the record from the text of a saved file; false when there is none.
bool ReadConversionNote(const std::string& savedText, CConversionNote& note);
void PrintConversionNote(std::ostream& out, const CConversionNote& note);
// Opens `path` with the library and saves it to a temporary file to learn
// what opening converted; false when the file isn't of an older version.
bool ConversionOf(const std::string& path, CConversionNote& note);

std::string ConvertUsage();
int ConvertCommand(const std::vector<std::string>& args, CCommandContext& context);

}  // namespace qz3::cli
