#include "solver/sparse_order.h"

#include <algorithm>

namespace qz3 {

namespace {

using CAdjacency = std::vector<std::vector<int32_t>>;

CAdjacency SymmetricGraph(const CSparseColumns& a) {
    CAdjacency adj(static_cast<size_t>(a.n));
    for (int j = 0; j < a.n; ++j) {
        for (int32_t p = a.start[j]; p < a.start[j + 1]; ++p) {
            const int i = a.row[p];
            if (i == j) continue;
            adj[i].push_back(j);
            adj[j].push_back(i);
        }
    }
    for (auto& list : adj) {
        std::sort(list.begin(), list.end());
        list.erase(std::unique(list.begin(), list.end()), list.end());
    }
    return adj;
}

void InsertSorted(std::vector<int32_t>& list, int32_t v) {
    const auto at = std::lower_bound(list.begin(), list.end(), v);
    if (at == list.end() || *at != v) list.insert(at, v);
}

void EraseSorted(std::vector<int32_t>& list, int32_t v) {
    const auto at = std::lower_bound(list.begin(), list.end(), v);
    if (at != list.end() && *at == v) list.erase(at);
}

// Takes v out of the graph and makes its neighbours a clique.
void Eliminate(CAdjacency& adj, int32_t v) {
    const std::vector<int32_t> around = std::move(adj[v]);
    adj[v].clear();
    for (const int32_t u : around) EraseSorted(adj[u], v);
    for (size_t x = 0; x < around.size(); ++x)
        for (size_t y = x + 1; y < around.size(); ++y) {
            InsertSorted(adj[around[x]], around[y]);
            InsertSorted(adj[around[y]], around[x]);
        }
}

}  // namespace

// The lowest degree first, the lower index among equals, so that the order is
// the same on every run.
std::vector<int32_t> MinimumDegreeOrder(const CSparseColumns& a) {
    const int n = a.n;
    CAdjacency adj = SymmetricGraph(a);
    std::vector<char> done(static_cast<size_t>(n), 0);
    std::vector<int32_t> order;
    order.reserve(static_cast<size_t>(n));
    for (int step = 0; step < n; ++step) {
        int32_t best = -1;
        size_t bestDegree = 0;
        for (int32_t v = 0; v < n; ++v) {
            if (done[v]) continue;
            if (best < 0 || adj[v].size() < bestDegree) best = v, bestDegree = adj[v].size();
        }
        done[best] = 1;
        order.push_back(best);
        Eliminate(adj, best);
    }
    return order;
}

}  // namespace qz3
