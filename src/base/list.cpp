#include "base/list.h"

namespace qz3 {

void TStringList::Split(const std::string& text, char separator) {
    Clear();
    if (text.empty()) return;
    // A CR separator stands for a CR LF pair: the LF behind it is skipped unseen.
    const size_t width = (separator == '\r') ? 2 : 1;
    size_t start = 0;
    for (;;) {
        size_t pos = text.find(separator, start);
        if (pos == std::string::npos) {
            Add(text.substr(start));
            return;
        }
        Add(text.substr(start, pos - start));
        start = pos + width;
        if (start > text.size()) {
            Add(std::string());
            return;
        }
    }
}

std::string TStringList::JoinCommas() const {
    std::string out;
    for (size_t i = 0; i < m_Items.size(); ++i) {
        if (i) out += ',';
        out += m_Items[i];
    }
    return out;
}

std::string TStringList::JoinLines() const {
    std::string out;
    for (const auto& s : m_Items) {
        out += s;
        out += '\n';
    }
    return out;
}

}  // namespace qz3
