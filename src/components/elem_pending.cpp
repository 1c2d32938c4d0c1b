#include "components/elem_pending.h"

namespace qz3 {

namespace {
constexpr int kLabelType = 5;
}

const CModelInfo kPendingModelsLL[] = {{"L", 14}, {"PWL", 11}, {"SubCir", 10}, {}};
const CModelInfo kPendingModelsLPwl[] = {{"PWL", 11}, {}};
const CModelInfo kPendingModelsLCoupled[] = {{"L", 14}, {}};
const CModelInfo kPendingModelsLCustom[] = {{"L", 14}, {"SubCir", 10}, {}};
const CModelInfo kPendingModelsDD[] = {{"Diode", 15}, {"PWL", 11}, {"Storage", 42}, {"Soft", 51}, {"SubCir", 10}, {}};
const CModelInfo kPendingModelsDZ[] = {{"Zener", 15}, {"PWL", 11}, {"SubCir", 10}, {}};
const CModelInfo kPendingModelsThyristor[] = {{"Thyristor", 15}, {"SubCir", 10}, {}};
const CModelInfo kPendingModelsDBridge[] = {{"Diode", 15}, {}};

bool CElemPending::IsLabel() const { return type == kLabelType; }

bool CElemPending::CheckParams(CCalc* calc) {
    return AddCmpError(calc, std::string("type ") + typeInfo->typeName + " not available in this build");
}

}  // namespace qz3
