// The C-code language by tables: one row per construct, the program text
// and either the variables it leaves behind or the exact error it gives.
#include "expr/ccode_node.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "expr/ccode_assign.h"
#include "expr/number_text.h"
#include "expr/value.h"
#include "expr/var_list.h"

namespace qz3 {
namespace {

// A host whose stop and time limit the test sets.
class CTestHost : public CCodeHost {
public:
    CDoc* Doc() override { return nullptr; }
    bool StopRequested() override { return stop; }
    bool TimedOut() override { return ++timeChecks > allowedChecks; }
    bool stop = false;
    int allowedChecks = 1000000;
    int timeChecks = 0;
};

struct CRun {
    bool parsed = false;
    int code = kCodeFailed;
    std::string message;
    int32_t pos = 0;
    CVarList vars;
};

// Parses and runs the whole text once, as a block without `main` does.
void RunText(const std::string& text, CRun& run, CCodeHost* host = nullptr) {
    CCodeNode root;
    root.Host = host;
    run.vars.Add("t", vtDouble, 0);
    ExprError().clear();
    run.parsed = root.Parse(text);
    if (run.parsed) run.code = root.Run(0, &run.vars, run.vars.Count(), kRunAll);
    run.message = ExprError();
    run.pos = CodeErrorPos();
}

// "name=i:3" (int), "name=l:3" (int64), "name=d:3.5" (double),
// "name=b:1" (bool), "name=c:1:2" (complex), "name[2]=i:3" (element).
void ExpectVariable(CVarList& vars, const std::string& item, const std::string& text) {
    const size_t eq = item.find('=');
    std::string name = item.substr(0, eq);
    int element = 0;
    if (const size_t open = name.find('['); open != std::string::npos) {
        element = std::stoi(name.substr(open + 1));
        name = name.substr(0, open);
    }
    const std::string value = item.substr(eq + 1);
    CVarEntry* entry = vars.Find(name);
    ASSERT_NE(entry, nullptr) << text << " : no variable " << name;
    const CValue& v = entry->Value[element];
    const char tag = value[0];
    const std::string number = value.substr(2);
    switch (tag) {
        case 'i': EXPECT_EQ(v.Type, vtInt) << text; EXPECT_EQ(v.I32, std::stoll(number)) << text; break;
        case 'l': EXPECT_EQ(v.Type, vtInt64) << text; EXPECT_EQ(v.I64, std::stoll(number)) << text; break;
        case 'b': EXPECT_EQ(v.Type, vtBool) << text; EXPECT_EQ(v.Byte, std::stoi(number)) << text; break;
        case 'd': EXPECT_EQ(v.Type, vtDouble) << text; EXPECT_DOUBLE_EQ(v.Dbl, std::stod(number)) << text; break;
        default: {
            const size_t colon = number.find(':');
            EXPECT_EQ(v.Type, vtComplex) << text;
            EXPECT_DOUBLE_EQ(v.Dbl, std::stod(number.substr(0, colon))) << text;
            EXPECT_DOUBLE_EQ(v.Im, std::stod(number.substr(colon + 1))) << text;
        }
    }
}

struct Row {
    const char* Text;
    const char* Expect;  // blank-separated variables
};

void ExpectRows(const Row* rows, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        CRun run;
        RunText(rows[i].Text, run);
        ASSERT_TRUE(run.parsed) << rows[i].Text << " : " << run.message;
        ASSERT_NE(run.code, kCodeFailed) << rows[i].Text << " : " << run.message;
        std::istringstream items(rows[i].Expect);
        std::string item;
        while (items >> item) ExpectVariable(run.vars, item, rows[i].Text);
    }
}

TEST(CCode, ArithmeticIsIntegerBetweenIntegers) {
    const Row rows[] = {
        {"int a = 7/2; double b = 7/2.0; double c = (7%2)/2;", "a=i:3 b=d:3.5 c=d:0.5"},
        {"double h = 7/2;", "h=d:3"},
        {"int a = 7; a %= 3; int n = -7; n %= 3;", "a=i:1 n=i:-1"},
        {"double d = 7.5; d %= 2; int w = 7; w %= 2.5;", "d=d:1.5 w=i:2"},
        {"int a = 7; a /= 2; double x = 7; x /= 2;", "a=i:3 x=d:3.5"},
        {"int m = 2147483647; m += 1;", "m=i:-2147483648"},
        {"int64 big = 1; big <<= 40; int s = -16; s >>= 2;", "big=l:1099511627776 s=i:-4"},
        {"int f = 12; f &= 10; int g = 12; g |= 3; int x = 6; x ^= 3;", "f=i:8 g=i:15 x=i:5"},
        {"double z = 0.1; z -= 0.1; double p = 3; p *= 0.5;", "z=d:0 p=d:1.5"},
        {"complex c = 3; c *= 2; complex j = 1; j += 2;", "c=c:6:0 j=c:3:0"},
        {"bool b = 5; bool o = 0; int k = true + 1;", "b=b:1 o=b:0 k=i:2"},
        {"int i = 3; i++; int j = i--; double d = 1.5; d++;", "i=i:3 j=i:4 d=d:2.5"},
        {"int a[3]; int i = 1; a[i]++; a[2] = a[1] + 4;", "a[1]=i:1 a[2]=i:5"},
        {"float f = 1; f /= 4;", "f=d:0.25"},
    };
    ExpectRows(rows, std::size(rows));
}

TEST(CCode, StatementsLoopsAndSwitch) {
    const Row rows[] = {
        {"int s = 0; int i; for (i = 0; i < 10; i++) { if (i == 3) continue; if (i == 6) break; s += i; }",
         "s=i:12 i=i:6"},
        {"int n = 0; while (n < 5) n++;", "n=i:5"},
        {"int n = 0; while (1) { n++; if (n >= 4) break; }", "n=i:4"},
        {"int n = 10; do { n--; } while (n > 3);", "n=i:3"},
        {"int n = 10; do n = n - 4; while(n > 100);", "n=i:6"},
        {"int s = 0; int i = 0; while (i < 5) { i++; if (i % 2 == 0) continue; s += i; }", "s=i:9"},
        {"int k = 2; int a = 1; int r = 0; switch (k) { case a: r = 10; break; case a + 1: r = 20; case 3: r += 1; "
         "break; default: r = -1; }",
         "r=i:21"},
        {"int r = 5; switch (9) { case 1: r = 0; }", "r=i:5"},
        {"int r = 5; switch (9) { case 1: r = 0; break; default: r = 7; }", "r=i:7"},
        {"int r = 0; switch (2.9) { case 2: r = 1; }", "r=i:1"},
        {"int x = 0; int y = 0; if (x) y = 1; else y = 2;", "y=i:2"},
        {"int y = 0; if (1 > 0) { y = 1; } else{ y = 2; }", "y=i:1"},
        {"int y = 0; if (0) y = 1; else if (1) y = 3; else y = 4;", "y=i:3"},
        {"int a; double b; a = b = 3.5;", "a=i:3 b=d:3.5"},
        {"int a; int b; int c; a = b = c = 4; a += b -= 1;", "a=i:7 b=i:3 c=i:4"},
        {"int i = 1; { int i = 2; i = 5; } int j = i;", "i=i:1 j=i:1"},
        {"int a[] = {1, 2, max(3, 4)}; int n = a[2]; int m[4] = {9}; int k[2] = {1, 2, 3};",
         "n=i:4 m[0]=i:9 m[1]=i:0 k[1]=i:2"},
        {"int a = 1, b = a + 1;", "a=i:1 b=i:2"},
        {"int Abc = 1; abc = 4; ABC += 1;", "abc=i:5"},
        {"int a = 1; return; a = 2;", "a=i:1"},
        {"int a = 1; /* a = 2; /* nested */ a = 3; */ a = a + 10;", "a=i:11"},
        {"int a = 1; // comment\n a = 2;\r a = a + 5;", "a=i:6"},
        {"int a = 1;\t\r\n a = a\r\n + 1;", "a=i:2"},
        {"int n = 0; ; ; n = 1;", "n=i:1"},
        {"int ifx = 3; int doit = 2;", "ifx=i:3 doit=i:2"},
    };
    ExpectRows(rows, std::size(rows));
}

struct ErrorRow {
    const char* Text;
    const char* Message;
    int Pos;  // 1-based position of the failing statement, 0 to skip
};

void ExpectErrors(const ErrorRow* rows, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        CRun run;
        RunText(rows[i].Text, run);
        EXPECT_TRUE(!run.parsed || run.code == kCodeFailed) << rows[i].Text;
        EXPECT_EQ(run.message, rows[i].Message) << rows[i].Text;
        if (rows[i].Pos) EXPECT_EQ(run.pos, rows[i].Pos) << rows[i].Text;
    }
}

