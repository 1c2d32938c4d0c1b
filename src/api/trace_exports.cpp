// Traces and their data: handles to traces of the file, traces added by the
// host, and reads of what a run recorded, transient and AC alike.
#include <string>

#include "base/change_bits.h"
#include "api/error_channel.h"
#include "api/registry.h"
#include "components/calc_link.h"
#include "document/doc.h"
#include "xml/xml_node.h"
#include "qz3.h"
#include "solver/calc.h"
#include "traces/data.h"
#include "traces/trace.h"
#include "traces/trace_set.h"

using namespace qz3;
using namespace qz3::api;

namespace {

// The name checks that come before the circuit is looked up.
bool CheckName(const char* name, const char* emptyMessage) {
    if (!name) {
        AppendError("NULL pointer");
        return false;
    }
    if (!*name) {
        AppendError(emptyMessage);
        return false;
    }
    return true;
}

int GetTraceHandle(int ncir, const char* name, bool tran) {
    if (!CheckName(name, "no trace name")) return -1;
    CDoc* doc = FindCircuit(ncir);
    if (!doc) return -1;
    CTrace* trace = (tran ? doc->m_Tran : doc->m_Freq)->FindTrace(name);
    if (!trace) {
        AppendError(std::string("trace ") + name + " not found");
        return -1;
    }
    if (trace->m_Handle < 0) trace->m_Handle = TakeHandle();
    return Succeed(trace->m_Handle);
}

int AddTrace(int ncir, const char* name, int type) {
    if (!CheckName(name, type == kTraceFunction ? "no trace function" : "no trace name")) return -1;
    CDoc* doc = FindCircuit(ncir);
    if (!doc) return -1;
    CTrace* trace = doc->NewTrace(type, name);
    if (!trace) {
        AppendError(doc->m_LastError);
        return -1;
    }
    trace->m_Handle = TakeHandle();
    return Succeed(trace->m_Handle);
}

// The trace of a handle in one of the document's sets, or null after
// "wrong trace handle" (also for a circuit that isn't open).
CTrace* TraceByHandle(int ncir, int ntrace, bool tran) {
    CDoc* doc = FindCircuit(ncir);
    if (!doc) return nullptr;
    CTrace* trace = (tran ? doc->m_Tran : doc->m_Freq)->FindByHandle(ntrace);
    if (!trace) AppendError("wrong trace handle");
    return trace;
}

int DataSize(int ncir, int ntrace, bool tran) {
    CTrace* trace = TraceByHandle(ncir, ntrace, tran);
    if (!trace) return -1;
    CData* data = trace->DataObject();
    return Succeed(data ? data->Count() : 0);
}

// One transient point by index; index -1 stands for the last one.
int ReadPoint(int ncir, int ntrace, int index, double* t, double* value, const char* failure) {
    if (!t || !value) {
        AppendError("NULL pointer");
        return -1;
    }
    CTrace* trace = TraceByHandle(ncir, ntrace, true);
    if (!trace) return -1;
    CData* data = trace->DataObject();
    if (index == -1) index = data ? data->Count() - 1 : -1;
    if (!data || !data->GetPoint(index, *t, *value, true)) {
        AppendError(failure);
        return -1;
    }
    return Succeed(0);
}

}  // namespace

