#include "info_command.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "cli_process.h"

namespace qz3::cli {
namespace {

using testing::DataFile;
using testing::RunCli;
using testing::TempPath;

std::string OpenMessage(const std::string& path) {
    int ncir = QZ3_Open(path.c_str());
    std::string message = QZ3_GetError();
    if (ncir >= 0) QZ3_Close(ncir);
    return ncir >= 0 ? "" : message;
}

TEST(InfoCommand, ListsWhatTheFileHolds) {
    CSchematicText file;
    std::string error;
    ASSERT_TRUE(ReadSchematicText(DataFile("rc_charge.qz3"), file, error)) << error;
    std::ostringstream out;
    PrintSchematicText(out, file);
    std::string text = out.str();
    for (const char* line : {"components (3)\n", "  V_V  Vin  model V\n",
                             "      id=\"1\" descr=\"Supply+of+1+V\" view=\"0\" node0=\"0\" node1=\"1\" v=\"1\"\n",
                             "  R_R  R1  model R\n", "transient traces (4)\n", "  V(in)  [V]  expr: Vin\n",
                             "  C1  [V]\n", "  I(R1)  [I]  expr: R1\n", "  Scope view  [Scope]  expr: C1\n",
                             "ac traces (1)\n", "transient settings\n", "  screen = 5e-3\n", "  step = 1e-6\n",
                             "ac settings\n", "  to = 100e+3\n", "advanced settings\n", "  zero = 1e-12\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line;
}

TEST(InfoCommand, EmptyDocumentListsNothingButCounts) {
    CSchematicText file;
    std::string error;
    ASSERT_TRUE(ParseSchematicText("<QZ3><Doc/></QZ3>", "m", file, error));
    std::ostringstream out;
    PrintSchematicText(out, file);
    EXPECT_EQ(out.str(), "components (0)\ntransient traces (0)\nac traces (0)\n");
}

TEST(InfoCommandCli, ReportsTheLibrarysVerdict) {
    std::string path = DataFile("rc_charge.qz3");
    testing::CCliResult result = RunCli({"info", path});
    EXPECT_EQ(result.out.rfind("file " + path + "\ncomponents (3)\n", 0), 0u) << result.out;
    std::string refused = OpenMessage(path);
    if (refused.empty()) {
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_NE(result.out.find("library: opens the file\n"), std::string::npos);
        EXPECT_EQ(result.err, "");
    } else {
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, refused + "\n");
    }
}

TEST(InfoCommandCli, FilesTheLibraryRejects) {
    std::string missing = TempPath("nothing_here.qz3");
    testing::CCliResult result = RunCli({"info", missing});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, OpenMessage(missing) + "\n");

    std::string wrong = TempPath("wrong_root.qz3");
    std::ofstream(wrong) << "<?xml version=\"1.0\"?>\n<Other/>\n";
    result = RunCli({"info", wrong});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, OpenMessage(wrong) + "\n");
    std::remove(wrong.c_str());
}

TEST(InfoCommandCli, BadOptionsExitWithStatusTwo) {
    testing::CCliResult result = RunCli({"info"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err, "qz3 info: no schematic file given\n(see 'qz3 info --help')\n");
    result = RunCli({"info", DataFile("rc_charge.qz3"), "--csv", "x"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err, "qz3 info: unknown option --csv\n(see 'qz3 info --help')\n");
    result = RunCli({"info", "--help"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out.rfind("usage: qz3 info FILE.qz3", 0), 0u);
}

}  // namespace
}  // namespace qz3::cli
