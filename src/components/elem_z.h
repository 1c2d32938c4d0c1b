// The impedance "Z_Z": two pins, a voltage V = x[pin 1] - x[pin 0] and a
// current x[k] through it, related by Z(s) = V / I given as a formula of s
// ("Function"), coefficients ("Poly1".."Poly5") or roots ("Roots").
//
// The current enters node 0 from the element and leaves node 1, so that a
// positive real Z dissipates. In AC analysis the row of k is V = Z(jw) I.
// In a transient run a polynomial Z runs as the chain of derivatives of
// CTransferElement (y = V, u = I), its DC form from `IC` (V, then the
// derivatives of I, then those of V); a formula Z is a short there.
#pragma once

#include "components/transfer_element.h"

namespace qz3 {

extern const CParamTable kImpedanceParams;
extern const CModelInfo* const kModelsZ;

class CElemZ : public CTransferElement {
public:
    explicit CElemZ(const CCmpType* type) : CTransferElement(type) {}

    bool Simulate(CSolverPort* calc, int phase, double t) override;

    std::string z;  // "Function": Z(s)

protected:
    int ChainOffset() const override { return 1; }

private:
    bool Stamp(CSolverPort* calc);
    void StampVoltageTerm(CSolverPort* calc, double scale);
};

}  // namespace qz3
