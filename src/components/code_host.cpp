#include "components/code_host.h"

#include "components/solver_port.h"

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

}  // namespace qz3
