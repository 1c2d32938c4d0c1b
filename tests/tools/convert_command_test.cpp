#include "convert_command.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "cli_process.h"

namespace qz3::cli {
namespace {

using testing::RunCli;
using testing::TempPath;

const std::string kCircuits = std::string(QZ3_TEST_DATA_DIR) + "/circuits/";

TEST(ConvertCommand, SavesThePresentVersionAndListsTheWarnings) {
    const std::string target = TempPath("converted.qz3");
    const auto result = RunCli({"convert", kCircuits + "old_v2_divider.qz3", target});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out,
              "converted from format version 2 (4 warnings)\n"
              "  V1 : model 'PWL' changed to 'List'\n"
              "  S1 : model 'Switch' changed to model 'On'\n"
              "  S2 : model 'Switch' changed to model 'Off'\n"
              "  2bad : this name cannot be used in formulas\n"
              "saved as " + target + "\n");
    const std::string text = testing::ReadWholeFile(target);
    EXPECT_NE(text.find("<Version ver=\"3\""), std::string::npos);

    // The converted file is of the present version: info has nothing to report.
    const auto info = RunCli({"info", target});
    EXPECT_EQ(info.exitCode, 0) << info.err;
    EXPECT_EQ(info.out.find("converted from"), std::string::npos) << info.out;
    const auto old = RunCli({"info", kCircuits + "old_v2_divider.qz3"});
    EXPECT_NE(old.out.find("converted from format version 2 (4 warnings)\n  V1 : model 'PWL' changed to 'List'\n"),
              std::string::npos)
        << old.out;
    std::remove(target.c_str());
}

TEST(ConvertCommand, RefusalsAndUsage) {
    const auto broken = RunCli({"convert", kCircuits + "old_v2_no_calc.qz3", TempPath("never.qz3")});
    EXPECT_EQ(broken.exitCode, 1);
    EXPECT_EQ(broken.err, "QZ3_Open: error converting from Ver.2: Wrong file format\n");
    EXPECT_EQ(RunCli({"convert", kCircuits + "old_v2_divider.qz3"}).exitCode, 2);
    const auto present = RunCli({"convert", kCircuits + "run_divider.qz3", TempPath("same.qz3")});
    EXPECT_EQ(present.exitCode, 0);
    EXPECT_NE(present.out.find("is of the present format version"), std::string::npos) << present.out;

    CConversionNote note;
    EXPECT_FALSE(ReadConversionNote("<QZ3><Version ver=\"3\" /></QZ3>", note));
    ASSERT_TRUE(ReadConversionNote("<QZ3><Converted from=\"-1\" warnings=\"a%0ab%0a\" /></QZ3>", note));
    EXPECT_EQ(note.warnings, (std::vector<std::string>{"a", "b"}));
}

}  // namespace
}  // namespace qz3::cli
