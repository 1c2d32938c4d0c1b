#include "components/elem_y.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "components/elem_fixture.h"

namespace qz3 {
namespace {

using test::ElemNet;
using test::MakeElem;
using test::RoundTrip;

constexpr double kInf = std::numeric_limits<double>::infinity();

// A logic element whose pins stand on nodes 1, 2, ... in order; the first
// `inputs` nodes are driven to the given levels.
struct LogicNet {
    ElemNet net;
    std::vector<int> levels;
    CElemY* elem;

    LogicNet(CElemY* y, int inputs, int outputs) : net(inputs + outputs, 0), levels(inputs, 0), elem(y) {
        net.sources = [this](CCalc& calc) {
            for (size_t i = 0; i < levels.size(); ++i) calc.SetLogicOutput(static_cast<int>(i) + 1, levels[i]);
        };
        elem->Simulate(&net.calc, PhaseInit, 0.0);
        elem->lastModel = elem->model;
        for (int p = 0; p < elem->pinCount; ++p) elem->nodes[p] = p + 1;
        net.elems.push_back(elem);
    }
    // The output level on node n after the states settled at time t.
    int Out(int n, double t = 0.0) {
        net.calc.m_Time = t;
        EXPECT_GT(net.SolveStates(), 0);
        EXPECT_TRUE(net.Solve());
        return net.X(n) > 2.5 ? 1 : 0;
    }
};

TEST(ElemY, GatesFollowTheirTruthTables) {
    const struct {
        const char* type;
        int inputs;
        int mode;  // of the custom gate
        int (*f)(int, int, int);
    } gates[] = {
        {"Y_1", 1, 0, [](int a, int, int) { return a; }},
        {"Y_2_AND", 2, 0, [](int a, int b, int) { return a & b; }},
        {"Y_2_OR", 2, 0, [](int a, int b, int) { return a | b; }},
        {"Y_2_XOR", 2, 0, [](int a, int b, int) { return a ^ b; }},
        {"Y_3_AND", 3, 0, [](int a, int b, int c) { return a & b & c; }},
        {"Y_3_OR", 3, 0, [](int a, int b, int c) { return a | b | c; }},
        {"Y_3_XOR", 3, 0, [](int a, int b, int c) { return a ^ b ^ c; }},
    };
    for (const auto& gate : gates) {
        for (int view = 0; view < 2; ++view) {
            for (int combination = 0; combination < (1 << gate.inputs); ++combination) {
                auto y = MakeElem<CElemY>(gate.type, "Logic");
                y->view = view;
                LogicNet net(y.get(), gate.inputs, 1);
                for (int i = 0; i < gate.inputs; ++i) net.levels[i] = (combination >> i) & 1;
                const int a = net.levels[0], b = gate.inputs > 1 ? net.levels[1] : 0, c = gate.inputs > 2 ? net.levels[2] : 0;
                const int expected = view ? 1 - gate.f(a, b, c) : gate.f(a, b, c);
                EXPECT_EQ(net.Out(gate.inputs + 1), expected) << gate.type << " view " << view << " inputs " << combination;
                EXPECT_EQ(y->out, expected);
            }
        }
    }
}

// The output follows the wanted level after the model's delay; a change
// undone before the delay ends never comes out.
TEST(ElemY, DelaysHoldTheOutputAndDropShortPulses) {
    auto y = MakeElem<CElemY>("Y_1", "Delay");
    y->delay.m_Value = 1e-3;
    LogicNet net(y.get(), 1, 1);
    net.levels[0] = 1;
    EXPECT_EQ(net.Out(2, 0.5e-3), 0);
    EXPECT_EQ(y->state, 1);
    EXPECT_DOUBLE_EQ(y->tOut, 1.5e-3);
    double next = NAN, stepMax = 1.0;
    y->NextEvent(&net.net.calc, 1e-3, &next, &stepMax, nullptr);
    EXPECT_DOUBLE_EQ(next, 1.5e-3);
    EXPECT_DOUBLE_EQ(stepMax, 1e-3);
    // Back low before the delay is over: nothing pending, nothing seen.
    net.levels[0] = 0;
    EXPECT_EQ(net.Out(2, 1.2e-3), 0);
    EXPECT_EQ(y->tOut, kNoPending);
    // High again, and the time reached: the output takes the level.
    net.levels[0] = 1;
    EXPECT_EQ(net.Out(2, 2e-3), 0);
    next = NAN;
    y->NextEvent(&net.net.calc, 3e-3, &next, &stepMax, nullptr);
    EXPECT_TRUE(std::isnan(next));
    EXPECT_EQ(y->out, 1);
    EXPECT_EQ(net.Out(2, 3e-3), 1);

    // A delay of 0 follows at once and leaves nothing pending.
    y->delay.m_Value = 0;
    net.levels[0] = 0;
    EXPECT_EQ(net.Out(2, 4e-3), 0);
    EXPECT_EQ(y->tOut, kNoPending);

    // Up 0, Down 1 ms: rising edges pass at once, falling ones wait.
    auto d2 = MakeElem<CElemY>("Y_1", "Delay2");
    d2->delay.m_Value = 0;
    d2->down.m_Value = 1e-3;
    LogicNet net2(d2.get(), 1, 1);
    net2.levels[0] = 1;
    EXPECT_EQ(net2.Out(2, 1e-3), 1);
    net2.levels[0] = 0;
    EXPECT_EQ(net2.Out(2, 2e-3), 1);
    EXPECT_DOUBLE_EQ(d2->tOut, 3e-3);
    next = NAN;
    stepMax = 1.0;
    d2->NextEvent(&net2.net.calc, 2.5e-3, &next, &stepMax, nullptr);
    EXPECT_DOUBLE_EQ(stepMax, 1e-3);
}

// Pins: D 1, clock 2, Q on 3, -Q on 4; set 5, reset 6, K 7 where present.
struct FlipFlop {
    std::unique_ptr<CElemY> y;
    LogicNet net;
    FlipFlop(const char* type, int inputs)
        : y(MakeElem<CElemY>(type, "Logic")), net(y.get(), inputs, 2) {
        const int map[] = {1, 2, inputs + 1, inputs + 2, 3, 4, 5};
        for (int p = 0; p < y->pinCount; ++p) y->nodes[p] = map[p];
    }
    // Sets the inputs (D or J, clock, S, R, K) and returns Q, -Q.
    std::pair<int, int> Step(std::initializer_list<int> inputs) {
        int i = 0;
        for (int level : inputs) net.levels[i++] = level;
        const int q = net.Out(y->nodes[2]);
        return {q, net.net.X(y->nodes[3]) > 2.5 ? 1 : 0};
    }
};

TEST(ElemY, DFlipFlopTakesDOnTheActiveEdgeOnly) {
    FlipFlop ff("Y_FF", 2);
    // The first reading, with the clock high, is no edge.
    EXPECT_EQ(ff.Step({1, 1}), std::make_pair(0, 1));
    EXPECT_EQ(ff.Step({1, 0}), std::make_pair(0, 1));
    EXPECT_EQ(ff.Step({1, 1}), std::make_pair(1, 0));
    EXPECT_EQ(ff.Step({0, 1}), std::make_pair(1, 0));  // D moves while the clock stays
    EXPECT_EQ(ff.Step({0, 0}), std::make_pair(1, 0));  // a falling clock isn't active
    EXPECT_EQ(ff.Step({0, 1}), std::make_pair(0, 1));
    // View 2: the falling clock is the active one.
    FlipFlop falling("Y_FF", 2);
    falling.y->view = 2;
    falling.Step({1, 0});
    EXPECT_EQ(falling.Step({1, 1}), std::make_pair(0, 1));
    EXPECT_EQ(falling.Step({1, 0}), std::make_pair(1, 0));
}

TEST(ElemY, SetAndResetOverrideTheClockByDominance) {
    const std::pair<int, int> both[] = {{1, 1}, {1, 0}, {0, 1}};
    for (int dominance = 0; dominance < 3; ++dominance) {
        FlipFlop rs("Y_RS", 4);
        rs.y->dominance.Index = dominance;
        EXPECT_EQ(rs.Step({0, 0, 1, 0}), std::make_pair(1, 0)) << dominance;
        EXPECT_EQ(rs.Step({0, 0, 0, 1}), std::make_pair(0, 1)) << dominance;
        EXPECT_EQ(rs.Step({0, 0, 1, 1}), both[dominance]) << dominance;
        // Released from two high outputs Q falls; other pairs stay.
        const std::pair<int, int> released = dominance == 0 ? std::make_pair(0, 1) : both[dominance];
        EXPECT_EQ(rs.Step({0, 0, 0, 0}), released) << dominance;
    }
    // After a set the first clock reading is no edge; the next rise takes D.
    FlipFlop rs("Y_RS", 4);
    rs.Step({0, 1, 1, 0});
    EXPECT_EQ(rs.Step({0, 1, 0, 0}), std::make_pair(1, 0));
    EXPECT_EQ(rs.Step({0, 0, 0, 0}), std::make_pair(1, 0));
    EXPECT_EQ(rs.Step({0, 1, 0, 0}), std::make_pair(0, 1));
    // Views 4 and above invert set and reset.
    FlipFlop low("Y_RS", 4);
    low.y->view = 4;
    EXPECT_EQ(low.Step({0, 0, 0, 1}), std::make_pair(1, 0));
}

TEST(ElemY, JkFlipFlopSetsResetsAndToggles) {
    FlipFlop jk("Y_JK", 5);
    jk.Step({0, 0, 0, 0, 0});
    EXPECT_EQ(jk.Step({1, 1, 0, 0, 0}), std::make_pair(1, 0));  // J
    jk.Step({1, 0, 0, 0, 1});
    EXPECT_EQ(jk.Step({0, 1, 0, 0, 1}), std::make_pair(0, 1));  // K
    jk.Step({1, 0, 0, 0, 1});
    EXPECT_EQ(jk.Step({1, 1, 0, 0, 1}), std::make_pair(1, 0));  // toggle
    jk.Step({1, 0, 0, 0, 1});
    EXPECT_EQ(jk.Step({1, 1, 0, 0, 1}), std::make_pair(0, 1));  // toggle back
    jk.Step({0, 0, 0, 0, 0});
    EXPECT_EQ(jk.Step({0, 1, 0, 0, 0}), std::make_pair(0, 1));  // neither
}

TEST(ElemY, SchmittTriggerHoldsItsLevelInsideTheBand) {
    auto st = MakeElem<CElemY>("Y_ST", "Logic");
    st->hysteresis.m_Value = 1.0;
    ElemNet net(2, 0);
    double input = 0.0;
    net.sources = [&](CCalc& calc) { calc.SetOutput(1, 0, true, input); };
    st->Simulate(&net.calc, PhaseInit, 0.0);
    net.Wire(st.get(), {1, 2}, 0);
    const std::pair<double, int> rows[] = {{2.9, 0}, {3.1, 1}, {2.1, 1}, {1.9, 0}, {2.5, 0}};
    for (const auto& [v, level] : rows) {
        input = v;
        ASSERT_GT(net.SolveStates(), 0);
        EXPECT_EQ(st->state, level) << v;
    }
}

// A formula gate whose box has one pin more than its named inputs and the
// output: the last pin is a clock, and f is taken only at its rising level.
TEST(ElemY, ClockedFormulaTakesItsInputsOnTheRisingClock) {
    auto f = MakeElem<CElemY>("Y_FUNCTION", "Logic");
    CXmlNode in;
    const std::string text = R"(<Cmp func="!a"><Custom l="1" r="1" t="1"><Ins><In name="a"/></Ins></Custom></Cmp>)";
    in.ParseText(text, 1);
    f->Xml(&in, false);
    ASSERT_EQ(f->pinCount, 3);
    EXPECT_EQ(f->clocked, 1);
    EXPECT_EQ(f->OutputPin(), 1);
    LogicNet net(f.get(), 2, 1);
    f->nodes[1] = 3;  // output
    f->nodes[2] = 2;  // clock
    const struct { int a, clock, out; } rows[] = {{0, 1, 0}, {0, 0, 0}, {0, 1, 1}, {1, 1, 1}, {1, 0, 1}, {1, 1, 0}};
    for (const auto& row : rows) {
        net.levels = {row.a, row.clock};
        EXPECT_EQ(net.Out(3), row.out) << row.a << " " << row.clock;
    }
    // A formula that fails leaves its text for the state check.
    f->func = "a+nosuch";
    net.levels = {0, 0};
    net.Out(3);
    net.levels = {0, 1};
    ASSERT_TRUE(net.net.Solve());
    EXPECT_FALSE(f->CheckSegment(&net.net.calc, true));
    bool changed = false;
    EXPECT_FALSE(f->CheckState(&net.net.calc, true, &changed));
    EXPECT_EQ(net.net.calc.m_Error.rfind("X1 : ", 0), 0u) << net.net.calc.m_Error;
}

TEST(ElemY, CheckLinesOfTheDelaysAndHysteresis) {
    const struct {
        const char* type;
        const char* model;
        double delay, down, hysteresis;
        const char* lines;
    } rows[] = {
        {"Y_1", "Logic", -1, -1, -1, ""},
        {"Y_1", "Delay", -1, 0, 0, "Y1 : Delay < 0\n"},
        {"Y_2_AND", "Delay", kInf, 0, 0, "Y1 : Delay = infinite\n"},
        {"Y_FF", "Delay2", -1, kInf, 0, "Y1 : Up < 0\nY1 : Down = infinite\n"},
        {"Y_ST", "Logic", 0, 0, -1, "Y1 : Hysteresis < 0\n"},
        {"Y_ST", "Delay2", 0, -1, kInf, "Y1 : Down < 0\nY1 : Hysteresis = infinite\n"},
    };
    for (const auto& row : rows) {
        CCalc calc;
        auto y = MakeElem<CElemY>(row.type, row.model, "Y1");
        y->delay.m_Value = row.delay;
        y->down.m_Value = row.down;
        y->hysteresis.m_Value = row.hysteresis;
        EXPECT_EQ(y->CheckParams(&calc), row.lines[0] == 0) << row.type << " " << row.model;
        EXPECT_EQ(calc.m_Error, row.lines) << row.type << " " << row.model;
    }
    CCalc calc;
    auto y = MakeElem<CElemY>("Y_1", "Delay", "Y2");
    y->delay.m_Error = true;
    y->CheckParams(&calc);
    EXPECT_EQ(calc.m_Error, "Y2 : Delay : formula error\n");
}

TEST(ElemY, KeysAndStateTextRoundTrip) {
    auto y = MakeElem<CElemY>("Y_JK", "Delay2");
    y->delay.SetValue(2e-9);
    y->down.SetValue(3e-9);
    y->dominance.Index = 2;
    y->ic = 1;
    auto copy = RoundTrip(y.get());
    EXPECT_EQ(copy->model, ModelId::Delay2);
    EXPECT_EQ(copy->delay.m_Value, 2e-9);
    EXPECT_EQ(copy->down.m_Value, 3e-9);
    EXPECT_EQ(copy->dominance.Index, 2);
    EXPECT_EQ(copy->ic, 1);
    EXPECT_EQ(y->PinName(2), "Q");
    EXPECT_EQ(y->PinName(3), "-Q");
    EXPECT_EQ(y->PinName(0), "");

    // The custom gate keeps its function as a word; an unknown word is "and".
    auto custom = MakeElem<CElemY>("Y_CUSTOM", "Logic");
    for (const char* word : {"or", "xor", "nand"}) {
        CXmlNode in;
        const std::string text = std::string("<Cmp custom_type=\"") + word + "\"/>";
        in.ParseText(text, 1);
        custom->Xml(&in, false);
        EXPECT_EQ(custom->mode, word[0] == 'o' ? 1 : word[0] == 'x' ? 2 : 0) << word;
    }
    custom->mode = 2;
    EXPECT_EQ(RoundTrip(custom.get())->mode, 2);

    // The state text names the outputs, the pending times and the clock.
    y->state = 1;
    y->out = 0;
    y->tOut = 1.25e-6;
    y->lastClock = 1;
    const std::string state = y->GetState();
    EXPECT_EQ(state.rfind("s=1,z=0,t=", 0), 0u) << state;
    EXPECT_NE(state.find(",ns="), std::string::npos);
    EXPECT_NE(state.find(",c=1"), std::string::npos);
    std::string ic;
    y->SaveIC(ic, 0, true);
    EXPECT_EQ(ic, "IC=Low");
    EXPECT_EQ(y->ic, 0);
}

TEST(ElemY, TwoOutputsOfOneFlipFlopOnOneNodeFail) {
    auto ff = MakeElem<CElemY>("Y_FF", "Logic", "FF1");
    ElemNet net(2, 0);
    ff->Simulate(&net.calc, PhaseInit, 0.0);
    net.Wire(ff.get(), {1, 1, 2, 2}, 0);
    EXPECT_FALSE(net.Solve());
    EXPECT_EQ(net.calc.m_Error, "Short circuit: Q of FF1, -Q of FF1");
}

}  // namespace
}  // namespace qz3
