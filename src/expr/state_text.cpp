#include "expr/state_text.h"

#include <cerrno>
#include <cstdlib>

#include "expr/number_text.h"

namespace qz3 {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view Trim(std::string_view s) {
    while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
    while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
    return s;
}

// End of the item that begins at `pos`: the next comma outside braces, or
// the end of the list. An unclosed "{" runs to the end.
size_t ItemEnd(std::string_view list, size_t pos) {
    while (pos < list.size()) {
        const char c = list[pos];
        if (c == ',') return pos;
        if (c == '{') {
            const size_t close = list.find('}', pos + 1);
            if (close == std::string_view::npos) return list.size();
            pos = close;
        }
        ++pos;
    }
    return pos;
}

// Calls visit(item) for each item in order until it returns true.
template <class Visit>
void ForEachItem(std::string_view list, Visit visit) {
    size_t pos = 0;
    for (;;) {
        const size_t end = ItemEnd(list, pos);
        if (visit(list.substr(pos, end - pos))) return;
        if (end >= list.size()) return;
        pos = end + 1;
    }
}

void AddKey(std::string& list, std::string_view key) {
    if (!list.empty()) list += ',';
    if (!key.empty()) {
        list.append(key);
        list += '=';
    }
}

// "%d": leading blanks, a sign, at least one digit; what follows is ignored.
bool ScanInt(const std::string& text, int& out) {
    const char* begin = text.c_str();
    char* end = nullptr;
    errno = 0;
    const long v = std::strtol(begin, &end, 10);
    if (end == begin) return false;
    out = static_cast<int>(v);
    return true;
}

}  // namespace

void AddKeyStr(std::string& list, std::string_view key, std::string_view value) {
    AddKey(list, key);
    list.append(value);
}

void AddKeyInt(std::string& list, std::string_view key, int value) {
    AddKeyStr(list, key, std::to_string(value));
}

void AddKeyDouble(std::string& list, std::string_view key, double value) {
    AddKeyStr(list, key, NumberToText(value, 12));
}

void AddKeyHex(std::string& list, std::string_view key, double value) {
    AddKeyStr(list, key, DoubleToHex(value));
}

void AddKeyBraced(std::string& list, std::string_view key, std::string_view value) {
    AddKey(list, key);
    list += '{';
    list.append(value);
    list += '}';
}

void AddKeyOnOff(std::string& list, std::string_view key, int value) {
    AddKeyStr(list, key, value ? "On" : "Off");
}

void AddKeyChoice(std::string& list, std::string_view key, int index, const TStringList& items) {
    AddKeyStr(list, key, (index >= 0 && index < items.Count()) ? std::string_view(items[index]) : std::string_view());
}

int ListCount(std::string_view list) {
    if (Trim(list).empty()) return 0;
    int count = 0;
    ForEachItem(list, [&](std::string_view) { ++count; return false; });
    return count;
}

std::string ListItem(std::string_view list, int n) {
    std::string item;
    int index = 0;
    ForEachItem(list, [&](std::string_view s) {
        if (index++ != n) return false;
        item.assign(s);
        return true;
    });
    return item;
}

std::string KeyStr(std::string_view list, std::string_view key) {
    std::string value;
    ForEachItem(list, [&](std::string_view item) {
        const size_t eq = item.find('=');
        const std::string_view k = eq == std::string_view::npos ? std::string_view() : Trim(item.substr(0, eq));
        if (k != key) return false;
        if (eq != std::string_view::npos) value.assign(Trim(item.substr(eq + 1)));
        return true;
    });
    return value;
}

int KeyInt(std::string_view list, std::string_view key, int def) {
    int v = def;
    return ScanInt(KeyStr(list, key), v) ? v : def;
}

double KeyDouble(std::string_view list, std::string_view key, double def) {
    const std::string text = KeyStr(list, key);
    double v = def;
    if (text.empty() || !ParseDouble(text, v)) return def;
    return v;
}

double KeyHex(std::string_view list, std::string_view key, double def) {
    const std::string text = KeyStr(list, key);
    return text.empty() ? def : HexToDouble(text.c_str());
}

std::string KeyBraced(std::string_view list, std::string_view key) {
    const std::string text = KeyStr(list, key);
    return text.size() < 2 ? std::string() : text.substr(1, text.size() - 2);
}

std::string StateById(const TStringList& states, int id) {
    for (const std::string& line : states) {
        if (line.compare(0, 3, "id=") != 0) continue;
        int lineId = 0;
        if (!ScanInt(line.substr(3), lineId) || lineId != id) continue;
        const size_t comma = line.find(',');
        return comma == std::string::npos ? std::string() : line.substr(comma + 1);
    }
    return std::string();
}

}  // namespace qz3
