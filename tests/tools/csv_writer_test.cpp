#include "csv_writer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>

namespace qz3::cli {
namespace {

TEST(CsvWriter, UnionOfTimesIsSortedAndUnique) {
    std::vector<CWaveform> waves(3);
    waves[0].x = {0, 1e-3, 2e-3, 2e-3};
    waves[1].x = {0, 0.5e-3, 2e-3, 3e-3};
    std::vector<double> expected = {0, 0.5e-3, 1e-3, 2e-3, 3e-3};
    EXPECT_EQ(UnionTimeBase(waves), expected);
    EXPECT_TRUE(UnionTimeBase({}).empty());
}

TEST(CsvWriter, WritesHeaderRowsAndGaps) {
    CSampleTable table;
    table.x = {0, 1e-3, 2.5e-3};
    table.headers = {"V(C1)", "I(R1)"};
    table.columns = {{0, 0.632120558829, 0.917915}, {1e-3, std::nan(""), -3.5e-7}};
    std::ostringstream out;
    WriteCsv(out, table);
    EXPECT_EQ(out.str(),
              "time,V(C1),I(R1)\n"
              "0,0,0.001\n"
              "0.001,0.632120558829,\n"
              "0.0025,0.917915,-3.5e-07\n");
}

TEST(CsvWriter, QuotesFieldsThatNeedIt) {
    EXPECT_EQ(CsvField("plain"), "plain");
    EXPECT_EQ(CsvField("a,b"), "\"a,b\"");
    EXPECT_EQ(CsvField("say \"hi\""), "\"say \"\"hi\"\"\"");
    EXPECT_EQ(CsvField("two\nlines"), "\"two\nlines\"");
    CSampleTable table;
    table.xName = "frequency";
    table.headers = {"V(a,b)"};
    table.columns = {{}};
    std::ostringstream out;
    WriteCsv(out, table);
    EXPECT_EQ(out.str(), "frequency,\"V(a,b)\"\n");
}

TEST(CsvWriter, KeepsTwelveDigitsAndShortColumnsAsGaps) {
    CSampleTable table;
    table.x = {1.0 / 3, 2};
    table.headers = {"y"};
    table.columns = {{123456789.123456789}};
    std::ostringstream out;
    WriteCsv(out, table);
    EXPECT_EQ(out.str(), "time,y\n0.333333333333,123456789.123\n2,\n");
}

TEST(CsvWriter, FileErrorsAreReported) {
    CSampleTable table;
    std::string error;
    EXPECT_FALSE(WriteCsvFile("/no/such/dir/out.csv", table, error));
    EXPECT_EQ(error, "cannot write /no/such/dir/out.csv");
    std::string path = ::testing::TempDir() + "csv_writer_test.csv";
    table.x = {1};
    table.headers = {"a"};
    table.columns = {{2}};
    ASSERT_TRUE(WriteCsvFile(path, table, error));
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    EXPECT_EQ(line, "time,a");
    std::getline(file, line);
    EXPECT_EQ(line, "1,2");
}

}  // namespace
}  // namespace qz3::cli
