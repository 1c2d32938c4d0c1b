// The sources: model tables, parameter checks, file keys, stamps, the value
// of each time point, the logic control and the state text.
#include "components/elem_v.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "components/elem_set.h"
#include "xml/xml_node.h"
#include "expr/number_text.h"
#include "expr/state_text.h"
#include "solver/calc.h"

namespace qz3 {
namespace {

std::unique_ptr<CElemV> MakeV(const char* type, const char* model = nullptr, const char* name = "V1") {
    auto v = std::unique_ptr<CElemV>(static_cast<CElemV*>(CElemSet::Instance().Create(type, nullptr)));
    v->name = name;
    if (model) v->model = v->FindModel(model, false)->model;
    return v;
}

// A solver with room for `nodes` nodes and `branches` branches.
struct Net {
    CCalc calc;
    explicit Net(int nodes = 2, int branches = 2) {
        calc.SetSizes(nodes, branches, 0);
        EXPECT_TRUE(calc.AllocArrays());
        calc.ClearMatrices();
    }
    int Branch(int i) const { return calc.m_NodeCount + 1 + i; }
};

// The source between nodes a and b, with its branch k, run through PhaseInit.
void Place(CElemV& v, Net& net, int a, int b, int control = 0) {
    v.nodes[0] = a;
    v.nodes[1] = b;
    if (v.pinCount > 2) v.nodes[2] = control;
    v.AssignBranches(&net.calc, net.Branch(0));
}

std::string ParamNames(CCmp& cmp) {
    std::string names;
    for (CParam* row = cmp.BindParams(); row && row->Kind != kParamEnd; ++row)
        names += std::string(row->Name) + (row->Unit && *row->Unit ? std::string("[") + row->Unit + "]" : "") + " ";
    return names;
}

TEST(ElemV, ModelTablesOfTheFourTypes) {
    const char* waves = "Step Single Pulse Clock Sin Sweep Function List File Trace SubCir ";
    const struct {
        const char* type;
        std::string models;
        int pins;
    } types[] = {
        {"V_V", std::string("V ") + waves, 2},
        {"V_CV", std::string("V One-shot ") + waves, 3},
        {"I_I", std::string("I ") + waves, 2},
        {"I_CI", std::string("I One-shot ") + waves, 3},
    };
    for (const auto& row : types) {
        auto v = MakeV(row.type);
        std::string names;
        for (const CModelInfo* m = v->typeInfo->models; m->name; ++m) {
            names += std::string(m->name) + " ";
            EXPECT_EQ(m->branches, m->model == ModelId::SubCir ? 0 : 1) << m->name;
        }
        EXPECT_EQ(names, row.models);
        EXPECT_EQ(v->pinCount, row.pins);
        EXPECT_EQ(v->model, ModelId::Source);  // row 0 is the default
        EXPECT_EQ(v->value.m_Value, 10.0);
    }
    const struct {
        const char* type;
        const char* model;
        const char* params;
    } rows[] = {
        {"V_V", "V", "V[V] "},
        {"I_I", "I", "I[A] "},
        {"V_CV", "One-shot", "V1[V] V0[V] Width[s] "},
        {"I_CI", "One-shot", "I1[A] I0[A] Width[s] "},
        {"V_V", "Step", "V1[V] V0[V] Slope Rise[s] Delay[s] "},
        {"V_V", "Single", "V1[V] V0[V] Width[s] Slope Rise[s] Fall[s] Delay[s] "},
        {"I_I", "Pulse", "I1[A] I0[A] Period[s] Width[s] Slope Rise[s] Fall[s] Delay[s] "},
        {"V_V", "Clock", "V1[V] V0[V] Period[s] Step[s] Delay[s] "},
        {"V_V", "Sin", "V1[V] V0[V] Period[s] Phase[deg] Decay[1/s] Delay[s] "},
        {"V_V", "Sweep", "V1[V] V0[V] Width[s] F0[Hz] F1[Hz] Type Delay[s] "},
        {"V_V", "Function", "f "},
        {"V_V", "List", "List Delay[s] Cycle "},
        {"V_V", "File", "Cycle Delay[s] File "},
        {"I_CI", "Trace", "Delay[s] Trace Cycle "},
        {"V_V", "SubCir", ""},
    };
    for (const auto& row : rows) {
        auto v = MakeV(row.type, row.model);
        EXPECT_EQ(ParamNames(*v), row.params) << row.type << " " << row.model;
    }
}

TEST(ElemV, ParameterRowsReachTheSignal) {
    auto v = MakeV("V_V", "Pulse");
    std::string error;
    bool ok = false;
    v->FindParam("Slope")->SetText(error, "cos", nullptr, &ok, nullptr);
    EXPECT_TRUE(ok) << error;
    EXPECT_EQ(v->signal.m_SlopeChoice.Index, ssCos);
    v->FindParam("Period")->SetText(error, "2m", nullptr, &ok, nullptr);
    EXPECT_DOUBLE_EQ(v->signal.m_Period.m_Value, 2e-3);
    v->signal.SyncNumbers();
    EXPECT_EQ(v->signal.m_Slope, ssCos);

    auto list = MakeV("I_I", "List");
    list->FindParam("Cycle")->SetText(error, "Yes", nullptr, &ok, nullptr);
    EXPECT_EQ(list->signal.m_Cycle, 1);
    list->FindParam("List")->SetText(error, "0 1 2 3", nullptr, &ok, nullptr);
    EXPECT_EQ(list->signal.m_List, "0 1 2 3");
    EXPECT_EQ(list->FindParam("Cycle")->GetText(), "Yes");

    auto sweep = MakeV("V_V", "Sweep");
    sweep->FindParam("Type")->SetText(error, "Exp", nullptr, &ok, nullptr);
    EXPECT_EQ(sweep->signal.m_SweepChoice.Index, swExp);
}

TEST(ElemV, CheckLinesAreExact) {
    struct Row {
        const char* type;
        const char* model;
        void (*setup)(CElemV&);
        const char* lines;
    };
    const Row rows[] = {
        {"V_V", "V", [](CElemV&) {}, ""},
        {"V_V", "V", [](CElemV& v) { v.value.m_Error = true; }, "V1 : V : formula error\n"},
        {"V_V", "V", [](CElemV& v) { v.value.m_Value = -INFINITY; }, "V1 : V = infinite\n"},
        {"I_I", "I", [](CElemV& v) { v.value.m_Value = INFINITY; }, "V1 : I = infinite\n"},
        {"V_CV", "One-shot",
         [](CElemV& v) {
             v.signal.m_U1.m_Error = true;
             v.signal.m_U0.m_Value = INFINITY;
             v.signal.m_Width.m_Value = -1e-3;
         },
         "V1 : V0 = infinite\nV1 : V1 : formula error\nV1 : Width < 0\n"},
        {"I_CI", "One-shot",
         [](CElemV& v) {
             v.signal.m_U0.m_Error = true;
             v.signal.m_Width.m_Value = INFINITY;
         },
         "V1 : I0 : formula error\nV1 : Width = infinite\n"},
        {"V_CV", "One-shot", [](CElemV& v) { v.signal.m_Width.m_Error = true; }, "V1 : Width : formula error\n"},
        {"V_V", "Pulse",
         [](CElemV& v) {
             v.signal.m_Period.m_Value = 0.0;
             v.signal.m_Width.m_Value = 2.0;
         },
         "V1 : Period <= 0\n"},
        {"I_I", "Sin", [](CElemV& v) { v.signal.m_U1.m_Value = INFINITY; }, "V1 : I1 : infinite\n"},
        {"V_V", "Clock", [](CElemV& v) { v.signal.m_ClockStep.m_Value = -1; }, "V1 : Step < 0\n"},
        {"V_V", "List", [](CElemV& v) { v.signal.m_Delay.m_Error = true; }, "V1 : Delay : formula error\n"},
        // "Function" and the constant's value of another model are not looked at.
        {"V_V", "Function", [](CElemV& v) { v.value.m_Error = true; }, ""},
        {"V_V", "Step", [](CElemV& v) { v.value.m_Value = INFINITY; }, ""},
    };
    for (const Row& row : rows) {
        CCalc calc;
        auto v = MakeV(row.type, row.model);
        row.setup(*v);
        EXPECT_EQ(v->CheckParams(&calc), std::string(row.lines).empty()) << row.lines;
        EXPECT_EQ(calc.m_Error, row.lines) << row.type << " " << row.model;
    }
}

TEST(ElemV, FileKeysOfEveryModelSurviveARoundTrip) {
    // Every key of the signal set away from its default, as a file holds them.
    const std::vector<std::pair<const char*, const char*>> keys = {
        {"u0", "-1"}, {"u1", "5"}, {"p", "2e-3"}, {"w", "1e-3"}, {"cw", "1e-6"}, {"s", "2"}, {"r", "10e-6"},
        {"f", "20e-6"}, {"d", "2e-3"}, {"d_str", "%3dT0*2"}, {"ph", "90"}, {"dec", "3"}, {"function", "sin(t)"}, {"file", "tab.txt"},
        {"list", "0+1+1+2"}, {"trace", "V(R1)"}, {"c", "true"}, {"type", "1"}, {"f0", "50"}, {"f1", "5e+3"},
    };
    auto v0 = MakeV("V_CV");
    for (const CModelInfo* m = v0->typeInfo->models; m->name; ++m) {
        CXmlNode in("Cmp");
        in.m_bWrite = false;
        in.AddRaw("type", "V_CV");
        in.AddRaw("name", "V7");
        in.AddRaw("model", m->name);
        in.AddRaw("v", "3.3");
        CXmlNode* sig = in.AddChild("Signal");
        for (const auto& [key, text] : keys) sig->AddRaw(key, text);

        auto v = MakeV("V_CV");
        v->Xml(&in, false);
        EXPECT_EQ(v->model, m->model);
        EXPECT_EQ(v->value.m_Value, 3.3);
        const bool readsSignal = m->model != ModelId::Source;
        EXPECT_EQ(v->signal.m_U1.m_Value, readsSignal ? 5.0 : 10.0) << m->name;
        EXPECT_EQ(v->signal.m_Cycle, readsSignal ? 1 : 0) << m->name;
        EXPECT_EQ(v->signal.m_Delay.m_Text, readsSignal ? "=T0*2" : "") << m->name;
        EXPECT_EQ(v->signal.m_Function, readsSignal ? "sin(t)" : "10") << m->name;
        EXPECT_EQ(v->signal.m_List, readsSignal ? "0 1 1 2" : "0,0") << m->name;

        CXmlNode out("Cmp");
        v->Xml(&out, false);
        EXPECT_EQ(out.GetRaw("model", ""), m->name);
        EXPECT_EQ(out.GetRaw("v", ""), "3.3");
        CXmlNode* written = out.FindChild("Signal");
        ASSERT_EQ(written != nullptr, readsSignal) << m->name;
        if (!written) continue;
        for (const auto& [key, text] : keys) EXPECT_EQ(written->GetRaw(key, "?"), text) << m->name << " " << key;
    }
}

TEST(ElemV, StampsOfConstantSources) {
    Net net(2, 2);
    double** G = net.calc.MatrixG;
    auto v = MakeV("V_V");
    v->value.m_Value = 5.0;
    Place(*v, net, 1, 2);
    const int k = v->firstBranch;
    ASSERT_TRUE(v->Simulate(&net.calc, PhaseStamp, 0.0)) << net.calc.m_Error;
    EXPECT_EQ(G[1][k], -1.0);
    EXPECT_EQ(G[2][k], 1.0);
    EXPECT_EQ(G[k][1], -1.0);
    EXPECT_EQ(G[k][2], 1.0);
    EXPECT_EQ(net.calc.VecB[k], -5.0);
    EXPECT_EQ(net.calc.RowInput[k], 0);  // a constant needs no input row
    EXPECT_EQ(net.calc.NodeLink[2].kind, 2);
    EXPECT_EQ(net.calc.NodeLink[2].value, 5.0);
    EXPECT_EQ(net.calc.NodeDriver[1].cmp, nullptr);  // no pin on ground: nothing claimed

    // A current source on one node: only its branch holds the value.
    net.calc.ClearMatrices();
    auto i = MakeV("I_I");
    i->value.m_Value = 2.0;
    Place(*i, net, 1, 1);
    const int j = i->firstBranch;
    ASSERT_TRUE(i->Simulate(&net.calc, PhaseStamp, 0.0));
    EXPECT_EQ(G[1][j], 0.0);
    EXPECT_EQ(G[j][j], 1.0);
    EXPECT_EQ(net.calc.VecB[j], -2.0);
    EXPECT_EQ(net.calc.NodeLink[j].kind, 2);

    // Two grounded voltage sources on one node are a short circuit.
    net.calc.ClearMatrices();
    auto v1 = MakeV("V_V", "V", "V1"), v2 = MakeV("V_V", "V", "V2");
    Place(*v1, net, 0, 1);
    Place(*v2, net, 1, 0);
    ASSERT_TRUE(v1->Simulate(&net.calc, PhaseStamp, 0.0));
    EXPECT_EQ(net.calc.NodeDriver[1].cmp, v1.get());
    EXPECT_FALSE(v2->Simulate(&net.calc, PhaseStamp, 0.0));
    EXPECT_EQ(net.calc.m_Error.rfind("Short circuit: ", 0), 0u) << net.calc.m_Error;

    // Both pins on ground with a value: the stamp refuses it.
    net.calc.ClearMatrices();
    net.calc.ClearError();
    auto shorted = MakeV("V_V");
    Place(*shorted, net, 0, 0);
    EXPECT_FALSE(shorted->Simulate(&net.calc, PhaseStamp, 0.0));
    EXPECT_NE(net.calc.m_Error.find("Short circuit"), std::string::npos);
    shorted->value.m_Value = 0.0;
    net.calc.ClearError();
    EXPECT_TRUE(shorted->Simulate(&net.calc, PhaseStamp, 0.0));
}

TEST(ElemV, TimeModelsAndTheHostWriteTheirValueAtEachPoint) {
    Net net(2, 2);
    auto v = MakeV("V_V", "Sin");
    v->signal.m_U0.m_Value = 1.0;
    v->signal.m_U1.m_Value = 2.0;
    v->signal.m_Period.m_Value = 1e-3;
    Place(*v, net, 1, 2);
    const int k = v->firstBranch;
    ASSERT_TRUE(v->Simulate(&net.calc, PhaseInit, 0.0)) << net.calc.m_Error;
    ASSERT_TRUE(v->Simulate(&net.calc, PhaseStamp, 0.0));
    EXPECT_EQ(net.calc.RowInput[k], 1);
    EXPECT_EQ(net.calc.VecB[k], 0.0);
    EXPECT_EQ(net.calc.NodeLink[2].kind, 3);
    EXPECT_EQ(net.calc.NodeLink[2].source, k);
    for (double t : {0.0, 0.1e-3, 0.25e-3}) {
        ASSERT_TRUE(v->Simulate(&net.calc, PhaseSources, t));
        EXPECT_NEAR(net.calc.VecE[k], -(1.0 + 2.0 * std::sin(6.28318530716 * t / 1e-3)), 1e-12) << t;
    }

    // The host's value replaces the waveform, for a current source too.
    auto i = MakeV("I_I");
    Place(*i, net, 2, 0);
    i->hostDriven = true;
    i->hostValue = 0.75;
    net.calc.ClearMatrices();
    ASSERT_TRUE(i->Simulate(&net.calc, PhaseStamp, 0.0));
    const int j = i->firstBranch;
    EXPECT_EQ(net.calc.RowInput[j], 1);
    EXPECT_EQ(net.calc.NodeLink[j].kind, 3);
    EXPECT_EQ(net.calc.MatrixG[2][j], -1.0);
    ASSERT_TRUE(i->Simulate(&net.calc, PhaseSources, 1.0));
    EXPECT_EQ(net.calc.VecE[j], -0.75);
    EXPECT_EQ(i->PinKind(1), kPinAnalog);
    EXPECT_EQ(MakeV("V_CV")->PinKind(2), kPinSensing);
}

TEST(ElemV, FunctionIsEvaluatedAtEachPointAndStopsOnAFault) {
    Net net(2, 2);
    auto v = MakeV("V_V", "Function");
    v->signal.m_Function = "=sin(2*pi*50*t)*(t>1m)";
    Place(*v, net, 0, 1);
    const int k = v->firstBranch;
    ASSERT_TRUE(v->Simulate(&net.calc, PhaseInit, 0.0)) << net.calc.m_Error;
    net.calc.m_Integrating = 1;
    for (double t : {0.0, 0.5e-3, 1e-3, 1.2e-3, 7.3e-3}) {
        ASSERT_TRUE(v->Simulate(&net.calc, PhaseSources, t)) << net.calc.m_Error;
        const double expected = t > 1e-3 ? std::sin(2 * 3.14159265358 * 50 * t) : 0.0;
        EXPECT_NEAR(-net.calc.VecE[k], expected, 1e-12) << t;
    }
    // A formula that fails a step ahead stops the operating point already.
    v->signal.m_Function = "=t < 1m ? 1 : nosuchname";
    net.calc.m_Integrating = 0;
    net.calc.m_StepBase = 2e-3;
    EXPECT_FALSE(v->Simulate(&net.calc, PhaseSources, 0.0));
    EXPECT_EQ(net.calc.m_Error.rfind("V1 : ", 0), 0u) << net.calc.m_Error;
    EXPECT_NE(net.calc.m_Error.find("nosuchname"), std::string::npos) << net.calc.m_Error;
}

TEST(ElemV, BadTablesRefuseTheRunWithTheirMessage) {
    const std::string missing = "/nonexistent/qz3_no_such_table.txt";
    const std::string badTable = ::testing::TempDir() + "qz3_elem_v_bad.txt";
    const std::string emptyTable = ::testing::TempDir() + "qz3_elem_v_empty.txt";
    std::FILE* file = std::fopen(badTable.c_str(), "w");
    std::fputs("time value\n0 1\n1e-3 x+\n", file);
    std::fclose(file);
    file = std::fopen(emptyTable.c_str(), "w");
    std::fputs("\n\n", file);
    std::fclose(file);
    const struct {
        const char* model;
        std::string text;
        std::string line;
    } rows[] = {
        {"File", "", "V1 : No file name\n"},
        {"File", missing, "V1 : File not found\n"},
        {"File", emptyTable, "V1 : Empty file '" + emptyTable + "'\n"},
        {"File", badTable, "V1 : Error: "},
        {"List", "0 1 1m", ""},  // an odd item is dropped
        {"List", "0 1 1m 2 2m nosuchname", "V1 : Error: "},
    };
    for (const auto& row : rows) {
        Net net;
        auto v = MakeV("V_V", row.model);
        (row.model == std::string("File") ? v->signal.m_File : v->signal.m_List) = row.text;
        Place(*v, net, 0, 1);
        const bool ok = v->Simulate(&net.calc, PhaseInit, 0.0);
        EXPECT_EQ(ok, row.line.empty()) << row.text;
        EXPECT_EQ(net.calc.m_Error.substr(0, row.line.size()), row.line) << row.text;
    }
    std::remove(badTable.c_str());
    std::remove(emptyTable.c_str());
}

// Follows the events of one source as the time loop does, with a largest
// step M; returns the times visited.
std::vector<double> WalkEvents(CElemV& v, CCalc& calc, double end, double M, int limit) {
    std::vector<double> times;
    double t = 0.0;
    calc.m_StepBase = M;
    while (t < end && static_cast<int>(times.size()) < limit) {
        double tNext = INFINITY, stepMax = M, stepMin = 0.0;
        v.NextEvent(&calc, t, &tNext, &stepMax, &stepMin);
        double next = std::fmin(t + std::fmin(stepMax, M), tNext);
        if (!(next > t)) next = t + M;  // never a zero-length step
        t = next;
        times.push_back(t);
    }
    return times;
}

TEST(ElemV, EventsHitCornersAndNeverStall) {
    Net net;
    auto v = MakeV("V_V", "Pulse");
    v->signal.m_Period.m_Value = 1e-3;
    v->signal.m_Width.m_Value = 0.3e-3;
    v->signal.m_Rise.m_Value = 0.1e-3;
    v->signal.m_Fall.m_Value = 0.1e-3;
    v->signal.m_Delay.m_Value = 0.2e-3;
    Place(*v, net, 0, 1);
    ASSERT_TRUE(v->Simulate(&net.calc, PhaseInit, 0.0));
    const std::vector<double> times = WalkEvents(*v, net.calc, 3.0e-3, 1e-3, 1000);
    for (double corner : {0.2e-3, 0.3e-3, 0.5e-3, 0.6e-3, 1.2e-3, 1.3e-3, 2.5e-3, 2.6e-3}) {
        bool hit = false;
        for (double t : times) hit = hit || std::fabs(t - corner) <= corner * 1e-12;
        EXPECT_TRUE(hit) << corner;
    }

    // A table whose times go backwards moves on all the same.
    auto list = MakeV("V_V", "List");
    list->signal.m_List = "0 0 2m 1 1m 5 1m 6 3m 0";
    list->signal.m_Cycle = 1;
    Place(*list, net, 0, 1);
    ASSERT_TRUE(list->Simulate(&net.calc, PhaseInit, 0.0)) << net.calc.m_Error;
    const std::vector<double> walk = WalkEvents(*list, net.calc, 10e-3, 1e-3, 1000);
    ASSERT_FALSE(walk.empty());
    EXPECT_GE(walk.back(), 10e-3);
    EXPECT_LT(walk.size(), 200u);
}

TEST(ElemV, ControlledSourceStartsOnARisingControlOnly) {
    Net net(3, 1);
    auto v = MakeV("V_CV", "Step");
    v->signal.m_U0.m_Value = 1.0;
    v->signal.m_U1.m_Value = 4.0;
    v->signal.m_Delay.m_Value = 1e-3;
    Place(*v, net, 0, 1, 2);
    const int k = v->firstBranch;
    ASSERT_TRUE(v->Simulate(&net.calc, PhaseInit, 0.0));
    auto valueAt = [&](double t) {
        EXPECT_TRUE(v->Simulate(&net.calc, PhaseSources, t));
        return -net.calc.VecE[k];
    };
    auto check = [&](double control, bool commit) {
        net.calc.VecX[2] = control;
        bool changed = false;
        EXPECT_TRUE(v->CheckState(&net.calc, commit, &changed));
        return changed;
    };
    EXPECT_EQ(valueAt(5e-3), 1.0);  // not armed: V0 however late
    EXPECT_FALSE(check(0.0, true));
    net.calc.m_Time = 2e-3;
    EXPECT_TRUE(check(5.0, false));
    EXPECT_FALSE(v->signal.m_Running);  // without commit nothing moves
    EXPECT_TRUE(check(5.0, true));
    EXPECT_EQ(valueAt(2.5e-3), 1.0);  // its delay counts from the edge
    EXPECT_EQ(valueAt(3e-3), 4.0);
    EXPECT_FALSE(check(5.0, true));   // staying high doesn't re-arm
    net.calc.m_LogicThr = 2.5;
    EXPECT_FALSE(check(2.5, true));   // at the threshold: still armed
    EXPECT_TRUE(v->signal.m_Running);
    EXPECT_FALSE(check(0.0, true));   // a fall disarms without a report
    EXPECT_EQ(valueAt(4e-3), 1.0);
    net.calc.m_Time = 6e-3;
    EXPECT_TRUE(check(5.0, true));
    EXPECT_EQ(valueAt(6.5e-3), 1.0);
    EXPECT_EQ(valueAt(7e-3), 4.0);
}

TEST(ElemV, OneShotHoldsV1ForItsWidth) {
    Net net(3, 1);
    auto v = MakeV("I_CI", "One-shot");
    v->signal.m_U1.m_Value = 3.0;
    v->signal.m_U0.m_Value = 0.5;
    v->signal.m_Width.m_Value = 1e-3;
    Place(*v, net, 0, 1, 2);
    const int k = v->firstBranch;
    ASSERT_TRUE(v->Simulate(&net.calc, PhaseInit, 0.0));
    ASSERT_TRUE(v->Simulate(&net.calc, PhaseStamp, 0.0));
    EXPECT_EQ(net.calc.VecB[k], -0.5);
    net.calc.VecX[2] = 5.0;
    net.calc.m_Time = 2e-3;
    bool changed = false;
    ASSERT_TRUE(v->CheckState(&net.calc, true, &changed));
    EXPECT_TRUE(changed);
    EXPECT_EQ(v->state, 1);
    EXPECT_EQ(v->tEnd, 3e-3);
    net.calc.ClearMatrices();
    ASSERT_TRUE(v->Simulate(&net.calc, PhaseStamp, 0.0));
    EXPECT_EQ(net.calc.VecB[k], -3.0);
    double tNext = INFINITY, stepMax = INFINITY, stepMin = 0;
    v->NextEvent(&net.calc, 2.2e-3, &tNext, &stepMax, &stepMin);
    EXPECT_EQ(tNext, 3e-3);
    EXPECT_EQ(stepMax, 0.25e-3);
    tNext = INFINITY;
    v->NextEvent(&net.calc, 3e-3 * (1 + 1e-13), &tNext, &stepMax, &stepMin);
    EXPECT_EQ(tNext, INFINITY);
    EXPECT_EQ(v->state, 0);
    EXPECT_EQ(v->GetState(), "s=0,i=1,t=" + DoubleToHex(3e-3) + ",t=0");

    ASSERT_TRUE(v->Simulate(&net.calc, PhasePins, 0.0));
    EXPECT_EQ(v->nodes[3], 1);
    EXPECT_EQ(v->nodes[4], 2);
    EXPECT_EQ(v->nodes[5], 3);
}

TEST(ElemV, StateTextAndSaveIC) {
    Net net;
    auto v = MakeV("V_V", "Pulse");
    v->signal.m_Period.m_Value = 2.0;
    Place(*v, net, 0, 1);
    ASSERT_TRUE(v->Simulate(&net.calc, PhaseInit, 0.0));
    ASSERT_TRUE(v->Simulate(&net.calc, PhaseSources, 5.0));
    EXPECT_EQ(v->GetState(), "t=" + DoubleToHex(5.0));
    std::string out;
    EXPECT_EQ(v->SaveIC(out, 0, false), "Delay=-1");
    EXPECT_EQ(v->signal.m_Delay.m_Value, 0.0);  // only asked
    EXPECT_EQ(v->SaveIC(out, 0, true), "Delay=-1");
    EXPECT_EQ(out, "Delay=-1");  // the text goes out both ways, as with every element
    EXPECT_EQ(v->signal.m_Delay.m_Value, -1.0);
    EXPECT_EQ(v->SaveIC(out, 3, true), "");  // no third stored state
    EXPECT_EQ(MakeV("V_V")->SaveIC(out, 0, true), "");

    // A controlled source holds "t" twice: the signal's base, then the time
    // of its last point; the shift takes the time.
    auto cv = MakeV("V_CV", "Single");
    cv->signal.m_Delay.m_Value = 1.0;
    Place(*cv, net, 0, 1, 1);
    ASSERT_TRUE(cv->Simulate(&net.calc, PhaseInit, 0.0));
    ASSERT_TRUE(cv->Simulate(&net.calc, PhaseSources, 0.25));
    EXPECT_EQ(cv->GetState(), "s=0,st=0,t=" + DoubleToHex(1.0) + ",ss=0,t=" + DoubleToHex(0.25));
    EXPECT_EQ(cv->SaveIC(out, 0, true), "Delay=750e-3");
    EXPECT_EQ(cv->signal.m_Delay.m_Value, 0.75);
    EXPECT_TRUE(cv->signal.m_Delay.m_Text.empty());
}

}  // namespace
}  // namespace qz3

