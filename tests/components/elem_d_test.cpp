#include "components/elem_d.h"

#include <gtest/gtest.h>

#include <limits>

#include "components/diode_check.h"
#include "components/elem_fixture.h"

namespace qz3 {
namespace {

using test::ElemNet;
using test::MakeElem;
using test::RoundTrip;

constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(ElemD, CheckLinesByTypeAndModel) {
    const struct {
        const char* type;
        const char* model;
        double vd, v, ihold, threshold, t, icq, ts;
        const char* lines;
    } rows[] = {
        {"D_D", "Diode", 0.7, 8, 1, 5, 0, 0, 0, ""},
        {"D_D", "Diode", kInf, 8, 1, 5, 0, 0, 0, ""},
        {"D_D", "Diode", -0.1, 8, 1, 5, 0, 0, 0, "D1 : Vd < 0\n"},
        {"D_Z", "Zener", -1, -5, 1, 5, 0, 0, 0, "D1 : Vd < 0\nD1 : V < 0\n"},
        {"D_ZS", "Zener", -1, 5, 1, 5, 0, 0, 0, ""},
        {"D_VCT", "Thyristor", 1, 8, -1, kInf, 0, 0, 0, "D1 : Ihold < 0\nD1 : Threshold = infinite\n"},
        {"D_LCT", "Thyristor", 1, 8, 1, kInf, 0, 0, 0, ""},
        {"D_D", "Storage", 0, 8, 1, 5, kInf, -1, 0, "D1 : t = infinite\nD1 : ICQ < 0\n"},
        {"D_D", "Soft", -1, 8, 1, 5, 1e-6, 0, -1, "D1 : tsr < 0\n"},
        {"D_D", "Soft", 0, 8, 1, 5, -1, kInf, kInf, "D1 : t < 0\nD1 : ICQ = infinite\nD1 : tsr = infinite\n"},
        {"D_D", "PWL", -1, 8, 1, 5, 0, 0, 0, ""},
    };
    for (const auto& row : rows) {
        CCalc calc;
        auto d = MakeElem<CElemD>(row.type, row.model, "D1");
        d->vd.m_Value = row.vd;
        d->v.m_Value = row.v;
        d->ihold.m_Value = row.ihold;
        d->threshold.m_Value = row.threshold;
        d->t.m_Value = row.t;
        d->icq.m_Value = row.icq;
        d->ts.m_Value = row.ts;
        EXPECT_EQ(d->CheckParams(&calc), row.lines[0] == 0) << row.type << " " << row.model;
        EXPECT_EQ(calc.m_Error, row.lines) << row.type << " " << row.model;
    }
}

TEST(ElemD, StartStates) {
    const struct {
        const char* type;
        const char* model;
        int ic, icZ;
        double vd, v;
        int state, stage;
    } rows[] = {
        {"D_D", "Diode", 1, 1, 0.7, 8, 1, 0},  {"D_D", "Diode", 1, 1, kInf, 8, 0, 0},
        {"D_Z", "Zener", 0, 2, kInf, 8, 0, 0},  {"D_Z", "Zener", 0, 0, kInf, 8, -1, 0},
        {"D_Z", "Zener", 0, 0, 0, kInf, 0, 0},  {"D_ZS", "Zener", 0, 2, kInf, 8, 1, 0},
        {"D_VCT", "Thyristor", 1, 1, 1, 8, 1, 2}, {"D_LCT", "Thyristor", 0, 1, 1, 8, 0, 0},
    };
    for (const auto& row : rows) {
        CCalc calc;
        auto d = MakeElem<CElemD>(row.type, row.model);
        d->ic = row.ic;
        d->icZ.Index = row.icZ;
        d->vd.m_Value = row.vd;
        d->v.m_Value = row.v;
        ASSERT_TRUE(d->Simulate(&calc, PhaseInit, 0.0));
        EXPECT_EQ(d->state, row.state) << row.type << " " << row.icZ;
        EXPECT_EQ(d->stage, row.stage) << row.type;
    }
    CCalc calc;
    auto storage = MakeElem<CElemD>("D_D", "Storage");
    storage->ic = 1;
    storage->t.m_Value = 1e-6;
    storage->icq.m_Value = 2e-9;
    storage->Simulate(&calc, PhaseInit, 0.0);
    EXPECT_EQ(storage->q, 2e-9);
}

// 10 V through 1 kOhm into a diode of 0.7 V and a 1 kOhm load: the search
// closes the diode, and the load sees 9.3 V over 2 kOhm in all.
TEST(ElemD, RectifierOperatingPoint) {
    for (double source : {10.0, -10.0}) {
        ElemNet net(2, 2);
        auto d = MakeElem<CElemD>("D_D", "Diode");
        d->vd.SetValue(0.7);
        net.Wire(d.get(), {2, 1}, net.Branch(1));  // conducts from node 1 to node 2
        net.sources = [&](CCalc& c) {
            c.StampVoltage(0, 1, net.Branch(0), source);
            c.StampResistor(2, 0, 1000.0);
        };
        ASSERT_GT(net.SolveStates(), 0) << net.calc.m_Error;
        EXPECT_NEAR(net.X(2), source > 0 ? 9.3 : 0.0, 1e-9);
        EXPECT_EQ(d->state, source > 0 ? 1 : 0);
    }
}

TEST(ElemD, ZenerClampsInReverse) {
    ElemNet net(2, 2);
    auto z = MakeElem<CElemD>("D_Z", "Zener");
    z->v.SetValue(5.0);
    net.Wire(z.get(), {2, 0}, net.Branch(1));
    net.sources = [&](CCalc& c) {
        c.StampVoltage(0, 1, net.Branch(0), 10.0);
        c.StampResistor(1, 2, 1000.0);
    };
    ASSERT_GT(net.SolveStates(), 0);
    EXPECT_EQ(z->state, -1);
    EXPECT_NEAR(net.X(2), 5.0, 1e-9);
    int first = 0, last = 0;
    EXPECT_TRUE(z->SegmentRange(&first, &last));
    EXPECT_EQ(first, -1);
    EXPECT_EQ(last, 1);
}

// Either polarity on the inputs c, d gives the same output b - a, two drops
// below the input.
TEST(ElemD, BridgeRectifiesBothPolarities) {
    for (double source : {10.0, -10.0}) {
        ElemNet net(4, 5);
        auto br = MakeElem<CElemD>("D_BR", "Diode");
        br->vd.SetValue(0.7);
        net.Wire(br.get(), {1, 2, 3, 4}, net.Branch(1));
        net.sources = [&](CCalc& c) {
            c.StampVoltage(4, 3, net.Branch(0), source);
            c.StampResistor(4, 0, 1e6);  // the input floats otherwise
            c.StampResistor(1, 2, 100.0);
        };
        ASSERT_GT(net.SolveStates(), 0) << net.calc.m_Error;
        EXPECT_NEAR(net.X(2) - net.X(1), 8.6, 1e-6) << source;
        EXPECT_EQ(br->state, source > 0 ? 0b0110 : 0b1001);  // c to b and a to d when c is high
        double power = 0, unused = 0;
        br->GetTraceValue(&net.calc, 2, &power, &unused);
        EXPECT_NEAR(power, 2 * 0.7 * 0.086, 1e-6);
        int a, b, branch;
        double r;
        EXPECT_FALSE(br->GetTraceNodes(&net.calc, 0, &a, &b, &branch, &r));
    }
}

TEST(ElemD, DiodeCheckTable) {
    const struct {
        int state;
        double xa, xb, xk, vOn, vRev;
        bool hasRev;
        bool moves;
        int to;
    } rows[] = {
        {0, 0, 0.8, 0, 0.7, 0, false, true, 1},   {0, 0, 0.6, 0, 0.7, 0, false, false, 0},
        {0, 0, 0.7, 0, 0.7, 0, false, false, 0},  {1, 0, 0, -1e-3, 0.7, 0, false, true, 0},
        {1, 0, 0, 1e-3, 0.7, 0, false, false, 1}, {0, 0, -6, 0, 0.7, -5, true, true, -1},
        {0, 0, -6, 0, 0.7, -kInf, true, false, 0}, {-1, 0, 0, 1e-3, 0, -5, true, true, 0},
        {0, 0, 1, 0, kInf, 0, false, true, 1},
    };
    for (const auto& row : rows) {
        ElemNet net(2, 1);
        net.calc.VecX[1] = row.xa;
        net.calc.VecX[2] = row.xb;
        net.calc.VecX[3] = row.xk;
        int state = row.state;
        EXPECT_EQ(CheckDiode(&net.calc, false, &state, 1, 2, 3, row.vOn, row.vRev, row.hasRev), row.moves);
        EXPECT_EQ(state, row.state);  // without commit nothing moves
        CheckDiode(&net.calc, true, &state, 1, 2, 3, row.vOn, row.vRev, row.hasRev);
        EXPECT_EQ(state, row.to) << row.state << " " << row.xb << " " << row.xk;
    }
    ElemNet net(2, 1);
    int state = 1;
    net.calc.NodeBad[3] = 1;  // an undetermined current opens the junction
    EXPECT_TRUE(CheckDiode(&net.calc, true, &state, 1, 2, 3, 0.7, 0, false));
    EXPECT_EQ(state, 0);
    net.calc.NodeBad[2] = 1;  // and a junction to an unsettled node closes
    EXPECT_TRUE(CheckDiode(&net.calc, true, &state, 1, 2, 3, 0.7, 0, false));
    EXPECT_EQ(state, 1);
}

TEST(ElemD, ThyristorGateAndHold) {
    ElemNet net(4, 1);
    auto th = MakeElem<CElemD>("D_VCT", "Thyristor");
    th->threshold.SetValue(1.0);
    th->ihold.SetValue(0.1);
    net.Wire(th.get(), {1, 2, 3, 4}, net.Branch(0));
    th->Simulate(&net.calc, PhaseInit, 0.0);
    int first = 0, last = 0;
    EXPECT_FALSE(th->SegmentRange(&first, &last));  // blocked: not searched
    EXPECT_FALSE(th->CheckSegment(&net.calc, true));
    bool changed = false;
    net.calc.VecX[4] = 2.0;  // gate above its threshold
    th->CheckState(&net.calc, true, &changed);
    EXPECT_TRUE(changed);
    EXPECT_EQ(th->stage, 1);
    net.calc.VecX[2] = 5.0;
    EXPECT_TRUE(th->CheckSegment(&net.calc, true));
    EXPECT_EQ(th->state, 1);
    // The gate ends while the current is above Ihold: latched.
    net.calc.VecX[4] = 0.0;
    net.calc.VecX[net.Branch(0)] = 0.5;
    changed = false;
    th->CheckState(&net.calc, true, &changed);
    EXPECT_EQ(th->stage, 2);
    EXPECT_FALSE(th->CheckSegment(&net.calc, true));
    net.calc.VecX[net.Branch(0)] = 0.1;  // falls to Ihold: stops
    EXPECT_TRUE(th->CheckSegment(&net.calc, true));
    EXPECT_EQ(th->stage, 0);
}

TEST(ElemD, OpenDiodeLeaksIntoAnEmptyRow) {
    ElemNet net(2, 2);
    auto d = MakeElem<CElemD>("D_D", "Diode");
    net.Wire(d.get(), {2, 1}, net.Branch(1));
    net.calc.ClearMatrices();
    net.calc.StampVoltage(0, 1, net.Branch(0), 1.0);
    d->Simulate(&net.calc, PhaseStamp, 0.0);
    net.calc.FillFlags();
    EXPECT_FALSE(d->Simulate(&net.calc, PhaseFloat, 0.0));
    EXPECT_DOUBLE_EQ(net.calc.MatrixG[2][2], -net.calc.m_Zero * 10);
    d->state = 1;
    EXPECT_TRUE(d->Simulate(&net.calc, PhaseFloat, 0.0));
}

TEST(ElemD, FileKeysAndSavedIC) {
    auto z = MakeElem<CElemD>("D_Z", "Zener");
    z->icZ.Index = 2;
    z->v.SetValue(3.3);
    auto zc = RoundTrip(z.get());
    EXPECT_EQ(zc->icZ.Index, 2);
    EXPECT_DOUBLE_EQ(zc->v.m_Value, 3.3);
    EXPECT_EQ(zc->BindParams()[0].GetText(), "Plus");

    auto d = MakeElem<CElemD>("D_D", "Soft");
    d->ic = 1;
    d->t.SetValue(1e-6);
    d->ts.SetValue(2e-7);
    d->icq.SetValue(-1.0);
    auto dc = RoundTrip(d.get());
    EXPECT_EQ(dc->ic, 1);
    EXPECT_DOUBLE_EQ(dc->ts.m_Value, 2e-7);
    EXPECT_EQ(dc->icq.m_Value, 0.0);  // a negative charge is read as none

    std::string out;
    z->state = -1;
    EXPECT_EQ(z->SaveIC(out, 0, true), "IC=Minus");
    EXPECT_EQ(z->icZ.Index, 0);
    d->state = 1;
    d->q = 5e-9;
    EXPECT_EQ(d->SaveIC(out, 0, false), "IC=On,ICQ=5e-9");
    auto bridge = MakeElem<CElemD>("D_BR", "Diode");
    EXPECT_EQ(bridge->SaveIC(out, 0, true), "");
}

}  // namespace
}  // namespace qz3
