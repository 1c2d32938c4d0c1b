// The C-code language: a small program of statements whose expressions are
// those of the formula evaluator, with integer arithmetic kept integer.
//
// Statements are parsed once into a tree of CCodeNode; expressions stay
// text in their nodes and go to EvalExpr each time they run, so changing
// the evaluator changes the language with it. A program has a top level of
// declarations and statements and, optionally, the blocks `init` (run once
// at the start) and `main` (run at every step).
//
// Recipe:
//     CCodeNode root;
//     root.Cmps = cmps;  root.Host = &host;           // inherited by every node
//     if (!root.Parse(text)) report(ExprError(), CodeErrorPos());
//     CVarList vars;  vars.Add("t", vtDouble, 0);
//     root.Run(0, &vars, vars.Count(), kRunAll);        // top-level declarations
//     root.Run(0, &vars, vars.Count(), kRunInit);       // init { ... }
//     root.Run(0, &vars, vars.Count(), kRunMain);       // each step: main { ... }
// A failure returns kCodeFailed with the message in ExprError() (empty
// when a stop was asked for) and the statement's position in CodeErrorPos().
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qz3 {

class CDoc;
class CCmps;
class CVarList;

// What a running program asks of the circuit around it.
class CCodeHost {
public:
    virtual ~CCodeHost() = default;
    // The document whose levels, components and solution formulas read.
    virtual CDoc* Doc() = 0;
    // A stop was asked for; asking acknowledges it.
    virtual bool StopRequested() = 0;
    // The time allowed for the present step (or preparation) is spent.
    virtual bool TimedOut() = 0;
};

// Statement kinds; the declaration kinds minus 2 are the variable's ValueType.
enum CodeKind : int32_t {
    ckNone = 0,
    ckBlock = 1,
    ckComplex = 2,
    ckDouble = 3,
    ckInt64 = 4,
    ckInt = 5,
    ckBool = 6,
    ckDeclarator = 7,
    ckSwitch = 8,
    ckCase = 9,
    ckDefault = 10,
    ckIf = 11,
    ckElse = 12,
    ckWhile = 13,
    ckDo = 14,
    ckFor = 15,
    ckInit = 16,
    ckMain = 17,
    ckBreak = 18,
    ckContinue = 19,
    ckReturn = 20,
    ckStatement = 21,
};

// What Run gives back.
enum CodeResult : int {
    kCodeFailed = -1,
    kCodeDone = 0,
    kCodeContinue = 1,
    kCodeBreak = 2,
    kCodeReturn = 3,
};

// The modes of Run.
enum CodeRunMode : int { kRunAll = 0, kRunInit = 1, kRunMain = 2 };

// Limits that keep hostile text from exhausting the machine.
constexpr int kMaxCodeNesting = 200;
constexpr int kMaxAssignChain = 200;

class CCodeNode {
public:
    CCodeNode() = default;
    CCodeNode(int32_t kind, int32_t pos, const CCodeNode* parent);
    CCodeNode(const CCodeNode&) = delete;
    CCodeNode& operator=(const CCodeNode&) = delete;
    virtual ~CCodeNode() = default;

    // Cleans the text and builds the tree under this root; false with the
    // message in ExprError() and the position in CodeErrorPos().
    bool Parse(std::string_view text);
    // Mode kRunAll runs the children from firstChild; kRunInit and kRunMain
    // run the `init` or `main` block (kCodeDone if there is none) and give
    // back only kCodeDone or kCodeFailed.
    int Run(int firstChild, CVarList* vars, int scopeBase, int mode);
    void Clear() { Children.clear(); }

    CCodeNode* AddChild(int32_t kind, int32_t pos);
    // The first child of that kind, or null.
    CCodeNode* FindChild(int32_t kind) const;
    int ChildCount() const { return static_cast<int>(Children.size()); }
    CCodeNode* Child(int i) const { return Children[static_cast<size_t>(i)].get(); }

    int32_t Kind = ckNone;
    std::vector<std::unique_ptr<CCodeNode>> Children;
    int32_t Pos = 0;  // 1-based, in the cleaned text
    std::string Text1, Text2, Text3;
    CCmps* Cmps = nullptr;
    CCodeHost* Host = nullptr;
};

// The position of the statement last parsed or run; 0 for none.
int32_t& CodeErrorPos();

// The line of a 1-based position, counting carriage returns of the source
// text (the cleaned text keeps every position of the source).
int CodeLineOf(std::string_view source, int32_t pos);

// The text with comments, tabs and line breaks blanked, positions kept,
// three blanks appended. A block comment still open at the end sets
// openComment to its 1-based position.
std::string CleanCode(std::string_view text, int32_t* openComment);


// Initial values written as C-code, "a=1, b[2]=0.5": each "," becomes ";"
// and a ";" is put behind, and the statements run over `vars`; whatever
// they declare is dropped behind them. False with ExprError() and
// CodeErrorPos() (parse or run).
bool RunInitialValues(std::string_view text, CVarList* vars, CCmps* cmps, CCodeHost* host);

}  // namespace qz3
