// The resistor family: linear resistor, potentiometer and the
// piecewise-linear resistors, four types and five models in one class.
//
// | type    | models                                  |
// | "R_R"   | "R" (12), "PWL" (11), "PWL-I" (52), "SubCir" (10) |
// | "R_Pot" | "Potentiometer" (61)                    |
// | "R_VCR" | "PWL" (11): segment chosen by the control voltage (pins 2, 3) |
// | "R_CCR" | "PWL" (11): segment chosen by the control current (pins 2, 3) |
//
// An "R" of 0 is a short with its own unknown, so its current is readable;
// otherwise a resistor adds no unknown. A "PWL" or "PWL-I" resistor of "R_R"
// is searched by the solver (its own voltage or current picks the segment);
// "R_VCR" and "R_CCR" follow their control at the state check.
#pragma once

#include "components/cmp.h"
#include "expr/formula.h"

namespace qz3 {

extern const CParamTable kResistorParams;
extern const CModelInfo kModelsRR[];
extern const CModelInfo kModelsRPot[];
extern const CModelInfo kModelsRVcr[];
extern const CModelInfo kModelsRCcr[];

class CElemR : public CCmp {
public:
    explicit CElemR(const CCmpType* type);

    int AssignBranches(CSolverPort* calc, int first) override;
    bool Simulate(CSolverPort* calc, int phase, double t) override;
    bool StampsHoldBetweenEvents() const override { return true; }
    uint32_t SimulatedPhases() const override {
        return PhaseBit(PhaseInit) | PhaseBit(PhaseReset) | PhaseBit(PhaseStamp) | PhaseBit(PhasePins);
    }
    bool CheckState(CSolverPort* calc, bool commit, bool* changed) override;
    bool GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* r) override;
    void Transform(const CTransform& edit) override;
    bool SegmentRange(int* first, int* last) override;
    bool CheckSegment(CSolverPort* calc, bool commit) override;

    CFormula r;         // R, "Ohm"
    CFormula position;  // Position, "R_Pot" only
    CPWL pwlI;          // V(I) of model "PWL-I"

private:
    bool IsType(TypeId id) const { return type == id; }
    // The table whose segment is the element's state in the present model.
    CPWL* SegmentTable();
    bool Stamp(CSolverPort* calc);
    bool StampPotentiometer(CSolverPort* calc);
    bool StampPwlI(CSolverPort* calc);
    void SetPinGroups();
};

}  // namespace qz3
