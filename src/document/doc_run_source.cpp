// The document as the solver reads it at the start of a run.
#include "document/doc.h"
#include "solver/run_document.h"

namespace qz3 {

CRunDocument RunDocument(CDoc* doc) {
    if (!doc) return {};
    return {doc->m_Cmps.get(), &doc->m_TranSettings, &doc->m_Advanced, &doc->m_ACSettings, &doc->m_States};
}

}  // namespace qz3
