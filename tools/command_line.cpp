#include "command_line.h"

#include <cmath>

#include "eng_number.h"

namespace qz3::cli {

namespace {

const COptionSpec* FindSpec(const std::vector<COptionSpec>& specs, const std::string& name) {
    for (const COptionSpec& spec : specs)
        if (spec.name == name) return &spec;
    return nullptr;
}

bool IsOptionWord(const std::string& word) { return word.size() > 1 && word[0] == '-'; }

// A positive engineering number for `option`, or a message saying why not.
bool ReadPositive(const std::string& option, const std::string& text, double& out, std::string& error) {
    if (!ParseEngineering(text, out)) {
        error = option + ": not a number: '" + text + "'";
        return false;
    }
    if (!(out > 0)) {
        error = option + ": must be greater than 0, not " + text;
        return false;
    }
    return true;
}

bool ExactlyOneFile(const CParsedArgs& parsed, std::string& file, std::string& error) {
    if (parsed.positional.empty()) {
        error = "no schematic file given";
        return false;
    }
    if (parsed.positional.size() > 1) {
        error = "unexpected argument '" + parsed.positional[1] + "'";
        return false;
    }
    file = parsed.positional[0];
    return true;
}

// The options "run" and "ac" share: parameters to set, traces to read, files to write.
bool ReadOutputOptions(const CParsedArgs& parsed, std::vector<std::pair<std::string, std::string>>& sets,
                       std::vector<std::string>& traces, std::string& csvPath, std::string& svgPath,
                       std::string& error) {
    for (const std::string& assignment : parsed.Values("--set")) {
        size_t equals = assignment.find('=');
        if (equals == std::string::npos || equals == 0) {
            error = "--set: expected NAME=VALUE, not '" + assignment + "'";
            return false;
        }
        sets.emplace_back(assignment.substr(0, equals), assignment.substr(equals + 1));
    }
    for (const std::string& trace : parsed.Values("--trace")) {
        if (trace.empty()) {
            error = "--trace: empty trace name";
            return false;
        }
        traces.push_back(trace);
    }
    if (const std::string* csv = parsed.Value("--csv")) csvPath = *csv;
    if (const std::string* svg = parsed.Value("--svg")) svgPath = *svg;
    if ((parsed.Has("--csv") && csvPath.empty()) || (parsed.Has("--svg") && svgPath.empty())) {
        error = "empty output file name";
        return false;
    }
    return true;
}

}  // namespace

bool CParsedArgs::Has(const std::string& name) const { return Value(name) != nullptr; }

const std::string* CParsedArgs::Value(const std::string& name) const {
    for (const auto& [key, value] : options)
        if (key == name) return &value;
    return nullptr;
}

std::vector<std::string> CParsedArgs::Values(const std::string& name) const {
    std::vector<std::string> values;
    for (const auto& [key, value] : options)
        if (key == name) values.push_back(value);
    return values;
}

bool ParseArguments(const std::vector<std::string>& args, const std::vector<COptionSpec>& specs, CParsedArgs& out,
                    std::string& error) {
    out = CParsedArgs();
    bool optionsEnded = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& word = args[i];
        if (optionsEnded || !IsOptionWord(word)) {
            out.positional.push_back(word);
            continue;
        }
        if (word == "--") {
            optionsEnded = true;
            continue;
        }
        size_t equals = word.find('=');
        std::string name = word.substr(0, equals);
        const COptionSpec* spec = FindSpec(specs, name);
        if (spec == nullptr) {
            error = "unknown option " + name;
            return false;
        }
        if (!spec->repeatable && out.Has(name)) {
            error = "option " + name + " given twice";
            return false;
        }
        std::string value;
        if (!spec->takesValue) {
            if (equals != std::string::npos) {
                error = "option " + name + " takes no value";
                return false;
            }
        } else if (equals != std::string::npos) {
            value = word.substr(equals + 1);
        } else if (i + 1 < args.size()) {
            value = args[++i];
        } else {
            error = "option " + name + " needs a value";
            return false;
        }
        out.options.emplace_back(name, value);
    }
    return true;
}

