#include "components/library_attachment.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace qz3 {

namespace {

// Names stay unique within the process: two blocks unpack to two files,
// also when circuits on two threads start at once.
std::atomic<int> g_TempCounter{0};

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string SystemTempFolder() {
    const char* dir = std::getenv("TMPDIR");
    std::string folder = dir && *dir ? dir : "/tmp";
    if (folder.back() != '/') folder += '/';
    return folder;
}

// A new file, created only if no file of that name exists, so that a
// leftover of an earlier process is never overwritten. Null when the folder
// takes no file at all.
FILE* CreateFreshFile(const std::string& folder, std::string& path) {
    for (;;) {
        path = folder + "temp" + std::to_string(++g_TempCounter) + ".so";
        errno = 0;
        if (FILE* file = std::fopen(path.c_str(), "w+bx")) return file;
        if (errno != EEXIST) return nullptr;
    }
}

}  // namespace

bool DecodeHexText(const std::string& text, std::vector<unsigned char>& bytes) {
    bytes.clear();
    bytes.reserve(text.size() / 2);
    int high = -1;
    for (char c : text) {
        if (IsSpace(c)) continue;
        const int digit = HexDigit(c);
        if (digit < 0) return false;
        if (high < 0) {
            high = digit;
        } else {
            bytes.push_back(static_cast<unsigned char>(high * 16 + digit));
            high = -1;
        }
    }
    return high < 0;
}

bool UnpackAttachment(const std::string& text, const std::string& folder, std::string& path, std::string& error) {
    std::vector<unsigned char> bytes;
    if (!DecodeHexText(text, bytes)) {
        error = "Invalid format of DLL attachment";
        return false;
    }
    FILE* file = CreateFreshFile(folder, path);
    if (!file) file = CreateFreshFile(SystemTempFolder(), path);
    if (!file) {
        path.clear();
        error = "Can't create temporary DLL file";
        return false;
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    if (std::fclose(file) != 0 || !written) {
        std::remove(path.c_str());
        path.clear();
        error = "Error writing to temporary DLL file";
        return false;
    }
    return true;
}

}  // namespace qz3
