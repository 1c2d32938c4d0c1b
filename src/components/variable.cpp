#include "components/variable.h"

#include <iterator>

namespace qz3 {

namespace {

constexpr CParamRow kRows[] = {FormulaRow("Value", "", "value", MemberAt<&CVariable::value>, 0.0)};
constexpr uint8_t kOrderVar[] = {0, kEndOfRows};

}  // namespace

const CParamTable kVariableParams = ParamTableOf(kRows);
const CModelInfo kModelsVariable[] = {{"Var", ModelId::Var, kOrderVar, 0, 0}, {}};

}  // namespace qz3
