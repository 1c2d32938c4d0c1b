#include "components/signal_link.h"

#include <memory>

#include "components/calc_link.h"
#include "components/cmp.h"
#include "components/cmps.h"
#include "components/solver_port.h"
#include "expr/eval_expr.h"
#include "expr/number_text.h"
#include "waveforms/signal_trace.h"

namespace qz3 {

namespace {

// The running solver's document, else the one of the element's list.
CDoc* SignalDoc(const CSolverPort* calc, const CCmp* cmp) {
    if (calc && calc->Doc()) return calc->Doc();
    return cmp->owner ? cmp->owner->doc : nullptr;
}

CSignalContext ContextFor(CSolverPort* calc, const CCmp* cmp, CSignal& signal) {
    CDoc* doc = SignalDoc(calc, cmp);
    CCmps* cmps = cmp->owner;
    CSignalContext context;
    context.eval = [doc, cmps](const std::string& item, double& value, std::string& error) {
        if (EvalExpr(item, &value, doc, nullptr, cmps, true)) return true;
        error = ExprError();
        return false;
    };
    context.findFile = [doc](const std::string& name) { return FindDocumentFile(doc, name); };
    context.attachment = cmp->attachment;
    if (cmp->model == ModelId::Trace) {
        bool found = false;
        const SignalTraceFinder finder = GetSignalTraceFinder();
        signal.m_TraceSamples = finder ? finder(doc, signal.m_Trace, !calc || calc->IsTransient(), &found) : nullptr;
        context.samples = signal.m_TraceSamples.get();
        context.traceFound = found;
    }
    return context;
}

// "Function": the entry of "t" is made once; its value block stays put, so
// the evaluation at each step only writes the number.
bool PrepareFunction(CSolverPort* calc, const CCmp* cmp, CSignal& signal) {
    CDoc* doc = SignalDoc(calc, cmp);
    CCmps* cmps = cmp->owner;
    CVarEntry* entry = signal.m_Vars.Find("t");
    if (!entry) entry = signal.m_Vars.Add("t", vtDouble, 0);
    if (!entry) return ReportCmpError(calc, cmp, "No enough memory");
    CValue* slot = entry->Value;
    CSignal* target = &signal;
    signal.m_FunctionEval = [target, doc, cmps, slot](double x, double& value, std::string& error) {
        slot->SetDouble(x);
        if (EvalExpr(target->m_Function, &value, doc, &target->m_Vars, cmps, true)) return true;
        error = ExprError();
        return false;
    };
    return true;
}

char TypeLetter(const CCmp* cmp) {
    const char* typeName = cmp->typeInfo ? cmp->typeInfo->typeName : nullptr;
    return typeName && typeName[0] ? typeName[0] : 'V';
}

}  // namespace

bool PrepareSignal(CSolverPort* calc, CCmp* cmp, CSignal& signal, double t, bool run) {
    const CSignalContext context = ContextFor(calc, cmp, signal);
    if (cmp->model == ModelId::Function && !PrepareFunction(calc, cmp, signal)) return false;
    std::string error;
    if (!signal.Prepare(cmp->model, context, error)) return ReportCmpError(calc, cmp, error);
    signal.Start(t, run);
    return true;
}

bool CheckSignal(CSolverPort* calc, const CCmp* cmp, const CSignal& signal) {
    std::string lines;
    const bool sound = signal.CheckLines(cmp->model, cmp->FullName(), TypeLetter(cmp), lines);
    AppendSolverError(calc, lines);
    return sound;
}

bool SignalValue(CSolverPort* calc, const CCmp* cmp, CSignal& signal, double t, int index) {
    const double probe = calc->Integrating() == 0 && calc->StepBase() > 0.0 ? calc->StepBase() : 0.0;
    double value = 0.0;
    std::string error;
    if (!signal.ValueAt(t, value, error, probe)) return ReportCmpError(calc, cmp, error);
    calc->SetSource(index, value);
    return true;
}

}  // namespace qz3
