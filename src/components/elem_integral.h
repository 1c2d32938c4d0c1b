// The integrators "F_INT" and "F_INTR" (with a reset at pin 2): the output
// (pin 1, driven) is y with dy/dt = K x[pin 0], from `IC`. While the reset
// level is active (above the logic threshold, inverted in view 1) the
// output is held at 0.
#pragma once

#include "components/cmp.h"
#include "expr/formula.h"

namespace qz3 {

extern const CParamTable kIntegralParams;
extern const CModelInfo kModelsIntegral[];

class CElemIntegral : public CCmp {
public:
    explicit CElemIntegral(const CCmpType* type) : CCmp(type) {}

    int PinKind(int pin) const override { return pin == 2 ? kPinSensing : kPinAnalog; }
    bool Simulate(CSolverPort* calc, int phase, double t) override;
    bool CheckState(CSolverPort* calc, bool commit, bool* changed) override;
    std::string GetState() override;

    CFormula k;   // V/V per second
    CFormula ic;  // the output at the start
    double y = 0.0;

private:
    bool HasReset() const { return type == TypeId::IntegralWithReset; }
    int ResetLevel(const CSolverPort* calc) const;
    bool Stamp(CSolverPort* calc);
};

}  // namespace qz3
