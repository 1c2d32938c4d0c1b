// CSignal: parameter checks, file keys, table loading, "Function" and the
// state text.
#include "waveforms/signal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

#include "xml/xml_node.h"

namespace qz3 {
namespace {

// Plain numbers only, which is all the table readers need to be tested.
bool NumberEval(const std::string& item, double& value, std::string& error) {
    char* end = nullptr;
    value = std::strtod(item.c_str(), &end);
    if (item.empty() || *end != 0) {
        error = "Syntax error: '" + item + "' is invalid number";
        return false;
    }
    return true;
}

CSignalContext Numbers() {
    CSignalContext context;
    context.eval = NumberEval;
    return context;
}

TEST(Signal, CheckMessagesAreExact) {
    struct Row { ModelId model; void (*setup)(CSignal&); const char* lines; };
    const Row rows[] = {
        {ModelId::Pulse, [](CSignal& s) { s.m_U1.m_Value = INFINITY; s.m_U0.m_Error = true; },
         "V1 : V1 : infinite\nV1 : V0 : formula error\n"},
        {ModelId::Pulse, [](CSignal& s) { s.m_Period.m_Value = 0; s.m_Width.m_Value = -1; },
         "V1 : Period <= 0\nV1 : Width < 0\n"},
        {ModelId::Single, [](CSignal& s) { s.m_Rise.m_Value = INFINITY; s.m_Fall.m_Value = -1; s.m_Delay.m_Error = true; },
         "V1 : Rise = infinite\nV1 : Fall < 0\nV1 : Delay : formula error\n"},
        {ModelId::Step, [](CSignal& s) { s.m_Rise.m_Value = -2; s.m_Width.m_Value = -1; }, "V1 : Rise < 0\n"},
        {ModelId::Sin, [](CSignal& s) { s.m_Period.m_Value = INFINITY; s.m_Phase.m_Value = INFINITY; s.m_Decay.m_Value = INFINITY; },
         "V1 : Period = infinite\nV1 : Phase = infinite \nV1 : Decay = infinite \n"},
        {ModelId::Sin, [](CSignal& s) { s.m_Period.m_Value = -1; s.m_Decay.m_Value = -1; s.m_Phase.m_Error = true; },
         "V1 : Period <= 0\nV1 : Phase : formula error\nV1 : Decay < 0\n"},
        {ModelId::Clock, [](CSignal& s) { s.m_Period.m_Value = 0; s.m_ClockStep.m_Value = -1; },
         "V1 : Period <= 0\nV1 : Step < 0\n"},
        {ModelId::Clock, [](CSignal& s) { s.m_ClockStep.m_Error = true; }, "V1 : Step : formula error\n"},
        {ModelId::Sweep, [](CSignal& s) { s.m_Width.m_Value = 0; s.m_F0.m_Value = INFINITY; s.m_F1.m_Value = -5; },
         "V1 : Width <= 0\nV1 : F0 = infinite\nV1 : F1 < 0\n"},
        {ModelId::Sweep, [](CSignal& s) { s.m_Width.m_Value = INFINITY; }, "V1 : Width = infinite\n"},
        {ModelId::List, [](CSignal& s) { s.m_Delay.m_Error = true; s.m_U1.m_Value = INFINITY; }, "V1 : Delay : formula error\n"},
        {ModelId::Function, [](CSignal& s) { s.m_U1.m_Value = INFINITY; }, ""},
    };
    for (const Row& row : rows) {
        CSignal signal;
        row.setup(signal);
        std::string out;
        const bool ok = signal.CheckLines(row.model, "V1", 'V', out);
        EXPECT_EQ(ok, out.empty());
        EXPECT_EQ(out, row.lines) << static_cast<int>(row.model);
    }
    CSignal current;
    current.m_U0.m_Value = -INFINITY;
    std::string out;
    EXPECT_FALSE(current.CheckLines(ModelId::Step, "X1.I2", 'I', out));
    EXPECT_EQ(out, "X1.I2 : I0 : infinite\n");
}

TEST(Signal, PrepareChoosesTheWorkingModel) {
    CSignal signal;
    signal.m_Period.m_Value = INFINITY;
    std::string first;
    ASSERT_TRUE(signal.Prepare(ModelId::Pulse, Numbers(), first));
    EXPECT_EQ(signal.m_Model, ModelId::Single);
    signal.m_Width.m_Value = INFINITY;
    std::string error;
    ASSERT_TRUE(signal.Prepare(ModelId::Pulse, Numbers(), error));
    EXPECT_EQ(signal.m_Model, ModelId::Step);
    EXPECT_FALSE(signal.m_Running);
}

TEST(Signal, ListCyclesAndNamesItsBreakPoints) {
    CSignal signal;
    signal.m_List = "0 0, 1 10, 3 -10, 4 0";
    signal.m_Cycle = true;
    signal.m_Delay.m_Value = 0.5;
    std::string error;
    ASSERT_TRUE(signal.Prepare(ModelId::List, Numbers(), error)) << error;
    ASSERT_EQ(signal.m_Count, 4);
    signal.Start(0.0, true);
    double v = 0.0;
    struct Row { double t, value; };
    const Row rows[] = {{0.2, 0.0}, {0.5, 0.0}, {1.0, 5.0}, {2.5, 0.0}, {4.0, -5.0}, {4.5, 0.0}, {5.0, 5.0}, {8.0, -5.0}, {9.0, 5.0}};
    for (const Row& row : rows) {
        ASSERT_TRUE(signal.ValueAt(row.t, v, error));
        EXPECT_NEAR(v, row.value, 1e-12) << row.t;
    }
    // Past the end the index wraps with the time: 5.0 lies in the first segment again.
    ASSERT_TRUE(signal.ValueAt(5.0, v, error));
    EXPECT_EQ(signal.m_Index, 0);
    double next = NAN, stepMax = NAN;
    signal.NextEvent(0.0, 1.0, &next, &stepMax, nullptr);
    EXPECT_DOUBLE_EQ(next, 0.5);
    signal.NextEvent(0.5, 1.0, &next, &stepMax, nullptr);
    EXPECT_DOUBLE_EQ(next, 1.5);
    EXPECT_DOUBLE_EQ(stepMax, 0.25);
    signal.NextEvent(2.0, 1.0, &next, &stepMax, nullptr);
    EXPECT_DOUBLE_EQ(next, 3.5);
    EXPECT_DOUBLE_EQ(stepMax, 0.5);
    signal.NextEvent(4.5, 1.0, &next, &stepMax, nullptr);
    EXPECT_DOUBLE_EQ(next, 5.5);
}

// The turn of a cycled table ends with a jump back to the first value. A
// step that lands a hair before the end (as accumulated steps do) reads the
// end of the turn; the exact end reads the start. The next corner named from
// such a point is the first corner of the new turn, never the present time.
TEST(Signal, CycledTableReadsTheEndOfTheTurnUpToTheWrap) {
    CSignal signal;
    signal.m_List = "0 0, 1e-3 1, 2e-3 1, 3e-3 -0.5";
    signal.m_Cycle = true;
    std::string error;
    ASSERT_TRUE(signal.Prepare(ModelId::List, Numbers(), error)) << error;
    signal.Start(0.0, true);
    const double hairBefore = 6e-3 - 1e-17, hairAfter = 6e-3 + 1e-17;
    double v = 0.0;
    struct Row { double t, value; };
    const Row rows[] = {{2.5e-3, 0.25}, {hairBefore, -0.5}, {6e-3, 0.0}, {hairAfter, 0.0}, {6.5e-3, 0.5}};
    for (const Row& row : rows) {
        ASSERT_TRUE(signal.ValueAt(row.t, v, error));
        EXPECT_NEAR(v, row.value, 1e-9) << row.t;
    }
    double next = NAN, stepMax = NAN;
    signal.NextEvent(hairBefore, 1.0, &next, &stepMax, nullptr);
    EXPECT_NEAR(next, 7e-3, 1e-15);
    EXPECT_DOUBLE_EQ(stepMax, 0.25e-3);
    // The value after the corner search still follows the exact time.
    ASSERT_TRUE(signal.ValueAt(hairBefore, v, error));
    EXPECT_NEAR(v, -0.5, 1e-9);
}

// Stepping as the solver does (to the next corner, or by the largest step),
// a cycled table lands on every pair time of every turn, the wrap included.
TEST(Signal, CycledListLandsOnEveryCornerOfEveryTurn) {
    for (double maxStep : {0.3e-3, 1e-3, 2e-3}) {
        CSignal signal;
        signal.m_List = "0 0, 1e-3 1, 2e-3 0";
        signal.m_Cycle = true;
        std::string error;
        ASSERT_TRUE(signal.Prepare(ModelId::List, Numbers(), error)) << error;
        signal.Start(0.0, true);
        std::vector<double> times;
        double t = 0.0;
        for (int n = 0; n < 1000 && t < 10e-3; ++n) {
            double next = NAN, stepMax = maxStep;
            signal.NextEvent(t, maxStep, &next, &stepMax, nullptr);
            double to = t + std::min(maxStep, stepMax);
            if (!std::isnan(next) && next < to) to = next;
            ASSERT_GT(to, t);
            t = to;
            times.push_back(t);
        }
        for (int k = 1; k <= 9; ++k) {
            const double corner = k * 1e-3;
            const bool landed = std::any_of(times.begin(), times.end(),
                                            [&](double x) { return std::fabs(x - corner) <= 1e-12 * corner; });
            EXPECT_TRUE(landed) << "corner " << corner << " step " << maxStep;
        }
    }
}

TEST(Signal, ListEdgeCases) {
    std::string error;
    double v = 0.0;
    CSignal single;
    single.m_List = "0,0";
    ASSERT_TRUE(single.Prepare(ModelId::List, Numbers(), error));
    single.Start(0.0, true);
    ASSERT_TRUE(single.ValueAt(3.0, v, error));
    EXPECT_EQ(v, 0.0);
    EXPECT_EQ(single.m_Count, 1);

    CSignal odd;
    odd.m_List = "0 1 2 3 4";
    ASSERT_TRUE(odd.Prepare(ModelId::List, Numbers(), error));
    EXPECT_EQ(odd.m_Count, 2);

    CSignal heading;
    heading.m_List = "t v 1 2 3 4";
    ASSERT_TRUE(heading.Prepare(ModelId::List, Numbers(), error));
    EXPECT_EQ(heading.m_Count, 2);

    CSignal bad;
    bad.m_List = "0 1 2 x";
    EXPECT_FALSE(bad.Prepare(ModelId::List, Numbers(), error));
    EXPECT_EQ(error, "Error: Syntax error: 'x' is invalid number");

    // A time going backward: the pair's own value, and no stalled events.
    CSignal back;
    back.m_List = "0 0 2 4 1 8 3 8";
    ASSERT_TRUE(back.Prepare(ModelId::List, Numbers(), error));
    back.Start(0.0, true);
    double t = 0.0;
    for (int n = 0; n < 100 && t < 5.0; ++n) {
        double next = t + 0.3, stepMax = 0.3;
        back.NextEvent(t, 0.3, &next, &stepMax, nullptr);
        next = std::min(next, t + stepMax);
        ASSERT_GT(next, t);
        t = next;
        ASSERT_TRUE(back.ValueAt(t, v, error));
        EXPECT_TRUE(std::isfinite(v));
    }
    EXPECT_GE(t, 5.0);
}

class SignalFile : public ::testing::Test {
protected:
    std::string Write(const std::string& name, const std::string& text) {
        const std::string path = ::testing::TempDir() + name;
        std::ofstream(path) << text;
        m_Paths.push_back(path);
        return path;
    }
    void TearDown() override {
        for (const std::string& path : m_Paths) std::remove(path.c_str());
    }
    std::vector<std::string> m_Paths;
};

TEST_F(SignalFile, ReadsATableWithAHeading) {
    CSignal signal;
    signal.m_File = Write("signal_ok.txt", "time value\n0 1\n\n0.5, 3\n1 5 extra\n");
    std::string error;
    ASSERT_TRUE(signal.Prepare(ModelId::File, Numbers(), error)) << error;
    ASSERT_EQ(signal.m_Count, 3);
    signal.Start(0.0, true);
    double v = 0.0;
    ASSERT_TRUE(signal.ValueAt(0.25, v, error));
    EXPECT_DOUBLE_EQ(v, 2.0);
    EXPECT_EQ(signal.m_LoadedFile, signal.m_File);
    // The same name isn't read again.
    std::remove(signal.m_File.c_str());
    EXPECT_TRUE(signal.Prepare(ModelId::File, Numbers(), error));
}

TEST_F(SignalFile, BadFilesGiveTheirMessages) {
    struct Row { const char* content; const char* error; };
    const Row rows[] = {
        {"", "Empty file '%s'"},
        {"heading only\n", "Empty file '%s'"},
        {"0 0\n1 x\n", "Error: Syntax error: 'x' is invalid number"},
    };
    for (const Row& row : rows) {
        CSignal signal;
        signal.m_File = Write("signal_bad.txt", row.content);
        std::string error;
        EXPECT_FALSE(signal.Prepare(ModelId::File, Numbers(), error));
        std::string expected = row.error;
        const size_t at = expected.find("%s");
        if (at != std::string::npos) expected.replace(at, 2, signal.m_File);
        EXPECT_EQ(error, expected);
        EXPECT_EQ(signal.m_Count, 0);
    }
    CSignal none;
    none.m_File = "";
    std::string error;
    EXPECT_FALSE(none.Prepare(ModelId::File, Numbers(), error));
    EXPECT_EQ(error, "No file name");
    CSignalContext lost = Numbers();
    lost.findFile = [](const std::string&) { return std::string(); };
    none.m_File = "missing.txt";
    EXPECT_FALSE(none.Prepare(ModelId::File, lost, error));
    EXPECT_EQ(error, "File not found");
    CSignalContext attached = Numbers();
    attached.attachment = "\r\n";
    EXPECT_FALSE(none.Prepare(ModelId::File, attached, error));
    EXPECT_EQ(error, "Attachment is empty");
    attached.attachment = "0 0\r\n2 4\r\n";
    ASSERT_TRUE(none.Prepare(ModelId::File, attached, error));
    EXPECT_EQ(none.m_Count, 2);
}

TEST(Signal, FunctionOfTimeAndItsProbe) {
    CSignal signal;
    // Stands in for the formula "=sin(2*pi*50*t)*(t>1m)".
    signal.m_FunctionEval = [](double t, double& value, std::string& error) {
        if (t > 0.5) {
            error = "Division by zero";
            return false;
        }
        value = std::sin(2 * 3.14159265358 * 50 * t) * (t > 1e-3 ? 1.0 : 0.0);
        return true;
    };
    std::string error;
    ASSERT_TRUE(signal.Prepare(ModelId::Function, Numbers(), error));
    double v = 1.0;
    signal.Start(0.0, false);
    ASSERT_TRUE(signal.ValueAt(0.1, v, error));
    EXPECT_EQ(v, 0.0);
    signal.Start(0.0, true);
    ASSERT_TRUE(signal.ValueAt(0.5e-3, v, error));
    EXPECT_EQ(v, 0.0);
    ASSERT_TRUE(signal.ValueAt(0.0125, v, error));
    EXPECT_NEAR(v, std::sin(2 * 3.14159265358 * 50 * 0.0125), 1e-12);
    EXPECT_FALSE(signal.ValueAt(0.45, v, error, 0.1));
    EXPECT_EQ(error, "Division by zero");
    double next = -1;
    signal.NextEvent(0.1, 0.01, &next, nullptr, nullptr);
    EXPECT_EQ(next, -1);
}

TEST(Signal, StateTextAndShift) {
    CSignal signal;
    signal.m_Running = true;
    signal.m_Stage = sgFall;
    signal.m_Base = 0.1;
    signal.m_Shift = 1.0 / 3.0;
    std::string text;
    signal.SaveState(text);
    CSignal copy;
    copy.LoadState(text);
    EXPECT_TRUE(copy.m_Running);
    EXPECT_EQ(copy.m_Stage, sgFall);
    EXPECT_EQ(copy.m_Base, 0.1);
    EXPECT_EQ(copy.m_Shift, 1.0 / 3.0);
    copy.LoadState("");
    EXPECT_EQ(copy.m_Stage, sgFall);

    CSignal pulse;
    pulse.m_Model = ModelId::Pulse;
    pulse.m_Delay.m_Text = "=d0";
    pulse.m_Period.m_Value = 2.0;
    pulse.Shift(5.0);
    EXPECT_DOUBLE_EQ(pulse.m_Delay.m_Value, -1.0);
    EXPECT_TRUE(pulse.m_Delay.m_Text.empty());
}

}  // namespace
}  // namespace qz3
