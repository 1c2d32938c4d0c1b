// Sparse LU factorisation of a square matrix, for the large circuits.
//
// A circuit matrix has a few entries per row, and so have its triangular
// factors when the columns are taken in a good order; its inverse is dense.
// Solving with the factors costs about their number of entries, where a
// product with the inverse costs n^2. The factorisation is left-looking: each
// column is found by a sparse triangular solve with the columns before it
// (whose reach is a depth-first search in the graph of L), and then its pivot
// is the largest remaining entry (partial pivoting, rows only).
//
// A refactorisation of a matrix with the same pattern takes the pivot order
// and the patterns of L and U of the last one and only redoes the numbers; it
// declines when a kept pivot has become small against its column, and then a
// full factorisation chooses the pivots anew.
//
// The numbers of the last few matrices over the same pivot order are kept
// with the values they were made from: a converter returns to the same
// handful of steps and states period after period, and a matrix met again,
// bit for bit, takes its numbers back instead of being refactored. Those are
// the numbers a refactorisation would make, since they were made the same way.
//
// Use:
//   CSparseColumns a; a.Clear(n); per column: a.Add(row, value)..., a.EndColumn();
//   CSparseLu lu; if (!lu.Factor(a, tiny)) -> singular to within tiny
//   per right side: lu.Solve(b)   (b by row in, the solution by column out; no allocation)
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qz3 {

// A square matrix in compressed columns: column j holds the rows
// row[start[j] .. start[j + 1]) with the values alongside.
struct CSparseColumns {
    int32_t n = 0;
    std::vector<int32_t> start;
    std::vector<int32_t> row;
    std::vector<double> value;

    void Clear(int size);
    void Add(int r, double v) {
        row.push_back(r);
        value.push_back(v);
    }
    void EndColumn() { start.push_back(static_cast<int32_t>(row.size())); }
    bool SamePattern(const CSparseColumns& o) const { return n == o.n && start == o.start && row == o.row; }
};

// The numbers of one factorisation, and the matrix values they come from.
struct CLuNumbers {
    std::vector<double> l, u, diagonal;
    std::vector<double> input;
    double tiny = 0.0;
    bool valid = false;
    bool MadeFrom(const CSparseColumns& a, double t) const;
};

class CSparseLu {
public:
    // Earlier numbers kept beside the present ones.
    static constexpr int kKeptNumbers = 3;

    // Factors a with the columns in an order that keeps the fill small. A
    // column whose largest candidate pivot is not above tiny times the largest
    // entry of that column in a counts as singular: false, and nothing usable.
    bool Factor(const CSparseColumns& a, double tiny);
    // The numbers of a matrix with the pattern of the last successful Factor.
    // False for another pattern (the factors stay those of the last matrix),
    // and false with nothing usable when a kept pivot no longer holds.
    bool Refactor(const CSparseColumns& a, double tiny);
    // Factor, or Refactor when a has the pattern of the last factorisation.
    bool Update(const CSparseColumns& a, double tiny);
    bool Ready() const { return m_Ready; }
    // The last Factor found its matrix singular, and none has succeeded since.
    bool FoundSingular() const { return m_FoundSingular; }
    int Size() const { return m_N; }
    // Entries of L and U together (the diagonal included).
    size_t Entries() const { return m_LRow.size() + m_URow.size() + static_cast<size_t>(m_N); }
    // Refactorisations answered by numbers kept from the same matrix.
    int64_t NumbersReused() const { return m_Reused; }
    // Solves A x = b in place: b holds the right side by row on entry and the
    // solution by column on return.
    void Solve(double* b) const;

private:
    void Reset(const CSparseColumns& a);
    int Reach(const CSparseColumns& a, int col);
    void ScatterColumn(const CSparseColumns& a, int col, double& colMax);
    void ApplyColumnsBefore(int top);
    int ChoosePivot(int top) const;
    void StoreLowerColumn(int top, int pivotRow, double pivot);
    void ClearWork(int top);
    bool TakeKeptNumbers(const CSparseColumns& a, double tiny);
    void KeepPresentNumbers();
    void NumbersMadeFrom(const CSparseColumns& a, double tiny);
    void ForgetNumbers();
    bool ComputeNumbers(const CSparseColumns& a, double tiny);

    bool m_Ready = false;
    bool m_FoundSingular = false;
    int m_N = 0;
    std::vector<int32_t> m_Order;   // step k factors column m_Order[k]
    std::vector<int32_t> m_PivotRow;  // step k's pivot is this row of a
    std::vector<int32_t> m_StepOfRow;  // the inverse; -1 for a row not yet a pivot
    std::vector<int32_t> m_LStart, m_LRow;  // L without its unit diagonal; rows of a
    std::vector<int32_t> m_UStart, m_URow;  // U above the diagonal; rows are steps, in the order applied
    CLuNumbers m_Now;  // of L, U and the diagonal, by the places above
    CLuNumbers m_Kept[kKeptNumbers];  // over the same order and places; the oldest goes first
    int m_KeptNext = 0;
    int64_t m_Reused = 0;
    std::vector<int32_t> m_PatternStart, m_PatternRow;  // a's pattern at the last Factor
    std::vector<int32_t> m_OrderStart, m_OrderRow;      // the pattern m_Order was made for
    // Work of the factorisation and the solve, sized once per Factor.
    std::vector<double> m_Work;
    std::vector<int32_t> m_Mark, m_Stack, m_Next, m_Reach;
    mutable std::vector<double> m_Steps;
};

}  // namespace qz3
