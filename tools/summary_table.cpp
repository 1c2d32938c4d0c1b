#include "summary_table.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "eng_number.h"

namespace qz3::cli {

namespace {

std::string Padded(const std::string& text, size_t width, bool right) {
    if (text.size() >= width) return text;
    std::string pad(width - text.size(), ' ');
    return right ? pad + text : text + pad;
}

}  // namespace

CTraceSummary Summarize(const CWaveform& wave) {
    CTraceSummary row;
    row.name = wave.name;
    row.unit = wave.unit;
    size_t count = std::min(wave.x.size(), wave.y.size());
    row.points = count;
    if (count == 0) {
        row.min = row.max = row.mean = row.final = std::numeric_limits<double>::quiet_NaN();
        return row;
    }
    row.min = row.max = wave.y[0];
    double plainSum = 0, integral = 0;
    for (size_t i = 0; i < count; ++i) {
        row.min = std::min(row.min, wave.y[i]);
        row.max = std::max(row.max, wave.y[i]);
        plainSum += wave.y[i];
        if (i > 0) integral += (wave.x[i] - wave.x[i - 1]) * (wave.y[i] + wave.y[i - 1]) / 2;
    }
    double span = wave.x[count - 1] - wave.x[0];
    row.mean = span > 0 ? integral / span : plainSum / count;
    row.final = wave.y[count - 1];
    return row;
}

void PrintTextTable(std::ostream& out, const std::vector<std::string>& headers,
                    const std::vector<std::vector<std::string>>& cells) {
    const size_t columns = headers.size();
    std::vector<size_t> widths(columns);
    for (size_t c = 0; c < columns; ++c) {
        widths[c] = headers[c].size();
        for (const auto& line : cells) widths[c] = std::max(widths[c], line[c].size());
    }
    // Names left-aligned, numbers right-aligned so their units line up.
    for (size_t c = 0; c < columns; ++c) out << (c ? "  " : "") << Padded(headers[c], widths[c], c > 0);
    out << '\n';
    for (const auto& line : cells) {
        for (size_t c = 0; c < columns; ++c) out << (c ? "  " : "") << Padded(line[c], widths[c], c > 0);
        out << '\n';
    }
}

void PrintSummaryTable(std::ostream& out, const std::vector<CTraceSummary>& rows) {
    std::vector<std::vector<std::string>> cells;
    for (const CTraceSummary& row : rows)
        cells.push_back({row.name, std::to_string(row.points), FormatWithUnit(row.min, row.unit, 5),
                         FormatWithUnit(row.max, row.unit, 5), FormatWithUnit(row.mean, row.unit, 5),
                         FormatWithUnit(row.final, row.unit, 5)});
    PrintTextTable(out, {"trace", "points", "min", "max", "mean", "final"}, cells);
}

}  // namespace qz3::cli
