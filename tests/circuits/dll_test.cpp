// Library blocks in whole circuits, through the C interface: a gain block
// computed at every point, variables kept from call to call, initial values
// that Init sees, a clocked block that runs on its edges only, the same
// library carried inside the schematic, and every fault ending the run with
// its message, the library unloaded and no temporary file left behind.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/resource.h>

#include <csignal>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "circuit_run.h"
#include "qz3.h"

namespace {

namespace fs = std::filesystem;
using qz3test::Circuit;
using qz3test::Series;
using qz3test::TestCircuit;

const double kGain = 2.5;  // the IC of the gain block in dll_gain.qz3

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

void WriteFile(const fs::path& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary);
    out << bytes;
}

std::string HexOf(const std::string& bytes) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string hex;
    for (unsigned char byte : bytes) {
        hex += kDigits[byte >> 4];
        hex += kDigits[byte & 15];
    }
    return hex;
}

// The gain schematic with its library inside it and no file name.
std::string WithAttachment(const std::string& hex) {
    std::string text = ReadFile(TestCircuit("dll_gain.qz3"));
    const std::string named = " dll=\"test_block.so\"";
    text.replace(text.find(named), named.size(), " dll=\"\"");
    const std::string end = "</Custom>\n";
    text.insert(text.find(end) + end.size(), "          <Attachment>" + hex + "</Attachment>\n");
    return text;
}

std::string AttachmentOf(const std::string& text) {
    const size_t open = text.find("<Attachment>");
    const size_t close = text.find("</Attachment>");
    if (open == std::string::npos || close == std::string::npos) return {};
    return text.substr(open + 12, close - open - 12);
}

// A fresh folder for one test's files, removed with everything in it.
class Sandbox {
public:
    Sandbox() {
        std::string pattern = (fs::temp_directory_path() / "qz3_dll_XXXXXX").string();
        dir = mkdtemp(pattern.data());
    }
    ~Sandbox() {
        std::error_code ignored;
        fs::remove_all(dir, ignored);
    }
    fs::path Copy(const fs::path& from, const std::string& name) const {
        fs::copy_file(from, dir / name, fs::copy_options::overwrite_existing);
        return dir / name;
    }
    // A test schematic with the test library beside it; its path.
    fs::path WithBlock(const char* schematic) const {
        Copy(QZ3_TEST_BLOCK, "test_block.so");
        return Copy(TestCircuit(schematic), schematic);
    }
    fs::path Write(const std::string& name, const std::string& bytes) const {
        WriteFile(dir / name, bytes);
        return dir / name;
    }
    // The unpacked libraries in the folder: "temp<n>.so".
    std::vector<std::string> TempLibraries() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(dir)) {
            const std::string name = entry.path().filename().string();
            if (name.rfind("temp", 0) == 0 && entry.path().extension() == ".so") names.push_back(name);
        }
        return names;
    }
    // Any file of the folder still mapped into this process: a library the
    // engine forgot to unload.
    bool Mapped() const { return ReadFile("/proc/self/maps").find(dir.string()) != std::string::npos; }

    fs::path dir;
};

// Counts the Exit calls of the test library: each adds a line to this file.
class ExitCounter {
public:
    explicit ExitCounter(const Sandbox& box) : m_Path(box.dir / "exits.txt") {
        setenv("QZ3_TEST_BLOCK_EXITS", m_Path.c_str(), 1);
    }
    ~ExitCounter() { unsetenv("QZ3_TEST_BLOCK_EXITS"); }
    int Count() const {
        const std::string text = ReadFile(m_Path);
        return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
    }

private:
    fs::path m_Path;
};

// The environment's temporary folder, put back when the test ends.
class TempFolderSetting {
public:
    TempFolderSetting() {
        const char* old = getenv("TMPDIR");
        m_Had = old != nullptr;
        if (old) m_Old = old;
    }
    ~TempFolderSetting() {
        if (m_Had) setenv("TMPDIR", m_Old.c_str(), 1);
        else unsetenv("TMPDIR");
    }
    void Set(const fs::path& dir) const { setenv("TMPDIR", dir.c_str(), 1); }

private:
    bool m_Had = false;
    std::string m_Old;
};

