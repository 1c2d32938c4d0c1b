// The bipolar transistors' equations (PhaseStamp, pass 0), their junction
// tests for the solver's search, the lag of the "Switch" output, and the
// readings of their traces.
#include <cmath>

#include "components/diode_check.h"
#include "components/elem_t.h"
#include "components/solver_port.h"

namespace qz3 {

namespace {

constexpr int kBase = 0, kEmitter = 1, kCollector = 2;

}  // namespace

void CElemT::Junction(int pin, int* a, int* b) const {
    *a = Sign() > 0 ? nodes[pin] : nodes[kBase];
    *b = Sign() > 0 ? nodes[kBase] : nodes[pin];
}

// The share of the base-emitter current that the collector takes.
double CElemT::Gain() const {
    const double B = b.m_Value;
    return std::isinf(B) ? 1.0 : B / (B + 1.0);
}

bool CElemT::Stamp(CSolverPort* calc) {
    if (calc->StampPass() != 0) return true;
    const int k = firstBranch;
    int a, c;
    switch (model) {
        case ModelId::Linear:
            calc->StampSwitch(nodes[kEmitter], nodes[kBase], k + 1, true);
            StampLaggedOutput(calc, nodes[kCollector], nodes[kEmitter], k, b.m_Value, i);
            return true;
        case ModelId::Switch:
            Junction(kEmitter, &a, &c);
            calc->StampDiode(a, c, k + 1, state != 0, vbe.m_Value, softOpen);
            calc->StampSwitch(nodes[kEmitter], nodes[kCollector], k, swOut != 0);
            return true;
        case ModelId::Transistor:
            Junction(kEmitter, &a, &c);
            calc->StampDiode(a, c, k, (state & 1) != 0, vbe.m_Value, softOpen);
            Junction(kCollector, &a, &c);
            calc->StampDiode(a, c, k + 2, (state & 2) != 0, vsat.m_Value, softOpen);
            StampLaggedOutput(calc, nodes[kCollector], nodes[kBase], k + 1, Sign() * Gain(), Sign() * i);
            return true;
        default: return true;
    }
}

// "Linear": the collector current is g times the base current, into the
// emitter. "Transistor": g times the base-emitter current, into the base,
// where it returns through that junction.
void CElemT::StampGain(CSolverPort* calc, double g) {
    const int k = firstBranch;
    if (model == ModelId::Linear) calc->StampCCCS(nodes[kCollector], nodes[kEmitter], k, k + 1, g);
    else calc->StampCCCS(nodes[kCollector], nodes[kBase], k + 1, k, g);
}

bool CElemT::CheckJunction(CSolverPort* calc, bool commit, int bit, int pin, int k, double drop) {
    int a, c;
    Junction(pin, &a, &c);
    int on = (state >> bit) & 1;
    const bool moved = CheckDiode(calc, commit, &on, a, c, k, drop, 0.0, false);
    state = (state & ~(1 << bit)) | ((on & 1) << bit);
    return moved;
}

// Each junction has its bit of `state` as its own state word.
bool CElemT::CheckJunctions(CSolverPort* calc, bool commit) {
    const int k = firstBranch;
    const bool emitter = CheckJunction(calc, commit, 0, kEmitter, k, vbe.m_Value);
    if (emitter && (!commit || calc->FirstOnly())) return true;
    const bool collector = CheckJunction(calc, commit, 1, kCollector, k + 2, vsat.m_Value);
    return emitter || collector;
}

bool CElemT::CheckSegment(CSolverPort* calc, bool commit) {
    if (model == ModelId::Switch) return CheckJunction(calc, commit, 0, kEmitter, firstBranch + 1, vbe.m_Value);
    if (model == ModelId::Transistor) return CheckJunctions(calc, commit);
    return false;
}

// The output of "Switch" follows its junction one state pass later.
bool CElemT::CheckState(CSolverPort* calc, bool commit, bool* changedOut) {
    if (model != ModelId::Switch || swOut == state) return true;
    *changedOut = true;
    if (commit) swOut = state;
    return true;
}

bool CElemT::FloatFix(CSolverPort* calc) {
    bool fixed = false;
    for (int bit = 0; bit < (model == ModelId::Transistor ? 2 : 1); ++bit) {
        if ((state >> bit) & 1) continue;
        int a, c;
        Junction(bit == 0 ? kEmitter : kCollector, &a, &c);
        if (LeakOpenJunction(calc, a, c)) fixed = true;
    }
    return !fixed;
}

void CElemT::PinCurrents(const CSolverPort* calc, double* base, double* emitter, double* collector) const {
    const int k = firstBranch;
    const double s = Sign();
    if (model == ModelId::Transistor) {
        *emitter = -s * calc->X(k);
        *collector = calc->X(k + 1) - s * calc->X(k + 2);
    } else if (model == ModelId::Switch) {
        *collector = calc->X(k);
        *emitter = -calc->X(k) - s * calc->X(k + 1);
    } else {
        *collector = calc->X(k);
        *emitter = -calc->X(k) - calc->X(k + 1);
    }
    *base = -*emitter - *collector;
}

// V is the collector against the emitter and I the current into the
// collector. "Linear" reads them from its nodes and branch (its base sits on
// the emitter, so V times I is all its power), and so does the current of
// "Switch". The junction models add up their pin currents, and their power
// is that of all three pins; in AC the junction model reads its transfer
// branch, the collector's current while the base-collector junction is open.
bool CElemT::GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* r) {
    *nodeA = nodes[kEmitter];
    *nodeB = nodes[kCollector];
    *branch = model == ModelId::Transistor ? firstBranch + 1 : firstBranch;
    *r = 0.0;
    if (kind == 0 || model == ModelId::Linear) return true;
    if (kind == 1 && model == ModelId::Switch) return true;
    return !calc->IsTransient();
}

void CElemT::GetTraceValue(CSolverPort* calc, int kind, double* value, double* value2) {
    *value = 0.0;
    *value2 = 0.0;
    double ib, ie, icol;
    PinCurrents(calc, &ib, &ie, &icol);
    if (kind == 1) *value = icol;
    if (kind != 2) return;
    *value = calc->X(nodes[kBase]) * ib + calc->X(nodes[kEmitter]) * ie + calc->X(nodes[kCollector]) * icol;
}

}  // namespace qz3
