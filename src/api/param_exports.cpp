// Parameter and text access by name and by handle. Checks are made in a
// fixed order, and each failure leaves its message behind the export's name.
// A change of a value may come at any moment of a run: the elements keep
// their state first, and the next step rebuilds at the present time.
#include <string>

#include "api/error_channel.h"
#include "api/registry.h"
#include "document/doc.h"
#include "document/param_record.h"
#include "expr/param.h"
#include "qz3.h"

namespace {

using qz3::CDoc;
using qz3::CParam;

int Fail(const std::string& message) {
    qz3::api::AppendError(message);
    return -1;
}

// The result of a CParam operation: its message goes to the buffer.
int Report(int result, const std::string& message) {
    if (result < 0) qz3::api::AppendError(message);
    return result;
}

CParam* ParamByName(CDoc* doc, const char* name, qz3::CParamRecord* where = nullptr) {
    std::string error;
    CParam* param = doc->FindParam(name, error, where);
    if (!param) qz3::api::AppendError(error);
    return param;
}

CParam* ParamByHandle(CDoc* doc, int npar) {
    std::string error;
    CParam* param = doc->ParamByHandle(npar, error);
    if (!param) qz3::api::AppendError(error);
    return param;
}

int ReadValue(CParam* param, double* v) {
    std::string error;
    const int result = param->GetValue(v, error);
    return result != 0 ? Report(result, error) : qz3::api::Succeed(0);
}

int ReadText(CParam* param, char* text, int length) {
    std::string error;
    const int result = param->GetTextBuffer(text, length, error);
    return result < 0 ? Report(result, error) : qz3::api::Succeed(result);
}

// The same steps for a value and a text, by name and by handle.
template <class Change>
int ChangeParam(CDoc* doc, Change&& change) {
    qz3::BeforeParamChange(doc);
    std::string error;
    const int result = change(error);
    if (result != 0) return Report(result, error);
    qz3::AfterParamChange(doc);
    return qz3::api::Succeed(0);
}

int WriteValue(CDoc* doc, CParam* param, double v) {
    return ChangeParam(doc, [&](std::string& error) { return param->SetValue(v, doc, error); });
}

int WriteText(CDoc* doc, CParam* param, const char* text) {
    return ChangeParam(doc, [&](std::string& error) { return param->SetTextApi(text, doc, error); });
}

}  // namespace

extern "C" {

QZ3_API int QZ3_GetValue(int ncir, const char* name, double* v) {
    return qz3::api::Guarded("QZ3_GetValue", [&]() -> int {
        if (!v) return Fail("NULL pointer");
        *v = 0.0;
        CDoc* doc = qz3::api::FindCircuit(ncir);
        if (!doc) return -1;
        CParam* param = ParamByName(doc, name);
        return param ? ReadValue(param, v) : -1;
    });
}

QZ3_API int QZ3_SetValue(int ncir, const char* name, double v) {
    return qz3::api::Guarded("QZ3_SetValue", [&]() -> int {
        CDoc* doc = qz3::api::FindCircuit(ncir);
        if (!doc) return -1;
        CParam* param = ParamByName(doc, name);
        return param ? WriteValue(doc, param, v) : -1;
    });
}

QZ3_API int QZ3_GetText(int ncir, const char* name, char* text, int length) {
    return qz3::api::Guarded("QZ3_GetText", [&]() -> int {
        if (!text) return Fail("NULL pointer");
        // A negative length gives no more room than none: nothing is written.
        if (length <= 0) return Fail("length = 0");
        *text = '\0';
        CDoc* doc = qz3::api::FindCircuit(ncir);
        if (!doc) return -1;
        CParam* param = ParamByName(doc, name);
        return param ? ReadText(param, text, length) : -1;
    });
}

QZ3_API int QZ3_SetText(int ncir, const char* name, const char* text) {
    return qz3::api::Guarded("QZ3_SetText", [&]() -> int {
        if (!text) return Fail("NULL pointer");
        CDoc* doc = qz3::api::FindCircuit(ncir);
        if (!doc) return -1;
        CParam* param = ParamByName(doc, name);
        return param ? WriteText(doc, param, text) : -1;
    });
}

QZ3_API int QZ3_GetParam(int ncir, const char* name) {
    return qz3::api::Guarded("QZ3_GetParam", [&]() -> int {
        CDoc* doc = qz3::api::FindCircuit(ncir);
        if (!doc) return -1;
        qz3::CParamRecord record;
        if (!ParamByName(doc, name, &record)) return -1;
        return qz3::api::Succeed(qz3::AddParamHandle(doc, record, qz3::api::TakeHandle()));
    });
}

QZ3_API int QZ3_GetParamValue(int ncir, int npar, double* v) {
    return qz3::api::Guarded("QZ3_GetParamValue", [&]() -> int {
        if (!v) return Fail("NULL pointer");
        CDoc* doc = qz3::api::FindCircuit(ncir);
        if (!doc) return -1;
        CParam* param = ParamByHandle(doc, npar);
        return param ? ReadValue(param, v) : -1;
    });
}

QZ3_API int QZ3_SetParamValue(int ncir, int npar, double v) {
    return qz3::api::Guarded("QZ3_SetParamValue", [&]() -> int {
        CDoc* doc = qz3::api::FindCircuit(ncir);
        if (!doc) return -1;
        CParam* param = ParamByHandle(doc, npar);
        return param ? WriteValue(doc, param, v) : -1;
    });
}

QZ3_API int QZ3_GetParamText(int ncir, int npar, char* text, int length) {
    return qz3::api::Guarded("QZ3_GetParamText", [&]() -> int {
        if (!text) return Fail("NULL pointer");
        // A negative length gives no more room than none: nothing is written.
        if (length <= 0) return Fail("length = 0");
        CDoc* doc = qz3::api::FindCircuit(ncir);
        if (!doc) return -1;
        CParam* param = ParamByHandle(doc, npar);
        return param ? ReadText(param, text, length) : -1;
    });
}

QZ3_API int QZ3_SetParamText(int ncir, int npar, const char* text) {
    return qz3::api::Guarded("QZ3_SetParamText", [&]() -> int {
        if (!text) return Fail("no text");
        CDoc* doc = qz3::api::FindCircuit(ncir);
        if (!doc) return -1;
        CParam* param = ParamByHandle(doc, npar);
        return param ? WriteText(doc, param, text) : -1;
    });
}

}  // extern "C"
