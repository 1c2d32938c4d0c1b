#include "components/param_check.h"

#include "components/cmp.h"
#include "expr/formula.h"

namespace qz3 {

CParamCheck& CParamCheck::Param(const CFormula& formula, const std::string& name) {
    m_ParamOk = true;
    if (formula.m_Error) Report(name + " : formula error");
    return *this;
}

CParamCheck& CParamCheck::Fault(bool fault, const std::string& text) {
    if (m_ParamOk && fault) Report(text);
    return *this;
}

void CParamCheck::Report(const std::string& text) {
    m_Cmp->AddCmpError(m_Calc, text);
    m_Ok = false;
    m_ParamOk = false;
}

}  // namespace qz3
