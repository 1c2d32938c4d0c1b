#include "components/transfer_element.h"

#include "base/number_format.h"
#include "components/element_state.h"
#include "components/solver_port.h"
#include "expr/state_text.h"

namespace qz3 {

int CTransferElement::Order() const {
    if (model >= ModelId::Poly1 && model <= ModelId::Poly5)
        return static_cast<int>(model) - static_cast<int>(ModelId::Poly1) + 1;
    return model == ModelId::Roots ? ratio.order : 0;
}

bool CTransferElement::CheckParams(CSolverPort* calc) {
    bool sound = CheckParamRows(this, calc);
    if (model >= ModelId::Poly1 && model <= ModelId::Poly5) {
        CPolynomialRatio probe;
        probe.order = Order();
        for (int k = 0; k <= probe.order; ++k) probe.a[k] = a[k].m_Value;
        if (probe.ZeroDenominator()) sound = AddCmpError(calc, "zero denominator");
    }
    return sound;
}

// The chain needs its 2n unknowns before the run is built; the order of
// "Roots" comes from its text.
int CTransferElement::AssignBranches(CSolverPort* calc, int first) {
    if (model == ModelId::Roots) ratio.FromRoots(roots, K.m_Value);
    branchCount = ChainOffset() + (IsPolynomial() ? 2 * Order() : 0);
    firstBranch = branchCount > 0 ? first : 0;
    return branchCount;
}

bool CTransferElement::PrepareRatio(CSolverPort* calc, bool holdsState) {
    if (model == ModelId::Roots) {
        if (!ratio.FromRoots(roots, K.m_Value)) return AddCmpError(calc, "Error converting roots to polynomials");
    } else if (IsPolynomial()) {
        ratio.order = Order();
        for (int k = 0; k <= kMaxOrder; ++k) {
            const bool used = k <= ratio.order;
            ratio.b[k] = used ? b[k].m_Value : 0.0;
            ratio.a[k] = used ? a[k].m_Value : 0.0;
        }
    }
    if (!holdsState || !IsPolynomial()) return true;
    if (ModelChanged()) LoadInitialValues(ic);
    if (lastModel == ModelId::None) {
        const std::string stored = KeyStr(StoredState(calc, this), "s");
        if (!stored.empty()) LoadInitialValues(stored);
    }
    return true;
}

// Up to eleven numbers: y, then the derivatives of u, then those of y;
// what is missing is 0.
void CTransferElement::LoadInitialValues(const std::string& list) {
    double values[1 + 2 * kMaxOrder];
    ReadNumberList(list, values, 1 + 2 * kMaxOrder);
    out0 = values[0];
    for (int j = 0; j < kMaxOrder; ++j) {
        du[j] = values[1 + j];
        dy[j] = values[1 + kMaxOrder + j];
    }
}

void CTransferElement::StoreChain(CSolverPort* calc, double y) {
    const int n = Order(), first = firstBranch + ChainOffset();
    out0 = y;
    for (int j = 0; j < n; ++j) {
        dy[j] = calc->X(first + j);
        du[j] = calc->X(first + n + j);
    }
}

void CTransferElement::StampChain(CSolverPort* calc, int row, CChainQuantity y, CChainQuantity u) {
    const int n = Order(), first = firstBranch + ChainOffset();
    calc->AddG(row, y.plus, ratio.a[0]);
    calc->AddG(row, y.minus, -ratio.a[0]);
    calc->AddG(row, u.plus, -ratio.b[0]);
    calc->AddG(row, u.minus, ratio.b[0]);
    for (int j = 0; j < n; ++j) {
        const int yj = first + j, uj = first + n + j;
        calc->AddG(row, yj, ratio.a[j + 1]);
        calc->AddG(row, uj, -ratio.b[j + 1]);
        calc->SetG(yj, yj, 1.0);
        calc->SetG(uj, uj, 1.0);
        if (j == 0) {
            calc->AddC(yj, y.plus, -1.0);
            calc->AddC(yj, y.minus, 1.0);
            calc->AddC(uj, u.plus, -1.0);
            calc->AddC(uj, u.minus, 1.0);
        } else {
            calc->SetC(yj, yj - 1, -1.0);
            calc->SetC(uj, uj - 1, -1.0);
        }
    }
}

void CTransferElement::StampChainInitialValues(CSolverPort* calc) {
    const int n = Order(), first = firstBranch + ChainOffset();
    for (int j = 0; j < n; ++j) {
        calc->SetSource(first + j, dy[j]);
        calc->SetSource(first + n + j, du[j]);
    }
}

void CTransferElement::StampUnitChain(CSolverPort* calc) {
    for (int k = ChainOffset(); k < branchCount; ++k) calc->SetG(firstBranch + k, firstBranch + k, 1.0);
}

bool CTransferElement::ValueAtFrequency(CSolverPort* calc, const std::string& text, std::complex<double> x,
                                        std::complex<double> z, std::complex<double>& h) {
    if (IsPolynomial()) {
        if (ratio.At(x, h)) m_Held = h;
        h = m_Held;
        return true;
    }
    std::string error;
    if (m_Formula.Evaluate(calc, this, text, calc->Time(), calc->Omega(), z, h, error)) return true;
    return AddCmpError(calc, error);
}

double CTransferElement::ValueAtZero(CSolverPort* calc, const std::string& text) {
    std::complex<double> h;
    std::string error;
    return m_Formula.Evaluate(calc, this, text, 0.0, 0.0, {0.0, 0.0}, h, error) ? h.real() : 0.0;
}

std::string CTransferElement::GetState() {
    if (!IsPolynomial()) return {};
    std::string list = NumberToText(out0, 12);
    for (double v : du) list += "," + NumberToText(v, 12);
    for (double v : dy) list += "," + NumberToText(v, 12);
    std::string text;
    AddKeyStr(text, "s", list);
    return text;
}

}  // namespace qz3
