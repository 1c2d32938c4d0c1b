#include "solver/assembly_copy.h"

#include <cstring>

namespace qz3 {

void CAssemblyCopy::Take(const CRowStore& rows, const double* b, int n, uint64_t id) {
    m_Values.clear();
    m_Rows.clear();
    m_AnyG.clear();
    for (const int32_t i : rows.WrittenRows()) {
        m_Rows.push_back(i);
        m_AnyG.push_back(rows.AnyG(i));
        const std::vector<CRowEntry>& row = rows.Row(i);
        for (size_t at = 0; at < row.size(); ++at)
            if (row[at].flagC) m_Values.push_back({i, static_cast<int32_t>(at), row[at].g, row[at].flagG});
    }
    m_B.assign(b, b + n);
    m_Id = id;
    m_Held = true;
}

void CAssemblyCopy::PutBack(CRowStore& rows, double* b) const {
    for (const CKeptValue& v : m_Values) {
        CRowEntry& e = rows.Row(v.row)[static_cast<size_t>(v.at)];
        e.g = v.g;
        e.flagG = v.flagG;
    }
    for (size_t r = 0; r < m_Rows.size(); ++r) rows.AnyG(m_Rows[r]) = m_AnyG[r];
    std::memcpy(b, m_B.data(), m_B.size() * sizeof(double));
}

}  // namespace qz3
