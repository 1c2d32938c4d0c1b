#include "components/formula_links.h"

#include <string>

#include "components/calc_link.h"
#include "components/cmp.h"
#include "components/cmps.h"
#include "expr/eval_links.h"
#include "expr/param.h"
#include "expr/param_context.h"
#include "solver/calc.h"

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

enum ReadingKind { kReadingV = 0, kReadingI = 1, kReadingP = 2, kReadingS = 3 };

// V, I and P from the present solution, by the nodes, branch and resistance
// the element names for a trace of that kind; an unconnected side reads 0.
double ReadSolution(const double* x, int kind, int n1, int n2, int branch, double r) {
    if (n1 < 0 || n2 < 0) return 0.0;
    const double v = x[n2] - x[n1];
    if (kind == kReadingV) return v;
    if (branch >= 1) return kind == kReadingI ? x[branch] : v * x[branch];
    if (r == 0.0) return 0.0;
    return kind == kReadingI ? v / r : v / r * v;
}

bool ComponentReading(CDoc* doc, CCmp* cmp, int kind, CValue& out) {
    if (kind == kReadingS) {
        out.SetDouble(cmp->state);
        return true;
    }
    CCalc* calc = DocCalc(doc);
    // Before a run has its solution there is nothing to read but zero.
    if (!calc || !calc->VecX) {
        out.SetDouble(0.0);
        return true;
    }
    int n1 = -1, n2 = -1, branch = 0;
    double r = 0.0;
    if (!cmp->GetTraceNodes(calc, kind, &n1, &n2, &branch, &r)) {
        double value = 0.0, second = 0.0;
        cmp->GetTraceValue(calc, kind, &value, &second);
        out.SetDouble(value);
        return true;
    }
    out.SetDouble(ReadSolution(calc->VecX, kind, n1, n2, branch, r));
    return true;
}

}  // namespace

void LinkComponentsToFormulas() {
    CEvalLinks& links = EvalLinks();
    links.DocCmps = &DocCmps;
    links.ParamValue = &ParamValueByName;
    links.ParamFormula = &ParamFormulaByName;
    links.FindComponent = &ComponentByPath;
    links.ComponentReading = &ComponentReading;
    links.LogicLevels = &DocLogicLevels;
}

}  // namespace qz3
