// "X_Delay": the output (pin 1, driven) repeats the input (pin 0) after `t`,
// holding its IC before that. The past comes from a CDelay through the
// source vector, so the matrix never depends on the delay and the
// trapezoidal factorisation stays valid. A `t` of 0 is a plain follower.
#pragma once

#include "components/cmp.h"
#include "components/corner_queue.h"
#include "components/delay_memory.h"
#include "expr/formula.h"

namespace qz3 {

extern const CParamTable kDelayParams;
extern const CModelInfo kModelsDelay[];

class CElemDelay : public CCmp {
public:
    explicit CElemDelay(const CCmpType* type) : CCmp(type) {}

    bool Simulate(CSolverPort* calc, int phase, double t) override;
    std::string GetState() override;
    void NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) override;

    CFormula t;   // the delay, s
    CFormula ic;  // the output before the first input arrives
    double out = 0.0;
    CDelay memory{2};
    CCornerQueue corners;

private:
    bool Init(CSolverPort* calc);
    bool Stamp(CSolverPort* calc);
};

}  // namespace qz3
