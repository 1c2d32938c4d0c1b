#include "svg_plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <sstream>

#include "plot_ticks.h"

namespace qz3::cli {

namespace {

constexpr double kMarginLeft = 90;
constexpr double kLegendWidth = 200;
constexpr double kMarginTop = 46;
constexpr double kPanelGap = 40;
constexpr double kMarginBottom = 64;
// A polyline needs no more vertices than a few per pixel column; beyond
// that the minimum and maximum of each column are kept.
constexpr size_t kPointsPerColumn = 4;

struct CRange {
    double lo = std::numeric_limits<double>::infinity();
    double hi = -std::numeric_limits<double>::infinity();
    void Add(double v) {
        lo = std::min(lo, v);
        hi = std::max(hi, v);
    }
    bool Empty() const { return lo > hi; }
};

// Maps data to pixels for one axis.
struct CAxisMap {
    CAxisTicks ticks;
    bool log = false;
    double pixelLo = 0;  // pixel of ticks.lo
    double pixelHi = 1;  // pixel of ticks.hi

    double Fraction(double v) const {
        if (log) return (std::log10(v) - std::log10(ticks.lo)) / (std::log10(ticks.hi) - std::log10(ticks.lo));
        return (v - ticks.lo) / (ticks.hi - ticks.lo);
    }
    double Pixel(double v) const { return pixelLo + Fraction(v) * (pixelHi - pixelLo); }
    bool Drawable(double v) const { return std::isfinite(v) && (!log || v > 0); }
};

std::string Num(double v) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.2f", v);
    return buffer;
}

CAxisMap MakeAxis(const CPlotAxis& axis, CRange range) {
    CAxisMap map;
    map.log = axis.log;
    if (range.Empty()) range.lo = axis.log ? 1 : 0, range.hi = axis.log ? 10 : 1;
    map.ticks = axis.log ? DecadeTicks(range.lo, range.hi) : NiceLinearTicks(range.lo, range.hi);
    return map;
}

std::string AxisTitle(const CPlotAxis& axis, const CTickLabels& labels) {
    if (labels.unitText.empty()) return axis.label;
    return axis.label + " (" + labels.unitText + ")";
}

CTickLabels LabelsFor(const CAxisMap& map, const CPlotAxis& axis) {
    return map.log ? DecadeTickLabels(map.ticks, axis.unit) : LinearTickLabels(map.ticks, axis.unit);
}

CRange XRange(const CPlotFigure& figure) {
    CRange range;
    for (const CPlotPanel& panel : figure.panels)
        for (const CPlotSeries& series : panel.series)
            for (size_t i = 0; i < series.x.size() && i < series.y.size(); ++i)
                if (std::isfinite(series.x[i]) && std::isfinite(series.y[i]) && (!figure.xAxis.log || series.x[i] > 0))
                    range.Add(series.x[i]);
    return range;
}

CRange YRange(const CPlotPanel& panel, const CAxisMap& xMap) {
    CRange range;
    for (const CPlotSeries& series : panel.series)
        for (size_t i = 0; i < series.x.size() && i < series.y.size(); ++i)
            if (xMap.Drawable(series.x[i]) && std::isfinite(series.y[i]) && (!panel.yAxis.log || series.y[i] > 0))
                range.Add(series.y[i]);
    return range;
}

// The points of one series as polylines, broken where a value is missing,
// thinned to the minimum and maximum of each pixel column.
std::vector<std::string> SeriesPaths(const CPlotSeries& series, const CAxisMap& xMap, const CAxisMap& yMap,
                                     double plotWidth) {
    std::vector<std::string> paths;
    std::ostringstream path;
    size_t vertices = 0;
    size_t count = std::min(series.x.size(), series.y.size());
    bool thin = count > static_cast<size_t>(plotWidth) * kPointsPerColumn;
    auto flush = [&]() {
        if (vertices > 0) paths.push_back(path.str());
        path.str("");
        vertices = 0;
    };
    auto add = [&](double px, double py) {
        path << (vertices == 0 ? "" : " ") << Num(px) << ',' << Num(py);
        ++vertices;
    };
    long column = std::numeric_limits<long>::min();
    double colMin = 0, colMax = 0, lastX = 0, lastY = 0;
    for (size_t i = 0; i < count; ++i) {
        if (!xMap.Drawable(series.x[i]) || !yMap.Drawable(series.y[i])) {
            if (thin && column != std::numeric_limits<long>::min()) add(lastX, lastY);
            column = std::numeric_limits<long>::min();
            flush();
            continue;
        }
        double px = xMap.Pixel(series.x[i]);
        double py = yMap.Pixel(series.y[i]);
        if (!thin) {
            add(px, py);
            continue;
        }
        long here = static_cast<long>(std::floor(px));
        if (here != column) {
            if (column != std::numeric_limits<long>::min()) {
                add(lastX, colMin);
                add(lastX, colMax);
                add(lastX, lastY);
            }
            add(px, py);
            column = here;
            colMin = colMax = py;
        }
        colMin = std::min(colMin, py);
        colMax = std::max(colMax, py);
        lastX = px;
        lastY = py;
    }
    if (thin && column != std::numeric_limits<long>::min()) {
        add(lastX, colMin);
        add(lastX, colMax);
        add(lastX, lastY);
    }
    flush();
    return paths;
}

class CSvgWriter {
public:
    explicit CSvgWriter(const CPlotFigure& figure) : m_Figure(figure) {}