// A copy of the test library built for another machine: the same bytes
// with the processor (or the word size) of the ELF header changed.
std::string ForeignLibrary(size_t offset, unsigned char value) {
    std::string bytes = ReadFile(QZ3_TEST_BLOCK);
    bytes[offset] = static_cast<char>(value);
    return bytes;
}

// The block sees the solution of the previous time point: y = k x, one
// point behind, at every point of the run. A run prepared again in its
// course (after an AC analysis, a changed parameter) records its time
// twice; the second point is its new operating point, where the block
// holds its output.
void ExpectGainAtEveryPoint(const Circuit& c) {
    const Series x = c.Read("X");
    const Series y = c.Read("Y");
    ASSERT_EQ(x.size(), y.size());
    ASSERT_GT(x.size(), 100u);
    for (size_t i = 1; i < x.size(); ++i) {
        const double expected = x.t[i] == x.t[i - 1] ? y.y[i - 1] : kGain * x.y[i - 1];
        EXPECT_NEAR(y.y[i], expected, 1e-9) << "t=" << x.t[i];
    }
}

double LastOf(const Circuit& c, int trace) {
    double t = NAN, value = NAN;
    EXPECT_EQ(QZ3_GetLastData(c.ncir, trace, &t, &value), 0) << QZ3_GetError();
    return value;
}

TEST(DllBlock, GainBlockComputesEveryPointKeepsItsVariablesAndClosesWithTheCircuit) {
    Sandbox box;
    const fs::path schematic = box.WithBlock("dll_gain.qz3");
    ExitCounter exits(box);
    {
        Circuit c(schematic.string());
        const int calls = QZ3_AddFuncTrace(c.ncir, "G.n");
        const int seenByInit = QZ3_AddFuncTrace(c.ncir, "G.k0");
        ASSERT_GE(seenByInit, 0) << QZ3_GetError();
        QZ3_START_OR_SKIP(c);
        ASSERT_TRUE(c.RunTo(2e-3));
        ExpectGainAtEveryPoint(c);
        // Init copied k after the initial values had set it.
        EXPECT_EQ(LastOf(c, seenByInit), kGain);
        // The call count lives in a variable: it grows by one per call and
        // never starts over, so it is at least the number of points.
        const Series n = c.Read("X");
        EXPECT_GE(LastOf(c, calls), static_cast<double>(n.size() - 1));
        EXPECT_EQ(exits.Count(), 0);
        EXPECT_TRUE(box.Mapped());
    }
    EXPECT_EQ(exits.Count(), 1) << "Exit once, when the circuit closed";
    EXPECT_FALSE(box.Mapped()) << "the library is unloaded with the circuit";
}

// The values of a trace by its handle.
std::vector<double> ValuesOf(const Circuit& c, int trace) {
    std::vector<double> values;
    const int count = QZ3_GetDataSize(c.ncir, trace);
    for (int i = 0; i < count; ++i) {
        double t = NAN, y = NAN;
        if (QZ3_GetDataAt(c.ncir, trace, i, &t, &y) == 0) values.push_back(y);
    }
    return values;
}

