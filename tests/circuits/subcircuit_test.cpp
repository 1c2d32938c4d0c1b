// Subcircuits through the C interface: a divider in a file beside the
// schematic, the same file twice with a command in one copy, one stored as
// an attachment, initial conditions handed inside, names that reach inside.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "circuit_run.h"
#include "test_files.h"
#include "qz3.h"

using qz3test::Circuit;
using qz3test::TestCircuit;

namespace {

double LastOf(const Circuit& c, int trace) {
    double t = NAN, y = NAN;
    EXPECT_EQ(QZ3_GetLastData(c.ncir, trace, &t, &y), 0) << QZ3_GetError();
    return y;
}

double Value(const Circuit& c, const char* name) {
    double v = NAN;
    EXPECT_EQ(QZ3_GetValue(c.ncir, name, &v), 0) << name << ": " << QZ3_GetError();
    return v;
}

using qz3::test::ReadBytes;

std::string TempPath(const char* name) { return (std::filesystem::temp_directory_path() / name).string(); }

}  // namespace

// 10 V over 1k and 1k gives 5 V; the second copy's R2 of 3k gives 7.5 V,
// and the first copy keeps its own 1k.
TEST(Subcircuit, DividerFromFileAndCommandChangesItsOwnCopyOnly) {
    Circuit c(TestCircuit("subcir_divider.qz3"));
    const int out1 = QZ3_AddVTrace(c.ncir, "OUT1");
    const int out2 = QZ3_AddVTrace(c.ncir, "OUT2");
    const int inner = QZ3_AddVTrace(c.ncir, "X2.out");
    const int current = QZ3_AddITrace(c.ncir, "X1.R1");
    ASSERT_GE(inner, 0) << QZ3_GetError();
    ASSERT_GE(current, 0) << QZ3_GetError();
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(5e-3));
    EXPECT_NEAR(LastOf(c, out1), 5.0, 1e-9);
    EXPECT_NEAR(LastOf(c, out2), 7.5, 1e-9);
    EXPECT_NEAR(LastOf(c, inner), 7.5, 1e-9);
    EXPECT_NEAR(std::fabs(LastOf(c, current)), 5e-3, 1e-12);
    EXPECT_DOUBLE_EQ(Value(c, "X1.R2.R"), 1000.0);
    EXPECT_DOUBLE_EQ(Value(c, "X2.R2.R"), 3000.0);

    // A second run reuses the loaded copies and their node numbers.
    ASSERT_EQ(QZ3_SetValue(c.ncir, "V1.V", 20.0), 0) << QZ3_GetError();
    ASSERT_TRUE(c.RunTo(10e-3));
    EXPECT_NEAR(LastOf(c, out1), 10.0, 1e-9);
    EXPECT_NEAR(LastOf(c, out2), 15.0, 1e-9);

    // Another file reloads at the next start; a handle into the old copy
    // stays harmless.
    const int oldR2 = QZ3_GetParam(c.ncir, "X1.R2.R");
    ASSERT_GT(oldR2, 0) << QZ3_GetError();
    ASSERT_EQ(QZ3_SetText(c.ncir, "X1.File", "subcir_divider_quarter"), 0) << QZ3_GetError();
    ASSERT_TRUE(c.RunTo(15e-3));
    EXPECT_NEAR(LastOf(c, out1), 5.0, 1e-9);
    EXPECT_DOUBLE_EQ(Value(c, "X1.R1.R"), 3000.0);
    double old = 0;
    EXPECT_EQ(QZ3_GetParamValue(c.ncir, oldR2, &old), 0) << QZ3_GetError();
}

// An inner value set through the interface before the run is used by it.
TEST(Subcircuit, InnerParameterSetBeforeRun) {
    Circuit c(TestCircuit("subcir_divider.qz3"));
    ASSERT_EQ(QZ3_SetValue(c.ncir, "X1.R1.R", 3000.0), 0) << QZ3_GetError();
    const int handle = QZ3_GetParam(c.ncir, "X1.R2.R");
    ASSERT_GT(handle, 0) << QZ3_GetError();
    const int out1 = QZ3_AddVTrace(c.ncir, "OUT1");
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(2e-3));
    EXPECT_NEAR(LastOf(c, out1), 2.5, 1e-9);
    ASSERT_EQ(QZ3_SetParamValue(c.ncir, handle, 3000.0), 0) << QZ3_GetError();
    ASSERT_TRUE(c.RunTo(4e-3));
    EXPECT_NEAR(LastOf(c, out1), 5.0, 1e-9);
}

