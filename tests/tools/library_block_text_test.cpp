#include "library_block_text.h"

#include <gtest/gtest.h>

#include <sstream>

#include "info_command.h"

namespace qz3::cli {
namespace {

std::string CircuitFile(const char* name) { return std::string(QZ3_TEST_DATA_DIR) + "/circuits/" + name; }

std::string Listing(const std::string& path) {
    CSchematicText file;
    std::string error;
    EXPECT_TRUE(ReadSchematicText(path, file, error)) << error;
    std::ostringstream out;
    PrintSchematicText(out, file);
    return out.str();
}

TEST(LibraryBlockText, InfoShowsEntryPointsAndTheNamesOfTheDataArray) {
    const std::string gain = Listing(CircuitFile("dll_gain.qz3"));
    for (const char* line : {"  X_DLL  G  model DLL\n", "      library: test_block.so\n",
                             "      entry points: Init Init, Main Main, Pause Pause, Exit Exit\n",
                             "      inputs: x\n", "      outputs: y\n", "      variables: k, n, k0\n"})
        EXPECT_NE(gain.find(line), std::string::npos) << line << gain;
    EXPECT_EQ(gain.find("clock:"), std::string::npos);

    const std::string clocked = Listing(CircuitFile("dll_clocked.qz3"));
    for (const char* line : {"      entry points: Init (not called), Main Count, Pause (not called), Exit (not called)\n",
                             "      clock: last pin, rising edge\n", "      clock: last pin, falling edge\n"})
        EXPECT_NE(clocked.find(line), std::string::npos) << line << clocked;
}

TEST(LibraryBlockText, ShortListsAreNumberedAndABlockWithoutBoxHasTheDefaultOne) {
    CSchematicText file;
    std::string error;
    ASSERT_TRUE(ParseSchematicText(
        "<QZ3><Doc><Cir><Cmps>"
        "<Cmp type=\"X_DLL\" name=\"A\" model=\"DLL\"><Attachment>00</Attachment>"
        "<Custom l=\"3\" r=\"1\" r1=\"1\"><Ins><In name=\"u\"/></Ins><Vars><Var name=\"\"/><Var name=\"s\"/></Vars>"
        "</Custom></Cmp>"
        "<Cmp type=\"X_DLL\" name=\"B\" model=\"DLL\" dll=\"\"/>"
        "</Cmps></Cir></Doc></QZ3>",
        "m", file, error))
        << error;
    std::ostringstream out;
    PrintSchematicText(out, file);
    const std::string text = out.str();
    for (const char* line : {"      library: attached\n", "      inputs: u, unnamed_in_2\n",
                             "      outputs: unnamed_out_1, unnamed_out_2\n", "      variables: unnamed_var_1, s\n",
                             "      library: (no file name)\n", "      inputs: x1, x2, x3\n",
                             "      outputs: y1, y2, y3\n", "      variables: none\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line << text;
}

}  // namespace
}  // namespace qz3::cli
