// Opening, saving and closing circuits.
#include <memory>

#include "api/error_channel.h"
#include "api/registry.h"
#include "document/doc.h"
#include "qz3.h"

using qz3::CDoc;
using namespace qz3::api;

namespace {

// The name checks of QZ3_Open and QZ3_SaveAs; false after the message.
bool CheckFileName(const char* name) {
    if (!name) {
        AppendError("NULL pointer");
        return false;
    }
    if (!*name) {
        AppendError("no file name");
        return false;
    }
    return true;
}

int SaveTo(CDoc* doc, const std::string& path) {
    if (!doc->Save(path)) {
        AppendError("cannot save file " + path);
        return -1;
    }
    return Succeed(0);
}

}  // namespace

extern "C" {

QZ3_API int QZ3_Open(const char* name) {
    return Guarded("QZ3_Open", [&]() -> int {
        if (!CheckFileName(name)) return -1;
        auto doc = std::make_unique<CDoc>();
        if (doc->Load(name) < 0) {
            AppendError(doc->m_LastError);
            return -1;
        }
        doc->m_Handle = TakeHandle();
        CDoc* opened = doc.release();
        AddCircuit(opened);
        return Succeed(opened->m_Handle);
    });
}

QZ3_API int QZ3_Save(int ncir) {
    return Guarded("QZ3_Save", [&]() -> int {
        CDoc* doc = FindCircuit(ncir);
        if (!doc) return -1;
        return SaveTo(doc, doc->m_FileName);
    });
}

QZ3_API int QZ3_SaveAs(int ncir, const char* name) {
    return Guarded("QZ3_SaveAs", [&]() -> int {
        // Unlike QZ3_Open, the handle is checked before the name.
        CDoc* doc = FindCircuit(ncir);
        if (!doc) return -1;
        if (!CheckFileName(name)) return -1;
        return SaveTo(doc, name);
    });
}

QZ3_API int QZ3_Close(int ncir) {
    return Guarded("QZ3_Close", [&]() -> int {
        CDoc* doc = FindCircuit(ncir);
        if (!doc) return -1;
        CloseCircuit(doc);
        return Succeed(0);
    });
}

}  // extern "C"
