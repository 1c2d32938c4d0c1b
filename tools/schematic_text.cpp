#include "schematic_text.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace qz3::cli {

namespace {

// Deeper nesting than any schematic has; beyond it elements are skipped
// so that a hostile file cannot exhaust the stack.
constexpr int kMaxDepth = 64;

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string Trim(std::string_view text) {
    size_t begin = 0, end = text.size();
    while (begin < end && IsBlank(text[begin])) ++begin;
    while (end > begin && IsBlank(text[end - 1])) --end;
    return std::string(text.substr(begin, end - begin));
}

class CElementScanner {
public:
    explicit CElementScanner(std::string_view text) : m_Text(text) {}

    // Reads the element whose "<" stands at `pos`; returns the position
    // behind it.
    size_t ReadElement(size_t pos, CTextElement& element, int depth) {
        ++pos;  // the "<"
        size_t nameEnd = pos;
        while (nameEnd < m_Text.size() && !IsBlank(m_Text[nameEnd]) && m_Text[nameEnd] != '>' &&
               m_Text[nameEnd] != '/')
            ++nameEnd;
        element.name = std::string(m_Text.substr(pos, nameEnd - pos));
        pos = ReadAttributes(nameEnd, element.attrs);
        if (pos >= m_Text.size()) return pos;
        if (m_Text[pos] == '/') return SkipPast(pos, '>');
        return ReadBody(pos + 1, element, depth);
    }

private:
    size_t SkipPast(size_t pos, char c) const {
        while (pos < m_Text.size() && m_Text[pos] != c) ++pos;
        return pos < m_Text.size() ? pos + 1 : pos;
    }

    size_t SkipPast(size_t pos, std::string_view token) const {
        size_t found = m_Text.find(token, pos);
        return found == std::string_view::npos ? m_Text.size() : found + token.size();
    }

    // Attributes up to the ">" or "/" that ends them; returns its position.
    size_t ReadAttributes(size_t pos, CAttributes& attrs) const {
        while (pos < m_Text.size()) {
            size_t stop = m_Text.find_first_of("=>/", pos);
            if (stop == std::string_view::npos) return m_Text.size();
            if (m_Text[stop] != '=') return stop;
            std::string key = Trim(m_Text.substr(pos, stop - pos));
            size_t open = stop + 1;
            while (open < m_Text.size() && IsBlank(m_Text[open])) ++open;
            if (open >= m_Text.size()) return m_Text.size();
            char quote = m_Text[open];
            if (quote != '"' && quote != '\'') {
                // No quote: the value runs to the next blank or ">".
                size_t end = open;
                while (end < m_Text.size() && !IsBlank(m_Text[end]) && m_Text[end] != '>') ++end;
                attrs.emplace_back(key, std::string(m_Text.substr(open, end - open)));
                pos = end;
                continue;
            }
            size_t close = m_Text.find(quote, open + 1);
            if (close == std::string_view::npos) return m_Text.size();
            attrs.emplace_back(key, Trim(m_Text.substr(open + 1, close - open - 1)));
            pos = close + 1;
        }
        return pos;
    }

    size_t ReadBody(size_t pos, CTextElement& element, int depth) {
        while (pos < m_Text.size()) {
            size_t open = m_Text.find('<', pos);
            if (open == std::string_view::npos || open + 1 >= m_Text.size()) return m_Text.size();
            char next = m_Text[open + 1];
            if (next == '/') return SkipPast(open, '>');
            if (m_Text.compare(open, 4, "<!--") == 0) {
                pos = SkipPast(open, "-->");
            } else if (next == '?' || next == '!') {
                pos = SkipPast(open, '>');
            } else if (depth >= kMaxDepth) {
                pos = SkipShallow(open);
            } else {
                element.children.emplace_back();
                pos = ReadElement(open, element.children.back(), depth + 1);
            }
        }
        return pos;
    }

    // Past the deepest level, an element is passed over by counting tags
    // instead of recursing.
    size_t SkipShallow(size_t pos) const {
        long level = 0;
        while (pos < m_Text.size()) {
            size_t close = SkipPast(pos, '>');
            bool endTag = pos + 1 < m_Text.size() && m_Text[pos + 1] == '/';
            bool selfClosing = close >= 2 && m_Text[close - 2] == '/';
            if (endTag) --level;
            else if (!selfClosing) ++level;
            if (level <= 0) return close;
            pos = m_Text.find('<', close);
            if (pos == std::string_view::npos) return m_Text.size();
        }
        return pos;
    }

