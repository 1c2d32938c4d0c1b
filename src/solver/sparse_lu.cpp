#include "solver/sparse_lu.h"

#include <cmath>
#include <cstring>
#include <utility>

#include "solver/sparse_order.h"

namespace qz3 {

namespace {

// A kept pivot may shrink to this share of the largest entry of its column
// before a refactorisation gives up and pivots anew.
constexpr double kKeptPivotShare = 1e-3;

}  // namespace

void CSparseColumns::Clear(int size) {
    n = size;
    start.assign(1, 0);
    row.clear();
    value.clear();
}

bool CLuNumbers::MadeFrom(const CSparseColumns& a, double t) const {
    return valid && tiny == t && input.size() == a.value.size() &&
           std::memcmp(input.data(), a.value.data(), input.size() * sizeof(double)) == 0;
}

void CSparseLu::Reset(const CSparseColumns& a) {
    m_Ready = false;
    // The factors are about to change: no pattern may Refactor them until a Factor succeeds.
    m_PatternStart.clear();
    m_PatternRow.clear();
    m_N = a.n;
    const size_t n = static_cast<size_t>(a.n);
    m_PivotRow.assign(n, -1);
    m_StepOfRow.assign(n, -1);
    m_LStart.assign(1, 0);
    m_LRow.clear();
    m_UStart.assign(1, 0);
    m_URow.clear();
    ForgetNumbers();
    m_Now.l.clear();
    m_Now.u.clear();
    m_Now.diagonal.assign(n, 0.0);
    m_Work.assign(n, 0.0);
    m_Mark.assign(n, -1);
    m_Stack.assign(n, 0);
    m_Next.assign(n, 0);
    m_Reach.assign(n, 0);
    m_Steps.assign(n, 0.0);
}

bool CSparseLu::Factor(const CSparseColumns& a, double tiny) {
    Reset(a);
    // The order depends on the pattern alone: a pattern met again, even one
    // that was singular last time, keeps it.
    if (a.start != m_OrderStart || a.row != m_OrderRow) {
        m_Order = MinimumDegreeOrder(a);
        m_OrderStart = a.start;
        m_OrderRow = a.row;
    }
    for (int k = 0; k < m_N; ++k) {
        const int col = m_Order[k];
        const int top = Reach(a, col);
        double colMax = 0.0;
        ScatterColumn(a, col, colMax);
        ApplyColumnsBefore(top);
        const int pivotRow = ChoosePivot(top);
        const double pivot = pivotRow < 0 ? 0.0 : m_Work[pivotRow];
        if (pivotRow < 0 || !(std::fabs(pivot) > tiny * colMax)) {
            ClearWork(top);
            m_FoundSingular = true;
            return false;
        }
        m_PivotRow[k] = pivotRow;
        m_StepOfRow[pivotRow] = k;
        m_Now.diagonal[k] = pivot;
        StoreLowerColumn(top, pivotRow, pivot);
        ClearWork(top);
    }
    m_PatternStart = a.start;
    m_PatternRow = a.row;
    NumbersMadeFrom(a, tiny);
    m_Ready = true;
    m_FoundSingular = false;
    return true;
}

// The rows that column col reaches through the columns of L so far, in an
// order where each row comes after every row whose column updates it; they
// stand in m_Reach[top .. n).
int CSparseLu::Reach(const CSparseColumns& a, int col) {
    int top = m_N;
    const int stamp = col;  // a column is reached once per factorisation
    for (int32_t p = a.start[col]; p < a.start[col + 1]; ++p) {
        if (m_Mark[a.row[p]] == stamp) continue;
        int head = 0;
        m_Stack[0] = a.row[p];
        while (head >= 0) {
            const int r = m_Stack[head];
            const int step = m_StepOfRow[r];
            if (m_Mark[r] != stamp) {
                m_Mark[r] = stamp;
                m_Next[head] = step >= 0 ? m_LStart[step] : 0;
            }
            const int end = step >= 0 ? m_LStart[step + 1] : 0;
            bool descended = false;
            for (int q = m_Next[head]; q < end; ++q) {
                const int child = m_LRow[q];
                if (m_Mark[child] == stamp) continue;
                m_Next[head] = q + 1;
                m_Stack[++head] = child;
                descended = true;
                break;
            }
            if (!descended) {
                --head;
                m_Reach[--top] = r;
            }
        }
    }
    return top;
}

void CSparseLu::ScatterColumn(const CSparseColumns& a, int col, double& colMax) {
    for (int32_t p = a.start[col]; p < a.start[col + 1]; ++p) {
        m_Work[a.row[p]] = a.value[p];
        colMax = std::fmax(colMax, std::fabs(a.value[p]));
    }
}

// The reached rows that are pivots of earlier steps give this column's U;
// each subtracts its step's column of L.
void CSparseLu::ApplyColumnsBefore(int top) {
    for (int p = top; p < m_N; ++p) {
        const int r = m_Reach[p];
        const int step = m_StepOfRow[r];
        if (step < 0) continue;
        const double v = m_Work[r];
        m_URow.push_back(step);
        m_Now.u.push_back(v);
        if (v == 0.0) continue;
        for (int32_t q = m_LStart[step]; q < m_LStart[step + 1]; ++q) m_Work[m_LRow[q]] -= m_Now.l[q] * v;
    }
    m_UStart.push_back(static_cast<int32_t>(m_URow.size()));
}

// The largest remaining entry; the lower row among equals.
int CSparseLu::ChoosePivot(int top) const {
    int best = -1;
    double bestAbs = 0.0;
    for (int p = top; p < m_N; ++p) {
        const int r = m_Reach[p];
        if (m_StepOfRow[r] >= 0) continue;
        const double v = std::fabs(m_Work[r]);
        if (v > bestAbs || (v == bestAbs && best >= 0 && v > 0.0 && r < best)) best = r, bestAbs = v;
    }
    return best;
}

void CSparseLu::StoreLowerColumn(int top, int pivotRow, double pivot) {
    for (int p = top; p < m_N; ++p) {
        const int r = m_Reach[p];
        if (r == pivotRow || m_StepOfRow[r] >= 0) continue;
        m_LRow.push_back(r);
        m_Now.l.push_back(m_Work[r] / pivot);
    }
    m_LStart.push_back(static_cast<int32_t>(m_LRow.size()));
}

void CSparseLu::ClearWork(int top) {
    for (int p = top; p < m_N; ++p) m_Work[m_Reach[p]] = 0.0;
}

bool CSparseLu::Refactor(const CSparseColumns& a, double tiny) {
    if (a.n != m_N || a.start != m_PatternStart || a.row != m_PatternRow) return false;
    if (TakeKeptNumbers(a, tiny)) {
        ++m_Reused;
        m_Ready = true;
        return true;
    }
    KeepPresentNumbers();
    m_Ready = false;
    if (!ComputeNumbers(a, tiny)) return false;
    NumbersMadeFrom(a, tiny);
    m_Ready = true;
    return true;
}

// The numbers of a over the kept order and places; false when a kept pivot no
// longer holds.
bool CSparseLu::ComputeNumbers(const CSparseColumns& a, double tiny) {
    double* lValue = m_Now.l.data();
    double* uValue = m_Now.u.data();
    for (int k = 0; k < m_N; ++k) {
        const int col = m_Order[k];
        double colMax = 0.0;
        ScatterColumn(a, col, colMax);
        for (int32_t u = m_UStart[k]; u < m_UStart[k + 1]; ++u) {
            const int step = m_URow[u];
            const double v = m_Work[m_PivotRow[step]];
            uValue[u] = v;
            m_Work[m_PivotRow[step]] = 0.0;
            if (v == 0.0) continue;
            for (int32_t q = m_LStart[step]; q < m_LStart[step + 1]; ++q) m_Work[m_LRow[q]] -= lValue[q] * v;
        }
        const double pivot = m_Work[m_PivotRow[k]];
        m_Work[m_PivotRow[k]] = 0.0;
        double otherMax = 0.0;
        for (int32_t q = m_LStart[k]; q < m_LStart[k + 1]; ++q) otherMax = std::fmax(otherMax, std::fabs(m_Work[m_LRow[q]]));
        const bool holds = std::fabs(pivot) > tiny * colMax && std::fabs(pivot) >= kKeptPivotShare * otherMax;
        for (int32_t q = m_LStart[k]; q < m_LStart[k + 1]; ++q) {
            lValue[q] = holds ? m_Work[m_LRow[q]] / pivot : 0.0;
            m_Work[m_LRow[q]] = 0.0;
        }
        if (!holds) return false;
        m_Now.diagonal[k] = pivot;
    }
    return true;
}

// The present numbers, or kept ones made from the same values, which become
// the present ones.
bool CSparseLu::TakeKeptNumbers(const CSparseColumns& a, double tiny) {
    if (m_Now.MadeFrom(a, tiny)) return true;
    for (CLuNumbers& kept : m_Kept) {
        if (!kept.MadeFrom(a, tiny)) continue;
        std::swap(kept, m_Now);
        return true;
    }
    return false;
}

// The present numbers are those of a at this threshold.
void CSparseLu::NumbersMadeFrom(const CSparseColumns& a, double tiny) {
    m_Now.input = a.value;
    m_Now.tiny = tiny;
    m_Now.valid = true;
}

// Sets the present numbers aside and leaves room for new ones over the same places.
void CSparseLu::KeepPresentNumbers() {
    if (m_Now.valid) {
        std::swap(m_Kept[m_KeptNext], m_Now);
        m_KeptNext = (m_KeptNext + 1) % kKeptNumbers;
    }
    m_Now.valid = false;
    m_Now.l.resize(m_LRow.size());
    m_Now.u.resize(m_URow.size());
    m_Now.diagonal.resize(static_cast<size_t>(m_N));
}

// The order or the places change: no numbers made over the old ones may come back.
void CSparseLu::ForgetNumbers() {
    m_Now.valid = false;
    for (CLuNumbers& kept : m_Kept) kept.valid = false;
    m_KeptNext = 0;
}

bool CSparseLu::Update(const CSparseColumns& a, double tiny) {
    if (m_Ready && Refactor(a, tiny)) return true;
    return Factor(a, tiny);
}

void CSparseLu::Solve(double* b) const {
    double* y = m_Steps.data();
    const double* lValue = m_Now.l.data();
    const double* uValue = m_Now.u.data();
    const double* diagonal = m_Now.diagonal.data();
    for (int k = 0; k < m_N; ++k) {
        const double v = b[m_PivotRow[k]];
        y[k] = v;
        if (v == 0.0) continue;
        for (int32_t q = m_LStart[k]; q < m_LStart[k + 1]; ++q) b[m_LRow[q]] -= lValue[q] * v;
    }
    for (int k = m_N - 1; k >= 0; --k) {
        const double xk = y[k] / diagonal[k];
        y[k] = xk;
        if (xk == 0.0) continue;
        for (int32_t u = m_UStart[k]; u < m_UStart[k + 1]; ++u) y[m_URow[u]] -= uValue[u] * xk;
    }
    for (int k = 0; k < m_N; ++k) b[m_Order[k]] = y[k];
}

}  // namespace qz3
