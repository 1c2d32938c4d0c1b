#include "info_command.h"

#include "circuit.h"
#include "command_line.h"
#include "convert_command.h"
#include "library_block_text.h"

namespace qz3::cli {

namespace {

bool IsIdentityKey(const std::string& key) { return key == "type" || key == "name" || key == "model"; }

// key="value" pairs as the file holds them, encoding included.
std::string AttributeText(const CAttributes& attrs, bool skipIdentity) {
    std::string text;
    for (const auto& [key, value] : attrs) {
        if (skipIdentity && IsIdentityKey(key)) continue;
        text += (text.empty() ? "" : " ") + key + "=\"" + value + "\"";
    }
    return text;
}

void PrintTraces(std::ostream& out, const char* title, const std::vector<CTraceText>& traces) {
    out << title << " (" << traces.size() << ")\n";
    for (const CTraceText& trace : traces) {
        out << "  " << trace.name << "  [" << trace.type << "]";
        if (trace.expr != trace.name) out << "  expr: " << trace.expr;
        out << '\n';
    }
}

void PrintSettings(std::ostream& out, const char* title, const CAttributes& attrs) {
    if (attrs.empty()) return;
    out << title << '\n';
    for (const auto& [key, value] : attrs) out << "  " << key << " = " << value << '\n';
}

}  // namespace

std::string InfoUsage() {
    return "usage: qz3 info FILE.qz3\n"
           "Lists the components, traces and settings of the file and checks that\n"
           "the library opens it.\n";
}

void PrintSchematicText(std::ostream& out, const CSchematicText& file) {
    out << "components (" << file.components.size() << ")\n";
    for (const CComponentText& cmp : file.components) {
        out << "  " << cmp.type << "  " << cmp.name;
        if (!cmp.model.empty()) out << "  model " << cmp.model;
        std::string attrs = AttributeText(cmp.attrs, true);
        if (!attrs.empty()) out << "\n      " << attrs;
        out << '\n';
        if (cmp.type == "X_DLL") PrintLibraryBlock(out, cmp);
    }
    PrintTraces(out, "transient traces", file.tranTraces);
    PrintTraces(out, "ac traces", file.acTraces);
    PrintSettings(out, "transient settings", file.tranSettings);
    PrintSettings(out, "ac settings", file.acSettings);
    PrintSettings(out, "advanced settings", file.advanced);
}

int InfoCommand(const std::vector<std::string>& args, CCommandContext& context) {
    CInfoOptions options;
    std::string error;
    if (!ParseInfoOptions(args, options, error)) {
        context.err << "qz3 info: " << error << "\n(see 'qz3 info --help')\n";
        return kExitUsage;
    }
    if (options.help) {
        context.out << InfoUsage();
        return kExitOk;
    }
    CSchematicText file;
    bool readable = ReadSchematicText(options.file, file, error);
    if (readable) {
        context.out << "file " << options.file << '\n';
        PrintSchematicText(context.out, file);
    }
    CCircuit circuit;
    if (!circuit.Open(options.file)) {
        context.err << circuit.Error() << '\n';
        return kExitFailure;
    }
    if (!readable) {
        context.err << error << '\n';
        return kExitFailure;
    }
    context.out << "library: opens the file\n";
    CConversionNote note;
    if (ConversionOf(options.file, note)) PrintConversionNote(context.out, note);
    return kExitOk;
}

}  // namespace qz3::cli
