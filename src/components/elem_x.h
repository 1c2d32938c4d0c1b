// A block that holds a subcircuit: "X_B2" to "X_B8" with the pins of their
// type, "X_CUSTOM" with the pins of a box the user drew, and "X_QZ3", whose
// box names its pins ("x1,x2,x3" for a new one) and whose pins meet the
// inner labels of those names.
//
// The block adds no equations of its own: its only model is "SubCir", and
// the content is the subcircuit member of CCmp, flattened into the run.
#pragma once

#include "components/cmp.h"

namespace qz3 {

extern const CModelInfo kModelsX[];

class CElemX : public CCmp {
public:
    explicit CElemX(const CCmpType* type);

    void BeginCustom() override;
    void EndCustom() override;

private:
    bool HasBox() const { return type == TypeId::CustomBlock || type == TypeId::CircuitBlock; }
    // "X_QZ3": the names of the box are the labels of its pins.
    void NamePinsFromBox();
};

}  // namespace qz3
