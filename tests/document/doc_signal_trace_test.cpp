// The "Trace" generator's lookup: the document's trace by name, and its
// stored run with samples, in the list of the kind of run.
#include "waveforms/signal_trace.h"

#include <gtest/gtest.h>

#include <memory>

#include <string>

#include "document/doc.h"
#include "traces/data.h"
#include "traces/trace.h"
#include "traces/trace_set.h"
#include "traces/traces.h"
#include "waveforms/signal.h"

namespace qz3 {
namespace {

TEST(SignalTrace, TheStoredRunOfTheDocumentsTraceIsFound) {
    CDoc doc;
    auto* trace = new CTrace(doc.m_Tran->m_Traces.get());
    trace->m_Name = "Vin";
    doc.m_Tran->m_Traces->Add(trace);
    const SignalTraceFinder find = GetSignalTraceFinder();
    ASSERT_NE(find, nullptr);
    bool found = true;
    EXPECT_EQ(find(&doc, "Other", true, &found), nullptr);
    EXPECT_FALSE(found);
    EXPECT_EQ(find(nullptr, "Vin", true, &found), nullptr);
    EXPECT_FALSE(found);
    EXPECT_EQ(find(&doc, "vin", true, &found), nullptr);  // there, but no stored run
    EXPECT_TRUE(found);
    CData* live = trace->AddRun(0);
    ASSERT_NE(live, nullptr);
    live->AddPoint(0.0, 7.0);
    CData* stored = trace->AddRun(-1);
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ(find(&doc, "Vin", true, &found), nullptr);  // the stored run is empty
    stored->AddPoint(0.0, 1.0);
    stored->AddPoint(1.0, 3.0);
    const std::unique_ptr<CSignalSamples> samples = find(&doc, "Vin", true, &found);
    ASSERT_NE(samples, nullptr);  // the stored run's points, not the live run's
    ASSERT_EQ(samples->SampleCount(), 2);
    EXPECT_EQ(samples->SampleValue(1), 3.0);
    EXPECT_EQ(find(&doc, "Vin", false, &found), nullptr);  // not a frequency trace
    EXPECT_FALSE(found);

    // The generator follows the samples it was given.
    CSignalContext context;
    context.samples = samples.get();
    context.traceFound = true;
    CSignal signal;
    std::string error;
    ASSERT_TRUE(signal.Prepare(ModelId::Trace, context, error)) << error;
    signal.Start(0.0, true);
    double v = 0.0;
    ASSERT_TRUE(signal.ValueAt(0.5, v, error));
    EXPECT_DOUBLE_EQ(v, 2.0);
    ASSERT_TRUE(signal.ValueAt(4.0, v, error));
    EXPECT_DOUBLE_EQ(v, 3.0);
}

}  // namespace
}  // namespace qz3
