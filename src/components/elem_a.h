// The meters: "A_A" an amperemeter (a short whose current is its branch),
// "V_VM" a voltmeter (draws nothing), "W_WM" a wattmeter (pins 0, 1 the
// voltage, the current through a short from pin 2 to pin 1). Each reads as
// its trace reading: current, voltage, or their product.
#pragma once

#include "components/cmp.h"

namespace qz3 {

extern const CModelInfo kModelsAmperemeter[];
extern const CModelInfo kModelsVoltmeter[];
extern const CModelInfo kModelsWattmeter[];

class CElemA : public CCmp {
public:
    explicit CElemA(const CCmpType* type) : CCmp(type) {}

    int PinKind(int pin) const override { return model == ModelId::Source ? kPinSensing : kPinAnalog; }
    bool Simulate(CSolverPort* calc, int phase, double t) override;
    bool GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* r) override;
};

}  // namespace qz3
