// The capacitor family: the reference element with a dynamic state.
//
// | type    | pins                        | models                          |
// | "C_C"   | 0, 1                        | "C" (13), "PWL" (11): C(V), "SubCir" (10) |
// | "C_VCC" | 0, 1; 2, 3 control voltage  | "PWL" (11): C chosen by the control voltage |
// | "C_CCC" | 0, 1; 2, 3 control current  | "PWL" (11): C chosen by the control current |
//
// The state is the voltage v = x[pin 1] - x[pin 0], NaN while no initial
// condition is known. In the DC equations a capacitor with a voltage is a
// source of it and one without is open; with derivatives its branch current
// obeys i = C dv/dt. The initial-state analysis may add an IC (" : IC added")
// or take a given one away (" : IC removed") when the equations reject it.
// A controlled capacitor that changes its segment keeps its charge: the
// voltage jumps and the solver goes back to the operating point.
#pragma once

#include "components/cmp.h"
#include "expr/formula.h"

namespace qz3 {

extern const CParamTable kCapacitorParams;
extern const CModelInfo kModelsCC[];
extern const CModelInfo kModelsCVcc[];
extern const CModelInfo kModelsCCcc[];

class CElemC : public CCmp {
public:
    explicit CElemC(const CCmpType* type);

    int PinKind(int pin) const override;
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
    CFormula c;   // C, "F"
    CFormula ic;  // IC, "V", blank allowed
    double v;         // the voltage of the state; NaN: no IC, not known yet

private:
    bool IsControlled() const;
    // `c`, or the slope of the present segment.
    double Capacitance() const;
    void Init(CSolverPort* calc);
    bool Stamp(CSolverPort* calc);
    void StampOpen(CSolverPort* calc, int a, int b, int k);
    void StampDc(CSolverPort* calc, int a, int b, int k, double cap);
    void StampDynamic(CSolverPort* calc, int a, int b, int k, double cap);
    bool FollowControl(CSolverPort* calc, bool commit, bool* changedOut);
};

}  // namespace qz3
