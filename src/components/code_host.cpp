#include "components/code_host.h"

#include "components/element_state.h"
#include "components/solver_port.h"
#include "expr/state_text.h"

namespace qz3 {

CDoc* CCodeRunHost::Doc() { return m_Calc ? m_Calc->Doc() : nullptr; }

bool CCodeRunHost::StopRequested() { return m_Calc && m_Calc->StopRequested(); }

// Whole seconds, truncated, as the switching search counts them.
bool CCodeRunHost::TimedOut() {
    if (!m_Calc) return false;
    const int setting = m_Calc->TimeOutSeconds();
    const int seconds = setting > 0 ? setting : kDefaultLoopSeconds;
    return m_Calc->MsInStep() / 1000 > seconds;
}

std::string BlockInitialValues(const CSolverPort* calc, const CCmp* cmp, const std::string& ic) {
    std::string values = StoredState(calc, cmp);
    if (!values.empty()) values = KeyBraced(values, "s");
    return values.empty() ? ic : values;
}

}  // namespace qz3
