#include "components/signal_link.h"

#include "components/cmp.h"
#include "document/doc.h"
#include "expr/eval_expr.h"
#include "expr/number_text.h"
#include "components/solver_port.h"

namespace qz3 {

CSignalContext SignalContextFor(CSolverPort* calc, CCmp* cmp) {
    CDoc* doc = calc ? calc->Doc() : nullptr;
    CCmps* cmps = cmp->owner;
    CSignalContext context;
    context.eval = [doc, cmps](const std::string& item, double& value, std::string& error) {
        if (EvalExpr(item, &value, doc, nullptr, cmps, true)) return true;
        error = ExprError();
        return false;
    };
    context.findFile = [doc](const std::string& name) { return doc ? doc->FindFile(name, "") : name; };
    context.attachment = cmp->attachment;
    return context;
}

bool PrepareSignal(CSolverPort* calc, CCmp* cmp, CSignal& signal, double t, bool run) {
    std::string error;
    if (!signal.Prepare(cmp->model, SignalContextFor(calc, cmp), error)) return cmp->AddCmpError(calc, error);
    signal.Start(t, run);
    return true;
}

}  // namespace qz3
