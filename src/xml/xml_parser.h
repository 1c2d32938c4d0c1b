// The scanner behind CXmlNode::ParseText and LoadFile. It has no error
// reporting of its own: what it doesn't understand it passes over. Every scan
// stops at the end of the text (or its first zero byte), and nesting below
// CXmlNode::kMaxDepth is skipped without building nodes, so neither a
// truncated nor a hostile text can run past the end or exhaust the stack.
#pragma once

#include <cstddef>
#include <string_view>

namespace qz3 {

class CXmlNode;

class CXmlParser {
public:
    explicit CXmlParser(std::string_view text);

    // Parses the element whose "<" stands at index `at` (0-based) into node
    // and returns the index behind it, at most the end of the text.
    size_t ParseElement(CXmlNode& node, size_t at, int depth);

private:
    std::string_view m_Text;  // cut at the first zero byte

    size_t Find(char c, size_t from) const;
    size_t FindAny(std::string_view set, size_t from) const;
    size_t ScanName(size_t from) const;
    size_t ParseAttributes(CXmlNode* node, size_t from) const;
    size_t ParseBody(CXmlNode& node, size_t from, int depth);
    size_t SkipElement(size_t at) const;
    // Reads a start tag from the "<" at `at`, filling the name and the
    // attributes of *node when one is given. Returns the index where the body begins,
    // or the index behind a closing "/>" with *closed set.
    size_t ScanStartTag(size_t at, CXmlNode* node, bool& closed) const;
};

}  // namespace qz3
