// One declared parameter of an element class.
//
// A class declares each of its parameters once, as a row: the name, kind and
// unit the host sees, the member that holds it, the key it has in the file,
// its default and the tests its value must pass. The same row drives text
// access (it is bound into a CParam for one component), loading and saving,
// the start value, and the lines of CheckParams ("Vd : formula error",
// "Vd < 0"). Rows are constant and shared; binding never writes them.
//
// Recipe (see components/param_table.h for the table around the rows):
//     FormulaRow("Vd", "V", "vd", MemberAt<&CElemD::vd>, 0.0, {ParamTest::Negative}),
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>

#include "expr/param.h"

namespace qz3 {

// The value tests of CheckParams, each with the line it gives for a
// parameter named X. A row runs its tests in order; the first fault ends
// the checks of that parameter.
enum class ParamTest : uint8_t {
    Infinite,       // "X = infinite"
    InfiniteColon,  // "X : infinite"
    InfiniteBlank,  // "X = infinite " (with the trailing blank)
    Negative,       // "X < 0"
    NotPositive,    // "X <= 0"
    BelowMinusOne,  // "X < -1"
    AboveOne,       // "X > 1"
    NotANumber,     // "X : formula error": a NaN that a host set as the value
};

bool ParamTestFails(ParamTest test, double value);
std::string ParamTestLine(ParamTest test, const std::string& name);

// The member a row stands for, found from the component that owns it.
using ParamMember = void* (*)(void* owner);
// A test that needs more than the value (another parameter of the owner):
// the text behind the name for a fault (" <= 0"), or null.
using ParamRule = const char* (*)(const void* owner, double value);

struct CParamRow {
    static constexpr int kMaxTests = 3;

    uint32_t kind = kParamEnd;
    const char* name = nullptr;
    const char* unit = nullptr;
    // The file key; null for a row whose member the class keeps in the file
    // by itself (tables).
    const char* key = nullptr;
    ParamMember member = nullptr;
    // The start value of a number, a flag or a choice's index.
    double initial = 0.0;
    // The start text of a text row.
    const char* initialText = nullptr;
    // The words of a choice, null-terminated.
    const char* const* items = nullptr;
    std::array<ParamTest, kMaxTests> tests{};
    uint8_t testCount = 0;
    // CheckParams looks at this formula (its error, then its tests).
    bool checked = true;
    // The formula may be left empty, its value then NaN ("no initial
    // condition").
    bool blank = false;
    // Runs after the tests.
    ParamRule rule = nullptr;
    // The name in front of the rule's text, where it is another parameter
    // ("Vhi" of "Vhi < Vlo", a rule of the lower limit); null: the row's.
    const char* ruleSubject = nullptr;
    // The name of the formula error line, where it differs from the others.
    const char* formulaName = nullptr;
    // The name in the check lines, where it differs from `name`.
    const char* checkName = nullptr;
    // The member belongs to an embedded object (a signal generator) that
    // sets its own start value and keeps its own file keys.
    bool embedded = false;
    // The child node that holds the key ("Signal"); null: the component's
    // own node.
    const char* child = nullptr;

    const char* CheckName() const { return checkName ? checkName : name; }
    const char* FormulaName() const { return formulaName ? formulaName : CheckName(); }
    const char* RuleSubject() const { return ruleSubject ? ruleSubject : CheckName(); }
};

constexpr CParamRow WithTests(CParamRow row, std::initializer_list<ParamTest> tests) {
    for (ParamTest test : tests) row.tests[row.testCount++] = test;
    return row;
}

// The columns every row has.
constexpr CParamRow BasicRow(uint32_t kind, const char* name, const char* unit, const char* key,
                             ParamMember member) {
    CParamRow row;
    row.kind = kind;
    row.name = name;
    row.unit = unit;
    row.key = key;
    row.member = member;
    return row;
}

// A number or live formula (CFormula).
constexpr CParamRow FormulaRow(const char* name, const char* unit, const char* key, ParamMember member,
                               double initial, std::initializer_list<ParamTest> tests = {}) {
    CParamRow row = BasicRow(kParamFormula, name, unit, key, member);
    row.initial = initial;
    return WithTests(row, tests);
}

// "On"/"Off", "Yes"/"No" or "Low"/"High" (an int32 flag).
constexpr CParamRow FlagRow(uint32_t kind, const char* name, const char* key, ParamMember member, double initial) {
    CParamRow row = BasicRow(kind, name, nullptr, key, member);
    row.initial = initial;
    return row;
}

// One of a list of words (ChoiceValue), stored in the file as its index.
constexpr CParamRow ChoiceRow(const char* name, const char* key, ParamMember member, const char* const* items,
                              int initial) {
    CParamRow row = BasicRow(kParamChoice, name, nullptr, key, member);
    row.items = items;
    row.initial = initial;
    return row;
}

// A text of one of the text kinds (a list, a file name, a function).
constexpr CParamRow TextRow(uint32_t kind, const char* name, const char* key, ParamMember member,
                            const char* initial) {
    CParamRow row = BasicRow(kind, name, nullptr, key, member);
    row.initialText = initial;
    return row;
}

// A piecewise-linear table (CPWL): its points under `key`, the file they
// came from under key + "f", its mode under key + "m", in the file only
// while the present model shows the table.
constexpr CParamRow TableRow(const char* name, const char* key, ParamMember member) {
    return BasicRow(kParamPwl, name, "", key, member);
}

// A member of an embedded object: bound and shown like any row, while its
// start value, file keys and (unless tests are given) checks stay with the
// object.
constexpr CParamRow EmbeddedRow(uint32_t kind, const char* name, const char* unit, ParamMember member,
                                std::initializer_list<ParamTest> tests = {}) {
    CParamRow row = BasicRow(kind, name, unit, nullptr, member);
    row.embedded = true;
    row.checked = tests.size() > 0;
    return WithTests(row, tests);
}

// The same row, looked at by CheckParams with these tests.
constexpr CParamRow Checked(CParamRow row, std::initializer_list<ParamTest> tests) {
    row.checked = true;
    return WithTests(row, tests);
}

// The same row with a test that also looks at the owner.
constexpr CParamRow WithRule(CParamRow row, ParamRule rule) {
    row.rule = rule;
    return row;
}

// The same row with a rule whose line names another parameter first.
constexpr CParamRow WithRule(CParamRow row, ParamRule rule, const char* subject) {
    row.rule = rule;
    row.ruleSubject = subject;
    return row;
}

// The same row, its formula error under another name.
constexpr CParamRow FormulaErrorAs(CParamRow row, const char* formulaName) {
    row.formulaName = formulaName;
    return row;
}

// The same row, its key kept in a child node of the component's node.
constexpr CParamRow InChild(CParamRow row, const char* child) {
    row.child = child;
    return row;
}

// A formula that CheckParams leaves alone, not even its error is a fault.
constexpr CParamRow Unchecked(CParamRow row) {
    row.checked = false;
    return row;
}

// An initial condition: may be left empty, starts empty (NaN), and is no
// fault of CheckParams.
constexpr CParamRow InitialCondition(const char* name, const char* unit, const char* key, ParamMember member) {
    CParamRow row = Unchecked(FormulaRow(name, unit, key, member, __builtin_nan("")));
    row.blank = true;
    return row;
}

// The same row, named otherwise in its check lines.
constexpr CParamRow CheckedAs(CParamRow row, const char* checkName) {
    row.checkName = checkName;
    return row;
}

}  // namespace qz3
