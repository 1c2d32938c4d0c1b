// The transfer-function blocks: "F_S" (a function of s) and "F_Z" (of z),
// input pin 0, output pin 1. The output is driven; the input draws nothing.
//
// A polynomial ratio of order n runs in a transient run as the chain of
// derivatives of CTransferElement, with y the output and u the input; so
// the block integrates exactly as the rest of the circuit does. "Function"
// (a formula of s) is its gain at s = 0 in a transient run; "F_Z" is a wire
// there. In AC analysis every model is its complex value at the frequency.
#pragma once

#include "components/transfer_element.h"

namespace qz3 {

extern const CParamTable kTransferFunctionParams;
extern const CModelInfo* const kModelsFS;
extern const CModelInfo* const kModelsFZ;

class CElemAC : public CTransferElement {
public:
    explicit CElemAC(const CCmpType* type) : CTransferElement(type) {}

    bool Simulate(CSolverPort* calc, int phase, double t) override;
    std::string GetState() override;

    std::string text;  // "Function": H(s)

private:
    bool Stamp(CSolverPort* calc);
    void StampTransient(CSolverPort* calc, int i, int o);
    bool StampFrequency(CSolverPort* calc, int i, int o);
};

}  // namespace qz3
