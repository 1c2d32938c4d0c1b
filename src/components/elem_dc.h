// The directional coupler "X_DC": a short from pin 0 to pin 1 whose current
// is branch k, and two ports driven by the waves it carries: pin 2 gets
// r (V + Z I) / 2 (forward), pin 3 r (V - Z I) / 2 (backward), with V the
// voltage at pin 0, Z the reference impedance `z0` and r = 10^(-CF/20).
#pragma once

#include "components/cmp.h"
#include "expr/formula.h"

namespace qz3 {

extern const CParamTable kCouplerParams;
extern const CModelInfo kModelsCoupler[];

class CElemDC : public CCmp {
public:
    explicit CElemDC(const CCmpType* type) : CCmp(type) {}

    bool Simulate(CSolverPort* calc, int phase, double t) override;

    CFormula z0;  // Ohm
    CFormula cf;  // coupling factor, dB
};

}  // namespace qz3
