// Exports whose subsystems have not landed yet. Each one follows the common
// protocol (prefix, then a message) and fails with -1; it moves to its own
// file when its subsystem arrives.
#include "api/error_channel.h"
#include "qz3.h"

extern "C" {

QZ3_API int QZ3_CalcAC(int ncir) {
    return qz3::api::Guarded("QZ3_CalcAC", [&]() -> int {
        qz3::api::AppendError("not available in this build");
        return -1;
    });
}

}  // extern "C"
