// Exports whose subsystems have not landed yet. Each one follows the common
// protocol (prefix, then a message) and fails with -1; it moves to its own
// file when its subsystem arrives.
#include "api/error_channel.h"
#include "qz3.h"

extern "C" {

QZ3_API int QZ3_GetTrace(int ncir, const char* name) {
    return qz3::api::Guarded("QZ3_GetTrace", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_AddVTrace(int ncir, const char* name) {
    return qz3::api::Guarded("QZ3_AddVTrace", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_AddITrace(int ncir, const char* name) {
    return qz3::api::Guarded("QZ3_AddITrace", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_AddPTrace(int ncir, const char* name) {
    return qz3::api::Guarded("QZ3_AddPTrace", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_AddVarTrace(int ncir, const char* name) {
    return qz3::api::Guarded("QZ3_AddVarTrace", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_AddFuncTrace(int ncir, const char* text) {
    return qz3::api::Guarded("QZ3_AddFuncTrace", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_DeleteTrace(int ncir, int ntrace) {
    return qz3::api::Guarded("QZ3_DeleteTrace", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_GetDataSize(int ncir, int ntrace) {
    return qz3::api::Guarded("QZ3_GetDataSize", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_GetDataAt(int ncir, int ntrace, int index, double* t, double* data) {
    return qz3::api::Guarded("QZ3_GetDataAt", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_GetLastData(int ncir, int ntrace, double* t, double* data) {
    return qz3::api::Guarded("QZ3_GetLastData", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_GetData(int ncir, int ntrace, double t, double* data) {
    return qz3::api::Guarded("QZ3_GetData", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_DeleteOldData(int ncir) {
    return qz3::api::Guarded("QZ3_DeleteOldData", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_GetInput(int ncir, const char* name) {
    return qz3::api::Guarded("QZ3_GetInput", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_SetInputValue(int ncir, int nin, double v) {
    return qz3::api::Guarded("QZ3_SetInputValue", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_SetInputLogicalValue(int ncir, int nin, int v) {
    return qz3::api::Guarded("QZ3_SetInputLogicalValue", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_GetOutput(int ncir, const char* name) {
    return qz3::api::Guarded("QZ3_GetOutput", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_GetOutputValue(int ncir, int nout, double* v) {
    return qz3::api::Guarded("QZ3_GetOutputValue", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_GetOutputLogicalValue(int ncir, int nout, int* v) {
    return qz3::api::Guarded("QZ3_GetOutputLogicalValue", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_CalcAC(int ncir) {
    return qz3::api::Guarded("QZ3_CalcAC", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_GetACTrace(int ncir, const char* name) {
    return qz3::api::Guarded("QZ3_GetACTrace", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_GetACDataSize(int ncir, int ntrace) {
    return qz3::api::Guarded("QZ3_GetACDataSize", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

QZ3_API int QZ3_GetACDataAt(int ncir, int ntrace, int index, double* f, double* mag, double* phase) {
    return qz3::api::Guarded("QZ3_GetACDataAt", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

}  // extern "C"