    std::string Render() {
        size_t panels = std::max<size_t>(m_Figure.panels.size(), 1);
        m_Height = kMarginTop + panels * m_Figure.panelHeight + (panels - 1) * kPanelGap + kMarginBottom;
        m_PlotLeft = kMarginLeft;
        m_PlotRight = m_Figure.width - kLegendWidth;
        m_X = MakeAxis(m_Figure.xAxis, XRange(m_Figure));
        m_X.pixelLo = m_PlotLeft;
        m_X.pixelHi = m_PlotRight;
        m_Out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << m_Figure.width << "\" height=\""
              << Num(m_Height) << "\" viewBox=\"0 0 " << m_Figure.width << ' ' << Num(m_Height)
              << "\" font-family=\"sans-serif\" font-size=\"13\">\n"
              << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
        if (!m_Figure.title.empty())
            Text(m_PlotLeft + (m_PlotRight - m_PlotLeft) / 2, 28, XmlEscape(m_Figure.title), "middle",
                 " font-size=\"16\" font-weight=\"bold\"");
        size_t colour = 0;
        for (size_t p = 0; p < m_Figure.panels.size(); ++p) Panel(m_Figure.panels[p], p, colour);
        if (m_Figure.panels.empty()) Panel(CPlotPanel(), 0, colour);
        XTitle();
        m_Out << "</svg>\n";
        return m_Out.str();
    }

private:
    double PanelTop(size_t index) const { return kMarginTop + index * (m_Figure.panelHeight + kPanelGap); }

    void Text(double x, double y, const std::string& escaped, const char* anchor, const std::string& extra = "") {
        m_Out << "<text x=\"" << Num(x) << "\" y=\"" << Num(y) << "\" text-anchor=\"" << anchor << "\"" << extra
              << '>' << escaped << "</text>\n";
    }

    void Line(double x1, double y1, double x2, double y2, const char* stroke, double width) {
        m_Out << "<line x1=\"" << Num(x1) << "\" y1=\"" << Num(y1) << "\" x2=\"" << Num(x2) << "\" y2=\"" << Num(y2)
              << "\" stroke=\"" << stroke << "\" stroke-width=\"" << width << "\"/>\n";
    }

    void Panel(const CPlotPanel& panel, size_t index, size_t& colour) {
        double top = PanelTop(index), bottom = top + m_Figure.panelHeight;
        CRange range = YRange(panel, m_X);
        if (!panel.yAxis.log && !range.Empty()) {
            // A little headroom keeps a trace that sits on its extreme
            // (a supply rail) off the frame, where it would vanish.
            double pad = (range.hi - range.lo) * 0.03;
            range.lo -= pad;
            range.hi += pad;
        }
        CAxisMap y = MakeAxis(panel.yAxis, range);
        y.pixelLo = bottom;
        y.pixelHi = top;
        m_Out << "<g class=\"panel\">\n";
        Grid(y, top, bottom, index + 1 == std::max<size_t>(m_Figure.panels.size(), 1));
        CTickLabels yLabels = LabelsFor(y, panel.yAxis);
        for (size_t i = 0; i < y.ticks.values.size(); ++i)
            Text(m_PlotLeft - 8, y.Pixel(y.ticks.values[i]) + 4, XmlEscape(yLabels.labels[i]), "end");
        double middle = (top + bottom) / 2;
        Text(24, middle, XmlEscape(AxisTitle(panel.yAxis, yLabels)), "middle",
             " transform=\"rotate(-90 24 " + Num(middle) + ")\"");
        if (panel.series.empty() || YRange(panel, m_X).Empty())
            Text((m_PlotLeft + m_PlotRight) / 2, middle, "no data", "middle", " fill=\"#888888\"");
        double legendY = top + 14;
        for (const CPlotSeries& series : panel.series) {
            std::string stroke = SeriesColour(colour++);
            for (const std::string& points : SeriesPaths(series, m_X, y, m_PlotRight - m_PlotLeft))
                m_Out << "<polyline fill=\"none\" stroke=\"" << stroke
                      << "\" stroke-width=\"1.6\" stroke-linejoin=\"round\" points=\"" << points << "\"/>\n";
            Legend(series.name, stroke, legendY);
            legendY += 20;
        }
        m_Out << "</g>\n";
    }

