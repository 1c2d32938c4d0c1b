// One row of a component's parameter table.
//
// A row gives a member of a component a name, a unit and a kind, and reads
// and writes it by text or by number, so that the text access of the library
// and the component list handle any parameter of any element without
// knowing its class.
//
// An element never writes these itself: it declares its parameters once as
// constant CParamRow (param_row.h), and each component binds the rows of its
// present model into CParam of its own (components/param_table.h). A bound
// row stays valid while the component keeps its model; a table ends at a
// row of kind 0.
#pragma once

#include <cstdint>
#include <string>

#include "base/change_bits.h"

namespace qz3 {

class CDoc;
class CVarList;
class CFormula;

enum ParamKind : uint32_t {
    kParamEnd = 0,
    kParamString = 1,     // free text
    kParamFunction = 2,   // a function of other quantities, as "f"
    kParamInitList = 3,   // a list of initial values
    kParamList4 = 4,
    kParamList5 = 5,
    kParamList = 6,       // "List"
    kParamTable7 = 7,
    kParamTable = 8,      // "Table"
    kParamFile = 10,      // file name
    kParamDll = 11,
    kParamCodeFile = 12,  // source file of a code block
    kParamFormula = 13,   // CFormula: the common case
    kParamChoice = 14,    // ChoiceValue
    kParamOnOff = 15,     // int32: "On" / "Off"
    kParamYesNo = 16,     // int32: "Yes" / "No"
    kParamLowHigh = 17,   // int32: "Low" / "High"
    kParamPwl = 18,       // the text of a CPWL table (its points)
    kParamCode = 19,      // code text
    kParamRoots = 20,     // roots text
};


// An enumeration value: Items is a null-terminated array of words.
struct ChoiceValue {
    int32_t Index = 0;
    const char* const* Items = nullptr;
};

class CParam {
public:
    CParam() = default;
    CParam(uint32_t kind, const char* name, const char* unit = nullptr, int32_t showText = 0)
        : Kind(kind), Name(name), Unit(unit), ShowText(showText) {}
    virtual ~CParam() = default;

    uint32_t Kind = kParamEnd;   // 0 ends a table
    const char* Name = nullptr;  // searched ignoring case
    const char* Unit = nullptr;  // for display; null or empty if none
    void* Data = nullptr;        // the member it stands for; set by BindParams
    int32_t ShowText = 0;        // kind 13: GetText shows the formula text
    int64_t Extra = 0;           // selector a name look-up left (which sub-item)

    // Text for display.
    std::string GetText() const;
    // Text from a file or a user: lenient (case-insensitive words,
    // expressions allowed). Reports in errorText and *ok.
    void SetText(std::string& errorText, std::string text, CDoc* doc, bool* ok, CVarList* vars);
    double ValueOrZero() const;

    // The library's strict operations. They return 0, or -1 with the
    // message appended to `error` (the caller passes it on to the host).
    int GetValue(double* out, std::string& error) const;
    int SetValue(double value, CDoc* doc, std::string& error);
    // Returns the full length + 1 (so that a host can see a cut), or -1.
    int GetTextBuffer(char* buffer, int size, std::string& error) const;
    int SetTextApi(const char* text, CDoc* doc, std::string& error);

    // Typed views of Data; valid only for the matching kinds.
    CFormula& Formula() const { return *static_cast<CFormula*>(Data); }
    std::string& String() const { return *static_cast<std::string*>(Data); }
    ChoiceValue& Choice() const { return *static_cast<ChoiceValue*>(Data); }
    int32_t& Flag() const { return *static_cast<int32_t*>(Data); }

    bool IsStringKind() const;
    bool IsFlagKind() const { return Kind >= kParamOnOff && Kind <= kParamLowHigh; }
};

// Row of a table by name, ignoring case; null if none.
CParam* FindParamRow(CParam* table, const std::string& name);
int ParamRowCount(const CParam* table);

// Sets bit kChangeParams in the document's solver (no-op for a null doc).
void MarkParamsChanged(CDoc* doc);

// Case-insensitive equality of two 8-bit texts.
bool SameTextNoCase(const std::string& a, const std::string& b);
std::string TrimBlanks(const std::string& text);

}  // namespace qz3
