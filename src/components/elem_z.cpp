// The impedance: its table, and its rows in AC and transient runs.
#include "components/elem_z.h"

#include <complex>

#include "components/solver_port.h"

namespace qz3 {

namespace {

constexpr auto kRows = TransferRows(TextRow(kParamFunction, "z", "f", MemberAt<&CElemZ::z>, "1"),
                                    FormulaRow("Z", "Ohm", "k", MemberAt<&CTransferElement::K>, 1.0, {ParamTest::Infinite}));

}  // namespace

const CParamTable kImpedanceParams = ParamTableOf(kRows);
// The impedance's own current comes before the chain.
const CModelInfo* const kModelsZ = TransferModels<1>::kRows;

bool CElemZ::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit: return PrepareRatio(calc, true);
        case PhaseStore:
            if (IsPolynomial()) StoreChain(calc, calc->X(nodes[1]) - calc->X(nodes[0]));
            return true;
        case PhaseStamp: return calc->StampPass() != 0 || Stamp(calc);
        case PhasePins:
            PinGroups()[0] = PinGroups()[1] = 1;
            return true;
        default: return true;
    }
}

// Row k gets scale * V.
void CElemZ::StampVoltageTerm(CSolverPort* calc, double scale) {
    calc->AddG(firstBranch, nodes[1], scale);
    calc->AddG(firstBranch, nodes[0], -scale);
}

bool CElemZ::Stamp(CSolverPort* calc) {
    const int a = nodes[0], b = nodes[1], k = firstBranch;
    if (a != b) {
        calc->AddG(a, k, 1.0);
        calc->AddG(b, k, -1.0);
    }
    const bool frequency = !calc->IsTransient() && !calc->InAcOperatingPoint();
    if (frequency && calc->Integrating() == 1) {
        StampUnitChain(calc);
        std::complex<double> h;
        if (!ValueAtFrequency(calc, z, {0.0, calc->Omega()}, {0.0, 0.0}, h)) return false;
        StampVoltageTerm(calc, 1.0);
        calc->AddG(k, k, -h.real());
        calc->AddC(k, k, -h.imag());
        return true;
    }
    // A formula is a short outside AC; so is any Z in an AC operating point.
    if (frequency || !IsPolynomial() || calc->InAcOperatingPoint()) {
        StampUnitChain(calc);
        StampVoltageTerm(calc, 1.0);
        return true;
    }
    // The DC form of a Z without a0 (a capacitance) holds its voltage.
    if (calc->Integrating() == 0 && ratio.a[0] == 0.0) {
        StampUnitChain(calc);
        StampVoltageTerm(calc, 1.0);
        calc->SetSource(k, out0);
        return true;
    }
    StampChain(calc, k, {b, a}, {k, 0});
    if (calc->Integrating() == 0) StampChainInitialValues(calc);
    return true;
}

}  // namespace qz3
