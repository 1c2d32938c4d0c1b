// Formulas read cursor measurements of the document's traces: the
// transient set first, then the AC set.
#include <string_view>

#include "components/cmps.h"
#include "document/doc.h"
#include "expr/eval_links.h"
#include "traces/trace_set.h"
#include "traces/traces.h"

namespace qz3 {

namespace {

int DocumentMeasurement(CCmps* cmps, std::string_view name, double& out) {
    CDoc* doc = cmps ? cmps->doc : nullptr;
    if (!doc) return -1;
    int result = -1;
    for (const CTraceSet* set : {doc->m_Tran.get(), doc->m_Freq.get()}) {
        bool found = false;
        if (!set || !set->m_Traces || !set->m_Traces->Measure(name, out, found)) continue;
        if (found) return 1;
        result = 0;
    }
    return result;
}

}  // namespace

void LinkMeasurementsToFormulas() { EvalLinks().Measurement = &DocumentMeasurement; }

}  // namespace qz3
