#include "xml/xml_node.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "base/number_format.h"

namespace qz3 {

// ---- tree ----------------------------------------------------------------

CXmlNode::~CXmlNode() { Clear(); }

void CXmlNode::Clear() {
    if (m_Children) {
        for (CXmlNode* child : *m_Children) delete child;
        delete m_Children;
        m_Children = nullptr;
    }
    delete m_Attrs;
    m_Attrs = nullptr;
    m_Text.clear();
    m_bWrite = true;
}

CXmlNode* CXmlNode::AddChild(std::string_view name) {
    auto* child = new CXmlNode(std::string(name));
    child->m_bWrite = m_bWrite;
    if (!m_Children) m_Children = new TList<CXmlNode>;
    m_Children->Add(child);
    return child;
}

CXmlNode* CXmlNode::FindChild(std::string_view name, int start) {
    if (!m_Children) return nullptr;
    m_FindName = std::string(name);
    m_FindIndex = start;
    while (m_FindIndex < m_Children->Count()) {
        CXmlNode* child = m_Children->At(m_FindIndex);
        if (child) {
            child->m_bWrite = m_bWrite;
            if (name.empty() || child->m_Name == name) return child;
        }
        ++m_FindIndex;
    }
    return nullptr;
}

CXmlNode* CXmlNode::FindNext() { return FindChild(std::string(m_FindName), m_FindIndex + 1); }

CXmlNode* CXmlNode::Child(std::string_view name) { return m_bWrite ? AddChild(name) : FindChild(name, 0); }

int CXmlNode::ChildCount() const { return m_Children ? m_Children->Count() : 0; }

CXmlNode* CXmlNode::ChildAt(int index) {
    CXmlNode* child = m_Children ? m_Children->At(index) : nullptr;
    if (child) child->m_bWrite = m_bWrite;
    return child;
}

void CXmlNode::DeleteChild(int index) {
    // Callers pass a valid index; a wrong one is ignored rather than trusted.
    if (!m_Children || index < 0 || index >= m_Children->Count()) return;
    delete (*m_Children)[index];
    m_Children->Delete(index);
    m_Children->Shrink();
    if (m_Children->Count() == 0) {
        delete m_Children;
        m_Children = nullptr;
    }
}

void CXmlNode::MoveChild(CXmlNode* child, CXmlNode* from, CXmlNode* to) {
    if (from && from->m_Children) {
        int index = from->m_Children->IndexOf(child);
        if (index >= 0) from->m_Children->Delete(index);
    }
    if (!to->m_Children) to->m_Children = new TList<CXmlNode>;
    to->m_Children->Add(child);
}

std::string CXmlNode::Errors() const {
    std::string all;
    auto append = [&all](const std::string& piece) {
        if (piece.empty()) return;
        if (!all.empty()) all += '\n';
        all += piece;
    };
    if (m_Children)
        for (const CXmlNode* child : *m_Children) append(child->Errors());
    append(m_Error);
    return all;
}

// ---- writer --------------------------------------------------------------

void CXmlNode::AppendStartTag(std::string& out, int indent) const {
    out.append(static_cast<size_t>(indent), ' ');
    out += '<';
    out += m_Name;
    for (int i = 0; i + 1 < (m_Attrs ? m_Attrs->Count() : 0); i += 2) {
        out += ' ';
        out += (*m_Attrs)[i];
        out += "=\"";
        out += (*m_Attrs)[i + 1];
        out += '"';
    }
}

void CXmlNode::AppendLines(std::string& out, int indent) const {
    AppendStartTag(out, indent);
    if (m_Children) {
        out += ">\n";
        for (const CXmlNode* child : *m_Children) child->AppendLines(out, indent + 2);
        out.append(static_cast<size_t>(indent), ' ');
        out += "</" + m_Name + ">\n";
    } else if (!m_Text.empty()) {
        out += '>' + m_Text + "</" + m_Name + ">\n";
    } else {
        out += " />\n";
    }
}

void CXmlNode::AppendCompact(std::string& out) const {
    AppendStartTag(out, 0);
    if (m_Children) {
        out += '>';
        for (const CXmlNode* child : *m_Children) child->AppendCompact(out);
        out += "</" + m_Name + '>';
    } else if (!m_Text.empty()) {
        out += '>' + m_Text + "</" + m_Name + '>';
    } else {
        out += " />";
    }
}

void CXmlNode::ToText(std::string& out) const { AppendCompact(out); }

bool CXmlNode::SaveFile(const std::string& path) const {
    std::string text = "<?xml version=\"1.0\"?>\n";
    AppendLines(text, 0);
    std::FILE* file = path.empty() ? nullptr : std::fopen(path.c_str(), "wt");
    if (!file) return false;
    bool ok = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    ok = (std::fclose(file) == 0) && ok;
    return ok;
}

// ---- attributes ------------------------------------------------------------

int CXmlNode::FindAttrValue(std::string_view name) const {
    if (!m_Attrs) return -1;
    for (int i = 0; i + 1 < m_Attrs->Count(); i += 2)
        if ((*m_Attrs)[i] == name) return i + 1;
    return -1;
}

bool CXmlNode::AddRaw(std::string_view name, const std::string& value) {
    if (!m_Attrs) m_Attrs = new TStringList;
    m_Attrs->Add(std::string(name));
    m_Attrs->Add(value);
    return true;
}

void CXmlNode::SetRaw(std::string_view name, const std::string& value) {
    int at = FindAttrValue(name);
    if (at < 0)
        AddRaw(name, value);
    else
        (*m_Attrs)[at] = value;
}

std::string CXmlNode::GetRaw(std::string_view name, const std::string& def) const {
    int at = FindAttrValue(name);
    return at < 0 ? def : (*m_Attrs)[at];
}

bool CXmlNode::AddStr(std::string_view name, const std::string& value) { return AddRaw(name, PercentEncode(value)); }
void CXmlNode::SetStr(std::string_view name, const std::string& value) { SetRaw(name, PercentEncode(value)); }

std::string CXmlNode::GetStr(std::string_view name, const std::string& def) const {
    // The default goes through the decoder as well: "a+b" reads as "a b".
    return PercentDecode(GetRaw(name, def));
}

bool CXmlNode::AddInt(std::string_view name, int value) { return AddRaw(name, std::to_string(value)); }
void CXmlNode::SetInt(std::string_view name, int value) { SetRaw(name, std::to_string(value)); }

int CXmlNode::GetInt(std::string_view name, int def) const {
    int at = FindAttrValue(name);
    if (at < 0 || (*m_Attrs)[at].empty()) return def;
    return TextToInt((*m_Attrs)[at].c_str());
}

bool CXmlNode::GetBool(std::string_view name, bool def) const {
    int at = FindAttrValue(name);
    if (at < 0 || (*m_Attrs)[at].empty()) return def;
    return (*m_Attrs)[at] == "true";
}

bool CXmlNode::AddDbl(std::string_view name, double value) { return AddRaw(name, NumberToText(value, 12)); }

double CXmlNode::GetDbl(std::string_view name, double def) const {
    int at = FindAttrValue(name);
    if (at < 0 || (*m_Attrs)[at].empty()) return def;
    // A unit in brackets behind the number is dropped: "1.5(ms)" is 1.5, and
    // a value that is all bracket reads as 0.
    std::string text = (*m_Attrs)[at].substr(0, (*m_Attrs)[at].find('('));
    if (text == "inf") return std::numeric_limits<double>::infinity();
    if (text == "-inf") return -std::numeric_limits<double>::infinity();
    return std::strtod(text.c_str(), nullptr);
}

bool CXmlNode::HasAttr(std::string_view name) const { return FindAttrValue(name) >= 0; }

int CXmlNode::AttrCount() const { return m_Attrs ? m_Attrs->Count() / 2 : 0; }

void CXmlNode::AttrAt(int index, std::string& name, std::string& value) const {
    if (index < 0 || index >= AttrCount()) {
        name.clear();
        value.clear();
        return;
    }
    name = (*m_Attrs)[2 * index];
    value = (*m_Attrs)[2 * index + 1];
}

void CXmlNode::RenameAttr(std::string_view oldName, std::string_view newName) {
    int at = FindAttrValue(oldName);
    if (at >= 0) (*m_Attrs)[at - 1] = std::string(newName);
}

void CXmlNode::DeleteAttr(std::string_view name) {
    int at = FindAttrValue(name);
    if (at < 0) return;
    m_Attrs->Delete(at);
    m_Attrs->Delete(at - 1);
}

void CXmlNode::SetEncodedText(const std::string& value) { m_Text = PercentEncode(value); }
std::string CXmlNode::GetDecodedText() const { return PercentDecode(m_Text); }

// ---- two-way -----------------------------------------------------------------

std::string CXmlNode::Str(std::string_view name, const std::string& value) {
    if (m_bWrite) {
        AddStr(name, value);
        return value;
    }
    return GetStr(name, value);
}

std::string CXmlNode::Raw(std::string_view name, const std::string& value) {
    if (m_bWrite) {
        AddRaw(name, value);
        return value;
    }
    return GetRaw(name, value);
}

int CXmlNode::Int(std::string_view name, int value) {
    if (m_bWrite) {
        AddInt(name, value);
        return value;
    }
    return GetInt(name, value);
}

bool CXmlNode::Bool(std::string_view name, bool value) {
    if (m_bWrite) {
        AddRaw(name, value ? "true" : "false");
        return value;
    }
    return GetBool(name, value);
}

double CXmlNode::Dbl(std::string_view name, double value) {
    if (m_bWrite) {
        AddDbl(name, value);
        return value;
    }
    return GetDbl(name, value);
}

std::string CXmlNode::Text(const std::string& value) {
    if (m_bWrite) {
        SetText(value);
        return value;
    }
    return GetText();
}

std::string CXmlNode::ChildText(std::string_view name, const std::string& value) {
    CXmlNode* child = Child(name);
    return child ? child->Text(value) : value;
}

uint32_t CXmlNode::Color(std::string_view name, uint32_t value) {
    if (m_bWrite) {
        char text[48];
        std::snprintf(text, sizeof text, "%d,%d,%d", static_cast<int>(value & 0xFF),
                      static_cast<int>((value >> 8) & 0xFF), static_cast<int>((value >> 16) & 0xFF));
        AddRaw(name, text);
        return value;
    }
    std::string text = GetRaw(name, "");
    if (text.empty()) return value;
    // Numbers that don't parse count as 0.
    int part[3] = {0, 0, 0};
    std::sscanf(text.c_str(), "%d,%d,%d", &part[0], &part[1], &part[2]);
    return static_cast<uint32_t>(part[0] & 0xFF) | static_cast<uint32_t>(part[1] & 0xFF) << 8 |
           static_cast<uint32_t>(part[2] & 0xFF) << 16;
}

void CXmlNode::Pair(std::string_view name, int& x, int& y) {
    if (m_bWrite) {
        AddRaw(name, std::to_string(x) + "," + std::to_string(y));
        return;
    }
    std::string text = GetRaw(name, "");
    if (text.empty()) return;
    // What sscanf can't read stays as it was.
    std::sscanf(text.c_str(), "%d,%d", &x, &y);
}

// ---- percent code and numbers ------------------------------------------------------

namespace {

bool PassesUnencoded(unsigned char c) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
    switch (c) {
    case '!': case '\'': case '(': case ')': case '*': case '-': case '.': case '_': case '~':
        return true;
    default:
        return false;
    }
}

}  // namespace

std::string PercentEncode(std::string_view text) {
    static const char kHex[] = "0123456789abcdef";
    std::string out;
    out.reserve(text.size());
    for (char ch : text) {
        auto c = static_cast<unsigned char>(ch);
        if (c == ' ') {
            out += '+';
        } else if (PassesUnencoded(c)) {
            out += ch;
        } else {
            out += '%';
            out += kHex[c >> 4];
            out += kHex[c & 15];
        }
    }
    return out;
}

std::string PercentDecode(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '+') {
            c = ' ';
        } else if (c == '%') {
            // A "%" near the end takes the digits that are there.
            int value = 0;
            for (int k = 0; k < 2 && i + 1 < text.size(); ++k) value = value * 16 + std::max(0, HexDigitValue(text[++i]));  // a malformed digit counts as 0
            c = static_cast<char>(value);
        }
        if (c == 0) break;  // an encoded zero ends the string
        out += c;
    }
    return out;
}

int TextToInt(const char* text) {
    long long value = std::strtoll(text, nullptr, 10);
    if (value > INT_MAX) return INT_MAX;
    if (value < INT_MIN) return INT_MIN;
    return static_cast<int>(value);
}

}  // namespace qz3
