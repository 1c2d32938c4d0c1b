#include "components/custom_type.h"

#include <gtest/gtest.h>

#include <string>

#include "components/cmp.h"
#include "xml/xml_node.h"

namespace qz3 {
namespace {

// The "Custom" child of a component as a file gives it, in load mode.
CCustomElemType Loaded(const std::string& model, const std::string& custom) {
    CXmlNode node;
    node.ParseText(custom, 1);
    CCustomElemType box(model);
    box.Xml(&node);
    return box;
}

std::string Saved(CCustomElemType& box) {
    CXmlNode node("Custom");
    box.Xml(&node);
    std::string text;
    node.ToText(text);
    return text;
}

TEST(CustomType, PinsStandLeftRightTopBottomFromTheLowBit) {
    CCustomElemType box = Loaded("X_C", R"(<Custom w="3" h="4" l="5" l1="8" r="2" t="1" b="6"/>)");
    box.Rebuild(1);
    ASSERT_EQ(box.m_PinCount, 7);
    const int expected[][3] = {{0, 0, 0}, {0, 2, 0}, {0, 35, 0}, {4, 1, 2}, {0, -1, 1}, {1, 4, 3}, {2, 4, 3}};
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(box.m_Pins[i].x, expected[i][0]) << i;
        EXPECT_EQ(box.m_Pins[i].y, expected[i][1]) << i;
        EXPECT_EQ(box.m_Pins[i].side, expected[i][2]) << i;
        EXPECT_EQ(box.m_Pins[i].right, expected[i][2] == CCustomElemType::kRight) << i;
    }
    ASSERT_EQ(box.m_PinIndex.size(), 1u);
    box.Rebuild(2);
    EXPECT_EQ(box.m_PinIndex.size(), 2u);
}

TEST(CustomType, EmptyBoxHasNoPinsAndDotsPairPins) {
    CCustomElemType empty = Loaded("Y_CUSTOM", "<Custom />");
    empty.Rebuild(1);
    EXPECT_EQ(empty.m_PinCount, 0);
    EXPECT_TRUE(empty.m_Pins.empty());
    EXPECT_TRUE(empty.m_PinIndex.empty());

    // Left pins 0, 1 (rows 0, 1) and right pins 2, 3: a dot on the left row
    // 1 marks pair 0, on the right row 0 pair 1.
    CCustomElemType windings = Loaded("W_CUSTOM", R"(<Custom l="3" r="3" ldot="2" rdot="1"/>)");
    windings.Rebuild(1);
    EXPECT_EQ(windings.m_DotFlags, 3u);
    // Dots are kept only where the model has them.
    CCustomElemType block = Loaded("X_C", R"(<Custom l="3" r="3" ldot="2" rdot="1"/>)");
    block.Rebuild(1);
    EXPECT_EQ(block.m_DotFlags, 0u);
}

TEST(CustomType, RoundTripWritesOnlySetMasksAndTheNameLists) {
    CCustomElemType box = Loaded("X_C",
                                 R"(<Custom w="2" h="3" l="7" r3="1" b="0" t="0" d="0">)"
                                 R"(<Ins><In name="a"/><In name="b"/><In name="c"/></Ins>)"
                                 R"(<Outs><Out name="y"/></Outs><Vars /></Custom>)");
    EXPECT_EQ(box.m_Ins, "a,b,c");
    EXPECT_EQ(box.m_Outs, "y");
    EXPECT_EQ(box.m_Vars, "");
    EXPECT_FALSE(box.m_Dynamic);
    const std::string text = Saved(box);
    EXPECT_NE(text.find("l=\"7\""), std::string::npos) << text;
    EXPECT_NE(text.find("r3=\"1\""), std::string::npos) << text;
    EXPECT_EQ(text.find("l1="), std::string::npos) << text;
    EXPECT_EQ(text.find("r=\""), std::string::npos) << text;

    CCustomElemType again = Loaded("X_C", text);
    EXPECT_EQ(again.m_Ins, "a,b,c");
    EXPECT_EQ(again.m_Outs, "y");
    EXPECT_EQ(again.m_Right[3], 1u);
    again.Rebuild(1);
    EXPECT_EQ(again.m_PinCount, 4);
    EXPECT_EQ(again.m_Pins[3].y, 96);

    // A model without name lists neither writes nor reads them.
    CCustomElemType gate = Loaded("Y_CUSTOM", R"(<Custom l="3"><Ins><In name="a"/></Ins></Custom>)");
    EXPECT_EQ(gate.m_Ins, "");
    EXPECT_EQ(Saved(gate).find("Ins"), std::string::npos);
}

// A component of a custom type: its pins follow its box, per component.
class CBoxed : public CCmp {
public:
    using CCmp::CCmp;
    void BeginCustom() override { MakeCustom(); }
    void EndCustom() override { AdoptCustomPins(); }
};

const CCmpType kBoxedType{"X_BOX", TypeId::CustomBlock, nullptr, 0};

TEST(CustomType, ComponentTakesItsPinsFromItsBoxAndSavesIt) {
    CXmlNode file;
    file.ParseText(R"(<Cmp type="X_BOX" name="B1" node0="4" node1="5" node2="6"><Custom l="3" r="1"/></Cmp>)", 1);
    CBoxed first(&kBoxedType);
    first.Xml(&file, false);
    ASSERT_NE(first.custom, nullptr);
    EXPECT_EQ(first.pinCount, 3);
    EXPECT_EQ(first.typeInfo->pinCount, 3);
    EXPECT_EQ(first.Node(2), 6);
    EXPECT_EQ(kBoxedType.pinCount, 0) << "the shared descriptor is never changed";

    CBoxed plain(&kBoxedType);
    EXPECT_EQ(plain.pinCount, 0);
    EXPECT_EQ(plain.custom, nullptr);

    CXmlNode out("Cmp");
    first.Xml(&out, false);
    std::string text;
    out.ToText(text);
    EXPECT_NE(text.find("<Custom"), std::string::npos) << text;
    EXPECT_NE(text.find("node2=\"6\""), std::string::npos) << text;
    EXPECT_NE(text.find("type=\"X_BOX\""), std::string::npos) << text;
}

}  // namespace
}  // namespace qz3
