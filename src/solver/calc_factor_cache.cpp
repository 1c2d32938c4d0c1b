// The trapezoidal factorisations kept across events: what goes into the key,
// and how the eliminated rows are saved and put back.
#include <cstring>

#include "solver/calc.h"

namespace qz3 {

namespace {

void HashFlaggedRow(CFactorHasher& h, const double* values, const unsigned char* flags, int n) {
    h.Add(flags[0]);
    for (int j = 1; j < n; ++j) {
        if (!flags[j]) continue;
        h.Add(static_cast<uint64_t>(j));
        h.AddDouble(values[j]);
    }
    h.Add(~uint64_t{0});  // the end of the row
}

void SaveFlaggedRow(CFactorRows& rows, const double* values, const unsigned char* flags, int n) {
    for (int j = 1; j < n; ++j) {
        if (!flags[j]) continue;
        rows.column.push_back(j);
        rows.value.push_back(values[j]);
    }
    rows.anyFlag.push_back(flags[0]);
    rows.start.push_back(static_cast<int32_t>(rows.column.size()));
}

// Entries the elimination left unflagged are never read again before the
// next assembly; they are cleared so that the row holds only what was kept.
void RestoreFlaggedRow(const CFactorRows& rows, int i, double* values, unsigned char* flags, int n) {
    std::memset(values, 0, static_cast<size_t>(n) * sizeof(double));
    std::memset(flags, 0, static_cast<size_t>(n));
    for (int32_t k = rows.start[i]; k < rows.start[i + 1]; ++k) {
        values[rows.column[k]] = rows.value[k];
        flags[rows.column[k]] = 1;
    }
    flags[0] = rows.anyFlag[i];
}

}  // namespace

// Everything PrepareTrapMatrices and EliminateTrap read: the size, the step,
// the rounding threshold, the rows out of the system and the input rows, the
// constant sources, and the flagged entries of both matrices.
CFactorKey CCalc::TrapFactorKey() const {
    CFactorHasher h;
    const int n = m_Size;
    h.Add(static_cast<uint64_t>(n));
    h.AddDouble(m_Step);
    h.AddDouble(m_Zero);
    for (int i = 1; i < n; ++i) {
        h.Add(static_cast<uint64_t>(RowOff[i]) << 8 | RowInput[i]);
        h.AddDouble(VecB[i]);
        if (RowOff[i]) continue;
        HashFlaggedRow(h, MatrixG[i], FlagG[i], n);
        HashFlaggedRow(h, MatrixC[i], FlagC[i], n);
    }
    return h.Key();
}

// Rows out of the system are never touched by the elimination: they are kept empty.
CFactorEntry CCalc::SaveTrapFactor(const CFactorKey& key) const {
    const int n = m_Size;
    CFactorEntry entry;
    entry.key = key;
    entry.b.assign(VecB, VecB + n);
    for (CFactorRows* rows : {&entry.g, &entry.c}) {
        rows->start.assign(2, 0);  // rows 0 and 1 begin at 0
        rows->anyFlag.push_back(0);
    }
    for (int i = 1; i < n; ++i) {
        if (RowOff[i]) {
            for (CFactorRows* rows : {&entry.g, &entry.c}) {
                rows->anyFlag.push_back(0);
                rows->start.push_back(static_cast<int32_t>(rows->column.size()));
            }
            continue;
        }
        SaveFlaggedRow(entry.g, MatrixG[i], FlagG[i], n);
        SaveFlaggedRow(entry.c, MatrixC[i], FlagC[i], n);
    }
    return entry;
}

void CCalc::RestoreTrapFactor(const CFactorEntry& entry) {
    m_MatrixDirty = true;
    const int n = m_Size;
    std::memcpy(VecB, entry.b.data(), static_cast<size_t>(n) * sizeof(double));
    for (int i = 1; i < n; ++i) {
        if (RowOff[i]) continue;
        RestoreFlaggedRow(entry.g, i, MatrixG[i], FlagG[i], n);
        RestoreFlaggedRow(entry.c, i, MatrixC[i], FlagC[i], n);
    }
}

}  // namespace qz3