// A value changed inside an attachment before the run lands in the
// attachment when saved, and every other key of the component comes back
// as it was.
TEST(Subcircuit, AttachmentKeepsChangesWhenSaved) {
    const std::string saved = TempPath("qz3_subcir_attached_saved.qz3");
    {
        Circuit c(TestCircuit("subcir_attached.qz3"));
        ASSERT_EQ(QZ3_SetValue(c.ncir, "X1.R2.R", 3000.0), 0) << QZ3_GetError();
        ASSERT_EQ(QZ3_SaveAs(c.ncir, saved.c_str()), 0) << QZ3_GetError();
    }
    const std::string text = ReadBytes(saved);
    for (const char* key : {"name=\"X1\"", "descr=\"kept\"", "label1=\"in\"", "label2=\"out\"", "name=\"R1\"",
                            "r=\"1e+3\"", "r=\"3e+3\"", "name=\"out\""})
        EXPECT_NE(text.find(key), std::string::npos) << key << " in\n" << text;
    Circuit again(saved);
    const int out = QZ3_AddVTrace(again.ncir, "OUT1");
    QZ3_START_OR_SKIP(again);
    ASSERT_TRUE(again.RunTo(2e-3));
    EXPECT_NEAR(LastOf(again, out), 7.5, 1e-9);
    std::remove(saved.c_str());
}

// A file subcircuit saves its own keys; the file beside it is never written.
TEST(Subcircuit, SaveKeepsKeysOfFileSubcircuits) {
    const std::string saved = TempPath("qz3_subcir_divider_saved.qz3");
    const std::string before = ReadBytes(TestCircuit("subcir_divider_inner.qz3"));
    {
        Circuit c(TestCircuit("subcir_divider.qz3"));
        ASSERT_EQ(QZ3_SetText(c.ncir, "X1.Cmd", "R1.R=3000"), 0) << QZ3_GetError();
        ASSERT_EQ(QZ3_SaveAs(c.ncir, saved.c_str()), 0) << QZ3_GetError();
    }
    const std::string text = ReadBytes(saved);
    for (const char* key : {"file=\"subcir_divider_inner\"", "cmd=\"R2.R%3d3000\"", "cmd=\"R1.R%3d3000\"", "label1=\"in\""})
        EXPECT_NE(text.find(key), std::string::npos) << key << " in\n" << text;
    EXPECT_EQ(ReadBytes(TestCircuit("subcir_divider_inner.qz3")), before);
    std::remove(saved.c_str());
}

// "ic" starts the inner capacitor at 2 V; it discharges through the outer
// 1 kOhm with RC = 1 ms.
TEST(Subcircuit, InitialConditionHandedInside) {
    Circuit c(TestCircuit("subcir_ic.qz3"));
    const int p = QZ3_AddVTrace(c.ncir, "P");
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(3e-3));
    for (double t : {0.0, 0.5e-3, 1e-3, 2e-3, 3e-3}) EXPECT_NEAR(c.ValueAt(p, t), 2.0 * std::exp(-t / 1e-3), 2e-4) << t;
}

// Any model "SubCir" holds a subcircuit: a resistor, an amplifier and a
// circuit block whose box names the labels its pins meet.
TEST(Subcircuit, ElementModelsAndBoxPinsMeetInnerLabels) {
    Circuit c(TestCircuit("subcir_models.qz3"));
    const int a = QZ3_AddVTrace(c.ncir, "A"), b = QZ3_AddVTrace(c.ncir, "B"), q = QZ3_AddVTrace(c.ncir, "C");
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(2e-3));
    EXPECT_NEAR(LastOf(c, a), 4.0, 1e-9);
    EXPECT_NEAR(LastOf(c, b), 2.0, 1e-9);
    EXPECT_NEAR(LastOf(c, q), 6.0, 1e-9);
    char text[64] = {};
    ASSERT_GT(QZ3_GetText(c.ncir, "RX.Pin2", text, sizeof text), 0) << QZ3_GetError();
    EXPECT_STREQ(text, "out");
    EXPECT_EQ(QZ3_GetText(c.ncir, "QX.Pin1", text, sizeof text), -1);
    ASSERT_GT(QZ3_GetText(c.ncir, "QX.File", text, sizeof text), 0) << QZ3_GetError();
    EXPECT_STREQ(text, "subcir_divider_inner");
}

