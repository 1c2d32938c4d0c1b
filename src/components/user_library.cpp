#include "components/user_library.h"

#include <dlfcn.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace qz3 {

namespace {

// The bytes of an ELF header that say for which machine it was built:
// the class (32 or 64 bit), the byte order and the processor.
struct CMachineWord {
    unsigned char elfClass = 0;
    unsigned char byteOrder = 0;
    unsigned char machine[2] = {};
};

bool ReadMachineWord(const char* path, CMachineWord& word) {
    unsigned char header[20] = {};
    FILE* file = std::fopen(path, "rb");
    if (!file) return false;
    const size_t got = std::fread(header, 1, sizeof header, file);
    std::fclose(file);
    if (got < sizeof header || std::memcmp(header, "\177ELF", 4) != 0) return false;
    word.elfClass = header[4];
    word.byteOrder = header[5];
    word.machine[0] = header[18];
    word.machine[1] = header[19];
    return true;
}

// A library that is an ELF file, but not one this process can run.
bool BuiltForAnotherMachine(const std::string& path) {
    CMachineWord theirs, ours;
    if (!ReadMachineWord(path.c_str(), theirs) || !ReadMachineWord("/proc/self/exe", ours)) return false;
    return theirs.elfClass != ours.elfClass || theirs.byteOrder != ours.byteOrder ||
           std::memcmp(theirs.machine, ours.machine, 2) != 0;
}

// The loader puts the file's path in front of its message; the caller names
// the library itself.
std::string LoaderText(const std::string& path) {
    const char* raw = dlerror();
    std::string text = raw ? raw : "";
    const std::string front = path + ": ";
    if (text.compare(0, front.size(), front) == 0) text.erase(0, front.size());
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
    return text;
}

}  // namespace

bool CUserLibrary::Load(const std::string& path, std::string& error) {
    Unload();
    // A name without a slash would be searched on the system's library path
    // and not where it was found.
    const std::string where = path.find('/') == std::string::npos ? "./" + path : path;
    dlerror();
    m_Handle = dlopen(where.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_Handle) {
        m_Path = where;
        return true;
    }
    error = LoaderText(where);
    if (BuiltForAnotherMachine(where)) error = "Wrong DLL (32 bit?)";
    if (error.empty()) error = "Can't load library";
    return false;
}

void* CUserLibrary::Entry(const std::string& name, std::string& error) const {
    if (!m_Handle) return nullptr;
    dlerror();
    if (void* entry = dlsym(m_Handle, name.c_str())) return entry;
    error = LoaderText(m_Path);
    if (void* entry = dlsym(m_Handle, ("_" + name).c_str())) return entry;
    if (error.empty()) error = "Can't find entry point";
    return nullptr;
}

void CUserLibrary::Unload() {
    if (!m_Handle) return;
    dlclose(m_Handle);
    m_Handle = nullptr;
    m_Path.clear();
}

}  // namespace qz3
