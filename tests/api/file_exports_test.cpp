// Opening, saving and closing through the public C interface only.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "qz3.h"
#include "test_files.h"

namespace {

using qz3::test::ReadBytes;
using qz3::test::kCircuits;

namespace fs = std::filesystem;

std::string TempDir() { return qz3::test::TempDir("qz3_api_"); }

void WriteBytes(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary);
    out << bytes;
}

std::string Error() { return QZ3_GetError(); }

size_t CountOf(const std::string& text, const std::string& piece) {
    size_t n = 0;
    for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) ++n;
    return n;
}

// The file text with the Cmps element cut out.
std::string WithoutCmps(const std::string& text) {
    size_t begin = text.find("<Cmps");
    size_t end = text.find("</Cmps>");
    size_t close = end == std::string::npos ? text.find("<Cmps />") + 8 : end + 7;
    return text.substr(0, begin) + text.substr(close);
}

// Runs first in this program: no circuit has been opened yet, and a failed
// open doesn't count as one.
// Before the first successful open there is no list of circuits at all; in a
// fresh process of its own, whatever other tests of this program did.
TEST(FileExports, BeforeAnySuccessfulOpen) {
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto fresh = [] {
        bool ok = QZ3_Save(0) == -1 && Error() == "QZ3_Save: no circuit";
        ok = ok && QZ3_Open((TempDir() + "absent.qz3").c_str()) == -1;
        ok = ok && QZ3_Close(0) == -1 && Error() == "QZ3_Close: no circuit";
        ok = ok && QZ3_SaveAs(0, nullptr) == -1 && Error() == "QZ3_SaveAs: no circuit";
        std::exit(ok ? 0 : 1);
    };
    EXPECT_EXIT(fresh(), ::testing::ExitedWithCode(0), "");
}

TEST(FileExports, OpenReportsBadNames) {
    EXPECT_EQ(QZ3_Open(nullptr), -1);
    EXPECT_EQ(Error(), "QZ3_Open: NULL pointer");
    EXPECT_EQ(QZ3_Open(""), -1);
    EXPECT_EQ(Error(), "QZ3_Open: no file name");

    std::string absent = TempDir() + "absent";
    EXPECT_EQ(QZ3_Open(absent.c_str()), -1);
    EXPECT_EQ(Error(), "QZ3_Open: cannot open file " + absent + ".qz3\n" + absent + ".qz3 : No such file or directory");

    std::string wrong = kCircuits + "doc_wrong_root.qz3";
    EXPECT_EQ(QZ3_Open(wrong.c_str()), -1);
    EXPECT_EQ(Error(), "QZ3_Open: cannot open file " + wrong + "\n" + wrong + " : wrong file format");

    std::string folder = TempDir() + "folder.qz3";
    fs::create_directories(folder);
    EXPECT_EQ(QZ3_Open(folder.c_str()), -1);
    EXPECT_EQ(Error(), "QZ3_Open: cannot open file " + folder + "\n" + folder + " : Is a directory");
}

TEST(FileExports, HandlesComeFromOneRisingCounter) {
    std::string path = kCircuits + "doc_minimal";  // no extension: the .qz3 file opens
    int a = QZ3_Open(path.c_str());
    ASSERT_GE(a, 0) << Error();
    EXPECT_EQ(Error(), "OK");
    int b = QZ3_Open(path.c_str());
    ASSERT_GT(b, a);
    EXPECT_EQ(QZ3_Close(a), 0);
    EXPECT_EQ(Error(), "OK");
    EXPECT_EQ(QZ3_Close(a), -1);
    EXPECT_EQ(Error(), "QZ3_Close: wrong circuit handle");
    int c = QZ3_Open(path.c_str());
    EXPECT_GT(c, b);  // a closed handle is never given again
    EXPECT_EQ(QZ3_Close(b), 0);
    EXPECT_EQ(QZ3_Close(c), 0);

    // With every circuit closed the list stays: the old handle is "wrong".
    EXPECT_EQ(QZ3_Save(c), -1);
    EXPECT_EQ(Error(), "QZ3_Save: wrong circuit handle");
    EXPECT_EQ(QZ3_SaveAs(c, "x.qz3"), -1);
    EXPECT_EQ(Error(), "QZ3_SaveAs: wrong circuit handle");

    // The info line replaces an unread error.
    EXPECT_STREQ(QZ3_GetInfo(), "Version 3.4.30.11, Date 06/03/2022");
    EXPECT_EQ(Error(), "Version 3.4.30.11, Date 06/03/2022");
}

