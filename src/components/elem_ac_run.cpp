// The transfer-function blocks during a run: initial values, the chain of
// derivatives in a transient run, the complex value in AC analysis.
#include <cmath>
#include <string>

#include "components/elem_ac.h"
#include "components/element_state.h"
#include "components/solver_port.h"
#include "base/number_format.h"
#include "expr/state_text.h"

namespace qz3 {

bool CElemAC::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit: return Init(calc);
        case PhaseStore: Store(calc); return true;
        case PhaseStamp: return calc->StampPass() != 1 || Stamp(calc);
        case PhasePins:
            PinGroups()[0] = 1;
            PinGroups()[1] = 0;
            return true;
        default: return true;
    }
}

bool CElemAC::Init(CSolverPort* calc) {
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
    const bool integrates = type == TypeId::SFunction && IsPolynomial();
    if (integrates && ModelChanged()) LoadInitialValues(ic);
    if (integrates && lastModel == ModelId::None) {
        const std::string stored = KeyStr(StoredState(calc, this), "s");
        if (!stored.empty()) LoadInitialValues(stored);
    }
    return true;
}

// Up to eleven numbers: the output, then the input's derivatives, then the
// output's; what is missing is 0.
void CElemAC::LoadInitialValues(const std::string& list) {
    double values[1 + 2 * kMaxOrder];
    ReadNumberList(list, values, 1 + 2 * kMaxOrder);
    out0 = values[0];
    for (int j = 0; j < kMaxOrder; ++j) {
        du[j] = values[1 + j];
        dy[j] = values[1 + kMaxOrder + j];
    }
}

void CElemAC::Store(CSolverPort* calc) {
    if (type != TypeId::SFunction || !IsPolynomial()) return;
    const int n = Order();
    out0 = calc->X(nodes[1]);
    for (int j = 0; j < n; ++j) {
        dy[j] = calc->X(firstBranch + j);
        du[j] = calc->X(firstBranch + n + j);
    }
}

// The output row replaces whatever others wrote there: pass 1.
bool CElemAC::Stamp(CSolverPort* calc) {
    const int i = nodes[0], o = nodes[1];
    if (!calc->ClaimOutput(o, this, -1)) return false;
    calc->ClearRow(o);
    calc->SetG(o, o, 1.0);
    if (calc->IsTransient() && !calc->InAcOperatingPoint()) {
        StampTransient(calc, i, o);
        return true;
    }
    return StampFrequency(calc, i, o);
}

void CElemAC::StampTransient(CSolverPort* calc, int i, int o) {
    if (type == TypeId::ZFunction || !IsPolynomial()) {
        calc->AddG(o, i, type == TypeId::ZFunction ? -1.0 : -DcGain(calc));
        StampUnitChain(calc);
        return;
    }
    const int n = Order();
    if (calc->Integrating() == 1) {
        StampStateChain(calc, i, o);
        return;
    }
    // The DC form: an integrator holds its output; otherwise the initial
    // derivatives are sources of the chain's rows.
    if (ratio.a[0] == 0.0) {
        calc->SetSource(o, out0);
        StampUnitChain(calc);
        return;
    }
    StampStateChain(calc, i, o);
    for (int j = 0; j < n; ++j) {
        calc->SetSource(firstBranch + j, dy[j]);
        calc->SetSource(firstBranch + n + j, du[j]);
    }
}

// Row o: sum a_j y^(j) = sum b_j u^(j); row of each derivative: it is the
// time derivative of the one before it.
void CElemAC::StampStateChain(CSolverPort* calc, int i, int o) {
    const int n = Order();
    calc->SetG(o, o, ratio.a[0]);
    calc->AddG(o, i, -ratio.b[0]);
    for (int j = 0; j < n; ++j) {
        const int y = firstBranch + j, u = firstBranch + n + j;
        calc->AddG(o, y, ratio.a[j + 1]);
        calc->SetG(y, y, 1.0);
        calc->AddG(o, u, -ratio.b[j + 1]);
        calc->SetG(u, u, 1.0);
        calc->SetC(y, j == 0 ? o : y - 1, -1.0);
        calc->SetC(u, j == 0 ? i : u - 1, -1.0);
    }
}

// Where the derivatives take no part, their unknowns are held at 0.
void CElemAC::StampUnitChain(CSolverPort* calc) {
    for (int k = 0; k < branchCount; ++k) calc->SetG(firstBranch + k, firstBranch + k, 1.0);
}

// The formula's value at s = 0; a formula that fails there counts as 0.
double CElemAC::DcGain(CSolverPort* calc) {
    std::complex<double> h;
    std::string error;
    return m_Formula.Evaluate(calc, this, text, 0.0, 0.0, {0.0, 0.0}, h, error) ? h.real() : 0.0;
}

bool CElemAC::StampFrequency(CSolverPort* calc, int i, int o) {
    StampUnitChain(calc);
    if (calc->Integrating() == 0) {
        calc->AddG(o, i, -1.0);
        return true;
    }
    const double f = calc->Time(), omega = calc->Omega();
    std::complex<double> x{0.0, omega}, z{0.0, 0.0}, h;
    std::string error;
    if (type == TypeId::ZFunction) {
        if (!m_Formula.Evaluate(calc, this, calc->ZTransformText(), f, omega, z, z, error))
            return AddCmpError(calc, error);
        if (z == std::complex<double>(0.0, 0.0)) return AddCmpError(calc, "z = 0");
        x = 1.0 / z;
    }
    if (IsPolynomial()) {
        if (ratio.At(x, h)) m_Held = h;
        h = m_Held;
    } else if (!m_Formula.Evaluate(calc, this, text, f, omega, z, h, error)) {
        return AddCmpError(calc, error);
    }
    calc->AddG(o, i, -h.real());
    calc->AddC(o, i, -h.imag());
    return true;
}

std::string CElemAC::GetState() {
    if (type != TypeId::SFunction || !IsPolynomial()) return {};
    std::string list = NumberToText(out0, 12);
    for (double v : du) list += "," + NumberToText(v, 12);
    for (double v : dy) list += "," + NumberToText(v, 12);
    std::string text;
    AddKeyStr(text, "s", list);
    return text;
}

}  // namespace qz3
