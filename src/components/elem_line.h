// "X_Line": a transmission line between port A (pins 0, 1) and port B
// (pins 2, 3), lossless ("Line") or lossy ("Lossy"). Two extra unknowns a
// and b are the wave currents of the ports. Each port is its impedance in
// parallel with twice the wave that arrives from the other end, which the
// past gives through the source vector: the matrix doesn't change with
// time, and the trapezoidal factorisation stays valid.
#pragma once

#include <memory>

#include "components/cmp.h"
#include "components/corner_queue.h"
#include "components/delay_memory.h"
#include "components/lossy_line.h"
#include "expr/formula.h"

namespace qz3 {

extern const CParamTable kLineParams;
extern const CModelInfo kModelsLine[];

class CElemLine : public CCmp {
public:
    explicit CElemLine(const CCmpType* type) : CCmp(type) {}

    bool Simulate(CSolverPort* calc, int phase, double t) override;
    std::string GetState() override;
    void NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) override;

    CFormula t;    // delay, s
    CFormula z;    // characteristic impedance, Ohm
    CFormula r;    // series loss
    CFormula rf;   // corner of the series loss
    CFormula g;    // shunt loss
    CFormula gf;   // corner of the shunt loss
    CFormula vic;  // initial voltage, blank for none
    CFormula iic;  // initial current, blank for none

    bool fresh = true;  // the first DC solve after a model change is to come
    int mode = 0;       // "Line": 0 normal, 1 no impedance, 2 infinite impedance, 3 no delay, 4 infinite delay
    CDelay memory{3};
    CCornerQueue cornersA, cornersB;  // of the wave leaving each port
    CLossyLine lossy;

private:
    bool Lossless() const { return model == ModelId::Line; }
    bool Init(CSolverPort* calc);
    bool Stamp(CSolverPort* calc);
    bool StampDegenerate(CSolverPort* calc);
    void StampWaveRows(CSolverPort* calc, double conductance);
    void StampInitialState(CSolverPort* calc, double conductance);
    void StampAcCoupling(CSolverPort* calc, double decay, double phase);
    void LossyAcCoupling(CSolverPort* calc);
    void Sources(CSolverPort* calc, double now);
    bool History(CSolverPort* calc, double now);
};

}  // namespace qz3
