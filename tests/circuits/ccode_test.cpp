// Code blocks in whole circuits, through the C interface: memory between
// steps with and without `main`, clocked computing, a PI controller closing
// a converter's loop, and the messages of programs that fail.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "circuit_run.h"
#include "qz3.h"

namespace {

using qz3test::Circuit;
using qz3test::Example;
using qz3test::TestCircuit;

TEST(CodeBlock, MainKeepsItsVariablesAndAClockedBlockCountsEdges) {
    Circuit c(TestCircuit("ccode_counters.qz3"));
    const int clocked = QZ3_AddVTrace(c.ncir, "RCNT");
    const int soft = QZ3_AddVTrace(c.ncir, "RSOFT");
    const int plain = QZ3_AddVTrace(c.ncir, "RNOMAIN");
    const int peek = QZ3_AddVTrace(c.ncir, "RPEEK");
    ASSERT_GE(plain, 0) << QZ3_GetError();
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(3e-3));
    // Rising edges at 0.25, 1.25 and 2.25 ms: the clocked block counts them
    // and holds its output in between.
    const double times[] = {0.2e-3, 0.5e-3, 1.2e-3, 1.5e-3, 2.2e-3, 2.9e-3};
    const double counts[] = {0, 1, 1, 2, 2, 3};
    for (size_t i = 0; i < std::size(times); ++i) {
        EXPECT_NEAR(c.ValueAt(clocked, times[i]), counts[i], 1e-9) << times[i];
        // The same count, found by the program itself from the input.
        EXPECT_NEAR(c.ValueAt(soft, times[i]), counts[i], 1e-9) << times[i];
        // Without main its variable is declared anew at each step.
        EXPECT_NEAR(c.ValueAt(plain, times[i]), 1.0, 1e-12) << times[i];
        // Another block reads the counter as "component.variable".
        EXPECT_NEAR(c.ValueAt(peek, times[i]), 10 * counts[i], 1e-9) << times[i];
    }
    // The count rises within a step of the edge, not before it.
    EXPECT_NEAR(c.ValueAt(clocked, 1.24e-3), 1.0, 1e-9);
    EXPECT_NEAR(c.ValueAt(clocked, 1.27e-3), 2.0, 1e-9);
}

TEST(CodeBlock, PiControllerRegulatesTheBuckConverter) {
    Circuit c(Example("buck_ccode_pi.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(30e-3));
    const qz3test::Series vout = c.Read("Vout");
    double sum = 0.0, span = 0.0;
    for (size_t i = 1; i < vout.size(); ++i) {
        if (vout.t[i] < 25e-3) continue;
        const double dt = vout.t[i] - vout.t[i - 1];
        sum += 0.5 * (vout.y[i] + vout.y[i - 1]) * dt;
        span += dt;
    }
    ASSERT_GT(span, 4e-3);
    EXPECT_NEAR(sum / span, 5.0, 0.05) << "mean of the last 5 ms";
    // 5 V from 12 V is a duty near 5/12, held between the controller's edges.
    EXPECT_NEAR(c.Last("Duty"), 5.0 / 12.0, 0.05);
}

TEST(CodeBlock, FailingProgramsEndTheRunWithTheirLine) {
    const struct {
        const char* file;
        const char* message;
    } rows[] = {
        {"ccode_bad_div.qz3", "CODE : Line 3 : Division by zero\n"},
        {"ccode_bad_syntax.qz3", "CODE : Line 2 : Syntax error: ';' not found\n"},
        {"ccode_bad_type.qz3", "CODE : Variable type mismatch: 'y1'\n"},
        {"ccode_bad_infinite.qz3", "CODE : infinite output 'y1'\n"},
        {"ccode_bad_file.qz3", "CODE : Can't find no_such_program.c\n"},
    };
    for (const auto& row : rows) {
        Circuit c(TestCircuit(row.file));
        int rc = QZ3_Start(c.ncir);
        if (rc == 0) rc = QZ3_Simulate(c.ncir, 1e-4);
        const std::string error = QZ3_GetError();
        EXPECT_EQ(rc, -1) << row.file;
        EXPECT_NE(error.find(row.message), std::string::npos) << row.file << ": " << error;
    }
}

TEST(CodeBlock, EndlessLoopEndsByTheTimeOut) {
    Circuit c(TestCircuit("ccode_bad_loop.qz3"));
    ASSERT_EQ(QZ3_SetTimeout(c.ncir, 1), 0) << QZ3_GetError();
    int rc = QZ3_Start(c.ncir);
    if (rc == 0) rc = QZ3_Simulate(c.ncir, 1e-4);
    const std::string error = QZ3_GetError();
    EXPECT_EQ(rc, -1);
    EXPECT_NE(error.find("CODE : Line 2 : 'while' loop time-out at cycle "), std::string::npos) << error;
}

}  // namespace

namespace {

using qz3test::Circuit;
using qz3test::TestCircuit;

TEST(FunctionBlock, ClockedBlockHoldsBetweenRisingEdgesOthersFollow) {
    Circuit c(TestCircuit("fblocks.qz3"));
    const int hold = QZ3_AddVTrace(c.ncir, "RHOLD");
    const int mul = QZ3_AddVTrace(c.ncir, "RMUL");
    const int formula = QZ3_AddVTrace(c.ncir, "RFN");
    const int bus = QZ3_AddVTrace(c.ncir, "RBUS");
    ASSERT_GE(bus, 0) << QZ3_GetError();
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(3e-3));
    // |ramp| * 2 taken at the rising edges 0.25, 1.25, 2.25 ms: 1.5, 0.5, 2.5.
    EXPECT_NEAR(c.ValueAt(hold, 0.2e-3), 0.0, 1e-12) << "nothing before the first edge";
    for (const auto& [t, v] : {std::pair{0.3e-3, 1.5}, {1.2e-3, 1.5}, {1.3e-3, 0.5}, {2.2e-3, 0.5}, {2.9e-3, 2.5}})
        EXPECT_NEAR(c.ValueAt(hold, t), v, 0.03) << t;
    // The unclocked ones follow the ramp a step behind.
    for (double t : {0.5e-3, 1.5e-3, 2.5e-3}) {
        EXPECT_NEAR(c.ValueAt(mul, t), 2 * (t * 1000 - 1), 0.03) << t;
        EXPECT_NEAR(c.ValueAt(formula, t), 2 * (t * 1000 - 1), 0.03) << t;
    }
    // Bits 1, 0, 1 while the clock is high: 5; all low: 0.
    EXPECT_NEAR(c.ValueAt(bus, 0.5e-3), 5.0, 1e-9);
    EXPECT_NEAR(c.ValueAt(bus, 0.9e-3), 0.0, 1e-9);
}

}  // namespace
