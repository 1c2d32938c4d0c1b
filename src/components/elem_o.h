// The amplifiers: one input, a difference of two, with a reference, fully
// differential, with current input or output, summing, or with a gain that
// a control sets.
//
// | type    | number | pins                                              |
// | "O_O"   | 36     | 0 input, 1 output                                 |
// | "O_OD"  | 37     | 0 input +, 1 output, 2 input -                    |
// | "O_OS"  | 38     | 0, 2 inputs summed, 1 output                      |
// | "O_VCG" | 39     | 0 input, 1 output, 2, 3 gain control voltage      |
// | "O_CCG" | 40     | 0 input, 1 output, 2, 3 gain control current      |
// | "O_VC"  | 41     | 0 input +, 1 current output, 2 input -            |
// | "O_CV"  | 42     | 0, 2 current input, 1 output                      |
// | "O_CC"  | 43     | 0, 2 current input, 1 current output              |
// | "O_FD"  | 44     | 0 input +, 2 input -, 1 output +, 3 output -, 4 common |
// | "O_REF" | 45     | as "O_OD", 3 reference                            |
//
// Branch k holds the output quantity o: the output node's current for a
// plain voltage output (the row of k then says what the node's voltage is),
// else the output itself (a current, or the voltage above the reference or
// between the differential outputs). A current input or control is shorted
// through branch k + 1.
//
// The models are a gain with limits and an optional pole ("Linear",
// "OpAmp"), a comparator with hysteresis and delay, a formula of the input,
// and a characteristic. An "OpAmp" is in one of three states: inside its
// limits (0), at the upper (1) or at the lower one (-1). Without a pole the
// switching search finds the state with the rest of the circuit; with one,
// the output moves continuously and the limits are events in time.
#pragma once

#include "components/cmp.h"
#include "components/run_formula.h"
#include "expr/formula.h"

namespace qz3 {

extern const CParamTable kAmplifierParams;
extern const CModelInfo kModelsOO[];
extern const CModelInfo kModelsOOD[];
extern const CModelInfo kModelsOOS[];
extern const CModelInfo kModelsOVC[];
extern const CModelInfo kModelsOCV[];
extern const CModelInfo kModelsOCC[];
extern const CModelInfo kModelsOVCG[];
extern const CModelInfo kModelsOCCG[];

class CElemO : public CCmp {
public:
    explicit CElemO(const CCmpType* type);

    bool CheckParams(CSolverPort* calc) override { return CheckParamRows(this, calc); }
    bool Simulate(CSolverPort* calc, int phase, double t) override;
    std::string GetState() override;
    std::string SaveIC(std::string& out, int index, bool apply) override;
    bool CheckState(CSolverPort* calc, bool commit, bool* changed) override;
    void NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) override;
    bool SegmentRange(int* first, int* last) override;
    bool CheckSegment(CSolverPort* calc, bool commit) override;

    CFormula k;           // K; +infinity is the ideal amplifier
    CFormula f1;          // f1: gain-bandwidth pole; infinite for none
    CFormula vhi;         // Vhi / Ihi
    CFormula vlo;         // Vlo / Ilo
    CFormula hysteresis;  // comparator
    std::string f;        // "Function": the output as a formula of t and s
    CFormula delay;       // comparator
    CFormula linIc;       // IC of "Linear", blank for none
    CFormula opampIc;     // IC of "OpAmp"
    CFormula funcIc;      // IC of "Function"
    int32_t compIc = 0;   // IC of "Comparator": 0 "Low", 1 "High"

    double v = 0.0;       // the output, kept between runs and steps
    int cs = 0;           // comparator: the position the input has reached
    double tEnd = 0.0;    // comparator: the delayed position takes over then
    double gain = 0.0;    // small-signal gain of `f`

    // Per type: -1 a difference of two inputs, +1 a sum, 0 one input.
    int inputSign = 0;
    // 0 a plain output, 1 above a reference, 2 fully differential.
    int outputMode = 0;
    bool voltageIn = true;
    bool voltageOut = true;

private:
    void SetTableLabels();
    bool IsGainControlled() const;
    // The unknown that holds the output quantity.
    int Output() const;
    // The input quantity from the present solution.
    double Input(const CSolverPort* calc) const;
    // The gain control of "O_VCG" / "O_CCG".
    double GainControl(const CSolverPort* calc) const;

    bool Init(CSolverPort* calc, double t);
    void InitLimits();
    void LoadStoredState(CSolverPort* calc);
    bool Stamp(CSolverPort* calc);
    bool StampOutputRows(CSolverPort* calc);
    void StampInputShort(CSolverPort* calc);
    bool StampModelRow(CSolverPort* calc);
    void StampGainRow(CSolverPort* calc);
    void SetGain(CSolverPort* calc, double g);
    bool CheckIC(CSolverPort* calc);
    void SetPinGroups();

    // The limits of an "OpAmp" as a state search; the pole decides where
    // the rule is asked (CheckSegment without one, CheckState with one).
    bool LimitsApply() const;
    bool LimitsInSearch() const;
    bool CheckLimits(CSolverPort* calc, bool commit);
    bool CheckComparator(CSolverPort* calc, bool commit);

    CRunFormula m_Formula;
};

}  // namespace qz3
