// Co-simulation: the host drives sources between simulate calls and reads
// labels and meters. A handle is checked against the circuit's own records,
// so a handle of another kind or another circuit is simply a wrong one.
#include <cmath>
#include <string>

#include "api/error_channel.h"
#include "api/registry.h"
#include "components/cmp.h"
#include "components/cmps.h"
#include "document/doc.h"
#include "document/io_record.h"
#include "qz3.h"

namespace {

using qz3::CCmp;
using qz3::CDoc;

int Fail(const std::string& message) {
    qz3::api::AppendError(message);
    return -1;
}

// The circuit's component by a host's name; a message and null when the name
// is null, empty or unknown. `kind` is "input" or "output".
CCmp* NamedCmp(CDoc* doc, const char* name, const char* kind) {
    if (!name) {
        Fail("NULL pointer");
        return nullptr;
    }
    if (!*name) {
        Fail(std::string("no ") + kind + " name");
        return nullptr;
    }
    CCmp* cmp = doc->m_Cmps->Find(name);
    if (!cmp) Fail(std::string("component ") + name + " not found");
    return cmp;
}

int CannotBe(const char* name, const char* kind) { return Fail(std::string("component ") + name + " cannot be an " + kind); }

// The record of a handle in an open circuit, with the circuit; null and
// a message otherwise.
qz3::CInputRecord* InputRecord(int ncir, int nin, CDoc*& doc) {
    doc = qz3::api::FindCircuit(ncir);
    if (!doc) return nullptr;
    qz3::CInputRecord* input = qz3::FindInput(doc, nin);
    if (!input) Fail("wrong input handle");
    return input;
}

// Enters at the next time point, through the source's VecE entry.
int SetHostValue(qz3::CInputRecord& input, double v) {
    input.cmp->hostValue = v;
    return qz3::api::Succeed(0);
}

CDoc* ReadOutput(int ncir, int nout, double& value) {
    CDoc* doc = qz3::api::FindCircuit(ncir);
    if (!doc) return nullptr;
    const qz3::COutputRecord* output = qz3::FindOutput(doc, nout);
    if (!output) {
        Fail("wrong output handle");
        return nullptr;
    }
    value = qz3::OutputValue(doc, *output);
    return doc;
}

}  // namespace

extern "C" {

QZ3_API int QZ3_GetInput(int ncir, const char* name) {
    return qz3::api::Guarded("QZ3_GetInput", [&]() -> int {
        CDoc* doc = qz3::api::FindCircuit(ncir);
        if (!doc) return -1;
        CCmp* cmp = NamedCmp(doc, name, "input");
        if (!cmp) return -1;
        if (!qz3::CanBeInput(*cmp)) return CannotBe(name, "input");
        const int handle = qz3::AddInputHandle(doc, cmp, qz3::api::TakeHandle());
        qz3::DriveByHost(doc, cmp);
        return qz3::api::Succeed(handle);
    });
}

QZ3_API int QZ3_SetInputValue(int ncir, int nin, double v) {
    return qz3::api::Guarded("QZ3_SetInputValue", [&]() -> int {
        CDoc* doc = nullptr;
        qz3::CInputRecord* input = InputRecord(ncir, nin, doc);
        if (!input) return -1;
        // A source driven by NaN or infinity would poison every later step.
        if (std::isnan(v)) return Fail("value = NaN");
        if (std::isinf(v)) return Fail("value = infinite");
        return SetHostValue(*input, v);
    });
}

QZ3_API int QZ3_SetInputLogicalValue(int ncir, int nin, int v) {
    return qz3::api::Guarded("QZ3_SetInputLogicalValue", [&]() -> int {
        CDoc* doc = nullptr;
        qz3::CInputRecord* input = InputRecord(ncir, nin, doc);
        if (!input) return -1;
        return SetHostValue(*input, v != 0 ? doc->m_Advanced.m_High : doc->m_Advanced.m_Low);
    });
}

QZ3_API int QZ3_GetOutput(int ncir, const char* name) {
    return qz3::api::Guarded("QZ3_GetOutput", [&]() -> int {
        CDoc* doc = qz3::api::FindCircuit(ncir);
        if (!doc) return -1;
        CCmp* cmp = NamedCmp(doc, name, "output");
        if (!cmp) return -1;
        qz3::COutputRecord record;
        if (!qz3::PointOutputAt(*cmp, record)) return CannotBe(name, "output");
        return qz3::api::Succeed(qz3::AddOutputHandle(doc, record, qz3::api::TakeHandle()));
    });
}

QZ3_API int QZ3_GetOutputValue(int ncir, int nout, double* v) {
    return qz3::api::Guarded("QZ3_GetOutputValue", [&]() -> int {
        if (!v) return Fail("NULL pointer");
        double value = 0.0;
        if (!ReadOutput(ncir, nout, value)) return -1;
        *v = value;
        return qz3::api::Succeed(0);
    });
}

// Speaks with its sibling's name: hosts match on that prefix.
QZ3_API int QZ3_GetOutputLogicalValue(int ncir, int nout, int* v) {
    return qz3::api::Guarded("QZ3_GetOutputValue", [&]() -> int {
        if (!v) return Fail("NULL pointer");
        double value = 0.0;
        CDoc* doc = ReadOutput(ncir, nout, value);
        if (!doc) return -1;
        *v = value > doc->m_Advanced.m_Thr ? 1 : 0;
        return qz3::api::Succeed(0);
    });
}

}  // extern "C"
