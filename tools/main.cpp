// The qz3 command: a host of the library that runs schematic files from a
// shell. Each subcommand is one row of the table below; a new analysis is a
// new row and its own file.
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "ac_command.h"
#include "command_context.h"
#include "command_line.h"
#include "convert_command.h"
#include "info_command.h"
#include "qz3.h"
#include "run_command.h"

namespace {

struct CSubcommand {
    const char* name;
    qz3::cli::CCommandFunction function;
    const char* summary;
};

const CSubcommand kSubcommands[] = {
    {"run", qz3::cli::RunCommand, "transient run; summary table, CSV or SVG"},
    {"ac", qz3::cli::AcCommand, "AC analysis; summary, CSV or Bode plot (SVG)"},
    {"info", qz3::cli::InfoCommand, "components, traces and settings of a file"},
    {"convert", qz3::cli::ConvertCommand, "a file of an older version saved as the present one"},
};

void PrintUsage(std::ostream& out) {
    out << "usage: qz3 COMMAND FILE.qz3 [options]\n\ncommands:\n";
    for (const CSubcommand& command : kSubcommands) out << "  " << command.name << "\t" << command.summary << '\n';
    out << "\n'qz3 COMMAND --help' describes the options of a command; 'qz3 --version' the library.\n";
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        PrintUsage(std::cerr);
        return qz3::cli::kExitUsage;
    }
    std::string name = argv[1];
    if (name == "--help" || name == "-h" || name == "help") {
        PrintUsage(std::cout);
        return qz3::cli::kExitOk;
    }
    if (name == "--version") {
        std::cout << QZ3_GetInfo() << '\n';
        return qz3::cli::kExitOk;
    }
    std::vector<std::string> args(argv + 2, argv + argc);
    qz3::cli::CCommandContext context{std::cout, std::cerr, stderr};
    for (const CSubcommand& command : kSubcommands)
        if (name == command.name) return command.function(args, context);
    std::cerr << "qz3: unknown command '" << name << "'\n";
    PrintUsage(std::cerr);
    return qz3::cli::kExitUsage;
}
