#include "xml/scramble.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "xml/digest.h"
#include "xml/xml_node.h"

namespace qz3 {
namespace {

std::string RandomText(std::mt19937& random, size_t length) {
    std::uniform_int_distribution<int> byte(1, 255);
    std::string text;
    for (size_t i = 0; i < length; ++i) text += static_cast<char>(byte(random));
    return text;
}

TEST(Scramble, DecodeUndoesEncodeForAnyEncodedText) {
    std::mt19937 random(20261125);
    for (int round = 0; round < 500; ++round) {
        const std::string plain = PercentEncode(RandomText(random, random() % 300));
        std::string cipher, back;
        const std::string check = EncodeScrambled(plain, cipher);
        ASSERT_EQ(cipher.size(), plain.size());
        for (char c : cipher) ASSERT_NE(kScrambleAlphabet.find(c), std::string_view::npos);
        EXPECT_EQ(DecodeScrambled(cipher, back), check);
        ASSERT_EQ(back, plain);
        EXPECT_EQ(check, Digest(plain));
        if (plain.size() > 1) {
            // A changed cipher character changes the plain one and the check.
            std::string damaged = cipher;
            const size_t at = random() % cipher.size();
            damaged[at] = damaged[at] == '0' ? '1' : '0';
            std::string wrong;
            EXPECT_NE(DecodeScrambled(damaged, wrong), check);
            EXPECT_NE(wrong[at], plain[at]);
            EXPECT_EQ(wrong.substr(0, at), plain.substr(0, at));
        }
    }
}

TEST(Scramble, ForeignCharacterEndsTheText) {
    std::string cipher, plain;
    EncodeScrambled("abc def", cipher);
    EXPECT_EQ(cipher.size(), 3u);
    DecodeScrambled("ab<cd", plain);
    EXPECT_EQ(plain.size(), 2u);
}

TEST(Scramble, CheckValueIsThirtyTwoUpperCaseDigitsOfTheKeyedDigest) {
    // The digest differs from the common one only by its starting state;
    // these values pin the state and the print order of the words.
    EXPECT_EQ(Digest(""), Digest(std::string_view("\0ignored", 8)));
    const std::string abc = Digest("abc");
    EXPECT_EQ(abc.size(), 32u);
    EXPECT_EQ(abc.find_first_not_of("0123456789ABCDEF"), std::string::npos);
    EXPECT_NE(abc, "900150983CD24FB0D6963F7D28E17F72");
    EXPECT_NE(Digest(std::string(64, 'x')), Digest(std::string(65, 'x')));
}

TEST(Scramble, NodeRestoresInPlace) {
    CXmlNode cmp("Cmp");
    cmp.AddRaw("type", "V_V");
    cmp.AddStr("name", "V 1");
    CXmlNode* signal = cmp.AddChild("Signal");
    signal->AddRaw("u1", "4");
    std::string plain;
    cmp.ToText(plain);

    cmp.Scramble();
    EXPECT_EQ(cmp.m_Name, "Cmp");
    EXPECT_EQ(cmp.ChildCount(), 0);
    ASSERT_EQ(cmp.AttrCount(), 1);
    EXPECT_EQ(cmp.GetRaw("Encr1", ""), Digest(PercentEncode(plain)));
    EXPECT_EQ(cmp.GetText().find("V_V"), std::string::npos);

    ASSERT_TRUE(cmp.Unscramble());
    std::string name, value;
    cmp.AttrAt(0, name, value);
    EXPECT_EQ(name, "Encr1");
    cmp.DeleteAttr("Encr1");
    std::string restored;
    cmp.ToText(restored);
    EXPECT_EQ(restored, plain);
    EXPECT_EQ(cmp.GetStr("name", ""), "V 1");

    CXmlNode empty("Cmps");
    empty.Scramble();
    ASSERT_TRUE(empty.Unscramble());
    empty.DeleteAttr("Encr1");
    EXPECT_EQ(empty.AttrCount(), 0);
    EXPECT_EQ(empty.ChildCount(), 0);
    EXPECT_EQ(empty.GetText(), "");
}

TEST(Scramble, DamagedNodesAreRefused) {
    CXmlNode good("Cmp");
    good.AddRaw("type", "R_R");
    good.Scramble();
    const std::string cipher = good.GetText();
    const std::string check = good.GetRaw("Encr1", "");

    auto restores = [](const std::string& text, const std::string& value) {
        CXmlNode node("Cmp");
        node.SetText(text);
        node.AddRaw("Encr1", value);
        return node.Unscramble();
    };
    EXPECT_TRUE(restores(cipher, check));
    EXPECT_FALSE(restores(cipher, std::string(32, '0')));
    EXPECT_FALSE(restores(cipher.substr(0, cipher.size() / 2), check));
    EXPECT_FALSE(restores(cipher.substr(0, 5) + "#" + cipher.substr(6), check));
    EXPECT_FALSE(restores("", check));
    // A plain text that holds no element of the node's name.
    std::string notXml;
    const std::string notXmlCheck = EncodeScrambled(PercentEncode("R_R 1k"), notXml);
    EXPECT_FALSE(restores(notXml, notXmlCheck));
}

TEST(Scramble, DocumentAndComponentListRestore) {
    CXmlNode root("QZ3");
    CXmlNode* doc = root.AddChild("Doc");
    CXmlNode* cmps = doc->AddChild("Cir")->AddChild("Cmps");
    cmps->AddChild("Cmp")->AddRaw("type", "R_R");
    cmps->Scramble();
    doc->Scramble();
    std::string error;
    CScrambledParts found;
    ASSERT_TRUE(UnscrambleDocument(root, error, &found)) << error;
    EXPECT_TRUE(found.doc);
    EXPECT_TRUE(found.cmps);
    EXPECT_FALSE(root.FindChild("Doc")->HasAttr("Encr1"));
    CXmlNode* restored = root.FindChild("Doc")->FindChild("Cir")->FindChild("Cmps");
    ASSERT_NE(restored, nullptr);
    ASSERT_NE(restored->FindChild("Cmp"), nullptr);
    EXPECT_EQ(restored->FindChild("Cmp")->GetRaw("type", ""), "R_R");

    root.FindChild("Doc")->FindChild("Cir")->FindChild("Cmps")->Scramble();
    CXmlNode* list = root.FindChild("Doc")->FindChild("Cir")->FindChild("Cmps");
    list->SetText(list->GetText().substr(3));
    EXPECT_FALSE(UnscrambleDocument(root, error));
    EXPECT_EQ(error, "Cmps : scrambled text is damaged");

    CXmlNode plain("QZ3");
    plain.AddChild("Doc")->AddChild("Cir")->AddChild("Cmps");
    EXPECT_TRUE(UnscrambleDocument(plain, error, &found));
    EXPECT_FALSE(found.doc || found.cmps);
}

}  // namespace
}  // namespace qz3
