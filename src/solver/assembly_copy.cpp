#include "solver/assembly_copy.h"

namespace qz3 {

void CAssemblyCopy::Take(const CRowStore& rows, const double* b, int n, uint64_t id) {
    m_Rows.clear();
    m_Start.assign(1, 0);
    m_AnyG.clear();
    m_AnyC.clear();
    m_Entries.clear();
    for (const int32_t i : rows.WrittenRows()) {
        const std::vector<CRowEntry>& row = rows.Row(i);
        m_Rows.push_back(i);
        m_Entries.insert(m_Entries.end(), row.begin(), row.end());
        m_Start.push_back(static_cast<int32_t>(m_Entries.size()));
        m_AnyG.push_back(rows.AnyG(i));
        m_AnyC.push_back(rows.AnyC(i));
    }
    m_B.assign(b, b + n);
    m_Id = id;
    m_Held = true;
}

void CAssemblyCopy::PutBack(CRowStore& rows, double* b) const {
    rows.Clear();
    const CRowEntry* entries = m_Entries.data();
    for (size_t r = 0; r < m_Rows.size(); ++r)
        rows.SetRow(m_Rows[r], entries + m_Start[r], entries + m_Start[r + 1], m_AnyG[r], m_AnyC[r]);
    for (size_t i = 0; i < m_B.size(); ++i) b[i] = m_B[i];
}

}  // namespace qz3
