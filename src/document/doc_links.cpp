// The document's side of what the lower layers declare and ask for: its
// solver, its component list, its logic levels, its change mask and its
// file search.
#include "base/change_bits.h"
#include "components/calc_link.h"
#include "document/doc.h"
#include "expr/param.h"
#include "expr/param_context.h"
#include "solver/calc.h"

namespace qz3 {

// The one place that hands out a document's solver to components and parameters.
CCalc* DocCalc(CDoc* doc) { return doc ? doc->m_Calc.get() : nullptr; }

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

std::string DocumentFolder(CDoc* doc) { return doc ? doc->Folder() : std::string(); }

std::string FindDocumentFile(CDoc* doc, const std::string& name) { return FindDocumentFile(doc, name, ""); }

std::string FindDocumentFile(CDoc* doc, const std::string& name, const std::string& ext) {
    if (doc) return doc->FindFile(name, ext);
    if (FileExists(name)) return name;
    return !ext.empty() && FileExists(name + ext) ? name + ext : std::string();
}

}  // namespace qz3