TEST(DllBlock, RunThatGoesOnAfterAnAcAnalysisOrAChangedParameterKeepsTheBlock) {
    Sandbox box;
    ExitCounter exits(box);
    Circuit c(box.WithBlock("dll_gain.qz3").string());
    const int calls = QZ3_AddFuncTrace(c.ncir, "G.n");
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(1e-3));
    ASSERT_EQ(QZ3_CalcAC(c.ncir), 0) << QZ3_GetError();
    EXPECT_TRUE(box.Mapped());
    ASSERT_TRUE(c.RunTo(1.5e-3));
    ASSERT_EQ(QZ3_SetValue(c.ncir, "RY.R", 2e3), 0) << QZ3_GetError();
    ASSERT_TRUE(c.RunTo(2e-3));
    ExpectGainAtEveryPoint(c);
    // At 1.75 ms the sine of 1 kHz stands at its low peak of -2 V.
    EXPECT_NEAR(c.At("Y", 1.75e-3), -2 * kGain, 0.01);
    // Neither the AC analysis nor the new resistance started the block anew:
    // its call count never falls, and Exit has not been called.
    const std::vector<double> n = ValuesOf(c, calls);
    ASSERT_GT(n.size(), 100u);
    for (size_t i = 1; i < n.size(); ++i) EXPECT_GE(n[i], n[i - 1]) << i;
    EXPECT_EQ(exits.Count(), 0);
    // A new entry name takes effect in the run that goes on.
    ASSERT_EQ(QZ3_SetText(c.ncir, "G.Main", "Overrun"), 0) << QZ3_GetError();
    EXPECT_EQ(QZ3_Simulate(c.ncir, 1e-4), -1);
    EXPECT_EQ(std::string(QZ3_GetError()), "QZ3_Simulate: G : DLL writes above data array bounds\n");
    EXPECT_EQ(exits.Count(), 1);
    EXPECT_FALSE(box.Mapped());
}

TEST(DllBlock, LibraryIsFoundInTheSchematicsLibraryFolders) {
    Sandbox box;
    fs::create_directories(box.dir / "circuits");
    fs::create_directories(box.dir / "blocks");
    box.Copy(QZ3_TEST_BLOCK, "blocks/test_block.so");
    std::string text = ReadFile(TestCircuit("dll_gain.qz3"));
    text.insert(text.find("<Doc>") + 5, "<Libraries><Library name=\"../blocks\" /></Libraries>");
    // Without the extension, which the search adds.
    const std::string named = " dll=\"test_block.so\"";
    text.replace(text.find(named), named.size(), " dll=\"test_block\"");
    Circuit c(box.Write("circuits/gain.qz3", text).string());
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(1e-3));
    ExpectGainAtEveryPoint(c);
}

TEST(DllBlock, ClockedBlockRunsOnlyOnItsEdge) {
    Sandbox box;
    Circuit c(box.WithBlock("dll_clocked.qz3").string());
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(3e-3));
    // The clock rises at 0.25, 1.25, 2.25 ms and falls at 0.75, 1.75,
    // 2.75 ms. "Count" (found as "_Count") adds one per call.
    const double times[] = {0.2e-3, 0.3e-3, 0.7e-3, 0.8e-3, 1.2e-3, 1.3e-3, 1.7e-3, 1.8e-3, 2.9e-3};
    const double rising[] = {0, 1, 1, 1, 1, 2, 2, 2, 3};
    const double falling[] = {0, 0, 0, 1, 1, 1, 1, 2, 3};
    for (size_t i = 0; i < std::size(times); ++i) {
        EXPECT_NEAR(c.At("Rising", times[i]), rising[i], 1e-12) << times[i];
        EXPECT_NEAR(c.At("Falling", times[i]), falling[i], 1e-12) << "view 1 at " << times[i];
    }
}

TEST(DllBlock, AttachedLibraryRunsAloneAndSurvivesSaving) {
    Sandbox box;
    const std::string hex = HexOf(ReadFile(QZ3_TEST_BLOCK));
    const fs::path schematic = box.Write("attached.qz3", WithAttachment(hex));
    // Files of an earlier process with the names the engine counts through:
    // they are passed over, never overwritten.
    for (int k = 1; k <= 20; ++k) box.Write("temp" + std::to_string(k) + ".so", "leftover");
    const fs::path copy = box.dir / "copy.qz3";
    {
        Circuit c(schematic.string());
        QZ3_START_OR_SKIP(c);
        EXPECT_EQ(box.TempLibraries().size(), 21u) << "one unpacked beside the schematic";
        ASSERT_TRUE(c.RunTo(2e-3));
        ExpectGainAtEveryPoint(c);
        ASSERT_EQ(QZ3_Save(c.ncir), 0) << QZ3_GetError();
        ASSERT_EQ(QZ3_SaveAs(c.ncir, copy.c_str()), 0) << QZ3_GetError();
    }
    EXPECT_EQ(box.TempLibraries().size(), 20u) << "the unpacked library is deleted when the circuit closes";
    for (int k = 1; k <= 20; ++k) EXPECT_EQ(ReadFile(box.dir / ("temp" + std::to_string(k) + ".so")), "leftover");
    EXPECT_FALSE(box.Mapped());
    EXPECT_EQ(AttachmentOf(ReadFile(schematic)), hex);
    EXPECT_EQ(AttachmentOf(ReadFile(copy)), hex);

    // The saved copy runs as well.
    Circuit again(copy.string());
    QZ3_START_OR_SKIP(again);
    ASSERT_TRUE(again.RunTo(1e-3));
    ExpectGainAtEveryPoint(again);
}

