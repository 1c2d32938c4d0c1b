#include "command_line.h"

#include <gtest/gtest.h>

namespace qz3::cli {
namespace {

TEST(CommandLine, SplitsOptionsAndPositionals) {
    std::vector<COptionSpec> specs = {{"--a", true, false}, {"--b", false, false}, {"--r", true, true}};
    CParsedArgs parsed;
    std::string error;
    ASSERT_TRUE(ParseArguments({"f1", "--a", "x", "--r=1", "--b", "--r", "2", "--", "--b", "-"}, specs, parsed, error))
        << error;
    EXPECT_EQ(parsed.positional, (std::vector<std::string>{"f1", "--b", "-"}));
    EXPECT_EQ(*parsed.Value("--a"), "x");
    EXPECT_TRUE(parsed.Has("--b"));
    EXPECT_EQ(parsed.Values("--r"), (std::vector<std::string>{"1", "2"}));
    EXPECT_EQ(parsed.Value("--zz"), nullptr);
}

TEST(CommandLine, NamesWhatIsWrong) {
    std::vector<COptionSpec> specs = {{"--a", true, false}, {"--b", false, false}};
    struct Row {
        std::vector<std::string> args;
        const char* message;
    };
    const Row rows[] = {
        {{"--c"}, "unknown option --c"},
        {{"--c=1"}, "unknown option --c"},
        {{"--a"}, "option --a needs a value"},
        {{"--a", "1", "--a", "2"}, "option --a given twice"},
        {{"--b=yes"}, "option --b takes no value"},
    };
    for (const Row& row : rows) {
        CParsedArgs parsed;
        std::string error;
        EXPECT_FALSE(ParseArguments(row.args, specs, parsed, error));
        EXPECT_EQ(error, row.message);
    }
}

TEST(CommandLine, RunOptionsTakeEngineeringNumbersAndRepeats) {
    CRunOptions options;
    std::string error;
    ASSERT_TRUE(ParseRunOptions({"c.qz3", "--time", "10m", "--step=1u", "--set", "R1.R=2k", "--set", "C1.C=1u",
                                 "--trace", "V(C1)", "--trace", "I(R1)", "--csv", "o.csv", "--svg", "o.svg"},
                                options, error))
        << error;
    EXPECT_EQ(options.file, "c.qz3");
    EXPECT_TRUE(options.hasTime);
    EXPECT_DOUBLE_EQ(options.time, 10e-3);
    EXPECT_TRUE(options.hasStep);
    EXPECT_DOUBLE_EQ(options.step, 1e-6);
    ASSERT_EQ(options.sets.size(), 2u);
    EXPECT_EQ(options.sets[0], (std::pair<std::string, std::string>{"R1.R", "2k"}));
    EXPECT_EQ(options.sets[1], (std::pair<std::string, std::string>{"C1.C", "1u"}));
    EXPECT_EQ(options.traces, (std::vector<std::string>{"V(C1)", "I(R1)"}));
    EXPECT_EQ(options.csvPath, "o.csv");
    EXPECT_EQ(options.svgPath, "o.svg");

    ASSERT_TRUE(ParseRunOptions({"c.qz3", "--set", "X.expr=a=b"}, options, error));
    EXPECT_EQ(options.sets[0].second, "a=b");  // only the first "=" splits
    EXPECT_FALSE(options.hasTime);
    ASSERT_TRUE(ParseRunOptions({"--help"}, options, error));
    EXPECT_TRUE(options.help);
}

TEST(CommandLine, RunOptionsRefuseBadValues) {
    struct Row {
        std::vector<std::string> args;
        const char* message;
    };
    const Row rows[] = {
        {{}, "no schematic file given"},
        {{"a.qz3", "b.qz3"}, "unexpected argument 'b.qz3'"},
        {{"a.qz3", "--time", "abc"}, "--time: not a number: 'abc'"},
        {{"a.qz3", "--time", "0"}, "--time: must be greater than 0, not 0"},
        {{"a.qz3", "--step", "-1u"}, "--step: must be greater than 0, not -1u"},
        {{"a.qz3", "--set", "R1.R"}, "--set: expected NAME=VALUE, not 'R1.R'"},
        {{"a.qz3", "--set", "=5"}, "--set: expected NAME=VALUE, not '=5'"},
        {{"a.qz3", "--trace", ""}, "--trace: empty trace name"},
        {{"a.qz3", "--csv="}, "empty output file name"},
        {{"a.qz3", "--frobnicate"}, "unknown option --frobnicate"},
    };
    for (const Row& row : rows) {
        CRunOptions options;
        std::string error;
        EXPECT_FALSE(ParseRunOptions(row.args, options, error)) << row.message;
        EXPECT_EQ(error, row.message);
    }
}

TEST(CommandLine, InfoTakesOneFile) {
    CInfoOptions options;
    std::string error;
    ASSERT_TRUE(ParseInfoOptions({"x.qz3"}, options, error));
    EXPECT_EQ(options.file, "x.qz3");
    EXPECT_FALSE(ParseInfoOptions({"x.qz3", "--time", "1"}, options, error));
    EXPECT_EQ(error, "unknown option --time");
    EXPECT_FALSE(ParseInfoOptions({}, options, error));
    EXPECT_EQ(error, "no schematic file given");
}

}  // namespace
}  // namespace qz3::cli
