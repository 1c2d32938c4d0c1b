#include "waveforms/signal_items.h"

#include <cstring>

namespace qz3 {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }
bool IsJoiner(char c) { return c != 0 && std::strchr("()<>!=", c) != nullptr; }

std::string Trim(const std::string& text) {
    size_t begin = 0, end = text.size();
    while (begin < end && (IsBlank(text[begin]) || text[begin] == '\r' || text[begin] == '\n')) ++begin;
    while (end > begin && (IsBlank(text[end - 1]) || text[end - 1] == '\r' || text[end - 1] == '\n')) --end;
    return text.substr(begin, end - begin);
}

char NextNonBlank(const std::string& text, size_t from) {
    while (from < text.size() && IsBlank(text[from])) ++from;
    return from < text.size() ? text[from] : 0;
}

void Flush(std::string& item, std::vector<std::string>& items) {
    if (!item.empty()) items.push_back(item);
    item.clear();
}

}  // namespace

std::vector<std::string> SplitSignalItems(const std::string& raw) {
    const std::string text = Trim(raw);
    std::vector<std::string> items;
    std::string item;
    bool quoted = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') {
            quoted = !quoted;
            item += c;
        } else if (quoted) {
            item += c;
        } else if (c == ',') {
            Flush(item, items);
        } else if (IsBlank(c)) {
            const char before = item.empty() ? 0 : item.back();
            if (!IsJoiner(before) && !IsJoiner(NextNonBlank(text, i))) Flush(item, items);
        } else {
            item += c;
        }
    }
    Flush(item, items);
    return items;
}

bool ReadListPairs(const std::string& text, const SignalEval& eval, std::vector<double>& pairs,
                   std::string& error) {
    const std::vector<std::string> items = SplitSignalItems(text);
    pairs.clear();
    const size_t count = items.size() / 2;
    for (size_t k = 0; k < count; ++k) {
        double time = 0.0, value = 0.0;
        std::string message;
        const bool ok = eval(items[2 * k], time, message) && eval(items[2 * k + 1], value, message);
        if (!ok) {
            if (k == 0) continue;
            error = "Error: " + message;
            return false;
        }
        pairs.push_back(time);
        pairs.push_back(value);
    }
    return true;
}

bool ReadTableLines(const std::vector<std::string>& lines, const SignalEval& eval,
                    const std::string& emptyMessage, std::vector<double>& pairs, std::string& error) {
    pairs.clear();
    bool firstLine = true;
    for (const std::string& line : lines) {
        const std::vector<std::string> items = SplitSignalItems(line);
        if (items.size() < 2) continue;
        double time = 0.0, value = 0.0;
        std::string message;
        const bool ok = eval(items[0], time, message) && eval(items[1], value, message);
        const bool heading = firstLine;
        firstLine = false;
        if (!ok) {
            if (heading) continue;
            error = "Error: " + message;
            return false;
        }
        pairs.push_back(time);
        pairs.push_back(value);
    }
    if (pairs.empty()) {
        error = emptyMessage;
        return false;
    }
    return true;
}

std::vector<std::string> SplitTextLines(const std::string& text) {
    std::vector<std::string> lines;
    std::string line;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\r' || c == '\n') {
            lines.push_back(line);
            line.clear();
            if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
        } else {
            line += c;
        }
    }
    if (!line.empty()) lines.push_back(line);
    return lines;
}

}  // namespace qz3
