// The bipolar transistors, "T_TNPN" and "T_TPNP": pin 0 the base, pin 1 the
// emitter, pin 2 the collector. No exponential law: ideal junctions and a
// controlled current.
//
// | model        | branches | what it is |
// | "Linear"     | 2 | base and emitter shorted (k + 1 the base current),
//                      collector current k = B times it, lagging with f1 |
// | "Switch"     | 2 | the base-emitter junction an ideal diode at Vbe
//                      (k + 1), the collector-emitter path an ideal switch
//                      (k) that follows the junction one state pass later |
// | "Transistor" | 3 | two junctions: base-emitter at Vbe (k, bit 0 of
//                      `state`), base-collector at Vsat (k + 2, bit 1); the
//                      collector feeds the base with g = B/(B + 1) of the
//                      base-emitter current (k + 1), so that the collector
//                      current is B times the base current while the
//                      base-collector junction is open |
//
// In model "Transistor" the solver's search tries the four junction
// combinations like any element's states: both open is cut off, the
// base-emitter one alone the active region, both on saturation, where the
// collector sits Vbe - Vsat above the emitter. A PNP is the NPN with every
// junction and current turned round.
#pragma once

#include "components/transistor_base.h"
#include "expr/formula.h"
#include "expr/param.h"

namespace qz3 {

extern const CParamTable kBipolarParams;
extern const CModelInfo kModelsNpn[];
extern const CModelInfo kModelsPnp[];

class CElemT : public CTransistorBase {
public:
    explicit CElemT(const CCmpType* type) : CTransistorBase(type) {}

    bool Simulate(CSolverPort* calc, int phase, double t) override;
    std::string GetState() override;
    bool CheckState(CSolverPort* calc, bool commit, bool* changed) override;
    bool GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* r) override;
    void GetTraceValue(CSolverPort* calc, int kind, double* value, double* value2) override;
    void Transform(const CTransform& edit) override;
    bool SegmentRange(int* first, int* last) override;
    bool CheckSegment(CSolverPort* calc, bool commit) override;
    // The junctions open with a leak on request, as diodes do.
    bool CanSoftOpen() const override { return HasJunctions(); }

    CFormula b;            // B: current gain, A/A
    CFormula vbe;          // Vbe: base-emitter drop when on, V
    CFormula vsat;         // Vsat: base-collector drop when saturated, V
    int32_t icBe = 0;      // ICbe, ICbc of "Transistor": the junctions at the start
    int32_t icBc = 0;
    int32_t swOut = 0;     // "Switch": the position of the output

protected:
    void StampGain(CSolverPort* calc, double g) override;
    std::string ModelIC(const std::string& text, int s, bool apply) override;

private:
    // +1 for the NPN, -1 for the PNP.
    int Sign() const { return type == TypeId::Pnp ? -1 : 1; }
    bool HasJunctions() const { return model == ModelId::Switch || model == ModelId::Transistor; }
    // The junction from the base to `pin` (emitter or collector) as the node
    // pair of a diode stamp: it conducts from `b` into `a`.
    void Junction(int pin, int* a, int* b) const;
    double Gain() const;
    void InitState() override;
    void LoadStoredState(const std::string& stored) override;
    bool Stamp(CSolverPort* calc);
    bool CheckJunction(CSolverPort* calc, bool commit, int bit, int pin, int k, double drop);
    bool CheckJunctions(CSolverPort* calc, bool commit);
    bool FloatFix(CSolverPort* calc);
    // Currents into the base, emitter and collector pins.
    void PinCurrents(const CSolverPort* calc, double* base, double* emitter, double* collector) const;
};

}  // namespace qz3