TEST(CCode, SyntaxErrorsWithTheirPositions) {
    const ErrorRow rows[] = {
        {"int a = 1", "Syntax error: ';' not found", 1},
        {"int a; a = 2", "Syntax error: ';' not found", 8},
        {"int a; { a = 1;", "Syntax error: '}' not found", 8},
        {"int a; if a) a = 1;", "Syntax error: '(' not found", 8},
        {"while (1 { }", "Syntax error: ')' not found", 1},
        {"int a; do a = 1; until (1);", "Syntax error: 'while' not found", 11},
        {"int a; for (a = 0) a++;", "Syntax error: ';' not found", 8},
        {"switch (1) { case 1 break; }", "Syntax error: ':' not found", 14},
        {"switch (1) { default break; }", "Syntax error: ':' not found", 14},
        {"int a; /* open /* nested */", "Syntax error: '*/' not found", 8},
        {"int a; /* closed */ }", "Syntax error: ';' not found", 21},
    };
    ExpectErrors(rows, std::size(rows));
}

TEST(CCode, RunErrorsNamesAndTypes) {
    const ErrorRow rows[] = {
        {"int a = b;", "Wrong variable name or number format: 'b'", 5},
        {"c = 1;", "Variable 'c' not found", 1},
        {"int x; return x;", "Wrong variable name or number format: 'return x'", 8},
        {"INT a;", "Wrong variable name or number format: 'INT a'", 1},
        {"int a = 1; if (a = 3) a = 2;", "Operator '=' not allowed", 12},
        {"int i; int i;", "Variable 'i' already exists", 12},
        {"int a[];", "Array 'a' : size <= 0", 5},
        {"int a[0];", "Array 'a' : size <= 0", 5},
        {"int a[100000000];", "Array 'a' : size too large", 5},
        {"double a[4194305];", "Array 'a' : size too large", 8},
        {"int a[2]; a[2] = 1;", "a: array index too high", 11},
        {"int a[2]; a[-1] = 1;", "a: negative array index", 11},
        {"int a[2]; int b = a;", "Array 'a' needs an index", 15},
        {"double d = 1; d |= 2;", "Operator '|=' : floating point arguments not allowed", 15},
        {"double d = 1; d <<= 2;", "Operator '<<=' : floating point arguments not allowed", 15},
        {"complex z; z ^= 2;", "Operator '^=' : complex arguments not allowed", 12},
        {"complex z; z %= 2;", "Operator '<<=' : complex arguments not allowed", 12},
        {"int a = 1.5 | 1;", "Operator '|' : floating point arguments not allowed", 5},
        {"int a = 1; int b = 0; int c = a / b;", "Division by zero", 27},
        {"int a = 1; int b = 0; a /= b;", "Division by zero", 23},
        {"int64 a = 1; a %= 0;", "Division by zero", 14},
        {"int i; for (int j = 0; i < 3; i++) ;", "Variable 'int j' not found", 8},
    };
    ExpectErrors(rows, std::size(rows));
}

