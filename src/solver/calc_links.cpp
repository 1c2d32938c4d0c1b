#include <cmath>

#include "solver/calc.h"

namespace qz3 {

// Links form a forest with ground or a free node at each root, so that
// ResolveLinks can compute every linked node from one that is already known.
void CCalc::AddLink(int kind, int a, int b, int source, double value) {
    if (a == 0 && b == 0) return;
    int target;
    int origin;
    bool negate;
    if (b != 0 && NodeLink[b].kind == 0) {
        target = b, origin = a, negate = false;
    } else if (a != 0 && NodeLink[a].kind == 0) {
        target = a, origin = b, negate = true;
    } else if (b != 0 && ReverseLink(b)) {
        target = b, origin = a, negate = false;
    } else if (a != 0 && ReverseLink(a)) {
        target = a, origin = b, negate = true;
    } else {
        return;
    }
    // A link that would close a ring is dropped; the matrix row still holds the relation.
    if (FollowsInChain(origin, target)) return;
    CNodeLink& link = NodeLink[target];
    link.kind = kind;
    link.target = origin;
    link.value = value;
    link.source = source;
    link.negate = negate;
}

// Whether the chain from `from` towards its root passes through `node`.
bool CCalc::FollowsInChain(int from, int node) const {
    int j = from;
    for (int guard = 0; guard <= m_Size; ++guard) {
        if (j == node) return true;
        if (j == 0 || NodeLink[j].kind == 0) return false;
        j = NodeLink[j].target;
    }
    return true;
}

// Turns the chain from v around so that v becomes free; a chain that ends in
// ground keeps its direction.
bool CCalc::ReverseLink(int v) {
    int j = v;
    int guard = 0;
    while (NodeLink[j].kind != 0) {
        const int next = NodeLink[j].target;
        if (next == 0 || ++guard > m_Size) return false;
        NodeLink[next].back = j;
        j = next;
    }
    while (j != v) {
        const int prev = NodeLink[j].back;
        const CNodeLink& from = NodeLink[prev];
        CNodeLink& link = NodeLink[j];
        link.kind = from.kind;
        link.value = from.value;
        link.source = from.source;
        link.negate = !from.negate;
        link.target = prev;
        j = prev;
    }
    NodeLink[v].kind = 0;
    NodeLink[v].target = 0;
    return true;
}

bool CCalc::ResolveLinks() {
    const int n = m_Size;
    for (int k = 0; k < n; ++k) {
        const int node = NodeLink[k].order;
        if (node <= 0) continue;
        const CNodeLink& link = NodeLink[node];
        double v = VecX[link.target];
        if (link.kind == 2)
            v = link.negate ? v - link.value : v + link.value;
        else if (link.kind == 3)
            v = link.negate ? v + VecE[link.source] : v - VecE[link.source];
        VecX[node] = v;
    }
    for (int i = 0; i < n; ++i) {
        if (!std::isfinite(VecX[i])) {
            SetError("Infinite or invalid solution");
            return false;
        }
    }
    return true;
}

// A node must be computed after the node it follows: deeper levels lie nearer the root.
void CCalc::OrderLinks() {
    const int n = m_Size;
    int maxLevel = 0;
    for (int i = 1; i < n; ++i) {
        if (NodeLink[i].kind == 0 || NodeLink[i].level != 0) continue;
        int k = 0;
        int j = i;
        for (int guard = 0; guard < n && NodeLink[j].level <= k; ++guard) {
            NodeLink[j].level = ++k;
            j = NodeLink[j].target;
            if (j == 0 || NodeLink[j].kind == 0) break;
        }
        if (k > maxLevel) maxLevel = k;
    }
    int count = 0;
    for (int level = maxLevel; level >= 1; --level)
        for (int i = 1; i < n; ++i)
            if (NodeLink[i].kind != 0 && NodeLink[i].level == level) NodeLink[count++].order = i;
}

}  // namespace qz3
