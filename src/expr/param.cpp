#include "expr/param.h"

#include <cctype>
#include <cmath>
#include <cstring>
#include <limits>

#include "expr/eval_expr.h"
#include "expr/formula.h"
#include "expr/number_text.h"
#include "expr/param_context.h"

namespace qz3 {

namespace {

const char* const kOnOff[2] = {"Off", "On"};
const char* const kYesNo[2] = {"No", "Yes"};
const char* const kLowHigh[2] = {"Low", "High"};

const char* const* FlagWords(uint32_t kind) {
    if (kind == kParamOnOff) return kOnOff;
    if (kind == kParamYesNo) return kYesNo;
    return kLowHigh;
}

std::string FlagWord(uint32_t kind, int32_t value) { return FlagWords(kind)[value != 0 ? 1 : 0]; }

int CountItems(const char* const* items) {
    int n = 0;
    while (items && items[n]) ++n;
    return n;
}

std::string ChoiceText(const ChoiceValue& choice) {
    if (choice.Index < 0 || choice.Index >= CountItems(choice.Items)) return {};
    return choice.Items[choice.Index];
}

// One line of a code text for display: control and 8-bit characters are
// dropped, the last character never shows, and the line is cut behind the
// 33rd character kept.
std::string CodeSummary(const std::string& code) {
    if (code.empty()) return "<no code>";
    constexpr size_t kMaxShown = 33;
    std::string out;
    const size_t end = code.size() - 1;
    for (size_t i = 0; i < end; ++i) {
        const auto c = static_cast<unsigned char>(code[i]);
        if (c < 30 || c >= 128) continue;
        out += static_cast<char>(c);
        if (out.size() == kMaxShown) {
            out += "...";
            break;
        }
    }
    return out;
}

// Evaluates a literal text as SetText does: an expression with the
// caller's variables, then rounded to the 12 digits a file would keep.
bool EvalLiteral(const std::string& text, CDoc* doc, CVarList* vars, double& value) {
    double result = 0.0;
    if (!EvalExpr(text, &result, doc, vars, nullptr)) return false;
    return ParseDouble(NumberToText(result, 12), value);
}

void SetFlagFromNumber(int32_t& flag, double value) {
    const double truncated = std::trunc(value);
    flag = truncated < 0 ? 0 : static_cast<int32_t>(std::min(truncated, 1.0));
}

int Unsupported(std::string& error) {
    error += "parameter type not supported";
    return -1;
}

// NaN means "no value" only where a parameter may be left blank (an initial
// condition); elsewhere it would reach the equations. An infinite value has
// a meaning for a formula (an open resistor, an ideal gain), and the element
// that can't take one says so when the run starts; a choice or a flag is an
// index, and no index is infinite.
const char* NonFiniteFault(const CParam& param, double value) {
    const bool formula = param.Kind == kParamFormula;
    if (!formula && param.Kind != kParamChoice && !param.IsFlagKind()) return nullptr;
    if (std::isnan(value) && !(formula && param.Formula().m_Blank)) return "value = NaN";
    if (std::isinf(value) && !formula) return "value = infinite";
    return nullptr;
}

}  // namespace

bool SameTextNoCase(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

std::string TrimBlanks(const std::string& text) {
    size_t first = 0, last = text.size();
    while (first < last && static_cast<unsigned char>(text[first]) <= ' ') ++first;
    while (last > first && static_cast<unsigned char>(text[last - 1]) <= ' ') --last;
    return text.substr(first, last - first);
}

bool CParam::IsStringKind() const {
    return (Kind >= kParamString && Kind <= kParamCodeFile && Kind != 9) || Kind == kParamCode ||
           Kind == kParamRoots;
}

std::string CParam::GetText() const {
    if (Kind == kParamCode) return CodeSummary(String());
    if (IsStringKind()) return String();
    switch (Kind) {
        case kParamFormula: return ShowText ? Formula().m_Text : Formula().ToText();
        case kParamChoice: return ChoiceText(Choice());
        case kParamOnOff:
        case kParamYesNo:
        case kParamLowHigh: return FlagWord(Kind, Flag());
        case kParamPwl: return String();
        default: return {};
    }
}

double CParam::ValueOrZero() const {
    switch (Kind) {
        case kParamFormula: return Formula().m_Error ? 0.0 : Formula().m_Value;
        case kParamChoice: return Choice().Index;
        case kParamOnOff:
        case kParamYesNo:
        case kParamLowHigh: return Flag() != 0 ? 1.0 : 0.0;
        default: return 0.0;
    }
}

void CParam::SetText(std::string& errorText, std::string text, CDoc* doc, bool* ok, CVarList* vars) {
    errorText.clear();
    text = TrimBlanks(text);
    bool sound = true;
    if (IsStringKind()) {
        String() = text;
    } else if (Kind == kParamFormula) {
        CFormula& f = Formula();
        f.m_Text = text;
        f.m_Error = false;
        if (f.m_Blank && text.empty()) {
            f.m_Value = -std::numeric_limits<double>::quiet_NaN();
            f.m_Text.clear();
        } else if (text.empty() || text[0] != '=') {
            f.m_Text.clear();
            double value = 0.0;
            sound = EvalLiteral(text, doc, vars, value);
            if (sound) f.m_Value = value;
        } else if (!CheckCircular(&f, text, DocCmps(doc))) {
            sound = false;
            f.m_Error = true;
        } else {
            bool changed = false;
            sound = f.Evaluate(doc, nullptr, changed);
            if (sound) f.m_Error = false;
        }
    } else if (Kind == kParamChoice) {
        ChoiceValue& choice = Choice();
        const int count = CountItems(choice.Items);
        int match = -1;
        for (int i = 0; i < count && match < 0; ++i)
            if (SameTextNoCase(text, choice.Items[i])) match = i;
        double value = 0.0;
        if (match >= 0) {
            choice.Index = match;
        } else if ((sound = EvalLiteral(text, doc, vars, value))) {
            const double i = std::trunc(value);
            choice.Index = (i >= 0 && i < count) ? static_cast<int32_t>(i) : 0;
        }
    } else if (IsFlagKind()) {
        const char* const* words = FlagWords(Kind);
        double value = 0.0;
        if (SameTextNoCase(text, words[1])) Flag() = 1;
        else if (SameTextNoCase(text, words[0])) Flag() = 0;
        else if ((sound = EvalLiteral(text, doc, vars, value))) SetFlagFromNumber(Flag(), value);
    } else if (Kind == kParamPwl) {
        String() = text;
    }
    if (ok) *ok = sound;
    if (!sound) errorText = "Error : " + ExprError();
}

int CParam::GetValue(double* out, std::string& error) const {
    if (!out) {
        error += "NULL pointer to value";
        return -1;
    }
    if (Kind == kParamFormula) {
        if (Formula().m_Error) {
            error += "formula error";
            return -1;
        }
        *out = Formula().m_Value;
        return 0;
    }
    if (Kind == kParamChoice || IsFlagKind()) {
        *out = ValueOrZero();
        return 0;
    }
    return Unsupported(error);
}

int CParam::SetValue(double value, CDoc* doc, std::string& error) {
    if (const char* fault = NonFiniteFault(*this, value)) {
        error += fault;
        return -1;
    }
    if (Kind == kParamFormula) {
        CFormula& f = Formula();
        // An exact comparison on purpose: the same value set again must not
        // cost a rebuild of the running equations.
        if (f.m_Value != value) MarkParamsChanged(doc);
        f.m_Value = value;
        f.m_Text.clear();
        return 0;
    }
    if (Kind != kParamChoice && !IsFlagKind()) return Unsupported(error);
    const auto i = static_cast<int32_t>(value + 0.1);
    int32_t& slot = Kind == kParamChoice ? Choice().Index : Flag();
    if (slot != i) MarkParamsChanged(doc);
    slot = i;
    return 0;
}

int CParam::GetTextBuffer(char* buffer, int size, std::string& error) const {
    std::string text;
    if (IsStringKind()) text = String();
    else if (Kind == kParamFormula)
        text = Formula().m_Text.empty() ? NumberToText(Formula().m_Value, 12) : Formula().m_Text;
    else if (Kind == kParamChoice || IsFlagKind() || Kind == kParamPwl) text = GetText();
    else return Unsupported(error);
    // A buffer of no room, or of a negative length, receives nothing.
    const size_t room = size > 0 ? static_cast<size_t>(size) : 0;
    if (buffer && room > 0) {
        const size_t n = std::min(text.size(), room - 1);
        std::memcpy(buffer, text.data(), n);
        buffer[n] = '\0';
    }
    return static_cast<int>(text.size()) + 1;
}

int CParam::SetTextApi(const char* rawText, CDoc* doc, std::string& error) {
    const std::string text = rawText ? rawText : "";
    if (IsStringKind()) {
        String() = text;
        MarkParamsChanged(doc);
        return 0;
    }
    if (Kind == kParamFormula) {
        CFormula& f = Formula();
        if (text.empty()) {
            error += "no text";
            return -1;
        }
        if (text[0] != '=') {
            f.m_Text.clear();
            f.m_Error = false;
            double value = 0.0;
            if (!ParseDouble(text, value)) {
                f.m_Error = true;
                error += "error in value  " + text + " : " + ExprError();
                return -1;
            }
            if (value != f.m_Value) MarkParamsChanged(doc);
            f.m_Value = value;
            return 0;
        }
        f.m_Text = text;
        bool sound = CheckCircular(&f, text, DocCmps(doc));
        if (sound) {
            bool changed = false;
            sound = f.Evaluate(doc, DocCmps(doc), changed);
            // Whatever came out, the formula was evaluated: the run rebuilds.
            // A circle refused before that leaves the run as it was.
            f.m_Error = false;
            MarkParamsChanged(doc);
        }
        if (sound) return 0;
        f.m_Error = true;
        error += "error in formula " + text + " : " + ExprError();
        return -1;
    }
    if (Kind == kParamChoice) {
        ChoiceValue& choice = Choice();
        for (int i = 0; i < CountItems(choice.Items); ++i)
            if (text == choice.Items[i]) {
                choice.Index = i;
                MarkParamsChanged(doc);
                return 0;
            }
        error += "text " + text + " not found";
        return -1;
    }
    if (IsFlagKind()) {
        const char* const* words = FlagWords(Kind);
        if (text == words[0] || text == words[1]) {
            Flag() = text == words[1] ? 1 : 0;
            MarkParamsChanged(doc);
            return 0;
        }
        const char* expected = Kind == kParamOnOff ? "On/Off" : Kind == kParamYesNo ? "Yes/No" : "High/Low";
        error += "text " + text + " is not " + expected;
        return -1;
    }
    if (Kind == kParamPwl) {
        String() = text;
        MarkParamsChanged(doc);
        return 0;
    }
    return Unsupported(error);
}

CParam* FindParamRow(CParam* table, const std::string& name) {
    for (CParam* row = table; row && row->Kind != kParamEnd; ++row)
        if (row->Name && SameTextNoCase(name, row->Name)) return row;
    return nullptr;
}

int ParamRowCount(const CParam* table) {
    int n = 0;
    while (table && table[n].Kind != kParamEnd) ++n;
    return n;
}

}  // namespace qz3
