#include <cstring>

#include "components/cmp.h"
#include "solver/calc.h"
#include "solver/calc_entries.h"

namespace qz3 {

// The equations for the present element states.
bool CCalc::Assemble() {
    m_AssemblyCopy.Drop();
    m_RowsAssembly = ++m_Assemblies;
    ClearMatrices();
    // Pass 1 is for elements that overwrite rows others have written (forced outputs).
    for (m_StampPass = 0; m_StampPass < 2; ++m_StampPass)
        if (!RunPhase(PhaseStamp, m_Time)) return false;
    m_StampPass = 1;
    return FinishAssembly();
}

// The Euler steps after an event and the factorisation that follows them
// share the states of that event; a bisection inside the phase keeps them
// too. The search of the event's first step keeps each attempt's assembly, so
// that the phase starts from that of the states found. Any other assembly (a
// step towards an event or a break, a new run) drops the copy, and so does a
// search that had to loosen the equations.
bool CCalc::AssembleInStretch() {
    const bool stretch = m_AssemblyKeepable && (m_State == StateEuler || m_State == StateFactor);
    if (stretch && m_AssemblyCopy.Held()) {
        m_AssemblyCopy.PutBack(m_Rows, VecB);
        m_RowsAssembly = m_AssemblyCopy.Id();
        ++m_AssemblyReuses;
        ClearSourcesAndMarks();
        return true;
    }
    if (!Assemble()) return false;
    const bool search = m_AssemblyKeepable && m_State == StateFirst;
    if (stretch || search) m_AssemblyCopy.Take(m_Rows, VecB, m_Size, m_RowsAssembly);
    return true;
}

// What the phases after an assembly fill in anew: the sources and the marks of a solve.
void CCalc::ClearSourcesAndMarks() {
    const size_t n = static_cast<size_t>(m_Size);
    std::memset(VecE, 0, n * sizeof(double));
    std::memset(VecEIm, 0, n * sizeof(double));
    std::memset(NodeBad, 0, n);
}

// Only the row store is copied: a small circuit's dense elimination works in
// its matrices, and copying them would cost what assembling them does.
bool CCalc::AssemblyCanBeKept() const {
    if (!m_KeepAssemblies || !IsLargeCircuit()) return false;
    for (const CCmp* cmp : m_Cmps)
        if (!cmp->IsSubCircuit() && !cmp->StampsHoldBetweenEvents()) return false;
    return true;
}

void CCalc::ClearMatrices() {
    const size_t n = static_cast<size_t>(m_Size);
    const size_t m = static_cast<size_t>(m_Total);
    if (IsLargeCircuit()) {
        m_Rows.Clear();
    } else {
        std::memset(m_MatrixBlock, 0, 2 * n * n * sizeof(double));
        std::memset(m_FlagBlock, 0, 2 * n * n);
        m_MatrixDirty = false;
    }
    ClearSourcesAndMarks();
    std::memset(VecB, 0, n * sizeof(double));
    std::memset(RowOff, 0, n);
    std::memset(RowInput, 0, n);
    std::memset(NodeDriver, 0, m * sizeof(CNodeDriver));
    std::memset(NodeLink, 0, m * sizeof(CNodeLink));
}

// What follows the stamps: the floating-group leak, the structure flags, the
// second look at empty rows, and the order in which links are resolved.
bool CCalc::FinishAssembly() {
    if (m_FloatFix) {
        InitNodeGroups();
        GroupComponentPins();
        LeakFloatingGroups();
    }
    if (!FillFlags() && !FloatComponents()) RescanEmptyRows();
    if (m_Size < 2) return true;
    OrderLinks();
    return true;
}

void CCalc::InitNodeGroups() {
    NodeLink[0].group = 0;
    for (int i = 1; i <= m_NodeCount; ++i) NodeLink[i].group = i;
}

void CCalc::DissolveGroup(int group) {
    if (group == 0) return;
    for (int i = 1; i <= m_NodeCount; ++i)
        if (NodeLink[i].group == group) NodeLink[i].group = 0;
}

void CCalc::JoinGroups(int g1, int g2) {
    if (g1 == g2) return;
    const int lo = g1 < g2 ? g1 : g2;
    const int hi = g1 < g2 ? g2 : g1;
    for (int i = 1; i <= m_NodeCount; ++i)
        if (NodeLink[i].group == hi) NodeLink[i].group = lo;
}

// A pin group 0 is a pin the element drives itself: its node counts as tied to
// a fixed potential.
void CCalc::JoinPinGroups(const int* nodes, const int* pinGroups, int pinCount) {
    const auto electrical = [this](int node) { return node >= 0 && node <= m_NodeCount; };
    for (int p = 0; p < pinCount; ++p) {
        const int node = nodes[p];
        if (!electrical(node)) continue;
        const int pinGroup = pinGroups[p];
        if (pinGroup == 0) {
            DissolveGroup(NodeLink[node].group);
            continue;
        }
        for (int q = 0; q < p; ++q) {
            if (pinGroups[q] != pinGroup || !electrical(nodes[q])) continue;
            JoinGroups(NodeLink[node].group, NodeLink[nodes[q]].group);
        }
    }
}

// One leak per floating group, from its lowest node to ground.
void CCalc::LeakFloatingGroups() {
    for (int i = 1; i <= m_NodeCount; ++i) {
        const int group = NodeLink[i].group;
        if (group == 0) continue;
        EntryG(group, group) -= 10.0 * m_Zero;
        DissolveGroup(group);
    }
}

// Marks the structure; false when some row is left without any entry.
bool CCalc::FillFlags() {
    if (IsLargeCircuit()) return FillRowFlags();
    const int n = m_Size;
    bool allRowsUsed = true;
    for (int i = 1; i < n; ++i) {
        if (RowOff[i]) continue;
        // Restricted pointers and local sums let the compiler mark many columns at once.
        const double* __restrict g = MatrixG[i];
        const double* __restrict c = MatrixC[i];
        unsigned char* __restrict fg = FlagG[i];
        unsigned char* __restrict fc = FlagC[i];
        unsigned char anyG = 0, anyC = 0;
        for (int j = 1; j < n; ++j) {
            const unsigned char inG = g[j] != 0.0;
            const unsigned char inC = c[j] != 0.0;
            fg[j] = inG;
            fc[j] = inC;
            anyG |= inG;
            anyC |= inC;
        }
        fg[0] = anyG;
        fc[0] = anyC;
        if (!anyG && !anyC) allRowsUsed = false;
    }
    return allRowsUsed;
}

// The dense marking, entry by entry: rows out of the system keep no flags.
bool CCalc::FillRowFlags() {
    for (const int32_t i : m_Rows.WrittenRows()) {
        const bool off = RowOff[i] != 0;
        unsigned char anyG = 0, anyC = 0;
        for (CRowEntry& e : m_Rows.Row(i)) {
            e.flagG = !off && e.g != 0.0;
            e.flagC = !off && e.c != 0.0;
            anyG |= e.flagG;
            anyC |= e.flagC;
        }
        m_Rows.AnyG(i) = anyG;
        m_Rows.AnyC(i) = anyC;
    }
    for (int i = 1; i < m_Size; ++i)
        if (!RowOff[i] && !m_Rows.AnyG(i) && !m_Rows.AnyC(i)) return false;
    return true;
}

// After PhaseFloat has put leaks into rows that had nothing.
void CCalc::RescanEmptyRows() {
    for (int i = 1; i < m_Size; ++i) {
        if (RowOff[i] || RowFlagG(i)) continue;
        unsigned char any = 0;
        ForEachEntry(i, [&](int, double& g, double&, unsigned char& fg, unsigned char&) {
            fg = g != 0.0;
            any |= fg;
        });
        RowFlagG(i) = any;
    }
}

}  // namespace qz3