TEST(DllBlock, UnwritableSchematicFolderUnpacksToTheTemporaryFolder) {
    Sandbox box, temp;
    TempFolderSetting setting;
    const fs::path schematic = box.Write("attached.qz3", WithAttachment(HexOf(ReadFile(QZ3_TEST_BLOCK))));
    Circuit c(schematic.string());
    // The schematic's folder disappears under the open circuit.
    fs::remove_all(box.dir);
    setting.Set(box.dir / "nowhere");
    EXPECT_EQ(QZ3_Start(c.ncir), -1);
    EXPECT_EQ(std::string(QZ3_GetError()), "QZ3_Start: G : Can't create temporary DLL file\n");
    setting.Set(temp.dir);
    QZ3_START_OR_SKIP(c);
    EXPECT_EQ(temp.TempLibraries().size(), 1u);
    ASSERT_TRUE(c.RunTo(1e-3));
    ExpectGainAtEveryPoint(c);
    ASSERT_EQ(QZ3_Close(c.ncir), 0);
    c.ncir = -1;
    EXPECT_TRUE(temp.TempLibraries().empty());
    EXPECT_FALSE(temp.Mapped());
}

// Files written by this process may grow to `bytes` at most while it lives;
// a write beyond fails instead of stopping the process.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &m_Old);
        m_OldHandler = signal(SIGXFSZ, SIG_IGN);
        rlimit limit = m_Old;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &m_Old);
        signal(SIGXFSZ, m_OldHandler);
    }

private:
    rlimit m_Old{};
    void (*m_OldHandler)(int) = nullptr;
};

TEST(DllBlock, FailedUnpackingLeavesNoFile) {
    Sandbox box;
    Circuit c(box.Write("attached.qz3", WithAttachment(HexOf(ReadFile(QZ3_TEST_BLOCK)))).string());
    {
        const FileSizeLimit limit(1000);
        EXPECT_EQ(QZ3_Start(c.ncir), -1);
    }
    EXPECT_EQ(std::string(QZ3_GetError()), "QZ3_Start: G : Error writing to temporary DLL file\n");
    EXPECT_TRUE(box.TempLibraries().empty());
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(1e-3));
    ExpectGainAtEveryPoint(c);
}

// One fault of the gain circuit: a parameter set wrong, the message of the
// run, and the parameter's good value that mends it.
struct Fault {
    const char* param;
    const char* value;
    const char* message;  // the block's line
    const char* mended;
    bool calledExit;      // the library had been loaded with its Exit
};

