// What the bipolar and the field-effect transistors share.
//
// Both have a "Linear" model: an output current, branch k, that follows a
// gain times a control (the base current, the gate voltage) through a lag
// whose corner f1 is where the current gain has fallen to one. The DC form
// of the lag holds the output at `i`, the current of the last stored point,
// as a capacitor holds its voltage; with no value yet it is the plain gain.
// Both refuse a transistor whose pins all sit on one node.
#pragma once

#include <limits>
#include <string>

#include "components/cmp.h"
#include "expr/formula.h"

namespace qz3 {

class CTransistorBase : public CCmp {
public:
    explicit CTransistorBase(const CCmpType* type) : CCmp(type) {}

    bool CheckParams(CSolverPort* calc) override;
    // "Switch" gives its IC as "On" or "Off"; the other models say theirs
    // in ModelIC.
    std::string SaveIC(std::string& out, int index, bool apply) override;

    CFormula f1;  // f1: corner of the output lag, Hz; infinite for none
    CFormula ic;  // IC: output current at the start, A; empty for none
    int32_t icSwitch = 0;  // IC of "Switch": on at the start
    double i = std::numeric_limits<double>::quiet_NaN();  // output current the DC form holds

protected:
    // Enters x[k] = g times the control for the output branch of the model.
    virtual void StampGain(CSolverPort* calc, double g) = 0;
    // The output branch k carries its current from node `from` to node `to`
    // inside the element; `held` is that current as the DC form keeps it.
    void StampLaggedOutput(CSolverPort* calc, int from, int to, int k, double gain, double held);
    // PhaseInit: a new model takes its start state; the first run of a model
    // takes `i` from IC, and both from the stored state it starts from.
    void Init(CSolverPort* calc);
    virtual void InitState() = 0;
    virtual void LoadStoredState(const std::string& stored);
    // The IC text of a model other than "Switch", from a state text whose
    // "s" is `s`; with `apply` the parameters take it.
    virtual std::string ModelIC(const std::string& text, int s, bool apply) = 0;
    // "IC=<value>" out of the key "i" of a state text.
    std::string CurrentIC(const std::string& text, bool apply);
    // The state text common to both: "s", and "i" where a current is kept.
    std::string StateText(bool withCurrent) const;
};

}  // namespace qz3
