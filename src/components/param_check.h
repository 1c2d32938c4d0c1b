// The lines of an element's CheckParams, one parameter at a time.
//
// A parameter is checked in order: its formula first ("<Name> : formula
// error"), then its value tests; the first fault ends the checks of that
// parameter, and the element goes on with the next one. Each fault is a line
// "full name : text" in the solver's error text.
//
// Recipe:
//     CParamCheck check(calc, this);
//     check.Param(l2, "L2").Fault(std::isinf(l2.m_Value), "L2 : infinite");
//     check.Param(k12, "K").Fault(k < -1, "K < -1").Fault(k > 1, "K > 1");
//     return check.Ok();
#pragma once

#include <string>

namespace qz3 {

class CSolverPort;
class CCmp;
class CFormula;

class CParamCheck {
public:
    CParamCheck(CSolverPort* calc, const CCmp* cmp) : m_Calc(calc), m_Cmp(cmp) {}

    // Starts the checks of one parameter: a failed formula is its fault.
    CParamCheck& Param(const CFormula& formula, const std::string& name);
    // The next test of the present parameter, skipped once it has a fault.
    CParamCheck& Fault(bool fault, const std::string& text);
    // The present parameter has passed all its tests so far.
    bool ParamOk() const { return m_ParamOk; }
    // No fault at all.
    bool Ok() const { return m_Ok; }

private:
    void Report(const std::string& text);

    CSolverPort* m_Calc;
    const CCmp* m_Cmp;
    bool m_Ok = true;
    bool m_ParamOk = true;
};

}  // namespace qz3
