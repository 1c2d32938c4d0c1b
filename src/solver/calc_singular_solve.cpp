// Singular systems of a large circuit taken from their records (see
// singular_record.h): the switching search of a converter tries the same few
// dozen singular states again and again.
#include <utility>

#include "solver/calc.h"

namespace qz3 {

// Everything the forward pass reads: the size, the snap threshold, the rows
// out of the system, and every stored entry of G with its flag (an entry
// without flag is read by the last sweep when it isn't zero).
CFactorKey CCalc::SingularKey() const {
    CFactorHasher h;
    h.Add(static_cast<uint64_t>(m_Size));
    h.AddDouble(m_Zero);
    for (int i = 1; i < m_Size; ++i) {
        h.Add(static_cast<uint64_t>(i) << 8 | RowOff[i]);
        for (const CRowEntry& e : m_Rows.Row(i)) {
            h.Add(static_cast<uint64_t>(e.column) << 8 | e.flagG);
            h.AddDouble(e.g);
        }
    }
    return h.Key();
}

bool CCalc::ReplaySingularSolve() {
    if (m_SingularRecords.Budget() == 0) return false;
    const CFactorKey key = SingularKey();
    const CSingularRecord* record = m_SingularRecords.Find(key);
    if (record == nullptr) {
        // Made by the elimination that follows, should the system be singular.
        m_NewRecord.key = key;
        m_NewRecord.steps.clear();
        m_NewRecord.rows.clear();
        return false;
    }
    ClearDenseStorage();
    for (const CPlacedEntry& e : record->rows) {
        MatrixG[e.row][e.column] = e.value;
        FlagG[e.row][e.column] = e.flag;
    }
    const int n = m_Size;
    m_ReplayRight.assign(VecX, VecX + n);
    double* y = m_ReplayRight.data();
    for (const CRightSideStep& s : record->steps) {
        switch (s.kind) {
            case CRightSideStep::Swap: std::swap(y[s.row], y[s.other]); break;
            case CRightSideStep::Scale: y[s.row] /= s.value; break;
            case CRightSideStep::Subtract: AddRound(&y[s.row], -y[s.other] * s.value); break;
        }
    }
    for (int i = 1; i < n; ++i) MatrixG[i][0] = y[i];
    // The lists ListEntries would make from these rows, in its order, without its walk of n x n flags.
    m_Entries.Begin(n);
    for (const CPlacedEntry& e : record->rows)
        if (e.flag && !RowOff[e.row]) m_Entries.Add(e.row, e.column);
    ++m_SingularHits;
    m_Replayed = record;
    return true;
}

// The replay wrote the record's rows and column 0; the rest of the solve
// wrote the diagonal of free unknowns and the columns of those it could not find.
void CCalc::ClearReplayedSystem() {
    for (const CPlacedEntry& e : m_Replayed->rows) {
        MatrixG[e.row][e.column] = 0.0;
        FlagG[e.row][e.column] = 0;
    }
    m_Replayed = nullptr;
    for (int i = 1; i < m_Size; ++i) {
        double* g = MatrixG[i];
        unsigned char* f = FlagG[i];
        g[0] = g[i] = 0.0;
        f[i] = 0;
        for (const int32_t j : m_BadUnknowns) {
            g[j] = 0.0;
            f[j] = 0;
        }
    }
    m_MatrixDirty = false;
}

void CCalc::RecordStep(const CRightSideStep& step) {
    m_NewRecord.steps.push_back(step);
    if (m_NewRecord.Bytes() > m_SingularRecords.Budget()) DropNewRecord();
}

// A record the cache would not take is not made: a large system that fills
// in is left alone instead of being copied at any size.
void CCalc::DropNewRecord() {
    m_RecordSteps = false;
    m_NewRecord = CSingularRecord();
}

// After the forward pass: the rows as it left them, column 0 apart.
void CCalc::KeepSingularRecord() {
    const int n = m_Size;
    const size_t room = m_SingularRecords.Budget() / sizeof(CPlacedEntry);
    std::vector<CPlacedEntry>& rows = m_NewRecord.rows;
    for (int i = 1; i < n; ++i) {
        const double* g = MatrixG[i];
        const unsigned char* f = FlagG[i];
        for (int j = 1; j < n; ++j) {
            if (!f[j] && g[j] == 0.0) continue;
            if (rows.size() == room) return DropNewRecord();
            rows.push_back({i, j, g[j], f[j]});
        }
    }
    m_SingularRecords.Store(std::move(m_NewRecord));
    DropNewRecord();
}

}  // namespace qz3
