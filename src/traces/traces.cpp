#include "traces/traces.h"

#include <cstring>

#include "components/cmp.h"
#include "components/cmps.h"
#include "solver/run_document.h"
#include "xml/settings.h"
#include "expr/var_list.h"
#include "solver/calc.h"
#include "traces/trace.h"
#include "traces/trace_set.h"

namespace qz3 {

namespace {

std::string_view Trimmed(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    return s;
}

CCmp* FindCmpById(CDoc* doc, int id) {
    CCmps* cmps = RunDocument(doc).cmps;
    if (!cmps) return nullptr;
    for (int i = 0; i < cmps->Count(); ++i)
        if (cmps->At(i)->id == id) return cmps->At(i);
    return nullptr;
}

// A trace inside a subcircuit keeps the id of the outer component and the
// whole path in its expression, "V(X1.R2)"; the inner list is loaded by now.
CCmp* InnerTarget(CCmp* cmp, const std::string& expr) {
    if (!cmp || !cmp->IsSubCircuit() || !cmp->owner) return cmp;
    const size_t open = expr.find('(');
    std::string path = open == std::string::npos ? expr : expr.substr(open + 1);
    if (!path.empty() && path.back() == ')') path.pop_back();
    CCmp* inner = cmp->owner->FindPath(path);
    return inner ? inner : cmp;
}

bool IsExcitationType(int type) { return type >= kTraceZ && type <= kTraceLoop; }

}  // namespace

CTraces::CTraces(CTraceSet* set) : m_Set(set) {}

CTraces::~CTraces() { Clear(); }

void CTraces::Add(CTrace* trace) {
    m_List.Add(trace);
    m_Order.reset();
}

void CTraces::Delete(int index) {
    CTrace* trace = m_List.At(index);
    if (!trace) return;
    m_List.Delete(index);
    delete trace;
    m_Order.reset();
}

void CTraces::Clear() {
    for (CTrace* trace : m_List) delete trace;
    m_List.Clear();
    m_Order.reset();
}

void CTraces::MoveDigitalFirst() {
    TList<CTrace> digital, analog;
    for (CTrace* trace : m_List) (trace->IsDigital() ? digital : analog).Add(trace);
    m_List.Clear();
    for (CTrace* trace : digital) m_List.Add(trace);
    for (CTrace* trace : analog) m_List.Add(trace);
}

CTrace* CTraces::FindTrace(std::string_view name, int* phase) const {
    if (!name.empty() && name.front() == '"') {
        name.remove_prefix(1);
        if (!name.empty() && name.back() == '"') name.remove_suffix(1);
    }
    if (name.empty()) return nullptr;
    for (CTrace* trace : m_List) {
        std::string display = trace->DisplayName();
        if (SameName(display, name)) {
            if (phase) *phase = 0;
            return trace;
        }
        if (!trace->m_bTran && SameName(display + ".phase", name)) {
            if (phase) *phase = 1;
            return trace;
        }
    }
    return nullptr;
}

CTrace* CTraces::FindByHandle(int handle) const {
    if (handle < 0) return nullptr;
    for (CTrace* trace : m_List)
        if (trace->m_Handle == handle) return trace;
    return nullptr;
}

void CTraces::ClearRuns(bool resumed) {
    for (CTrace* trace : m_List) {
        if (!trace->Records()) continue;
        trace->ClearRun();
        trace->m_ReplaceFirst = resumed;
    }
}

void CTraces::EnsureRuns() {
    for (CTrace* trace : m_List)
        if (trace->Records()) trace->EnsureRun();
}

bool CTraces::Bind(CCalc& calc) {
    CDoc* doc = m_Set ? m_Set->m_Doc : nullptr;
    bool anything = false;
    for (CTrace* trace : m_List) {
        trace->Unbind();
        CCmp* cmp = nullptr;
        if (trace->m_Id > 0)
            cmp = InnerTarget(FindCmpById(doc, trace->m_Id), trace->m_Expr);
        else if (trace->m_Id == 0 && !trace->m_bTran && IsExcitationType(trace->m_Type) && doc)
            cmp = FindCmpById(doc, RunDocument(doc).ac->m_Id);
        trace->EnsureVars();
        if (trace->m_Type == kTraceFunction) {
            // A formula that is a plain name of the trace's own variables is
            // read directly instead of being scanned at every point.
            std::string_view expr = Trimmed(trace->m_Expr);
            if (CVarEntry* entry = expr.empty() ? nullptr : trace->m_Vars.Find(expr))
                if (!entry->IsArray() && trace->m_bTran) trace->m_Variable = entry->Value;
        }
        if (cmp) {
            if (trace->m_Type == kTraceS) {
                trace->m_Cmp = cmp;
            } else if (!cmp->GetTraceNodes(&calc, trace->m_Type, &trace->m_NodeM, &trace->m_NodeP,
                                           &trace->m_Branch, &trace->m_Resistance)) {
                trace->m_Cmp = cmp;
            }
        }
        if (trace->m_Run) anything = true;
    }
    return anything;
}

bool CTraces::SampleTran(CCalc& calc, double t, bool hold) {
    bool good = true;
    for (int p = 0; p < m_List.Count(); ++p)
        if (!m_List[OrderAt(p)]->SampleTran(calc, t, hold)) good = false;
    return good;
}

bool CTraces::SampleAC(CCalc& calc, double f, const double* re, const double* im) {
    bool good = true;
    for (int p = 0; p < m_List.Count(); ++p)
        if (!m_List[OrderAt(p)]->SampleAC(calc, f, re, im)) good = false;
    return good;
}

}  // namespace qz3
