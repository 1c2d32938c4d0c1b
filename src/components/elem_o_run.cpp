// The amplifiers during a run: initial output, stamps, limits, comparator
// positions and their delays.
#include <cmath>
#include <string>

#include "base/constants.h"
#include "base/number_format.h"
#include "components/elem_o.h"
#include "components/element_state.h"
#include "components/solver_port.h"
#include "expr/state_text.h"

namespace qz3 {

bool CElemO::IsGainControlled() const {
    return type == TypeId::VoltageControlledAmplifier || type == TypeId::CurrentControlledAmplifier;
}

int CElemO::Output() const { return voltageOut && outputMode == 0 ? nodes[1] : firstBranch; }

double CElemO::Input(const CSolverPort* calc) const {
    if (!voltageIn) return calc->X(firstBranch + 1);
    return calc->X(nodes[0]) + inputSign * calc->X(nodes[2]);
}

double CElemO::GainControl(const CSolverPort* calc) const {
    if (type == TypeId::CurrentControlledAmplifier) return calc->X(firstBranch + 1);
    return calc->X(nodes[3]) - calc->X(nodes[2]);
}

bool CElemO::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit: return Init(calc, t);
        case PhaseStore:
            if (model != ModelId::Function) v = calc->X(Output());
            return true;
        case PhaseCheckIC: return CheckIC(calc);
        case PhaseStamp: return Stamp(calc);
        case PhaseEval: return model != ModelId::Function || m_Formula.Evaluate(calc, this, f, t, Input(calc), v);
        case PhaseSources:
            if (model == ModelId::Function) calc->SetSource(firstBranch, v);
            return true;
        case PhaseLinearize:
            gain = 0.0;
            return model != ModelId::Function || m_Formula.Slope(calc, this, f, t, Input(calc), gain);
        case PhasePins: SetPinGroups(); return true;
        default: return true;
    }
}

bool CElemO::Init(CSolverPort* calc, double t) {
    const bool first = lastModel == ModelId::None;
    switch (model) {
        case ModelId::Function:
            if (ModelChanged()) v = funcIc.m_Value;
            if (!m_Formula.Prepare(calc, this, "s")) return false;
            break;
        case ModelId::Linear:
            if (!first) break;
            state = 0;
            v = linIc.m_Value;
            break;
        case ModelId::OpAmp:
            if (!first) break;
            state = 0;
            v = opampIc.m_Value;
            InitLimits();
            break;
        case ModelId::Comparator:
            if (!ModelChanged()) break;
            cs = state = compIc;
            tEnd = 0.0;
            break;
        case ModelId::Pwl:
            if (ModelChanged()) state = 0;
            break;
        default: break;
    }
    if (first) LoadStoredState(calc);
    return true;
}

// An initial output on a limit, or beyond it, starts in that limit's state.
void CElemO::InitLimits() {
    const double lo = vlo.m_Value, hi = vhi.m_Value;
    if (v <= lo + std::fmin(std::fabs(v), std::fabs(lo)) * 1e-12) {
        v = lo;
        state = -1;
    } else if (v >= hi - std::fmin(std::fabs(v), std::fabs(hi)) * 1e-12) {
        v = hi;
        state = 1;
    }
}

void CElemO::LoadStoredState(CSolverPort* calc) {
    const std::string text = StoredState(calc, this);
    if (text.empty()) return;
    v = KeyHex(text, "v", v);
    state = KeyInt(text, "s", state);
    cs = KeyInt(text, "cs", cs);
    tEnd = KeyHex(text, "t", tEnd);
}

// An initial output that makes the gain row undetermined must go.
bool CElemO::CheckIC(CSolverPort* calc) {
    if (model != ModelId::Linear || std::isnan(v) || calc->NodeState(firstBranch) == 0) return true;
    v = std::nan("");
    calc->SetError(FullName() + " : IC removed");
    return false;
}

// ---- stamps

bool CElemO::Stamp(CSolverPort* calc) {
    const int pass = calc->StampPass();
    if (IsGainControlled()) {
        if (pass != 0) return true;
        if (type == TypeId::CurrentControlledAmplifier) calc->StampSwitch(nodes[2], nodes[3], firstBranch + 1, true);
        SetGain(calc, pwl.Slope(state));
        return StampOutputRows(calc);
    }
    // A reference or differential output replaces its nodes' rows, which
    // every other element has written by then.
    if (pass != (outputMode == 0 ? 0 : 1)) return true;
    if (!StampOutputRows(calc)) return false;
    if (!voltageIn) StampInputShort(calc);
    return StampModelRow(calc);
}

