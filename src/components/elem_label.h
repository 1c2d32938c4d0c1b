// A label names a node (the file gives labels of one name the same node)
// and can drive it against ground as a voltage source: "V", the time models
// of the sources, or "IC", which draws the node to `V` through `R` while
// the operating point at time 0 is found and has no effect afterwards.
#pragma once

#include "components/elem_v.h"

namespace qz3 {

extern const CParamTable kLabelParams;
extern const CModelInfo kModelsLabel[];

class CElemLabel : public CElemV {
public:
    explicit CElemLabel(const CCmpType* type) : CElemV(type) {}

    bool IsLabel() const override { return true; }
    bool HasSignal() const override { return DrivesNode() && model != ModelId::Source; }
    bool CheckParams(CSolverPort* calc) override;
    int PinKind(int pin) const override;
    bool Simulate(CSolverPort* calc, int phase, double t) override;
    // "IC" draws the node only while the operating point is searched.
    bool StampsHoldBetweenEvents() const override { return false; }
    uint32_t SimulatedPhases() const override { return kAllPhases; }
    bool GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* r) override;

    CFormula r;             // "IC": the resistance that draws the node
    bool icActive = true;   // "IC": false once the operating point rejected it

private:
    bool DrivesNode() const { return model != ModelId::Label && model != ModelId::IC; }
    bool StampInitialCondition(CSolverPort* calc, double t);
};

}  // namespace qz3
