// A piecewise-linear resistor whose table the host rewrites: a bad table
// fails every start with the component's words, a good one runs again.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "qz3.h"

namespace {

std::string CircuitPath(const char* file) { return std::string(QZ3_TEST_DATA_DIR) + "/circuits/" + file; }

// V1 puts 1 V across R1, whose table is 1 kOhm below 2 V and 500 Ohm above.
TEST(PwlResistor, BadTablesFailEveryStartAndAGoodOneRunsAgain) {
    const int ncir = QZ3_Open(CircuitPath("pwl_resistor.qz3").c_str());
    ASSERT_GE(ncir, 0) << QZ3_GetError();
    const int current = QZ3_GetTrace(ncir, "I(R1)");
    ASSERT_GE(current, 0) << QZ3_GetError();
    double t = 0.0, value = 0.0;
    ASSERT_EQ(QZ3_Simulate(ncir, 1e-5), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_GetLastData(ncir, current, &t, &value), 0) << QZ3_GetError();
    EXPECT_NEAR(std::abs(value), 1e-3, 1e-12);

    const struct {
        const char* table;
        const char* error;
    } rows[] = {
        {"1,2", "R1 : Wrong number of PWL parameters\n"},
        {"1,0,x", "R1 : PWL error: "},
        {"1,2,3,x,5", "R1 : PWL error: "},
        {"0,1,0", "R1 : Zero value not allowed\n"},
    };
    for (const auto& row : rows) {
        ASSERT_EQ(QZ3_SetText(ncir, "R1.pwl", row.table), 0) << QZ3_GetError();
        for (int attempt = 0; attempt < 2; ++attempt) {
            EXPECT_EQ(QZ3_Start(ncir), -1) << row.table;
            EXPECT_EQ(std::string(QZ3_GetError()).rfind(std::string("QZ3_Start: ") + row.error, 0), 0u)
                << row.table << ": " << QZ3_GetError();
        }
    }
    ASSERT_EQ(QZ3_SetText(ncir, "R1.pwl", "250,0.5,1e3"), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(ncir, 1e-5), 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_GetLastData(ncir, current, &t, &value), 0) << QZ3_GetError();
    // The slopes are incremental and the curve continuous: 0.5 V / 250 Ohm
    // up to the break, then 0.5 V more through 1 kOhm.
    EXPECT_NEAR(std::abs(value), 2.5e-3, 1e-12);
    QZ3_Close(ncir);
}

}  // namespace