    std::string_view m_Text;
};

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::string AttrOr(const CTextElement& element, std::string_view key, std::string_view fallback) {
    const std::string* value = element.Attr(key);
    return value != nullptr ? *value : std::string(fallback);
}

// The library's number reading of a setting: cut at "(", empty keeps the
// default, otherwise what strtod makes of it.
double SettingNumber(const CTextElement* settings, std::string_view key, double fallback) {
    if (settings == nullptr) return fallback;
    const std::string* value = settings->Attr(key);
    if (value == nullptr || value->empty()) return fallback;
    std::string text = value->substr(0, value->find('('));
    if (text.empty()) return fallback;
    if (text == "inf") return HUGE_VAL;
    if (text == "-inf") return -HUGE_VAL;
    return std::strtod(text.c_str(), nullptr);
}

std::string UnitOfTraceType(const std::string& type) {
    if (type == "V") return "V";
    if (type == "I") return "A";
    if (type == "P") return "W";
    return "";
}

std::vector<CTraceText> ReadTraces(const CTextElement* traces) {
    std::vector<CTraceText> list;
    if (traces == nullptr) return list;
    for (const CTextElement& child : traces->children) {
        if (child.name != "Trace") continue;
        CTraceText trace;
        trace.expr = PercentDecode(AttrOr(child, "expr", ""));
        trace.name = PercentDecode(AttrOr(child, "name", ""));
        if (trace.name.empty()) trace.name = trace.expr;
        trace.type = AttrOr(child, "type", "V");
        trace.unit = UnitOfTraceType(trace.type);
        list.push_back(std::move(trace));
    }
    return list;
}

std::vector<CComponentText> ReadComponents(const CTextElement* cmps) {
    std::vector<CComponentText> list;
    if (cmps == nullptr) return list;
    for (const CTextElement& child : cmps->children) {
        if (child.name != "Cmp") continue;
        CComponentText cmp;
        cmp.type = AttrOr(child, "type", "");
        cmp.name = PercentDecode(AttrOr(child, "name", ""));
        cmp.model = PercentDecode(AttrOr(child, "model", ""));
        cmp.attrs = child.attrs;
        cmp.children = child.children;
        list.push_back(std::move(cmp));
    }
    return list;
}

bool EqualNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

}  // namespace

const std::string* CTextElement::Attr(std::string_view key) const {
    for (const auto& [name, value] : attrs)
        if (name == key) return &value;
    return nullptr;
}

const CTextElement* CTextElement::Child(std::string_view key) const {
    for (const CTextElement& child : children)
        if (child.name == key) return &child;
    return nullptr;
}

const CTextElement* CTextElement::Path(std::string_view path) const {
    const CTextElement* node = this;
    while (node != nullptr && !path.empty()) {
        size_t slash = path.find('/');
        node = node->Child(path.substr(0, slash));
        path = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
    }
    return node;
}

std::string PercentDecode(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '+') {
            out += ' ';
        } else if (c == '%' && i + 2 < text.size() && HexDigit(text[i + 1]) >= 0 && HexDigit(text[i + 2]) >= 0) {
            char byte = static_cast<char>(HexDigit(text[i + 1]) * 16 + HexDigit(text[i + 2]));
            if (byte == '\0') break;  // an encoded zero ends the string
            out += byte;
            i += 2;
        } else {
            out += c;
        }
    }
    return out;
}

bool ParseElementText(std::string_view text, std::string_view rootName, CTextElement& root, std::string& error) {
    std::string open = "<" + std::string(rootName);
    size_t pos = 0;
    while ((pos = text.find(open, pos)) != std::string_view::npos) {
        size_t behind = pos + open.size();
        if (behind < text.size() && (text[behind] == '>' || IsBlank(text[behind]) || text[behind] == '/')) break;
        pos = behind;
    }
    if (pos == std::string_view::npos) {
        error = "wrong file format";
        return false;
    }
    root = CTextElement();
    CElementScanner(text).ReadElement(pos, root, 0);
    return true;
}

const CTraceText* CSchematicText::FindTranTrace(std::string_view name) const {
    if (name.size() >= 2 && name.front() == '"' && name.back() == '"') name = name.substr(1, name.size() - 2);
    if (name.empty()) return nullptr;
    for (const CTraceText& trace : tranTraces)
        if (EqualNoCase(trace.name, name)) return &trace;
    return nullptr;
}

bool ParseSchematicText(std::string_view text, const std::string& label, CSchematicText& out, std::string& error) {
    // Stored points may follow the text behind one zero byte.
    text = text.substr(0, text.find('\0'));
    CTextElement root;
    if (!ParseElementText(text, "QZ3", root, error)) {
        error = label + " : " + error;
        return false;
    }
    out = CSchematicText();
    const CTextElement* doc = root.Child("Doc");
    if (doc == nullptr) return true;
    out.components = ReadComponents(doc->Path("Cir/Cmps"));
    out.tranTraces = ReadTraces(doc->Path("Tran/Traces"));
    out.acTraces = ReadTraces(doc->Path("Freq/Traces"));
    const CTextElement* tran = doc->Path("Tran/Settings");
    if (tran != nullptr) out.tranSettings = tran->attrs;
    if (const CTextElement* freq = doc->Path("Freq/Settings")) out.acSettings = freq->attrs;
    if (const CTextElement* advanced = doc->Child("Advanced")) out.advanced = advanced->attrs;
    out.screen = SettingNumber(tran, "screen", out.screen);
    out.step = SettingNumber(tran, "step", out.step);
    return true;
}

bool ReadSchematicText(const std::string& path, CSchematicText& out, std::string& error) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        error = "cannot read " + path;
        return false;
    }
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    return ParseSchematicText(text, path, out, error);
}

}  // namespace qz3::cli
