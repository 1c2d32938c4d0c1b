// V, I, P and S of components inside a source's formula, read from the
// live solution of the run.
#include <gtest/gtest.h>

#include <string>

#include "qz3.h"

namespace {

std::string CircuitPath(const char* file) { return std::string(QZ3_TEST_DATA_DIR) + "/circuits/" + file; }

// V1 puts 2 V across R1 (1 kOhm); V2 follows V(R1)*3 + I(R1)*1000 +
// P(R1)*1000 + S(R1) = 6 + 2 + 4 + 0 across R2.
TEST(FormulaReadings, SourceFormulaReadsTheSolution) {
    const int ncir = QZ3_Open(CircuitPath("formula_readings.qz3").c_str());
    ASSERT_GE(ncir, 0) << QZ3_GetError();
    // V3 names a component that doesn't exist.
    EXPECT_EQ(QZ3_Start(ncir), -1);
    const std::string error = QZ3_GetError();
    EXPECT_NE(error.find("Unknown name 'R9'"), std::string::npos) << error;

    ASSERT_EQ(QZ3_SetText(ncir, "V3.f", "V(R1)-I(R1)"), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(ncir, 1e-4), 0) << QZ3_GetError();
    const int trace = QZ3_GetTrace(ncir, "V(R2)");
    ASSERT_GE(trace, 0) << QZ3_GetError();
    double t = 0.0, value = 0.0;
    ASSERT_EQ(QZ3_GetLastData(ncir, trace, &t, &value), 0) << QZ3_GetError();
    EXPECT_NEAR(value, 12.0, 1e-9);
    QZ3_Close(ncir);
}

}  // namespace
