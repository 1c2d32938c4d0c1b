// The two steps that assemble the equations anew: backward Euler after an
// event, and the trapezoidal rule of any length near an event or a break.
#include <cstring>

#include "solver/calc.h"
#include "solver/calc_entries.h"

namespace qz3 {

// (G + C/h) x = -(E + B) + (C/h) p, with p = VecXPrev.
bool CCalc::StepEuler() {
    m_Integrating = 1;
    if (!AssembleInStretch()) return false;
    if (!RunPhase(PhaseSources, m_Time + m_Step)) return false;
    const int n = m_Size;
    const double h = m_Step;
    const double* p = VecXPrev;
    std::memset(VecX, 0, static_cast<size_t>(n) * sizeof(double));
    for (int i = 1; i < n; ++i) {
        if (RowOff[i]) continue;
        double r = VecE[i];
        AddRound(&r, VecB[i]);
        if (RowFlagC(i)) {
            unsigned char& anyG = RowFlagG(i);
            ForEachEntry(i, [&](int j, double& g, double& c, unsigned char& fg, unsigned char& fc) {
                if (RowOff[j] || !fc) return;
                const double cj = c / h;
                AddRound(&r, -cj * p[j]);
                fg = AddRound(&g, cj);
                anyG |= fg;
            });
        }
        VecX[i] = r;
    }
    m_SolvingEuler = true;
    SolveReal();
    m_SolvingEuler = false;
    return ResolveLinks();
}

// (G + 2C/h) x1 = -[(G - 2C/h) x0 + E0 + E1 + 2B]. Positive and negative terms
// are summed apart and joined by one snap, so that a cancellation is judged
// against the real size of the terms.
bool CCalc::StepTrap() {
    m_Integrating = 1;
    if (!Assemble()) return false;
    if (!RunPhase(PhaseSources, m_Time + m_Step)) return false;
    LoadTrapRightSide();
    SolveReal();
    return ResolveLinks();
}

void CCalc::LoadTrapRightSide() {
    const int n = m_Size;
    const double w = 2.0 / m_Step;
    const double* p = VecXPrev;
    for (int i = 1; i < n; ++i) {
        if (RowOff[i]) continue;
        const double s = VecEPrev[i] + VecE[i] + 2.0 * VecB[i];
        double pos = s >= 0.0 ? s : 0.0;
        double neg = s < 0.0 ? s : 0.0;
        unsigned char& anyG = RowFlagG(i);
        ForEachEntry(i, [&](int j, double& g, double& c, unsigned char& fg, unsigned char& fc) {
            if (RowOff[j] || !(fg || fc)) return;
            double d;
            if (fc) {
                const double cj = w * c;
                d = (g - cj) * p[j];
                fg = AddRound(&g, cj);
                anyG |= fg;
            } else {
                d = g * p[j];
            }
            (d >= 0.0 ? pos : neg) += d;
        });
        VecX[i] = pos;
        AddRound(&VecX[i], neg);
    }
}

}  // namespace qz3
