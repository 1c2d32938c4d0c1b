// Runs the built qz3 command as a subprocess and collects what it says, and
// tells whether this build of the library can simulate at all, so that
// end-to-end tests skip themselves until the engine is complete.
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "qz3.h"

namespace qz3::cli::testing {

struct CCliResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

inline std::string ReadWholeFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

inline std::string TempPath(const std::string& name) {
    return ::testing::TempDir() + "qz3_cli_" + std::to_string(getpid()) + "_" + name;
}

inline CCliResult RunCli(const std::vector<std::string>& args) {
    std::string outPath = TempPath("stdout.txt"), errPath = TempPath("stderr.txt");
    pid_t child = fork();
    if (child == 0) {
        int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(out, 1);
        dup2(err, 2);
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(QZ3_CLI_PATH));
        for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
        argv.push_back(nullptr);
        execv(QZ3_CLI_PATH, argv.data());
        _exit(127);
    }
    CCliResult result;
    int status = 0;
    if (child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    result.out = ReadWholeFile(outPath);
    result.err = ReadWholeFile(errPath);
    std::remove(outPath.c_str());
    std::remove(errPath.c_str());
    return result;
}

inline std::string DataFile(const std::string& name) { return std::string(QZ3_TEST_DATA_DIR) + "/tools/" + name; }

// Empty when the library opens and starts `path`; otherwise the reason.
inline std::string SimulationUnavailable(const std::string& path) {
    int ncir = QZ3_Open(path.c_str());
    if (ncir < 0) return QZ3_GetError();
    std::string reason;
    if (QZ3_Start(ncir) < 0) reason = QZ3_GetError();
    QZ3_Close(ncir);
    return reason;
}

}  // namespace qz3::cli::testing

// Skips an end-to-end test while the library cannot run the file yet; any
// other failure to start is a real failure.
#define QZ3_SKIP_UNLESS_SIMULATES(path)                                                          \
    do {                                                                                         \
        std::string reason_ = ::qz3::cli::testing::SimulationUnavailable(path);                  \
        if (reason_.find("not available in this build") != std::string::npos) {         \
            GTEST_SKIP() << reason_;                                                             \
        }                                                                                        \
        ASSERT_EQ(reason_, "") << "the library cannot run " << (path);                           \
    } while (0)
