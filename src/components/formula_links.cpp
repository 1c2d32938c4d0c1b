#include "components/formula_links.h"

#include <string>

#include "components/calc_link.h"
#include "components/cmp.h"
#include "components/cmps.h"
#include "expr/eval_links.h"
#include "expr/param.h"
#include "expr/param_context.h"
#include "expr/var_list.h"

namespace qz3 {

namespace {

bool ParamValueByName(CCmps* cmps, std::string_view name, CValue& out) {
    return cmps && cmps->FindValue(std::string(name), out);
}

CFormula* ParamFormulaByName(CCmps* cmps, std::string_view name) {
    CParam* row = cmps ? cmps->FindParam(std::string(name)) : nullptr;
    return row && row->Kind == kParamFormula ? &row->Formula() : nullptr;
}

CCmp* ComponentByPath(CCmps* cmps, std::string_view path) {
    return cmps ? cmps->FindPath(std::string(path)) : nullptr;
}

CVarEntry* ComponentArrayByName(CCmps* cmps, std::string_view name) {
    CVarEntry* entry = cmps ? cmps->FindVar(std::string(name)) : nullptr;
    return entry && entry->IsArray() ? entry : nullptr;
}

}  // namespace

void LinkComponentsToFormulas() {
    CEvalLinks& links = EvalLinks();
    links.DocCmps = &DocCmps;
    links.ParamValue = &ParamValueByName;
    links.ParamFormula = &ParamFormulaByName;
    links.FindComponent = &ComponentByPath;
    links.ComponentArray = &ComponentArrayByName;
    // V(), I(), P() and S() are read through the trace side (component_reading).
    links.LogicLevels = &DocLogicLevels;
}

}  // namespace qz3
