#include "solver/sparse_order.h"

#include <algorithm>
#include <set>
#include <utility>

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

// Takes v out of the graph and makes its neighbours a clique; the queue
// follows the degrees that change.
void Eliminate(CAdjacency& adj, std::set<std::pair<size_t, int32_t>>& queue, int32_t v) {
    const std::vector<int32_t> around = std::move(adj[v]);
    adj[v].clear();
    for (const int32_t u : around) queue.erase({adj[u].size(), u});
    for (const int32_t u : around) EraseSorted(adj[u], v);
    for (size_t x = 0; x < around.size(); ++x)
        for (size_t y = x + 1; y < around.size(); ++y) {
            InsertSorted(adj[around[x]], around[y]);
            InsertSorted(adj[around[y]], around[x]);
        }
    for (const int32_t u : around) queue.insert({adj[u].size(), u});
}

}  // namespace

// The lowest degree first, the lower index among equals, so that the order is
// the same on every run.
std::vector<int32_t> MinimumDegreeOrder(const CSparseColumns& a) {
    const int n = a.n;
    CAdjacency adj = SymmetricGraph(a);
    std::set<std::pair<size_t, int32_t>> queue;
    for (int32_t v = 0; v < n; ++v) queue.insert({adj[v].size(), v});
    std::vector<int32_t> order;
    order.reserve(static_cast<size_t>(n));
    while (!queue.empty()) {
        const int32_t best = queue.begin()->second;
        queue.erase(queue.begin());
        order.push_back(best);
        Eliminate(adj, queue, best);
    }
    return order;
}

}  // namespace qz3
