#include "xml/convert.h"

#include <gtest/gtest.h>

#include <string>

#include "xml/xml_node.h"

namespace qz3 {
namespace {

// An old file around the given components.
std::string OldFile(const std::string& cmps) {
    return "<QZ3><Version ver=\"2\" /><Doc><Calc /><Cmps>" + cmps + "</Cmps></Doc></QZ3>";
}

struct CParsed {
    CXmlNode root{"QZ3"};
    CConversion conversion;
    bool ok = false;
    explicit CParsed(const std::string& text) {
        root.ParseText(text, 1);
        ok = ConvertToCurrent(root, conversion);
    }
    CXmlNode* Cmp(int i) { return root.FindChild("Doc")->FindChild("Cir")->FindChild("Cmps")->ChildAt(i); }
    std::string Text() const {
        std::string text;
        root.ToText(text);
        return text;
    }
};

TEST(Convert, ComponentRules) {
    const struct {
        const char* old;
        const char* present;  // the converted element, compact
        const char* warning;
    } rows[] = {
        {"<Cmp type=\"F_X\" name=\"I1\" model=\"Integral\" />", "<Cmp type=\"F_INT\" name=\"I1\" model=\"Integral\" />",
         "I1 : model 'Integral' changed to a new component type\n"},
        {"<Cmp type=\"X_DLL\" name=\"D\" model=\"Project\" />", "<Cmp type=\"X_DLL\" name=\"D\" model=\"DLL\" />",
         "D : model 'Project' changed to 'DLL'\n"},
        {"<Cmp type=\"X_DLL\" name=\"D\" model=\"DLL\" />", "<Cmp type=\"X_DLL\" name=\"D\" model=\"DLL\" />",
         "D : use 64-bit DLL for DLL component\n"},
        {"<Cmp type=\"label\" name=\"L\" model=\"Label\" ic=\"2\" ic_str=\"2\" />",
         "<Cmp type=\"label\" name=\"L\" model=\"IC\" v=\"2\" v_str=\"2\" />", "L : model 'Label' changed to 'IC'\n"},
        {"<Cmp type=\"label\" name=\"L\" model=\"Label\" ic=\"\" />",
         "<Cmp type=\"label\" name=\"L\" model=\"Label\" ic=\"\" />", ""},
        {"<Cmp type=\"I_I\" name=\"I\" model=\"PWL\"><Signal pwl=\"0+1\" /></Cmp>",
         "<Cmp type=\"I_I\" name=\"I\" model=\"List\"><Signal list=\"0+1\" /></Cmp>", "I : model 'PWL' changed to 'List'\n"},
        {"<Cmp type=\"L_L\" name=\"Z\" model=\"Function\" fs=\"1\" />",
         "<Cmp type=\"Z_Z\" name=\"Z\" model=\"Function\" f=\"1\" />", "Z : changed to 'Impedance' component type\n"},
        {"<Cmp type=\"L_CL\" name=\"K\" l=\"1\" k=\"0.9\" ic=\"0\" />",
         "<Cmp type=\"L_CL\" name=\"K\" l1=\"1\" k12=\"0.9\" ic1=\"0\" />", ""},
        {"<Cmp type=\"L_CUSTOM\" name=\"K\" l=\"1\" ic=\"0\" />",
         "<Cmp type=\"L_CUSTOM\" name=\"K\" L1=\"1\" IC1=\"0\" />", ""},
        {"<Cmp type=\"O_O\" name=\"A\" model=\"OpAmp\" />",
         "<Cmp type=\"O_O\" name=\"A\" model=\"OpAmp\" opamp_ic=\"0\" />", "A : added OpAmp IC=0\n"},
        {"<Cmp type=\"S_S3\" name=\"S\" model=\"Switch\" a=\"0\" />", "<Cmp type=\"S_S3\" name=\"S\" model=\"Off\" />",
         "S : model 'Switch' changed to model 'Off'\n"},
        {"<Cmp type=\"T_PFET\" name=\"M\" vbe=\"2\" />", "<Cmp type=\"T_PFET\" name=\"M\" vth=\"2\" />", ""},
        {"<Cmp type=\"X_B3\" name=\"B\" view=\"1\" label0=\"a\" label1=\"b\" label2=\"c\" />",
         "<Cmp type=\"X_B3\" name=\"B\" view=\"0\" label0=\"c\" label1=\"a\" label2=\"b\" />", ""},
        {"<Cmp type=\"Y_ST\" name=\"G\" view=\"2\" />", "<Cmp type=\"Y_ST\" name=\"G\" view=\"0\" />", ""},
        {"<Cmp type=\"Y_2\" name=\"G\" view=\"1\" />", "<Cmp type=\"Y_2_OR\" name=\"G\" view=\"0\" />", ""},
        {"<Cmp type=\"Y_3\" name=\"G\" view=\"2\" />", "<Cmp type=\"Y_3_XOR\" name=\"G\" view=\"0\" />",
         "Functionality of G (XOR) has changed\n"},
        {"<Cmp type=\"Y_CUSTOM\" name=\"G\" view=\"2\" node3=\"1\" />",
         "<Cmp type=\"Y_CUSTOM\" name=\"G\" view=\"0\" node3=\"1\" custom_type=\"xor\" />",
         "Functionality of G (XOR) may change\n"},
        {"<Cmp type=\"Y_FUNCTION\" name=\"F\" model=\"x\" />", "<Cmp type=\"Y_FUNCTION\" name=\"F\" model=\"Logic\" />",
         "F : model changed to 'Logic'\n"},
        {"<Cmp type=\"Y_BUS\" name=\"F\" />", "<Cmp type=\"Y_BUS\" name=\"F\" model=\"Bus\" />",
         "F : model changed to 'Bus'\n"},
        {"<Cmp type=\"Y_LG\" name=\"G\" model=\"V\" a=\"0\" />", "<Cmp type=\"Y_LG\" name=\"G\" model=\"Low\" />",
         "G : model 'V' changed to model 'Low'\n"},
        {"<Cmp type=\"Y_LG\" name=\"G\" model=\"Pulse\" a=\"0\" p=\"2\" c=\"true\" />",
         "<Cmp type=\"Y_LG\" name=\"G\" model=\"Pulse\" view=\"1\"><Signal p=\"2\" c=\"true\" /></Cmp>",
         "G : parameter 'Active' replaced by view\n"},
        {"<Cmp type=\"S_VCS3\" name=\"S\" model=\"Pulse\" />", "<Cmp type=\"S_VCS3\" name=\"S\" model=\"One-shot\" />",
         "S : model 'Pulse' changed to model 'One-shot'\n"},
        {"<Cmp type=\"O_PWM\" name=\"P\" model=\"PWM\" dfdv_str=\"%3d2*3\" dfdv=\"6\" />",
         "<Cmp type=\"O_PWM\" name=\"P\" model=\"PWM\" dfdv_str=\"%3d2*3\" dfdv=\"6\" />", ""},
        {"<Cmp type=\"R_R\" name=\"pi\" model=\"R\" />", "<Cmp type=\"R_R\" name=\"pi\" model=\"R\" />",
         "pi : this name cannot be used in formulas\n"},
    };
    for (const auto& row : rows) {
        CParsed file(OldFile(row.old));
        ASSERT_TRUE(file.ok) << row.old << ": " << file.conversion.text;
        EXPECT_TRUE(file.conversion.converted);
        std::string present;
        file.Cmp(0)->ToText(present);
        EXPECT_EQ(present, row.present) << row.old;
        EXPECT_EQ(file.conversion.text, row.warning) << row.old;
    }
}

TEST(Convert, PresentVersionIsLeftAlone) {
    const std::string text = "<QZ3><Version ver=\"3\" /><Doc><Calc /><Cmps /></Doc></QZ3>";
    CParsed file(text);
    EXPECT_TRUE(file.ok);
    EXPECT_FALSE(file.conversion.converted);
    EXPECT_EQ(file.conversion.text, "");
    EXPECT_EQ(file.Text(), text);
}

TEST(Convert, TwoConversionsGiveTheSameTree) {
    const std::string old = OldFile("<Cmp type=\"S_S\" name=\"S\" model=\"Switch\" a=\"1\" />") ;
    CParsed first(old), second(old);
    ASSERT_TRUE(first.ok);
    EXPECT_EQ(first.Text(), second.Text());
    EXPECT_EQ(first.conversion.fromVersion, 2);
    // The converted tree is of the present version: converting it again does nothing.
    CParsed again(first.Text());
    EXPECT_FALSE(again.conversion.converted);
    EXPECT_EQ(again.Text(), first.Text());
}

TEST(Convert, SubcircuitDocumentIsConvertedWithItsWarningsNamed) {
    CParsed file(OldFile("<Cmp type=\"X_B2\" name=\"X1\" model=\"SubCir\"><SubCir ic=\"a=1;b=2\" />"
                         "<Attachment><QZ3><Doc><Calc /><Cmps><Cmp type=\"V_V\" name=\"V\" model=\"PWL\" />"
                         "</Cmps></Doc></QZ3></Attachment></Cmp>"));
    ASSERT_TRUE(file.ok) << file.conversion.text;
    EXPECT_EQ(file.conversion.text, "X1:V : model 'PWL' changed to 'List'\n");
    CXmlNode* cmp = file.Cmp(0);
    EXPECT_EQ(cmp->FindChild("SubCir")->GetStr("ic", ""), "a=1,b=2");
    CXmlNode* inner = cmp->FindChild("Attachment")->ChildAt(0);
    ASSERT_NE(inner->FindChild("Doc")->FindChild("Cir"), nullptr);
    EXPECT_EQ(inner->FindChild("Version")->GetInt("ver", 0), 3);

    CParsed broken(OldFile("<Cmp type=\"X_B2\" name=\"X1\" model=\"SubCir\"><Attachment><QZ3 /></Attachment></Cmp>"));
    EXPECT_FALSE(broken.ok);
    EXPECT_EQ(broken.conversion.text, "Error converting components to Ver.3");
}

TEST(Convert, BrokenFilesSayWhy) {
    const struct {
        const char* text;
        const char* reason;
    } rows[] = {
        {"<QZ3><Version ver=\"1\" /></QZ3>", "Wrong file format"},
        {"<QZ3><Doc><Cmps /></Doc></QZ3>", "Wrong file format"},
        {"<QZ3><Doc><Calc /></Doc></QZ3>", "Wrong file format"},
        {"<QZ3><Doc Encr1=\"00\">x</Doc></QZ3>", "Encrypted file cannot be automatically converted to a new format"},
    };
    for (const auto& row : rows) {
        CParsed file(row.text);
        EXPECT_FALSE(file.ok) << row.text;
        EXPECT_EQ(file.conversion.text, row.reason) << row.text;
    }
}

TEST(Convert, DocumentPartsMove) {
    CParsed file("<QZ3><Doc save=\"2\"><Properties /><Calc zero=\"1e-9\" /><Cmps />"
                 "<Sheet><VC center=\"3,-4\" /></Sheet><Sheet><Pcts><P type=\"text\" value_formula=\"1\" /></Pcts></Sheet>"
                 "<Tran><Settings rununtil=\"true\" rununtilf=\"x\" /><Traces><Trace type=\"1\" mode=\"2\" bus_format=\"3\" "
                 "tracename=\"I\" tool=\"1\" /><Trace type=\"99\" /></Traces></Tran>"
                 "<Freq><Traces><Trace out1=\"2\" type=\"6\" /></Traces></Freq></Doc></QZ3>");
    ASSERT_TRUE(file.ok) << file.conversion.text;
    EXPECT_EQ(file.conversion.fromVersion, -1);
    EXPECT_EQ(file.Text(),
              "<QZ3><Doc save=\"2\"><Properties save=\"2\" /><Advanced zero=\"1e-9\" />"
              "<Tran><Settings pause_trigger=\"true\" pause_trigger_f=\"x\" /><Traces><Trace type=\"I\" mode=\"bus\" "
              "bus_format=\"dec\" name=\"I\" tools=\"1\" /><Trace /></Traces></Tran>"
              "<Freq><Traces><Trace ac_out=\"x\" type=\"Z\" /></Traces></Freq>"
              "<Cir><Cmps /><Sheets><Sheet><VC center_x=\"3\" center_y=\"-4\" /></Sheet><Sheet><Pcts>"
              "<P type=\"pict_text\" formula=\"1\" /></Pcts></Sheet></Sheets></Cir></Doc>"
              "<Version ver=\"3\" rev=\"4\" core=\"30\" build=\"0\" date=\"06%2f03%2f2022\" />"
              "<Converted from=\"-1\" warnings=\"\" /></QZ3>");
}

}  // namespace
}  // namespace qz3
