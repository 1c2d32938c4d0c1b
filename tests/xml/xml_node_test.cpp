#include "xml/xml_node.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <sstream>
#include <unistd.h>

#include "expr/formula.h"

#include "test_files.h"

namespace qz3 {
namespace {

using qz3::test::ReadBytes;

namespace fs = std::filesystem;

std::string TempPath(const std::string& name) {
    fs::path dir = fs::temp_directory_path() / ("qz3_xml_" + std::to_string(::getpid()));
    fs::create_directories(dir);
    return (dir / name).string();
}

void WriteBytes(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary);
    out << bytes;
}

// Parses text from its first "<" and returns the 1-based position behind.
int Parse(CXmlNode& node, const std::string& text) { return node.ParseText(text, int(text.find('<')) + 1); }

std::string Compact(const CXmlNode& node) {
    std::string out;
    node.ToText(out);
    return out;
}

TEST(XmlNode, PercentCodeTable) {
    struct Row {
        std::string plain, encoded;
    } rows[] = {
        {"", ""},
        {"a b", "a+b"},
        {"AZaz09!'()*-._~", "AZaz09!'()*-._~"},
        {"+%\"<>", "%2b%25%22%3c%3e"},
        {"x=1,y/2", "x%3d1%2cy%2f2"},
        {"\n\t", "%0a%09"},
        {"\xe9\xff", "%e9%ff"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(PercentEncode(row.plain), row.encoded) << row.plain;
        EXPECT_EQ(PercentDecode(row.encoded), row.plain) << row.encoded;
    }
    // Decoding accepts upper-case digits, stops at an encoded zero, and
    // takes a cut sequence at the end without running past it.
    EXPECT_EQ(PercentDecode("%2B%3D"), "+=");
    EXPECT_EQ(PercentDecode("ab%00cd"), "ab");
    EXPECT_EQ(PercentDecode("a%4"), "a\x04");
    EXPECT_EQ(PercentDecode("a%"), "a");
}

TEST(XmlNode, ParsesTheDialect) {
    CXmlNode node;
    std::string text = "junk<Cmp id=\"1\"  name=\" R 1 \" expr=\"a>b/c\">t<x/></Other></Cmp>tail";
    int behind = Parse(node, text);
    EXPECT_EQ(behind, int(text.find("tail")) + 1);
    EXPECT_FALSE(node.m_bWrite);
    EXPECT_EQ(node.m_Name, "Cmp");
    EXPECT_EQ(node.AttrCount(), 3);
    EXPECT_EQ(node.GetRaw("id", ""), "1");
    EXPECT_EQ(node.GetRaw("name", ""), "R 1");  // blanks trimmed at both ends
    EXPECT_EQ(node.GetRaw("expr", ""), "a>b/c");  // ">" and "/" are legal in values
    EXPECT_EQ(node.m_Text, "t");
    // "<x/>" has no blank, so its name takes the slash and it opens a body;
    // the "</Other>" closes it, not its parent.
    ASSERT_EQ(node.ChildCount(), 1);
    EXPECT_EQ(node.ChildAt(0)->m_Name, "x/");

    CXmlNode compact;
    Parse(compact, "<Cmp id=\"1\" /><Next />");
    EXPECT_EQ(compact.m_Name, "Cmp");
    EXPECT_EQ(compact.ChildCount(), 0);

    // Text after a line break is not kept; a "/" before a name ends the list.
    CXmlNode lines;
    Parse(lines, "<A>\n  text<B a=\"1\" /b=\"2\"/></A>");
    EXPECT_EQ(lines.m_Text, "");
    ASSERT_EQ(lines.ChildCount(), 1);
    EXPECT_EQ(lines.ChildAt(0)->AttrCount(), 1);

    // Duplicates are kept, the first one is found; names are case-sensitive.
    CXmlNode dup;
    Parse(dup, "<A k=\"1\" k=\"2\" K=\"3\" />");
    EXPECT_EQ(dup.AttrCount(), 3);
    EXPECT_EQ(dup.GetInt("k", 0), 1);
    EXPECT_EQ(dup.GetInt("K", 0), 3);
    EXPECT_FALSE(dup.HasAttr("KK"));

    EXPECT_EQ(node.ParseText("<A/>", 0), 0);
}

TEST(XmlNode, OneWayAccessors) {
    CXmlNode node;
    node.AddRaw("b1", "True");
    node.AddRaw("b2", "");
    node.AddRaw("b3", "true");
    EXPECT_FALSE(node.GetBool("b1", true));
    EXPECT_TRUE(node.GetBool("b2", true));
    EXPECT_TRUE(node.GetBool("b3", false));
    EXPECT_TRUE(node.HasAttr("b2"));

    EXPECT_EQ(node.GetStr("missing", "a+b%21"), "a b!");  // the default is decoded too

    node.AddDbl("nan", std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(node.GetRaw("nan", "x"), "");
    EXPECT_EQ(node.GetDbl("nan", 5), 5);
    struct {
        const char* text;
        double value;
    } numbers[] = {{"1.5(ms)", 1.5}, {"(ms)", 0}, {"-2.5e-3", -2.5e-3}, {"inf", INFINITY}, {"-inf", -INFINITY},
                   {"12x", 12}};
    for (auto& row : numbers) {
        node.SetRaw("d", row.text);
        EXPECT_EQ(node.GetDbl("d", 99), row.value) << row.text;
    }
    node.SetRaw("d", "(");
    EXPECT_EQ(node.GetDbl("d", 1), 0);  // present but empty before the bracket: 0, not the default
    node.AddDbl("milli", 1e-3);
    EXPECT_EQ(node.GetRaw("milli", ""), "1e-3");

    struct {
        const char* text;
        int value;
    } ints[] = {{"12abc", 12}, {"-7", -7}, {" 3", 3}, {"x", 0}, {"99999999999", 2147483647}, {"-99999999999", -2147483647 - 1}};
    for (auto& row : ints) {
        node.SetRaw("i", row.text);
        EXPECT_EQ(node.GetInt("i", 42), row.value) << row.text;
    }
    node.SetRaw("i", "");
    EXPECT_EQ(node.GetInt("i", 42), 42);

    node.SetStr("s", "a b+c");
    EXPECT_EQ(node.GetRaw("s", ""), "a+b%2bc");
    EXPECT_EQ(node.GetStr("s", ""), "a b+c");
    node.SetInt("s", 5);  // replaces the first "s", appends nothing
    EXPECT_EQ(node.GetRaw("s", ""), "5");

    node.RenameAttr("s", "t");
    EXPECT_FALSE(node.HasAttr("s"));
    EXPECT_EQ(node.GetInt("t", 0), 5);
    node.RenameAttr("none", "x");

    std::string name, value;
    node.AttrAt(0, name, value);
    EXPECT_EQ(name, "b1");
    EXPECT_EQ(value, "True");
    node.AttrAt(node.AttrCount(), name, value);
    EXPECT_EQ(name, "");
    EXPECT_EQ(value, "");

    node.SetEncodedText("x y");
    EXPECT_EQ(node.m_Text, "x+y");
    EXPECT_EQ(node.GetDecodedText(), "x y");
}

TEST(XmlNode, TwoWayAccessorsRoundTrip) {
    CXmlNode out("Thing");
    ASSERT_TRUE(out.m_bWrite);
    EXPECT_EQ(out.Str("s", "a b"), "a b");
    EXPECT_EQ(out.Raw("r", "a+b"), "a+b");
    EXPECT_EQ(out.Int("i", -3), -3);
    EXPECT_TRUE(out.Bool("b", true));
    EXPECT_EQ(out.Dbl("d", 1500.0), 1500.0);
    EXPECT_EQ(out.Color("c", 0x00332211u), 0x00332211u);
    int x = 4, y = -5;
    out.Pair("p", x, y);
    EXPECT_EQ(out.ChildText("Note", "hello"), "hello");
    EXPECT_EQ(out.GetRaw("c", ""), "17,34,51");
    EXPECT_EQ(out.GetRaw("p", ""), "4,-5");
    EXPECT_EQ(out.GetRaw("d", ""), "1.5e+3");
    EXPECT_EQ(out.GetRaw("b", ""), "true");

    // A second write into an uncleared node duplicates; the first is read.
    out.Int("i", 9);
    EXPECT_EQ(out.AttrCount(), 8);

    std::string text;
    out.ToText(text);
    CXmlNode in;
    Parse(in, text);
    EXPECT_EQ(in.Str("s", ""), "a b");
    EXPECT_EQ(in.Raw("r", ""), "a+b");
    EXPECT_EQ(in.Int("i", 0), -3);
    EXPECT_TRUE(in.Bool("b", false));
    EXPECT_EQ(in.Dbl("d", 0), 1500.0);
    EXPECT_EQ(in.Color("c", 0), 0x00332211u);
    EXPECT_EQ(in.Color("missing", 77), 77u);
    int a = 0, b = 0;
    in.Pair("p", a, b);
    EXPECT_EQ(a, 4);
    EXPECT_EQ(b, -5);
    a = 1, b = 2;
    in.Pair("missing", a, b);
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 2);
    EXPECT_EQ(in.ChildText("Note", "default"), "hello");
    EXPECT_EQ(in.ChildText("Other", "default"), "default");
    EXPECT_EQ(in.Text("ignored"), "");
}

TEST(XmlNode, FormulaValues) {
    CFormula formula;
    formula.m_Text = "=R1.R * 2";
    formula.m_Value = 2000;
    formula.m_Format = 4;
    formula.m_Bits = 16;
    CXmlNode out("Cmp");
    out.Val("r", formula);
    EXPECT_EQ(out.GetRaw("r_str", ""), "%3dR1.R+*+2");
    EXPECT_EQ(out.GetRaw("r", ""), "2e+3");
    EXPECT_EQ(out.GetRaw("r_format", ""), "hex");
    EXPECT_EQ(out.GetInt("r_bit", 0), 16);

    CXmlNode plain("Cmp");
    CFormula five(5.0);
    plain.Val("r", five);
    EXPECT_EQ(plain.AttrCount(), 1);  // a number with default format is one attribute

    out.m_bWrite = false;
    CFormula back;
    out.Val("r", back);
    EXPECT_EQ(back.m_Text, "=R1.R * 2");
    EXPECT_EQ(back.m_Value, 2000);
    EXPECT_EQ(back.m_Format, 4);
    EXPECT_EQ(back.m_Bits, 16);

    // Missing value: a blank formula reads NaN, an ordinary one keeps its value;
    // an unknown format word gives 0 and the width its default.
    CXmlNode sparse;
    Parse(sparse, "<Cmp r_format=\"word\" />");
    CFormula blank;
    blank.m_Blank = true;
    blank.m_Bits = 8;
    sparse.Val("r", blank);
    EXPECT_TRUE(std::isnan(blank.m_Value));
    EXPECT_EQ(blank.m_Format, 0);
    EXPECT_EQ(blank.m_Bits, 32);
    CFormula kept(3.0);
    sparse.Val("r", kept);
    EXPECT_EQ(kept.m_Value, 3.0);
}

TEST(XmlNode, TreeOperations) {
    CXmlNode root("Root");
    for (const char* name : {"A", "B", "A", "C"}) root.AddChild(name);
    root.m_bWrite = false;

    CXmlNode* first = root.FindChild("A", 0);
    ASSERT_EQ(first, root.ChildAt(0));
    EXPECT_FALSE(first->m_bWrite);  // a found child takes the parent's mode
    EXPECT_EQ(root.FindNext(), root.ChildAt(2));
    EXPECT_EQ(root.FindNext(), nullptr);
    int walked = 0;
    for (CXmlNode* c = root.FindChild("", 0); c; c = root.FindNext()) ++walked;
    EXPECT_EQ(walked, 4);
    EXPECT_EQ(root.Child("C"), root.ChildAt(3));  // load mode finds
    EXPECT_EQ(root.ChildAt(4), nullptr);
    EXPECT_EQ(root.ChildAt(-1), nullptr);

    // A search on a childless node leaves the earlier search standing.
    CXmlNode* leaf = root.ChildAt(1);
    leaf->FindChild("A", 0);
    EXPECT_EQ(leaf->m_FindName, "");
    root.FindChild("A", 0);
    CXmlNode empty;
    EXPECT_EQ(empty.FindChild("X", 0), nullptr);
    EXPECT_EQ(root.FindNext(), root.ChildAt(2));

    root.m_bWrite = true;
    CXmlNode* added = root.Child("C");  // save mode adds
    EXPECT_EQ(root.ChildCount(), 5);
    EXPECT_TRUE(added->m_bWrite);

    CXmlNode other("Other");
    CXmlNode::MoveChild(added, &root, &other);
    EXPECT_EQ(root.ChildCount(), 4);
    EXPECT_EQ(other.ChildAt(0), added);

    root.FindChild("A", 0);
    while (root.ChildCount() > 0) root.DeleteChild(0);
    EXPECT_EQ(root.m_Children, nullptr);  // the list goes with the last child
    EXPECT_EQ(root.FindChild("Z", 0), nullptr);
    EXPECT_EQ(root.m_FindName, "A");  // FindNext would repeat the earlier search
    root.DeleteChild(3);  // a wrong index is ignored

    other.ChildAt(0)->SetError("inner");
    other.AddChild("X")->AddChild("Y")->SetError("deep");
    other.SetError("outer");
    EXPECT_EQ(other.Errors(), "inner\ndeep\nouter");

    other.AddRaw("k", "v");
    other.m_Text = "t";
    other.m_bWrite = false;
    other.Clear();
    EXPECT_EQ(other.m_Name, "Other");
    EXPECT_EQ(other.m_Error, "outer");
    EXPECT_EQ(other.ChildCount(), 0);
    EXPECT_EQ(other.AttrCount(), 0);
    EXPECT_EQ(other.m_Text, "");
    EXPECT_TRUE(other.m_bWrite);
}

TEST(XmlNode, WriterForms) {
    CXmlNode root("R");
    root.AddRaw("a", "1");
    root.m_Text = "lost";  // a node with children doesn't write its text
    CXmlNode* withText = root.AddChild("T");
    withText->SetText("x y");
    withText->AddRaw("k", "v");
    root.AddChild("E");
    CXmlNode* emptyList = root.AddChild("L");
    emptyList->AddChild("gone");
    emptyList->DeleteChild(0);
    CXmlNode::MoveChild(emptyList->AddChild("M"), emptyList, &root);  // leaves an empty, non-null list
    EXPECT_EQ(Compact(root), "<R a=\"1\"><T k=\"v\">x y</T><E /><L></L><M /></R>");

    std::string path = TempPath("writer.qz3");
    ASSERT_TRUE(root.SaveFile(path));
    EXPECT_EQ(ReadBytes(path),
              "<?xml version=\"1.0\"?>\n"
              "<R a=\"1\">\n"
              "  <T k=\"v\">x y</T>\n"
              "  <E />\n"
              "  <L>\n"
              "  </L>\n"
              "  <M />\n"
              "</R>\n");
    EXPECT_FALSE(root.SaveFile(""));
    EXPECT_FALSE(root.SaveFile(fs::temp_directory_path().string()));

    // A file in the writer's own layout loads and writes back byte for byte.
    std::string original = std::string(QZ3_TEST_DATA_DIR) + "/circuits/doc_roundtrip.qz3";
    CXmlNode again("QZ3");
    ASSERT_TRUE(again.LoadFile(original));
    std::string second = TempPath("roundtrip.qz3");
    ASSERT_TRUE(again.SaveFile(second));
    EXPECT_EQ(ReadBytes(second), ReadBytes(original));
}

TEST(XmlNode, LoadFileCases) {
    CXmlNode none("QZ3");
    EXPECT_FALSE(none.LoadFile(""));
    EXPECT_EQ(none.m_Error, "No file name");

    std::string missing = TempPath("missing.qz3");
    CXmlNode absent("QZ3");
    EXPECT_FALSE(absent.LoadFile(missing));
    EXPECT_EQ(absent.m_Error, missing + " : No such file or directory");

    std::string dir = TempPath("a_folder");
    fs::create_directories(dir);
    CXmlNode folder("QZ3");
    EXPECT_FALSE(folder.LoadFile(dir));
    EXPECT_EQ(folder.m_Error, dir + " : Is a directory");

    std::string wrong = TempPath("wrong.qz3");
    WriteBytes(wrong, "<?xml version=\"1.0\"?>\n<QZ3x>\n</QZ3x>\n");
    CXmlNode mismatch("QZ3");
    EXPECT_FALSE(mismatch.LoadFile(wrong));
    EXPECT_EQ(mismatch.m_Error, wrong + " : wrong file format");

    // CR LF lines, the root found by "<QZ3 ", and nothing read behind the
    // zero byte that starts the stored data.
    std::string crlf = TempPath("crlf.qz3");
    using namespace std::string_literals;
    WriteBytes(crlf, "<?xml?>\r\n<QZ3 v=\"1\">\r\n<A>x</A>\r\n</QZ3>\r\n\0<B/>"s);
    CXmlNode root("QZ3");
    ASSERT_TRUE(root.LoadFile(crlf));
    EXPECT_EQ(root.GetRaw("v", ""), "1");
    ASSERT_EQ(root.ChildCount(), 1);
    EXPECT_EQ(root.ChildAt(0)->m_Text, "x");

    // Without a name the file's top-level elements become children of "top".
    std::string several = TempPath("several.xml");
    WriteBytes(several, "<A />\n<B>t</B>");
    CXmlNode top;
    ASSERT_TRUE(top.LoadFile(several));
    EXPECT_EQ(top.m_Name, "top");
    ASSERT_EQ(top.ChildCount(), 2);
    EXPECT_EQ(top.ChildAt(1)->m_Text, "t");
}

TEST(XmlNode, HostileTextNeverRunsAway) {
    // Every prefix of a sample parses and stops at the end of its text.
    std::string sample =
        "<QZ3 a=\"1\" b=\"x>y\"><Doc><Cir k=\"v\"><Cmps><Cmp type=\"R_R\" /></Cmps></Cir>"
        "<T>text</T></Doc></QZ3>";
    for (size_t len = 1; len <= sample.size(); ++len) {
        CXmlNode node;
        int behind = node.ParseText(sample.substr(0, len), 1);
        EXPECT_GE(behind, 1);
        EXPECT_LE(behind, int(len) + 1);
    }

    CXmlNode unclosed;
    Parse(unclosed, "<A name=\"never closed");
    EXPECT_EQ(unclosed.GetRaw("name", ""), "never closed");
    CXmlNode bare;
    Parse(bare, "<A b=");
    EXPECT_EQ(bare.GetRaw("b", "x"), "");

    std::string garbage;
    for (int i = 0; i < 20000; ++i) garbage += char((i * 7919 + 13) % 256);
    CXmlNode noise;
    noise.ParseText("<" + garbage, 1);

    // A deeply nested text is cut at the depth limit with a message, and the
    // elements behind the deep part are still read.
    std::string deep = "<R>";
    for (int i = 0; i < 100000; ++i) deep += "<a k=\"/>\">";
    for (int i = 0; i < 100000; ++i) deep += "</a>";
    deep += "<after /></R>";
    CXmlNode tree;
    int behind = Parse(tree, deep);
    EXPECT_EQ(behind, int(deep.size()) + 1);
    ASSERT_EQ(tree.ChildCount(), 2);
    EXPECT_EQ(tree.ChildAt(1)->m_Name, "after");
    int depth = 0;
    for (CXmlNode* n = &tree; n->ChildCount() > 0; n = n->ChildAt(0)) ++depth;
    EXPECT_EQ(depth, CXmlNode::kMaxDepth);
    EXPECT_EQ(tree.Errors(), "elements nested deeper than 200 levels skipped");

    // An unterminated deep text ends at the text end.
    CXmlNode open;
    EXPECT_EQ(Parse(open, deep.substr(0, 600000)), 600001);
}

TEST(XmlNode, HugeAttributeLoadsInLinearTime) {
    std::string value(10 * 1024 * 1024, 'x');
    std::string path = TempPath("huge.qz3");
    WriteBytes(path, "<QZ3>\n<Cmp big=\"" + value + "\" after=\"1\" />\n</QZ3>\n");
    auto start = std::chrono::steady_clock::now();
    CXmlNode root("QZ3");
    ASSERT_TRUE(root.LoadFile(path));
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    ASSERT_EQ(root.ChildCount(), 1);
    EXPECT_EQ(root.ChildAt(0)->GetRaw("big", "").size(), value.size());
    EXPECT_EQ(root.ChildAt(0)->GetInt("after", 0), 1);
    EXPECT_LT(seconds, 5.0);  // a quadratic scan would take minutes
}

}  // namespace
}  // namespace qz3
