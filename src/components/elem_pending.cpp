#include "components/elem_pending.h"

namespace qz3 {

const CModelInfo kPendingModelsLL[] = {{"L", ModelId::L}, {"PWL", ModelId::Pwl}, {"SubCir", ModelId::SubCir}, {}};
const CModelInfo kPendingModelsLPwl[] = {{"PWL", ModelId::Pwl}, {}};
const CModelInfo kPendingModelsLCoupled[] = {{"L", ModelId::L}, {}};
const CModelInfo kPendingModelsLCustom[] = {{"L", ModelId::L}, {"SubCir", ModelId::SubCir}, {}};
const CModelInfo kPendingModelsDD[] = {{"Diode", ModelId::Diode}, {"PWL", ModelId::Pwl}, {"Storage", ModelId::Storage}, {"Soft", ModelId::Soft}, {"SubCir", ModelId::SubCir}, {}};
const CModelInfo kPendingModelsDZ[] = {{"Zener", ModelId::Diode}, {"PWL", ModelId::Pwl}, {"SubCir", ModelId::SubCir}, {}};
const CModelInfo kPendingModelsThyristor[] = {{"Thyristor", ModelId::Diode}, {"SubCir", ModelId::SubCir}, {}};
const CModelInfo kPendingModelsDBridge[] = {{"Diode", ModelId::Diode}, {}};

bool CElemPending::IsLabel() const { return type == TypeId::Label; }

bool CElemPending::CheckParams(CSolverPort* calc) {
    return AddCmpError(calc, std::string("type ") + typeInfo->typeName + " not available in this build");
}

}  // namespace qz3
