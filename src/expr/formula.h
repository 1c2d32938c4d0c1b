// A component parameter that is a number or a live formula.
//
// A text that begins with "=" stays in m_Text and is evaluated again at each
// recalculation of the document's formulas; any other text is evaluated once,
// its number goes to m_Value and m_Text is emptied. Stored values keep 12
// significant digits, the same as the file, so that a reload changes nothing.
#pragma once

#include <string>

namespace qz3 {

class CDoc;
class CCmps;

class CFormula {
public:
    CFormula() = default;
    explicit CFormula(double value) : m_Value(value) {}
    virtual ~CFormula() = default;

    // Evaluates m_Text (if any); changed tells whether m_Value moved beyond
    // the relative tolerance 1e-12. False with ExprError set on failure.
    bool Evaluate(CDoc* doc, CCmps* cmps, bool& changed);
    // A plain number: drops the text and the error flag.
    void SetValue(double x);
    // The value as the user sees it: "#VAL" after an error, else by m_Format.
    std::string ToText() const;
    bool IsLive() const { return !m_Text.empty() && m_Text[0] == '='; }

    std::string m_Text;   // formula text that stays to be evaluated; empty for a number
    double m_Value = 0.0; // last computed value; NaN allowed when m_Blank
    bool m_Error = false; // the last evaluation failed
    bool m_Blank = false; // may be left empty, then the value is NaN
    int m_Format = 0;     // 0 number, 1 "%d", 2 binary, 3 octal, 4 hexadecimal
    int m_Bits = 32;      // width of the integer formats: 8, 16 or 32
};

// True when the formula text doesn't lead back to self through parameters
// of other components; false with ExprError "Circular reference" otherwise.
bool CheckCircular(const CFormula* self, const std::string& text, CCmps* cmps);

// The next referenced name in a formula text, scanning from the 1-based
// position `from` (moved behind the name); `start` receives its 1-based
// start. Function names and numbers are passed over. Empty when none is left.
std::string NextName(const std::string& text, int& from, int& start);

}  // namespace qz3
