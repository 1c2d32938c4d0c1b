#include "components/run_formula.h"

#include "components/cmp.h"
#include "components/cmps.h"
#include "components/solver_port.h"
#include "expr/eval_expr.h"
#include "expr/number_text.h"

namespace qz3 {

bool CRunFormula::Prepare(CSolverPort* calc, const CCmp* cmp, const char* inputName) {
    if (m_Time && m_Input) return true;
    m_Vars.Clear();
    CVarEntry* time = m_Vars.Add("t", vtDouble, 0);
    CVarEntry* input = time ? m_Vars.Add(inputName, vtDouble, 0) : nullptr;
    if (!input) {
        m_Time = m_Input = nullptr;
        return cmp->AddCmpError(calc, "No enough memory");
    }
    // Adding may move the block: the slots are taken once both are in.
    m_Time = m_Vars[0].Value;
    m_Input = m_Vars[1].Value;
    return true;
}

bool CRunFormula::Evaluate(CSolverPort* calc, const CCmp* cmp, const std::string& text, double t, double input,
                           double& out) {
    if (!m_Time) return cmp->AddCmpError(calc, "formula not prepared");
    m_Time->SetDouble(t);
    m_Input->SetDouble(input);
    double value = 0.0;
    if (!EvalExpr(text, &value, calc->Doc(), &m_Vars, cmp->owner, true)) return calc->CmpError(cmp, ExprError().c_str());
    out = value;
    return true;
}

bool CRunFormula::Slope(CSolverPort* calc, const CCmp* cmp, const std::string& text, double t, double input,
                        double& slope) {
    if (text.empty()) {
        slope = 1.0;
        return true;
    }
    double f[4];
    const double offsets[4] = {-0.02, -0.01, 0.01, 0.02};
    for (int i = 0; i < 4; ++i)
        if (!Evaluate(calc, cmp, text, t, input + offsets[i], f[i])) return false;
    slope = ((f[2] - f[1]) * 8.0 + (f[0] - f[3])) / 12.0 / 0.01;
    return true;
}

}  // namespace qz3
