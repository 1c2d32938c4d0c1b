// The running solver as a C-code program sees it: the document for its
// formulas, the stop flag and the time allowance of its loops.
//
// A loop may run for the present step as long as the document's time-out
// allows, or kDefaultLoopSeconds when the document sets none, so that a
// program that never ends can't hang its host.
#pragma once

#include <string>

#include "expr/ccode_node.h"

namespace qz3 {

class CSolverPort;
class CCmp;

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

// The initial values a block starts a run with, as C-code: the stored state
// the run starts from if it has one for the block, else the block's IC text.
std::string BlockInitialValues(const CSolverPort* calc, const CCmp* cmp, const std::string& ic);

}  // namespace qz3
