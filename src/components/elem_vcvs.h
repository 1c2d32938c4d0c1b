// The controlled sources: a voltage or current output driven by a voltage
// or current control.
//
// | type     | number | output         | control                   |
// | "V_VCVS" | 64     | voltage, 0, 1  | voltage, pins 2, 3        |
// | "V_CCVS" | 65     | voltage, 0, 1  | current through pins 2, 3 |
// | "I_VCCS" | 29     | current, 0, 1  | voltage, pins 2, 3        |
// | "I_CCCS" | 30     | current, 0, 1  | current through pins 2, 3 |
//
// The control u is x[pin 3] - x[pin 2], or the current of branch k + 1 that
// shorts pins 2 and 3. Branch k is the output's: the current of a voltage
// output, or the output current itself.
//
// Models: a gain ("Linear"), a constant ("V"/"I"), a formula of t and u
// ("Function"), a characteristic ("PWL"), an oscillator whose frequency
// follows u ("VCO"/"CCO": the phase is accumulated, so a change of u never
// makes the wave jump), a pulse of fixed width on each rising crossing of a
// threshold ("One-shot"), and a pulse-width modulator ("PWM": each period's
// width is T/Vmax*u, its edges landed as events).
#pragma once

#include "components/cmp.h"
#include "components/run_formula.h"
#include "expr/formula.h"
#include "expr/param.h"

namespace qz3 {

extern const CParamTable kControlledSourceParams;
extern const CModelInfo kModelsVCVS[];
extern const CModelInfo kModelsCCVS[];
extern const CModelInfo kModelsVCCS[];
extern const CModelInfo kModelsCCCS[];

class CElemVCVS : public CCmp {
public:
    explicit CElemVCVS(const CCmpType* type);

    bool Simulate(CSolverPort* calc, int phase, double t) override;
    std::string GetState() override;
    bool CheckState(CSolverPort* calc, bool commit, bool* changed) override;
    void NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) override;

    bool IsVoltageOutput() const { return type == TypeId::Vcvs || type == TypeId::Ccvs; }
    bool IsCurrentControl() const { return type == TypeId::Ccvs || type == TypeId::Cccs; }

    CFormula k;           // K
    std::string f;        // "Function": the output as a formula of t and u
    CFormula ic;          // "Function": the output before the first evaluation
    CFormula value;       // "V" / "I"
    CFormula v0;          // low level
    CFormula v1;          // high level, or the amplitude of a sine
    CFormula phase;       // degrees
    CFormula vmax;        // "PWM": the control of a full period
    ChoiceValue vcoType;  // 0 "Sin", 1 "Square", 2 "Triangle", 3 "Sawtooth"
    CFormula threshold;   // "One-shot"
    CFormula width;       // "One-shot"
    CFormula dfdv;        // "VCO": Hz per unit of control
    CFormula fpwm;        // "PWM": frequency

    double out = 0.0;    // "Function": the last value of f
    double acc = 0.0;    // "VCO": phase in turns; "PWM": start of the next period
    double tLast = 0.0;  // "VCO": time of the last update; "PWM", "One-shot": next time
    double gain = 0.0;   // small-signal gain of f

private:
    double Control(const CSolverPort* calc) const;
    bool Init(CSolverPort* calc, double t);
    void LoadStoredState(CSolverPort* calc);
    bool Stamp(CSolverPort* calc);
    bool StampGain(CSolverPort* calc, double g);
    bool Sources(CSolverPort* calc, double t);
    double OscillatorValue(double t, double u);
    void PwmEvent(double t, double u, double* tNext, double* stepMax);
    void SetPinGroups();

    CRunFormula m_Formula;
};

}  // namespace qz3
