#include "traces/component_reading.h"

#include <string>

#include "components/calc_link.h"
#include "components/cmp.h"
#include "expr/number_text.h"
#include "expr/value.h"
#include "solver/calc.h"

namespace qz3 {

namespace {

constexpr int kKindState = 3;

// Model bits of the V, I and P readings, and the words of their messages.
const uint32_t kReadingBits[] = {kReadV, kReadI, kReadP};
const char* const kReadingWords[] = {"V trace", "I trace", "P trace", "State trace"};

struct CPhasor {
    double re = 0.0;
    double im = 0.0;
};

CPhasor Times(const CPhasor& a, const CPhasor& b) { return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re}; }

// The solution the reading sees: the real vector of a transient run, or the
// two halves of the complex one of AC. Indices beyond it read as 0.
struct CSolution {
    const double* re = nullptr;
    const double* im = nullptr;
    int size = 0;

    CPhasor At(int i) const {
        if (!re || i < 0 || i >= size) return {};
        return {re[i], im ? im[i] : 0.0};
    }
};

CSolution SolutionOf(const CCalc* calc) {
    if (!calc) return {};
    if (calc->m_Transient) return {calc->VecX, nullptr, calc->m_Total};
    return {calc->VecE, calc->VecEIm, calc->m_Size};
}

bool Offers(const CCmp& cmp, int kind) {
    if (kind == kKindState) return true;
    const CModelInfo* row = cmp.ModelRow();
    return row && (row->flags & kReadingBits[kind]);
}

// The reading from the nodes and branch the component names: voltage pin 1
// minus pin 0, the branch current or the voltage over the resistance.
CPhasor ReadNodes(const CSolution& x, int kind, int nodeA, int nodeB, int branch, double r) {
    if (nodeA < 0 || nodeB < 0) return {};
    CPhasor a = x.At(nodeA), b = x.At(nodeB);
    CPhasor u{b.re - a.re, b.im - a.im};
    if (kind == 0) return u;
    CPhasor i;
    if (branch >= 1)
        i = x.At(branch);
    else if (r != 0.0)
        i = {u.re / r, u.im / r};
    return kind == 1 ? i : Times(u, i);
}

void SetResult(CValue& out, const CPhasor& v, bool complex) {
    if (complex)
        out.SetComplex(v.re, v.im);
    else
        out.SetDouble(v.re);
}

}  // namespace

bool ReadComponent(CDoc* doc, CCmp* cmp, int kind, CValue& out) {
    if (!cmp || kind < 0 || kind > kKindState) {
        ExprError() = "no component to read";
        return false;
    }
    if (!Offers(*cmp, kind)) {
        ExprError() = std::string(kReadingWords[kind]) + " not supported by " + cmp->FullName();
        return false;
    }
    CCalc* calc = DocCalc(doc);
    if (!calc) {
        // A document without a solver has no solution: everything reads 0.
        out.SetDouble(0.0);
        return true;
    }
    bool complex = !calc->m_Transient;
    if (kind == kKindState) {
        SetResult(out, {static_cast<double>(cmp->state), 0.0}, complex);
        return true;
    }
    int nodeA = -1, nodeB = -1, branch = 0;
    double r = 0.0;
    if (!cmp->GetTraceNodes(calc, kind, &nodeA, &nodeB, &branch, &r)) {
        CPhasor v;
        cmp->GetTraceValue(calc, kind, &v.re, &v.im);
        SetResult(out, complex ? v : CPhasor{v.re, 0.0}, complex);
        return true;
    }
    SetResult(out, ReadNodes(SolutionOf(calc), kind, nodeA, nodeB, branch, r), complex);
    return true;
}

}  // namespace qz3
