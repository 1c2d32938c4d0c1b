// The switch moved by time alone: "S_S" (contact 0, common 1) and the SPDT
// "S_S3" (second contact 2). Its position is "On", "Off", or the level of
// its signal generator in the time models.
#pragma once

#include "components/switch_base.h"

namespace qz3 {

extern const CParamTable kTimeSwitchParams;
extern const CModelInfo kModelsSS[];
extern const CModelInfo kModelsSS3[];

class CElemS : public CSwitchBase {
public:
    explicit CElemS(const CCmpType* type) : CSwitchBase(type) {}

    bool Xml(CXmlNode* node, bool modelOnly) override;
    bool CheckParams(CSolverPort* calc) override;
    bool Simulate(CSolverPort* calc, int phase, double t) override;
    bool StampsHoldBetweenEvents() const override { return true; }
    uint32_t SimulatedPhases() const override {
        return PhaseBit(PhaseInit) | PhaseBit(PhaseReset) | PhaseBit(PhaseStamp) | PhaseBit(PhaseSources) | PhaseBit(PhasePins);
    }
    std::string GetState() override;
    std::string SaveIC(std::string& out, int index, bool apply) override;
    bool CheckState(CSolverPort* calc, bool commit, bool* changed) override;
    void NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) override;
    bool IsOn() const override;

    double tSources = 0.0;  // time of the last PhaseSources, "t" of the state text

private:
    bool Init(CSolverPort* calc, double t);
};

}  // namespace qz3
