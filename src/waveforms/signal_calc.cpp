// CSignal seen from its element: names for the fault lines, the document's
// evaluator and file search for tables and "Function", and the solver's
// right-hand side for the value of each time point.
#include <memory>

#include "components/calc_link.h"
#include "components/cmp.h"
#include "components/cmps.h"
#include "document/doc.h"
#include "expr/eval_expr.h"
#include "expr/number_text.h"
#include "components/solver_port.h"
#include "waveforms/signal.h"
#include "waveforms/signal_trace.h"

namespace qz3 {

namespace {

CCmps* OwnerList(const CCmp* owner) { return owner ? owner->owner : nullptr; }

// The running solver's document, else the one of the owner's list.
CDoc* SignalDoc(const CCmp* owner, const CSolverPort* calc) {
    if (calc && calc->Doc()) return calc->Doc();
    const CCmps* list = OwnerList(owner);
    return list ? list->doc : nullptr;
}

char TypeLetter(const CCmp* owner) {
    const char* typeName = owner && owner->typeInfo ? owner->typeInfo->typeName : nullptr;
    return typeName && typeName[0] ? typeName[0] : 'V';
}

}  // namespace

bool CSignal::Check(CSolverPort* calc) {
    if (!m_Owner) return true;
    std::string lines;
    const bool sound = CheckLines(m_Owner->model, m_Owner->FullName(), TypeLetter(m_Owner), lines);
    AppendSolverError(calc, lines);
    return sound;
}

bool CSignal::Prepare(CSolverPort* calc) {
    if (!m_Owner) return false;
    CDoc* doc = SignalDoc(m_Owner, calc);
    CCmps* cmps = OwnerList(m_Owner);
    CSignalContext context;
    context.eval = [doc, cmps](const std::string& item, double& value, std::string& error) {
        if (EvalExpr(item, &value, doc, nullptr, cmps, true)) return true;
        error = ExprError();
        return false;
    };
    if (doc) context.findFile = [doc](const std::string& name) { return doc->FindFile(name, ""); };
    else context.findFile = [](const std::string& name) { return FileExists(name) ? name : std::string(); };
    context.attachment = m_Owner->attachment;
    if (m_Owner->model == ModelId::Trace) {
        bool found = false;
        SignalTraceFinder finder = GetSignalTraceFinder();
        const CData* data = finder ? finder(doc, m_Trace, !calc || calc->IsTransient(), &found) : nullptr;
        m_TraceSamples.reset(data ? new CDataSamples(data) : nullptr);
        context.samples = m_TraceSamples.get();
        context.traceFound = found;
    }
    if (m_Owner->model == ModelId::Function) {
        // The entry of "t" is made once; its value block stays put, so the
        // evaluation at each step only writes the number.
        CVarEntry* entry = m_Vars.Find("t");
        if (!entry) entry = m_Vars.Add("t", vtDouble, 0);
        if (!entry) return ReportCmpError(calc, m_Owner, "No enough memory");
        CValue* slot = entry->Value;
        m_FunctionEval = [this, doc, cmps, slot](double x, double& value, std::string& error) {
            slot->SetDouble(x);
            if (EvalExpr(m_Function, &value, doc, &m_Vars, cmps, true)) return true;
            error = ExprError();
            return false;
        };
    }
    std::string error;
    if (Prepare(m_Owner->model, context, error)) return true;
    return ReportCmpError(calc, m_Owner, error);
}

bool CSignal::Value(CSolverPort* calc, double t, int index) {
    // Outside the integration a formula is tried one step ahead as well, so
    // that a formula that is about to fail stops the run now.
    const double probe = calc->Integrating() == 0 && calc->StepBase() > 0.0 ? calc->StepBase() : 0.0;
    double value = 0.0;
    std::string error;
    if (!ValueAt(t, value, error, probe)) return ReportCmpError(calc, m_Owner, error);
    calc->SetSource(index, value);
    return true;
}

void CSignal::NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) {
    NextEvent(t, calc ? calc->StepBase() : 0.0, tNext, stepMax, stepMin);
}

}  // namespace qz3
