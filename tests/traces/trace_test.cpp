// The trace model: file keys, names, the set's reader, and what a trace
// records from a solution vector, transient and AC.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "document/doc.h"
#include "xml/xml_node.h"
#include "solver/calc.h"
#include "traces/trace.h"
#include "traces/trace_order.h"
#include "traces/trace_set.h"

namespace qz3 {
namespace {

std::string Compact(const CXmlNode& node) {
    std::string out;
    node.ToText(out);
    return out;
}

void Parse(CXmlNode& node, const std::string& text) { node.ParseText(text, int(text.find('<')) + 1); }

// A solver whose solution vectors are the test's arrays; they are handed
// back before the solver frees its own.
class CFakeSolution {
public:
    explicit CFakeSolution(std::vector<double> x) : m_X(std::move(x)) { calc.VecX = m_X.data(); }
    ~CFakeSolution() { calc.VecX = nullptr; }
    CCalc calc;
    std::vector<double> m_X;
};

// A trace of a set read from one Trace element.
CTrace* ReadTrace(CTraceSet& set, const std::string& text) {
    CXmlNode node;
    Parse(node, text);
    auto* trace = new CTrace(set.m_Traces.get());
    set.m_Traces->Add(trace);
    trace->Xml(node, false);
    return trace;
}

// Reads a Trace element and writes it back into a fresh node.
std::string RoundTrip(bool tran, const std::string& text, std::string* errors = nullptr) {
    CTraceSet set(nullptr, tran);
    CXmlNode in;
    Parse(in, text);
    CTrace trace(set.m_Traces.get());
    trace.Xml(in, true);
    if (errors) *errors = in.Errors();
    CXmlNode out("Trace");
    out.m_bWrite = true;
    trace.Xml(out, false);
    return Compact(out);
}

TEST(Trace, EveryKeyIsWrittenBackAsRead) {
    struct Row {
        bool tran;
        std::string text;
    };
    const Row rows[] = {
        {true,
         "<Trace id=\"7\" expr=\"V(R1)\" name=\"out+put\" color=\"1,2,3\" sel=\"true\" plot=\"false\" window=\"2\" "
         "table=\"false\" storage=\"false\" tools=\"4\" type=\"V\" mode=\"bus\" dig_threshold=\"1.5\" scale=\"20\" "
         "mid=\"-1\" dig_style=\"3\" bus_format=\"oct\" bus_bits=\"8\" bus_content=\"2\" bus_fp=\"4\" "
         "bus_text=\"a%2cb\" shift=\"1e-3\" xy=\"true\" width=\"2\" scale_history=\"1%3b2\" simple_line=\"false\" "
         "simple_dp=\"true\" line=\"3\" marker=\"1\" marker_style=\"2\" marker_size=\"5\" />"},
        {true,
         "<Trace id=\"0\" expr=\"V(R1)\" name=\"\" color=\"0,255,0\" sel=\"false\" plot=\"true\" window=\"0\" "
         "table=\"true\" storage=\"true\" tools=\"-1\" type=\"Math\" mode=\"analog\" dig_threshold=\"2.5\" "
         "scale=\"10\" mid=\"0\" dig_style=\"0\" bus_format=\"hex\" bus_bits=\"0\" bus_content=\"-1\" bus_fp=\"0\" "
         "bus_text=\"\" shift=\"0\" xy=\"false\" width=\"1\" scale_history=\"\" simple_line=\"true\" "
         "simple_dp=\"false\" line=\"1\" marker=\"0\" marker_style=\"0\" marker_size=\"0\">"
         "<Function func=\"lpf\" range=\"1\" left=\"2\" right=\"3\" tc=\"500e-6\" /></Trace>"},
        {true,
         "<Trace id=\"0\" expr=\"a\" name=\"\" color=\"0,255,0\" sel=\"false\" plot=\"true\" window=\"0\" "
         "table=\"true\" storage=\"true\" tools=\"-1\" type=\"Math\" mode=\"analog\" dig_threshold=\"2.5\" "
         "scale=\"10\" mid=\"0\" dig_style=\"0\" bus_format=\"hex\" bus_bits=\"0\" bus_content=\"-1\" bus_fp=\"0\" "
         "bus_text=\"\" shift=\"0\" xy=\"false\" width=\"1\" scale_history=\"\" simple_line=\"true\" "
         "simple_dp=\"false\" line=\"1\" marker=\"0\" marker_style=\"0\" marker_size=\"0\">"
         "<Function func=\"counter\" range=\"0\" left=\"0\" right=\"1\" threshold=\"1\" edge=\"1\" /></Trace>"},
        {false,
         "<Trace id=\"3\" expr=\"V(C1)\" name=\"\" color=\"0,0,255\" sel=\"false\" plot=\"true\" window=\"1\" "
         "table=\"true\" storage=\"true\" tools=\"-1\" type=\"Z\" phase_width=\"2\" ac_out=\"x\" width=\"1\" "
         "scale_history=\"\" simple_line=\"true\" simple_dp=\"false\" line=\"1\" marker=\"0\" marker_style=\"0\" "
         "marker_size=\"0\" />"},
    };
    for (const Row& row : rows) {
        CXmlNode in;
        Parse(in, row.text);
        std::string errors;
        EXPECT_EQ(RoundTrip(row.tran, row.text, &errors), Compact(in));
        EXPECT_EQ(errors, "");
    }
}

TEST(Trace, KeysOfTheOtherAnalysisAreNeitherReadNorWritten) {
    // An AC trace has no mode and no digital keys; a transient one no ac_out.
    std::string ac = RoundTrip(false, "<Trace id=\"1\" type=\"V\" mode=\"digital\" scale=\"3\" />");
    EXPECT_EQ(ac.find("mode="), std::string::npos);
    EXPECT_EQ(ac.find("scale="), std::string::npos);
    EXPECT_NE(ac.find("ac_out=\"mag_phase\""), std::string::npos);
    std::string tran = RoundTrip(true, "<Trace id=\"1\" type=\"V\" ac_out=\"r\" />");
    EXPECT_EQ(tran.find("ac_out"), std::string::npos);
    EXPECT_NE(tran.find("mode=\"analog\""), std::string::npos);
    // The Function child belongs to a Math trace of id 0 only.
    std::string bound = RoundTrip(true, "<Trace id=\"4\" type=\"Math\"><Function func=\"max\" /></Trace>");
    EXPECT_EQ(bound.find("<Function"), std::string::npos);
}

TEST(Trace, UnknownWordsLeaveMessagesAndDefaults) {
    CTraceSet set(nullptr, true);
    CXmlNode node;
    Parse(node, "<Trace id=\"1\" expr=\"V(R1)\" type=\"Voltage\" mode=\"fuzzy\" bus_format=\"roman\" />");
    CTrace trace(set.m_Traces.get());
    trace.Xml(node, false);
    EXPECT_EQ(trace.m_Type, kTraceV);
    EXPECT_EQ(trace.m_Mode, kTraceAnalog);
    EXPECT_EQ(trace.m_BusFormat, 3);  // "dec"
    EXPECT_EQ(node.Errors(),
              "V(R1) : unknown trace type = Voltage\nV(R1) : unknown trace mode = fuzzy\n"
              "V(R1) : unknown trace bus format = roman");

    CXmlNode math;
    Parse(math, "<Trace id=\"0\" expr=\"x\" name=\"avg\" type=\"Math\"><Function func=\"median\" /></Trace>");
    CTrace mathTrace(set.m_Traces.get());
    mathTrace.Xml(math, false);
    EXPECT_EQ(mathTrace.m_Function.func, kFuncFunction);
    EXPECT_EQ(math.Errors(), "avg : unknown trace function = median");

    // The AC table has only function, min and max.
    CTraceSet acSet(nullptr, false);
    CXmlNode acMath;
    Parse(acMath, "<Trace id=\"0\" expr=\"y\" type=\"Math\"><Function func=\"lpf\" /></Trace>");
    CTrace acTrace(acSet.m_Traces.get());
    acTrace.Xml(acMath, false);
    EXPECT_EQ(acTrace.m_Function.func, kFuncFunction);
    EXPECT_EQ(acMath.Errors(), "y : unknown trace function = lpf");
}

TEST(Trace, DigitalThresholdFromOlderLevelsAndDocument) {
    CDoc doc;
    doc.m_Advanced.m_Thr = 1.25;
    doc.m_Advanced.m_High = 4.0;
    doc.m_Advanced.m_Low = 2.0;
    CTraceSet set(&doc, true);
    struct Row {
        const char* text;
        double threshold;
    };
    const Row rows[] = {
        {"<Trace id=\"1\" dig_high=\"5\" dig_low=\"1\" />", 3.0},
        {"<Trace id=\"1\" dig_threshold=\"0.7\" dig_high=\"5\" dig_low=\"1\" />", 0.7},
        {"<Trace id=\"1\" dig_high=\"8\" />", 5.0},  // low from the document
        {"<Trace id=\"1\" />", 3.0},                  // both levels from the document
    };
    for (const Row& row : rows) EXPECT_DOUBLE_EQ(ReadTrace(set, row.text)->m_DigThreshold, row.threshold) << row.text;
    // A trace made in memory starts at the document's threshold.
    CTrace fresh(set.m_Traces.get());
    EXPECT_DOUBLE_EQ(fresh.m_DigThreshold, 1.25);
}

TEST(Trace, SetPutsDigitalAndBusTracesFirst) {
    CTraceSet set(nullptr, true);
    CXmlNode traces;
    Parse(traces,
          "<Traces><Trace id=\"1\" name=\"a1\" mode=\"analog\" /><Trace id=\"2\" name=\"d1\" mode=\"digital\" />"
          "<Trace id=\"3\" name=\"a2\" /><Trace id=\"4\" name=\"b1\" mode=\"bus\" />"
          "<Trace id=\"5\" name=\"d2\" mode=\"digital\" /></Traces>");
    set.Xml(traces);
    std::string order;
    for (CTrace* trace : set.m_Traces->m_List) order += trace->m_Name + " ";
    EXPECT_EQ(order, "d1 b1 d2 a1 a2 ");

    // The writer leaves out traces that aren't kept.
    CTraceSet other(nullptr, true);
    CXmlNode kept;
    Parse(kept, "<Traces><Trace id=\"-1\" name=\"gone\" /><Trace id=\"0\" name=\"f\" type=\"Function\" /></Traces>");
    other.Xml(kept);
    ASSERT_EQ(other.m_Traces->Count(), 2);
    CXmlNode out("Traces");
    out.m_bWrite = true;
    other.Xml(out);
    ASSERT_EQ(out.ChildCount(), 1);
    EXPECT_EQ(out.ChildAt(0)->GetStr("name", ""), "f");
}

TEST(Trace, LabelsAndDisplayNames) {
    CTraceSet tran(nullptr, true);
    CTraceSet ac(nullptr, false);
    struct Row {
        CTraceSet* set;
        const char* text;
        const char* label;
        const char* display;
    };
    const Row rows[] = {
        {&tran, "<Trace id=\"0\" expr=\"V(R1)\" type=\"Math\"><Function func=\"lpf\" /></Trace>", "LPF of V(R1)",
         "LPF of V(R1)"},
        {&tran, "<Trace id=\"0\" expr=\"x\" type=\"Math\"><Function func=\"tvconverter\" /></Trace>",
         "T-V converter of x", "T-V converter of x"},
        {&tran, "<Trace id=\"0\" expr=\"x\" type=\"Math\"><Function func=\"function\" /></Trace>", "x", "x"},
        {&tran, "<Trace id=\"0\" expr=\"x\" name=\"smooth\" type=\"Math\"><Function func=\"movaver\" /></Trace>",
         "Moving Average of x", "smooth"},
        {&ac, "<Trace id=\"0\" expr=\"V(C1)\" type=\"Math\"><Function func=\"max\" /></Trace>", "Max of V(C1)",
         "Max of V(C1)"},
        {&ac, "<Trace id=\"2\" expr=\"V(C1)\" type=\"V\" ac_out=\"r\" />", "Re of V(C1)", "Re of V(C1)"},
        {&ac, "<Trace id=\"2\" expr=\"V(C1)\" name=\"vc\" type=\"V\" ac_out=\"x\" />", "Im of V(C1)", "vc"},
    };
    for (const Row& row : rows) {
        CTrace* trace = ReadTrace(*row.set, row.text);
        EXPECT_EQ(trace->Label(), row.label) << row.text;
        EXPECT_EQ(trace->DisplayName(), row.display) << row.text;
    }
    // A function code the table doesn't have.
    CTrace* odd = ReadTrace(ac, "<Trace id=\"0\" expr=\"y\" type=\"Math\" />");
    odd->m_Function.func = 9;
    EXPECT_EQ(odd->Label(), "Unknown function of y");
}

TEST(Trace, FindTraceByDisplayName) {
    CTraceSet tran(nullptr, true);
    CTrace* v = ReadTrace(tran, "<Trace id=\"1\" expr=\"V(R1)\" />");
    CTrace* named = ReadTrace(tran, "<Trace id=\"0\" expr=\"2*V(R1)\" name=\"Double it\" type=\"Function\" />");
    EXPECT_EQ(tran.FindTrace("v(r1)"), v);
    EXPECT_EQ(tran.FindTrace("\"V(R1)\""), v);
    EXPECT_EQ(tran.FindTrace("DOUBLE IT"), named);
    EXPECT_EQ(tran.FindTrace("2*V(R1)"), nullptr);  // the name hides the expression
    EXPECT_EQ(tran.FindTrace(""), nullptr);
    EXPECT_EQ(tran.FindTrace("\"\""), nullptr);
    EXPECT_EQ(tran.FindTrace("V(R1).phase"), nullptr);

    CTraceSet ac(nullptr, false);
    CTrace* acv = ReadTrace(ac, "<Trace id=\"1\" expr=\"V(C1)\" />");
    int phase = -1;
    EXPECT_EQ(ac.m_Traces->FindTrace("v(c1).PHASE", &phase), acv);
    EXPECT_EQ(phase, 1);
    EXPECT_EQ(ac.m_Traces->FindTrace("V(C1)", &phase), acv);
    EXPECT_EQ(phase, 0);
}

// A bound transient trace of one kind between nodes 2 (plus) and 1 (minus).
CTrace* BoundTrace(CTraceSet& set, int type, int branch, double r) {
    CTrace* trace = ReadTrace(set, "<Trace id=\"1\" expr=\"x\" />");
    trace->m_Type = type;
    trace->ClearRun();
    trace->m_NodeP = 2;
    trace->m_NodeM = 1;
    trace->m_Branch = branch;
    trace->m_Resistance = r;
    return trace;
}

double LastValue(const CTrace& trace) {
    double t = 0, v = 0;
    EXPECT_TRUE(trace.m_Run->GetPoint(trace.m_Run->Count() - 1, t, v, false));
    return v;
}

TEST(Trace, TransientValuesFromTheSolution) {
    CFakeSolution solution({0.0, 1.0, 4.0, 0.5});  // ground, node 1, node 2, branch 3
    CTraceSet set(nullptr, true);
    CTrace* v = BoundTrace(set, kTraceV, -1, 0.0);
    CTrace* iBranch = BoundTrace(set, kTraceI, 3, 0.0);
    CTrace* iByR = BoundTrace(set, kTraceI, 0, 2.0);
    CTrace* pBranch = BoundTrace(set, kTraceP, 3, 0.0);
    CTrace* pByR = BoundTrace(set, kTraceP, -1, 3.0);
    CTrace* noR = BoundTrace(set, kTraceI, -1, 0.0);
    ASSERT_TRUE(set.Sample(solution.calc, 0.0, false));
    EXPECT_DOUBLE_EQ(LastValue(*v), 3.0);
    EXPECT_DOUBLE_EQ(LastValue(*iBranch), 0.5);
    EXPECT_DOUBLE_EQ(LastValue(*iByR), 1.5);
    EXPECT_DOUBLE_EQ(LastValue(*pBranch), 1.5);
    EXPECT_DOUBLE_EQ(LastValue(*pByR), 3.0);
    EXPECT_EQ(noR->m_Run->Count(), 0);  // neither branch nor resistance: nothing stored

    // Hold keeps one point that follows the latest value.
    CTrace* held = BoundTrace(set, kTraceV, -1, 0.0);
    for (int k = 1; k <= 3; ++k) {
        solution.m_X[2] = 10.0 * k;
        ASSERT_TRUE(held->SampleTran(solution.calc, 1e-3 * k, true));
    }
    ASSERT_EQ(held->m_Run->Count(), 1);
    double t = 0, value = 0;
    held->m_Run->GetPoint(0, t, value, false);
    EXPECT_DOUBLE_EQ(t, 3e-3);
    EXPECT_DOUBLE_EQ(value, 29.0);

    // A trace without a run and an unkept trace record nothing and don't fail.
    CTrace* unkept = ReadTrace(set, "<Trace id=\"-1\" />");
    set.Clear();
    EXPECT_EQ(unkept->m_Run, nullptr);
    EXPECT_TRUE(unkept->SampleTran(solution.calc, 0.0, false));
}

// A run resumed from a stored state replaces its first point once, with
// the point that follows it; a fresh run keeps every point.
TEST(Trace, ResumedRunReplacesItsFirstPointOnce) {
    CFakeSolution solution({0.0, 0.0, 0.0});
    for (bool resumed : {false, true}) {
        CTraceSet set(nullptr, true);
        CTrace* v = BoundTrace(set, kTraceV, -1, 0.0);
        set.Clear(resumed);
        EXPECT_EQ(v->m_ReplaceFirst, resumed);
        for (int k = 0; k < 4; ++k) {
            solution.m_X[2] = 1.0 + k;
            ASSERT_TRUE(set.Sample(solution.calc, 1e-3 * k, false));
        }
        ASSERT_EQ(v->m_Run->Count(), resumed ? 3 : 4) << resumed;
        double t = 0, value = 0;
        v->m_Run->GetPoint(0, t, value, false);
        EXPECT_DOUBLE_EQ(t, resumed ? 1e-3 : 0.0);
        EXPECT_DOUBLE_EQ(value, resumed ? 2.0 : 1.0);
        v->m_Run->GetPoint(1, t, value, false);
        EXPECT_DOUBLE_EQ(t, resumed ? 2e-3 : 1e-3);
        EXPECT_FALSE(v->m_ReplaceFirst);
    }
}

TEST(Trace, FunctionTraceComputesAfterTheTracesItUses) {
    CFakeSolution solution({0.0, 0.0, 2.0});
    CTraceSet set(nullptr, true);
    CTrace* twice = ReadTrace(set, "<Trace id=\"0\" expr=\"V(R1)*2%2bt\" type=\"Function\" />");
    CTrace* v = ReadTrace(set, "<Trace id=\"5\" expr=\"V(R1)\" type=\"V\" />");
    set.Clear();
    ASSERT_EQ(MakeOrder(*set.m_Traces), "");
    v->m_NodeP = 2;
    v->m_NodeM = 0;
    for (int k = 0; k < 3; ++k) {
        solution.m_X[2] = 1.0 + k;
        ASSERT_TRUE(set.Sample(solution.calc, k * 0.5, false)) << solution.calc.m_Error;
    }
    ASSERT_EQ(twice->m_Run->Count(), 3);
    for (int k = 0; k < 3; ++k) {
        double t = 0, value = 0;
        twice->m_Run->GetPoint(k, t, value, false);
        EXPECT_DOUBLE_EQ(value, 2.0 * (1.0 + k) + k * 0.5);
    }
    // A time that goes back is not stored again.
    ASSERT_TRUE(set.Sample(solution.calc, 0.25, false));
    EXPECT_EQ(twice->m_Run->Count(), 3);
}

TEST(Trace, FunctionTraceFailures) {
    CFakeSolution solution({0.0});
    CTraceSet set(nullptr, true);
    // A used trace without data is a soft failure: nothing stored, no error.
    CTrace* empty = ReadTrace(set, "<Trace id=\"5\" expr=\"V(R9)\" type=\"V\" />");
    CTrace* uses = ReadTrace(set, "<Trace id=\"0\" expr=\"V(R9)%2b1\" type=\"Function\" />");
    set.Clear();
    ASSERT_EQ(MakeOrder(*set.m_Traces), "");
    EXPECT_TRUE(set.Sample(solution.calc, 0.0, false));
    EXPECT_EQ(uses->m_Run->Count(), 0);
    EXPECT_EQ(empty->m_Run->Count(), 0);
    EXPECT_EQ(solution.calc.m_Error, "");

    // A hard failure ends the run with the trace's message, but later traces
    // still get their point.
    CTraceSet bad(nullptr, true);
    CTrace* broken = ReadTrace(bad, "<Trace id=\"0\" expr=\"1%2b*\" type=\"Function\" />");
    CTrace* fine = ReadTrace(bad, "<Trace id=\"0\" expr=\"t*3\" type=\"Function\" />");
    bad.Clear();
    ASSERT_EQ(MakeOrder(*bad.m_Traces), "");
    EXPECT_FALSE(bad.Sample(solution.calc, 1.0, false));
    EXPECT_EQ(solution.calc.m_Error.rfind("Trace ", 0), 0u) << solution.calc.m_Error;
    EXPECT_EQ(broken->m_Run->Count(), 0);
    EXPECT_DOUBLE_EQ(LastValue(*fine), 3.0);
}

// An AC trace between nodes 1 (plus) and 0, sampled at phasors given in degrees.
TEST(Trace, AcPhaseUnwrapsAcrossTheHalfTurn) {
    CFakeSolution solution({0.0});
    CTraceSet set(nullptr, false);
    CTrace* v = ReadTrace(set, "<Trace id=\"1\" expr=\"V(C1)\" type=\"V\" />");
    set.Clear();
    v->m_NodeP = 1;
    v->m_NodeM = 0;
    const double raw[] = {170.0, -170.0, -100.0, 100.0, 175.0, -175.0};
    const double stored[] = {170.0, 190.0, 260.0, 100.0, 175.0, 185.0};
    for (int k = 0; k < 6; ++k) {
        double angle = raw[k] * 3.14159265358 / 180.0;
        double re[2] = {0.0, 2.0 * std::cos(angle)};
        double im[2] = {0.0, 2.0 * std::sin(angle)};
        ASSERT_TRUE(set.SampleAC(solution.calc, 10.0 * (k + 1), re, im));
    }
    ASSERT_EQ(v->m_Run->Count(), 6);
    for (int k = 0; k < 6; ++k) {
        double f = 0, magnitude = 0, phase = 0;
        ASSERT_TRUE(v->m_Run->GetACPoint(k, f, magnitude, phase));
        EXPECT_DOUBLE_EQ(f, 10.0 * (k + 1));
        EXPECT_NEAR(magnitude, 2.0, 1e-12);
        EXPECT_NEAR(phase, stored[k], 1e-6) << k;
    }
}

TEST(Trace, AcImpedanceReflectionAndStandingWave) {
    CFakeSolution solution({0.0});
    CTraceSet set(nullptr, false);  // no document: z0 = 50
    struct Row {
        int type;
        double re, im;  // node phasor, no branch: the impedance seen
        double magnitude, phase;
    };
    const Row rows[] = {
        {kTraceZ, 0.0, 100.0, 100.0, 90.0},
        {kTraceGamma, 150.0, 0.0, 0.5, 0.0},
        {kTraceGamma, 0.0, 0.0, 1.0, 180.0},
        {kTraceGamma, -50.0, 0.0, 0.0, 0.0},  // z + z0 is zero
        {kTraceVSWR, 150.0, 0.0, 3.0, 0.0},
        {kTraceVSWR, 0.0, 0.0, INFINITY, 0.0},
        {kTraceVSWR, 50.0, 0.0, 1.0, 0.0},
    };
    for (const Row& row : rows) {
        CTrace* trace = ReadTrace(set, "<Trace id=\"1\" expr=\"z\" />");
        trace->m_Type = row.type;
        trace->ClearRun();
        trace->m_NodeP = 1;
        trace->m_NodeM = 0;
        double re[2] = {0.0, row.re}, im[2] = {0.0, row.im};
        ASSERT_TRUE(trace->SampleAC(solution.calc, 1.0, re, im));
        double f = 0, magnitude = 0, phase = 0;
        ASSERT_TRUE(trace->m_Run->GetACPoint(0, f, magnitude, phase));
        if (std::isinf(row.magnitude))
            EXPECT_TRUE(std::isinf(magnitude)) << row.type;
        else
            EXPECT_NEAR(magnitude, row.magnitude, 1e-12) << row.type;
        EXPECT_NEAR(phase, row.phase, 1e-9) << row.type;
    }
    // With a branch, the impedance is 1/I: a current of 0.02 at -30 degrees is 50 at +30.
    CTrace* z = ReadTrace(set, "<Trace id=\"1\" expr=\"z\" type=\"Z\" />");
    z->ClearRun();
    z->m_NodeP = 1;
    z->m_NodeM = 0;
    z->m_Branch = 2;
    double angle = -30.0 * 3.14159265358 / 180.0;
    double re[3] = {0.0, 7.0, 0.02 * std::cos(angle)}, im[3] = {0.0, 7.0, 0.02 * std::sin(angle)};
    ASSERT_TRUE(z->SampleAC(solution.calc, 1.0, re, im));
    double f = 0, magnitude = 0, phase = 0;
    z->m_Run->GetACPoint(0, f, magnitude, phase);
    EXPECT_NEAR(magnitude, 50.0, 1e-9);
    EXPECT_NEAR(phase, 30.0, 1e-6);
}

TEST(Trace, AcOpenLoop) {
    CFakeSolution solution({0.0});
    CTraceSet set(nullptr, false);
    CTrace* loop = ReadTrace(set, "<Trace id=\"1\" expr=\"L\" name=\"loop\" type=\"Loop\" />");
    set.Clear();
    loop->m_NodeM = 1;  // A
    loop->m_NodeP = 2;  // B
    // A = -2 (in phase with -B when B = 1): gain 2, phase 0.
    double re[3] = {0.0, -2.0, 1.0}, im[3] = {0.0, 0.0, 0.0};
    ASSERT_TRUE(set.SampleAC(solution.calc, 1.0, re, im));
    double f = 0, magnitude = 0, phase = 0;
    loop->m_Run->GetACPoint(0, f, magnitude, phase);
    EXPECT_DOUBLE_EQ(magnitude, 2.0);
    EXPECT_NEAR(phase, 0.0, 1e-12);
    // |B| zero is a wrong source location and ends the run.
    double reB[3] = {0.0, 1.0, 0.0};
    EXPECT_FALSE(set.SampleAC(solution.calc, 2.0, reB, im));
    EXPECT_NE(solution.calc.m_Error.find("Wrong AC source location for open loop trace"), std::string::npos);
    EXPECT_EQ(loop->m_Run->Count(), 1);
}

TEST(Trace, DataRecordsMakeEmptyRuns) {
    CTraceSet set(nullptr, true);
    CXmlNode node;
    Parse(node,
          "<Trace id=\"1\" expr=\"V(R1)\"><DataList><Data id=\"0\" size=\"12\" type=\"0\" />"
          "<Data id=\"3\" size=\"5\" type=\"3\" x_zero=\"1\" x_scale=\"0.5\" y_zero=\"0\" y_scale=\"2\" "
          "y_offset=\"0\" /></DataList></Trace>");
    CTrace trace(set.m_Traces.get());
    trace.Xml(node, true);
    ASSERT_EQ(trace.m_Runs.Count(), 2);
    EXPECT_EQ(trace.m_Run, trace.m_Runs[0]);
    EXPECT_EQ(trace.m_Run->Count(), 0);
    EXPECT_EQ(trace.m_Runs[1]->m_Id, 3);
    EXPECT_EQ(trace.m_Runs[1]->m_Type, 3u);
    EXPECT_DOUBLE_EQ(trace.m_Runs[1]->m_XScale, 0.5);
    EXPECT_EQ(trace.DataObject(), trace.m_Run);
}

}  // namespace
}  // namespace qz3
