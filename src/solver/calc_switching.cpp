// The switching search: a consistent set of element states at a discontinuity.
//
// One linear solve tells each element whether it is content with its state;
// those that aren't move, and the solve is repeated. A history of all state
// sets seen (the snapshots) detects cycles and breaks out of them by trying
// single changes of the elements that took part. If an attempt fails, the
// problem is loosened step by step: one change at a time, a soft open
// thyristor, leaky open diodes, a leak on floating node groups, and finally
// a coarser rounding of sums to zero.
#include <cstring>
#include <new>

#include "base/list.h"
#include "components/cmp.h"
#include "solver/calc.h"

namespace qz3 {

namespace {


// The rounding is coarsened tenfold per round until it reaches this.
constexpr double kZeroLimit = 3e-8;
// A zero setting of 0 would never reach the limit.
constexpr int kMaxZeroRounds = 20;
// An "unlimited" attempt still ends here, so that no circuit holds the
// caller for ever when the time-out is off.
constexpr int kUnlimitedIterations = 1000;
// Each attempt looks at the clock at its first iteration and then every this
// many: reading the process clock is a system call, dearer than a small solve.
constexpr int kIterationsPerClockLook = 16;

enum SwitchResult { kFound = 0, kSolveFailed = 1, kNoMemory = 2, kTerminated = 3, kTimeOut = 4,
                    kPaused = 5, kNoSolution = 6, kFoundInfinite = 7, kGoOn = 8 };

bool EndsSearch(int r) { return r != kNoSolution && r != kFoundInfinite; }

}  // namespace

int CCalc::SolveSwitching(bool euler) {
    m_Extra.clear();
    m_FirstOnly = false;
    m_Error.clear();
    m_Trigger = nullptr;
    std::memcpy(VecXPrev, VecX, static_cast<size_t>(m_Size) * sizeof(double));
    for (CCmp* cmp : m_Cmps) {
        cmp->savedState = cmp->state;
        cmp->searched = false;
    }
    const double zeroKept = m_Zero;
    int r = kFound;
    bool loosened = false;
    for (int round = 0; m_Zero < kZeroLimit && round < kMaxZeroRounds; ++round) {
        for (int pass = 0; pass < 2 && !EndsSearch(r = TrySwitching(euler, 0, pass)); ++pass) {
            m_FirstOnly = true;
            r = TrySwitching(euler, 1, pass);
            m_FirstOnly = false;
            if (EndsSearch(r)) break;
            loosened = true;
            if (m_Trigger && m_Trigger->CanSoftOpen()) {
                CCmp* trigger = m_Trigger;
                trigger->softOpen = true;
                r = TrySwitching(euler, 2, pass);
                trigger->softOpen = false;
                if (EndsSearch(r)) break;
            }
            m_Leaky = true;
            r = TrySwitching(euler, 2, pass);
            m_Leaky = false;
            if (EndsSearch(r)) break;
            m_FloatFix = true;
            r = TrySwitching(euler, 2, pass);
            m_FloatFix = false;
            if (EndsSearch(r)) break;
        }
        if (EndsSearch(r)) break;
        loosened = true;
        m_Zero *= 10.0;
    }
    // The equations of a loosened attempt are not those the states will keep.
    if (loosened) m_AssemblyCopy.Drop();
    if (r == kNoSolution) {
        std::string text = "No solution ";
        if (m_Trigger) text += " while calculating switching triggered by " + CmpFullName(m_Trigger);
        SetError(text + m_Extra);
    }
    if ((r == kNoSolution || r == kFoundInfinite) && m_AnyInfinite) r = kFoundInfinite;
    m_Zero = zeroKept;
    ClearSnapshots();
    return r;
}

int CCalc::TrySwitching(bool euler, int kind, int pass) {
    m_AnyInfinite = false;
    ClearSnapshots();
    if (!PushSnapshot()) return kNoMemory;
    for (CCmp* cmp : m_Cmps)
        if (!cmp->IsSubCircuit()) cmp->changed = false;
    const int limit = pass == 0 ? m_IterLimit[kind] : kUnlimitedIterations;
    for (int iter = 1;; ++iter) {
        if (m_Terminate) {
            if (iter <= 100) m_Error.clear();
            return kTerminated;
        }
        if (m_Pause) {
            m_Error.clear();
            std::memcpy(VecX, VecXPrev, static_cast<size_t>(m_Size) * sizeof(double));
            RestoreSavedStates();
            m_Pause = false;
            return kPaused;
        }
        if (iter > limit) {
            RestoreSavedStates();
            return kNoSolution;
        }
        if ((iter - 1) % kIterationsPerClockLook == 0 && TimedOut()) {
            SetTimeOutText();
            return kTimeOut;
        }
        if (!SolvePresentStates(euler)) return kSolveFailed;
        const int r = NextSwitchState();
        if (r == kFound) {
            if (pass == 1 && iter > m_IterLimit[kind]) m_IterLimit[kind] = iter + 10;
            return m_AnyInfinite ? kFoundInfinite : kFound;
        }
        if (r == kNoMemory) return kNoMemory;
        if (r == kNoSolution) {
            RestoreSavedStates();
            return kNoSolution;
        }
    }
}

// One solve of the present states; an infinite unknown is reported, and in the
// DC equations each element may once give way (a capacitor drops its IC).
bool CCalc::SolvePresentStates(bool euler) {
    for (;;) {
        std::memcpy(VecX, VecXPrev, static_cast<size_t>(m_Size) * sizeof(double));
        if (euler) {
            if (!StepEuler()) return false;
        } else {
            m_Integrating = 0;
            if (!Assemble() || !RunPhase(PhaseSources, m_Time + 0.0)) return false;
            LoadDcRightSide();
            SolveReal();
            if (!ResolveLinks()) return false;
        }
        m_AnyInfinite = false;
        bool infinite = false;
        for (int i = 1; i < m_Size && !infinite; ++i) infinite = NodeBad[i] == 255;
        if (!infinite) return true;
        ReportInfinite();
        if (m_Extra.empty()) m_Extra = "\n" + m_Error;
        m_AnyInfinite = true;
        if (euler || !GiveWayAtInfinite()) return true;
    }
}

bool CCalc::GiveWayAtInfinite() {
    for (CCmp* cmp : m_Cmps) {
        if (cmp->IsSubCircuit() || cmp->searched) continue;
        if (cmp->Simulate(this, PhaseCheckIC, 0.0)) continue;
        cmp->searched = true;
        m_Error.clear();
        return true;
    }
    return false;
}

void CCalc::RestoreSavedStates() {
    for (CCmp* cmp : m_Cmps) cmp->state = cmp->savedState;
}

int CCalc::TimeOutSeconds() const { return Advanced().m_Timeout; }

bool CCalc::TimedOut() {
    const int seconds = Advanced().m_Timeout;
    if (seconds <= 0) return false;
    return MsInStep() / 1000 > seconds;
}

// The clock is read at the first look in a turn, so that a plain step
// makes no system call.
int32_t CCalc::MsInStep() const {
    const int32_t now = ClockMs();
    if (m_Ticks == kTicksUnread) m_Ticks = now;
    return now - m_Ticks;
}

void CCalc::SetTimeOutText() {
    std::string text = "Time-out while calculating switching ";
    text += m_Trigger ? "triggered by " + CmpFullName(m_Trigger) : std::string(": reason unknown");
    SetError(text);
}

int CCalc::NextSwitchState() {
    bool any = false;
    for (CCmp* cmp : m_Cmps) {
        if (cmp->IsSubCircuit() || !cmp->CheckSegment(this, true)) continue;
        cmp->changed = true;
        if (!m_Trigger) m_Trigger = cmp;
        any = true;
        if (m_FirstOnly) break;
    }
    if (!any) return kFound;
    if (!PushSnapshot()) return kNoMemory;
    if (!SnapshotSeen()) return kGoOn;
    return EscapeCycle();
}

// A cycle: walk the history back and try single changes of the elements that
// took part, over their segments, until a combination not seen turns up. The
// set of seen combinations only grows, so this ends.
int CCalc::EscapeCycle() {
    const int count = m_Cmps.Count();
    const int newestIndex = m_Snapshots.Count() - 1;
    int32_t* newest = m_Snapshots[newestIndex];
    const size_t bytes = static_cast<size_t>(count) * sizeof(int32_t);
    for (int s = newestIndex - 1; s >= 0; --s) {
        for (int q = 0; q < count; ++q) {
            CCmp* cmp = m_Cmps[q];
            if (!cmp->changed) continue;
            std::memcpy(newest, m_Snapshots[s], bytes);
            int first = 0, last = -1;
            if (!cmp->SegmentRange(&first, &last)) continue;
            for (int v = first; v <= last; ++v) {
                newest[q] = v;
                if (SnapshotSeen()) continue;
                WriteSnapshotToStates(newest);
                return kGoOn;
            }
        }
    }
    return kNoSolution;
}

void CCalc::WriteSnapshotToStates(const int32_t* snapshot) {
    for (int q = 0; q < m_Cmps.Count(); ++q)
        if (!m_Cmps[q]->IsSubCircuit()) m_Cmps[q]->state = snapshot[q];
}

bool CCalc::PushSnapshot() {
    const int count = m_Cmps.Count();
    auto* snapshot = new (std::nothrow) int32_t[static_cast<size_t>(count) + 1];
    if (!snapshot) {
        SetError("No enough memory");
        return false;
    }
    for (int q = 0; q < count; ++q) snapshot[q] = m_Cmps[q]->state;
    m_Snapshots.Add(snapshot);
    return true;
}

bool CCalc::SnapshotSeen() const {
    const int last = m_Snapshots.Count() - 1;
    if (last < 1 || !m_Snapshots[last]) return false;
    const size_t bytes = static_cast<size_t>(m_Cmps.Count()) * sizeof(int32_t);
    for (int s = last - 1; s >= 0; --s)
        if (m_Snapshots[s] && std::memcmp(m_Snapshots[s], m_Snapshots[last], bytes) == 0) return true;
    return false;
}

// Names the cause of each infinite unknown, once per line.
void CCalc::ReportInfinite() {
    for (int i = 1; i < m_Size; ++i) {
        if (NodeBad[i] != 255) continue;
        const std::string line = InfiniteLine(i);
        if (m_Error.empty()) {
            m_Error = line;
            continue;
        }
        TStringList lines;
        lines.Split(m_Error, '\n');
        for (int k = 0; k < lines.Count(); ++k)
            if (lines[k] == line) return;
        m_Error += "\n" + line;
    }
}

std::string CCalc::InfiniteLine(int i) const {
    if (const CCmp* driver = NodeDriver[i].cmp) {
        const std::string pin = CmpPinName(driver, NodeDriver[i].pin);
        return "Infinite voltage : " + (pin.empty() ? std::string() : pin + " of ") + CmpFullName(driver);
    }
    std::string names;
    bool pinFound = false;
    for (const CCmp* cmp : m_Cmps) {
        bool onNode = false;
        for (int p = 0; p < cmp->pinCount && !onNode; ++p) onNode = cmp->nodes[p] == i;
        if (onNode) {
            names += (names.empty() ? "" : ", ") + CmpFullName(cmp);
            pinFound = true;
            continue;
        }
        if (pinFound) continue;
        for (int k = 0; k < cmp->branchCount; ++k)
            if (cmp->BranchIndex(k) == i) return "Infinite current : " + CmpFullName(cmp);
    }
    return (pinFound ? "Infinite voltage : " : "Infinite signal : ") + names;
}

}  // namespace qz3
