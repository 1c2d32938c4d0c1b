#include "xml/xml_parser.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/stat.h>

#include "xml/xml_node.h"

namespace qz3 {

namespace {

std::string_view TrimBlanks(std::string_view s) {
    while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
    while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
    return s;
}

std::string_view UpToZeroByte(std::string_view text) {
    size_t zero = text.find('\0');
    return zero == std::string_view::npos ? text : text.substr(0, zero);
}

}  // namespace

CXmlParser::CXmlParser(std::string_view text) : m_Text(UpToZeroByte(text)) {}

size_t CXmlParser::Find(char c, size_t from) const {
    if (from >= m_Text.size()) return m_Text.size();
    size_t at = m_Text.find(c, from);
    return at == std::string_view::npos ? m_Text.size() : at;
}

size_t CXmlParser::FindAny(std::string_view set, size_t from) const {
    if (from >= m_Text.size()) return m_Text.size();
    size_t at = m_Text.find_first_of(set, from);
    return at == std::string_view::npos ? m_Text.size() : at;
}

// A name runs up to the first ">" or blank; a "/" doesn't end it.
size_t CXmlParser::ScanName(size_t from) const { return FindAny("> ", from); }

size_t CXmlParser::ParseAttributes(CXmlNode* node, size_t from) const {
    size_t end = m_Text.size();
    for (;;) {
        size_t stop = FindAny("=>/", from);
        if (stop == end || m_Text[stop] != '=') return stop;
        std::string_view name = TrimBlanks(m_Text.substr(from, stop - from));
        // The value begins right behind `="`; that a quote stands there is
        // taken on trust, as the writer always puts it.
        size_t valueStart = stop + 2 < end ? stop + 2 : end;
        size_t quote = Find('"', valueStart);
        if (node) node->AddRaw(name, std::string(TrimBlanks(m_Text.substr(valueStart, quote - valueStart))));
        if (quote == end) return end;
        from = quote + 1;
    }
}

size_t CXmlParser::ScanStartTag(size_t at, CXmlNode* node, bool& closed) const {
    size_t end = m_Text.size();
    closed = false;
    size_t nameStart = at + 1 < end ? at + 1 : end;
    size_t nameEnd = ScanName(nameStart);
    if (node) node->m_Name.assign(m_Text.substr(nameStart, nameEnd - nameStart));
    if (nameEnd == end) return end;
    size_t stop = nameEnd;
    if (m_Text[nameEnd] == ' ') {
        stop = ParseAttributes(node, nameEnd);
        if (stop == end) return end;
        if (m_Text[stop] == '/') {
            closed = true;
            return stop + 2 < end ? stop + 2 : end;
        }
    }
    return stop + 1;  // stop is the ">" that ends the tag
}

size_t CXmlParser::ParseElement(CXmlNode& node, size_t at, int depth) {
    node.m_bWrite = false;
    bool closed = false;
    size_t next = ScanStartTag(at, &node, closed);
    if (closed || next >= m_Text.size()) return next;
    return ParseBody(node, next, depth);
}

size_t CXmlParser::ParseBody(CXmlNode& node, size_t from, int depth) {
    size_t end = m_Text.size();
    size_t i = from;
    // Text is kept only when it begins right behind the start tag.
    if (i < end && m_Text[i] != '<' && m_Text[i] != '\r' && m_Text[i] != '\n') {
        size_t lt = Find('<', i);
        node.m_Text.assign(m_Text.substr(i, lt - i));
        i = lt;
    }
    while (i < end) {
        if (m_Text[i] != '<') {
            i = Find('<', i);
            continue;
        }
        if (i + 1 < end && m_Text[i + 1] == '/') {
            // The name in an end tag isn't compared with the start tag.
            size_t gt = Find('>', i + 2);
            return gt == end ? end : gt + 1;
        }
        if (depth >= CXmlNode::kMaxDepth) {
            node.SetError("elements nested deeper than " + std::to_string(CXmlNode::kMaxDepth) +
                          " levels skipped");
            i = SkipElement(i);
            continue;
        }
        CXmlNode* child = node.AddChild("");
        i = ParseElement(*child, i, depth + 1);
    }
    return end;
}

// The same scan as ParseElement without building nodes and without
// recursion: a counter stands for the stack of open elements.
size_t CXmlParser::SkipElement(size_t at) const {
    size_t end = m_Text.size();
    bool closed = false;
    size_t i = ScanStartTag(at, nullptr, closed);
    if (closed) return i;
    size_t open = 1;
    while (i < end) {
        i = Find('<', i);
        if (i == end) break;
        if (i + 1 < end && m_Text[i + 1] == '/') {
            size_t gt = Find('>', i + 2);
            i = gt == end ? end : gt + 1;
            if (--open == 0) return i;
            continue;
        }
        i = ScanStartTag(i, nullptr, closed);
        if (!closed) ++open;
    }
    return end;
}

// ---- CXmlNode entry points --------------------------------------------------

int CXmlNode::ParseText(const std::string& text, int position) {
    m_bWrite = false;
    if (position < 1) return 0;
    CXmlParser parser(text);
    size_t behind = parser.ParseElement(*this, static_cast<size_t>(position - 1), 0);
    return static_cast<int>(behind) + 1;
}

namespace {

// Reads the whole file as text, one line feed behind every line ("\r\n" and
// "\n" both end a line), so that line length has no limit.
bool ReadTextFile(const std::string& path, std::string& text, std::string& error) {
    if (path.empty()) {
        error = "No file name";
        return false;
    }
    struct stat info {};
    if (stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
        error = path + " : " + std::strerror(EISDIR);
        return false;
    }
    std::FILE* file = std::fopen(path.c_str(), "rt");
    if (!file) {
        error = path + " : " + std::strerror(errno);
        return false;
    }
    std::string raw;
    char chunk[32768];
    size_t got = 0;
    while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) raw.append(chunk, got);
    bool failed = std::ferror(file) != 0;
    std::fclose(file);
    if (failed) {
        error = path + " : read error";
        return false;
    }
    // The text ends at the first zero byte; the stored data may follow it.
    size_t zero = raw.find('\0');
    if (zero != std::string::npos) raw.resize(zero);
    text.clear();
    text.reserve(raw.size() + 1);
    size_t start = 0;
    while (start < raw.size()) {
        size_t lf = raw.find('\n', start);
        size_t stop = lf == std::string::npos ? raw.size() : lf;
        size_t lineEnd = (stop > start && raw[stop - 1] == '\r') ? stop - 1 : stop;
        text.append(raw, start, lineEnd - start);
        text += '\n';
        start = stop + 1;
    }
    return true;
}

}  // namespace

bool CXmlNode::LoadFile(const std::string& path) {
    std::string text;
    std::string error;
    if (!ReadTextFile(path, text, error)) {
        m_Error = error;
        return false;
    }
    if (m_Name.empty()) {
        ParseText("<top>" + text + "</top>", 1);
        return true;
    }
    size_t at = text.find("<" + m_Name + ">");
    if (at == std::string::npos) at = text.find("<" + m_Name + " ");
    if (at == std::string::npos) {
        m_Error = path + " : wrong file format";
        return false;
    }
    CXmlParser parser(text);
    m_bWrite = false;
    parser.ParseElement(*this, at, 0);
    return true;
}

}  // namespace qz3
