// The equations of an assembly, copied as it left them.
//
// Between events the element states stand, and so do the entries of
// elements whose stamps follow from their states alone: the Euler steps after
// an event and the factorisation that ends them would assemble the same rows
// again and again. Each of those modifies the rows it was given (adding C/h
// into G), so the first keeps a copy and the others take it back.
#pragma once

#include <cstdint>
#include <vector>

#include "solver/row_store.h"

namespace qz3 {

class CAssemblyCopy {
public:
    // Copies the written rows of the store and the constant sources b[0 .. n)
    // of the assembly numbered id.
    void Take(const CRowStore& rows, const double* b, int n, uint64_t id);
    // Empties the store and puts the copied rows and sources back.
    void PutBack(CRowStore& rows, double* b) const;
    bool Held() const { return m_Held; }
    uint64_t Id() const { return m_Id; }
    void Drop() { m_Held = false; }

private:
    std::vector<int32_t> m_Rows;   // the written rows,
    std::vector<int32_t> m_Start;  // each with its entries from here in m_Entries,
    std::vector<unsigned char> m_AnyG, m_AnyC;  // and its row flags
    std::vector<CRowEntry> m_Entries;
    std::vector<double> m_B;
    uint64_t m_Id = 0;
    bool m_Held = false;
};

}  // namespace qz3
