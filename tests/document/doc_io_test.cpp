// Co-simulation records: which types they take, where an output points,
// and the value an output reads from a run.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "components/cmp.h"
#include "components/cmps.h"
#include "document/doc.h"
#include "document/io_record.h"
#include "expr/param.h"
#include "solver/calc.h"

namespace qz3 {
namespace {

const std::string kCircuits = std::string(QZ3_TEST_DATA_DIR) + "/circuits/";

CCmp& Named(CDoc& doc, const char* name) {
    CCmp* cmp = doc.m_Cmps->Find(name);
    EXPECT_NE(cmp, nullptr) << name;
    return *cmp;
}

TEST(DocIo, TypesDecideInputsAndWhereOutputsPoint) {
    CDoc doc;
    ASSERT_EQ(doc.Load(kCircuits + "cosim_outputs.qz3"), 0) << doc.m_LastError;
    struct Row {
        const char* name;
        bool input, output;
    };
    const Row rows[] = {{"OUT", true, true}, {"AM1", false, true}, {"VM1", false, true},
                        {"R1", false, false}, {"V1", true, false}};
    for (const Row& row : rows) {
        CCmp& cmp = Named(doc, row.name);
        COutputRecord record;
        EXPECT_EQ(CanBeInput(cmp), row.input) << row.name;
        EXPECT_EQ(PointOutputAt(cmp, record), row.output) << row.name;
    }

    COutputRecord label, ammeter, voltmeter;
    CCmp& out = Named(doc, "OUT");
    CCmp& am = Named(doc, "AM1");
    CCmp& vm = Named(doc, "VM1");
    ASSERT_TRUE(PointOutputAt(out, label));
    ASSERT_TRUE(PointOutputAt(am, ammeter));
    ASSERT_TRUE(PointOutputAt(vm, voltmeter));
    EXPECT_EQ(label.high, &out.nodes[0]);
    EXPECT_EQ(label.low, nullptr);
    EXPECT_EQ(ammeter.high, &am.firstBranch);
    EXPECT_EQ(ammeter.low, nullptr);
    EXPECT_EQ(voltmeter.high, &vm.nodes[1]);
    EXPECT_EQ(voltmeter.low, &vm.nodes[0]);
}

TEST(DocIo, HandlesAreFoundOnlyInTheirOwnList) {
    CDoc doc;
    ASSERT_EQ(doc.Load(kCircuits + "cosim_rc.qz3"), 0) << doc.m_LastError;
    CCmp* source = &Named(doc, "VIN");
    EXPECT_EQ(AddInputHandle(&doc, source, 41), 41);
    EXPECT_EQ(AddInputHandle(&doc, source, 42), 42);
    EXPECT_EQ(AddOutputHandle(&doc, COutputRecord{7, nullptr, &source->nodes[1]}, 43), 43);
    ASSERT_NE(FindInput(&doc, 42), nullptr);
    EXPECT_EQ(FindInput(&doc, 42)->cmp, source);
    EXPECT_EQ(FindInput(&doc, 43), nullptr);
    ASSERT_NE(FindOutput(&doc, 43), nullptr);
    EXPECT_EQ(FindOutput(&doc, 43)->handle, 43);  // the given handle, not the record's
    EXPECT_EQ(FindOutput(&doc, 41), nullptr);
}

// VIN drives R1 (1 kOhm) into C1 (100 nF): tau = 100 us.
TEST(DocIo, OutputsReadTheRunningSolution) {
    CDoc doc;
    ASSERT_EQ(doc.Load(kCircuits + "cosim_rc.qz3"), 0) << doc.m_LastError;
    CCmp& source = Named(doc, "VIN");
    CCmp& cap = Named(doc, "C1");
    const COutputRecord across{1, &cap.nodes[0], &cap.nodes[1]};
    const COutputRecord reversed{2, &cap.nodes[1], &cap.nodes[0]};
    const COutputRecord grounded{3, nullptr, &source.nodes[1]};
    const int outside = 1 << 30;
    const COutputRecord astray{4, nullptr, &outside};
    EXPECT_EQ(OutputValue(&doc, across), 0.0);  // no run yet

    doc.m_Calc->m_Changes = 0;
    DriveByHost(&doc, &source);
    EXPECT_TRUE(source.hostDriven);
    EXPECT_NE(doc.m_Calc->m_Changes & kChangeParams, 0u);
    source.hostValue = 3.0;

    ASSERT_TRUE(doc.Start()) << doc.RunError();
    ASSERT_TRUE(doc.Simulate(1e-4, 2)) << doc.RunError();
    EXPECT_NEAR(OutputValue(&doc, across), 3.0, 1e-9);
    EXPECT_NEAR(OutputValue(&doc, reversed), -3.0, 1e-9);
    EXPECT_NEAR(OutputValue(&doc, grounded), 3.0, 1e-9);
    EXPECT_EQ(OutputValue(&doc, astray), 0.0);

    source.hostValue = 5.0;
    ASSERT_TRUE(doc.Simulate(1e-4, 2)) << doc.RunError();
    EXPECT_NEAR(OutputValue(&doc, across), 3.0 + 2.0 * (1.0 - std::exp(-1.0)), 2e-3);
    EXPECT_NEAR(OutputValue(&doc, grounded), 5.0, 1e-9);
}

}  // namespace
}  // namespace qz3
