// Co-simulation inputs and outputs through the C interface: the messages of
// every check in its order, and a host driving an RC in lock-step.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "qz3.h"

namespace {

std::string CircuitPath(const char* file) { return std::string(QZ3_TEST_DATA_DIR) + "/circuits/" + file; }

std::string Error() { return QZ3_GetError(); }

constexpr int kNoCircuit = -12345;

class CosimExports : public ::testing::Test {
protected:
    void Open(const char* file) {
        ncir = QZ3_Open(CircuitPath(file).c_str());
        ASSERT_GE(ncir, 0) << Error();
    }
    void TearDown() override {
        if (ncir >= 0) QZ3_Close(ncir);
    }
    int Input(const char* name) {
        const int handle = QZ3_GetInput(ncir, name);
        EXPECT_GE(handle, 0) << Error();
        EXPECT_EQ(Error(), "OK");
        return handle;
    }
    int Output(const char* name) {
        const int handle = QZ3_GetOutput(ncir, name);
        EXPECT_GE(handle, 0) << Error();
        EXPECT_EQ(Error(), "OK");
        return handle;
    }
    double LastValue(int trace) {
        double t = NAN, v = NAN;
        EXPECT_EQ(QZ3_GetLastData(ncir, trace, &t, &v), 0) << Error();
        return v;
    }
    int ncir = -1;
};

TEST_F(CosimExports, GetInputChecksCircuitThenNameThenType) {
    Open("cosim_rc.qz3");
    // The circuit comes before the name.
    EXPECT_EQ(QZ3_GetInput(kNoCircuit, nullptr), -1);
    EXPECT_EQ(Error(), "QZ3_GetInput: wrong circuit handle");
    EXPECT_EQ(QZ3_GetInput(ncir, nullptr), -1);
    EXPECT_EQ(Error(), "QZ3_GetInput: NULL pointer");
    EXPECT_EQ(QZ3_GetInput(ncir, ""), -1);
    EXPECT_EQ(Error(), "QZ3_GetInput: no input name");
    EXPECT_EQ(QZ3_GetInput(ncir, "V9"), -1);
    EXPECT_EQ(Error(), "QZ3_GetInput: component V9 not found");
    EXPECT_EQ(QZ3_GetInput(ncir, "R1"), -1);
    EXPECT_EQ(Error(), "QZ3_GetInput: component R1 cannot be an input");
    EXPECT_EQ(QZ3_GetInput(ncir, "C1"), -1);
    EXPECT_EQ(Error(), "QZ3_GetInput: component C1 cannot be an input");

    // Two calls on one source give two handles; names ignore case.
    const int first = Input("VIN");
    const int second = Input("vin");
    EXPECT_NE(first, second);
    const int current = Input("IIN");
    EXPECT_NE(current, first);
    EXPECT_NE(current, second);
    EXPECT_EQ(QZ3_SetInputValue(ncir, first, 1.0), 0);
    EXPECT_EQ(Error(), "OK");
    EXPECT_EQ(QZ3_SetInputValue(ncir, second, 2.0), 0);
    EXPECT_EQ(QZ3_SetInputLogicalValue(ncir, current, 1), 0);
    EXPECT_EQ(Error(), "OK");
}

TEST_F(CosimExports, SetInputKnowsOnlyItsOwnCircuitsInputHandles) {
    Open("cosim_rc.qz3");
    const int input = Input("VIN");
    const int param = QZ3_GetParam(ncir, "VIN");
    ASSERT_GE(param, 0) << Error();

    EXPECT_EQ(QZ3_SetInputValue(kNoCircuit, input, 1.0), -1);
    EXPECT_EQ(Error(), "QZ3_SetInputValue: wrong circuit handle");
    EXPECT_EQ(QZ3_SetInputValue(ncir, param, 1.0), -1);
    EXPECT_EQ(Error(), "QZ3_SetInputValue: wrong input handle");
    EXPECT_EQ(QZ3_SetInputValue(ncir, ncir, 1.0), -1);
    EXPECT_EQ(Error(), "QZ3_SetInputValue: wrong input handle");
    EXPECT_EQ(QZ3_SetInputLogicalValue(kNoCircuit, input, 1), -1);
    EXPECT_EQ(Error(), "QZ3_SetInputLogicalValue: wrong circuit handle");
    EXPECT_EQ(QZ3_SetInputLogicalValue(ncir, -1, 0), -1);
    EXPECT_EQ(Error(), "QZ3_SetInputLogicalValue: wrong input handle");

    // A second circuit doesn't know the first one's handle.
    const int other = QZ3_Open(CircuitPath("cosim_rc.qz3").c_str());
    ASSERT_GE(other, 0) << Error();
    EXPECT_EQ(QZ3_SetInputValue(other, input, 1.0), -1);
    EXPECT_EQ(Error(), "QZ3_SetInputValue: wrong input handle");
    // A closed circuit is no circuit, its own handles included; this one
    // goes on working.
    const int closedInput = QZ3_GetInput(other, "VIN");
    ASSERT_GE(closedInput, 0) << Error();
    QZ3_Close(other);
    EXPECT_EQ(QZ3_SetInputValue(other, closedInput, 1.0), -1);
    EXPECT_EQ(Error(), "QZ3_SetInputValue: wrong circuit handle");
    EXPECT_EQ(QZ3_GetInput(other, "VIN"), -1);
    EXPECT_EQ(Error(), "QZ3_GetInput: wrong circuit handle");
    EXPECT_EQ(QZ3_SetInputValue(ncir, input, 1.0), 0) << Error();
}

TEST_F(CosimExports, GetOutputTakesLabelsAmmetersAndVoltmetersOnly) {
    Open("cosim_outputs.qz3");
    EXPECT_EQ(QZ3_GetOutput(kNoCircuit, nullptr), -1);
    EXPECT_EQ(Error(), "QZ3_GetOutput: wrong circuit handle");
    EXPECT_EQ(QZ3_GetOutput(ncir, nullptr), -1);
    EXPECT_EQ(Error(), "QZ3_GetOutput: NULL pointer");
    EXPECT_EQ(QZ3_GetOutput(ncir, ""), -1);
    EXPECT_EQ(Error(), "QZ3_GetOutput: no output name");
    EXPECT_EQ(QZ3_GetOutput(ncir, "AM9"), -1);
    EXPECT_EQ(Error(), "QZ3_GetOutput: component AM9 not found");
    EXPECT_EQ(QZ3_GetOutput(ncir, "R1"), -1);
    EXPECT_EQ(Error(), "QZ3_GetOutput: component R1 cannot be an output");
    // A source is an input, never an output.
    EXPECT_EQ(QZ3_GetOutput(ncir, "V1"), -1);
    EXPECT_EQ(Error(), "QZ3_GetOutput: component V1 cannot be an output");
    // A meter is an output, never an input; a label is both.
    EXPECT_EQ(QZ3_GetInput(ncir, "VM1"), -1);
    EXPECT_EQ(Error(), "QZ3_GetInput: component VM1 cannot be an input");
    EXPECT_EQ(QZ3_GetInput(ncir, "AM1"), -1);
    EXPECT_EQ(Error(), "QZ3_GetInput: component AM1 cannot be an input");
    const int labelInput = Input("OUT");

    const std::vector<int> outputs = {Output("OUT"), Output("AM1"), Output("VM1"), Output("OUT")};
    for (size_t i = 0; i < outputs.size(); ++i)
        for (size_t j = i + 1; j < outputs.size(); ++j) EXPECT_NE(outputs[i], outputs[j]);
    for (int output : outputs) EXPECT_NE(output, labelInput);

    // Before any run every output reads 0.0, and logically 0.
    for (int output : outputs) {
        double v = -1.0;
        EXPECT_EQ(QZ3_GetOutputValue(ncir, output, &v), 0);
        EXPECT_EQ(Error(), "OK");
        EXPECT_EQ(v, 0.0);
        int level = -1;
        EXPECT_EQ(QZ3_GetOutputLogicalValue(ncir, output, &level), 0);
        EXPECT_EQ(Error(), "OK");
        EXPECT_EQ(level, 0);
    }
}

TEST_F(CosimExports, GetOutputValueChecksPointerThenCircuitThenHandle) {
    Open("cosim_outputs.qz3");
    const int output = Output("VM1");
    const int input = Input("V1");
    double v = -1.0;
    int level = -1;
    // The pointer is looked at before the circuit.
    EXPECT_EQ(QZ3_GetOutputValue(kNoCircuit, output, nullptr), -1);
    EXPECT_EQ(Error(), "QZ3_GetOutputValue: NULL pointer");
    EXPECT_EQ(QZ3_GetOutputValue(kNoCircuit, output, &v), -1);
    EXPECT_EQ(Error(), "QZ3_GetOutputValue: wrong circuit handle");
    EXPECT_EQ(QZ3_GetOutputValue(ncir, input, &v), -1);
    EXPECT_EQ(Error(), "QZ3_GetOutputValue: wrong output handle");

    // The logical read speaks with its sibling's name.
    EXPECT_EQ(QZ3_GetOutputLogicalValue(kNoCircuit, output, nullptr), -1);
    EXPECT_EQ(Error(), "QZ3_GetOutputValue: NULL pointer");
    EXPECT_EQ(QZ3_GetOutputLogicalValue(kNoCircuit, output, &level), -1);
    EXPECT_EQ(Error(), "QZ3_GetOutputValue: wrong circuit handle");
    EXPECT_EQ(QZ3_GetOutputLogicalValue(ncir, input, &level), -1);
    EXPECT_EQ(Error(), "QZ3_GetOutputValue: wrong output handle");
    EXPECT_EQ(v, -1.0);
    EXPECT_EQ(level, -1);
}

// VIN drives R1 (1 kOhm) into C1 (100 nF); without an initial condition the
// operating point charges C1 to the source's value, here the host's.
TEST_F(CosimExports, InputSetBeforeTheRunHoldsAtTheOperatingPoint) {
    Open("cosim_rc.qz3");
    const int input = Input("VIN");
    ASSERT_EQ(QZ3_SetInputValue(ncir, input, 2.5), 0) << Error();
    const int vc = QZ3_AddVTrace(ncir, "C1");
    ASSERT_GE(vc, 0) << Error();
    ASSERT_EQ(QZ3_Start(ncir), 0) << Error();
    double t = NAN, v = NAN;
    ASSERT_EQ(QZ3_GetDataAt(ncir, vc, 0, &t, &v), 0) << Error();
    EXPECT_EQ(t, 0.0);
    EXPECT_NEAR(v, 2.5, 1e-9);  // the file's 7 V never shows
    ASSERT_EQ(QZ3_Simulate(ncir, 1e-4), 0) << Error();
    EXPECT_NEAR(LastValue(vc), 2.5, 1e-9);
}

// IIN (1 mA in the file) feeds R2 (2 kOhm). Taken as an input in mid-run,
// it is rebuilt as a host-driven source, and the logic levels of the file
// (low 0.5, high 4) become its current.
TEST_F(CosimExports, LogicalInputTakenInMidRunUsesTheLevelsOfTheFile) {
    Open("cosim_rc.qz3");
    const int vr = QZ3_AddVTrace(ncir, "R2");
    ASSERT_GE(vr, 0) << Error();
    ASSERT_EQ(QZ3_Simulate(ncir, 1e-5), 0) << Error();
    const double fileValue = LastValue(vr);
    ASSERT_NEAR(std::fabs(fileValue), 2.0, 1e-9);

    const int input = Input("IIN");
    ASSERT_EQ(QZ3_SetInputLogicalValue(ncir, input, 7), 0) << Error();
    ASSERT_EQ(QZ3_Simulate(ncir, 1e-5), 0) << Error();
    EXPECT_NEAR(LastValue(vr), fileValue * 4.0 / 1e-3, 1e-6);
    ASSERT_EQ(QZ3_SetInputLogicalValue(ncir, input, 0), 0) << Error();
    ASSERT_EQ(QZ3_Simulate(ncir, 1e-5), 0) << Error();
    EXPECT_NEAR(LastValue(vr), fileValue * 0.5 / 1e-3, 1e-6);
}

// The host holds VIN for each interval and changes it between calls. Each
// interval ends exactly on its time and the next one opens with short steps,
// so the new value enters as a jump at the boundary: the response is that of
// the ideal staircase on tau = 100 us, to the steps' discretisation.
TEST_F(CosimExports, LockStepStaircaseDrivesTheRcLikeItsAnalyticResponse) {
    constexpr double kTau = 1e3 * 100e-9, kStep = 2e-6, kInterval = 5e-5;
    const std::vector<double> stairs = {1.0, 3.0, -2.0, -2.0, 0.5, 4.0, 4.0, 1.0, 0.0, 2.0};
    auto analytic = [&](double t) {
        double v = stairs[0];
        for (size_t k = 1; k < stairs.size(); ++k) {
            const double change = k * kInterval;
            if (t > change) v += (stairs[k] - stairs[k - 1]) * (1.0 - std::exp(-(t - change) / kTau));
        }
        return v;
    };

    Open("cosim_rc.qz3");
    const int input = Input("VIN");
    const int vc = QZ3_AddVTrace(ncir, "C1");
    ASSERT_GE(vc, 0) << Error();
    ASSERT_EQ(QZ3_SetInputValue(ncir, input, stairs[0]), 0) << Error();
    ASSERT_EQ(QZ3_Start(ncir), 0) << Error();
    for (size_t k = 0; k < stairs.size(); ++k) {
        ASSERT_EQ(QZ3_SetInputValue(ncir, input, stairs[k]), 0) << Error();
        // Nothing moves before the next time point.
        if (k > 0) EXPECT_NEAR(LastValue(vc), analytic(k * kInterval), 2e-3);
        ASSERT_EQ(QZ3_SimulateInterval(ncir, kInterval), 0) << Error();
        double now = NAN;
        ASSERT_EQ(QZ3_GetSimulationTime(ncir, &now), 0) << Error();
        EXPECT_NEAR(now, (k + 1) * kInterval, 1e-12);
    }

    const int count = QZ3_GetDataSize(ncir, vc);
    ASSERT_GT(count, static_cast<int>(stairs.size() * kInterval / kStep) - 1) << Error();
    double worst = 0.0;
    for (int i = 0; i < count; ++i) {
        double t = NAN, v = NAN;
        ASSERT_EQ(QZ3_GetDataAt(ncir, vc, i, &t, &v), 0) << Error();
        worst = std::fmax(worst, std::fabs(v - analytic(t)));
    }
    EXPECT_LT(worst, 2e-3);
    EXPECT_NEAR(LastValue(vc), analytic(stairs.size() * kInterval), 2e-3);
}

// An input that is no number is refused and names what is wrong; the
// value it had stays, and the circuit runs on with a finite one.
TEST_F(CosimExports, NonFiniteInputFailsTheIntervalAndTheCircuitRunsAgain) {
    Open("cosim_rc.qz3");
    const int input = Input("VIN");
    const int vc = QZ3_AddVTrace(ncir, "C1");
    ASSERT_GE(vc, 0) << Error();
    ASSERT_EQ(QZ3_SetInputValue(ncir, input, 1.0), 0) << Error();
    ASSERT_EQ(QZ3_SimulateInterval(ncir, 1e-4), 0) << Error();
    const struct {
        double value;
        const char* error;
    } bad[] = {{NAN, "QZ3_SetInputValue: value = NaN"},
               {INFINITY, "QZ3_SetInputValue: value = infinite"},
               {-INFINITY, "QZ3_SetInputValue: value = infinite"}};
    for (const auto& b : bad) {
        EXPECT_EQ(QZ3_SetInputValue(ncir, input, b.value), -1);
        EXPECT_EQ(Error(), b.error);
    }
    ASSERT_EQ(QZ3_SimulateInterval(ncir, 1e-4), 0) << Error();
    EXPECT_NEAR(LastValue(vc), 1.0, 1e-9);  // C1 started at the input and stays there
    ASSERT_EQ(QZ3_SetInputValue(ncir, input, 2.0), 0) << Error();
    ASSERT_EQ(QZ3_SimulateInterval(ncir, 1e-4), 0) << Error();
    double now = NAN;
    ASSERT_EQ(QZ3_GetSimulationTime(ncir, &now), 0) << Error();
    EXPECT_NEAR(now, 3e-4, 1e-12);
}

}  // namespace
