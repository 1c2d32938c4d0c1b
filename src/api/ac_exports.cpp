// The AC analysis of an open circuit; its traces are read by the AC trace
// exports beside the transient ones.
#include <string>

#include "api/error_channel.h"
#include "api/registry.h"
#include "document/doc.h"
#include "qz3.h"

extern "C" {

QZ3_API int QZ3_CalcAC(int ncir) {
    return qz3::api::Guarded("QZ3_CalcAC", [&]() -> int {
        qz3::CDoc* doc = qz3::api::FindCircuit(ncir);
        if (!doc) return -1;
        std::string error;
        if (doc->CalcAC(error)) return qz3::api::Succeed(0);
        qz3::api::AppendError(error);
        return -1;
    });
}

}  // extern "C"
