#include <cstdio>

#include "api/error_channel.h"
#include "qz3.h"

namespace {
constexpr int kVersion[4] = {QZ3_VERSION_MAJOR, QZ3_VERSION_MINOR, QZ3_VERSION_PATCH, QZ3_VERSION_TWEAK};
constexpr const char* kBuildDate = "06/03/2022";
}  // namespace

extern "C" {

QZ3_API const char* QZ3_GetError(void) { return qz3::api::ErrorBuffer(); }

QZ3_API const char* QZ3_GetInfo(void) {
    std::snprintf(qz3::api::ErrorBuffer(), qz3::api::kErrorBufferSize, "Version %d.%d.%d.%d, Date %s",
                  kVersion[0], kVersion[1], kVersion[2], kVersion[3], kBuildDate);
    return qz3::api::ErrorBuffer();
}

}  // extern "C"
