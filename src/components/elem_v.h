// The independent sources: a voltage or current source that runs free or is
// started by a logic input, with every waveform of CSignal.
//
// | type   | number | pins                   |
// | "V_V"  | 62     | 0, 1                   |
// | "V_CV" | 63     | 0, 1; 2 logic control  |
// | "I_I"  | 27     | 0, 1                   |
// | "I_CI" | 28     | 0, 1; 2 logic control  |
//
// Each has one branch k: the current of a voltage source, or the current of
// a current source held as an unknown. A constant ("V"/"I") puts its value
// into VecB once; every time model (and a source driven by the host) marks
// k as an input row and writes its value into VecE at each time point, so a
// trapezoidal run needs no new factorisation for a changing source.
//
// "One-shot" (controlled types only) is not a CSignal waveform: a rising
// control sets `state` to 1 for `Width`, and the stamp takes V1 or V0.
// `state2` is the last sample of the control, `tEnd` the end of the pulse.
#pragma once

#include "components/cmp.h"
#include "expr/formula.h"
#include "waveforms/signal.h"

namespace qz3 {

extern const CParamTable kVoltageSourceParams;
extern const CParamTable kCurrentSourceParams;
extern const CModelInfo kModelsVV[];
extern const CModelInfo kModelsVCV[];
extern const CModelInfo kModelsII[];
extern const CModelInfo kModelsICI[];

class CElemV : public CCmp {
public:
    explicit CElemV(const CCmpType* type);

    bool Xml(CXmlNode* node, bool modelOnly) override;
    bool CheckParams(CSolverPort* calc) override;
    int PinKind(int pin) const override;
    bool Simulate(CSolverPort* calc, int phase, double t) override;
    bool StampsHoldBetweenEvents() const override { return true; }
    uint32_t SimulatedPhases() const override {
        return PhaseBit(PhaseInit) | PhaseBit(PhaseReset) | PhaseBit(PhaseStamp) | PhaseBit(PhaseSources) | PhaseBit(PhaseSample) | PhaseBit(PhasePins);
    }
    std::string GetState() override;
    std::string SaveIC(std::string& out, int index, bool apply) override;
    bool CheckState(CSolverPort* calc, bool commit, bool* changed) override;
    void NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) override;

    bool IsVoltage() const;
    bool IsControlled() const;
    // A waveform of CSignal ("Function" included).
    bool IsTimeModel() const;
    // The file holds the waveform's child for this model.
    virtual bool HasSignal() const { return model != ModelId::Source; }

    CFormula value;  // V or I, key "v"
    CSignal signal;
    double tEnd = 0.0;         // "One-shot": end of the pulse
    double lastSourceTime = 0.0;  // time of the last PhaseSources

protected:
    // The source's two sides; a one-pin source has ground below it.
    int Low() const;
    int High() const;

private:
    bool Init(CSolverPort* calc, double t);
    void LoadStoredState(CSolverPort* calc);
    bool Stamp(CSolverPort* calc);
    // The branch k follows a value written into VecE[k].
    bool StampInput(CSolverPort* calc);
    // The branch k holds the constant v in VecB[k].
    bool StampConstant(CSolverPort* calc, double v);
    bool Sources(CSolverPort* calc, double t);
    void SetPinGroups();
    // Control voltage minus the logic threshold.
    double Control(const CSolverPort* calc) const;
    void CheckControl(CSolverPort* calc, bool commit, bool* changedOut);
    void CheckClock(bool commit, bool* changedOut);
};

}  // namespace qz3
