// The transistors' own rules: check lines, start states, the junction and
// channel tests of the switching search, and the search of a push-pull
// stage settling in one round at every crossover.
#include "components/elem_t.h"

#include <gtest/gtest.h>

#include <limits>

#include "components/elem_fet.h"
#include "components/elem_fixture.h"

namespace qz3 {
namespace {

using test::ElemNet;
using test::MakeElem;

constexpr double kInf = std::numeric_limits<double>::infinity();

template <class T>
void Spread(T* elem) {
    for (int p = 0; p < elem->pinCount; ++p) elem->nodes[p] = p + 1;
}

TEST(ElemT, CheckLinesByTypeAndModel) {
    const struct {
        const char* type;
        const char* model;
        double b, f1, vbe, vsat;
        const char* lines;
    } rows[] = {
        {"T_TNPN", "Transistor", 100, kInf, 0.7, 0.5, ""},
        {"T_TNPN", "Transistor", kInf, 0, kInf, 0.5, "Q1 : B = infinite\nQ1 : f1 <= 0\nQ1 : Vbe = infinite\n"},
        {"T_TPNP", "Transistor", 0, 1e6, 0.7, 0.8, "Q1 : B <= 0\nQ1 : Vsat > Vbe\n"},
        {"T_TPNP", "Transistor", 10, 1e6, -0.1, kInf, "Q1 : Vbe < 0\nQ1 : Vsat = infinite\n"},
        {"T_TNPN", "Transistor", 10, 1e6, 0.7, -0.1, "Q1 : Vsat < 0\n"},
        {"T_TNPN", "Linear", -1, -1, -1, -1, "Q1 : B <= 0\nQ1 : f1 < 0\n"},
        {"T_TNPN", "Linear", 50, 0, -1, -1, ""},
        {"T_TPNP", "Switch", 0, -1, -0.5, 9, "Q1 : Vbe < 0\n"},
    };
    for (const auto& row : rows) {
        CCalc calc;
        auto q = MakeElem<CElemT>(row.type, row.model, "Q1");
        Spread(q.get());
        q->b.m_Value = row.b;
        q->f1.m_Value = row.f1;
        q->vbe.m_Value = row.vbe;
        q->vsat.m_Value = row.vsat;
        EXPECT_EQ(q->CheckParams(&calc), row.lines[0] == 0) << row.type << " " << row.model;
        EXPECT_EQ(calc.m_Error, row.lines) << row.type << " " << row.model;
    }
}

TEST(ElemT, FetCheckLinesByModel) {
    const struct {
        const char* model;
        double s, vth, rdson, vd, f1;
        const char* lines;
    } rows[] = {
        {"FET", 1, 2, 0.1, -1, -1, ""},
        {"FET", kInf, kInf, kInf, 0, 0, "M1 : S = infinite\nM1 : Vth = infinite\nM1 : Rdson = infinite\n"},
        {"FET-D", -1, -5, -1, -0.1, 0, "M1 : S < 0\nM1 : Rdson < 0\nM1 : Vd < 0\n"},
        {"FET-D", 0, 2, 0, kInf, 0, ""},
        {"Linear", -1, kInf, -1, -1, -1, "M1 : S < 0\nM1 : f1 < 0\n"},
        {"Switch", -1, kInf, -1, -1, -1, "M1 : Vth = infinite\n"},
    };
    for (const auto& row : rows) {
        CCalc calc;
        auto m = MakeElem<CElemFET>("T_NFET", row.model, "M1");
        Spread(m.get());
        m->s.m_Value = row.s;
        m->vth.m_Value = row.vth;
        m->rdson.m_Value = row.rdson;
        m->vd.m_Value = row.vd;
        m->f1.m_Value = row.f1;
        EXPECT_EQ(m->CheckParams(&calc), row.lines[0] == 0) << row.model;
        EXPECT_EQ(calc.m_Error, row.lines) << row.model;
    }
    // Pins of the file all on one node, ground included, are a fault.
    CCalc calc;
    auto m = MakeElem<CElemFET>("T_PFET", "FET", "M1");
    EXPECT_FALSE(m->CheckParams(&calc));
    EXPECT_EQ(calc.m_Error, "M1 : all pins on one node\n");
}

TEST(ElemT, StartStatesComeFromTheInitialConditions) {
    CCalc calc;
    auto sw = MakeElem<CElemT>("T_TNPN", "Switch");
    sw->icSwitch = 1;
    ASSERT_TRUE(sw->Simulate(&calc, PhaseInit, 0.0));
    EXPECT_EQ(sw->state, 1);
    EXPECT_EQ(sw->swOut, 1);
    auto q = MakeElem<CElemT>("T_TPNP", "Transistor");
    q->icBe = q->icBc = 1;
    ASSERT_TRUE(q->Simulate(&calc, PhaseInit, 0.0));
    EXPECT_EQ(q->state, 3);
    q->vsat.m_Value = kInf;  // a junction that can never conduct starts open
    q->lastModel = ModelId::Linear;
    ASSERT_TRUE(q->Simulate(&calc, PhaseInit, 0.0));
    EXPECT_EQ(q->state, 1);
    auto m = MakeElem<CElemFET>("T_NFET", "FET-D");
    m->icFetD.Index = 4;
    ASSERT_TRUE(m->Simulate(&calc, PhaseInit, 0.0));
    EXPECT_EQ(m->state, 4);
    int first = 0, last = 0;
    EXPECT_TRUE(m->SegmentRange(&first, &last));
    EXPECT_EQ(last, 4);
    EXPECT_TRUE(q->SegmentRange(&first, &last));
    EXPECT_EQ(last, 3);
    auto lin = MakeElem<CElemFET>("T_PFET", "Linear");
    EXPECT_FALSE(lin->SegmentRange(&first, &last));
}

// A channel in a given state, its pins at given voltages and its drain
// current given, moves to the state of the model. Gate on node 1, source
// on ground, drain on node 2, the current its branch; S 10 A/V, Vth 2 V,
// Rdson 1 Ohm (0 where asked), Vd 0.7 V. A P-FET sees every sign turned
// round and moves alike.
TEST(ElemT, ChannelStatesFollowTheModel) {
    const struct {
        const char* model;
        double rdson;
        int from;
        double vg, vd, id;
        int to;
    } rows[] = {
        {"FET-D", 1, 0, 1, 5, 0, 0},      // gate off, diode blocked
        {"FET-D", 1, 0, 1, -1, 0, 4},     // gate off, diode forward
        {"FET", 1, 0, 1, -1, 0, 0},       // no diode in "FET"
        {"FET-D", 1, 0, 3, 5, 0, 2},      // gate on: by the drain's side
        {"FET-D", 1, 0, 3, -5, 0, 3},
        {"FET-D", 1, 0, 3, 0, 0, 1},
        {"FET-D", 1, 1, 1, 0.1, 0.1, 0},  // gate off opens the channel
        {"FET-D", 1, 1, 3, 11, 11, 2},    // beyond the knee of 10 V
        {"FET-D", 1, 1, 3, 5, 5, 1},
        {"FET-D", 1, 1, 3, -11, -11, 4},  // the diode takes over before state 3
        {"FET", 1, 1, 3, -11, -11, 3},
        {"FET-D", 1, 2, 3, 5, 10, 1},     // saturated below the knee
        {"FET-D", 1, 2, 3, 15, 10, 2},
        {"FET-D", 1, 3, 3, -5, -10, 4},
        {"FET", 1, 3, 3, -5, -10, 1},
        {"FET-D", 1, 4, 1, -0.7, 0.1, 0},   // diode current turned round
        {"FET-D", 1, 4, 1, -0.7, -0.1, 4},
        {"FET-D", 1, 4, 2.05, -0.7, -0.3, 3},  // knee 0.5 V below Vd: saturation carries 0.5 A
        {"FET-D", 1, 4, 2.05, -0.7, -0.6, 4},
        {"FET-D", 1, 4, 3, -0.7, -0.1, 1},     // the resistance carries more
        {"FET-D", 1, 4, 3, -0.7, -1, 4},
        {"FET", 0, 1, 3, 0, 11, 2},      // no resistance: the current decides
        {"FET", 0, 1, 3, 0, -11, 3},
        {"FET", 0, 1, 3, 0, 5, 1},
    };
    for (const char* type : {"T_NFET", "T_PFET"}) {
        const double sign = type[2] == 'N' ? 1 : -1;
        for (const auto& row : rows) {
            ElemNet net(2, 1);
            auto m = MakeElem<CElemFET>(type, row.model, "M1");
            m->s.SetValue(10);
            m->vth.SetValue(2 * sign);
            m->rdson.SetValue(row.rdson);
            m->vd.SetValue(0.7);
            net.Wire(m.get(), {1, 0, 2}, net.Branch(0));
            m->state = row.from;
            net.calc.VecX[1] = sign * row.vg;
            net.calc.VecX[2] = sign * row.vd;
            net.calc.VecX[net.Branch(0)] = sign * row.id;
            EXPECT_EQ(m->CheckSegment(&net.calc, true), row.to != row.from) << type << " row from " << row.from;
            EXPECT_EQ(m->state, row.to) << type << " " << row.model << " from " << row.from << " vg " << row.vg
                                        << " vd " << row.vd << " id " << row.id;
        }
    }
}

// Each junction of the junction model has its bit; a PNP tests them with
// the voltages turned round.
TEST(ElemT, JunctionBitsMoveByTheirOwnTests) {
    const struct {
        int from;
        double vb, vc, ibe, ibc;
        int to;
    } rows[] = {
        {0, 0.6, 5, 0, 0, 0},   {0, 0.8, 5, 0, 0, 1},     {0, 0.8, 0.2, 0, 0, 3},
        {1, 0.7, 0.1, 1, 0, 3}, {3, 0.7, 0.2, 1, -1, 1}, {1, 0.7, 5, -1, 0, 0},
    };
    for (const char* type : {"T_TNPN", "T_TPNP"}) {
        const double sign = type[3] == 'N' ? 1 : -1;
        for (const auto& row : rows) {
            ElemNet net(2, 3);
            auto q = MakeElem<CElemT>(type, "Transistor", "Q1");
            net.Wire(q.get(), {1, 0, 2}, net.Branch(0));
            q->state = row.from;
            net.calc.VecX[1] = sign * row.vb;
            net.calc.VecX[2] = sign * row.vc;
            net.calc.VecX[net.Branch(0)] = row.ibe;
            net.calc.VecX[net.Branch(2)] = row.ibc;
            q->CheckSegment(&net.calc, true);
            EXPECT_EQ(q->state, row.to) << type << " from " << row.from << " vb " << row.vb << " vc " << row.vc;
        }
    }
}

// Bases joined behind 1 kOhm, emitters on 100 Ohm to ground, collectors on
// +-10 V. At a crossover one round moves the junctions and the next solve
// agrees; a jump across the whole dead zone takes one more, as the
// conducting side lets go before the other one sees its drive.
TEST(ElemT, PushPullSettlesInOneRoundAtEachCrossover) {
    ElemNet net(5, 9);
    auto up = MakeElem<CElemT>("T_TNPN", "Transistor", "Q1");
    auto down = MakeElem<CElemT>("T_TPNP", "Transistor", "Q2");
    net.Wire(up.get(), {2, 3, 4}, net.Branch(3));
    net.Wire(down.get(), {2, 3, 5}, net.Branch(6));
    double vin = 0;
    net.sources = [&](CCalc& c) {
        c.StampVoltage(0, 1, net.Branch(0), vin);
        c.StampVoltage(0, 4, net.Branch(1), 10);
        c.StampVoltage(0, 5, net.Branch(2), -10);
        c.StampResistor(1, 2, 1e3);
        c.StampResistor(3, 0, 100);
    };
    const double follow = 101 * 100.0 / (1e3 + 101 * 100.0);
    const struct {
        double vin;
        int up, down, solves;
    } steps[] = {{0.0, 0, 0, 1},   {0.71, 1, 0, 2}, {3, 1, 0, 1},  {0.69, 0, 0, 2}, {-0.71, 0, 1, 2},
                 {-0.69, 0, 0, 2}, {5, 1, 0, 2},    {-5, 0, 1, 3}, {0.5, 0, 0, 2}};
    for (const auto& s : steps) {
        vin = s.vin;
        EXPECT_EQ(net.SolveStates(), s.solves) << vin << " " << net.calc.m_Error;
        EXPECT_EQ(up->state, s.up) << vin;
        EXPECT_EQ(down->state, s.down) << vin;
        const double want = s.up ? follow * (vin - 0.7) : s.down ? follow * (vin + 0.7) : 0.0;
        EXPECT_NEAR(net.X(3), want, 1e-9) << vin;
    }
}

}  // namespace
}  // namespace qz3
