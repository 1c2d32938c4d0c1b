// Replays inputs through a fuzz target without the fuzzer: each argument is
// a file or a folder of files. Every input that once failed is kept in
// tests/fuzz/corpus/<target>/ and replayed by ctest in every build.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

int Replay(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // An empty input still gets a valid pointer, as the fuzzer gives it.
    static const uint8_t kNothing = 0;
    LLVMFuzzerTestOneInput(bytes.empty() ? &kNothing : reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path path(argv[i]);
        if (std::filesystem::is_directory(path)) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(path))
                if (entry.is_regular_file()) count += Replay(entry.path());
        } else if (std::filesystem::exists(path)) {
            count += Replay(path);
        }
    }
    std::printf("%d inputs replayed\n", count);
    return 0;
}
