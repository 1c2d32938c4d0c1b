#include "document/doc.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

#include "xml/xml_node.h"

#include "test_files.h"

namespace qz3 {
namespace {

using qz3::test::ReadBytes;
using qz3::test::kCircuits;

namespace fs = std::filesystem;

std::string TempDir() { return qz3::test::TempDir("qz3_doc_"); }

// The file text with the Cmps element's lines taken out.
std::string WithoutCmps(const std::string& text) {
    size_t begin = text.find("<Cmps");
    size_t end = text.find("</Cmps>");
    size_t close = end == std::string::npos ? text.find("<Cmps />") + 8 : end + 7;
    return text.substr(0, begin) + text.substr(close);
}

TEST(Settings, DefaultsStandWithoutKeys) {
    CTranSettings tran;
    CACSettings ac;
    CAdvancedSettings adv;
    CXmlNode empty;
    empty.m_bWrite = false;
    tran.Xml(empty);
    ac.Xml(empty);
    adv.Xml(empty);
    EXPECT_EQ(tran.m_Start, 0);
    EXPECT_EQ(tran.m_Screen, 10);
    EXPECT_EQ(tran.m_Step, 0.001);
    EXPECT_FALSE(tran.m_PauseTrigger || tran.m_StartTrigger || tran.HasStartCondition());
    EXPECT_EQ(ac.m_From, 0.001);
    EXPECT_EQ(ac.m_To, 1000);
    EXPECT_EQ(ac.m_Points, 500);
    EXPECT_EQ(ac.m_Faf, "0.1");
    EXPECT_TRUE(ac.m_Fhl && ac.m_Fpop && !ac.m_Fsh && !ac.m_DCOP);
    EXPECT_EQ(ac.m_Fmr, 10);
    EXPECT_TRUE(adv.m_DC && adv.m_SeveralEulerSteps && !adv.m_ConstantStep && adv.m_StoreBeforeStart);
    EXPECT_EQ(adv.m_Zero, 1e-12);
    EXPECT_EQ(adv.m_StepMode, 1);
    EXPECT_EQ(adv.FirstStepFactor(), 0.125);
    EXPECT_EQ(adv.SecondStepFactor(), 0.25);
    EXPECT_EQ(adv.m_StepFirst[2], 0.015625);
    EXPECT_EQ(adv.m_StepSecond[0], 1);
    EXPECT_EQ(adv.m_High, 5);
    EXPECT_EQ(adv.m_Thr, 2.5);
    EXPECT_EQ(adv.m_Z0Re, 50);
    EXPECT_EQ(adv.m_StNMaxVal, 10);
    EXPECT_EQ(adv.m_StTVal, 1);
    EXPECT_EQ(empty.Errors(), "");

    // The group writes every key and reads them back to the same values.
    CXmlNode out("Settings");
    tran.m_StartTrigger = true;
    tran.m_StartTriggerF = "t > 1";
    tran.Xml(out);
    EXPECT_EQ(out.GetRaw("start_trigger_f", ""), "t+%3e+1");
    out.m_bWrite = false;
    CTranSettings back;
    back.Xml(out);
    EXPECT_TRUE(back.HasStartCondition());
    EXPECT_EQ(back.m_Step, 0.001);

    // A step row outside the table is held at its edge.
    for (auto [text, row] : {std::pair{"-4", 0}, {"7", 3}, {"2", 2}}) {
        CXmlNode node;
        node.m_bWrite = false;
        node.AddRaw("s_m", text);
        CAdvancedSettings clamped;
        clamped.Xml(node);
        EXPECT_EQ(clamped.m_StepMode, row) << text;
    }
}

TEST(Doc, LoadsTheDocumentNode) {
    CDoc doc;
    EXPECT_EQ(doc.m_Handle, -1);
    EXPECT_FALSE(doc.m_Running);
    ASSERT_EQ(doc.Load(kCircuits + "doc_roundtrip"), 0) << doc.m_LastError;  // ".qz3" added
    EXPECT_EQ(doc.m_FileName, kCircuits + "doc_roundtrip.qz3");
    EXPECT_EQ(doc.m_Title, doc.m_FileName);

    EXPECT_EQ(doc.m_TranSettings.m_Start, 1e-3);
    EXPECT_EQ(doc.m_TranSettings.m_Screen, 20e-3);
    EXPECT_EQ(doc.m_TranSettings.m_Step, 10e-6);
    EXPECT_TRUE(doc.m_TranSettings.m_PauseTrigger);
    EXPECT_EQ(doc.m_TranSettings.m_PauseTriggerF, "t > 5m");
    EXPECT_FALSE(doc.m_TranSettings.HasStartCondition());

    const CACSettings& ac = doc.m_ACSettings;
    EXPECT_EQ(ac.m_Type, 1);
    EXPECT_EQ(ac.m_List, "1,2,3");
    EXPECT_EQ(ac.m_From, 10);
    EXPECT_EQ(ac.m_To, 1e6);
    EXPECT_EQ(ac.m_Points, 50);
    EXPECT_EQ(ac.m_Id, 2);
    EXPECT_EQ(ac.m_Alg, 0);  // "2" is refused
    EXPECT_TRUE(ac.m_DCOP && !ac.m_Fhl && ac.m_Fsh && !ac.m_Fpop);
    EXPECT_EQ(ac.m_Faf, "0.5");
    EXPECT_EQ(ac.m_Fmr, 3);

    const CAdvancedSettings& adv = doc.m_Advanced;
    EXPECT_TRUE(!adv.m_DC && !adv.m_SeveralEulerSteps && adv.m_ConstantStep && !adv.m_StoreBeforeStart);
    EXPECT_EQ(adv.m_Timeout, 7);
    EXPECT_EQ(adv.m_Zero, 1e-15);
    EXPECT_EQ(adv.m_StepMode, 3);
    EXPECT_EQ(adv.SecondStepFactor(), 0.5);
    EXPECT_EQ(adv.m_StepFirst[0], 0.25);
    EXPECT_EQ(adv.m_Low, -1);
    EXPECT_EQ(adv.m_High, 3.3);
    EXPECT_EQ(adv.m_Thr, 1.65);
    EXPECT_EQ(adv.m_Z0Re, 75);
    EXPECT_EQ(adv.m_Z0Im, -2);
    EXPECT_EQ(adv.m_ZParam, "x y");
    EXPECT_TRUE(adv.m_StDelete && adv.m_StMax && adv.m_StSave && adv.m_StT && adv.m_StTrigger);
    EXPECT_EQ(adv.m_StNMaxVal, 3);
    EXPECT_EQ(adv.m_StTVal, 2.5);
    EXPECT_EQ(adv.m_StTriggerF, "V(R1)>1");

    EXPECT_EQ(doc.m_Libraries, "lib/sub\nother lib\n");
    ASSERT_EQ(doc.m_States.Count(), 2);
    EXPECT_EQ(doc.m_States[0], "v=1.5;s=0");
    EXPECT_EQ(doc.m_States[1], "v=#000000000000F83F");

    // The tree keeps what the settings clamp, and the faults sit on their nodes.
    CXmlNode* docNode = doc.m_Tree->FindChild("Doc", 0);
    EXPECT_EQ(docNode->FindChild("Advanced", 0)->GetRaw("s_m", ""), "7");
    EXPECT_EQ(docNode->FindChild("Freq", 0)->FindChild("Settings", 0)->m_Error, "Z-transform method not supported");
    CXmlNode* cmps = docNode->FindChild("Cir", 0)->FindChild("Cmps", 0);
    EXPECT_EQ(cmps->ChildAt(1)->m_Error, "Unknown component type = Q_NoSuchPart");
}

TEST(Doc, LoadFailuresSayWhy) {
    CDoc wrong;
    std::string path = kCircuits + "doc_wrong_root.qz3";
    EXPECT_EQ(wrong.Load(path), -1);
    EXPECT_EQ(wrong.m_LastError, "cannot open file " + path + "\n" + path + " : wrong file format");
    EXPECT_EQ(wrong.m_Tree, nullptr);

    CDoc missing;
    std::string none = TempDir() + "nothing_here";
    EXPECT_EQ(missing.Load(none), -1);
    EXPECT_EQ(missing.m_LastError,
              "cannot open file " + none + ".qz3\n" + none + ".qz3 : No such file or directory");

    std::string folder = TempDir() + "folder.qz3";
    fs::create_directories(folder);
    CDoc dir;
    EXPECT_EQ(dir.Load(folder), -1);
    EXPECT_EQ(dir.m_LastError, "cannot open file " + folder + "\n" + folder + " : Is a directory");

    std::string noDoc = TempDir() + "no_doc.qz3";
    std::ofstream(noDoc) << "<QZ3>\n  <Version ver=\"3\" />\n</QZ3>\n";
    CDoc empty;
    EXPECT_EQ(empty.Load(noDoc), -1);
    // A file that parses but holds no Doc fails without words of its own:
    // the host reads the bare prefix of the open call.
    EXPECT_EQ(empty.m_LastError, "");
    EXPECT_EQ(empty.m_Tree, nullptr);

    // No Cir, no Tran: an empty circuit with default settings.
    CDoc minimal;
    ASSERT_EQ(minimal.Load(kCircuits + "doc_minimal.qz3"), 0);
    EXPECT_EQ(minimal.m_TranSettings.m_Step, 0.001);
    EXPECT_EQ(minimal.m_Advanced.m_StepMode, 1);
    EXPECT_EQ(minimal.m_Libraries, "");
    EXPECT_EQ(minimal.m_States.Count(), 0);
}

TEST(Doc, TitlesKeepRising) {
    int first = 0, second = 0;
    {
        CDoc a;
        first = std::stoi(a.m_Title.substr(7));
        EXPECT_EQ(a.m_Title.substr(0, 7), "Circuit");
    }
    CDoc b;
    second = std::stoi(b.m_Title.substr(7));
    EXPECT_GT(second, first);
}

TEST(Doc, SaveRewritesOnlyTheLivePlaces) {
    std::string original = kCircuits + "doc_roundtrip.qz3";
    CDoc doc;
    ASSERT_EQ(doc.Load(original), 0);
    std::string copy = TempDir() + "copy.qz3";
    ASSERT_TRUE(doc.Save(copy));
    std::string before = ReadBytes(original), after = ReadBytes(copy);
    // The unknown component type is dropped from Cmps; the rest is as read.
    EXPECT_EQ(after.find("Q_NoSuchPart"), std::string::npos);
    EXPECT_EQ(WithoutCmps(after), WithoutCmps(before));
    EXPECT_EQ(doc.m_FileName, original);  // a save under another name doesn't move the document

    // The step and the time-out follow the live values, in number text.
    doc.m_TranSettings.m_Step = 2.5e-6;
    doc.m_Advanced.m_Timeout = 12;
    std::string changed = TempDir() + "changed.qz3";
    ASSERT_TRUE(doc.Save(changed));
    std::string text = ReadBytes(changed);
    EXPECT_NE(text.find("screen=\"20e-3\" step=\"2.5e-6\" pause_trigger=\"true\""), std::string::npos);
    EXPECT_NE(text.find("sbs=\"false\" to=\"12\" zero=\"1e-15\""), std::string::npos);

    // Saving twice gives the same text.
    ASSERT_TRUE(doc.Save(changed));
    EXPECT_EQ(ReadBytes(changed), text);
    EXPECT_FALSE(doc.Save(TempDir()));

    CDoc unloaded;
    EXPECT_FALSE(unloaded.Save(copy));
}

TEST(Doc, StoredDataRecords) {
    CDoc doc;
    ASSERT_EQ(doc.Load(kCircuits + "doc_stored_data.qz3"), 0);
    std::string path = TempDir() + "stored.qz3";
    ASSERT_TRUE(doc.Save(path));
    ASSERT_TRUE(doc.Save(path));
    std::string bytes = ReadBytes(path);
    // One Storage record replaces the old ones, and one zero byte follows the text.
    EXPECT_NE(bytes.find("<StorageList>\n        <Storage name=\"Run\" id=\"0\" out=\"true\" />\n      </StorageList>"),
              std::string::npos);
    EXPECT_EQ(bytes.find("Old"), std::string::npos);
    ASSERT_FALSE(bytes.empty());
    EXPECT_EQ(bytes.back(), '\0');
    EXPECT_EQ(bytes.find('\0'), bytes.size() - 1);

    // The saved file opens again; the reader stops at the zero byte.
    CDoc again;
    ASSERT_EQ(again.Load(path), 0) << again.m_LastError;
    EXPECT_EQ(again.m_TranSettings.m_Step, 1e-3);
}

TEST(Doc, FindFileSearchesBesideAndInLibraries) {
    std::string root = TempDir() + "find/";
    fs::create_directories(root + "libs/deep");
    std::ofstream(root + "main.qz3") << "<QZ3><Version ver=\"3\" /><Doc /></QZ3>";
    std::ofstream(root + "sub.qz3") << "x";
    std::ofstream(root + "libs/deep/part.qz3") << "x";
    std::ofstream(root + "libs/block.dll") << "x";

    CDoc doc;
    ASSERT_EQ(doc.Load(root + "main"), 0);
    EXPECT_EQ(doc.FindFile("", ".qz3"), "");
    EXPECT_EQ(doc.FindFile(root + "sub", ".qz3"), root + "sub.qz3");  // as it stands
    EXPECT_EQ(doc.FindFile("sub", ".qz3"), root + "sub.qz3");         // beside the document
    EXPECT_EQ(doc.FindFile("\\sub.qz3", ""), root + "sub.qz3");       // a rooted name from elsewhere
    EXPECT_EQ(doc.FindFile("  sub.qz3 ", ""), root + "sub.qz3");
    EXPECT_EQ(doc.FindFile("part", ".qz3"), "");
    doc.m_Libraries = root + "libs/deep\n\n   \nlibs\n";
    EXPECT_EQ(doc.FindFile("part", ".qz3"), root + "libs/deep/part.qz3");  // library folder as it stands
    EXPECT_EQ(doc.FindFile("block", ".dll"), root + "libs/block.dll");     // library below the document
    EXPECT_EQ(doc.FindFile("deep\\part.qz3", ""), root + "libs/deep/part.qz3");
    EXPECT_EQ(doc.FindFile("nowhere", ".qz3"), "");
    EXPECT_EQ(WithDefaultExtension("a.b/c", ".qz3"), "a.b/c.qz3");
    EXPECT_EQ(WithDefaultExtension("c.txt", ".qz3"), "c.txt");
}

}  // namespace
}  // namespace qz3