// The present state goes into the subcircuit's own "ic", item by item
// with the inner names, and a new run starts from it.
TEST(Subcircuit, SaveICThroughTheHierarchy) {
    Circuit c(TestCircuit("subcir_ic.qz3"));
    const int p = QZ3_AddVTrace(c.ncir, "P");
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(1e-3));
    const double held = LastOf(c, p);
    ASSERT_EQ(QZ3_SaveIC(c.ncir), 0) << QZ3_GetError();
    char text[128] = {};
    ASSERT_GT(QZ3_GetText(c.ncir, "X1.IC", text, sizeof text), 0) << QZ3_GetError();
    EXPECT_EQ(std::string(text).rfind("C1.IC=", 0), 0u) << text;
    ASSERT_EQ(QZ3_Start(c.ncir), 0) << QZ3_GetError();
    EXPECT_NEAR(c.ValueAt(p, 0.0), held, 1e-6);
    EXPECT_NEAR(held, 2.0 * std::exp(-1.0), 2e-4);
}

// No file on disk: the schematic is stored inside the component. A run
// works on the private copy only: saving after it writes the attachment
// exactly as the file holds it, line for line.
TEST(Subcircuit, RunLeavesAttachmentAsItWas) {
    const std::string saved = TempPath("qz3_subcir_attached_run.qz3");
    {
        Circuit c(TestCircuit("subcir_attached.qz3"));
        const int out = QZ3_AddVTrace(c.ncir, "OUT1");
        QZ3_START_OR_SKIP(c);
        ASSERT_TRUE(c.RunTo(2e-3));
        EXPECT_NEAR(LastOf(c, out), 5.0, 1e-9);
        ASSERT_EQ(QZ3_SaveAs(c.ncir, saved.c_str()), 0) << QZ3_GetError();
    }
    auto block = [](const std::string& text) {
        const size_t from = text.find("<Attachment>"), to = text.find("</Attachment>");
        std::string lines, line;
        std::istringstream in(from == std::string::npos || to == std::string::npos ? "" : text.substr(from, to - from));
        while (std::getline(in, line))
            if (line.find_first_not_of(' ') != std::string::npos) lines += line.substr(line.find_first_not_of(' ')) + "\n";
        return lines;
    };
    const std::string original = block(ReadBytes(TestCircuit("subcir_attached.qz3")));
    ASSERT_FALSE(original.empty());
    EXPECT_EQ(block(ReadBytes(saved)), original);
    std::remove(saved.c_str());
}

// Labels of one name are one node in their level, whatever node numbers
// the file gave them; a subcircuit's label of the same name as an outer one
// is joined only through a pin. The outer OUT label has no source, so it
// stays at 0 while the inner OUT divides the bus.
TEST(Subcircuit, LabelsOfOneNameJoinWithinTheirLevel) {
    Circuit c(TestCircuit("subcir_labels.qz3"));
    const int r1 = QZ3_AddVTrace(c.ncir, "R1"), r2 = QZ3_AddVTrace(c.ncir, "R2");
    const int inner = QZ3_AddVTrace(c.ncir, "X1.OUT");
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(2e-3));
    EXPECT_NEAR(LastOf(c, r1), 4.0, 1e-9);
    EXPECT_NEAR(LastOf(c, inner), 3.0, 1e-9);
    EXPECT_NEAR(LastOf(c, r2), 0.0, 1e-9);
}

// An AC analysis flattens the subcircuit too: the divider's Thevenin form,
// half the source behind 500 Ohm, into 1 uF gives 0.5 / |1 + j w 0.5 ms|.
TEST(Subcircuit, FlattenedForAcAnalysis) {
    Circuit c(TestCircuit("subcir_ac.qz3"));
    ASSERT_EQ(QZ3_CalcAC(c.ncir), 0) << QZ3_GetError();
    const int trace = QZ3_GetACTrace(c.ncir, "V(C1)");
    ASSERT_EQ(QZ3_GetACDataSize(c.ncir, trace), 101);
    for (int k = 0; k < 101; k += 10) {
        double f = 0, magnitude = 0, phase = 0;
        ASSERT_EQ(QZ3_GetACDataAt(c.ncir, trace, k, &f, &magnitude, &phase), 0) << QZ3_GetError();
        const double wrc = 2 * 3.14159265358 * f * 0.5e-3;
        EXPECT_NEAR(magnitude * std::sqrt(1 + wrc * wrc), 0.5, 1e-9) << f;
    }
}
