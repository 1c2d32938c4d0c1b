// The sources during a run: preparation, stamps, the value of each time
// point, the logic control, events and state text.
#include <cmath>
#include <string>

#include "components/elem_v.h"
#include "components/signal_link.h"
#include "components/element_state.h"
#include "components/one_shot.h"
#include "components/source_stamps.h"
#include "expr/number_text.h"
#include "expr/state_text.h"
#include "components/solver_port.h"

namespace qz3 {

namespace {

// The value of `key` in the last item of a state list that has it; a list
// holds "t" twice when the element adds its time behind the signal's state.
double LastKeyHex(const std::string& list, const char* key, double def) {
    for (int n = ListCount(list) - 1; n >= 0; --n) {
        const std::string item = ListItem(list, n);
        if (!KeyStr(item, key).empty()) return KeyHex(item, key, def);
    }
    return def;
}

}  // namespace

bool CElemV::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit: return Init(calc, t);
        case PhaseReset: signal.Reset(); return true;
        case PhaseStamp: return calc->StampPass() != 0 || Stamp(calc);
        case PhaseSources: return Sources(calc, t);
        case PhaseSample:
            if (model == ModelId::OneShot) state2 = Control(calc) > 0.0 ? 1 : 0;
            return true;
        case PhasePins: SetPinGroups(); return true;
        default: return true;
    }
}

bool CElemV::Init(CSolverPort* calc, double t) {
    if (model == ModelId::OneShot) {
        if (model != lastModel) {
            state = 0;
            tEnd = 0.0;
        }
        signal.SyncNumbers();
    } else if (IsTimeModel()) {
        // A controlled source waits for its control to rise.
        if (!PrepareSignal(calc, this, signal, t, !IsControlled())) return false;
    }
    // A later init of the same run (a parameter changed) keeps what the run
    // has reached; only the first one takes the stored state.
    if (lastModel == ModelId::None) LoadStoredState(calc);
    return true;
}

void CElemV::LoadStoredState(CSolverPort* calc) {
    if (!IsControlled()) return;
    const std::string text = StoredState(calc, this);
    if (text.empty()) return;
    if (model == ModelId::OneShot) {
        state = KeyInt(text, "s", state);
        state2 = KeyInt(text, "i", state2);
        tEnd = KeyHex(text, "t", tEnd);
    } else if (IsTimeModel()) {
        signal.LoadState(text);
    }
}

bool CElemV::Stamp(CSolverPort* calc) {
    const int a = Low(), b = High();
    // A grounded voltage source drives its other node: a second one there
    // is a short circuit.
    if (IsVoltage() && (a == 0) != (b == 0) && !calc->ClaimOutput(a == 0 ? b : a, this, -1)) return false;
    if (hostDriven || IsTimeModel()) return StampInput(calc);
    if (model == ModelId::Source) return StampConstant(calc, value.m_Value);
    if (model == ModelId::OneShot) return StampConstant(calc, state == 1 ? signal.m_U1.m_Value : signal.m_U0.m_Value);
    return true;
}

bool CElemV::StampInput(CSolverPort* calc) {
    return StampSourceInput(calc, this, IsVoltage(), Low(), High(), firstBranch);
}

bool CElemV::StampConstant(CSolverPort* calc, double v) {
    return StampSourceConstant(calc, this, IsVoltage(), Low(), High(), firstBranch, v);
}

bool CElemV::Sources(CSolverPort* calc, double t) {
    lastSourceTime = t;
    const int k = firstBranch;
    if (hostDriven) {
        calc->SetSource(k, hostValue);
        return true;
    }
    if (!IsTimeModel()) return true;
    return SignalValue(calc, this, signal, t, k);
}

// Pins joined inside: both sides of a voltage source; a current source is
// no path, and a control input stands alone.
void CElemV::SetPinGroups() {
    int* groups = PinGroups();
    groups[0] = 1;
    groups[1] = IsVoltage() ? 1 : 2;
    if (pinCount > 2) groups[2] = groups[1] + 1;
}

double CElemV::Control(const CSolverPort* calc) const { return calc->X(nodes[2]) - calc->LogicThreshold(); }

bool CElemV::CheckState(CSolverPort* calc, bool commit, bool* changedOut) {
    if (IsControlled()) CheckControl(calc, commit, changedOut);
    if (model == ModelId::Clock) CheckClock(commit, changedOut);
    return true;
}

// A rising control starts the pulse or the waveform; a falling one only
// re-arms the edge test, it reports nothing.
void CElemV::CheckControl(CSolverPort* calc, bool commit, bool* changedOut) {
    const double c = Control(calc);
    if (model == ModelId::OneShot) {
        CheckOneShot(this, c, signal.m_Width.m_Value, calc->Time(), commit, changedOut, tEnd);
        return;
    }
    if (!IsTimeModel()) return;
    if (!signal.m_Running && c > 0.0) {
        *changedOut = true;
        if (!commit) return;
        signal.SyncNumbers();
        signal.RestartWave(calc->Time());
    } else if (signal.m_Running && c < 0.0 && commit) {
        signal.m_Running = false;
    }
}

// The high stage of a clock lasts one step: the step after the edge closes it.
void CElemV::CheckClock(bool commit, bool* changedOut) {
    if (!signal.ClockPending()) return;
    *changedOut = true;
    if (commit) signal.ClockClose();
}

void CElemV::NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) {
    switch (model) {
        case ModelId::Single: case ModelId::Pulse: case ModelId::Step: case ModelId::Sin: case ModelId::File: case ModelId::List: case ModelId::Clock:
        case ModelId::Sweep: signal.NextEvent(t, calc->StepBase(), tNext, stepMax, stepMin); return;
        case ModelId::OneShot: OneShotEvent(this, t, signal.m_Width.m_Value, tEnd, tNext, stepMax); return;
        default: return;
    }
}

std::string CElemV::GetState() {
    std::string text;
    if (IsControlled() && model == ModelId::OneShot) {
        AddKeyInt(text, "s", state);
        AddKeyInt(text, "i", state2);
        AddKeyHex(text, "t", tEnd);
    } else if (IsControlled() && IsTimeModel()) {
        signal.SaveState(text);
    }
    if (model != ModelId::Source) AddKeyHex(text, "t", lastSourceTime);
    return text;
}

// The time a state was saved at becomes a shift of the delay, so a run
// that starts again at 0 finds the waveform where the old run left it.
std::string CElemV::SaveIC(std::string& out, int index, bool apply) {
    out.clear();
    if (!IsTimeModel() || model == ModelId::Function) return out;
    const std::string text = StateForIC(this, index, index <= 0 ? GetState() : std::string());
    if (text.empty()) return out;
    const double t = LastKeyHex(text, "t", std::nan(""));
    if (std::isnan(t)) return out;
    signal.m_Model = model;
    signal.SyncNumbers();
    CSignalWave probe = signal;
    probe.ShiftDelay(t);
    if (apply) signal.Shift(t);
    out = ParamText("Delay", probe.m_Num.delay);
    return out;
}

}  // namespace qz3