namespace qz3 {
namespace {

// A stored state is read on the first init of a run only: a later init of
// the same run (after a parameter change) keeps what the run has reached.
TEST(ElemV, StoredStateIsReadOnTheFirstInitOnly) {
    Net net(3, 1);
    auto v = MakeV("V_CV", "One-shot");
    v->states = new TStringList;  // owned by the element
    v->states->Add("id=7,s=1,i=1,t=" + DoubleToHex(4e-3));
    Place(*v, net, 0, 1, 2);
    net.calc.m_Transient = true;
    net.calc.m_StateId = 7;
    ASSERT_TRUE(v->Simulate(&net.calc, PhaseInit, 0.0));
    EXPECT_EQ(v->state, 1);
    EXPECT_EQ(v->state2, 1);
    EXPECT_EQ(v->tEnd, 4e-3);
    v->lastModel = v->model;
    v->state = 0;
    v->state2 = 0;
    v->tEnd = 0.0;
    ASSERT_TRUE(v->Simulate(&net.calc, PhaseInit, 1e-3));
    EXPECT_EQ(v->state, 0);
    EXPECT_EQ(v->state2, 0);
    EXPECT_EQ(v->tEnd, 0.0);

    auto pulse = MakeV("I_CI", "Pulse");
    pulse->states = new TStringList;
    pulse->states->Add("id=8,s=1,st=2,t=" + DoubleToHex(1.5) + ",ss=" + DoubleToHex(1.25));
    net.calc.m_StateId = 8;
    Place(*pulse, net, 0, 1, 2);
    ASSERT_TRUE(pulse->Simulate(&net.calc, PhaseInit, 0.0));
    EXPECT_TRUE(pulse->signal.m_Running);
    EXPECT_EQ(pulse->signal.m_Stage, 2);
    EXPECT_EQ(pulse->signal.m_Base, 1.5);
    EXPECT_EQ(pulse->signal.m_Shift, 1.25);
    pulse->lastModel = pulse->model;
    ASSERT_TRUE(pulse->Simulate(&net.calc, PhaseInit, 0.0));
    EXPECT_FALSE(pulse->signal.m_Running);  // started again, waiting for its control
    EXPECT_EQ(pulse->signal.m_Stage, 0);
}

}  // namespace
}  // namespace qz3
