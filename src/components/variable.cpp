#include "components/variable.h"

#include "document/xml_node.h"

namespace qz3 {

namespace {
CParam s_ParamsVariable[] = {{kParamFormula, "Value", ""}, {}};
}

const CModelInfo kModelsVariable[] = {{"Var", ModelId::Var, s_ParamsVariable, 0, 0}, {}};

bool CVariable::Xml(CXmlNode* node, bool modelOnly) {
    CCmp::Xml(node, modelOnly);
    node->Val("value", value);
    return true;
}

CParam* CVariable::BindParams() { return qz3::BindParams(s_ParamsVariable, {&value}); }

bool CVariable::CheckParams(CCalc* calc) { return !FormulaFault(calc, value, "Value"); }

}  // namespace qz3
