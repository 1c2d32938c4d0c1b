#include "api/error_channel.h"

#include <cstring>

namespace qz3::api {

namespace {
// Each thread has its own: a call reports to the thread that made it, and
// QZ3_GetError reads what the calling thread's last call said.
thread_local char g_ErrorBuffer[kErrorBufferSize];
}

// Out of line on purpose: the compiler recomputes the address of a
// thread-local buffer of a shared library (a call) at each use, also inside a
// loop; taken from here once, it stays in a register.
[[gnu::noinline]] char* ErrorBuffer() { return g_ErrorBuffer; }

// Runs at the start of every export, also of the reads a host makes once per
// point, so it writes the prefix in place instead of building a string.
void BeginCall(const char* name) {
    // Names are a few letters: a plain loop beats a general copy here.
    char* buffer = ErrorBuffer();
    size_t n = 0;
    for (; name[n] != 0 && n < kErrorBufferSize - 3; ++n) buffer[n] = name[n];
    buffer[n] = ':';
    buffer[n + 1] = ' ';
    buffer[n + 2] = 0;
}

void AppendError(const std::string& text) {
    // The buffer is never overrun: a message longer than the room left is cut.
    char* buffer = ErrorBuffer();
    size_t used = std::strlen(buffer);
    size_t room = kErrorBufferSize - 1 - used;
    size_t n = text.size() < room ? text.size() : room;
    std::memcpy(buffer + used, text.data(), n);
    buffer[used + n] = 0;
}

int Succeed(int result) {
    std::memcpy(ErrorBuffer(), "OK", 3);
    return result;
}

}  // namespace qz3::api
