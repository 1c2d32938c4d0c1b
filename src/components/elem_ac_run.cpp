// The transfer-function blocks during a run: initial values, the chain of
// derivatives in a transient run, the complex value in AC analysis.
#include <complex>
#include <string>

#include "components/elem_ac.h"
#include "components/solver_port.h"

namespace qz3 {

bool CElemAC::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit: return PrepareRatio(calc, type == TypeId::SFunction);
        case PhaseStore:
            if (type == TypeId::SFunction && IsPolynomial()) StoreChain(calc, calc->X(nodes[1]));
            return true;
        case PhaseStamp: return calc->StampPass() != 1 || Stamp(calc);
        case PhasePins:
            PinGroups()[0] = 1;
            PinGroups()[1] = 0;
            return true;
        default: return true;
    }
}

std::string CElemAC::GetState() { return type == TypeId::SFunction ? CTransferElement::GetState() : std::string(); }

// The output row replaces whatever others wrote there: pass 1.
bool CElemAC::Stamp(CSolverPort* calc) {
    const int i = nodes[0], o = nodes[1];
    if (!calc->ClaimOutput(o, this, -1)) return false;
    calc->ClearRow(o);
    if (calc->IsTransient() && !calc->InAcOperatingPoint()) {
        StampTransient(calc, i, o);
        return true;
    }
    return StampFrequency(calc, i, o);
}

void CElemAC::StampTransient(CSolverPort* calc, int i, int o) {
    if (type == TypeId::ZFunction || !IsPolynomial()) {
        calc->SetG(o, o, 1.0);
        calc->AddG(o, i, type == TypeId::ZFunction ? -1.0 : -ValueAtZero(calc, text));
        StampUnitChain(calc);
        return;
    }
    // The DC form of an integrator holds its output.
    if (calc->Integrating() == 0 && ratio.a[0] == 0.0) {
        calc->SetG(o, o, 1.0);
        calc->SetSource(o, out0);
        StampUnitChain(calc);
        return;
    }
    StampChain(calc, o, {o, 0}, {i, 0});
    if (calc->Integrating() == 0) StampChainInitialValues(calc);
}

bool CElemAC::StampFrequency(CSolverPort* calc, int i, int o) {
    StampUnitChain(calc);
    calc->SetG(o, o, 1.0);
    if (calc->Integrating() == 0) {
        calc->AddG(o, i, -1.0);
        return true;
    }
    std::complex<double> x{0.0, calc->Omega()}, z{0.0, 0.0}, h;
    if (type == TypeId::ZFunction) {
        std::string error;
        if (!m_Formula.Evaluate(calc, this, calc->ZTransformText(), calc->Time(), calc->Omega(), z, z, error))
            return AddCmpError(calc, error);
        if (z == std::complex<double>(0.0, 0.0)) return AddCmpError(calc, "z = 0");
        x = 1.0 / z;
    }
    if (!ValueAtFrequency(calc, text, x, z, h)) return false;
    calc->AddG(o, i, -h.real());
    calc->AddC(o, i, -h.imag());
    return true;
}

}  // namespace qz3
