#include "components/elem_c.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>

#include "components/cmps.h"
#include "components/elem_set.h"
#include "xml/xml_node.h"
#include "solver/calc.h"

namespace qz3 {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::unique_ptr<CElemC> MakeC(const char* type) {
    auto c = std::unique_ptr<CElemC>(static_cast<CElemC*>(CElemSet::Instance().Create(type, nullptr)));
    c->name = "C1";
    return c;
}

// A solver of node 1, node 2 and branches 3, 4, with the capacitor on 1 and 2.
struct Bench {
    CCalc calc;
    std::unique_ptr<CElemC> c;
    explicit Bench(const char* type = "C_C") : c(MakeC(type)) {
        calc.SetSizes(2, c->pinCount == 4 ? 3 : 2, 0);
        EXPECT_TRUE(calc.AllocArrays());
        calc.ClearMatrices();
        c->nodes[0] = 1;
        c->nodes[1] = 2;
        if (c->pinCount == 4) {
            c->nodes[2] = 0;
            c->nodes[3] = 1;
        }
        c->AssignBranches(&calc, 3);
    }
    bool Stamp(int integrating) {
        calc.m_Integrating = integrating;
        calc.m_StampPass = 0;
        return c->Simulate(&calc, PhaseStamp, 0.0);
    }
    double G(int i, int j) const { return calc.MatrixG[i][j]; }
    double C(int i, int j) const { return calc.MatrixC[i][j]; }
};

TEST(ElemC, TypesModelsPinsAndBranches) {
    const struct {
        const char* type;
        const char* model;
        int branches;
        int pinKind2;
    } rows[] = {
        {"C_C", "C", 1, 0},
        {"C_C", "PWL", 1, 0},
        {"C_C", "SubCir", 0, 0},
        {"C_VCC", "PWL", 1, 2},
        {"C_CCC", "PWL", 2, 1},
    };
    for (const auto& row : rows) {
        auto c = MakeC(row.type);
        c->model = c->FindModel(row.model, false)->model;
        CCalc calc;
        EXPECT_EQ(c->AssignBranches(&calc, 5), row.branches) << row.type << row.model;
        EXPECT_EQ(c->PinKind(0), 5);
        EXPECT_EQ(c->PinKind(1), 5);
        if (c->pinCount == 4) EXPECT_EQ(c->PinKind(2), row.pinKind2) << row.type;
    }
    auto c = MakeC("C_C");
    EXPECT_EQ(c->model, ModelId::C);
    EXPECT_EQ(c->c.m_Value, 1.0);
    EXPECT_TRUE(std::isnan(c->ic.m_Value));
    EXPECT_TRUE(std::isnan(c->v));
    CParam* table = c->ParamTable();
    ASSERT_NE(table, nullptr);
    EXPECT_STREQ(table[0].Name, "C");
    EXPECT_STREQ(table[1].Name, "IC");
}

TEST(ElemC, ReadsAndWritesItsKeys) {
    CCmps list(nullptr);
    CXmlNode file;
    file.ParseText(R"x(<Cmps><Cmp type="C_C" name="C7" model="C" c="2.2e-6" ic="1.5" node0="3" node1="0" /></Cmps>)x", 1);
    ASSERT_TRUE(list.Load(&file));
    auto* c = static_cast<CElemC*>(list.Find("C7"));
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->c.m_Value, 2.2e-6);
    EXPECT_EQ(c->ic.m_Value, 1.5);
    CCalc calc;
    EXPECT_TRUE(c->CheckParams(&calc));
    c->c.m_Error = true;
    EXPECT_FALSE(c->CheckParams(&calc));
    EXPECT_EQ(calc.m_Error, "C7 : C : formula error\n");
}

TEST(ElemC, DcEquationsOpenWithoutIcAndSourceWithIt) {
    Bench open;
    ASSERT_TRUE(open.Stamp(0));
    EXPECT_EQ(open.G(1, 3), 1);
    EXPECT_EQ(open.G(2, 3), -1);
    EXPECT_EQ(open.G(3, 3), 1);
    EXPECT_EQ(open.G(3, 1), 0);

    Bench source;
    source.c->c.m_Value = 4.0;
    source.c->v = 1.5;
    ASSERT_TRUE(source.Stamp(0));
    EXPECT_EQ(source.G(3, 1), -1);
    EXPECT_EQ(source.G(3, 2), 1);
    EXPECT_EQ(source.calc.VecB[3], -1.5);
    EXPECT_EQ(source.C(3, 3), -0.25);

    // C = 0 holds its voltage with no MatrixC entry.
    Bench fixed;
    fixed.c->c.m_Value = 0.0;
    fixed.c->v = 2.0;
    ASSERT_TRUE(fixed.Stamp(0));
    EXPECT_EQ(fixed.C(3, 3), 0);
    EXPECT_EQ(fixed.calc.VecB[3], -2.0);

    // Both pins on one node with IC 0: nothing but the branch.
    Bench shorted;
    shorted.c->nodes[1] = 1;
    shorted.c->v = 0.0;
    ASSERT_TRUE(shorted.Stamp(0));
    EXPECT_EQ(shorted.G(1, 3), 0);
    EXPECT_EQ(shorted.G(3, 1), 0);
}

