// Logic generators: "Y_LG" runs a signal from the start; "Y_CLG" runs it
// while a logic input is high; "Y_VCLG" and "Y_CCLG" follow a threshold on
// a voltage or a current.
//
// The output is a logic output like a gate's: a row forced to the
// document's high or low level in the second stamping pass. The time models
// take the level from the signal (CSignal::IsHigh); "Gate" follows the
// control with a hysteresis, "One-shot" gives a pulse of `Width` at each
// rising control, "High" and "Low" stay put and ignore the view. View 1
// inverts the output of every other model. The control side works as a
// controlled switch's does, so the signal machinery is the switches' own.
// "Gate" and the controlled time models move inside the switching search,
// so they change at the control's own edge or located crossing, as gates do.
#pragma once

#include "components/switch_base.h"
#include "expr/formula.h"

namespace qz3 {

extern const CParamTable kLogicGeneratorParams;
extern const CModelInfo kModelsLogicGenerator[];
extern const CModelInfo kModelsLogicControlledGenerator[];
extern const CModelInfo kModelsVoltageControlledGenerator[];
extern const CModelInfo kModelsCurrentControlledGenerator[];

class CElemLG : public CSwitchBase {
public:
    explicit CElemLG(const CCmpType* type);

    bool Xml(CXmlNode* node, bool modelOnly) override;
    bool CheckParams(CSolverPort* calc) override;
    int PinKind(int pin) const override;
    bool Simulate(CSolverPort* calc, int phase, double t) override;
    std::string GetState() override;
    bool CheckState(CSolverPort* calc, bool commit, bool* changed) override;
    bool CheckSegment(CSolverPort* calc, bool commit) override;
    void NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) override;
    bool GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* r) override;

    CFormula threshold;
    CFormula hysteresis;
    int32_t ic = 0;     // the start level of "Gate"
    double tEnd = 0.0;  // end of the pulse of "One-shot"

private:
    bool IsControlled() const { return type != TypeId::LogicGenerator; }
    // The control minus its threshold, and half the hysteresis band.
    double Control(const CSolverPort* calc) const;
    double HalfBand() const;
    // The level before the view: the signal's, or `state`.
    int Level() const;
    bool Init(CSolverPort* calc, double t);
    void ReadStored(const std::string& stored);
    bool Stamp(CSolverPort* calc);
    bool RunSignalInSearch(CSolverPort* calc, bool commit);
    void SetPinGroups();
};

}  // namespace qz3