TEST(FileExports, SaveAsChecksTheHandleBeforeTheName) {
    int h = QZ3_Open((kCircuits + "doc_minimal.qz3").c_str());
    ASSERT_GE(h, 0);
    EXPECT_EQ(QZ3_SaveAs(h + 1000, nullptr), -1);
    EXPECT_EQ(Error(), "QZ3_SaveAs: wrong circuit handle");
    EXPECT_EQ(QZ3_SaveAs(h, nullptr), -1);
    EXPECT_EQ(Error(), "QZ3_SaveAs: NULL pointer");
    EXPECT_EQ(QZ3_SaveAs(h, ""), -1);
    EXPECT_EQ(Error(), "QZ3_SaveAs: no file name");
    std::string dir = TempDir();
    EXPECT_EQ(QZ3_SaveAs(h, dir.c_str()), -1);
    EXPECT_EQ(Error(), "QZ3_SaveAs: cannot save file " + dir);
    std::string target = dir + "minimal_copy.qz3";
    EXPECT_EQ(QZ3_SaveAs(h, target.c_str()), 0);
    EXPECT_EQ(Error(), "OK");
    EXPECT_TRUE(fs::exists(target));
    EXPECT_EQ(QZ3_Close(h), 0);
}

TEST(FileExports, OpenThenSaveKeepsWhatTheEngineDoesNotRead) {
    std::string folder = TempDir() + "keep/";
    fs::create_directories(folder);
    std::string copy = folder + "roundtrip.qz3";
    fs::copy_file(kCircuits + "doc_roundtrip.qz3", copy, fs::copy_options::overwrite_existing);
    std::string before = ReadBytes(copy);

    int h = QZ3_Open(copy.c_str());
    ASSERT_GE(h, 0) << Error();
    EXPECT_EQ(QZ3_Save(h), 0);
    EXPECT_EQ(Error(), "OK");
    std::string after = ReadBytes(copy);
    // Sheets, drawings, view settings and unknown keys come back byte for byte.
    EXPECT_EQ(WithoutCmps(after), WithoutCmps(before));
    EXPECT_NE(after.find("<Pct type=\"text\" x=\"50\" y=\"80\">a note with &amp; and spaces</Pct>"), std::string::npos);
    EXPECT_NE(after.find("unknown_key=\"kept\""), std::string::npos);

    // A file that can't be written any more is reported with its name.
    fs::remove_all(folder);
    EXPECT_EQ(QZ3_Save(h), -1);
    EXPECT_EQ(Error(), "QZ3_Save: cannot save file " + copy);
    EXPECT_EQ(QZ3_Close(h), 0);
}

TEST(FileExports, ExampleOpens) {
    int h = QZ3_Open((std::string(QZ3_SOURCE_DIR) + "/examples/rc_lowpass.qz3").c_str());
    ASSERT_GE(h, 0) << Error();
    EXPECT_EQ(QZ3_Close(h), 0);
}

