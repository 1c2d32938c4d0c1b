// The field-effect transistors' equations (PhaseStamp, pass 0), the channel
// tests of the solver's search, the gate of "Switch", and their readings.
#include <cmath>
#include <limits>

#include "components/elem_fet.h"
#include "components/solver_port.h"

namespace qz3 {

namespace {

constexpr int kGate = 0, kSource = 1, kDrain = 2;

enum ChannelState : int { kOff = 0, kResistive = 1, kSaturated = 2, kReversed = 3, kBodyDiode = 4 };

// vds - knee, snapped: above 0 a resistive channel saturates; with the knee
// negated the same for the reversed side.
double Beyond(const CSolverPort* calc, double vds, double knee) {
    calc->AddWithSnap(&vds, -knee);
    return vds;
}

}  // namespace

bool CElemFET::Stamp(CSolverPort* calc) {
    if (calc->StampPass() != 0) return true;
    const int g = nodes[kGate], src = nodes[kSource], d = nodes[kDrain], k = firstBranch;
    if (model == ModelId::Linear) {
        StampLaggedOutput(calc, d, src, k, s.m_Value, i);
        return true;
    }
    if (model == ModelId::Switch) {
        calc->StampSwitch(src, d, k, state != 0);
        return true;
    }
    if (!HasChannelStates()) return true;
    switch (state) {
        case kResistive: calc->StampResistorBranch(src, d, k, rdson.m_Value); break;
        case kSaturated:
        case kReversed: {
            // x[k] = m (Vgs - Vth): the saturation current, from drain to
            // source in state 2 and back in state 3, for both types.
            const double m = state == kSaturated ? s.m_Value : -s.m_Value;
            calc->StampVCCS(d, src, src, g, k, m);
            calc->SetB(k, m * vth.m_Value);
            break;
        }
        case kBodyDiode:
            // The diode holds the drain Vd below the source (above it in a
            // P-FET); the branch keeps its direction from drain to source.
            calc->StampDiode(src, d, k, true, -Sign() * vd.m_Value, false);
            break;
        default: calc->StampResistorBranch(src, d, k, std::numeric_limits<double>::infinity()); break;
    }
    return true;
}

void CElemFET::StampGain(CSolverPort* calc, double g) {
    calc->StampVCCS(nodes[kDrain], nodes[kSource], nodes[kSource], nodes[kGate], firstBranch, g);
}

CElemFET::CChannel CElemFET::Channel(const CSolverPort* calc) const {
    const double sign = Sign();
    const int src = nodes[kSource];
    CChannel ch{};
    double ov = calc->X(nodes[kGate]);
    calc->AddWithSnap(&ov, -calc->X(src));
    calc->AddWithSnap(&ov, -vth.m_Value);
    double vds = calc->X(nodes[kDrain]);
    calc->AddWithSnap(&vds, -calc->X(src));
    ch.overdrive = sign * ov;
    ch.vds = sign * vds;
    ch.current = sign * calc->X(firstBranch);
    ch.bodyBias = ch.vds;
    calc->AddWithSnap(&ch.bodyBias, vd.m_Value);
    ch.saturation = std::fabs(ch.overdrive * s.m_Value);
    ch.knee = rdson.m_Value * ch.saturation;
    return ch;
}

int CElemFET::NextChannelState(const CSolverPort* calc, const CChannel& ch) const {
    const bool body = model == ModelId::FetD;
    const bool diodeOn = body && ch.bodyBias < 0;
    const bool off = ch.overdrive < 0;
    switch (state) {
        case kOff:
            if (!off) return ch.vds > 0 ? kSaturated : ch.vds < 0 ? kReversed : kResistive;
            return diodeOn ? kBodyDiode : kOff;
        case kResistive:
            if (off) return kOff;
            if (rdson.m_Value == 0.0) {
                // No voltage to look at: the current decides.
                if (ch.current > ch.saturation) return kSaturated;
                return ch.current < -ch.saturation ? kReversed : kResistive;
            }
            if (Beyond(calc, ch.vds, ch.knee) > 0) return kSaturated;
            if (diodeOn) return kBodyDiode;
            return Beyond(calc, ch.vds, -ch.knee) < 0 ? kReversed : kResistive;
        case kSaturated:
            if (off) return kOff;
            return Beyond(calc, ch.vds, ch.knee) < 0 ? kResistive : kSaturated;
        case kReversed:
            if (off) return kOff;
            if (diodeOn) return kBodyDiode;
            return Beyond(calc, ch.vds, -ch.knee) > 0 ? kResistive : kReversed;
        case kBodyDiode: return NextBodyDiodeState(ch);
        default: return kOff;
    }
}

// The body diode hands its current back to the channel once the channel
// can carry it: saturated where the knee lies below the diode's drop,
// resistive otherwise; with the gate off, when its current turns round.
int CElemFET::NextBodyDiodeState(const CChannel& ch) const {
    if (ch.overdrive < 0) return ch.current > 0 ? kOff : kBodyDiode;
    if (vd.m_Value > ch.knee) return ch.current > -ch.saturation ? kReversed : kBodyDiode;
    const double r = rdson.m_Value;
    return r > 0 && ch.current > ch.vds / r ? kResistive : kBodyDiode;
}

bool CElemFET::CheckSegment(CSolverPort* calc, bool commit) {
    if (!HasChannelStates()) return false;
    const CChannel ch = Channel(calc);
    int next = NextChannelState(calc, ch);
    // A body bias that cancelled to exactly zero says nothing by itself:
    // between a settled and an unsettled node the diode closes, so that the
    // search escapes a singular set of states.
    if (next == kOff && state == kOff && commit && model == ModelId::FetD && ch.overdrive < 0 && ch.bodyBias == 0.0 &&
        calc->NodeState(nodes[kSource]) != calc->NodeState(nodes[kDrain]))
        next = kBodyDiode;
    if (next == state) return false;
    if (commit) state = next;
    return true;
}

// "Switch" closes while the gate is beyond Vth, followed at the state check.
bool CElemFET::CheckState(CSolverPort* calc, bool commit, bool* changedOut) {
    if (model != ModelId::Switch) return true;
    const double drive = Sign() * (calc->X(nodes[kGate]) - calc->X(nodes[kSource]) - vth.m_Value);
    const int want = drive > 0 ? 1 : 0;
    if (want == state) return true;
    *changedOut = true;
    if (commit) state = want;
    return true;
}

// V is the drain against the source and I the drain current; the gate
// draws nothing, so V times I is all the power.
bool CElemFET::GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* r) {
    *nodeA = nodes[kSource];
    *nodeB = nodes[kDrain];
    *branch = firstBranch;
    *r = 0.0;
    return true;
}

}  // namespace qz3
