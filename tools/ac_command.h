// "qz3 ac": an AC analysis of a schematic, with the file's own frequency
// settings or a sweep from the command line; a summary, a CSV table or a
// Bode plot of the file's AC traces.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "command_context.h"
#include "command_line.h"

namespace qz3::cli {

std::string AcUsage();
// The file's text with its frequency settings replaced by the sweep of the
// options (a Freq element is made when the file has none).
std::string WithSweep(std::string_view text, const CAcOptions& options);
int AcCommand(const std::vector<std::string>& args, CCommandContext& context);

}  // namespace qz3::cli