TEST(FileExports, BadFilesFailOrLoadWhatTheyCan) {
    std::string dir = TempDir();
    std::string whole = ReadBytes(kCircuits + "doc_roundtrip.qz3");

    // Cut anywhere behind the Doc tag, a file still loads as far as it goes.
    for (size_t cut : {whole.find("<Doc>") + 5, whole.find("<Cmps>") + 20, whole.size() / 2, whole.size() - 9}) {
        std::string path = dir + "truncated.qz3";
        WriteBytes(path, whole.substr(0, cut));
        int h = QZ3_Open(path.c_str());
        EXPECT_GE(h, 0) << cut << ": " << Error();
        if (h >= 0) QZ3_Close(h);
    }
    WriteBytes(dir + "before_doc.qz3", whole.substr(0, whole.find("<Doc>")));
    EXPECT_EQ(QZ3_Open((dir + "before_doc.qz3").c_str()), -1);
    EXPECT_EQ(Error(), "QZ3_Open: ");

    std::string garbage;
    for (int i = 0; i < 65536; ++i) garbage += char((i * 2654435761u >> 13) & 0xFF);
    WriteBytes(dir + "garbage.qz3", garbage);
    EXPECT_EQ(QZ3_Open((dir + "garbage.qz3").c_str()), -1);
    EXPECT_EQ(Error().rfind("QZ3_Open: cannot open file ", 0), 0u);
    WriteBytes(dir + "garbage_root.qz3", "<QZ3>" + garbage + "<Doc>" + garbage);
    int g = QZ3_Open((dir + "garbage_root.qz3").c_str());
    if (g >= 0) QZ3_Close(g);

    WriteBytes(dir + "unclosed.qz3", "<QZ3>\n  <Version ver=\"3\" />\n  <Doc>\n    <Advanced to=\"5");
    int u = QZ3_Open((dir + "unclosed.qz3").c_str());
    EXPECT_GE(u, 0) << Error();
    EXPECT_EQ(QZ3_Close(u), 0);

    auto start = std::chrono::steady_clock::now();
    WriteBytes(dir + "huge.qz3", "<QZ3>\n  <Version ver=\"3\" />\n  <Doc>\n    <Advanced zparam=\"" + std::string(10 << 20, 'z') +
                                     "\" />\n  </Doc>\n</QZ3>\n");
    int big = QZ3_Open((dir + "huge.qz3").c_str());
    EXPECT_GE(big, 0) << Error();
    EXPECT_EQ(QZ3_Close(big), 0);

    std::string deep = "<QZ3>\n<Version ver=\"3\" />\n<Doc>\n";
    for (int i = 0; i < 100000; ++i) deep += "<Cir>";
    WriteBytes(dir + "deep.qz3", deep);
    int d = QZ3_Open((dir + "deep.qz3").c_str());
    EXPECT_GE(d, 0) << Error();
    EXPECT_EQ(QZ3_Close(d), 0);
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 10.0);
}

// With "save" bit 1 set, a save after a run describes each trace's run in a
// DataList and writes its points behind the text: time and value as doubles,
// trace after trace, after one zero byte.
TEST(FileExports, SaveAfterARunStoresThePoints) {
    std::string text = ReadBytes(kCircuits + "trace_rc_discharge.qz3");
    size_t doc = text.find("<Doc>");
    ASSERT_NE(doc, std::string::npos);
    text.insert(doc + 5, "\n    <Properties save=\"2\" />");
    std::string path = TempDir() + "stored_run.qz3";
    WriteBytes(path, text);

    int h = QZ3_Open(path.c_str());
    ASSERT_GE(h, 0) << Error();
    if (QZ3_Start(h) != 0) {
        std::string error = Error();
        QZ3_Close(h);
        if (error.find("not available in this build") != std::string::npos) GTEST_SKIP() << error;
        FAIL() << error;
    }
    ASSERT_EQ(QZ3_Simulate(h, 1e-3), 0) << Error();
    std::string expectedBlock(1, '\0');
    std::vector<int> sizes;
    for (const char* name : {"V(C1)", "pw", "I(R1)", "const"}) {
        int trace = QZ3_GetTrace(h, name);
        ASSERT_GE(trace, 0) << name << ": " << Error();
        int size = QZ3_GetDataSize(h, trace);
        ASSERT_GT(size, 0) << name;
        sizes.push_back(size);
        for (int i = 0; i < size; ++i) {
            double point[2];
            ASSERT_EQ(QZ3_GetDataAt(h, trace, i, &point[0], &point[1]), 0) << Error();
            expectedBlock.append(reinterpret_cast<const char*>(point), sizeof point);
        }
    }
    ASSERT_EQ(QZ3_Save(h), 0) << Error();
    ASSERT_EQ(QZ3_Save(h), 0) << Error();  // a second save rebuilds the records, it doesn't add any
    EXPECT_EQ(QZ3_Close(h), 0);

    std::string saved = ReadBytes(path);
    size_t zero = saved.find('\0');
    ASSERT_NE(zero, std::string::npos);
    EXPECT_GT(zero, saved.find("</QZ3>"));
    std::string head = saved.substr(0, zero);
    EXPECT_EQ(saved.substr(zero), expectedBlock);
    EXPECT_EQ(CountOf(head, "<Storage name=\"Run\" id=\"0\" out=\"true\" />"), 1u);
    EXPECT_EQ(CountOf(head, "<DataList>"), 4u);
    for (int size : sizes)
        EXPECT_NE(head.find("<Data id=\"0\" size=\"" + std::to_string(size) + "\" type=\"0\" />"),
                  std::string::npos)
            << size;
}

}  // namespace
