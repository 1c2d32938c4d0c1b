#include "ac_command.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "ac_summary.h"
#include "circuit.h"
#include "csv_writer.h"
#include "eng_number.h"
#include "qz3.h"
#include "schematic_text.h"
#include "summary_table.h"
#include "svg_plot.h"

namespace qz3::cli {

namespace {

int UsageError(CCommandContext& context, const std::string& message) {
    context.err << "qz3 ac: " << message << "\n(see 'qz3 ac --help')\n";
    return kExitUsage;
}

int Failure(CCommandContext& context, const std::string& message) {
    context.err << message << '\n';
    return kExitFailure;
}

// `tag` with key="value", replacing a value that is there.
std::string SetAttribute(std::string tag, const std::string& key, const std::string& value) {
    const std::string lead = " " + key + "=\"";
    const size_t at = tag.find(lead);
    if (at != std::string::npos) {
        const size_t start = at + lead.size();
        const size_t end = tag.find('"', start);
        if (end != std::string::npos) return tag.replace(start, end - start, value);
    }
    size_t close = tag.rfind("/>");
    if (close == std::string::npos) close = tag.rfind('>');
    while (close > 0 && tag[close - 1] == ' ') --close;
    return tag.insert(close, lead + value + "\"");
}

std::string Number(double x) {
    std::ostringstream text;
    text.precision(17);
    text << x;
    return text.str();
}

std::string SweepSettings(std::string tag, const CAcOptions& options) {
    tag = SetAttribute(tag, "type", "0");
    if (options.hasFrom) tag = SetAttribute(tag, "from", Number(options.from));
    if (options.hasTo) tag = SetAttribute(tag, "to", Number(options.to));
    if (options.hasPoints) tag = SetAttribute(tag, "points", std::to_string(options.points));
    return SetAttribute(tag, "scale", options.linear ? "1" : "0");
}

std::string ReadWhole(const std::string& path, bool& ok) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    ok = static_cast<bool>(in) || in.eof();
    return text.str();
}

std::string Directory(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

// The file as the library should see it: the original, or a copy beside it
// with the sweep of the command line, removed once the library has read it.
bool OpenWithSweep(CCircuit& circuit, const CAcOptions& options, std::string& error) {
    if (!options.OverridesSweep()) {
        if (circuit.Open(options.file)) return true;
        error = circuit.Error();
        return false;
    }
    bool read = false;
    const std::string text = ReadWhole(options.file, read);
    if (!read || text.empty()) {
        error = "cannot read " + options.file;
        return false;
    }
    std::string name = Directory(options.file) + "/.qz3-ac-XXXXXX.qz3";
    const int fd = mkstemps(name.data(), 4);
    if (fd < 0) {
        error = "cannot write a copy beside " + options.file;
        return false;
    }
    const std::string copy = WithSweep(text, options);
    const bool written = write(fd, copy.data(), copy.size()) == static_cast<ssize_t>(copy.size());
    close(fd);
    const bool opened = written && circuit.Open(name);
    unlink(name.c_str());
    if (!opened) error = written ? circuit.Error() : "cannot write a copy beside " + options.file;
    return opened;
}

bool SelectAcTraces(const CSchematicText& file, const std::vector<std::string>& requested,
                    std::vector<CTraceText>& selected, std::string& error) {
    for (const CTraceText& trace : file.acTraces) {
        if (!trace.Records()) continue;
        bool wanted = requested.empty();
        for (const std::string& name : requested) wanted = wanted || name == trace.name;
        if (wanted) selected.push_back(trace);
    }
    for (const std::string& name : requested) {
        bool found = false;
        for (const CTraceText& trace : selected) found = found || trace.name == name;
        if (!found) {
            error = "unknown AC trace '" + name + "'";
            return false;
        }
    }
    if (selected.empty()) error = "the file has no AC traces";
    return !selected.empty();
}

bool ReadResponse(CCircuit& circuit, const CTraceText& text, CFrequencyResponse& response) {
    response = CFrequencyResponse();
    response.name = text.name;
    response.unit = text.unit;
    const int handle = QZ3_GetACTrace(circuit.Handle(), text.name.c_str());
    if (!circuit.Check(handle)) return false;
    const int count = QZ3_GetACDataSize(circuit.Handle(), handle);
    if (!circuit.Check(count)) return false;
    for (int i = 0; i < count; ++i) {
        double f = 0, m = 0, p = 0;
        if (!circuit.Check(QZ3_GetACDataAt(circuit.Handle(), handle, i, &f, &m, &p))) return false;
        response.f.push_back(f);
        response.magnitude.push_back(m);
        response.phase.push_back(p);
    }
    return true;
}

CSampleTable ResponseTable(const std::vector<CFrequencyResponse>& responses) {
    CSampleTable table;
    table.xName = "frequency";
    if (!responses.empty()) table.x = responses[0].f;
    for (const CFrequencyResponse& response : responses) {
        table.headers.push_back(response.name + " magnitude");
        table.headers.push_back(response.name + " phase");
        table.columns.push_back(response.magnitude);
        table.columns.push_back(response.phase);
        table.columns[table.columns.size() - 2].resize(table.x.size(), NAN);
        table.columns.back().resize(table.x.size(), NAN);
    }
    return table;
}

CPlotFigure BodeFigure(const std::vector<CFrequencyResponse>& responses, const std::string& title, bool logX) {
    CPlotFigure figure;
    figure.title = title;
    figure.xAxis = {"frequency", "Hz", logX};
    figure.panels.push_back({{"magnitude", "dB", false}, {}});
    figure.panels.push_back({{"phase", "deg", false}, {}});
    for (const CFrequencyResponse& response : responses) {
        std::vector<double> db;
        for (double m : response.magnitude) db.push_back(m > 0 ? 20 * std::log10(m) : NAN);
        figure.panels[0].series.push_back({response.name, response.f, db});
        figure.panels[1].series.push_back({response.name, response.f, response.phase});
    }
    return figure;
}

void PrintResponseSummaries(std::ostream& out, const std::vector<CFrequencyResponse>& responses) {
    std::vector<std::vector<std::string>> cells;
    for (const CFrequencyResponse& response : responses) {
        const CResponseSummary s = SummarizeResponse(response);
        cells.push_back({response.name, std::to_string(response.f.size()), FormatWithUnit(s.firstGain, response.unit, 5),
                         FormatWithUnit(s.peak, response.unit, 5), FormatWithUnit(s.peakFrequency, "Hz", 5),
                         s.hasCorner ? FormatWithUnit(s.corner, "Hz", 5) : "-",
                         s.hasMargin ? FormatEngineering(s.phaseMargin, 4) + " deg" : "-"});
    }
    PrintTextTable(out, {"trace", "points", "first", "peak", "at", "-3 dB", "phase margin"}, cells);
}

std::string BaseName(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

std::string AcUsage() {
    return "usage: qz3 ac FILE.qz3 [options]\n"
           "Runs an AC analysis of the file and reports its AC traces.\n"
           "  --from F          first frequency of a sweep (default: the file's own)\n"
           "  --to F            last frequency of a sweep\n"
           "  --points N        number of frequencies\n"
           "  --lin             a linear sweep (default: logarithmic)\n"
           "  --set NAME=VALUE  set a parameter before the analysis (repeatable)\n"
           "  --trace NAME      report this AC trace of the file (repeatable; default all)\n"
           "  --csv OUT.csv     write frequency, then magnitude and phase per trace\n"
           "  --svg OUT.svg     draw a Bode plot (magnitude in dB, phase in degrees)\n"
           "  --measure T.WORD  over the whole sweep (repeatable): left, right, delta, min, max,\n"
           "                    pp (of the magnitude, or after \"phase.\" of the phase), slope (dB/decade)\n"
           "Without --csv or --svg a summary is printed: the first gain, the peak,\n"
           "the -3 dB corner and the phase margin where the gain falls through 1.\n";
}

std::string WithSweep(std::string_view text, const CAcOptions& options) {
    std::string out(text);
    const size_t freq = out.find("<Freq");
    if (freq == std::string::npos) {
        const size_t doc = out.find("</Doc>");
        const std::string element = "<Freq>" + SweepSettings("<Settings />", options) + "</Freq>";
        return doc == std::string::npos ? out : out.insert(doc, element);
    }
    const size_t freqEnd = out.find('>', freq);
    const size_t settings = out.find("<Settings", freq);
    const size_t closing = out.find("</Freq>", freq);
    if (freqEnd != std::string::npos && out[freqEnd - 1] == '/') {
        const std::string element = "<Freq>" + SweepSettings("<Settings />", options) + "</Freq>";
        return out.replace(freq, freqEnd + 1 - freq, element);
    }
    if (settings == std::string::npos || (closing != std::string::npos && settings > closing)) {
        return out.insert(freqEnd + 1, SweepSettings("<Settings />", options));
    }
    const size_t tagEnd = out.find('>', settings);
    if (tagEnd == std::string::npos) return out;
    return out.replace(settings, tagEnd + 1 - settings,
                       SweepSettings(out.substr(settings, tagEnd + 1 - settings), options));
}

int AcCommand(const std::vector<std::string>& args, CCommandContext& context) {
    CAcOptions options;
    std::string error;
    if (!ParseAcOptions(args, options, error)) return UsageError(context, error);
    if (options.help) {
        context.out << AcUsage();
        return kExitOk;
    }
    CSchematicText file;
    if (!ReadSchematicText(options.file, file, error)) {
        CCircuit probe;
        return Failure(context, probe.Open(options.file) ? error : probe.Error());
    }
    std::vector<CTraceText> selected;
    if (!SelectAcTraces(file, options.traces, selected, error)) return UsageError(context, error);
    CCircuit circuit;
    if (!OpenWithSweep(circuit, options, error)) return Failure(context, error);
    for (const auto& [name, value] : options.sets)
        if (!circuit.Check(QZ3_SetText(circuit.Handle(), name.c_str(), value.c_str())))
            return Failure(context, circuit.Error());
    if (!circuit.Check(QZ3_CalcAC(circuit.Handle()))) return Failure(context, circuit.Error());
    std::vector<CFrequencyResponse> responses(selected.size());
    for (size_t i = 0; i < selected.size(); ++i)
        if (!ReadResponse(circuit, selected[i], responses[i])) return Failure(context, circuit.Error());
    if (!options.csvPath.empty() && !WriteCsvFile(options.csvPath, ResponseTable(responses), error))
        return Failure(context, error);
    if (!options.svgPath.empty()) {
        bool logX = !options.linear;
        for (const CFrequencyResponse& response : responses)
            for (double f : response.f) logX = logX && f > 0;
        if (!WriteSvgFile(options.svgPath, BodeFigure(responses, BaseName(options.file), logX), error))
            return Failure(context, error);
    }
    PrintResponseSummaries(context.out, responses);
    for (const std::string& text : options.measures) {
        const size_t dot = text.find('.');
        const std::string name = dot == std::string::npos ? text : text.substr(0, dot);
        const std::string word = dot == std::string::npos ? "" : text.substr(dot + 1);
        const auto response = std::find_if(responses.begin(), responses.end(),
                                           [&](const CFrequencyResponse& r) { return r.name == name; });
        double value = 0.0;
        if (response == responses.end()) return UsageError(context, "unknown AC trace '" + name + "'");
        if (!MeasureResponse(*response, word, value)) return UsageError(context, "unknown measurement '" + word + "'");
        const std::string unit = word == "slope" ? "dB/dec" : word.rfind("phase.", 0) == 0 ? "deg" : response->unit;
        context.out << text << " = " << FormatWithUnit(value, unit, 6) << '\n';
    }
    if (!options.csvPath.empty()) context.out << "wrote " << options.csvPath << '\n';
    if (!options.svgPath.empty()) context.out << "wrote " << options.svgPath << '\n';
    return kExitOk;
}

}  // namespace qz3::cli
