// A catalogue of bad calls across all 45 exports: each ends with its result
// and its exact text, and the handle it was made on runs a good circuit
// afterwards as if nothing had happened.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "qz3.h"

namespace {

const std::string kRc = std::string(QZ3_TEST_DATA_DIR) + "/circuits/cosim_rc.qz3";
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr int kWrong = 987654321;

struct Handles {
    int ncir = -1, param = -1, trace = -1, input = -1, output = -1;
};

struct BadCall {
    const char* what;
    std::function<int(const Handles&)> call;
    int result;
    const char* text;
};

char g_Text[64];
double g_A = 0, g_B = 0, g_C = 0;
int g_Level = 0;

// The calls, in the order of the exports in the header.
std::vector<BadCall> Catalogue() {
    using H = const Handles&;
    return {
#include "bad_input_rows.inc"
    };
}

// The handle still works: a fresh run of 100 us reaches its end. A formula
// that failed stays in its parameter (and the run says so); the host puts a
// good value back first.
void ExpectGoodRun(const Handles& h, const char* after) {
    ASSERT_EQ(QZ3_SetText(h.ncir, "R1.R", "1k"), 0) << after << ": " << QZ3_GetError();
    ASSERT_EQ(QZ3_Start(h.ncir), 0) << after << ": " << QZ3_GetError();
    ASSERT_EQ(QZ3_Simulate(h.ncir, 100e-6), 0) << after << ": " << QZ3_GetError();
    double t = 0;
    ASSERT_EQ(QZ3_GetSimulationTime(h.ncir, &t), 0);
    EXPECT_GE(t, 100e-6 * (1 - 1e-9)) << after;
}

}  // namespace

TEST(BadInput, EveryBadCallEndsWithItsTextAndTheHandleGoesOn) {
    Handles h;
    h.ncir = QZ3_Open(kRc.c_str());
    ASSERT_GE(h.ncir, 0) << QZ3_GetError();
    h.param = QZ3_GetParam(h.ncir, "R1.R");
    h.trace = QZ3_AddVTrace(h.ncir, "C1");
    h.input = QZ3_GetInput(h.ncir, "VIN");
    // Outputs live on labels and meters, which this circuit has none of.
    h.output = QZ3_GetOutput(h.ncir, "C1");
    ASSERT_EQ(std::string(QZ3_GetError()), "QZ3_GetOutput: component C1 cannot be an output");
    ASSERT_TRUE(h.param >= 0 && h.trace >= 0 && h.input >= 0) << QZ3_GetError();
    const std::vector<BadCall> calls = Catalogue();
    EXPECT_GE(calls.size(), 100u);
    for (const BadCall& bad : calls) {
        const int result = bad.call(h);
        const std::string text = QZ3_GetError();
        EXPECT_EQ(result, bad.result) << bad.what << ": " << text;
        EXPECT_EQ(text, bad.text) << bad.what;
        ExpectGoodRun(h, bad.what);
    }
    EXPECT_EQ(QZ3_Close(h.ncir), 0);
}
