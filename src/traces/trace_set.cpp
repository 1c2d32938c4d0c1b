#include "traces/trace_set.h"

#include <cmath>

#include "solver/run_document.h"
#include "xml/settings.h"
#include "xml/xml_node.h"
#include "traces/trace.h"
#include "traces/trace_links.h"
#include "traces/trace_order.h"

namespace qz3 {

CTraceSet::CTraceSet(CDoc* doc, bool tran)
    : m_Doc(doc), m_bTran(tran), m_Lock(std::make_unique<TCriticalSection>()),
      m_Traces(std::make_unique<CTraces>(this)) {
    // The evaluator's slots are process-wide: filled once, by the first set.
    static const bool linked = (LinkTracesToFormulas(), true);
    (void)linked;
}

CTraceSet::~CTraceSet() {
    // The traces go before the count their runs give memory back to.
    m_Traces.reset();
    for (CStoredRun* run : m_Runs) delete run;
}

bool CTraceSet::Compression() const {
    const CAdvancedSettings* advanced = RunDocument(m_Doc).advanced;
    return advanced ? advanced->m_DC : true;
}

double CTraceSet::DefaultThreshold() const {
    const CAdvancedSettings* advanced = RunDocument(m_Doc).advanced;
    return advanced ? advanced->m_Thr : 2.5;
}

void CTraceSet::Xml(CXmlNode& traces) {
    if (traces.m_bWrite) {
        for (CTrace* trace : m_Traces->m_List)
            if (trace->IsKept()) WriteTrace(*trace, traces);
        return;
    }
    m_Traces->Clear();
    for (int i = 0; i < traces.ChildCount(); ++i) {
        CXmlNode* child = traces.ChildAt(i);
        auto* trace = new CTrace(m_Traces.get());
        m_Traces->Add(trace);
        child->m_bWrite = false;
        trace->Xml(*child, true);
        trace->m_Node = child;
    }
    m_Traces->MoveDigitalFirst();
}

void CTraceSet::WriteTrace(CTrace& trace, CXmlNode& traces) {
    CXmlNode* child = traces.AddChild("Trace");
    child->m_bWrite = true;
    trace.Xml(*child, false);
    trace.m_Node = child;
}

void CTraceSet::DeleteTrace(CTrace* trace, CXmlNode& traces) {
    for (int i = 0; i < traces.ChildCount(); ++i) {
        if (traces.ChildAt(i) != trace->m_Node) continue;
        traces.DeleteChild(i);
        break;
    }
    m_Traces->Delete(m_Traces->IndexOf(trace));
}

void CTraceSet::Clear(bool resumed) {
    m_Overrun = false;
    m_Traces->ClearRuns(resumed);
}

std::string CTraceSet::Prepare(CCalc& calc) {
    m_Traces->EnsureRuns();
    for (CTrace* trace : m_Traces->m_List) trace->RefreshLink();
    std::string error = MakeOrder(*m_Traces);
    if (!error.empty()) return error;
    m_Traces->Bind(calc);
    return "";
}

bool CTraceSet::Sample(CCalc& calc, double t, bool hold) { return m_Traces->SampleTran(calc, t, hold); }

bool CTraceSet::SampleAC(CCalc& calc, double f, const double* re, const double* im) {
    return m_Traces->SampleAC(calc, f, re, im);
}

bool CTraceSet::NeedsExcitation() const {
    if (m_bTran) return false;
    for (CTrace* trace : m_Traces->m_List)
        if (trace->Records() && trace->m_Type >= kTraceZ && trace->m_Type <= kTraceLoop) return true;
    return false;
}

int CTraceSet::FindRun(const std::string& name) const {
    for (CStoredRun* run : m_Runs)
        if (run->name == name) return run->id;
    return -1;
}

// ---- stored data in the file -----------------------------------------------

CTrace* CTraceSet::TraceOfElement(const CXmlNode* element) const {
    for (CTrace* trace : m_Traces->m_List)
        if (trace->m_Node == element) return trace;
    return nullptr;
}

CData* CTraceSet::SavedRun(const CXmlNode* element) const {
    CTrace* trace = element ? TraceOfElement(element) : nullptr;
    if (!trace) return nullptr;
    CData* run = trace->DataObject();
    return run && run->Count() > 0 ? run : nullptr;
}

void CTraceSet::DescribeRuns(CXmlNode& traces) {
    for (int i = 0; i < traces.ChildCount(); ++i) {
        CXmlNode* trace = traces.ChildAt(i);
        CData* run = SavedRun(trace);
        if (!run) break;
        trace->m_bWrite = true;
        CXmlNode* list = trace->FindChild("DataList", 0);
        if (!list) list = trace->AddChild("DataList");
        list->m_bWrite = true;
        while (list->ChildCount() > 0) list->DeleteChild(list->ChildCount() - 1);
        CXmlNode* data = list->AddChild("Data");
        data->AddInt("id", 0);
        data->AddInt("size", run->Count());
        data->AddInt("type", 0);
        run->m_Annotations.XmlIn(*data);
    }
}

void CTraceSet::WriteAnnotations(CXmlNode& traces) {
    for (int i = 0; i < traces.ChildCount(); ++i) {
        CXmlNode* element = traces.ChildAt(i);
        CTrace* trace = TraceOfElement(element);
        if (!trace) continue;
        element->m_bWrite = true;
        trace->m_Annotations.XmlIn(*element);
    }
}

bool CTraceSet::WriteRuns(std::FILE* file, CXmlNode* traces) const {
    int count = traces ? traces->ChildCount() : 0;
    for (int i = 0; i < count; ++i) {
        CData* run = SavedRun(traces->ChildAt(i));
        if (!run) break;
        if (!run->WriteBinary(file)) return false;
    }
    return true;
}

}  // namespace qz3
