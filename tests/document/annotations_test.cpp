// Notes on traces and runs survive save and open, and go with their trace.
#include <gtest/gtest.h>

#include <string>

#include "document/doc.h"
#include "test_files.h"
#include "traces/annotation.h"
#include "traces/trace.h"
#include "traces/trace_set.h"
#include "xml/xml_node.h"

namespace qz3 {
namespace {

std::string Element(const std::string& text, const std::string& open, const std::string& close) {
    const size_t begin = text.find(open);
    const size_t end = text.find(close, begin);
    return begin == std::string::npos || end == std::string::npos ? "" : text.substr(begin, end + close.size() - begin);
}

TEST(Annotations, TraceAndRunNotesSurviveTwoRoundTrips) {
    const std::string dir = test::TempDir("qz3_notes_");
    std::string previous = test::kCircuits + "annotated_traces.qz3";
    std::string texts[2];
    for (int cycle = 0; cycle < 2; ++cycle) {
        CDoc doc;
        ASSERT_EQ(doc.Load(previous), 0) << doc.m_LastError;
        CTrace* trace = doc.m_Tran->FindTrace("V(R1)");
        ASSERT_NE(trace, nullptr);
        ASSERT_EQ(trace->m_Annotations.Count(), 2);
        const CAnnotation& first = *trace->m_Annotations.At(0);
        EXPECT_EQ(first.m_Text, "peak here");
        EXPECT_EQ(first.m_Align, 2);
        EXPECT_EQ(first.m_Dir, 1);
        EXPECT_EQ(first.m_Offset.x, 5);
        EXPECT_EQ(first.m_Offset.y, -7);
        EXPECT_DOUBLE_EQ(first.m_T, 1.5e-3);
        EXPECT_EQ(first.m_Output, 2);
        EXPECT_EQ(first.m_OffsetXY.y, 2);
        // A missing offset keeps the default of a transient trace.
        EXPECT_EQ(trace->m_Annotations.At(1)->m_Offset.x, -30);
        EXPECT_EQ(trace->m_Annotations.At(1)->m_Offset.y, 30);
        ASSERT_NE(trace->DataObject(), nullptr);
        ASSERT_EQ(trace->DataObject()->m_Annotations.Count(), 1);
        EXPECT_EQ(trace->DataObject()->m_Annotations.At(0)->m_Text, "on the run");
        EXPECT_EQ(trace->DataObject()->m_Annotations.At(0)->m_OffsetSmith.x, 9);
        EXPECT_EQ(doc.m_Tran->FindTrace("V(V1)")->m_Annotations.Count(), 0);

        const std::string saved = dir + "notes" + std::to_string(cycle) + ".qz3";
        ASSERT_TRUE(doc.Save(saved));
        texts[cycle] = Element(test::ReadBytes(saved), "<Traces>", "</Traces>");
        previous = saved;
    }
    EXPECT_EQ(texts[0], texts[1]);
    // The trace without notes has no Annotations element.
    EXPECT_NE(texts[1].find("<Trace id=\"1\" expr=\"V1\" name=\"V(V1)\" type=\"V\" />"), std::string::npos) << texts[1];
}

TEST(Annotations, DeletingATraceTakesItsNotes) {
    const std::string dir = test::TempDir("qz3_notes_");
    CDoc doc;
    ASSERT_EQ(doc.Load(test::kCircuits + "annotated_traces.qz3"), 0) << doc.m_LastError;
    CXmlNode* traces = doc.m_Tree->FindChild("Doc")->FindChild("Tran")->FindChild("Traces");
    doc.m_Tran->DeleteTrace(doc.m_Tran->FindTrace("V(R1)"), *traces);
    const std::string saved = dir + "deleted.qz3";
    ASSERT_TRUE(doc.Save(saved));
    EXPECT_EQ(test::ReadBytes(saved).find("Annotation"), std::string::npos);
}

TEST(Annotations, ListsMoveAndAcDefaults) {
    CAnnotations run(true), trace(true), ac(false);
    run.Add()->m_Text = "a";
    run.Add()->m_Text = "b";
    run.MoveTo(trace);
    EXPECT_EQ(run.Count(), 0);
    ASSERT_EQ(trace.Count(), 2);
    EXPECT_EQ(trace.At(1)->m_Owner, &trace);
    EXPECT_EQ(ac.Add()->m_Offset.x, -50);
    EXPECT_FALSE(trace.At(0)->Xml(nullptr));

    CXmlNode owner("Trace");
    owner.m_bWrite = true;
    ac.Clear();
    ac.XmlIn(owner);
    EXPECT_EQ(owner.ChildCount(), 0);
}

}  // namespace
}  // namespace qz3
