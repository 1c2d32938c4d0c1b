// Subcircuits that can't be built: every one ends the start of the run with
// its message, and none crashes, hangs or runs away with the stack.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "circuit_run.h"
#include "qz3.h"

namespace {

namespace fs = std::filesystem;

// A schematic around a list of components.
std::string Schematic(const std::string& cmps, const std::string& docAttrs = "") {
    return "<?xml version=\"1.0\"?>\n<QZ3>\n<Version ver=\"3\" />\n<Doc" + docAttrs + ">\n<Cir>\n<Cmps>\n" + cmps +
           "</Cmps>\n</Cir>\n<Tran><Settings step=\"1e-3\" /></Tran>\n</Doc>\n</QZ3>\n";
}

// A two-pin block on nodes 1 and 2 with the given SubCir keys and content.
std::string Block(const std::string& name, const std::string& subcir, const std::string& inside = "") {
    return "<Cmp type=\"X_B2\" id=\"9\" name=\"" + name + "\" node0=\"1\" node1=\"2\" model=\"SubCir\">\n<SubCir " +
           subcir + " />\n" + inside + "</Cmp>\n";
}

const char* kSource = "<Cmp type=\"V_V\" id=\"1\" name=\"V1\" node0=\"0\" node1=\"1\" model=\"V\" v=\"1\" />\n";
const char* kInnerDivider =
    "<Cmp type=\"label\" id=\"1\" name=\"in\" node0=\"1\" model=\"Label\" />\n"
    "<Cmp type=\"R_R\" id=\"2\" name=\"R1\" node0=\"1\" node1=\"2\" model=\"R\" r=\"1000\" />\n"
    "<Cmp type=\"R_R\" id=\"3\" name=\"R2\" node0=\"2\" node1=\"0\" model=\"R\" r=\"1000\" />\n"
    "<Cmp type=\"label\" id=\"4\" name=\"out\" node0=\"2\" model=\"Label\" />\n";

class SubcircuitErrors : public ::testing::Test {
protected:
    void SetUp() override {
        m_Dir = fs::temp_directory_path() / ("qz3_subcir_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
                                             "_" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(m_Dir);
        Write("inner.qz3", Schematic(kInnerDivider));
    }
    void TearDown() override { fs::remove_all(m_Dir); }

    void Write(const std::string& name, const std::string& text) const { std::ofstream(m_Dir / name) << text; }

    // The text the start of the top schematic leaves in the error buffer.
    std::string StartError(const std::string& cmps) const {
        Write("top.qz3", Schematic(cmps));
        const int ncir = QZ3_Open((m_Dir / "top.qz3").string().c_str());
        EXPECT_GE(ncir, 0) << QZ3_GetError();
        const int rc = QZ3_Start(ncir);
        std::string error = QZ3_GetError();
        EXPECT_EQ(rc, -1) << error;
        QZ3_Close(ncir);
        return error;
    }

    fs::path m_Dir;
};

}  // namespace

TEST_F(SubcircuitErrors, EachFaultHasItsMessage) {
    struct Case {
        std::string cmps;
        std::string message;
    };
    const Case cases[] = {
        {Block("X1", "file=\"nofile\" label1=\"in\""), "X1 : Can't open file nofile\n"},
        {Block("X1", "label1=\"in\""), "X1 : No file name\n"},
        {Block("X1", "file=\"inner\" label1=\"in\" label2=\"zz\""), "X1 : Label 'zz' not found\n"},
        {Block("X1", "file=\"inner\" label1=\"in\" cmd=\"R9.R=5\""), "X1 : R9 not found\n"},
        {Block("X1", "file=\"encrypted\""), "X1 : Encrypted subcircuit not allowed\n"},
        {Block("X1", "file=\"nocmps\""), "X1 : Wrong file format\n"},
        {Block("X1", "file=\"text.txt\""), "text.txt : wrong file format\n"},
        {Block("X1", "file=\"self\""), "X1.X1 : Subcircuit includes itself: self\n"},
        {Block("X1", "file=\"loop_a\""), "X1.XA.XB : Subcircuit includes itself: loop_a\n"},
        {Block("X1", "", "<Attachment>%&&garbage not xml</Attachment>\n"), "X1 : No file name\n"},
        {Block("X1", "", "<Attachment><QZ3>%&& garbage <<< <Doc><Cir></QZ3></Attachment>\n"), "X1 : "},
        {Block("X1", "", "<Attachment><Other><Doc/></Other></Attachment>\n"), "X1 : Wrong file format\n"},
    };
    Write("encrypted.qz3", Schematic(kInnerDivider, " Encr1=\"1\""));
    Write("nocmps.qz3", "<QZ3><Version ver=\"3\" /><Doc><Tran/></Doc></QZ3>\n");
    Write("text.txt", "a plain text\nof two lines\n");
    Write("self.qz3", Schematic(Block("X1", "file=\"self\"")));
    Write("loop_a.qz3", Schematic(Block("XA", "file=\"loop_b\"")));
    Write("loop_b.qz3", Schematic(Block("XB", "file=\"loop_a\"")));
    for (const Case& c : cases) {
        const std::string error = StartError(std::string(kSource) + c.cmps);
        EXPECT_NE(error.find(c.message), std::string::npos) << "expected " << c.message << "got " << error;
    }
}

// A chain of 10 000 files, each holding the next: the run refuses it at a
// fixed depth with a message instead of descending until the stack ends.
TEST_F(SubcircuitErrors, DeepChainStopsAtTheDepthBound) {
    constexpr int kLevels = 10000;
    for (int i = 0; i < kLevels; ++i)
        Write("n" + std::to_string(i) + ".qz3",
              Schematic(i + 1 < kLevels ? Block("X", "file=\"n" + std::to_string(i + 1) + "\" label1=\"in\"")
                                        : std::string(kInnerDivider)));
    const std::string error = StartError(std::string(kSource) + Block("X", "file=\"n0\" label1=\"in\""));
    EXPECT_NE(error.find("Subcircuits nested deeper than 64 levels"), std::string::npos) << error;
}

// A chain within the bound is one flat circuit: the innermost divider
// gives half of the source at the outer pin.
TEST_F(SubcircuitErrors, NestedChainWithinBoundRuns) {
    constexpr int kLevels = 20;
    for (int i = 0; i < kLevels; ++i)
        Write("n" + std::to_string(i) + ".qz3",
              Schematic(i + 1 < kLevels
                            ? "<Cmp type=\"label\" id=\"1\" name=\"in\" node0=\"1\" model=\"Label\" />\n"
                              "<Cmp type=\"label\" id=\"2\" name=\"out\" node0=\"2\" model=\"Label\" />\n" +
                                  Block("X", "file=\"n" + std::to_string(i + 1) + "\" label1=\"in\" label2=\"out\"")
                            : std::string(kInnerDivider)));
    Write("top.qz3", Schematic(std::string(kSource) + Block("X", "file=\"n0\" label1=\"in\" label2=\"out\"") +
                               "<Cmp type=\"label\" id=\"3\" name=\"OUT\" node0=\"2\" model=\"Label\" />\n"));
    const int ncir = QZ3_Open((m_Dir / "top.qz3").string().c_str());
    ASSERT_GE(ncir, 0) << QZ3_GetError();
    const int out = QZ3_AddVTrace(ncir, "OUT");
    std::string deepest = "X";
    for (int i = 1; i < kLevels; ++i) deepest += ".X";
    const int inner = QZ3_AddITrace(ncir, (deepest + ".R2").c_str());
    ASSERT_GE(inner, 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Start(ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(ncir, 2e-3), 0) << QZ3_GetError();
    double t = 0, v = 0, i = 0;
    ASSERT_EQ(QZ3_GetLastData(ncir, out, &t, &v), 0);
    ASSERT_EQ(QZ3_GetLastData(ncir, inner, &t, &i), 0);
    EXPECT_NEAR(v, 0.5, 1e-12);
    EXPECT_NEAR(std::abs(i), 0.5e-3, 1e-15);
    double r = 0;
    ASSERT_EQ(QZ3_GetValue(ncir, (deepest + ".R2.R").c_str(), &r), 0) << QZ3_GetError();
    EXPECT_EQ(r, 1000.0);
    QZ3_Close(ncir);
}
