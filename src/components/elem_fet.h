// The field-effect transistors, "T_NFET" and "T_PFET": pin 0 the gate, pin 1
// the source, pin 2 the drain. One branch, the drain current k, counted from
// drain to source inside the element. No square law: a channel that is a
// resistance or a current source, chosen by the solver's search.
//
// | model    | what it is |
// | "Linear" | drain current S times the gate-source voltage, lagging with f1 |
// | "Switch" | an ideal switch from drain to source, closed while the gate
//              is beyond Vth, followed at the state check |
// | "FET"    | `state` 0 off, 1 resistive (Rdson), 2 saturated at S times
//              the overdrive, 3 saturated with the drain below the source |
// | "FET-D"  | "FET" with a body diode at Vd across the channel, `state` 4 |
//
// The overdrive is the gate-source voltage beyond Vth. The channel is
// resistive while |Vds| stays below Rdson times the saturation current,
// and saturated beyond. A P-FET is the N-FET with every voltage and current
// turned round: its Vth is a gate-source voltage too, usually negative, its
// state 2 conducts from source to drain, and its body diode from drain to
// source.
#pragma once

#include "components/transistor_base.h"
#include "expr/formula.h"
#include "expr/param.h"

namespace qz3 {

extern const CParamTable kFetParams;
extern const CModelInfo kModelsNFet[];
extern const CModelInfo kModelsPFet[];

class CElemFET : public CTransistorBase {
public:
    explicit CElemFET(const CCmpType* type) : CTransistorBase(type) {}

    bool Xml(CXmlNode* node, bool modelOnly) override;
    bool Simulate(CSolverPort* calc, int phase, double t) override;
    std::string GetState() override;
    bool CheckState(CSolverPort* calc, bool commit, bool* changed) override;
    bool GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* r) override;
    void Transform(const CTransform& edit) override;
    bool SegmentRange(int* first, int* last) override;
    bool CheckSegment(CSolverPort* calc, bool commit) override;

    CFormula s;            // S: transconductance, A/V
    CFormula vth;          // Vth: gate-source threshold, V
    CFormula rdson;        // Rdson: channel resistance when on, Ohm
    CFormula vd;           // Vd: body diode drop, V ("FET-D")
    ChoiceValue icFet;     // IC of "FET": the start state
    ChoiceValue icFetD;    // IC of "FET-D": the start state

protected:
    void StampGain(CSolverPort* calc, double g) override;
    std::string ModelIC(const std::string& text, int s, bool apply) override;

private:
    // The channel's quantities as an N-FET sees them.
    struct CChannel {
        double overdrive;  // gate-source voltage beyond Vth
        double vds;        // drain against source
        double current;    // drain current
        double bodyBias;   // vds + Vd: below 0 the body diode conducts
        double knee;       // |vds| where the resistance meets saturation
        double saturation; // |S * overdrive|
    };

    // +1 for the N-FET, -1 for the P-FET.
    int Sign() const { return type == TypeId::PFet ? -1 : 1; }
    bool HasChannelStates() const { return model == ModelId::Fet || model == ModelId::FetD; }
    void InitState() override;
    bool Stamp(CSolverPort* calc);
    CChannel Channel(const CSolverPort* calc) const;
    int NextChannelState(const CSolverPort* calc, const CChannel& ch) const;
    int NextBodyDiodeState(const CChannel& ch) const;
};

}  // namespace qz3
