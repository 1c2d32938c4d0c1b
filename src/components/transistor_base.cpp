#include "components/transistor_base.h"

#include <cmath>

#include "base/constants.h"
#include "components/element_state.h"
#include "components/solver_port.h"
#include "expr/state_text.h"

namespace qz3 {

// Pins joined in the file can't be told apart by any junction: the element
// would sit in the circuit doing nothing, which is always a wiring mistake.
bool CTransistorBase::CheckParams(CSolverPort* calc) {
    bool ok = CheckParamRows(this, calc);
    bool joined = pinCount > 1 && nodes[0] >= 0;
    for (int p = 1; p < pinCount && joined; ++p) joined = nodes[p] == nodes[0];
    if (joined) ok = AddCmpError(calc, "all pins on one node");
    return ok;
}

// A lag of time |gain|/(2 pi f1) on the output: with a current gain that is
// the single pole of a gain falling to one at f1. A gain of 0 or no positive
// corner leaves the output at zero.
void CTransistorBase::StampLaggedOutput(CSolverPort* calc, int from, int to, int k, double gain, double held) {
    const double pole = f1.m_Value;
    if (gain == 0.0 || !(pole > 0.0)) {
        StampGain(calc, 0.0);
        return;
    }
    if (std::isinf(pole)) {
        StampGain(calc, gain);
        return;
    }
    if (calc->Integrating() == 0) {
        if (std::isnan(held)) StampGain(calc, gain);
        else calc->StampCurrent(to, from, k, held);
        return;
    }
    StampGain(calc, gain);
    double lag = 0.5 / pole / kPi;
    if (!std::isinf(gain)) lag *= std::fabs(gain);
    if (!calc->IsTransient()) lag *= calc->Omega();
    calc->SetC(k, k, lag);
}

void CTransistorBase::Init(CSolverPort* calc) {
    if (ModelChanged()) InitState();
    if (lastModel != ModelId::None) return;
    i = ic.m_Value;
    const std::string stored = StoredState(calc, this);
    if (!stored.empty()) LoadStoredState(stored);
}

void CTransistorBase::LoadStoredState(const std::string& stored) {
    state = KeyInt(stored, "s", state);
    i = KeyHex(stored, "i", i);
}

std::string CTransistorBase::SaveIC(std::string& out, int index, bool apply) {
    out.clear();
    if (model == ModelId::SubCir) return out;
    const std::string text = StateForIC(this, index, index == 0 ? GetState() : std::string());
    if (text.empty()) return out;
    const int s = KeyInt(text, "s", state);
    if (model != ModelId::Switch) {
        out = ModelIC(text, s, apply);
        return out;
    }
    if (apply) icSwitch = s != 0;
    out = s != 0 ? "IC=On" : "IC=Off";
    return out;
}

std::string CTransistorBase::CurrentIC(const std::string& text, bool apply) {
    const double value = KeyHex(text, "i", ic.m_Value);
    if (apply) ic.SetValue(value);
    return ParamText("IC", value);
}

std::string CTransistorBase::StateText(bool withCurrent) const {
    std::string text;
    AddKeyInt(text, "s", state);
    if (withCurrent) AddKeyHex(text, "i", i);
    return text;
}

}  // namespace qz3
