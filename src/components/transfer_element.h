// What the transfer-function block and the impedance share: a ratio of
// polynomials from coefficient formulas or from roots, its initial values,
// and the chain of derivatives that carries it in a transient run.
//
// The chain: for a ratio of order n, y(s) a(s) = u(s) b(s) becomes 2n
// unknowns from `firstBranch + offset`: y_j, the (j+1)-th derivative of y,
// and then u_j, that of u. Each of their rows says "this is the derivative
// of the one before" (the derivative in the C matrix), and the relation row
// says  sum a_j d^j y/dt^j = sum b_j d^j u/dt^j.
#pragma once

#include <array>
#include <string>

#include "components/cmp.h"
#include "components/transfer_function.h"
#include "expr/formula.h"

namespace qz3 {

// A quantity of the chain: x[plus] - x[minus] (0 is ground).
struct CChainQuantity {
    int plus = 0;
    int minus = 0;
};

class CTransferElement : public CCmp {
public:
    explicit CTransferElement(const CCmpType* type) : CCmp(type) {}

    bool CheckParams(CSolverPort* calc) override;
    int AssignBranches(CSolverPort* calc, int first) override;
    std::string GetState() override;

    CFormula K;  // "Roots": gain
    CFormula b[kMaxOrder + 1];
    CFormula a[kMaxOrder + 1];
    std::string ic;     // y, then the derivatives of u, then those of y
    std::string roots;  // "Roots": zeros, then poles

    CPolynomialRatio ratio;
    double out0 = 0.0;
    double du[kMaxOrder] = {};
    double dy[kMaxOrder] = {};

protected:
    bool IsPolynomial() const { return model != ModelId::Function; }
    int Order() const;
    // The unknowns before the chain (the impedance's own current).
    virtual int ChainOffset() const { return 0; }
    // The ratio from its formulas or roots, and on a change of model (or
    // from a stored state) the initial values; false with the message.
    bool PrepareRatio(CSolverPort* calc, bool holdsState);
    void LoadInitialValues(const std::string& list);
    void StoreChain(CSolverPort* calc, double y);
    // The relation row `row` and the chain's rows.
    void StampChain(CSolverPort* calc, int row, CChainQuantity y, CChainQuantity u);
    // The DC form: the initial derivatives are the chain's values.
    void StampChainInitialValues(CSolverPort* calc);
    // Where the chain takes no part, its unknowns are held at 0.
    void StampUnitChain(CSolverPort* calc);
    // H at the present AC point: the ratio at j w, or the formula `text`.
    bool ValueAtFrequency(CSolverPort* calc, const std::string& text, std::complex<double> x, std::complex<double> z,
                          std::complex<double>& h);
    // The formula at s = 0; a formula that fails there counts as 0.
    double ValueAtZero(CSolverPort* calc, const std::string& text);

    CFrequencyFormula m_Formula;
    std::complex<double> m_Held{0.0, 0.0};  // the last value of a ratio whose denominator vanished
};

// The parameter table both classes share: their own formula and gain rows
// first, then the coefficients b0..b5 and a0..a5 (b0 = a0 = 1 to start,
// each checked for its formula and for infinity), the initial values and
// the roots.
enum TransferRow : uint8_t {
    kTransferFormula, kTransferGain, kB0, kB1, kB2, kB3, kB4, kB5, kA0, kA1, kA2, kA3, kA4, kA5, kTransferIc,
    kTransferRoots, kTransferRowCount
};

template <size_t I>
constexpr CParamRow NumeratorRow(const char* name) {
    return FormulaRow(name, "", name, ElementAt<&CTransferElement::b, I>, I == 0 ? 1.0 : 0.0, {ParamTest::Infinite});
}
template <size_t I>
constexpr CParamRow DenominatorRow(const char* name) {
    return FormulaRow(name, "", name, ElementAt<&CTransferElement::a, I>, I == 0 ? 1.0 : 0.0,
                      {ParamTest::Infinite});
}

constexpr std::array<CParamRow, kTransferRowCount> TransferRows(CParamRow formula, CParamRow gain) {
    return {
        formula, gain,
        NumeratorRow<0>("b0"), NumeratorRow<1>("b1"), NumeratorRow<2>("b2"), NumeratorRow<3>("b3"),
        NumeratorRow<4>("b4"), NumeratorRow<5>("b5"),
        DenominatorRow<0>("a0"), DenominatorRow<1>("a1"), DenominatorRow<2>("a2"), DenominatorRow<3>("a3"),
        DenominatorRow<4>("a4"), DenominatorRow<5>("a5"),
        TextRow(kParamString, "IC", "ic", MemberAt<&CTransferElement::ic>, ""),
        TextRow(kParamString, "Roots", "roots", MemberAt<&CTransferElement::roots>, "0, 1, -1, 0"),
    };
}

// The model rows: "Function", "Poly1".."Poly5" and "Roots"; a polynomial of
// order n has 2n unknowns for its chain, behind `Extra` of the class's own.
template <int Extra>
struct TransferModels {
    static constexpr uint8_t kFunction[] = {kTransferFormula, kEndOfRows};
    static constexpr uint8_t kPoly1[] = {kB0, kB1, kA0, kA1, kTransferIc, kEndOfRows};
    static constexpr uint8_t kPoly2[] = {kB0, kB1, kB2, kA0, kA1, kA2, kTransferIc, kEndOfRows};
    static constexpr uint8_t kPoly3[] = {kB0, kB1, kB2, kB3, kA0, kA1, kA2, kA3, kTransferIc, kEndOfRows};
    static constexpr uint8_t kPoly4[] = {kB0, kB1, kB2, kB3, kB4, kA0, kA1, kA2, kA3, kA4, kTransferIc, kEndOfRows};
    static constexpr uint8_t kPoly5[] = {kB0, kB1, kB2, kB3, kB4, kB5, kA0, kA1, kA2, kA3, kA4, kA5, kTransferIc,
                                         kEndOfRows};
    static constexpr uint8_t kRoots[] = {kTransferGain, kTransferRoots, kTransferIc, kEndOfRows};
    static constexpr CModelInfo kRows[] = {
        {"Function", ModelId::Function, kFunction, 0, Extra, kReadVIP},
        {"Poly1", ModelId::Poly1, kPoly1, 0, Extra + 2, kReadVIP},
        {"Poly2", ModelId::Poly2, kPoly2, 0, Extra + 4, kReadVIP},
        {"Poly3", ModelId::Poly3, kPoly3, 0, Extra + 6, kReadVIP},
        {"Poly4", ModelId::Poly4, kPoly4, 0, Extra + 8, kReadVIP},
        {"Poly5", ModelId::Poly5, kPoly5, 0, Extra + 10, kReadVIP},
        {"Roots", ModelId::Roots, kRoots, 0, Extra, kReadVIP},
        {},
    };
};

}  // namespace qz3
