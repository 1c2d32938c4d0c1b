// The document's two trace sets: reading them from the file and the traces
// a host adds to the transient set.
#include "base/change_bits.h"
#include "components/calc_link.h"
#include "components/cmp.h"
#include "components/cmps.h"
#include "document/doc.h"
#include "xml/xml_node.h"
#include "solver/calc.h"
#include "traces/trace.h"

namespace qz3 {

namespace {


struct CNewTraceKind {
    const char* prefix;  // label is prefix + name + ")"
    uint32_t modelBit;
    const char* word;  // "V trace not allowed ..."
};
const CNewTraceKind kComponentKinds[] = {{"V(", 1, "V"}, {"I(", 2, "I"}, {"P(", 4, "P"}};

void ReadSet(CTraceSet& set, CXmlNode* analysis) {
    CXmlNode* traces = analysis ? analysis->FindChild("Traces", 0) : nullptr;
    if (!traces) return;
    traces->m_bWrite = false;
    set.Xml(*traces);
}

CXmlNode* FindOrAdd(CXmlNode& parent, const char* name) {
    CXmlNode* child = parent.FindChild(name, 0);
    return child ? child : parent.AddChild(name);
}

}  // namespace

void CDoc::ReadTraceSets(CXmlNode& doc) {
    ReadSet(*m_Tran, doc.FindChild("Tran", 0));
    ReadSet(*m_Freq, doc.FindChild("Freq", 0));
}

void CDoc::WriteTraceAnnotations(CXmlNode& doc) {
    for (auto [set, name] : {std::pair{m_Tran.get(), "Tran"}, std::pair{m_Freq.get(), "Freq"}}) {
        CXmlNode* analysis = doc.FindChild(name, 0);
        CXmlNode* traces = analysis ? analysis->FindChild("Traces", 0) : nullptr;
        if (traces) set->WriteAnnotations(*traces);
    }
}

CTrace* CDoc::NewTrace(int type, const std::string& text) {
    CCmp* cmp = nullptr;
    std::string label = text;
    if (type >= kTraceV && type <= kTraceP) {
        const CNewTraceKind& kind = kComponentKinds[type];
        // A component inside a subcircuit is named by its path ("X1.R2");
        // the trace keeps the outer component's id and the path.
        cmp = m_Cmps->FindPath(text);
        if (!cmp) {
            m_LastError = "component " + text + " not found";
            return nullptr;
        }
        const CModelInfo* row = cmp->ModelRow();
        if (!row) {
            m_LastError = "component model not found";
            return nullptr;
        }
        if (!(row->flags & kind.modelBit)) {
            m_LastError = std::string(kind.word) + " trace not allowed for component " + text;
            return nullptr;
        }
        label = kind.prefix + text + ")";
    } else if (type == kTraceVar) {
        cmp = m_Cmps->Find(text);
        if (!cmp) {
            m_LastError = "variable " + text + " not found";
            return nullptr;
        }
    } else if (type != kTraceFunction) {
        m_LastError = "wrong trace type";
        return nullptr;
    }
    auto* trace = new CTrace(m_Tran->m_Traces.get());
    trace->m_Type = type;
    if (cmp && !cmp->prefix.empty()) {
        std::string outer, rest;
        SplitPath(text, outer, rest);
        cmp = m_Cmps->Find(outer);
    }
    trace->m_Id = cmp ? cmp->id : 0;
    trace->m_Expr = label;
    m_Tran->m_Traces->Add(trace);
    if (CCalc* calc = DocCalc(this)) calc->m_Changes |= kChangeTraces;
    if (CXmlNode* doc = m_Tree ? m_Tree->FindChild("Doc", 0) : nullptr) {
        doc->m_bWrite = true;
        CXmlNode* traces = FindOrAdd(*FindOrAdd(*doc, "Tran"), "Traces");
        traces->m_bWrite = true;
        CTraceSet::WriteTrace(*trace, *traces);
    }
    return trace;
}

}  // namespace qz3
