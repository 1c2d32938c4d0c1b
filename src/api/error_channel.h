// The one process-wide error buffer and the guard every export runs in.
//
// Recipe for an export:
//     QZ3_API int QZ3_Something(int ncir) {
//         return qz3::api::Guarded("QZ3_Something", [&]() -> int {
//             ... check arguments, AppendError("...") and return -1 on a bad one
//             ... on success: return qz3::api::Succeed(result);
//         });
//     }
// Guarded writes the prefix "QZ3_Something: " before anything else and turns
// any C++ exception into a message and -1, so nothing crosses the C boundary.
#pragma once

#include <exception>
#include <new>
#include <string>

namespace qz3::api {

constexpr size_t kErrorBufferSize = 2048;

char* ErrorBuffer();
// Overwrites the buffer with "<name>: ".
void BeginCall(const char* name);
// Appends text behind what the buffer holds, cut at the buffer's end.
void AppendError(const std::string& text);
// Overwrites the buffer with "OK" and hands the result through.
int Succeed(int result);

template <class Body>
int Guarded(const char* name, Body&& body) noexcept {
    BeginCall(name);
    try {
        return body();
    } catch (const std::bad_alloc&) {
        AppendError("out of memory");
    } catch (const std::exception& e) {
        AppendError(std::string("internal error: ") + e.what());
    } catch (...) {
        AppendError("internal error");
    }
    return -1;
}

}  // namespace qz3::api
