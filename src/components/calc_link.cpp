#include "components/calc_link.h"

#include "components/cmp.h"
#include "document/doc.h"
#include "expr/param.h"
#include "expr/param_context.h"
#include "solver/calc.h"

namespace qz3 {

// The document gets its solver when the run lifecycle joins it; this is the
// one place that then hands it out.
CCalc* DocCalc(CDoc* doc) { return nullptr; }

void AppendSolverError(CCalc* calc, const std::string& text) {
    if (calc) calc->m_Error += text;
}

bool ReportCmpError(CCalc* calc, const CCmp* cmp, const std::string& text) {
    AppendSolverError(calc, (cmp ? cmp->FullName() : std::string()) + " : " + text + "\n");
    return false;
}

CCmps* DocCmps(CDoc* doc) { return doc ? doc->m_Cmps.get() : nullptr; }

void MarkParamsChanged(CDoc* doc) {
    if (CCalc* calc = DocCalc(doc)) calc->m_Changes |= kChangeParams;
}

}  // namespace qz3
