#include "components/elem_s.h"

#include "components/element_state.h"
#include "xml/xml_node.h"
#include "expr/number_text.h"
#include "expr/state_text.h"
#include "components/solver_port.h"

namespace qz3 {

namespace {

using Time = SwitchTimeOrders<0>;

}  // namespace

const CParamTable kTimeSwitchParams = ParamTableOf(kSwitchTimeRows);

// The second way of "S_S3" has its own unknown in every model, "Clock"
// included, so that no way shares an unknown with another element.
#define QZ3_TIME_SWITCH_MODELS(b)                                                                                  \
    {"Off", ModelId::Off, nullptr, 0, b, kReadVIP}, {"On", ModelId::On, nullptr, 0, b, kReadVIP},                   \
        {"Step", ModelId::Step, Time::kStep, 0, b, kReadVIP}, {"Single", ModelId::Single, Time::kSingle, 0, b, kReadVIP}, \
        {"Pulse", ModelId::Pulse, Time::kPulse, 0, b, kReadVIP}, {"Clock", ModelId::Clock, Time::kClock, 0, b, kReadVIP}, \
        {"List", ModelId::List, Time::kList, 0, b, kReadVIP}, {"File", ModelId::File, Time::kFile, 0, b, kReadVIP},       \
        {"SubCir", ModelId::SubCir, nullptr, 0, 0}, {}

const CModelInfo kModelsSS[] = {QZ3_TIME_SWITCH_MODELS(1)};
const CModelInfo kModelsSS3[] = {QZ3_TIME_SWITCH_MODELS(2)};

#undef QZ3_TIME_SWITCH_MODELS

bool CElemS::Xml(CXmlNode* node, bool modelOnly) {
    CCmp::Xml(node, modelOnly);
    XmlSignal(node);
    return true;
}

bool CElemS::CheckParams(CSolverPort* calc) { return CheckSignal(calc); }

bool CElemS::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit: return Init(calc, t);
        case PhaseReset: signal.Reset(); return true;
        case PhaseStamp:
            if (calc->StampPass() != 0) return true;
            if (IsTimeModel(model)) state = SignalPosition();
            StampContacts(calc, state);
            return true;
        case PhaseSources: tSources = t; return true;
        case PhasePins: SetContactGroups(); return true;
        default: return true;
    }
}

bool CElemS::Init(CSolverPort* calc, double t) {
    if (model == ModelId::On) state = 1;
    if (model == ModelId::Off) state = 0;
    if (!IsTimeModel(model)) return true;
    if (!StartSignal(calc, t, true)) return false;
    if (lastModel == ModelId::None) {
        const std::string stored = StoredState(calc, this);
        if (!stored.empty()) signal.LoadState(stored);
    }
    state = SignalPosition();
    return true;
}

std::string CElemS::GetState() {
    if (!IsTimeModel(model)) return {};
    std::string s;
    signal.SaveState(s);
    AddKeyHex(s, "t", tSources);
    return s;
}

// The delay that lets a new run at time 0 go on from where the saved one was.
std::string CElemS::SaveIC(std::string& out, int index, bool apply) {
    out.clear();
    if (!IsTimeModel(model)) return out;
    const std::string text = StateForIC(this, index, index == 0 ? GetState() : std::string());
    const std::string time = LastKeyStr(text, "t");
    if (time.empty()) return out;
    const CFormula kept = signal.m_Delay;
    signal.Shift(HexToDouble(time.c_str()));
    out = ParamText("Delay", signal.m_Delay.m_Value);
    if (!apply) signal.m_Delay = kept;
    return out;
}

bool CElemS::CheckState(CSolverPort* calc, bool commit, bool* changedOut) {
    CheckClock(commit, changedOut);
    return true;
}

void CElemS::NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) {
    SignalEvent(calc, t, tNext, stepMax, stepMin);
}

bool CElemS::IsOn() const {
    if (model == ModelId::On) return true;
    const bool pulsed = model == ModelId::Single || model == ModelId::Pulse || model == ModelId::Step || model == ModelId::Clock;
    return pulsed && active == 0;
}

}  // namespace qz3
