// A whole file through the C interface: open it, run a bounded number of
// turns, an AC analysis, read a trace, save and close. Whatever the bytes,
// every call ends with a result and a text, and nothing leaks.
//
// Files with library blocks are left out: such a block loads and runs
// native code that a file names, so fuzzing it would run whatever library
// of the system the mutated bytes happen to name.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "qz3.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (std::string_view(reinterpret_cast<const char*>(data), size).find("X_DLL") != std::string_view::npos) return 0;
    static const std::string path = "/tmp/qz3_open_run_fuzz_" + std::to_string(getpid()) + ".qz3";
    if (FILE* file = std::fopen(path.c_str(), "wb")) {
        std::fwrite(data, 1, size, file);
        std::fclose(file);
    }
    const int ncir = QZ3_Open(path.c_str());
    if (ncir < 0) return 0;
    QZ3_SetTimeout(ncir, 1);
    const int trace = QZ3_AddVTrace(ncir, "R1");
    if (QZ3_Start(ncir) == 0)
        for (int turn = 0; turn < 100 && QZ3_SimulateStep(ncir) == 0; ++turn) {
        }
    double t = 0, v = 0;
    if (trace >= 0) QZ3_GetLastData(ncir, trace, &t, &v);
    QZ3_CalcAC(ncir);
    QZ3_SaveAs(ncir, (path + ".saved.qz3").c_str());
    QZ3_Close(ncir);
    std::remove((path + ".saved.qz3").c_str());
    return 0;
}
