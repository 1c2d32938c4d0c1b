#include "components/elem_dll.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "components/custom_type.h"
#include "components/elem_fixture.h"
#include "qz3_block.h"
#include "xml/xml_node.h"

namespace qz3 {
namespace {

using test::MakeElem;
using test::RoundTrip;

TEST(ElemDll, NewBlockHasThreeInputsAndThreeOutputsAndTheDefaultEntryNames) {
    auto block = MakeElem<CElemDll>("X_DLL", "DLL", "B1");
    ASSERT_EQ(block->pinCount, 6);
    EXPECT_EQ(block->custom->m_W, 2);
    EXPECT_EQ(block->custom->m_H, 3);
    EXPECT_EQ(block->m_NIn, 3);
    EXPECT_EQ(block->m_NOut, 3);
    EXPECT_FALSE(block->m_Clocked);
    const char* names[] = {"x1", "x2", "x3", "y1", "y2", "y3"};
    for (int pin = 0; pin < 6; ++pin) {
        EXPECT_EQ(block->PinName(pin), names[pin]);
        EXPECT_EQ(block->PinKind(pin), pin < 3 ? kPinSensing : kPinAnalog) << pin;
    }
    EXPECT_EQ(block->m_CodeName, "Main");
    EXPECT_EQ(block->m_InitName, "Init");
    EXPECT_EQ(block->m_PauseName, "Pause");
    EXPECT_EQ(block->m_ExitName, "Exit");
    EXPECT_EQ(block->m_Dll, "");
}

TEST(ElemDll, ShortNameListsAreNumberedAndABottomPinIsTheClock) {
    auto block = MakeElem<CElemDll>("X_DLL", "DLL", "B1");
    CCustomElemType& box = *block->custom;
    box.m_Left[0] = 3;   // two inputs
    box.m_Right[0] = 7;  // three outputs
    box.m_Bottom = 1;    // and a clock
    box.m_Ins = "a";
    box.m_Outs = "p,,q";
    box.m_Vars = "s,t";
    block->EndCustom();
    ASSERT_EQ(block->pinCount, 6);
    EXPECT_TRUE(block->m_Clocked);
    EXPECT_EQ(block->m_NVar, 2);
    const char* names[] = {"a", "unnamed_in_2", "p", "unnamed_out_2", "q", "clk"};
    for (int pin = 0; pin < 6; ++pin) EXPECT_EQ(block->PinName(pin), names[pin]) << pin;
    EXPECT_EQ(block->PinKind(5), kPinSensing);
    // A clocked block's box is built for its two views.
    EXPECT_EQ(box.m_PinIndex.size(), 2u);
}

TEST(ElemDll, FileKeysRoundTrip) {
    auto block = MakeElem<CElemDll>("X_DLL", "DLL", "B1");
    block->m_Dll = "blocks/pi controller.so";
    block->m_CodeName = "Step";
    block->m_InitName = "";
    block->m_PauseName = "Hold";
    block->m_ExitName = "Done";
    block->m_IC = "k=2, n=0";
    block->custom->m_Vars = "k,n";
    block->attachment = "7F454C46";
    auto copy = RoundTrip(block.get());
    EXPECT_EQ(copy->m_Dll, block->m_Dll);
    EXPECT_EQ(copy->m_CodeName, "Step");
    EXPECT_EQ(copy->m_InitName, "");
    EXPECT_EQ(copy->m_PauseName, "Hold");
    EXPECT_EQ(copy->m_ExitName, "Done");
    EXPECT_EQ(copy->m_IC, "k=2, n=0");
    EXPECT_EQ(copy->custom->m_Vars, "k,n");
    EXPECT_EQ(copy->m_NVar, 2);
    EXPECT_EQ(copy->attachment, "7F454C46");

    CXmlNode out("Cmp");
    out.m_bWrite = true;
    block->Xml(&out, false);
    std::string text;
    out.ToText(text);
    for (const char* key : {"dll=\"blocks%2fpi+controller.so\"", "dll_code=\"Step\"", "dll_init=\"\"", "dll_pause=\"Hold\"",
                            "dll_exit=\"Done\"", "ic=\"k%3d2%2c+n%3d0\"", "<Attachment>7F454C46</Attachment>"})
        EXPECT_NE(text.find(key), std::string::npos) << key << "\n" << text;
}

TEST(ElemDll, GuardWordSpellsItsPattern) {
    const unsigned long long pattern = QZ3_BLOCK_GUARD_PATTERN;
    char bytes[9] = {};
    std::memcpy(bytes, &pattern, 8);
    EXPECT_STREQ(bytes, "__%n/a__");
}

}  // namespace
}  // namespace qz3
