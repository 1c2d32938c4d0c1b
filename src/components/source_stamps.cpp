#include "components/source_stamps.h"

#include "components/solver_port.h"

namespace qz3 {

bool StampSourceInput(CSolverPort* calc, const CCmp* cmp, bool voltage, int a, int b, int k) {
    calc->MarkInputRow(k);
    if (!voltage) {
        calc->StampCurrentRev(a, b, k, 0.0);
        calc->AddLink(3, 0, k, k, 0.0);
        return true;
    }
    if (!calc->StampVoltage(a, b, k, 0.0)) return calc->CmpError(cmp, nullptr);
    calc->AddLink(3, a, b, k, 0.0);
    return true;
}

bool StampSourceConstant(CSolverPort* calc, const CCmp* cmp, bool voltage, int a, int b, int k, double value) {
    if (!voltage) {
        calc->StampCurrentRev(a, b, k, value);
        calc->AddLink(2, 0, k, 0, value);
        return true;
    }
    if (!calc->StampVoltage(a, b, k, value)) return calc->CmpError(cmp, nullptr);
    calc->AddLink(2, a, b, 0, value);
    return true;
}

}  // namespace qz3
