// Exports whose subsystems have not landed yet. Each one follows the common
// protocol (prefix, then a message) and fails with -1; it moves to its own
// file when its subsystem arrives.
#include "api/error_channel.h"
#include "qz3.h"

extern "C" {

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

}  // extern "C"
