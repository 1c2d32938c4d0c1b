// A small SVG plotter. A figure is one or more panels stacked over a shared
// x axis; each panel has its own y axis and series. A transient plot puts
// the traces of one unit into one panel; a Bode plot is a figure of two
// panels (magnitude, phase) over a logarithmic frequency axis. Colours are
// assigned per series across the whole figure, so a trace keeps its colour
// in every panel, and every panel has a legend.
#pragma once

#include <string>
#include <vector>

namespace qz3::cli {

struct CPlotAxis {
    std::string label;  // "time", "magnitude"
    std::string unit;   // "s", "V", "dB", ""
    bool log = false;
};

struct CPlotSeries {
    std::string name;
    std::vector<double> x;
    std::vector<double> y;  // NaN breaks the line
};

struct CPlotPanel {
    CPlotAxis yAxis;
    std::vector<CPlotSeries> series;
};

struct CPlotFigure {
    std::string title;
    CPlotAxis xAxis;
    std::vector<CPlotPanel> panels;
    int width = 960;
    int panelHeight = 300;
};

// The colour of the n-th series of a figure, as "#rrggbb".
std::string SeriesColour(size_t index);
// Text safe inside SVG elements and attribute values.
std::string XmlEscape(const std::string& text);

std::string RenderSvg(const CPlotFigure& figure);
// False with "cannot write PATH" when the file cannot be made.
bool WriteSvgFile(const std::string& path, const CPlotFigure& figure, std::string& error);

}  // namespace qz3::cli
