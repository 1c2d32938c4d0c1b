#include "components/diode_check.h"

#include <cmath>

#include "solver/calc.h"

namespace qz3 {

namespace {

bool Move(bool commit, int* state, int to) {
    if (commit) *state = to;
    return true;
}

// x[b] - x[a] - level, each sum snapped to zero when it cancels.
double Excess(const CCalc* calc, int a, int b, double level) {
    const double* x = calc->VecX;
    double v = x[b];
    calc->AddRound(&v, -x[a]);
    if (!std::isinf(level)) calc->AddRound(&v, -level);
    return v;
}

}  // namespace

bool CheckDiode(CCalc* calc, bool commit, int* state, int a, int b, int k, double vOn, double vRev, bool hasRev) {
    if (*state != 0) {
        const double i = calc->VecX[k];
        if ((*state == 1 && i < 0) || (*state == -1 && i > 0)) return Move(commit, state, 0);
    } else {
        // An infinite drop is not subtracted: the bare voltage decides, and
        // the stamp keeps such a diode open whatever its state.
        if (Excess(calc, a, b, vOn) > 0) return Move(commit, state, 1);
        if (hasRev && !std::isinf(vRev) && Excess(calc, a, b, vRev) < 0) return Move(commit, state, -1);
    }
    if (!commit) return false;
    const unsigned char* bad = calc->NodeBad;
    if (*state != 0 && bad[k] != 0) return Move(commit, state, 0);
    if (*state == 0 && bad[a] != bad[b]) return Move(commit, state, 1);
    return false;
}

}  // namespace qz3