extern "C" {

QZ3_API int QZ3_GetTrace(int ncir, const char* name) {
    return Guarded("QZ3_GetTrace", [&]() -> int { return GetTraceHandle(ncir, name, true); });
}

QZ3_API int QZ3_AddVTrace(int ncir, const char* name) {
    return Guarded("QZ3_AddVTrace", [&]() -> int { return AddTrace(ncir, name, kTraceV); });
}

QZ3_API int QZ3_AddITrace(int ncir, const char* name) {
    return Guarded("QZ3_AddITrace", [&]() -> int { return AddTrace(ncir, name, kTraceI); });
}

QZ3_API int QZ3_AddPTrace(int ncir, const char* name) {
    return Guarded("QZ3_AddPTrace", [&]() -> int { return AddTrace(ncir, name, kTraceP); });
}

QZ3_API int QZ3_AddVarTrace(int ncir, const char* name) {
    return Guarded("QZ3_AddVarTrace", [&]() -> int { return AddTrace(ncir, name, kTraceVar); });
}

QZ3_API int QZ3_AddFuncTrace(int ncir, const char* text) {
    return Guarded("QZ3_AddFuncTrace", [&]() -> int { return AddTrace(ncir, text, kTraceFunction); });
}

QZ3_API int QZ3_DeleteTrace(int ncir, int ntrace) {
    return Guarded("QZ3_DeleteTrace", [&]() -> int {
        CTrace* trace = TraceByHandle(ncir, ntrace, true);
        if (!trace) return -1;
        CDoc* doc = FindCircuit(ncir);
        CTraces& traces = *doc->m_Tran->m_Traces;
        int p = traces.IndexOf(trace);
        CXmlNode* root = doc->m_Tree ? doc->m_Tree->FindChild("Doc", 0) : nullptr;
        CXmlNode* tran = root ? root->FindChild("Tran", 0) : nullptr;
        CXmlNode* list = tran ? tran->FindChild("Traces", 0) : nullptr;
        // Without the file's list there is nothing to keep in step with.
        if (!list) return Succeed(0);
        if (p < 0) {
            AppendError("trace not found");
            return -1;
        }
        doc->m_Tran->DeleteTrace(trace, *list);
        if (CCalc* calc = DocCalc(doc)) calc->m_Changes |= kChangeTraces;
        return Succeed(0);
    });
}

QZ3_API int QZ3_GetDataSize(int ncir, int ntrace) {
    return Guarded("QZ3_GetDataSize", [&]() -> int { return DataSize(ncir, ntrace, true); });
}

QZ3_API int QZ3_GetDataAt(int ncir, int ntrace, int index, double* t, double* data) {
    return Guarded("QZ3_GetDataAt", [&]() -> int {
        // A negative index is out of range here, never "the last one".
        if (index < 0) index = -2;
        return ReadPoint(ncir, ntrace, index, t, data, "no data at requested index");
    });
}

QZ3_API int QZ3_GetLastData(int ncir, int ntrace, double* t, double* data) {
    return Guarded("QZ3_GetLastData", [&]() -> int { return ReadPoint(ncir, ntrace, -1, t, data, "no data"); });
}

QZ3_API int QZ3_GetData(int ncir, int ntrace, double t, double* data) {
    return Guarded("QZ3_GetData", [&]() -> int {
        if (!data) {
            AppendError("NULL pointer");
            return -1;
        }
        CTrace* trace = TraceByHandle(ncir, ntrace, true);
        if (!trace) return -1;
        CData* run = trace->DataObject();
        if (!run || !run->GetValueAt(t, *data, true)) {
            AppendError("no data at requested time");
            return -1;
        }
        return Succeed(0);
    });
}

QZ3_API int QZ3_DeleteOldData(int ncir) {
    return Guarded("QZ3_DeleteOldData", [&]() -> int {
        CDoc* doc = FindCircuit(ncir);
        if (!doc) return -1;
        CCalc* calc = DocCalc(doc);
        double now = calc ? calc->m_Time : 0.0;
        for (CTrace* trace : doc->m_Tran->m_Traces->m_List)
            if (CData* data = trace->DataObject()) data->DeleteOld(now);
        return Succeed(0);
    });
}

QZ3_API int QZ3_GetACTrace(int ncir, const char* name) {
    return Guarded("QZ3_GetACTrace", [&]() -> int { return GetTraceHandle(ncir, name, false); });
}

QZ3_API int QZ3_GetACDataSize(int ncir, int ntrace) {
    return Guarded("QZ3_GetACDataSize", [&]() -> int { return DataSize(ncir, ntrace, false); });
}

QZ3_API int QZ3_GetACDataAt(int ncir, int ntrace, int index, double* f, double* mag, double* phase) {
    return Guarded("QZ3_GetACDataAt", [&]() -> int {
        if (!f || !mag || !phase) {
            AppendError("NULL pointer");
            return -1;
        }
        CTrace* trace = TraceByHandle(ncir, ntrace, false);
        if (!trace) return -1;
        CData* data = trace->DataObject();
        if (!data || index < 0 || index >= data->Count()) {
            *f = *mag = *phase = 0.0;
            AppendError("no data at requested index");
            return -1;
        }
        data->GetACPoint(index, *f, *mag, *phase);
        return Succeed(0);
    });
}

}  // extern "C"
