// The transfer-function blocks: "F_S" (a function of s) and "F_Z" (of z),
// input pin 0, output pin 1. The output is driven; the input draws nothing.
//
// A polynomial ratio of order n enters a solver that knows only first
// derivatives through 2n unknowns of its own: y_j, the (j+1)-th derivative
// of the output (branch j), and u_j, that of the input (branch n + j). Each
// of their rows says "this is the derivative of the one before", with the
// derivative in the C matrix; the output row says
//     sum a_j d^j y/dt^j = sum b_j d^j u/dt^j.
// So the block integrates exactly as the rest of the circuit does. "Function"
// (a formula of s) is its gain at s = 0 in a transient run; "F_Z" is a wire
// there. In AC analysis every model is its complex value at the frequency.
#pragma once

#include "components/cmp.h"
#include "components/transfer_function.h"
#include "expr/formula.h"

namespace qz3 {

extern const CParamTable kTransferFunctionParams;
extern const CModelInfo kModelsFS[];
extern const CModelInfo kModelsFZ[];

class CElemAC : public CCmp {
public:
    explicit CElemAC(const CCmpType* type) : CCmp(type) {}

    bool CheckParams(CSolverPort* calc) override;
    int AssignBranches(CSolverPort* calc, int first) override;
    bool Simulate(CSolverPort* calc, int phase, double t) override;
    std::string GetState() override;

    std::string text;   // "Function": H(s)
    CFormula K;         // "Roots": gain
    CFormula b[kMaxOrder + 1];
    CFormula a[kMaxOrder + 1];
    std::string ic;     // output, then derivatives of input and output
    std::string roots;  // "Roots": zeros, then poles

    CPolynomialRatio ratio;
    double out0 = 0.0;
    double du[kMaxOrder] = {};
    double dy[kMaxOrder] = {};

private:
    bool IsPolynomial() const;
    int Order() const;
    bool Init(CSolverPort* calc);
    void LoadInitialValues(const std::string& list);
    void Store(CSolverPort* calc);
    bool Stamp(CSolverPort* calc);
    void StampTransient(CSolverPort* calc, int i, int o);
    void StampStateChain(CSolverPort* calc, int i, int o);
    void StampUnitChain(CSolverPort* calc);
    bool StampFrequency(CSolverPort* calc, int i, int o);
    double DcGain(CSolverPort* calc);

    CFrequencyFormula m_Formula;
    std::complex<double> m_Held{0.0, 0.0};  // the last value of a ratio whose denominator vanished
};

}  // namespace qz3
