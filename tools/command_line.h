// Argument parsing for the subcommands. A generic pass splits the words into
// positional arguments and options by a table of what each subcommand
// accepts; each subcommand then turns them into its own option record. Every
// failure is a message for the user, and the caller exits with kExitUsage.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace qz3::cli {

constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;  // the library or a file refused
constexpr int kExitUsage = 2;    // the command line was wrong

struct COptionSpec {
    std::string name;  // with its dashes: "--time"
    bool takesValue = false;
    bool repeatable = false;
};

struct CParsedArgs {
    std::vector<std::string> positional;
    std::vector<std::pair<std::string, std::string>> options;  // in command-line order

    bool Has(const std::string& name) const;
    // The value of the first occurrence, or null.
    const std::string* Value(const std::string& name) const;
    std::vector<std::string> Values(const std::string& name) const;
};

// "--name value" and "--name=value" are the same; "--" ends the options, so
// a file whose name begins with a dash can still be given; a lone "-" is
// positional.
bool ParseArguments(const std::vector<std::string>& args, const std::vector<COptionSpec>& specs, CParsedArgs& out,
                    std::string& error);

struct CRunOptions {
    std::string file;
    bool hasTime = false;
    double time = 0;  // length of the run, seconds
    bool hasStep = false;
    double step = 0;
    std::vector<std::pair<std::string, std::string>> sets;  // NAME, VALUE in order
    std::vector<std::string> traces;
    std::string csvPath;
    std::string svgPath;
    std::vector<std::string> measures;  // "TRACE.WORD", in order
    bool hasFrom = false, hasTo = false;
    double from = 0, to = 0;            // the cursors of the measurements
    bool json = false;                  // one JSON object instead of tables
    bool help = false;
};

struct CAcOptions {
    std::string file;
    bool hasFrom = false, hasTo = false, hasPoints = false;
    double from = 0, to = 0;
    int points = 0;
    bool linear = false;  // --lin: a linear sweep instead of a logarithmic one
    std::vector<std::pair<std::string, std::string>> sets;
    std::vector<std::string> traces;
    std::string csvPath;
    std::string svgPath;
    std::vector<std::string> measures;  // "TRACE.WORD" or "TRACE.phase.WORD"
    bool help = false;

    bool OverridesSweep() const { return hasFrom || hasTo || hasPoints || linear; }
};

struct CInfoOptions {
    std::string file;
    bool help = false;
};

bool ParseRunOptions(const std::vector<std::string>& args, CRunOptions& out, std::string& error);
bool ParseAcOptions(const std::vector<std::string>& args, CAcOptions& out, std::string& error);
bool ParseInfoOptions(const std::vector<std::string>& args, CInfoOptions& out, std::string& error);

}  // namespace qz3::cli
