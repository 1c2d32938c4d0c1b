// Files of format version 2 and older open converted.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "circuit_run.h"
#include "test_files.h"
#include "qz3.h"

namespace {

using qz3test::Circuit;
using qz3test::TestCircuit;

using qz3::test::ReadBytes;

// V1 ramps from 0 to 10 V over 1 ms (an old "PWL" source, now "List");
// S1 was an old switch with "a"=1 and is closed, S2 had "a"=0 and is open,
// so R3 hangs loose and R2 takes half of V1 (minus the 1 MOhm "2bad").
void ExpectConvertedDivider(int ncir) {
    const int trace = QZ3_AddVTrace(ncir, "R2");
    ASSERT_GE(trace, 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Start(ncir), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_SimulateInterval(ncir, 1e-3), 0) << QZ3_GetError();
    const double parallel = 1e3 * 1e6 / (1e3 + 1e6);
    for (double t : {0.2e-3, 0.5e-3, 0.9e-3}) {
        double v = 0;
        ASSERT_EQ(QZ3_GetData(ncir, trace, t, &v), 0) << QZ3_GetError();
        EXPECT_NEAR(v, 10.0 * t / 1e-3 * parallel / (1e3 + parallel), 1e-9) << t;
    }
}

TEST(OldVersion, VersionTwoSchematicOpensConvertedAndSimulates) {
    Circuit circuit(TestCircuit("old_v2_divider.qz3"));
    ASSERT_GE(circuit.ncir, 0);
    EXPECT_STREQ(QZ3_GetError(), "OK");
    ExpectConvertedDivider(circuit.ncir);
}

TEST(OldVersion, ConvertedFileSavesAsThePresentVersion) {
    const std::string saved = testing::TempDir() + "old_v2_converted.qz3";
    {
        Circuit circuit(TestCircuit("old_v2_divider.qz3"));
        ASSERT_EQ(QZ3_SaveAs(circuit.ncir, saved.c_str()), 0) << QZ3_GetError();
    }
    const std::string text = ReadBytes(saved);
    EXPECT_NE(text.find("<Version ver=\"3\" rev=\"4\" core=\"30\" build=\"0\" date=\"06%2f03%2f2022\" />"),
              std::string::npos)
        << text;
    for (const char* present : {"<Cir>", "<Advanced ", "<Sheets>", "model=\"List\"", "list=\"0+0+1e-3+10\"",
                                "model=\"On\"", "model=\"Off\"", "pause_trigger=\"true\"", "center_x=\"120\"",
                                "center_y=\"-40\"", "type=\"pict_rect\"", "param_format=\"1\"", "name=\"V(R2)\"",
                                "type=\"V\" mode=\"analog\"", "ac_out=\"r\"", "warnings="})
        EXPECT_NE(text.find(present), std::string::npos) << present;
    for (const char* old : {"<Calc", "rununtil=", "pwl=", "tracename=", "type=\"unknown\"", "center=\""})
        EXPECT_EQ(text.find(old), std::string::npos) << old;
    // The saved file is of the present version and opens without conversion.
    Circuit reopened(saved);
    ASSERT_GE(reopened.ncir, 0);
    ExpectConvertedDivider(reopened.ncir);
    std::remove(saved.c_str());
}

TEST(OldVersion, FailuresNameTheReason) {
    const struct {
        const char* file;
        const char* reason;
    } cases[] = {
        {"old_v2_no_calc.qz3", "Wrong file format"},
        {"old_v2_scrambled_doc.qz3", "Encrypted file cannot be automatically converted to a new format"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(QZ3_Open(TestCircuit(c.file).c_str()), -1) << c.file;
        EXPECT_EQ(std::string(QZ3_GetError()), std::string("QZ3_Open: error converting from Ver.2: ") + c.reason);
    }
}

TEST(OldVersion, FileWithoutVersionKeepsWhatItCanRead) {
    // An unknown old type and a component without a name: the rest opens.
    Circuit circuit(TestCircuit("old_unversioned.qz3"));
    ASSERT_GE(circuit.ncir, 0);
    const int trace = QZ3_AddVTrace(circuit.ncir, "R2");
    ASSERT_GE(trace, 0) << QZ3_GetError();
    QZ3_START_OR_SKIP(circuit);
    ASSERT_TRUE(circuit.RunTo(1e-3));
    // 6 V over 2k into 1k || 1k.
    EXPECT_NEAR(circuit.ValueAt(trace, 1e-3), 6.0 * 500.0 / 2500.0, 1e-9);
}

}  // namespace
