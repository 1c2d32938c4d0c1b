// Parsing of the C-code language: the text is cleaned of comments with its
// positions kept, then cut into statements. Only statements are parsed;
// every expression stays text for the evaluator.
#include <cstring>
#include <new>

#include "expr/ccode_node.h"
#include "expr/number_text.h"

namespace qz3 {

namespace {

enum class CleanState { Code, String, LineComment, BlockComment };

std::string_view TrimBlanks(std::string_view s) {
    while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
    while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
    return s;
}

class CCodeParser {
public:
    explicit CCodeParser(const std::string& text) : m_Text(text) {}

    bool ParseList(CCodeNode* parent, size_t p, size_t e);

private:
    bool Statement(CCodeNode* parent, size_t& p, size_t e);
    bool Block(CCodeNode* parent, size_t& p, size_t e, bool flat);
    bool Keyword(CCodeNode* parent, size_t& p, size_t e, bool& matched);
    bool Declaration(CCodeNode* parent, int32_t kind, size_t& p, size_t e);
    bool Conditional(CCodeNode* parent, int32_t kind, size_t& p, size_t e);
    bool DoLoop(CCodeNode* parent, size_t& p, size_t e);
    bool ForLoop(CCodeNode* parent, size_t& p, size_t e);
    bool Switch(CCodeNode* parent, size_t& p, size_t e);
    bool Label(CCodeNode* parent, int32_t kind, size_t& p, size_t e);
    bool Simple(CCodeNode* parent, size_t& p, size_t e);
    bool FindGroup(size_t& p, size_t e, char open, char close, size_t& inner, size_t& end);

    bool At(size_t p, size_t e, const char* word) const {
        const size_t n = std::strlen(word);
        return p + n <= e && m_Text.compare(p, n, word) == 0;
    }
    size_t SkipBlanks(size_t p, size_t e) const {
        while (p < e && m_Text[p] == ' ') ++p;
        return p;
    }
    std::string_view Range(size_t from, size_t to) const {
        return TrimBlanks(std::string_view(m_Text).substr(from, to - from));
    }
    static bool Fail(const char* message) {
        ExprError() = message;
        return false;
    }
    static bool NotFound(char c) {
        std::string& e = ExprError();
        e = "Syntax error: '";
        e += c;
        e += "' not found";
        return false;
    }

