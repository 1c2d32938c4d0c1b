// The ideal diode and everything built on it, in one class.
//
// | type     | models |
// | "D_D"    | "Diode" (15), "PWL" (11), "Storage" (42), "Soft" (51), "SubCir" |
// | "D_Z"    | "Zener" (15), "PWL", "SubCir": forward at Vd, reverse at -V |
// | "D_ZS"   | "Zener" (15), "PWL", "SubCir": conducts at +V and -V |
// | "D_VCT", "D_CCT", "D_LCT" | "Thyristor" (15), "SubCir": gated by a
//              voltage, a current or a logic level |
// | "D_BR", "D_RING" | "Diode" (15): four diodes, one bit of `state` each |
//
// No exponential law: each element is a set of linear states (`state` 0
// off, 1 on, -1 on in reverse), and the solver's switching search picks
// them with CheckDiode. `stage` is the second word of the cycle: for a
// thyristor 0 blocked, 1 gate active, 2 latched; for "Storage" whether
// charge is stored; for "Soft" storage (0) or recovery (1). The stored
// charge q of the last two is the second unknown, dq/dt = i - q/t.
#pragma once

#include "components/cmp.h"
#include "expr/formula.h"
#include "expr/param.h"

namespace qz3 {

extern const CParamTable kDiodeParams;
extern const CModelInfo kModelsDD[];
extern const CModelInfo kModelsDZ[];
extern const CModelInfo kModelsDZs[];
extern const CModelInfo kModelsDVct[];
extern const CModelInfo kModelsDCct[];
extern const CModelInfo kModelsDLct[];
extern const CModelInfo kModelsDBridge[];

class CElemD : public CCmp {
public:
    explicit CElemD(const CCmpType* type);

    bool Xml(CXmlNode* node, bool modelOnly) override;
    int PinKind(int pin) const override;
    bool Simulate(CSolverPort* calc, int phase, double t) override;
    bool StampsHoldBetweenEvents() const override { return true; }
    uint32_t SimulatedPhases() const override {
        return PhaseBit(PhaseInit) | PhaseBit(PhaseStore) | PhaseBit(PhaseStamp) | PhaseBit(PhaseFloat) | PhaseBit(PhasePins);
    }
    std::string GetState() override;
    std::string SaveIC(std::string& out, int index, bool apply) override;
    bool CheckState(CSolverPort* calc, bool commit, bool* changed) override;
    bool GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* r) override;
    void GetTraceValue(CSolverPort* calc, int kind, double* value, double* value2) override;
    void Transform(const CTransform& edit) override;
    bool SegmentRange(int* first, int* last) override;
    bool CheckSegment(CSolverPort* calc, bool commit) override;
    // The ideal-diode models (diode, zener, thyristor, bridge, ring) open
    // with a leak on request.
    bool CanSoftOpen() const override { return model == ModelId::Diode; }

    CFormula vd;              // Vd: forward drop, V
    CFormula v;               // V: zener voltage, V
    CFormula t;               // t: carrier life time, s
    CFormula ts;              // ts: recovery time of "Soft", s
    int32_t ic = 0;           // IC, "On" / "Off"
    ChoiceValue icZ;          // IC of the zeners: "Minus", "Off", "Plus"
    CFormula icq;             // ICQ: charge at start, A*s
    CFormula threshold;       // Threshold of the gate, V or A
    CFormula ihold;           // Ihold: holding current, A
    double q = 0.0;           // stored charge
    double i0 = 0.0;          // "Soft": current level that ends the recovery
    int32_t stage = 0;

private:
    bool IsThyristor() const;
    bool IsQuad() const;
    bool HasCharge() const;
    bool HasIC() const;
    void Init(CSolverPort* calc);
    void InitState();
    bool Stamp(CSolverPort* calc);
    void StampQuad(CSolverPort* calc);
    void StampChargeRow(CSolverPort* calc, double lifeTime);
    void StampSoft(CSolverPort* calc);
    bool CheckQuad(CSolverPort* calc, bool commit);
    bool CheckThyristor(CSolverPort* calc, bool commit);
    void CheckGate(CSolverPort* calc, bool commit, bool* changed);
    void CheckStorage(CSolverPort* calc, bool commit, bool* changed);
    void CheckSoft(CSolverPort* calc, bool commit, bool* changed);
    double GateLevel(const CSolverPort* calc) const;
    bool FloatFix(CSolverPort* calc);
    void SetPinGroups();
    // Diode n of a bridge or ring as the node pair of its stamp: it conducts
    // from `b` to `a`, like pins 1 and 0 of a single diode.
    void QuadPair(int n, int* a, int* b) const;
};

}  // namespace qz3
