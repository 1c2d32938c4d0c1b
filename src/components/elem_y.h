// Logic gates, the Schmitt trigger, the custom gate, the gate with a formula
// and the flip-flops: "Y_1", "Y_2_AND" .. "Y_3_XOR", "Y_CUSTOM", "Y_ST",
// "Y_FUNCTION", "Y_FF", "Y_RS", "Y_JK".
//
// An input is a node compared with the document's logic threshold; an
// output is a row forced to the document's high or low level in the second
// stamping pass. `state` (and `state2` for the second output of a
// flip-flop) is the level the inputs ask for; `out` and `out2` are what
// other elements see. Model "Logic" passes a change at once; "Delay" and
// "Delay2" keep it pending in `tOut`/`tOut2` and land it as an event, so a
// pulse shorter than the delay never comes out.
//
// The evaluation runs inside the switching search (CheckSegment): a gate
// whose input moves at an event takes its new level at the event's own
// time, and a chain of gates without delay settles in one search. A ring
// that can't settle ends in the search's own bounds and its message.
#pragma once

#include <string>

#include "components/cmp.h"
#include "expr/formula.h"
#include "expr/param.h"
#include "expr/var_list.h"

namespace qz3 {

extern const CParamTable kLogicParams;
extern const CModelInfo kModelsGate[];
extern const CModelInfo kModelsSchmitt[];
extern const CModelInfo kModelsFlipFlop[];
extern const CModelInfo kModelsFlipFlopDominance[];
extern const CModelInfo kModelsLogicFunction[];

// No output change pending.
constexpr double kNoPending = -999.0;

class CElemY : public CCmp {
public:
    explicit CElemY(const CCmpType* type);

    void BeginCustom() override;
    void EndCustom() override;
    bool Xml(CXmlNode* node, bool modelOnly) override;
    bool CheckParams(CSolverPort* calc) override;
    int PinKind(int pin) const override { return kPinSensing; }
    std::string PinName(int pin) const override;
    bool Simulate(CSolverPort* calc, int phase, double t) override;
    std::string GetState() override;
    std::string SaveIC(std::string& out, int index, bool apply) override;
    bool CheckState(CSolverPort* calc, bool commit, bool* changed) override;
    bool CheckSegment(CSolverPort* calc, bool commit) override;
    void NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) override;
    bool GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* r) override;
    bool NextView(int delta) override;

    bool IsFlipFlop() const;
    // The pin the single output of a gate stands on.
    int OutputPin() const;
    int InputCount() const;

    CFormula delay;       // Delay, or Up of "Delay2"
    CFormula down;        // Down of "Delay2"
    CFormula hysteresis;  // Hysteresis of "Y_ST"
    ChoiceValue dominance;
    std::string func;     // f of "Y_FUNCTION"
    int32_t ic = 0;
    int32_t out = 0;
    double tOut = kNoPending;
    int32_t out2 = 1;
    double tOut2 = kNoPending;
    int32_t lastClock = -1;
    int32_t clocked = 0;
    int32_t mode = 0;     // "Y_CUSTOM": 0 and, 1 or, 2 xor
    CVarList vars;        // "t" and the input names of f

private:
    // The levels the inputs ask for now; the clock reading is stored only
    // with commit. False when the formula fails (its text kept).
    bool Wanted(CSolverPort* calc, bool commit, int& e, int& e2);
    int Level(const CSolverPort* calc, int pin) const;
    int GateLevel(const CSolverPort* calc) const;
    int SchmittLevel(const CSolverPort* calc) const;
    bool FunctionLevel(CSolverPort* calc, bool commit, int& e);
    void FlipFlopLevels(const CSolverPort* calc, bool commit, int& e, int& e2);
    void SetResetLevels(const CSolverPort* calc, bool commit, int& e, int& e2);
    // The clock moved to the active level since the last reading.
    bool ClockEdge(int clock, bool commit);
    int ClockPin() const { return type == TypeId::LogicalFunction ? pinCount - 1 : 1; }
    int ClockLevel(const CSolverPort* calc) const;
    void TrackClock(const CSolverPort* calc);
    // The wanted level e goes to an output by the model's rule.
    void Drive(CSolverPort* calc, int e, int32_t& seen, double& pending) const;
    void LandPending(double t, int32_t wanted, int32_t& seen, double& pending, double* tNext, double* stepMax) const;
    double DelayFor(int level) const;
    double ShortestDelay() const;

    bool Init(CSolverPort* calc, double t);
    void ReadStored(const std::string& stored);
    bool PrepareFunction(CSolverPort* calc);
    bool Stamp(CSolverPort* calc);
    void SetPinGroups();

    // The failure of f found inside the search, reported by CheckState.
    std::string m_FunctionError;
    CValue* m_TimeSlot = nullptr;
    int m_InputSlots = 0;
};

}  // namespace qz3
