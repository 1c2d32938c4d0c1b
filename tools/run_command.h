// "qz3 run FILE.qz3": a transient run of the file's own length and step (or
// those given), with parameters set by name beforehand, and its traces
// written as CSV, drawn as SVG, or summed up in a table.
#pragma once

#include <string>
#include <vector>

#include "command_context.h"
#include "schematic_text.h"
#include "svg_plot.h"
#include "waveform.h"

namespace qz3::cli {

int RunCommand(const std::vector<std::string>& args, CCommandContext& context);
std::string RunUsage();

// The traces to record: those named (each must be a transient trace of the
// file), else every transient trace of the file that records data. False
// with a message for the user when a name is unknown or nothing is left.
bool SelectTraces(const CSchematicText& file, const std::vector<std::string>& requested,
                  std::vector<CTraceText>& selected, std::string& error);

// Slice ends of a run of `length` from t0: multiples of the step, so that
// the slices end where steps end anyway, at most `maxSlices` of them, the
// last one exactly t0 + length.
std::vector<double> SliceEnds(double t0, double length, double step, int maxSlices = 200);

// One panel per unit, in the order the units first appear, over time.
CPlotFigure TransientFigure(const std::vector<CWaveform>& waves, const std::string& title);

}  // namespace qz3::cli
