#include "components/calc_link.h"

#include "components/cmp.h"
#include "document/doc.h"
#include "expr/param.h"
#include "expr/param_context.h"
#include "solver/calc.h"

namespace qz3 {

// The one place that hands out a document's solver to components and parameters.
CCalc* DocCalc(CDoc* doc) { return doc ? doc->m_Calc.get() : nullptr; }

void AppendSolverError(CSolverPort* calc, const std::string& text) {
    if (calc) calc->AppendError(text);
}

bool ReportCmpError(CSolverPort* calc, const CCmp* cmp, const std::string& text) {
    AppendSolverError(calc, (cmp ? cmp->FullName() : std::string()) + " : " + text + "\n");
    return false;
}

bool DocLogicLevels(CDoc* doc, double& low, double& high, double& threshold) {
    if (!doc) return false;
    low = doc->m_Advanced.m_Low;
    high = doc->m_Advanced.m_High;
    threshold = doc->m_Advanced.m_Thr;
    return true;
}

CCmps* DocCmps(CDoc* doc) { return doc ? doc->m_Cmps.get() : nullptr; }

void MarkParamsChanged(CDoc* doc) {
    if (CCalc* calc = DocCalc(doc)) calc->m_Changes |= kChangeParams;
}

}  // namespace qz3
