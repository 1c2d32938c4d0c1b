#include "components/elem_a.h"

#include "components/solver_port.h"

namespace qz3 {

const CModelInfo kModelsAmperemeter[] = {{"Amperemeter", ModelId::Amperemeter, nullptr, 0, 1, kReadVIP}, {}};
const CModelInfo kModelsVoltmeter[] = {{"Voltmeter", ModelId::Source, nullptr, 0, 0, kReadV}, {}};
const CModelInfo kModelsWattmeter[] = {{"Wattmeter", ModelId::Wattmeter, nullptr, 0, 1, kReadVIP}, {}};

bool CElemA::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseStamp: {
            if (calc->StampPass() != 0 || type == TypeId::Voltmeter) return true;
            // The current path: pins 0, 1 of an amperemeter, 2, 1 of a wattmeter.
            calc->StampSwitch(nodes[type == TypeId::Wattmeter ? 2 : 0], nodes[1], firstBranch, true);
            return true;
        }
        case PhasePins: {
            int* groups = PinGroups();
            groups[0] = groups[1] = 1;
            if (pinCount > 2) groups[2] = 1;
            if (type == TypeId::Voltmeter) groups[1] = 2;
            return true;
        }
        default: return true;
    }
}

bool CElemA::GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* r) {
    CCmp::GetTraceNodes(calc, kind, nodeA, nodeB, branch, r);
    if (type == TypeId::Amperemeter) *nodeA = 0;
    if (type == TypeId::Voltmeter) *branch = -1;
    return true;
}

}  // namespace qz3