TEST(CCode, SplitAssignKindsAndApplyAssignKeepsTheTargetsType) {
    const struct {
        const char* Text;
        int Code;
        const char* Lhs;
        const char* Index;
    } rows[] = {
        {"a = 1", 20, "a", ""},       {"a == 1", 0, "", ""},      {"a != 1", 0, "", ""},
        {"a <= 1", 0, "", ""},        {"a >= 1", 0, "", ""},      {"a <<= 1", 27, "a", ""},
        {"a >>= 1", 26, "a", ""},     {"a += 1", 28, "a", ""},    {"a -= 1", 29, "a", ""},
        {"a *= 1", 30, "a", ""},      {"a /= 1", 31, "a", ""},    {"a %= 1", 32, "a", ""},
        {"a |= 1", 17, "a", ""},      {"a ^= 1", 18, "a", ""},    {"a &= 1", 19, "a", ""},
        {"a[i+1] = 2", 20, "a", "i+1"}, {"a[] = 2", 20, "a", "-100"}, {"a =\"x\"", 20, "a", ""},
        {"a + 1", 0, "a + 1", ""},  {"a[4]", 0, "a", "4"},
    };
    for (const auto& row : rows) {
        std::string_view lhs, rhs, index;
        EXPECT_EQ(SplitAssign(row.Text, lhs, rhs, index), row.Code) << row.Text;
        EXPECT_EQ(lhs, row.Lhs) << row.Text;
        EXPECT_EQ(index, row.Index) << row.Text;
    }
    CValue target, value;
    target.SetInt(7);
    value.SetDouble(0.5);
    ASSERT_TRUE(ApplyAssign(30, target, value));
    EXPECT_EQ(target.Type, vtInt);
    EXPECT_EQ(target.I32, 3);
    EXPECT_FALSE(ApplyAssign(99, target, value));
    EXPECT_EQ(ExprError(), "Unknown operator");
}

