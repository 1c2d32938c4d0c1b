#include "schematic_text.h"

#include <gtest/gtest.h>

#include <string>

namespace qz3::cli {
namespace {

const char* const kSchematic = R"xml(<?xml version="1.0"?>
<QZ3>
  <Version ver="3" />
  <Doc>
    <Cir>
      <Cmps>
        <Cmp type="R_R" id="2" name="R+load" model="R" r="1e+3" />
        <Cmp type="V_V" id="1" name="V1" model="Pulse"><Signal u0="0" u1="1" /></Cmp>
        <Sheet />
      </Cmps>
    </Cir>
    <Tran>
      <Settings start="0" screen="20e-3(ms)" step="10e-6" />
      <Traces>
        <Trace id="1" expr="V1" name="V%28out%29" type="V" mode="digital" />
        <Trace id="2" expr="R+load" name="" type="I" />
        <Trace id="2" expr="R+load" type="P" />
        <Trace id="0" expr="x" name="m" type="Math"><Function func="lpf" /></Trace>
      </Traces>
    </Tran>
    <Freq><Traces><Trace expr="V1" name="Gain" /></Traces></Freq>
    <Advanced thr="2.5" />
  </Doc>
</QZ3>)xml";

TEST(SchematicText, DecodesPercentAndPlus) {
    struct Row {
        const char* raw;
        const char* decoded;
    };
    const Row rows[] = {{"V%28out%29", "V(out)"}, {"a+b", "a b"},   {"100%25", "100%"}, {"%2b", "+"},
                        {"bad%zz", "bad%zz"},     {"end%", "end%"}, {"a%00b", "a"},     {"", ""}};
    for (const Row& row : rows) EXPECT_EQ(PercentDecode(row.raw), row.decoded) << row.raw;
}

TEST(SchematicText, ReadsComponentsTracesAndSettings) {
    CSchematicText file;
    std::string error;
    ASSERT_TRUE(ParseSchematicText(kSchematic, "mem", file, error)) << error;
    ASSERT_EQ(file.components.size(), 2u);
    EXPECT_EQ(file.components[0].type, "R_R");
    EXPECT_EQ(file.components[0].name, "R load");
    EXPECT_EQ(file.components[0].model, "R");
    ASSERT_EQ(file.components[0].attrs.size(), 5u);
    EXPECT_EQ(file.components[0].attrs[4], (std::pair<std::string, std::string>{"r", "1e+3"}));  // raw, not decoded
    EXPECT_EQ(file.components[1].model, "Pulse");

    ASSERT_EQ(file.tranTraces.size(), 4u);
    EXPECT_EQ(file.tranTraces[0].name, "V(out)");
    EXPECT_EQ(file.tranTraces[0].unit, "V");
    EXPECT_EQ(file.tranTraces[1].name, "R load");  // empty name: the expression
    EXPECT_EQ(file.tranTraces[1].unit, "A");
    EXPECT_EQ(file.tranTraces[2].unit, "W");
    EXPECT_FALSE(file.tranTraces[3].Records());
    EXPECT_TRUE(file.tranTraces[0].Records());
    ASSERT_EQ(file.acTraces.size(), 1u);
    EXPECT_EQ(file.acTraces[0].name, "Gain");
    EXPECT_EQ(file.acTraces[0].type, "V");  // the type word defaults to a voltage

    EXPECT_DOUBLE_EQ(file.screen, 20e-3);  // the text is cut at "("
    EXPECT_DOUBLE_EQ(file.step, 10e-6);
    ASSERT_EQ(file.advanced.size(), 1u);
}

TEST(SchematicText, FindsTracesLikeTheLibrary) {
    CSchematicText file;
    std::string error;
    ASSERT_TRUE(ParseSchematicText(kSchematic, "mem", file, error));
    ASSERT_NE(file.FindTranTrace("v(OUT)"), nullptr);
    EXPECT_EQ(file.FindTranTrace("\"V(out)\"")->name, "V(out)");
    EXPECT_EQ(file.FindTranTrace("r LOAD")->unit, "A");
    EXPECT_EQ(file.FindTranTrace(""), nullptr);
    EXPECT_EQ(file.FindTranTrace("\"\""), nullptr);
    EXPECT_EQ(file.FindTranTrace("V1"), nullptr);  // a named trace is not found by its expression
}

TEST(SchematicText, DefaultsWhenTheFileIsSilent) {
    CSchematicText file;
    std::string error;
    ASSERT_TRUE(ParseSchematicText("<QZ3><Version ver=\"3\"/><Doc/></QZ3>", "mem", file, error));
    EXPECT_DOUBLE_EQ(file.screen, 10);
    EXPECT_DOUBLE_EQ(file.step, 0.001);
    EXPECT_TRUE(file.components.empty());
    EXPECT_TRUE(file.tranTraces.empty());
    ASSERT_TRUE(ParseSchematicText("<QZ3><Doc><Tran><Settings screen=\"\" /></Tran></Doc></QZ3>", "m", file, error));
    EXPECT_DOUBLE_EQ(file.screen, 10);
}

TEST(SchematicText, RefusesOnlyAMissingRoot) {
    CSchematicText file;
    std::string error;
    EXPECT_FALSE(ParseSchematicText("<Other><Doc/></Other>", "x.qz3", file, error));
    EXPECT_EQ(error, "x.qz3 : wrong file format");
    EXPECT_FALSE(ParseSchematicText("<QZ3x></QZ3x>", "y", file, error));
    EXPECT_FALSE(ReadSchematicText("/no/such/dir/file.qz3", file, error));
    EXPECT_EQ(error, "cannot read /no/such/dir/file.qz3");
}

TEST(SchematicText, SurvivesBrokenAndHostileText) {
    std::string full = kSchematic;
    CSchematicText file;
    std::string error;
    // Every truncation parses without crashing; what was complete is kept.
    for (size_t cut = full.find("<QZ3>") + 5; cut <= full.size(); ++cut)
        ASSERT_TRUE(ParseSchematicText(full.substr(0, cut), "cut", file, error)) << cut;
    // Nesting far past any real file neither overflows nor loses the rest.
    std::string deep = "<QZ3><Doc>";
    for (int i = 0; i < 100000; ++i) deep += "<a>";
    for (int i = 0; i < 100000; ++i) deep += "</a>";
    deep += "<Tran><Settings screen=\"2\" /></Tran></Doc></QZ3>";
    ASSERT_TRUE(ParseSchematicText(deep, "deep", file, error));
    EXPECT_DOUBLE_EQ(file.screen, 2);
}

TEST(SchematicText, StopsAtTheStoredPointsAndSkipsComments) {
    std::string text = "<?xml version=\"1.0\"?>\n<!-- made by hand -->";
    text += "<QZ3><Doc><!-- <Tran/> --><Tran><Settings step=\"2e-6\"/></Tran></Doc></QZ3>";
    text += std::string(1, '\0') + "<Tran><Settings step=\"5\"/></Tran>";
    CSchematicText file;
    std::string error;
    ASSERT_TRUE(ParseSchematicText(text, "bin", file, error)) << error;
    EXPECT_DOUBLE_EQ(file.step, 2e-6);
}

}  // namespace
}  // namespace qz3::cli
