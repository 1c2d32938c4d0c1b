#include "components/block_pins.h"

#include <cmath>
#include <string>

#include "components/cmp.h"
#include "components/solver_port.h"
#include "components/source_stamps.h"

namespace qz3 {

bool StampBlockOutput(CSolverPort* calc, CCmp* cmp, int pin, int branch) {
    const int node = cmp->nodes[pin];
    if (!calc->ClaimOutput(node, cmp, pin)) return false;
    // In an AC analysis a block holds its output: no small-signal part.
    if (!calc->IsTransient() && calc->Integrating() == 1) {
        if (!calc->StampVoltage(0, node, branch, 0.0)) return calc->CmpError(cmp, nullptr);
        return true;
    }
    return StampSourceInput(calc, cmp, true, 0, node, branch);
}

bool SetBlockOutput(CSolverPort* calc, const CCmp* cmp, int pin, int branch, double value) {
    if (std::isinf(value)) return cmp->AddCmpError(calc, "infinite output '" + cmp->PinName(pin) + "'");
    calc->SetSource(branch, value);
    return true;
}

int ClockLevel(const CSolverPort* calc, const CCmp* cmp, int pin, bool inverted) {
    const bool high = calc->X(cmp->nodes[pin]) > calc->LogicThreshold();
    return high != inverted ? 1 : 0;
}

bool ClockEdge(CSolverPort* calc, CCmp* cmp, int pin, bool commit, bool* changed, bool inverted) {
    const int level = ClockLevel(calc, cmp, pin, inverted);
    if (level == cmp->state) return false;
    *changed = true;
    if (!commit) return false;
    cmp->state = level;
    return level == 1;
}

void SetBlockPinGroups(CCmp* cmp, int firstOutput, int outputs) {
    int* groups = cmp->PinGroups();
    int group = 1;
    for (int pin = 0; pin < cmp->pinCount; ++pin) {
        const bool output = pin >= firstOutput && pin < firstOutput + outputs;
        groups[pin] = output ? 0 : group++;
    }
}

}  // namespace qz3
