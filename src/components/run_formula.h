// A formula that an element evaluates at each time point over variables of
// its own: the time "t" and one input (an amplifier's input "s", a
// controlled source's control "u"). Other names reach the document's
// variables and the components, as in any formula.
//
// Recipe:
//     PhaseInit:  if (!formula.Prepare(calc, this, "s")) return false;
//     PhaseEval:  if (!formula.Evaluate(calc, this, f, t, s, v)) return false;
// The variables are made once; an evaluation only writes two numbers.
#pragma once

#include <string>

#include "expr/var_list.h"

namespace qz3 {

class CSolverPort;
class CCmp;

class CRunFormula {
public:
    // False with the element's line in the solver when memory runs out.
    bool Prepare(CSolverPort* calc, const CCmp* cmp, const char* inputName);
    // False with "name : " and the evaluator's text in the solver.
    bool Evaluate(CSolverPort* calc, const CCmp* cmp, const std::string& text, double t, double input,
                  double& out);

    // The small-signal gain d(text)/d(input) at `input`, from four points
    // 0.01 and 0.02 to either side (absolute steps); an empty text is a
    // gain of 1.
    bool Slope(CSolverPort* calc, const CCmp* cmp, const std::string& text, double t, double input, double& slope);

private:
    CVarList m_Vars;
    CValue* m_Time = nullptr;
    CValue* m_Input = nullptr;
};

}  // namespace qz3
