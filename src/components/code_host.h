// The running solver as a C-code program sees it: the document for its
// formulas, the stop flag and the time allowance of its loops.
//
// A loop may run for the present step as long as the document's time-out
// allows, or kDefaultLoopSeconds when the document sets none, so that a
// program that never ends can't hang its host.
#pragma once

#include "expr/ccode_node.h"

namespace qz3 {

class CSolverPort;

constexpr int kDefaultLoopSeconds = 10;

class CCodeRunHost : public CCodeHost {
public:
    void Attach(CSolverPort* calc) { m_Calc = calc; }
    CDoc* Doc() override;
    bool StopRequested() override;
    bool TimedOut() override;

private:
    CSolverPort* m_Calc = nullptr;
};

}  // namespace qz3