bool CElemO::StampOutputRows(CSolverPort* calc) {
    const int kb = firstBranch;
    if (outputMode == 0) {
        // The branch's current is what the output delivers into pin 1.
        if (voltageOut && !calc->ClaimOutput(nodes[1], this, -1)) return false;
        calc->SetG(nodes[1], kb, 1.0);
        return true;
    }
    const int common = outputMode == 1 ? nodes[3] : nodes[4];
    const int outputs[2] = {nodes[1], nodes[3]};
    const double share[2] = {outputMode == 1 ? 1.0 : 0.5, -0.5};
    for (int n = 0; n < outputMode; ++n) {
        const int p = outputs[n];
        if (!calc->ClaimOutput(p, this, n == 0 ? 1 : 3)) return false;
        calc->ClearRow(p);
        calc->SetG(p, p, 1.0);
        calc->AddG(p, common, -1.0);
        calc->AddG(p, kb, -share[n]);
    }
    return true;
}

// The input pins are shorted through branch k + 1, whose current is the
// input. The gain models count it from pin 0 to pin 2, the others the
// other way, as a closed switch does.
void CElemO::StampInputShort(CSolverPort* calc) {
    const int j = firstBranch + 1;
    if (model == ModelId::Linear || model == ModelId::OpAmp) {
        calc->StampVoltage(nodes[0], nodes[2], j, 0.0);
        calc->AddLink(1, nodes[0], nodes[2], 0, 0.0);
    } else {
        calc->StampSwitch(nodes[0], nodes[2], j, true);
    }
}

bool CElemO::StampModelRow(CSolverPort* calc) {
    const int kb = firstBranch, o = Output();
    switch (model) {
        case ModelId::Function:
            calc->SetG(kb, o, 1.0);
            if (!calc->IsTransient() && calc->Integrating() == 1) SetGain(calc, gain);
            else calc->MarkInputRow(kb);
            return true;
        case ModelId::Pwl:
            SetGain(calc, pwl.Slope(state));
            calc->SetB(kb, -pwl.Offset(state));
            return true;
        case ModelId::Linear:
        case ModelId::OpAmp:
            if (state == 0) {
                StampGainRow(calc);
                return true;
            }
            [[fallthrough]];
        case ModelId::Comparator:
            calc->SetG(kb, o, 1.0);
            calc->SetB(kb, state == 1 ? -vhi.m_Value : -vlo.m_Value);
            return true;
        default: return true;
    }
}

// Inside the limits: the gain, with its pole as a lag of the output. The DC
// form of a lag holds the output where it was, unless there is no value.
void CElemO::StampGainRow(CSolverPort* calc) {
    const int kb = firstBranch, o = Output();
    const double K = k.m_Value, pole = f1.m_Value;
    if (K == 0.0 || !(pole > 0.0)) {
        calc->SetG(kb, o, 1.0);
        return;
    }
    if (std::isinf(pole)) {
        SetGain(calc, K);
        return;
    }
    if (calc->Integrating() == 0) {
        if (std::isnan(v)) {
            SetGain(calc, K);
            return;
        }
        calc->SetG(kb, o, 1.0);
        calc->SetB(kb, -v);
        return;
    }
    SetGain(calc, K);
    double c = 0.5 / pole / kPi;
    if (!std::isinf(K)) c *= std::fabs(K);
    if (!calc->IsTransient()) c *= calc->Omega();
    calc->SetC(kb, o, c);
}

// Row k: the output equals g times the input; an infinite gain drops the
// output from the row, which then forces the input to 0.
void CElemO::SetGain(CSolverPort* calc, double g) {
    const int kb = firstBranch;
    if (std::isinf(g)) g = 1.0;
    else calc->SetG(kb, Output(), 1.0);
    if (!voltageIn) {
        calc->AddG(kb, kb + 1, -g);
        return;
    }
    calc->AddG(kb, nodes[0], -g);
    if (inputSign != 0) calc->AddG(kb, nodes[2], -inputSign * g);
}

// Inputs draw nothing: each pin stands alone, except the two sides of a
// current input or control, which conduct; a voltage output is driven.
void CElemO::SetPinGroups() {
    int* groups = PinGroups();
    for (int i = 0; i < pinCount; ++i) groups[i] = i + 1;
    if (!voltageIn) groups[2] = groups[0];
    if (type == TypeId::CurrentControlledAmplifier) groups[3] = groups[2];
    if (voltageOut) groups[1] = 0;
    if (outputMode == 2) groups[3] = 0;
}

