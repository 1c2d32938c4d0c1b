// Interim stand-in for the element classes that are not built yet.
//
// A component of such a type loads and saves with every key intact: the
// common part is read by CCmp, and every other attribute and child of its
// file node is kept by CCmp and written back unchanged. It takes no part in
// a run: CheckParams refuses it with "<name> : type <type> not available in
// this build", so that a circuit that needs it fails loudly instead of
// simulating without it. Its parameters are not reachable by name until the
// element class replaces this one in the type table.
#pragma once

#include "components/cmp.h"

namespace qz3 {

class CElemPending : public CCmp {
public:
    explicit CElemPending(const CCmpType* type) : CCmp(type) {}

    bool IsLabel() const override;
    bool CheckParams(CSolverPort* calc) override;
};

// Model rows of families whose classes come later: names and numbers only,
// so that the model key is checked and written back as the file had it.
extern const CModelInfo kPendingModelsLL[];
extern const CModelInfo kPendingModelsLPwl[];
extern const CModelInfo kPendingModelsLCoupled[];
extern const CModelInfo kPendingModelsLCustom[];
extern const CModelInfo kPendingModelsDD[];
extern const CModelInfo kPendingModelsDZ[];
extern const CModelInfo kPendingModelsThyristor[];
extern const CModelInfo kPendingModelsDBridge[];

}  // namespace qz3
