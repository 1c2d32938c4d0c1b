// Sample/hold "X_SH": pin 0 input, pin 1 output (driven), pin 2 control.
// The output holds `held`; the control's level (above the logic threshold,
// inverted in the odd views) decides when it takes the input. Views 0 and
// 1 sample on the rising level; views above 1 are transparent while the
// level is active and hold what they had when it falls. A sample is an
// event of the switching search, so it lands exactly at the control's edge.
#pragma once

#include "components/cmp.h"
#include "expr/formula.h"

namespace qz3 {

extern const CParamTable kSampleHoldParams;
extern const CModelInfo kModelsSampleHold[];

class CElemSH : public CCmp {
public:
    explicit CElemSH(const CCmpType* type) : CCmp(type) {}

    int PinKind(int pin) const override { return pin == 2 ? kPinSensing : kPinAnalog; }
    bool Simulate(CSolverPort* calc, int phase, double t) override;
    bool CheckState(CSolverPort* calc, bool commit, bool* changed) override;
    std::string GetState() override;

    CFormula ic;  // the held value at the start
    double held = 0.0;

private:
    int Level(const CSolverPort* calc) const;
    bool Transparent() const { return view > 1 && state2 == 1; }
    bool Stamp(CSolverPort* calc);
};

}  // namespace qz3