// ---- states

bool CElemO::LimitsApply() const { return model == ModelId::OpAmp && k.m_Value != 0.0 && f1.m_Value > 0.0; }

bool CElemO::LimitsInSearch() const { return LimitsApply() && std::isinf(f1.m_Value); }

bool CElemO::SegmentRange(int* first, int* last) {
    if (LimitsInSearch()) {
        *first = -1;
        *last = 1;
        return true;
    }
    return false;
}

bool CElemO::CheckSegment(CSolverPort* calc, bool commit) { return LimitsInSearch() && CheckLimits(calc, commit); }

// Inside, the output crossing a limit; on a limit, the input asking for an
// output back inside it (by the sign of an infinite gain).
bool CElemO::CheckLimits(CSolverPort* calc, bool commit) {
    int next = state;
    if (state == 0) {
        double above = calc->X(Output()), below = above;
        calc->AddWithSnap(&above, -vhi.m_Value);
        calc->AddWithSnap(&below, -vlo.m_Value);
        if (above > 0.0) next = 1;
        else if (below < 0.0) next = -1;
    } else {
        const double s = Input(calc), K = k.m_Value;
        const bool upper = state == 1;
        bool leaves;
        if (std::isinf(K)) leaves = (K > 0) == upper ? s < 0.0 : s > 0.0;
        else if (K > 0) leaves = upper ? s < vhi.m_Value / K : s > vlo.m_Value / K;
        else leaves = upper ? s > vhi.m_Value / K : s < vlo.m_Value / K;
        if (leaves) next = 0;
    }
    if (next == state) return false;
    if (commit) state = next;
    return true;
}

bool CElemO::CheckState(CSolverPort* calc, bool commit, bool* changedOut) {
    switch (model) {
        case ModelId::OpAmp:
            if (LimitsApply() && !LimitsInSearch() && CheckLimits(calc, commit)) *changedOut = true;
            return true;
        case ModelId::Pwl:
            if (pwl.CheckSegment(IsGainControlled() ? GainControl(calc) : Input(calc), commit)) *changedOut = true;
            return true;
        case ModelId::Comparator:
            if (CheckComparator(calc, commit)) *changedOut = true;
            return true;
        default: return true;
    }
}

// The input passing half the hysteresis beyond 0 moves the position; the
// output follows at once, or after the delay.
bool CElemO::CheckComparator(CSolverPort* calc, bool commit) {
    const double s = Input(calc), half = hysteresis.m_Value / 2.0;
    int next = state;
    if (state == 0 && s - half > 0.0) next = 1;
    else if (state == 1 && s + half < 0.0) next = 0;
    if (next == cs) return false;
    if (!commit) return true;
    cs = next;
    if (delay.m_Value > 0.0) tEnd = calc->Time() + delay.m_Value;
    else state = next;
    return true;
}

void CElemO::NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) {
    if (model != ModelId::Comparator || state == cs) return;
    if (RealCompare(tEnd, t) != 0 && tEnd > t) *tNext = tEnd;
    else state = cs;
}

std::string CElemO::GetState() {
    std::string text;
    AddKeyHex(text, "v", v);
    AddKeyInt(text, "s", state);
    if (model == ModelId::Comparator) {
        AddKeyInt(text, "cs", cs);
        AddKeyHex(text, "t", tEnd);
    }
    return text;
}

std::string CElemO::SaveIC(std::string& out, int index, bool apply) {
    out.clear();
    const bool gainModel = model == ModelId::Linear || model == ModelId::OpAmp;
    if (!gainModel && model != ModelId::Comparator) return out;
    const std::string text = StateForIC(this, index, index == 0 ? GetState() : std::string());
    if (text.empty()) return out;
    if (model == ModelId::Comparator) {
        const int position = KeyInt(text, "cs", compIc) != 0 ? 1 : 0;
        if (apply) compIc = position;
        out = std::string("IC=") + (position ? "High" : "Low");
        return out;
    }
    const double value = KeyHex(text, "v", std::nan(""));
    CFormula& ic = model == ModelId::Linear ? linIc : opampIc;
    if (apply) ic.SetValue(value);
    out = ParamText("IC", value);
    return out;
}

}  // namespace qz3