TEST(DllBlock, FaultsEndTheRunCleanlyAndTheMendedCircuitRunsAgain) {
    Sandbox box;
    const fs::path schematic = box.WithBlock("dll_gain.qz3");
    box.Copy(TestCircuit("dll_not_a_library.so"), "text.so");
    box.Write("other_machine.so", ForeignLibrary(18, 0x28));
    box.Write("word_size.so", ForeignLibrary(4, 1));
    const Fault faults[] = {
        {"G.DLL", "", "G : No dll file name\n", "test_block.so", false},
        {"G.DLL", "no_such_block", "G : Can't find no_such_block\n", "test_block.so", false},
        {"G.DLL", "text.so", "G : text.so : invalid ELF header\n", "test_block.so", false},
        {"G.DLL", "other_machine.so", "G : other_machine.so : Wrong DLL (32 bit?)\n", "test_block.so", false},
        {"G.DLL", "word_size", "G : word_size : Wrong DLL (32 bit?)\n", "test_block", false},
        {"G.Main", "Absent", "G : Absent : undefined symbol: Absent\n", "Main", false},
        {"G.IC", "zz=3", "G : Variable 'zz' not found\n", "k=2.5", true},
        {"G.Init", "FailInit", "G : Error initializing DLL. Code=3\n", "Init", true},
        {"G.Main", "FailMain", "G : error executing DLL. Code=7\n", "Main", true},
        {"G.Main", "Overrun", "G : DLL writes above data array bounds\n", "Main", true},
    };
    ExitCounter exits(box);
    for (const Fault& fault : faults) {
        SCOPED_TRACE(fault.message);
        Circuit c(schematic.string());
        ASSERT_EQ(QZ3_SetText(c.ncir, fault.param, fault.value), 0) << QZ3_GetError();
        const int before = exits.Count();
        int rc = QZ3_Start(c.ncir);
        if (rc == 0) rc = QZ3_Simulate(c.ncir, 1e-4);
        const std::string error = QZ3_GetError();
        QZ3_SKIP_IF_MISSING(error);
        EXPECT_EQ(rc, -1);
        EXPECT_NE(error.find(fault.message), std::string::npos) << error;
        EXPECT_EQ(error.find(" : ", error.find(fault.message) + std::string(fault.message).size()), std::string::npos)
            << "one line only: " << error;
        EXPECT_FALSE(box.Mapped()) << "unloaded at the fault";
        EXPECT_EQ(exits.Count() - before, fault.calledExit ? 1 : 0);

        ASSERT_EQ(QZ3_SetText(c.ncir, fault.param, fault.mended), 0) << QZ3_GetError();
        ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
        ASSERT_TRUE(c.RunTo(1e-3));
        ExpectGainAtEveryPoint(c);
    }
}

TEST(DllBlock, DamagedAttachmentIsRefusedAndLeavesNoFile) {
    Sandbox box;
    const std::string hex = HexOf(ReadFile(QZ3_TEST_BLOCK));
    const std::string damaged[] = {hex.substr(0, hex.size() - 1), "zz" + hex, hex.substr(0, 64) + "G1" + hex.substr(64)};
    for (const std::string& attachment : damaged) {
        Circuit c(box.Write("damaged.qz3", WithAttachment(attachment)).string());
        for (int start = 0; start < 2; ++start) {
            EXPECT_EQ(QZ3_Start(c.ncir), -1);
            EXPECT_EQ(std::string(QZ3_GetError()), "QZ3_Start: G : Invalid format of DLL attachment\n");
            EXPECT_TRUE(box.TempLibraries().empty());
        }
    }
    // Digits that make a file, but not a library: unpacked, refused by the
    // loader under the name "Attachment", and deleted again.
    Circuit c(box.Write("text.qz3", WithAttachment(HexOf(ReadFile(TestCircuit("dll_not_a_library.so"))))).string());
    EXPECT_EQ(QZ3_Start(c.ncir), -1);
    EXPECT_EQ(std::string(QZ3_GetError()), "QZ3_Start: G : Attachment : invalid ELF header\n");
    EXPECT_TRUE(box.TempLibraries().empty());
    EXPECT_FALSE(box.Mapped());
}

TEST(DllBlock, ExamplePiBlockRegulatesTheBuckConverter) {
    Circuit c(std::string(QZ3_EXAMPLES_BUILD_DIR) + "/buck_dll_pi.qz3");
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(30e-3));
    EXPECT_NEAR(qz3test::MeanOver(c.Read("Vout"), 25e-3, 30e-3), 5.0, 0.05) << "mean of the last 5 ms";
    EXPECT_NEAR(c.Last("Duty"), 5.0 / 12.0, 0.05);
}

}  // namespace
