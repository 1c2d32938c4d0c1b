// A named constant or formula of the schematic (type "var").
//
// It has no pins and takes no part in the equations; it is there for other
// formulas to read by its bare name: with a variable "A" holding "=2*R1", a
// resistor's "=A/2" reads A's value, exactly as "=R1" reads a resistor's R.
//
// Its one parameter is `Value` (kind 13, no unit), the first row of its
// table, which is what a bare component name reads; "A.Value" names it
// explicitly. In the file it is the formula key "value" ("value_str" for the
// text of a live formula, as every formula key). Variables sort after all
// other components, so a list shows them last.
#pragma once

#include "components/cmp.h"
#include "expr/formula.h"

namespace qz3 {

extern const CParamTable kVariableParams;
extern const CModelInfo kModelsVariable[];

class CVariable : public CCmp {
public:
    explicit CVariable(const CCmpType* type) : CCmp(type) {}

    bool IsVariable() const override { return true; }

    CFormula value;
};

}  // namespace qz3
