#include "csv_writer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>

namespace qz3::cli {

namespace {

std::string NumberCell(double value) {
    if (std::isnan(value)) return "";
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.12g", value);
    return buffer;
}

}  // namespace

std::vector<double> UnionTimeBase(const std::vector<CWaveform>& waves) {
    std::vector<double> all;
    for (const CWaveform& wave : waves) all.insert(all.end(), wave.x.begin(), wave.x.end());
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

std::string CsvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (char c : text) {
        if (c == '"') quoted += '"';
        quoted += c;
    }
    return quoted + "\"";
}

void WriteCsv(std::ostream& out, const CSampleTable& table) {
    out << CsvField(table.xName);
    for (const std::string& header : table.headers) out << ',' << CsvField(header);
    out << '\n';
    for (size_t row = 0; row < table.x.size(); ++row) {
        out << NumberCell(table.x[row]);
        for (const std::vector<double>& column : table.columns)
            out << ',' << (row < column.size() ? NumberCell(column[row]) : std::string());
        out << '\n';
    }
}

bool WriteCsvFile(const std::string& path, const CSampleTable& table, std::string& error) {
    std::ofstream file(path, std::ios::binary);
    if (file) WriteCsv(file, table);
    if (!file) {
        error = "cannot write " + path;
        return false;
    }
    return true;
}

}  // namespace qz3::cli
