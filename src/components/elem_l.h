// The inductor family: the dual of the capacitor. Its state is the current
// of each winding, NaN while no initial condition is known, so that the
// initial-state analysis may add or remove one.
//
// | type    | models                                    |
// | "L_L"   | "L" (14), "PWL" (11): L(I), "SubCir" (10) |
// | "L_VCL" | "PWL" (11): L chosen by the voltage of pins 2, 3 |
// | "L_CCL" | "PWL" (11): L chosen by the current through pins 2, 3 |
// | "L_CL"  | "L" (14): two coupled windings, pins 0, 1 and 2, 3 |
//
// A winding with a known current in the DC equations is a current source
// whose value moves by the voltage over L; with the derivatives it is a
// short whose current obeys v = L di/dt. The coupled pair writes its mutual
// inductance straight into MatrixC. A controlled inductor that changes its
// segment keeps its flux: the current jumps and the solver returns to the
// operating point.
#pragma once

#include "components/cmp.h"
#include "expr/formula.h"

namespace qz3 {

extern const CParamTable kInductorParams;
extern const CModelInfo kModelsLL[];
extern const CModelInfo kModelsLVcl[];
extern const CModelInfo kModelsLCcl[];
extern const CModelInfo kModelsLCl[];

class CElemL : public CCmp {
public:
    explicit CElemL(const CCmpType* type);

    bool Simulate(CSolverPort* calc, int phase, double t) override;
    bool StampsHoldBetweenEvents() const override { return true; }
    uint32_t SimulatedPhases() const override {
        return PhaseBit(PhaseInit) | PhaseBit(PhaseStore) | PhaseBit(PhaseCheckIC) | PhaseBit(PhaseStamp) | PhaseBit(PhasePins);
    }
    std::string GetState() override;
    std::string SaveIC(std::string& out, int index, bool apply) override;
    bool CheckState(CSolverPort* calc, bool commit, bool* changed) override;
    void Transform(const CTransform& edit) override;
    void* ICMemory(int op) override;

    double icMemory[3] = {};
    CFormula l;           // L or L1, "H"
    CFormula ic;          // IC or IC1, "A", blank allowed
    double i;             // current of winding 1
    CFormula l2;          // L2, "H"
    CFormula ic2;         // IC2, "A", blank allowed
    CFormula k12;         // K12
    double i2;            // current of winding 2

private:
    bool IsCoupled() const;
    // The inductance of winding 1: `l`, or the slope of the present segment.
    double Inductance() const;
    void Init(CSolverPort* calc);
    void Store(CSolverPort* calc);
    bool Stamp(CSolverPort* calc);
    void StampSingle(CSolverPort* calc, int a, int b, int k);
    void StampCoupled(CSolverPort* calc);
    bool CheckIC(CSolverPort* calc);
};

}  // namespace qz3
