// The transfer-function blocks' tables, keys and checks.
#include "components/elem_ac.h"

#include "components/param_check.h"

namespace qz3 {

namespace {

enum TransferRow : uint8_t {
    kText, kGain, kB0, kB1, kB2, kB3, kB4, kB5, kA0, kA1, kA2, kA3, kA4, kA5, kIc, kRoots, kRowCount
};

template <size_t I>
constexpr CParamRow Numerator(const char* name) {
    return FormulaRow(name, "", name, ElementAt<&CElemAC::b, I>, I == 0 ? 1.0 : 0.0, {ParamTest::Infinite});
}
template <size_t I>
constexpr CParamRow Denominator(const char* name) {
    return FormulaRow(name, "", name, ElementAt<&CElemAC::a, I>, I == 0 ? 1.0 : 0.0, {ParamTest::Infinite});
}

// The coefficients of the order in use are checked; a row the model
// doesn't show is left alone.
constexpr CParamRow kRows[] = {
    TextRow(kParamFunction, "f", "f", MemberAt<&CElemAC::text>, "1"),
    FormulaRow("K", "", "k", MemberAt<&CElemAC::K>, 1.0, {ParamTest::Infinite}),
    Numerator<0>("b0"), Numerator<1>("b1"), Numerator<2>("b2"), Numerator<3>("b3"), Numerator<4>("b4"),
    Numerator<5>("b5"),
    Denominator<0>("a0"), Denominator<1>("a1"), Denominator<2>("a2"), Denominator<3>("a3"), Denominator<4>("a4"),
    Denominator<5>("a5"),
    TextRow(kParamString, "IC", "ic", MemberAt<&CElemAC::ic>, ""),
    TextRow(kParamString, "Roots", "roots", MemberAt<&CElemAC::roots>, "0, 1, -1, 0"),
};

constexpr uint8_t kOrderFunction[] = {kText, kEndOfRows};
constexpr uint8_t kOrderPoly1[] = {kB0, kB1, kA0, kA1, kIc, kEndOfRows};
constexpr uint8_t kOrderPoly2[] = {kB0, kB1, kB2, kA0, kA1, kA2, kIc, kEndOfRows};
constexpr uint8_t kOrderPoly3[] = {kB0, kB1, kB2, kB3, kA0, kA1, kA2, kA3, kIc, kEndOfRows};
constexpr uint8_t kOrderPoly4[] = {kB0, kB1, kB2, kB3, kB4, kA0, kA1, kA2, kA3, kA4, kIc, kEndOfRows};
constexpr uint8_t kOrderPoly5[] = {kB0, kB1, kB2, kB3, kB4, kB5, kA0, kA1, kA2, kA3, kA4, kA5, kIc, kEndOfRows};
constexpr uint8_t kOrderRoots[] = {kGain, kRoots, kIc, kEndOfRows};

}  // namespace

const CParamTable kTransferFunctionParams = ParamTableOf(kRows);

// Branch counts of the polynomial rows are 2n; "Roots" counts its own.
#define QZ3_TRANSFER_MODELS                                                                               \
    {"Function", ModelId::Function, kOrderFunction, 0, 0, kReadVIP},                                      \
        {"Poly1", ModelId::Poly1, kOrderPoly1, 0, 2, kReadVIP}, {"Poly2", ModelId::Poly2, kOrderPoly2, 0, 4, kReadVIP}, \
        {"Poly3", ModelId::Poly3, kOrderPoly3, 0, 6, kReadVIP}, {"Poly4", ModelId::Poly4, kOrderPoly4, 0, 8, kReadVIP}, \
        {"Poly5", ModelId::Poly5, kOrderPoly5, 0, 10, kReadVIP}, {"Roots", ModelId::Roots, kOrderRoots, 0, 0, kReadVIP}, {}

const CModelInfo kModelsFS[] = {QZ3_TRANSFER_MODELS};
const CModelInfo kModelsFZ[] = {QZ3_TRANSFER_MODELS};

#undef QZ3_TRANSFER_MODELS

bool CElemAC::IsPolynomial() const { return model != ModelId::Function; }

int CElemAC::Order() const {
    if (model >= ModelId::Poly1 && model <= ModelId::Poly5)
        return static_cast<int>(model) - static_cast<int>(ModelId::Poly1) + 1;
    return model == ModelId::Roots ? ratio.order : 0;
}

bool CElemAC::CheckParams(CSolverPort* calc) {
    bool sound = CheckParamRows(this, calc);
    if (model >= ModelId::Poly1 && model <= ModelId::Poly5) {
        CPolynomialRatio probe;
        probe.order = Order();
        for (int k = 0; k <= probe.order; ++k) probe.a[k] = a[k].m_Value;
        if (probe.ZeroDenominator()) sound = AddCmpError(calc, "zero denominator");
    }
    return sound;
}

// The chain of derivatives needs its 2n unknowns before the run is built;
// the order of "Roots" comes from its text.
int CElemAC::AssignBranches(CSolverPort* calc, int first) {
    if (model == ModelId::Roots) ratio.FromRoots(roots, K.m_Value);
    branchCount = IsPolynomial() ? 2 * Order() : 0;
    firstBranch = branchCount > 0 ? first : 0;
    return branchCount;
}

}  // namespace qz3
