#include <new>

#include "solver/calc.h"

namespace qz3 {

bool CCalc::AddNodePair(int a, int b) {
    try {
        m_NodePairs.emplace_back(a, b);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

// Pairs declare ids equal; the lower id survives, so ground (0) always wins.
void CCalc::MergeNodes() {
    const int count = static_cast<int>(m_NodePairs.size());
    for (int k = 0; k < count; ++k) {
        const auto [a, b] = m_NodePairs[static_cast<size_t>(k)];
        if (a == b) continue;
        const int lo = a < b ? a : b;
        const int hi = a < b ? b : a;
        ReplaceNodeInLaterPairs(k + 1, hi, lo);
        RenameNodeInPins(hi, lo);
    }
    m_NodePairs.clear();
    m_NodePairs.shrink_to_fit();
}

void CCalc::ReplaceNodeInLaterPairs(int first, int from, int to) {
    for (size_t k = static_cast<size_t>(first); k < m_NodePairs.size(); ++k) {
        if (m_NodePairs[k].first == from) m_NodePairs[k].first = to;
        if (m_NodePairs[k].second == from) m_NodePairs[k].second = to;
    }
}

bool CCalc::NumberNodes() {
    m_NodeCount = m_BranchCount = m_SignalCount = 0;
    FreeNodeRecords();
    CollectPinNodes();
    ClassifyNodes();
    const int branches = AssignAllBranches(m_NodeCount + 1);
    SetSizes(m_NodeCount, branches, m_SignalCount);
    IndexNodes();
    RenumberPins();
    FreeNodeRecords();
    return true;
}

// m_Nodes stays sorted by id; pins with the same negative id share one node.
bool CCalc::AddNodeId(int id, int kind) {
    int lo = 0, hi = m_Nodes.Count();
    while (lo < hi) {
        const int mid = (lo + hi) / 2;
        if (m_Nodes[mid]->id < id)
            lo = mid + 1;
        else
            hi = mid;
    }
    if (lo < m_Nodes.Count() && m_Nodes[lo]->id == id) {
        m_Nodes[lo]->kind |= kind;
        return true;
    }
    auto* record = new (std::nothrow) CNodeRecord{id, 0, kind};
    if (!record) return false;
    m_Nodes.Insert(lo, record);
    return true;
}

// In AC analysis every node is electrical; in a transient run a node that no
// analogue pin touches lives outside the matrices.
void CCalc::ClassifyNodes() {
    m_NodeCount = m_SignalCount = 0;
    for (const CNodeRecord* record : m_Nodes) {
        if (m_Transient && !(record->kind & 1))
            ++m_SignalCount;
        else
            ++m_NodeCount;
    }
}

void CCalc::IndexNodes() {
    int electrical = 1;
    int signal = m_Size;
    for (CNodeRecord* record : m_Nodes)
        record->index = (m_Transient && !(record->kind & 1)) ? signal++ : electrical++;
}

int CCalc::NodeIndex(int id) const {
    int lo = 0, hi = m_Nodes.Count() - 1;
    while (lo <= hi) {
        const int mid = (lo + hi) / 2;
        const int midId = m_Nodes[mid]->id;
        if (midId == id) return m_Nodes[mid]->index;
        if (midId < id)
            lo = mid + 1;
        else
            hi = mid - 1;
    }
    return 0;
}

void CCalc::FreeNodeRecords() {
    for (CNodeRecord* record : m_Nodes) delete record;
    m_Nodes.Clear();
}

}  // namespace qz3
