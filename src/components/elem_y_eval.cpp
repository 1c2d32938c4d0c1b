// The levels a logic element's inputs ask for: gates, the Schmitt trigger,
// the formula gate and the flip-flops.
#include <string>

#include "components/custom_type.h"
#include "components/elem_y.h"
#include "components/solver_port.h"
#include "expr/eval_expr.h"
#include "expr/number_text.h"
#include "expr/state_text.h"

namespace qz3 {

namespace {

// Names of the formula's inputs when the box names none: a, b, c, ...
std::string DefaultInputName(int i) { return i < 26 ? std::string(1, static_cast<char>('a' + i)) : "in" + std::to_string(i + 1); }

}  // namespace

int CElemY::Level(const CSolverPort* calc, int pin) const { return calc->X(nodes[pin]) > calc->LogicThreshold() ? 1 : 0; }

int CElemY::GateLevel(const CSolverPort* calc) const {
    const int inputs = InputCount();
    int kind = mode;  // 0 and, 1 or, 2 xor
    switch (type) {
        case TypeId::Or2:
        case TypeId::Or3: kind = 1; break;
        case TypeId::Xor2:
        case TypeId::Xor3: kind = 2; break;
        case TypeId::CustomGate: break;
        default: kind = 0; break;
    }
    int e = kind == 0 ? 1 : 0;
    for (int p = 0; p < inputs; ++p) {
        const int level = Level(calc, p);
        if (kind == 0) e &= level;
        else if (kind == 1) e |= level;
        else e ^= level;
    }
    return view != 0 ? 1 - e : e;
}

// The band of width Hysteresis around the threshold holds the last level;
// view 1 is the inverting form.
int CElemY::SchmittLevel(const CSolverPort* calc) const {
    const double s = calc->X(nodes[0]) - calc->LogicThreshold();
    const double h = hysteresis.m_Value * 0.5;
    if (view != 1) return state == 0 ? (s > h ? 1 : 0) : (s < -h ? 0 : 1);
    return state != 1 ? (s < -h ? 1 : 0) : (s > h ? 0 : 1);
}

int CElemY::ClockLevel(const CSolverPort* calc) const {
    const int level = Level(calc, ClockPin());
    return type == TypeId::LogicalFunction && view == 1 ? 1 - level : level;
}

// The first reading only stores the level; later ones report the move to
// the active level: rising, or falling where the view says so.
bool CElemY::ClockEdge(int clock, bool commit) {
    const int before = lastClock;
    if (commit) lastClock = clock;
    if (before == -1 || before == clock) return false;
    const int active = type != TypeId::LogicalFunction && (view & 2) ? 0 : 1;
    return clock == active;
}

void CElemY::TrackClock(const CSolverPort* calc) {
    if (pinCount < 2) return;
    if (type == TypeId::SrTrigger || type == TypeId::JkTrigger) {
        int dummy = state, dummy2 = state2;
        SetResetLevels(calc, true, dummy, dummy2);
        return;
    }
    if (type == TypeId::DFlipFlop || clocked) lastClock = ClockLevel(calc);
}

void CElemY::FlipFlopLevels(const CSolverPort* calc, bool commit, int& e, int& e2) {
    const int d = Level(calc, 0);
    if (ClockEdge(ClockLevel(calc), commit) && d != state) {
        e = d;
        e2 = 1 - d;
    }
}

// Set and reset override the clock; released, a flip-flop with both
// outputs high falls back to Q low.
void CElemY::SetResetLevels(const CSolverPort* calc, bool commit, int& e, int& e2) {
    int s = Level(calc, 4), r = Level(calc, 5);
    if (view >= 4) {
        s = 1 - s;
        r = 1 - r;
    }
    if (s || r) {
        if (commit) lastClock = -1;
        if (s && r) {
            e = dominance.Index == 2 ? 0 : 1;
            e2 = dominance.Index == 1 ? 0 : 1;
        } else {
            e = s;
            e2 = r;
        }
        return;
    }
    if (state == state2) {
        e = 0;
        e2 = 1;
    }
    if (!ClockEdge(ClockLevel(calc), commit)) return;
    if (type == TypeId::SrTrigger) {
        e = Level(calc, 0);
    } else {
        const int j = Level(calc, 0), k = Level(calc, 6);
        if (j && k) e = 1 - state;
        else if (j) e = 1;
        else if (k) e = 0;
    }
    e2 = 1 - e;
}

bool CElemY::PrepareFunction(CSolverPort* calc) {
    const int inputs = InputCount();
    if (m_TimeSlot && m_InputSlots == inputs) return true;
    vars.Clear();
    m_TimeSlot = nullptr;
    m_InputSlots = 0;
    const std::string names = custom ? custom->m_Ins : std::string();
    bool ok = vars.Add("t", vtDouble, 0) != nullptr;
    for (int i = 0; ok && i < inputs; ++i) {
        std::string name = i < ListCount(names) ? ListItem(names, i) : std::string();
        if (name.empty()) name = DefaultInputName(i);
        ok = vars.Add(name.c_str(), vtInt, 0) != nullptr;
    }
    if (!ok) return AddCmpError(calc, "No enough memory");
    m_TimeSlot = vars[0].Value;
    m_InputSlots = inputs;
    return true;
}

bool CElemY::FunctionLevel(CSolverPort* calc, bool commit, int& e) {
    if (clocked && !ClockEdge(ClockLevel(calc), commit)) return true;
    m_TimeSlot->SetDouble(calc->Time());
    for (int i = 0; i < m_InputSlots; ++i) vars[i + 1].Value->SetInt(Level(calc, i));
    double value = 0.0;
    if (!EvalExpr(func, &value, calc->Doc(), &vars, owner, true)) {
        m_FunctionError = ExprError();
        return false;
    }
    e = value != 0.0 ? 1 : 0;
    return true;
}

bool CElemY::Wanted(CSolverPort* calc, bool commit, int& e, int& e2) {
    if (pinCount < 2) return true;
    switch (type) {
        case TypeId::SchmittTrigger: e = SchmittLevel(calc); return true;
        case TypeId::LogicalFunction: return FunctionLevel(calc, commit, e);
        case TypeId::DFlipFlop: FlipFlopLevels(calc, commit, e, e2); return true;
        case TypeId::SrTrigger:
        case TypeId::JkTrigger: SetResetLevels(calc, commit, e, e2); return true;
        default: e = GateLevel(calc); return true;
    }
}

}  // namespace qz3