    void Legend(const std::string& name, const std::string& stroke, double y) {
        double x = m_PlotRight + 16;
        m_Out << "<g class=\"legend\">";
        m_Out << "<line x1=\"" << Num(x) << "\" y1=\"" << Num(y - 4) << "\" x2=\"" << Num(x + 24) << "\" y2=\""
              << Num(y - 4) << "\" stroke=\"" << stroke << "\" stroke-width=\"3\"/>";
        m_Out << "<text x=\"" << Num(x + 30) << "\" y=\"" << Num(y) << "\">" << XmlEscape(name) << "</text></g>\n";
    }

    void Grid(const CAxisMap& y, double top, double bottom, bool xLabels) {
        for (double value : y.ticks.values) Line(m_PlotLeft, y.Pixel(value), m_PlotRight, y.Pixel(value), "#e0e0e0", 1);
        CTickLabels labels = LabelsFor(m_X, m_Figure.xAxis);
        for (size_t i = 0; i < m_X.ticks.values.size(); ++i) {
            double px = m_X.Pixel(m_X.ticks.values[i]);
            Line(px, top, px, bottom, "#e0e0e0", 1);
            if (xLabels) Text(px, bottom + 18, XmlEscape(labels.labels[i]), "middle");
        }
        m_Out << "<rect x=\"" << Num(m_PlotLeft) << "\" y=\"" << Num(top) << "\" width=\""
              << Num(m_PlotRight - m_PlotLeft) << "\" height=\"" << Num(bottom - top)
              << "\" fill=\"none\" stroke=\"#333333\" stroke-width=\"1\"/>\n";
    }

    void XTitle() {
        CTickLabels labels = LabelsFor(m_X, m_Figure.xAxis);
        Text((m_PlotLeft + m_PlotRight) / 2, m_Height - 16, XmlEscape(AxisTitle(m_Figure.xAxis, labels)), "middle");
    }

    const CPlotFigure& m_Figure;
    std::ostringstream m_Out;
    CAxisMap m_X;
    double m_Height = 0;
    double m_PlotLeft = 0;
    double m_PlotRight = 0;
};

}  // namespace

std::string SeriesColour(size_t index) {
    // Distinct on white and for the common colour-vision deficiencies.
    static const char* const kPalette[] = {"#1f77b4", "#d62728", "#2ca02c", "#ff7f0e", "#9467bd",
                                           "#8c564b", "#e377c2", "#17becf", "#7f7f7f", "#bcbd22"};
    return kPalette[index % (sizeof kPalette / sizeof kPalette[0])];
}

std::string XmlEscape(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"': out += "&quot;"; break;
            case '\'': out += "&apos;"; break;
            default:
                unsigned char byte = static_cast<unsigned char>(c);
                // Control bytes are not allowed in XML at all; the library's
                // text is 8-bit, read here as Latin-1 so the file stays UTF-8.
                if (byte < 0x20 && c != '\t' && c != '\n') {
                    out += ' ';
                } else if (byte >= 0x80) {
                    char ref[8];
                    std::snprintf(ref, sizeof ref, "&#x%02X;", byte);
                    out += ref;
                } else {
                    out += c;
                }
        }
    }
    return out;
}

std::string RenderSvg(const CPlotFigure& figure) { return CSvgWriter(figure).Render(); }

bool WriteSvgFile(const std::string& path, const CPlotFigure& figure, std::string& error) {
    std::ofstream file(path, std::ios::binary);
    if (file) file << RenderSvg(figure);
    if (!file) {
        error = "cannot write " + path;
        return false;
    }
    return true;
}

}  // namespace qz3::cli
