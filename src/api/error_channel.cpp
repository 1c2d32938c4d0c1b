#include "api/error_channel.h"

#include <cstring>

namespace qz3::api {

namespace {
// Each thread has its own: a call reports to the thread that made it, and
// QZ3_GetError reads what the calling thread's last call said.
thread_local char g_ErrorBuffer[kErrorBufferSize];
}

char* ErrorBuffer() { return g_ErrorBuffer; }

void BeginCall(const char* name) {
    g_ErrorBuffer[0] = 0;
    AppendError(std::string(name) + ": ");
}

void AppendError(const std::string& text) {
    // The buffer is never overrun: a message longer than the room left is cut.
    size_t used = std::strlen(g_ErrorBuffer);
    size_t room = kErrorBufferSize - 1 - used;
    size_t n = text.size() < room ? text.size() : room;
    std::memcpy(g_ErrorBuffer + used, text.data(), n);
    g_ErrorBuffer[used + n] = 0;
}

int Succeed(int result) {
    std::strcpy(g_ErrorBuffer, "OK");
    return result;
}

}  // namespace qz3::api
