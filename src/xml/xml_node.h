// The tree node of all persistence: one narrow XML dialect, attributes as a
// flat name/value list, and a mode flag that lets one routine load and save.
//
// Recipe for two-way access. A class writes one routine:
//     void CThing::Xml(CXmlNode& node) {
//         m_Gain  = node.Dbl("gain", m_Gain);      // default from the constructor
//         m_Name  = node.Str("name", m_Name);
//         m_On    = node.Bool("on", m_On);
//         if (CXmlNode* sub = node.Child("Sub")) m_Sub.Xml(*sub);
//     }
// With node.m_bWrite true every line appends an attribute (or a child) and
// hands the value back unchanged; with it false every line fetches the value,
// and a missing key leaves the passed value standing. ParseText leaves a
// parsed tree in load mode; set m_bWrite on a node before writing into it, and
// Clear a node before writing it a second time (the Add forms never replace).
//
// Positions given to and returned by ParseText are 1-based, 0 meaning none.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/list.h"

namespace qz3 {

class CFormula;

class CXmlNode {
public:
    // Elements nested deeper than this below the node where parsing began are
    // skipped, so that a hostile file cannot exhaust the stack.
    static constexpr int kMaxDepth = 200;

    bool m_bWrite = true;
    std::string m_Name;
    std::string m_Text;
    TList<CXmlNode>* m_Children = nullptr;  // owned, null until the first child
    TStringList* m_Attrs = nullptr;          // owned: name, value, name, value ...
    std::string m_Error;
    std::string m_FindName;
    int m_FindIndex = 0;

    CXmlNode() = default;
    explicit CXmlNode(std::string name) : m_Name(std::move(name)) {}
    ~CXmlNode();
    CXmlNode(const CXmlNode&) = delete;
    CXmlNode& operator=(const CXmlNode&) = delete;

    // Tree operations.
    void Clear();
    CXmlNode* AddChild(std::string_view name);
    CXmlNode* FindChild(std::string_view name, int start = 0);
    CXmlNode* FindNext();
    CXmlNode* Child(std::string_view name);
    int ChildCount() const;
    CXmlNode* ChildAt(int index);
    void DeleteChild(int index);
    static void MoveChild(CXmlNode* child, CXmlNode* from, CXmlNode* to);
    void SetError(const std::string& message) { m_Error = message; }
    std::string Errors() const;

    // Files and text.
    bool LoadFile(const std::string& path);
    bool SaveFile(const std::string& path) const;
    int ParseText(const std::string& text, int position);
    void ToText(std::string& out) const;
    // The whole element becomes a scrambled text with its check value in
    // the attribute "Encr1"; Unscramble restores it in place, "Encr1" left
    // first, and says whether the check value held (scramble.cpp).
    void Scramble();
    bool Unscramble();

    // Two-way accessors: x = node.Dbl("x", x) serves both directions.
    std::string Str(std::string_view name, const std::string& value);
    std::string Raw(std::string_view name, const std::string& value);
    int Int(std::string_view name, int value);
    bool Bool(std::string_view name, bool value);
    double Dbl(std::string_view name, double value);
    std::string Text(const std::string& value);
    std::string ChildText(std::string_view name, const std::string& value);
    uint32_t Color(std::string_view name, uint32_t value);
    void Pair(std::string_view name, int& x, int& y);
    void Val(std::string_view name, CFormula& formula);

    // One-way forms.
    bool AddRaw(std::string_view name, const std::string& value);
    void SetRaw(std::string_view name, const std::string& value);
    std::string GetRaw(std::string_view name, const std::string& def) const;
    bool AddStr(std::string_view name, const std::string& value);
    void SetStr(std::string_view name, const std::string& value);
    std::string GetStr(std::string_view name, const std::string& def) const;
    bool AddInt(std::string_view name, int value);
    void SetInt(std::string_view name, int value);
    int GetInt(std::string_view name, int def) const;
    bool GetBool(std::string_view name, bool def) const;
    bool AddDbl(std::string_view name, double value);
    double GetDbl(std::string_view name, double def) const;
    bool HasAttr(std::string_view name) const;
    int AttrCount() const;
    void AttrAt(int index, std::string& name, std::string& value) const;
    void RenameAttr(std::string_view oldName, std::string_view newName);
    // Removes the first attribute of that name; nothing when there is none.
    void DeleteAttr(std::string_view name);
    void SetText(const std::string& value) { m_Text = value; }
    const std::string& GetText() const { return m_Text; }
    void SetEncodedText(const std::string& value);
    std::string GetDecodedText() const;

private:
    // Index into m_Attrs of the value of the first attribute called name, or -1.
    int FindAttrValue(std::string_view name) const;
    void AppendLines(std::string& out, int indent) const;
    void AppendCompact(std::string& out) const;
    void AppendStartTag(std::string& out, int indent) const;
    friend class CXmlParser;
};

// A blank becomes "+", letters, digits and !'()*-._~ pass, anything else is
// "%" and two lower-case hexadecimal digits.
std::string PercentEncode(std::string_view text);
// "+" is a blank, "%xx" a byte; the result ends at an encoded zero byte.
std::string PercentDecode(std::string_view text);
// The C atoi without its undefined overflow: leading blanks, a sign, digits,
// clamped to the 32-bit range.
int TextToInt(const char* text);

}  // namespace qz3
