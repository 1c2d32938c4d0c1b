#include "components/diode_check.h"

#include <cmath>

#include "components/solver_port.h"

namespace qz3 {

namespace {

bool Move(bool commit, int* state, int to) {
    if (commit) *state = to;
    return true;
}

// x[b] - x[a] - level, each sum snapped to zero when it cancels.
double Excess(const CSolverPort* calc, int a, int b, double level) {
    double v = calc->X(b);
    calc->AddWithSnap(&v, -calc->X(a));
    if (!std::isinf(level)) calc->AddWithSnap(&v, -level);
    return v;
}

}  // namespace

bool CheckDiode(CSolverPort* calc, bool commit, int* state, int a, int b, int k, double vOn, double vRev, bool hasRev) {
    if (*state != 0) {
        const double i = calc->X(k);
        if ((*state == 1 && i < 0) || (*state == -1 && i > 0)) return Move(commit, state, 0);
    } else {
        // An infinite drop is not subtracted: the bare voltage decides, and
        // the stamp keeps such a diode open whatever its state.
        if (Excess(calc, a, b, vOn) > 0) return Move(commit, state, 1);
        if (hasRev && !std::isinf(vRev) && Excess(calc, a, b, vRev) < 0) return Move(commit, state, -1);
    }
    if (!commit) return false;
    if (*state != 0 && calc->NodeState(k) != 0) return Move(commit, state, 0);
    if (*state == 0 && calc->NodeState(a) != calc->NodeState(b)) return Move(commit, state, 1);
    return false;
}

bool LeakOpenJunction(CSolverPort* calc, int a, int b) {
    const bool empty = (a > 0 && !calc->RowHasEntries(a)) || (b > 0 && !calc->RowHasEntries(b));
    if (!empty) return false;
    calc->StampResistor(a, b, 0.1 / calc->Zero());
    return true;
}

}  // namespace qz3