    const std::string& m_Text;
    int m_Depth = 0;
};

bool CCodeParser::ParseList(CCodeNode* parent, size_t p, size_t e) {
    for (;;) {
        p = SkipBlanks(p, e);
        if (p >= e) return true;
        if (!Statement(parent, p, e)) return false;
    }
}

struct CDepth {
    explicit CDepth(int& depth) : m_Depth(depth) { ++m_Depth; }
    ~CDepth() { --m_Depth; }
    int& m_Depth;
};

bool CCodeParser::Statement(CCodeNode* parent, size_t& p, size_t e) {
    p = SkipBlanks(p, e);
    if (p >= e) return true;
    CodeErrorPos() = static_cast<int32_t>(p + 1);
    CDepth depth(m_Depth);
    if (m_Depth > kMaxCodeNesting) return Fail("Program nested too deeply");
    if (m_Text[p] == '{') return Block(parent, p, e, false);
    bool matched = false;
    if (!Keyword(parent, p, e, matched)) return false;
    return matched || Simple(parent, p, e);
}

// "{ ... }": its statements go into a new block, or straight into the
// parent for the body of a switch.
bool CCodeParser::Block(CCodeNode* parent, size_t& p, size_t e, bool flat) {
    int depth = 0;
    size_t close = p;
    for (; close < e; ++close) {
        if (m_Text[close] == '{') ++depth;
        if (m_Text[close] == '}' && --depth == 0) break;
    }
    if (close >= e) return NotFound('}');
    CCodeNode* target = flat ? parent : parent->AddChild(ckBlock, static_cast<int32_t>(p + 1));
    if (!ParseList(target, p + 1, close)) return false;
    p = close + 1;
    return true;
}

bool CCodeParser::Keyword(CCodeNode* parent, size_t& p, size_t e, bool& matched) {
    matched = true;
    static const struct {
        const char* word;
        int32_t kind;
    } kTypes[] = {{"complex ", ckComplex}, {"double ", ckDouble}, {"float ", ckDouble},
                  {"int64 ", ckInt64},     {"int ", ckInt},        {"bool ", ckBool}};
    for (const auto& type : kTypes) {
        if (!At(p, e, type.word)) continue;
        p += std::strlen(type.word);
        return Declaration(parent, type.kind, p, e);
    }
    if (At(p, e, "switch ") || At(p, e, "switch(")) {
        p += 6;
        return Switch(parent, p, e);
    }
    if (At(p, e, "case ")) {
        p += 5;
        return Label(parent, ckCase, p, e);
    }
    if (At(p, e, "default ") || At(p, e, "default:")) {
        p += 7;
        return Label(parent, ckDefault, p, e);
    }
    if (At(p, e, "while ") || At(p, e, "while(")) {
        p += 5;
        return Conditional(parent, ckWhile, p, e);
    }
    if (At(p, e, "do ") || At(p, e, "do{")) {
        p += 2;
        return DoLoop(parent, p, e);
    }
    if (At(p, e, "for ") || At(p, e, "for(")) {
        p += 3;
        return ForLoop(parent, p, e);
    }
    if (At(p, e, "if ") || At(p, e, "if(")) {
        p += 2;
        return Conditional(parent, ckIf, p, e);
    }
    if (At(p, e, "init ") || At(p, e, "init(")) {
        p += 4;
        return Conditional(parent, ckInit, p, e);
    }
    if (At(p, e, "main ") || At(p, e, "main(")) {
        p += 4;
        return Conditional(parent, ckMain, p, e);
    }
    matched = false;
    return true;
}

// Skips blanks; `open` (unless 0) must come next; `close` is then found at
// round-bracket depth 0. inner is the first position inside, end the
// position of `close`.
bool CCodeParser::FindGroup(size_t& p, size_t e, char open, char close, size_t& inner, size_t& end) {
    p = SkipBlanks(p, e);
    if (open != 0) {
        if (p >= e || m_Text[p] != open) return NotFound(open);
        ++p;
    }
    inner = p;
    int depth = 0;
    for (size_t i = p; i < e; ++i) {
        const char c = m_Text[i];
        if (c == close && depth == 0) {
            end = i;
            p = i + 1;
            return true;
        }
        if (c == '(') ++depth;
        if (c == ')') --depth;
    }
    return NotFound(close);
}

// The part behind the type word, cut at commas outside round brackets; a
// "{" of an initialiser list skips to its "}".
bool CCodeParser::Declaration(CCodeNode* parent, int32_t kind, size_t& p, size_t e) {
    const size_t start = p;
    const size_t semicolon = m_Text.find(';', p);
    if (semicolon == std::string::npos || semicolon >= e) return NotFound(';');
    CCodeNode* node = parent->AddChild(kind, CodeErrorPos());
    size_t from = start;
    int depth = 0;
    for (size_t i = start; i <= semicolon; ++i) {
        const char c = m_Text[i];
        if (c == '(') ++depth;
        if (c == ')') --depth;
        if (c == '{') {
            const size_t brace = m_Text.find('}', i);
            if (brace == std::string::npos || brace > semicolon) return NotFound('}');
            i = brace;
            continue;
        }
        if ((c == ',' && depth == 0) || i == semicolon) {
            const std::string_view item = Range(from, i);
            if (!item.empty()) node->AddChild(ckDeclarator, static_cast<int32_t>(from + 1))->Text1 = item;
            from = i + 1;
        }
    }
    p = semicolon + 1;
    return true;
}

// if, while, init and main: "(" text ")" and a statement; an if may have
// an else behind.
bool CCodeParser::Conditional(CCodeNode* parent, int32_t kind, size_t& p, size_t e) {
    CCodeNode* node = parent->AddChild(kind, CodeErrorPos());
    size_t inner = 0, end = 0;
    if (!FindGroup(p, e, '(', ')', inner, end)) return false;
    if (kind != ckInit && kind != ckMain) node->Text1 = Range(inner, end);
    if (!Statement(node, p, e)) return false;
    if (kind != ckIf) return true;
    const size_t q = SkipBlanks(p, e);
    if (!At(q, e, "else ") && !At(q, e, "else{")) return true;
    p = q + 4;
    CCodeNode* other = node->AddChild(ckElse, static_cast<int32_t>(q + 1));
    return Statement(other, p, e);
}

bool CCodeParser::DoLoop(CCodeNode* parent, size_t& p, size_t e) {
    CCodeNode* node = parent->AddChild(ckDo, CodeErrorPos());
    if (!Statement(node, p, e)) return false;
    p = SkipBlanks(p, e);
    if (!At(p, e, "while ") && !At(p, e, "while(")) return Fail("Syntax error: 'while' not found");
    p += 5;
    size_t inner = 0, end = 0;
    if (!FindGroup(p, e, '(', ')', inner, end)) return false;
    node->Text1 = Range(inner, end);
    ++p;  // the ";" behind the condition
    return true;
}

bool CCodeParser::ForLoop(CCodeNode* parent, size_t& p, size_t e) {
    CCodeNode* node = parent->AddChild(ckFor, CodeErrorPos());
    size_t inner = 0, end = 0;
    if (!FindGroup(p, e, '(', ')', inner, end)) return false;
    size_t q = inner, partStart = 0, partEnd = 0;
    if (!FindGroup(q, end, 0, ';', partStart, partEnd)) return false;
    node->Text1 = Range(partStart, partEnd);
    if (!FindGroup(q, end, 0, ';', partStart, partEnd)) return false;
    node->Text2 = Range(partStart, partEnd);
    node->Text3 = Range(q, end);
    return Statement(node, p, e);
}

bool CCodeParser::Switch(CCodeNode* parent, size_t& p, size_t e) {
    CCodeNode* node = parent->AddChild(ckSwitch, CodeErrorPos());
    size_t inner = 0, end = 0;
    if (!FindGroup(p, e, '(', ')', inner, end)) return false;
    node->Text1 = Range(inner, end);
    p = SkipBlanks(p, e);
    if (p < e && m_Text[p] == '{') return Block(node, p, e, true);
    return Statement(node, p, e);
}

// "case label:" and "default:" have no statement of their own: what
// follows are siblings.
bool CCodeParser::Label(CCodeNode* parent, int32_t kind, size_t& p, size_t e) {
    CCodeNode* node = parent->AddChild(kind, CodeErrorPos());
    size_t inner = 0, end = 0;
    if (kind == ckDefault) {
        p = SkipBlanks(p, e);
        if (p >= e || m_Text[p] != ':') return NotFound(':');
        ++p;
        return true;
    }
    if (!FindGroup(p, e, 0, ':', inner, end)) return false;
    node->Text1 = Range(inner, end);
    return true;
}

bool CCodeParser::Simple(CCodeNode* parent, size_t& p, size_t e) {
    const size_t semicolon = m_Text.find(';', p);
    if (semicolon == std::string::npos || semicolon >= e) return NotFound(';');
    const std::string_view text = Range(p, semicolon);
    int32_t kind = ckStatement;
    if (text == "break") kind = ckBreak;
    else if (text == "continue") kind = ckContinue;
    else if (text == "return") kind = ckReturn;
    CCodeNode* node = parent->AddChild(kind, CodeErrorPos());
    if (kind == ckStatement) node->Text1 = text;
    p = semicolon + 1;
    return true;
}

}  // namespace

int32_t& CodeErrorPos() {
    static int32_t position = 0;
    return position;
}

std::string CleanCode(std::string_view text, int32_t* openComment) {
    std::string out(text);
    out += "   ";
    if (openComment) *openComment = 0;
    CleanState state = CleanState::Code;
    int depth = 0;
    size_t commentStart = 0;
    const size_t n = text.size();
    for (size_t i = 0; i < n; ++i) {
        const char c = out[i];
        const char next = i + 1 < n ? out[i + 1] : ' ';
        switch (state) {
            case CleanState::Code:
                if (c == '\t' || c == '\r' || c == '\n') {
                    out[i] = ' ';
                } else if (c == '"') {
                    state = CleanState::String;
                } else if (c == '/' && next == '/') {
                    out[i] = out[i + 1] = ' ';
                    ++i;
                    state = CleanState::LineComment;
                } else if (c == '/' && next == '*') {
                    out[i] = out[i + 1] = ' ';
                    commentStart = i;
                    ++i;
                    depth = 1;
                    state = CleanState::BlockComment;
                }
                break;
            case CleanState::String:
                if (c == '"') state = CleanState::Code;
                break;
            case CleanState::LineComment:
                out[i] = ' ';
                if (c == '\r') state = CleanState::Code;
                break;
            case CleanState::BlockComment:
                out[i] = ' ';
                if (c == '/' && next == '*') {
                    out[++i] = ' ';
                    ++depth;
                } else if (c == '*' && next == '/') {
                    out[++i] = ' ';
                    if (--depth == 0) state = CleanState::Code;
                }
                break;
        }
    }
    if (state == CleanState::BlockComment && openComment) *openComment = static_cast<int32_t>(commentStart + 1);
    return out;
}

int CodeLineOf(std::string_view source, int32_t pos) {
    if (pos <= 0) return 0;
    int line = 1;
    const size_t end = static_cast<size_t>(pos - 1) < source.size() ? static_cast<size_t>(pos - 1) : source.size();
    for (size_t i = 0; i < end; ++i)
        if (source[i] == '\r') ++line;
    return line;
}

CCodeNode::CCodeNode(int32_t kind, int32_t pos, const CCodeNode* parent)
    : Kind(kind), Pos(pos), Cmps(parent ? parent->Cmps : nullptr), Host(parent ? parent->Host : nullptr) {}

CCodeNode* CCodeNode::AddChild(int32_t kind, int32_t pos) {
    Children.push_back(std::make_unique<CCodeNode>(kind, pos, this));
    return Children.back().get();
}

CCodeNode* CCodeNode::FindChild(int32_t kind) const {
    for (const auto& child : Children)
        if (child->Kind == kind) return child.get();
    return nullptr;
}

bool CCodeNode::Parse(std::string_view text) {
    Clear();
    CodeErrorPos() = 0;
    try {
        int32_t openComment = 0;
        const std::string cleaned = CleanCode(text, &openComment);
        // A comment left open would swallow the rest without a word.
        if (openComment != 0) {
            CodeErrorPos() = openComment;
            ExprError() = "Syntax error: '*/' not found";
            return false;
        }
        CCodeParser parser(cleaned);
        return parser.ParseList(this, 0, cleaned.size());
    } catch (const std::bad_alloc&) {
        ExprError() = "No enough memory";
        return false;
    }
}

}  // namespace qz3
