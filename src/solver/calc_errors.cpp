#include "solver/calc.h"

namespace qz3 {

void CCalc::AddError(const std::string& text) {
    m_Error += '\n';
    m_Error += text;
}

bool CCalc::CmpError(const CCmp* cmp, const char* text) {
    if (text)
        m_Error += CmpFullName(cmp) + " : " + text + "\n";
    else
        m_Error = CmpFullName(cmp) + " : " + m_Error;
    return false;
}

bool CCalc::TraceError(const CTrace* trace, const char* text) {
    if (text)
        m_Error += "Trace " + TraceName(trace) + " : " + text + "\n";
    else
        m_Error = "Trace " + TraceName(trace) + " : " + m_Error;
    return false;
}

// The codes only mark where a failure passed without words; words said deeper stand.
void CCalc::CodeError(ErrorMark mark) {
    if (m_Error.empty()) m_Error = "Unknown error " + std::to_string(static_cast<int>(mark));
}

}  // namespace qz3
