// Where a subcommand writes: its report, its messages, and the terminal
// for the progress bar. main() binds them to stdout and stderr; tests bind
// them to strings.
#pragma once

#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

namespace qz3::cli {

struct CCommandContext {
    std::ostream& out;
    std::ostream& err;
    std::FILE* progress = nullptr;  // null: no progress bar
};

using CCommandFunction = int (*)(const std::vector<std::string>& args, CCommandContext& context);

}  // namespace qz3::cli