TEST(CCode, MainKeepsTopLevelVariablesAcrossRuns) {
    CCodeNode root;
    ASSERT_TRUE(root.Parse("int n = 3; int calls; init() { n = 10; }\r\nmain() { int local = 1; n += local; calls++; }"));
    CVarList vars;
    vars.Add("t", vtDouble, 0);
    ASSERT_EQ(root.Run(0, &vars, vars.Count(), kRunAll), kCodeDone);
    EXPECT_EQ(vars.Find("n")->Value->I32, 3) << "init and main don't run with the top level";
    const int32_t top = vars.Count();
    ASSERT_EQ(root.Run(0, &vars, top, kRunInit), kCodeDone);
    for (int step = 0; step < 3; ++step) {
        ASSERT_EQ(root.Run(0, &vars, top, kRunMain), kCodeDone) << ExprError();
        EXPECT_EQ(vars.Count(), top) << "the block's local is gone behind it";
    }
    EXPECT_EQ(vars.Find("n")->Value->I32, 13);
    EXPECT_EQ(vars.Find("calls")->Value->I32, 3);

    CCodeNode plain;
    ASSERT_TRUE(plain.Parse("int k = 1;"));
    EXPECT_EQ(plain.Run(0, &vars, vars.Count(), kRunMain), kCodeDone) << "no main: nothing to do";
    EXPECT_EQ(root.ChildCount(), 4);
    EXPECT_EQ(CodeLineOf("a;\r\nb;\r\nc;", 9), 3);
}

TEST(CCode, LoopsEndByTheTimeLimitAndTheStopFlag) {
    for (const char* loop : {"while", "do", "for"}) {
        const std::string text = std::string(loop) == "while" ? "while(1) ;"
                                 : std::string(loop) == "do"  ? "do ; while (1);"
                                                              : "int i; for (i = 0; ; i++) { }";
        CTestHost host;
        host.allowedChecks = 2;
        CRun run;
        RunText(text, run, &host);
        EXPECT_EQ(run.code, kCodeFailed) << text;
        EXPECT_EQ(run.message, std::string("'") + loop + "' loop time-out at cycle 300") << text;
    }
    // Nested loops that each stay below 100 cycles still meet the check.
    CTestHost nested;
    nested.allowedChecks = 2;
    CRun inner;
    RunText("int i; int j; while (1) { for (i = 0; i < 99; i++) { for (j = 0; j < 99; j++) ; } }", inner, &nested);
    EXPECT_EQ(inner.code, kCodeFailed);
    EXPECT_EQ(inner.message.rfind("'for' loop time-out at cycle ", 0), 0u) << inner.message;

    CTestHost stopping;
    stopping.stop = true;
    CRun stopped;
    RunText("int n; while (1) n++;", stopped, &stopping);
    EXPECT_EQ(stopped.code, kCodeFailed);
    EXPECT_EQ(stopped.message, "") << "a stop ends the run without a message";
    EXPECT_EQ(stopped.vars.Find("n")->Value->I32, 99);
}

TEST(CCode, HostileTextEndsWithAMessage) {
    CRun deep;
    RunText(std::string(10000, '{') + std::string(10000, '}'), deep);
    EXPECT_FALSE(deep.parsed);
    EXPECT_EQ(deep.message, "Program nested too deeply");

    CRun ifs;
    std::string chain;
    for (int i = 0; i < 10000; ++i) chain += "if (1) ";
    RunText(chain + "t = 1;", ifs);
    EXPECT_EQ(ifs.message, "Program nested too deeply");

    CRun assign;
    std::string names = "int a; a";
    for (int i = 0; i < 10000; ++i) names += " = a";
    RunText(names + " = 1;", assign);
    EXPECT_EQ(assign.message, "Assignment chain too long");

    // 100 KB of statements parse and run in one pass.
    std::string big = "int n = 0;";
    while (big.size() < 100000) big += " n += 1; /* count */\r\n";
    CRun large;
    RunText(big, large);
    ASSERT_EQ(large.code, kCodeDone) << large.message;
    EXPECT_GT(large.vars.Find("n")->Value->I32, 4000);

    CRun unclosed;
    RunText("main() { int a; ", unclosed);
    EXPECT_EQ(unclosed.message, "Syntax error: '}' not found");
}

TEST(CCode, ScopesReuseTheirVariablesWithoutGrowing) {
    CVarList vars;
    vars.Add("t", vtDouble, 0);
    CCodeNode root;
    ASSERT_TRUE(root.Parse("{ double a = 1; int b[3] = {1, 2, 3}; } { int longer_name = 2; double a; }"));
    for (int i = 0; i < 3; ++i) ASSERT_EQ(root.Run(0, &vars, 1, kRunAll), kCodeDone) << ExprError();
    EXPECT_EQ(vars.Count(), 1);
    vars.Add("x", vtInt, 2);
    EXPECT_EQ(vars.Find("x")->Size, 2);
    EXPECT_EQ(vars.Find("x")->Value[1].I32, 0) << "a reused block starts at zero";
    EXPECT_EQ(vars.Find("a"), nullptr);
}

}  // namespace
}  // namespace qz3
