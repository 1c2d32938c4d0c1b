// "qz3 info FILE.qz3": what the file holds (components with their model and
// attributes, traces, settings) as read from its text, and whether the
// library opens it.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "command_context.h"
#include "schematic_text.h"

namespace qz3::cli {

int InfoCommand(const std::vector<std::string>& args, CCommandContext& context);
std::string InfoUsage();

// The listing without the library's verdict.
void PrintSchematicText(std::ostream& out, const CSchematicText& file);

}  // namespace qz3::cli