bool ParseRunOptions(const std::vector<std::string>& args, CRunOptions& out, std::string& error) {
    static const std::vector<COptionSpec> kSpecs = {
        {"--time", true, false}, {"--step", true, false}, {"--set", true, true}, {"--trace", true, true},
        {"--csv", true, false},  {"--svg", true, false},  {"--help", false, false}, {"-h", false, false},
        {"--measure", true, true}, {"--from", true, false}, {"--to", true, false}, {"--json", false, false},
    };
    CParsedArgs parsed;
    if (!ParseArguments(args, kSpecs, parsed, error)) return false;
    out = CRunOptions();
    out.help = parsed.Has("--help") || parsed.Has("-h");
    if (out.help) return true;
    if (!ExactlyOneFile(parsed, out.file, error)) return false;
    if (const std::string* time = parsed.Value("--time")) {
        if (!ReadPositive("--time", *time, out.time, error)) return false;
        out.hasTime = true;
    }
    if (const std::string* step = parsed.Value("--step")) {
        if (!ReadPositive("--step", *step, out.step, error)) return false;
        out.hasStep = true;
    }
    out.measures = parsed.Values("--measure");
    out.json = parsed.Has("--json");
    if (const std::string* from = parsed.Value("--from")) {
        if (!ParseEngineering(*from, out.from) || out.from < 0) {
            error = "--from: not a time: '" + *from + "'";
            return false;
        }
        out.hasFrom = true;
    }
    if (const std::string* to = parsed.Value("--to")) {
        if (!ReadPositive("--to", *to, out.to, error)) return false;
        out.hasTo = true;
    }
    return ReadOutputOptions(parsed, out.sets, out.traces, out.csvPath, out.svgPath, error);
}

bool ParseAcOptions(const std::vector<std::string>& args, CAcOptions& out, std::string& error) {
    static const std::vector<COptionSpec> kSpecs = {
        {"--from", true, false}, {"--to", true, false},  {"--points", true, false}, {"--lin", false, false},
        {"--set", true, true},   {"--trace", true, true}, {"--csv", true, false},   {"--svg", true, false},
        {"--help", false, false}, {"-h", false, false},   {"--measure", true, true},
    };
    CParsedArgs parsed;
    if (!ParseArguments(args, kSpecs, parsed, error)) return false;
    out = CAcOptions();
    out.measures = parsed.Values("--measure");
    out.help = parsed.Has("--help") || parsed.Has("-h");
    if (out.help) return true;
    if (!ExactlyOneFile(parsed, out.file, error)) return false;
    if (const std::string* from = parsed.Value("--from")) {
        if (!ReadPositive("--from", *from, out.from, error)) return false;
        out.hasFrom = true;
    }
    if (const std::string* to = parsed.Value("--to")) {
        if (!ReadPositive("--to", *to, out.to, error)) return false;
        out.hasTo = true;
    }
    if (const std::string* points = parsed.Value("--points")) {
        double count = 0;
        if (!ReadPositive("--points", *points, count, error)) return false;
        if (count != static_cast<int>(count) || count > 1e7) {
            error = "--points: a whole number up to 10000000, not " + *points;
            return false;
        }
        out.points = static_cast<int>(count);
        out.hasPoints = true;
    }
    out.linear = parsed.Has("--lin");
    return ReadOutputOptions(parsed, out.sets, out.traces, out.csvPath, out.svgPath, error);
}

bool ParseInfoOptions(const std::vector<std::string>& args, CInfoOptions& out, std::string& error) {
    static const std::vector<COptionSpec> kSpecs = {{"--help", false, false}, {"-h", false, false}};
    CParsedArgs parsed;
    if (!ParseArguments(args, kSpecs, parsed, error)) return false;
    out = CInfoOptions();
    out.help = parsed.Has("--help") || parsed.Has("-h");
    if (out.help) return true;
    return ExactlyOneFile(parsed, out.file, error);
}

}  // namespace qz3::cli
