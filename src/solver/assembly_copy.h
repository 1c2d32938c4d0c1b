// What the steps of an Euler phase change in the equations of its assembly.
//
// Between events the element states stand, and so do the entries of
// elements whose stamps follow from their states alone: the Euler steps after
// an event and the factorisation that ends them would assemble the same rows
// again and again. A step changes its rows in place only where C has an entry
// (it adds C/h into G there) and in the row flags of G; the factorisation also
// doubles the constant sources. The first keeps those values, and the others
// put them back over rows whose entries are otherwise as the assembly left them.
#pragma once

#include <cstdint>
#include <vector>

#include "solver/row_store.h"

namespace qz3 {

class CAssemblyCopy {
public:
    // Keeps the G side of the entries with a C value, the row flags of G and
    // the constant sources b[0 .. n) of the assembly numbered id.
    void Take(const CRowStore& rows, const double* b, int n, uint64_t id);
    // Puts them back into the rows of that same assembly.
    void PutBack(CRowStore& rows, double* b) const;
    bool Held() const { return m_Held; }
    uint64_t Id() const { return m_Id; }
    void Drop() { m_Held = false; }

private:
    struct CKeptValue {
        int32_t row;
        int32_t at;  // the place in the row
        double g;
        unsigned char flagG;
    };
    std::vector<CKeptValue> m_Values;
    std::vector<int32_t> m_Rows;  // the written rows, with their flag of G
    std::vector<unsigned char> m_AnyG;
    std::vector<double> m_B;
    uint64_t m_Id = 0;
    bool m_Held = false;
};

}  // namespace qz3
