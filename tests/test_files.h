// File helpers shared by the test programs.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace qz3::test {

// The schematics written for the tests.
inline const std::string kCircuits = std::string(QZ3_TEST_DATA_DIR) + "/circuits/";

// The whole file as bytes; empty when it can't be read.
inline std::string ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// A folder of this process's own under the system's temporary folder, with
// a "/" behind it.
inline std::string TempDir(const std::string& prefix) {
    std::filesystem::path dir = std::filesystem::temp_directory_path() / (prefix + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    return dir.string() + "/";
}

}  // namespace qz3::test
