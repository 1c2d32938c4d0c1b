// Compiling function traces into direct references and ordering a list.
#include <gtest/gtest.h>

#include <string>

#include "xml/xml_node.h"
#include "traces/trace.h"
#include "traces/trace_order.h"
#include "traces/trace_set.h"

namespace qz3 {
namespace {

// A set built from rows of (id, type word, name, expr).
struct TraceRow {
    int id;
    const char* type;
    const char* name;
    const char* expr;
};

class TraceList {
public:
    explicit TraceList(std::initializer_list<TraceRow> rows) : set(nullptr, true) {
        for (const TraceRow& row : rows) {
            CXmlNode node("Trace");
            node.m_bWrite = true;
            node.AddInt("id", row.id);
            node.AddStr("expr", row.expr);
            node.AddStr("name", row.name);
            node.AddRaw("type", row.type);
            node.m_bWrite = false;
            auto* trace = new CTrace(set.m_Traces.get());
            trace->Xml(node, false);
            set.m_Traces->Add(trace);
        }
    }
    CTrace& operator[](int i) { return *set.m_Traces->At(i); }
    std::string Order() {
        std::string out;
        for (int p = 0; p < set.m_Traces->Count(); ++p) out += std::to_string(set.m_Traces->OrderAt(p));
        return out;
    }
    CTraceSet set;
};

TEST(TraceOrder, CompiledReferences) {
    struct Row {
        const char* expr;
        const char* compiled;
        const char* deps;  // one character per trace of the list
    };
    const Row rows[] = {
        {"v(r1)*I(R1)", "{0}*{1}", "11000"},
        {"V(R1) * 2 + V(R2)", "{0} * 2 + V(R2)", "10000"},  // V(R2) isn't a trace: the evaluator's
        {"gain*sin(t)+1e-3", "{2}*sin(t)+1e-3", "00100"},
        {"2e-3*Gain", "2e-3*{2}", "00100"},
        {"1.5gain", "1.5gain", "00000"},  // a number runs over letters
        {"\"my trace\"/2", "{{3}/2", "00010"},
        {"foo+bar(t)", "foo+bar(t)", "00000"},
        {"V(R1).Run2+V(R1).nope+V(R1).\"Run 3\"", "{0.2}+{0}+{0.3}", "10000"},
        {"gain.x", "gain.x", "00000"},  // "." continues a plain name
        {"\"gain\".Run2", "\"gain\".Run2", "00000"},
    };
    for (const Row& row : rows) {
        TraceList list{{4, "V", "", "V(R1)"},
                       {4, "I", "", "I(R1)"},
                       {0, "Function", "Gain", "t*2"},
                       {0, "Function", "my trace", "t"},
                       {0, "Function", "", row.expr}};
        list.set.m_Runs.Add(new CStoredRun{2, "Run2"});
        list.set.m_Runs.Add(new CStoredRun{3, "Run 3"});
        CompileTrace(*list.set.m_Traces, 4);
        EXPECT_EQ(list[4].m_Compiled, row.compiled) << row.expr;
        std::string deps;
        for (int i = 0; i < 5; ++i) deps += list[4].m_Deps[i] ? '1' : '0';
        EXPECT_EQ(deps, row.deps) << row.expr;
    }
}

TEST(TraceOrder, OnlyFormulasOfUnboundTracesCompile) {
    TraceList list{{3, "Function", "", "V(R1)"}, {0, "V", "", "V(R1)"}, {0, "Function", "", ""}};
    for (int i = 0; i < 3; ++i) {
        CompileTrace(*list.set.m_Traces, i);
        EXPECT_EQ(list[i].m_Compiled, "");
        EXPECT_EQ(list[i].m_Deps, nullptr);
    }
}

TEST(TraceOrder, MathTracesMatchDisplayNamesAndTakeTheWholeText) {
    TraceList list{{2, "V", "", "V(R1)"}, {0, "Function", "", "V(R1) + 1"}, {0, "Math", "", "V(R1) + 1"},
                   {0, "Math", "", "v(r1)"}};
    list[2].m_Function.func = kFuncLpf;
    list[3].m_Function.func = kFuncLpf;
    CompileTrace(*list.set.m_Traces, 2);
    CompileTrace(*list.set.m_Traces, 3);
    // The whole text is one token, matched with another trace's display name.
    EXPECT_EQ(list[2].m_Compiled, "{1}");
    EXPECT_EQ(list[3].m_Compiled, "{0}");
    // A Function trace compares names, and an unnamed trace has none.
    TraceList plain{{0, "Function", "", "a"}, {0, "Function", "", "a"}};
    CompileTrace(*plain.set.m_Traces, 1);
    EXPECT_EQ(plain[1].m_Compiled, "a");
}

TEST(TraceOrder, FunctionTracesComeAfterWhatTheyUse) {
    TraceList list{{0, "Function", "sum", "a+b"},
                   {0, "Function", "b", "a*2"},
                   {4, "V", "", "V(R1)"},
                   {0, "Function", "a", "V(R1)+1"}};
    EXPECT_EQ(MakeOrder(*list.set.m_Traces), "");
    ASSERT_NE(list.set.m_Traces->m_Order, nullptr);
    // sum needs a and b, b needs a, a needs V(R1).
    EXPECT_EQ(list.Order(), "2310");
    EXPECT_EQ(list[0].m_OrderIndex, 3);
    EXPECT_EQ(list[2].m_OrderIndex, 0);
    EXPECT_EQ(list[0].m_Compiled, "{3}+{1}");
}

TEST(TraceOrder, CyclesRefuseTheRun) {
    {
        TraceList self{{4, "V", "", "V(R1)"}, {0, "Function", "x", "x+1"}};
        EXPECT_EQ(MakeOrder(*self.set.m_Traces), "Trace x+1: circular reference");
        EXPECT_EQ(self.set.m_Traces->m_Order, nullptr);
    }
    {
        // The message names the one earlier in the list.
        TraceList mutual{{0, "Function", "a", "b+1"}, {0, "Function", "b", "a-1"}};
        EXPECT_EQ(MakeOrder(*mutual.set.m_Traces), "Trace b+1: circular reference");
    }
    {
        // A cycle reached from a trace outside it: a -> b -> c -> b.
        TraceList outside{{0, "Function", "a", "b"}, {0, "Function", "b", "c*2"}, {0, "Function", "c", "b/2"}};
        EXPECT_EQ(MakeOrder(*outside.set.m_Traces), "Trace b: circular reference");
    }
    {
        // The same cycle listed after an independent trace.
        TraceList later{{4, "V", "", "V(R1)"}, {0, "Function", "c", "b/2"}, {0, "Function", "b", "c*2"}};
        EXPECT_EQ(MakeOrder(*later.set.m_Traces), "Trace b/2: circular reference");
    }
}

TEST(TraceOrder, LongChainsAndEmptyLists) {
    TraceList empty{};
    EXPECT_EQ(MakeOrder(*empty.set.m_Traces), "");
    EXPECT_EQ(empty.set.m_Traces->m_Order, nullptr);

    // Each trace uses the one behind it: the order is the list reversed.
    TraceList chain{};
    const int n = 300;
    for (int i = 0; i < n; ++i) {
        auto* trace = new CTrace(chain.set.m_Traces.get());
        trace->m_Id = 0;
        trace->m_Type = kTraceFunction;
        trace->m_Name = "n" + std::to_string(i);
        trace->m_Expr = i + 1 < n ? "n" + std::to_string(i + 1) + "+1" : "t";
        chain.set.m_Traces->Add(trace);
    }
    ASSERT_EQ(MakeOrder(*chain.set.m_Traces), "");
    for (int p = 0; p < n; ++p) EXPECT_EQ(chain.set.m_Traces->OrderAt(p), n - 1 - p);
    // Closing the chain into a ring is found without running away.
    chain[n - 1].m_Expr = "n0";
    EXPECT_EQ(MakeOrder(*chain.set.m_Traces), "Trace n1+1: circular reference");
}

}  // namespace
}  // namespace qz3
