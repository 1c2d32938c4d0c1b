// Parameter access through the C interface, on schematics in tests/circuits.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "qz3.h"
#include "test_files.h"

namespace {

using qz3::test::ReadBytes;

std::string CircuitPath(const char* file) { return std::string(QZ3_TEST_DATA_DIR) + "/circuits/" + file; }

std::string TempPath(const char* file) { return ::testing::TempDir() + file; }

class ParamExports : public ::testing::Test {
protected:
    void SetUp() override {
        ncir = QZ3_Open(CircuitPath("param_formulas.qz3").c_str());
        ASSERT_GE(ncir, 0) << QZ3_GetError();
    }
    void TearDown() override { QZ3_Close(ncir); }

    double Value(const char* name) {
        double v = -1.0;
        EXPECT_EQ(QZ3_GetValue(ncir, name, &v), 0) << QZ3_GetError();
        return v;
    }
    std::string Text(const char* name) {
        char buffer[128];
        EXPECT_GT(QZ3_GetText(ncir, name, buffer, sizeof buffer), 0) << QZ3_GetError();
        return buffer;
    }
    int ncir = 0;
};

TEST_F(ParamExports, FormulasOfOtherResistorsAndVariablesFollowChanges) {
    EXPECT_DOUBLE_EQ(Value("R2"), 1000.0);
    EXPECT_DOUBLE_EQ(Value("R2.R"), 1000.0);
    EXPECT_DOUBLE_EQ(Value("r2.r"), 1000.0);  // names ignore case
    EXPECT_DOUBLE_EQ(Value("Gain"), 6.0);
    EXPECT_DOUBLE_EQ(Value("Gain.Value"), 6.0);
    EXPECT_DOUBLE_EQ(Value("P1.Position"), 0.25);

    ASSERT_EQ(QZ3_SetValue(ncir, "R2", 250.0), 0) << QZ3_GetError();
    EXPECT_STREQ(QZ3_GetError(), "OK");
    EXPECT_DOUBLE_EQ(Value("R1"), 500.0);              // =2*R2
    EXPECT_DOUBLE_EQ(Value("R3"), 6.0 * 250.0 + 4.0);  // =Gain*R2.R+sqrt(16)

    // A variable's formula changed by text moves the resistors that use it.
    ASSERT_EQ(QZ3_SetText(ncir, "Gain", "=10/4"), 0) << QZ3_GetError();
    EXPECT_DOUBLE_EQ(Value("Gain"), 2.5);
    EXPECT_DOUBLE_EQ(Value("R3"), 2.5 * 250.0 + 4.0);
    EXPECT_EQ(Text("Gain"), "=10/4");
    EXPECT_EQ(Text("R2"), "250");
}

TEST_F(ParamExports, FormulasSeeTheLogicLevelsOfTheDocument) {
    // Default levels: low 0, high 5, threshold 2.5.
    ASSERT_EQ(QZ3_SetText(ncir, "Gain", "=high*2+low+ishigh(2.5)+islow(2.4)+ishigh(2.4)"), 0) << QZ3_GetError();
    EXPECT_DOUBLE_EQ(Value("Gain"), 12.0);
    EXPECT_DOUBLE_EQ(Value("R3"), 12.0 * 1000.0 + 4.0);
}

TEST_F(ParamExports, ExactMessagesInTheOrderOfTheChecks) {
    double v = 7.0;
    EXPECT_EQ(QZ3_GetValue(ncir, "R9", &v), -1);
    EXPECT_STREQ(QZ3_GetError(), "QZ3_GetValue: parameter R9 not found");
    EXPECT_EQ(v, 0.0);  // cleared before the look-up
    EXPECT_EQ(QZ3_GetValue(ncir, "R1.X", &v), -1);
    EXPECT_STREQ(QZ3_GetError(), "QZ3_GetValue: parameter R1.X not found");
    EXPECT_EQ(QZ3_GetValue(ncir, "", &v), -1);
    EXPECT_STREQ(QZ3_GetError(), "QZ3_GetValue: no parameter name");
    EXPECT_EQ(QZ3_GetValue(ncir, nullptr, &v), -1);
    EXPECT_STREQ(QZ3_GetError(), "QZ3_GetValue: NULL pointer");
    EXPECT_EQ(QZ3_GetValue(ncir, "R1", nullptr), -1);
    EXPECT_STREQ(QZ3_GetError(), "QZ3_GetValue: NULL pointer");

    char buffer[8] = "xxxxxxx";
    EXPECT_EQ(QZ3_GetText(ncir, "R1", buffer, 0), -1);
    EXPECT_STREQ(QZ3_GetError(), "QZ3_GetText: length = 0");
    EXPECT_EQ(QZ3_GetText(ncir, "R1", nullptr, 8), -1);
    EXPECT_STREQ(QZ3_GetError(), "QZ3_GetText: NULL pointer");
    EXPECT_EQ(QZ3_GetText(ncir, "nope", buffer, 8), -1);
    EXPECT_STREQ(buffer, "");  // cleared before the look-up

    EXPECT_EQ(QZ3_SetText(ncir, "R1", nullptr), -1);
    EXPECT_STREQ(QZ3_GetError(), "QZ3_SetText: NULL pointer");
    EXPECT_EQ(QZ3_SetText(ncir, "R1", ""), -1);
    EXPECT_STREQ(QZ3_GetError(), "QZ3_SetText: no text");
    EXPECT_EQ(QZ3_SetText(ncir, "R1", "2*3"), -1);
    EXPECT_EQ(std::string(QZ3_GetError()).rfind("QZ3_SetText: error in value  2*3 : ", 0), 0u) << QZ3_GetError();
    EXPECT_EQ(QZ3_SetText(ncir, "R1", "=nosuch*2"), -1);
    EXPECT_EQ(std::string(QZ3_GetError()).rfind("QZ3_SetText: error in formula =nosuch*2 : ", 0), 0u)
        << QZ3_GetError();
    EXPECT_EQ(QZ3_GetValue(ncir, "R1", &v), -1);
    EXPECT_STREQ(QZ3_GetError(), "QZ3_GetValue: formula error");
    ASSERT_EQ(QZ3_SetText(ncir, "R1", "=2*R2"), 0) << QZ3_GetError();
    EXPECT_EQ(QZ3_SetText(ncir, "R2", "=R1/2"), -1);  // R1 already reads R2
    EXPECT_STREQ(QZ3_GetError(), "QZ3_SetText: error in formula =R1/2 : Circular reference");

    EXPECT_EQ(QZ3_SetParamText(ncir, 999999, nullptr), -1);
    EXPECT_STREQ(QZ3_GetError(), "QZ3_SetParamText: no text");
    EXPECT_EQ(QZ3_GetParamValue(ncir, 999999, &v), -1);
    EXPECT_STREQ(QZ3_GetError(), "QZ3_GetParamValue: wrong parameter handle");
    EXPECT_EQ(QZ3_GetParamText(ncir, 999999, buffer, 0), -1);
    EXPECT_STREQ(QZ3_GetError(), "QZ3_GetParamText: length = 0");
    EXPECT_EQ(QZ3_SetValue(-5, "R1", 1.0), -1);
    EXPECT_EQ(std::string(QZ3_GetError()).rfind("QZ3_SetValue: ", 0), 0u);
}

TEST_F(ParamExports, TextLengthRuleReportsTheFullLength) {
    ASSERT_EQ(QZ3_SetText(ncir, "R2", "123456"), 0) << QZ3_GetError();
    char buffer[16];
    // A plain number has no text: it reads as "123.456e+3", cut to 3.
    EXPECT_EQ(QZ3_GetText(ncir, "R2", buffer, 4), 11);
    EXPECT_STREQ(buffer, "123");
    EXPECT_EQ(QZ3_GetText(ncir, "R1", buffer, 1), 6);  // "=2*R2" and its zero
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(QZ3_GetText(ncir, "R1", buffer, 3), 6);
    EXPECT_STREQ(buffer, "=2");
    EXPECT_EQ(QZ3_GetText(ncir, "R1", buffer, sizeof buffer), 6);
    EXPECT_STREQ(buffer, "=2*R2");
}

TEST_F(ParamExports, HandlesKeepTheirComponentAcrossOtherLookups) {
    const int h1 = QZ3_GetParam(ncir, "R1");
    const int h2 = QZ3_GetParam(ncir, "R2.R");
    ASSERT_GT(h1, 0) << QZ3_GetError();
    ASSERT_GT(h2, h1);
    EXPECT_EQ(QZ3_GetParam(ncir, "R7"), -1);
    EXPECT_STREQ(QZ3_GetError(), "QZ3_GetParam: parameter R7 not found");

    ASSERT_EQ(QZ3_SetParamValue(ncir, h2, 100.0), 0) << QZ3_GetError();
    double v = 0.0;
    // The tables are shared by all resistors; reading R3 by name binds the
    // table to R3, and the handle must still lead to R1.
    EXPECT_DOUBLE_EQ(Value("R3"), 604.0);
    ASSERT_EQ(QZ3_GetParamValue(ncir, h1, &v), 0) << QZ3_GetError();
    EXPECT_DOUBLE_EQ(v, 200.0);

    char buffer[32];
    ASSERT_EQ(QZ3_SetParamText(ncir, h1, "=R2/4"), 0) << QZ3_GetError();
    EXPECT_EQ(QZ3_GetParamText(ncir, h1, buffer, sizeof buffer), 6);
    EXPECT_STREQ(buffer, "=R2/4");
    EXPECT_DOUBLE_EQ(Value("R1"), 25.0);

    // A handle of one circuit is unknown in another.
    const int other = QZ3_Open(CircuitPath("param_formulas.qz3").c_str());
    ASSERT_GE(other, 0);
    EXPECT_EQ(QZ3_GetParamValue(other, h1, &v), -1);
    EXPECT_STREQ(QZ3_GetError(), "QZ3_GetParamValue: wrong parameter handle");
    QZ3_Close(other);
}

TEST_F(ParamExports, SavedFormulasReopenWithTheSameValues) {
    ASSERT_EQ(QZ3_SetText(ncir, "R2", "=Gain*100"), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_SetText(ncir, "P1.Position", "=R2/2400"), 0) << QZ3_GetError();
    const std::string path = TempPath("param_formulas_saved.qz3");
    ASSERT_EQ(QZ3_SaveAs(ncir, path.c_str()), 0) << QZ3_GetError();
    const std::string text = ReadBytes(path);
    EXPECT_NE(text.find("r_str=\"%3dGain*100\""), std::string::npos) << text;

    const int reopened = QZ3_Open(path.c_str());
    ASSERT_GE(reopened, 0) << QZ3_GetError();
    for (const char* name : {"R1", "R2", "R3", "Gain", "P1.Position", "P1.R"}) {
        double before = 0.0, after = 0.0;
        ASSERT_EQ(QZ3_GetValue(ncir, name, &before), 0) << name;
        ASSERT_EQ(QZ3_GetValue(reopened, name, &after), 0) << name;
        EXPECT_DOUBLE_EQ(before, after) << name;
    }
    EXPECT_DOUBLE_EQ(Value("R2"), 600.0);
    EXPECT_DOUBLE_EQ(Value("P1.Position"), 0.25);
    QZ3_Close(reopened);
    std::remove(path.c_str());
}

// On an open run a changed value costs turns that only prepare; a value set
// to what it already is, or a text refused before it was evaluated, leaves
// the trapezoidal steps running, one turn per time step.
TEST(ParamExportsRun, OnlyARealChangeRebuildsAnOpenRun) {
    const int ncir = QZ3_Open(CircuitPath("run_rc_discharge.qz3").c_str());
    ASSERT_GE(ncir, 0) << QZ3_GetError();
    auto turnsToAdvance = [&]() {
        double before = -1.0, after = -1.0;
        EXPECT_EQ(QZ3_GetSimulationTime(ncir, &before), 0);
        for (int turns = 1; turns <= 20; ++turns) {
            EXPECT_EQ(QZ3_SimulateStep(ncir), 0) << QZ3_GetError();
            EXPECT_EQ(QZ3_GetSimulationTime(ncir, &after), 0);
            if (after > before) return turns;
        }
        return 0;
    };
    ASSERT_EQ(QZ3_SimulateInterval(ncir, 1e-4), 0) << QZ3_GetError();
    turnsToAdvance();
    ASSERT_EQ(turnsToAdvance(), 1);

    ASSERT_EQ(QZ3_SetValue(ncir, "R1", 1e3), 0) << QZ3_GetError();  // the same value
    EXPECT_EQ(turnsToAdvance(), 1);
    ASSERT_EQ(QZ3_SetText(ncir, "R1", "1k"), 0) << QZ3_GetError();  // the same value as text
    EXPECT_EQ(turnsToAdvance(), 1);
    EXPECT_EQ(QZ3_SetText(ncir, "R1", "2*3"), -1);  // refused by the number parser
    EXPECT_EQ(turnsToAdvance(), 1);
    // A formula that points back at itself is refused before it is evaluated.
    EXPECT_EQ(QZ3_SetText(ncir, "R1", "=R1*2"), -1);
    EXPECT_STREQ(QZ3_GetError(), "QZ3_SetText: error in formula =R1*2 : Circular reference");
    ASSERT_EQ(QZ3_SetText(ncir, "R1", "1k"), 0) << QZ3_GetError();  // drops the refused text
    EXPECT_EQ(turnsToAdvance(), 1);

    // A formula that was evaluated, even one that failed, rebuilds.
    EXPECT_EQ(QZ3_SetText(ncir, "C1.C", "=nosuch"), -1);
    ASSERT_EQ(QZ3_SetText(ncir, "C1.C", "1u"), 0) << QZ3_GetError();
    EXPECT_GT(turnsToAdvance(), 1);
    turnsToAdvance();
    EXPECT_EQ(turnsToAdvance(), 1);
    ASSERT_EQ(QZ3_SetValue(ncir, "R1", 2e3), 0) << QZ3_GetError();
    EXPECT_GT(turnsToAdvance(), 1);
    QZ3_Close(ncir);
}

TEST(ParamExportsFile, UnknownAndPendingTypesRoundTripWithTheirKeys) {
    const int ncir = QZ3_Open(CircuitPath("param_foreign_types.qz3").c_str());
    ASSERT_GE(ncir, 0) << QZ3_GetError();
    double v = 0.0;
    EXPECT_EQ(QZ3_GetValue(ncir, "R1", &v), 0);
    EXPECT_DOUBLE_EQ(v, 2000.0);
    const std::string path = TempPath("param_foreign_saved.qz3");
    ASSERT_EQ(QZ3_SaveAs(ncir, path.c_str()), 0) << QZ3_GetError();
    QZ3_Close(ncir);
    const std::string text = ReadBytes(path);
    for (const char* key : {"tol=\"5\"", "c=\"1e-6\"", "ic=\"0\"", "model=\"Sin\"", "amp=\"10\"", "freq=\"50\"",
                            "delay=\"1e-9\"", "<State>1,q=1</State>", "name=\"OUT\"", "model=\"Label\"",
                            "type=\"Y_2_AND\"", "type=\"V_V\"", "type=\"C_C\"", "model=\"C\""})
        EXPECT_NE(text.find(key), std::string::npos) << key << "\n" << text;
    // A type no table knows cannot be loaded: it is skipped, not kept.
    EXPECT_EQ(text.find("Q_NoSuchPart"), std::string::npos);
    std::remove(path.c_str());
}

}  // namespace
