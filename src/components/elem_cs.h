// The switch moved by a control pin: a logic level ("S_LCS", "S_LCS3"), a
// voltage ("S_VCS", "S_VCS3") or a current ("S_CCS", "S_CCS3"), the types
// ending in 3 with a second contact.
//
// The control value c is the control minus its threshold (the document's
// logic threshold for the logic types). Models: "Switch" follows c with a
// hysteresis; "One-shot" closes for `Width` on each rising c; "Steps" walks
// its resistance between Roff and Ron in N steps over `Ramp`; the time
// models of the logic types run their signal while c is above 0; "On" and
// "Off" stay put.
#pragma once

#include "components/switch_base.h"
#include "expr/formula.h"
#include "expr/param.h"

namespace qz3 {

extern const CParamTable kControlledSwitchParams;
extern const CModelInfo kModelsSLcs[];
extern const CModelInfo kModelsSLcs3[];
extern const CModelInfo kModelsSVcs[];
extern const CModelInfo kModelsSCcs[];
extern const CModelInfo kModelsSVcs3[];
extern const CModelInfo kModelsSCcs3[];

class CElemCS : public CSwitchBase {
public:
    explicit CElemCS(const CCmpType* type);

    bool Xml(CXmlNode* node, bool modelOnly) override;
    bool CheckParams(CSolverPort* calc) override;
    int PinKind(int pin) const override;
    bool Simulate(CSolverPort* calc, int phase, double t) override;
    std::string GetState() override;
    std::string SaveIC(std::string& out, int index, bool apply) override;
    bool CheckState(CSolverPort* calc, bool commit, bool* changed) override;
    void NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) override;
    bool IsOn() const override;

    // The resistance of "Steps" at step s of N.
    double StepResistance(int s) const;

    CFormula threshold;
    CFormula hysteresis;
    CFormula width;
    CFormula roff;
    CFormula ron;
    CFormula steps;
    ChoiceValue slope;  // "Linear", "Cos", "Log"
    CFormula ramp;
    int32_t ic = 0;
    double tEnd = 0.0;  // next time of a timer
    int32_t step = 0;   // present step of "Steps"
    int32_t stepCount = 0;

private:
    bool IsLogic() const;
    bool IsCurrent() const;
    double Control(const CSolverPort* calc) const;
    bool Init(CSolverPort* calc, double t);
    void ReadStored(const std::string& stored);
    bool Stamp(CSolverPort* calc);
    void CheckTimeModel(CSolverPort* calc, double c, bool commit, bool* changed);
    void CheckSteps(CSolverPort* calc, double c, bool commit, bool* changed);
    double StepTime() const { return ramp.m_Value / (stepCount - 1); }
    void NextStep(double t, double* tNext, double* stepMax);
    void SetPinGroups();
};

}  // namespace qz3
