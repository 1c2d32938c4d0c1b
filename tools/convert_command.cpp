#include "convert_command.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "circuit.h"
#include "command_line.h"
#include "qz3.h"
#include "schematic_text.h"

namespace qz3::cli {

namespace {

std::string ReadText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

}  // namespace

bool ReadConversionNote(const std::string& savedText, CConversionNote& note) {
    note = CConversionNote();
    CTextElement root;
    std::string error;
    if (!ParseElementText(savedText, "QZ3", root, error)) return false;
    const CTextElement* record = root.Child("Converted");
    if (!record) return false;
    note.converted = true;
    if (const std::string* from = record->Attr("from")) note.fromVersion = *from;
    if (const std::string* warnings = record->Attr("warnings")) note.warnings = Lines(PercentDecode(*warnings));
    return true;
}

void PrintConversionNote(std::ostream& out, const CConversionNote& note) {
    if (!note.converted) return;
    out << "converted from "
        << (note.fromVersion == "-1" || note.fromVersion.empty() ? "a file without version"
                                                                  : "format version " + note.fromVersion)
        << " (" << note.warnings.size() << " warnings)\n";
    for (const std::string& warning : note.warnings) out << "  " << warning << '\n';
}

bool ConversionOf(const std::string& path, CConversionNote& note) {
    note = CConversionNote();
    char name[] = "/tmp/qz3_convert_XXXXXX";
    const int fd = mkstemp(name);
    if (fd < 0) return false;
    close(fd);
    bool found = false;
    {
        CCircuit circuit;
        if (circuit.Open(path) && QZ3_SaveAs(circuit.Handle(), name) == 0) found = ReadConversionNote(ReadText(name), note);
    }
    std::remove(name);
    // A file of the present version may carry the record of an earlier
    // conversion; only the file's own version says whether this one was.
    CTextElement root;
    std::string error;
    if (found && ParseElementText(ReadText(path), "QZ3", root, error)) {
        const CTextElement* version = root.Child("Version");
        const std::string* ver = version ? version->Attr("ver") : nullptr;
        if (ver && std::atoi(ver->c_str()) >= 3) found = false;
    }
    note.converted = found;
    return found;
}

std::string ConvertUsage() {
    return "usage: qz3 convert OLD.qz3 NEW.qz3\n"
           "Opens a schematic of an older format version, converted by the library,\n"
           "saves it as the present version and lists what the conversion changed.\n";
}

int ConvertCommand(const std::vector<std::string>& args, CCommandContext& context) {
    static const std::vector<COptionSpec> kSpecs = {{"--help", false, false}, {"-h", false, false}};
    CParsedArgs parsed;
    std::string error;
    if (!ParseArguments(args, kSpecs, parsed, error) ||
        (!parsed.Has("--help") && !parsed.Has("-h") && parsed.positional.size() != 2)) {
        context.err << "qz3 convert: " << (error.empty() ? "needs OLD.qz3 and NEW.qz3" : error)
                    << "\n(see 'qz3 convert --help')\n";
        return kExitUsage;
    }
    if (parsed.Has("--help") || parsed.Has("-h")) {
        context.out << ConvertUsage();
        return kExitOk;
    }
    const std::string& from = parsed.positional[0];
    const std::string& to = parsed.positional[1];
    CCircuit circuit;
    if (!circuit.Open(from) || !circuit.Check(QZ3_SaveAs(circuit.Handle(), to.c_str()))) {
        context.err << circuit.Error() << '\n';
        return kExitFailure;
    }
    CConversionNote note;
    ReadConversionNote(ReadText(to), note);
    CTextElement root;
    const CTextElement* version = ParseElementText(ReadText(from), "QZ3", root, error) ? root.Child("Version") : nullptr;
    const std::string* ver = version ? version->Attr("ver") : nullptr;
    if (ver && std::atoi(ver->c_str()) >= 3)
        context.out << from << " is of the present format version; saved as " << to << '\n';
    else {
        PrintConversionNote(context.out, note);
        context.out << "saved as " << to << '\n';
    }
    return kExitOk;
}

}  // namespace qz3::cli
