// CXmlNode::Val of a formula, defined beside the formula so that the file
// layer below knows none. A formula parameter takes up to four attributes:
// name_str (the formula text), name (the value), name_format and name_bit
// (only when they differ from the defaults, so that a plain number stays one
// attribute).
#include <cmath>
#include <limits>

#include "xml/xml_node.h"
#include "expr/formula.h"

namespace qz3 {

namespace {

constexpr const char* kFormatWords[] = {"double", "int", "bin", "oct", "hex"};
constexpr int kFormatCount = 5;

int FormatFromWord(const std::string& word) {
    for (int format = 1; format < kFormatCount; ++format)
        if (word == kFormatWords[format]) return format;
    return 0;
}

}  // namespace

void CXmlNode::Val(std::string_view name, CFormula& formula) {
    std::string key(name);
    if (m_bWrite) {
        if (!formula.m_Text.empty()) AddStr(key + "_str", formula.m_Text);
        AddDbl(key, formula.m_Value);
        if (formula.m_Format > 0 && formula.m_Format < kFormatCount)
            AddRaw(key + "_format", kFormatWords[formula.m_Format]);
        if (formula.m_Bits != 32) AddInt(key + "_bit", formula.m_Bits);
        return;
    }
    formula.m_Text = GetStr(key + "_str", "");
    double def = formula.m_Blank ? std::numeric_limits<double>::quiet_NaN() : formula.m_Value;
    formula.m_Value = GetDbl(key, def);
    formula.m_Format = FormatFromWord(GetRaw(key + "_format", "double"));
    formula.m_Bits = GetInt(key + "_bit", 32);
}

}  // namespace qz3
