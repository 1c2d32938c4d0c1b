// The code block "X_C": a program of the C-code language between input and
// output pins. Model "C" holds the program text, model "File" reads it from
// a file (or the component's attachment).
//
// Pins come from the block's box: its input list ("x1,x2,x3") names the
// first pins, its output list ("y1,y2,y3") the next, and one pin more is a
// clock. Each pin is a double variable of the program, bound once at the
// start of a run; a program may declare it itself (double, or a double
// array for a name "y[2]"), and its declaration wins.
//
// Without a `main` block the whole text runs at each step and forgets its
// variables; with one, the top level runs once at the start, then `init`,
// then the initial values, and `main` runs at each step with the top-level
// variables kept. A clocked block runs only on the clock's rising edge and
// holds its outputs in between. The program is parsed once per run.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "components/cmp.h"
#include "components/code_host.h"
#include "expr/ccode_node.h"
#include "expr/var_list.h"

namespace qz3 {

extern const CParamTable kCodeBlockParams;
extern const CModelInfo kModelsCodeBlock[];

class CElemCode : public CCmp {
public:
    explicit CElemCode(const CCmpType* type);

    void BeginCustom() override { MakeCustom(); }
    void EndCustom() override;
    bool CheckParams(CSolverPort* calc) override;
    int PinKind(int pin) const override;
    std::string PinName(int pin) const override;
    int AssignBranches(CSolverPort* calc, int first) override;
    bool Simulate(CSolverPort* calc, int phase, double t) override;
    bool CheckState(CSolverPort* calc, bool commit, bool* changed) override;
    std::string GetState() override;
    CVarList* Variables() override { return &m_Vars; }

    std::string m_Code;  // Code
    std::string m_File;  // File
    std::string m_IC;    // IC: initial values as C-code
    int m_Inputs = 0;
    int m_Outputs = 0;
    int m_Clocked = 0;
    int m_Mode = kRunAll;

private:
    bool Init(CSolverPort* calc);
    bool ProgramText(CSolverPort* calc, std::string& text);
    bool BindPins(CSolverPort* calc);
    bool BindPin(CSolverPort* calc, int pin);
    bool ApplyInitialValues(CSolverPort* calc);
    bool Compute(CSolverPort* calc, double t);
    bool Outputs(CSolverPort* calc);
    bool Stamp(CSolverPort* calc);
    // "Line n : message" for a failure of the program.
    bool ProgramError(CSolverPort* calc);

    CVarList m_Vars;                  // entry 0 is t
    std::vector<double*> m_PinValue;  // each pin's value inside m_Vars
    std::vector<std::string> m_PinNames;
    std::unique_ptr<CCodeNode> m_Tree;
    std::string m_Source;             // the text parsed, for line numbers
    CCodeRunHost m_Host;
};

}  // namespace qz3
