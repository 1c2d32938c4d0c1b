#include "run_command.h"

#include <algorithm>
#include <cstdio>
#include <cmath>
#include <limits>

#include "circuit.h"
#include "command_line.h"
#include "csv_writer.h"
#include "eng_number.h"
#include "progress_bar.h"
#include "qz3.h"
#include "summary_table.h"
#include "wave_measure.h"

namespace qz3::cli {

namespace {

struct CRecordedTrace {
    CTraceText text;
    int handle = -1;
};

std::string JoinNames(const std::vector<CTraceText>& traces) {
    std::string names;
    for (const CTraceText& trace : traces) names += (names.empty() ? "" : ", ") + trace.name;
    return names.empty() ? "(none)" : names;
}

int UsageError(CCommandContext& context, const std::string& message) {
    context.err << "qz3 run: " << message << "\n(see 'qz3 run --help')\n";
    return kExitUsage;
}

int LibraryFailure(CCommandContext& context, const std::string& message) {
    context.err << message << '\n';
    return kExitFailure;
}

bool ApplyOptions(CCircuit& circuit, const CRunOptions& options) {
    for (const auto& [name, value] : options.sets)
        if (!circuit.Check(QZ3_SetText(circuit.Handle(), name.c_str(), value.c_str()))) return false;
    if (options.hasStep && !circuit.Check(QZ3_SetStep(circuit.Handle(), options.step))) return false;
    return true;
}

// Only the last slice lands on its end exactly: a landed end is a break for
// the solver, which then starts again with small Euler steps, so the slices
// for the progress bar may overrun their ends and leave the steps alone.
bool Simulate(CCircuit& circuit, double length, double step, CProgressBar& progress) {
    int ncir = circuit.Handle();
    if (!circuit.Check(QZ3_Start(ncir))) return false;
    double t0 = 0;
    if (!circuit.Check(QZ3_GetSimulationTime(ncir, &t0))) return false;
    const std::vector<double> ends = SliceEnds(t0, length, step);
    for (size_t i = 0; i < ends.size(); ++i) {
        const double end = ends[i];
        const bool last = i + 1 == ends.size();
        double now = t0;
        if (!circuit.Check(QZ3_GetSimulationTime(ncir, &now))) return false;
        if (end > now && !circuit.Check(last ? QZ3_SimulateInterval(ncir, end - now) : QZ3_Simulate(ncir, end - now)))
            return false;
        if (!circuit.Check(QZ3_GetSimulationTime(ncir, &now))) return false;
        progress.Update((now - t0) / length, "t = " + FormatWithUnit(now, "s"));
    }
    progress.Finish();
    return true;
}

bool ReadWaveform(CCircuit& circuit, const CRecordedTrace& trace, CWaveform& wave) {
    wave = CWaveform();
    wave.name = trace.text.name;
    wave.unit = trace.text.unit;
    int count = QZ3_GetDataSize(circuit.Handle(), trace.handle);
    if (!circuit.Check(count)) return false;
    wave.x.reserve(count);
    wave.y.reserve(count);
    for (int i = 0; i < count; ++i) {
        double t = 0, v = 0;
        if (!circuit.Check(QZ3_GetDataAt(circuit.Handle(), trace.handle, i, &t, &v))) return false;
        wave.x.push_back(t);
        wave.y.push_back(v);
    }
    return true;
}

// Every trace sampled at the union of all accepted times; where a trace has
// no value (outside its data) the cell stays empty.
CSampleTable SampleOnCommonTimes(int ncir, const std::vector<CRecordedTrace>& traces,
                                 const std::vector<CWaveform>& waves) {
    CSampleTable table;
    table.x = UnionTimeBase(waves);
    for (const CRecordedTrace& trace : traces) {
        table.headers.push_back(trace.text.name);
        std::vector<double> column;
        column.reserve(table.x.size());
        for (double t : table.x) {
            double v = 0;
            bool found = QZ3_GetData(ncir, trace.handle, t, &v) >= 0;
            column.push_back(found ? v : std::numeric_limits<double>::quiet_NaN());
        }
        table.columns.push_back(std::move(column));
    }
    return table;
}

std::string QuantityOfUnit(const std::string& unit) {
    if (unit == "V") return "voltage";
    if (unit == "A") return "current";
    if (unit == "W") return "power";
    return "value";
}

// Numbers in JSON: NaN and infinities are null.
std::string JsonNumber(double x) {
    if (!std::isfinite(x)) return "null";
    char text[32];
    std::snprintf(text, sizeof text, "%.12g", x);
    return text;
}

std::string JsonString(const std::string& s) {
    std::string out = "\"";
    for (char c : s) {
        if (c == '"' || c == '\\') out += '\\';
        if (static_cast<unsigned char>(c) < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            out += escaped;
            continue;
        }
        out += c;
    }
    return out + "\"";
}

struct CMeasured {
    std::string text;
    double value;
};

void PrintJson(std::ostream& out, const std::string& file, const std::vector<CTraceSummary>& rows,
               const std::vector<CMeasured>& measured, double from, double to) {
    out << "{\"file\": " << JsonString(file) << ", \"traces\": [";
    for (size_t i = 0; i < rows.size(); ++i) {
        const CTraceSummary& r = rows[i];
        out << (i ? ", " : "") << "{\"name\": " << JsonString(r.name) << ", \"unit\": " << JsonString(r.unit)
            << ", \"points\": " << r.points << ", \"min\": " << JsonNumber(r.min) << ", \"max\": " << JsonNumber(r.max)
            << ", \"mean\": " << JsonNumber(r.mean) << ", \"final\": " << JsonNumber(r.final) << "}";
    }
    out << "], \"measurements\": [";
    for (size_t i = 0; i < measured.size(); ++i)
        out << (i ? ", " : "") << "{\"name\": " << JsonString(measured[i].text) << ", \"from\": " << JsonNumber(from)
            << ", \"to\": " << JsonNumber(to) << ", \"value\": " << JsonNumber(measured[i].value) << "}";
    out << "]}\n";
}

std::string BaseName(const std::string& path) {
    size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

std::string RunUsage() {
    return "usage: qz3 run FILE.qz3 [options]\n"
           "Runs a transient simulation of the file and reports its traces.\n"
           "  --time T          length of the run (default: the file's own, e.g. 20m)\n"
           "  --step H          calculation step (default: the file's own, e.g. 1u)\n"
           "  --set NAME=VALUE  set a parameter before the run (repeatable), e.g. R1.R=2k\n"
           "  --trace NAME      record this trace of the file (repeatable; default all)\n"
           "  --csv OUT.csv     write time and one column per trace\n"
           "  --svg OUT.svg     draw the traces\n"
           "  --measure T.WORD  measure trace T between the cursors (repeatable): left, right,\n"
           "                    delta, min, max, pp, mean, rms, acrms, freq, period, integral\n"
           "  --from T, --to T  the cursors (default: the whole run)\n"
           "  --json            print the summary and the measurements as one JSON object\n"
           "A summary table is printed, and a line for each file written.\n"
           "Numbers take the multipliers T G M k m u n p f.\n";
}

bool SelectTraces(const CSchematicText& file, const std::vector<std::string>& requested,
                  std::vector<CTraceText>& selected, std::string& error) {
    selected.clear();
    if (requested.empty()) {
        for (const CTraceText& trace : file.tranTraces)
            if (trace.Records()) selected.push_back(trace);
        if (selected.empty()) error = "the file has no transient traces to record";
        return !selected.empty();
    }
    for (const std::string& name : requested) {
        const CTraceText* trace = file.FindTranTrace(name);
        if (trace == nullptr) {
            error = "unknown trace '" + name + "'; the file has: " + JoinNames(file.tranTraces);
            return false;
        }
        selected.push_back(*trace);
    }
    return true;
}

std::vector<double> SliceEnds(double t0, double length, double step, int maxSlices) {
    std::vector<double> ends;
    if (!(length > 0) || !std::isfinite(length)) return ends;
    if (!(step > 0) || !std::isfinite(step)) step = length;
    double steps = std::ceil(length / step - 1e-9);
    double stepsPerSlice = std::max(1.0, std::ceil(steps / std::max(maxSlices, 1)));
    for (int k = 1; k <= maxSlices; ++k) {
        double offset = k * stepsPerSlice * step;
        if (offset >= length * (1 - 1e-12)) break;
        ends.push_back(t0 + offset);
    }
    ends.push_back(t0 + length);
    return ends;
}

CPlotFigure TransientFigure(const std::vector<CWaveform>& waves, const std::string& title) {
    CPlotFigure figure;
    figure.title = title;
    figure.xAxis = {"time", "s", false};
    std::vector<std::string> units;
    for (const CWaveform& wave : waves) {
        size_t panel = 0;
        while (panel < units.size() && units[panel] != wave.unit) ++panel;
        if (panel == units.size()) {
            units.push_back(wave.unit);
            figure.panels.push_back({{QuantityOfUnit(wave.unit), wave.unit, false}, {}});
        }
        figure.panels[panel].series.push_back({wave.name, wave.x, wave.y});
    }
    return figure;
}

int RunCommand(const std::vector<std::string>& args, CCommandContext& context) {
    CRunOptions options;
    std::string error;
    if (!ParseRunOptions(args, options, error)) return UsageError(context, error);
    if (options.help) {
        context.out << RunUsage();
        return kExitOk;
    }
    CSchematicText file;
    CCircuit circuit;
    if (!ReadSchematicText(options.file, file, error)) {
        // The library has the last word on files it cannot open.
        if (!circuit.Open(options.file)) return LibraryFailure(context, circuit.Error());
        return LibraryFailure(context, error);
    }
    std::vector<CMeasureRequest> requests(options.measures.size());
    std::vector<std::string> wanted = options.traces;
    for (size_t i = 0; i < requests.size(); ++i) {
        if (!ParseMeasure(options.measures[i], requests[i], error)) return UsageError(context, error);
        if (!wanted.empty() && std::find(wanted.begin(), wanted.end(), requests[i].trace) == wanted.end())
            wanted.push_back(requests[i].trace);
    }
    std::vector<CTraceText> selected;
    if (!SelectTraces(file, wanted, selected, error)) return UsageError(context, error);
    if (!circuit.Open(options.file) || !ApplyOptions(circuit, options)) return LibraryFailure(context, circuit.Error());

    std::vector<CRecordedTrace> traces;
    for (const CTraceText& text : selected) {
        int handle = QZ3_GetTrace(circuit.Handle(), text.name.c_str());
        if (!circuit.Check(handle)) {
            // The file's text named it, yet the library does not know it:
            // still a name the user cannot use.
            bool unknown = circuit.Error().find(" not found") != std::string::npos;
            LibraryFailure(context, circuit.Error());
            return unknown ? kExitUsage : kExitFailure;
        }
        traces.push_back({text, handle});
    }
    double length = options.hasTime ? options.time : file.screen;
    double step = options.hasStep ? options.step : file.step;
    CProgressBar progress(context.progress, CProgressBar::IsTerminal(context.progress));
    if (!Simulate(circuit, length, step, progress)) return LibraryFailure(context, circuit.Error());

    std::vector<CWaveform> waves(traces.size());
    for (size_t i = 0; i < traces.size(); ++i)
        if (!ReadWaveform(circuit, traces[i], waves[i])) return LibraryFailure(context, circuit.Error());

    std::vector<CMeasured> measured;
    const double from = options.hasFrom ? options.from : 0.0;
    const double to = options.hasTo ? options.to : std::numeric_limits<double>::infinity();
    for (size_t i = 0; i < requests.size(); ++i) {
        const auto wave = std::find_if(waves.begin(), waves.end(),
                                       [&](const CWaveform& w) { return w.name == requests[i].trace; });
        if (wave == waves.end()) return UsageError(context, "unknown trace '" + requests[i].trace + "'");
        const double end = std::isinf(to) && !wave->x.empty() ? wave->x.back() : to;
        measured.push_back({options.measures[i], MeasureWave(*wave, requests[i].word, from, end)});
    }
    std::vector<CTraceSummary> rows;
    for (const CWaveform& wave : waves) rows.push_back(Summarize(wave));
    if (options.json) {
        PrintJson(context.out, options.file, rows, measured, from, to);
    } else {
        PrintSummaryTable(context.out, rows);
        for (size_t i = 0; i < measured.size(); ++i) {
            const auto& wave = *std::find_if(waves.begin(), waves.end(),
                                             [&](const CWaveform& w) { return w.name == requests[i].trace; });
            const std::string word = requests[i].word;
            const std::string unit = word == "freq" ? "Hz" : word == "period" ? "s" : word == "integral" ? wave.unit + "s" : wave.unit;
            context.out << measured[i].text << " = " << FormatWithUnit(measured[i].value, unit, 6) << '\n';
        }
    }
    if (!options.csvPath.empty()) {
        if (!WriteCsvFile(options.csvPath, SampleOnCommonTimes(circuit.Handle(), traces, waves), error))
            return LibraryFailure(context, error);
        if (!options.json) context.out << "wrote " << options.csvPath << '\n';
    }
    if (!options.svgPath.empty()) {
        if (!WriteSvgFile(options.svgPath, TransientFigure(waves, BaseName(options.file)), error))
            return LibraryFailure(context, error);
        if (!options.json) context.out << "wrote " << options.svgPath << '\n';
    }
    return kExitOk;
}

}  // namespace qz3::cli