TEST(ElemC, DynamicEquationsCarryTheCapacitance) {
    Bench b;
    b.c->c.m_Value = 3e-6;
    b.c->v = 1.0;
    ASSERT_TRUE(b.Stamp(1));
    EXPECT_EQ(b.G(1, 3), 1);
    EXPECT_EQ(b.G(2, 3), -1);
    EXPECT_EQ(b.G(3, 3), 1);
    EXPECT_EQ(b.C(3, 1), 3e-6);
    EXPECT_EQ(b.C(3, 2), -3e-6);

    Bench ac;
    ac.calc.m_Transient = false;
    ac.calc.m_Omega = 10.0;
    ac.c->c.m_Value = 3e-6;
    ASSERT_TRUE(ac.Stamp(1));
    EXPECT_DOUBLE_EQ(ac.C(3, 1), 3e-5);

    Bench infinite;
    infinite.c->c.m_Value = std::numeric_limits<double>::infinity();
    infinite.c->v = 0.5;
    ASSERT_TRUE(infinite.Stamp(1));
    EXPECT_EQ(infinite.calc.VecB[3], -0.5);
    EXPECT_EQ(infinite.C(3, 1), 0);
}

TEST(ElemC, CheckIcAddsAndRemoves) {
    Bench b;
    b.c->v = kNaN;
    EXPECT_TRUE(b.c->Simulate(&b.calc, PhaseCheckIC, 0.0));
    b.calc.NodeBad[2] = 1;
    EXPECT_FALSE(b.c->Simulate(&b.calc, PhaseCheckIC, 0.0));
    EXPECT_EQ(b.calc.m_Error, "C1 : IC added");
    EXPECT_EQ(b.c->v, 0.0);

    b.calc.NodeBad[2] = 0;
    b.c->v = 2.0;
    EXPECT_TRUE(b.c->Simulate(&b.calc, PhaseCheckIC, 0.0));
    b.calc.NodeBad[3] = 255;
    EXPECT_FALSE(b.c->Simulate(&b.calc, PhaseCheckIC, 0.0));
    EXPECT_EQ(b.calc.m_Error, "C1 : IC removed");
    EXPECT_TRUE(std::isnan(b.c->v));
}

TEST(ElemC, InitStoreStateAndSaveIc) {
    Bench b;
    b.c->ic.m_Value = 0.75;
    ASSERT_TRUE(b.c->Simulate(&b.calc, PhaseInit, 0.0));
    EXPECT_EQ(b.c->v, 0.75);
    // A later run of the same model keeps what the run stored.
    b.calc.VecX[1] = 1.0;
    b.calc.VecX[2] = 1.25;
    ASSERT_TRUE(b.c->Simulate(&b.calc, PhaseStore, 0.0));
    EXPECT_EQ(b.c->v, 0.25);
    b.c->lastModel = b.c->model;
    ASSERT_TRUE(b.c->Simulate(&b.calc, PhaseInit, 0.0));
    EXPECT_EQ(b.c->v, 0.25);

    std::string out;
    EXPECT_EQ(b.c->SaveIC(out, 0, false), "IC=250e-3");
    EXPECT_EQ(b.c->ic.m_Value, 0.75);
    b.c->SaveIC(out, 0, true);
    EXPECT_EQ(b.c->ic.m_Value, 0.25);
    EXPECT_EQ(b.c->SaveIC(out, 1, true), "");
}

TEST(ElemC, TransformsScaleAndClear) {
    auto c = MakeC("C_C");
    c->c.m_Value = 8.0;
    c->Transform({4, 1, 2.0});
    EXPECT_EQ(c->c.m_Value, 4.0);
    c->Transform({4, 3, 2.0});
    EXPECT_EQ(c->c.m_Value, 1.0);
    c->Transform({5, 0, 4.0});
    EXPECT_EQ(c->c.m_Value, 0.25);
    c->Transform({1, 1, 0.0});
    EXPECT_EQ(c->ic.m_Value, 0.0);
    c->Transform({1, 0, 0.0});
    EXPECT_TRUE(std::isnan(c->ic.m_Value));
    c->v = 3.0;
    auto* memory = static_cast<double*>(c->ICMemory(1));
    EXPECT_EQ(memory[1], 3.0);
}

TEST(ElemC, ControlledCapacitorKeepsItsChargeAcrossSegments) {
    Bench b("C_VCC");
    std::string error;
    b.c->pwl.m_Text = "1e-6, 2, 2e-6";  // 1 uF below 2 V of control, 2 uF above
    b.c->model = ModelId::Pwl;
    ASSERT_TRUE(b.c->pwl.Prepare(error)) << error;
    b.c->state = 0;
    const int before = b.c->state;
    b.calc.VecX[1] = 0.0;
    b.calc.VecX[2] = 3.0;  // v = 3 V
    const double oldSlope = b.c->pwl.Slope(before);
    b.calc.VecX[1] = 5.0;  // the control voltage x[1] - x[0] moves far up
    b.calc.VecX[2] = 8.0;
    bool changed = false;
    ASSERT_TRUE(b.c->CheckState(&b.calc, false, &changed));
    EXPECT_TRUE(changed);
    EXPECT_EQ(b.c->state, before);
    ASSERT_TRUE(b.c->CheckState(&b.calc, true, &changed));
    EXPECT_TRUE(changed);
    EXPECT_TRUE(b.calc.m_JumpRequest);
    EXPECT_EQ(b.c->state, 1);
    EXPECT_DOUBLE_EQ(b.c->v, 1.5);  // Q = 3 uC at 1 uF is 1.5 V at 2 uF
    EXPECT_DOUBLE_EQ(b.c->v * b.c->pwl.Slope(b.c->state), 3.0 * oldSlope);
}

}  // namespace
}  // namespace qz3
