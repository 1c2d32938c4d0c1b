#include "xml/scramble.h"

#include "xml/digest.h"
#include "xml/xml_node.h"

namespace qz3 {

namespace {

// Only the first 16 characters of the key take part.
constexpr std::string_view kKey = "p#5_wL8:=!h_2+.$__";
constexpr int kKeyUsed = 16;
constexpr int kSize = static_cast<int>(kScrambleAlphabet.size());
constexpr const char* kCheckKey = "Encr1";

int PlaceOf(char c) {
    const size_t place = kScrambleAlphabet.find(c);
    return place == std::string_view::npos ? -1 : static_cast<int>(place);
}

// The state after character i: the key and the plain character move it.
int NextState(int state, size_t i, char plain) {
    const int mixed = static_cast<unsigned char>(kKey[i % kKeyUsed]) ^ static_cast<unsigned char>(plain);
    return (mixed + state) % kSize;
}

}  // namespace

std::string EncodeScrambled(std::string_view plain, std::string& cipher) {
    cipher.clear();
    cipher.reserve(plain.size());
    int state = 0;
    for (size_t i = 0; i < plain.size(); ++i) {
        const int p = PlaceOf(plain[i]);
        if (p < 0) break;
        cipher += kScrambleAlphabet[(p + state) % kSize];
        state = NextState(state, i, plain[i]);
    }
    return Digest(plain);
}

std::string DecodeScrambled(std::string_view cipher, std::string& plain) {
    plain.clear();
    plain.reserve(cipher.size());
    int state = 0;
    for (size_t i = 0; i < cipher.size(); ++i) {
        const int q = PlaceOf(cipher[i]);
        if (q < 0) break;
        int p = q - state;
        if (p < 0) p += kSize;
        plain += kScrambleAlphabet[p];
        state = NextState(state, i, plain.back());
    }
    return Digest(plain);
}

void CXmlNode::Scramble() {
    std::string text;
    ToText(text);
    std::string cipher;
    const std::string check = EncodeScrambled(PercentEncode(text), cipher);
    Clear();
    SetText(cipher);
    AddRaw(kCheckKey, check);
}

bool CXmlNode::Unscramble() {
    std::string encoded;
    const std::string check = DecodeScrambled(m_Text, encoded);
    const std::string text = PercentDecode(encoded);
    size_t at = text.find("<" + m_Name + ">");
    if (at == std::string::npos) at = text.find("<" + m_Name + " ");
    m_Text.clear();
    if (at == std::string::npos) return false;
    // The check value stays first in the list, ahead of what is parsed.
    ParseText(text, static_cast<int>(at) + 1);
    return GetRaw(kCheckKey, "") == check;
}

namespace {

bool UnscrambleChild(CXmlNode& parent, const char* name, CXmlNode*& child, bool& found, std::string& error) {
    child = parent.FindChild(name, 0);
    if (!child || !child->HasAttr(kCheckKey)) return true;
    found = true;
    const bool restored = child->Unscramble();
    child->DeleteAttr(kCheckKey);
    if (restored) return true;
    error = std::string(name) + " : scrambled text is damaged";
    return false;
}

}  // namespace

bool UnscrambleDocument(CXmlNode& root, std::string& error, CScrambledParts* found) {
    CScrambledParts parts;
    CXmlNode* doc = nullptr;
    CXmlNode* cmps = nullptr;
    bool restored = UnscrambleChild(root, "Doc", doc, parts.doc, error);
    CXmlNode* cir = restored && doc ? doc->FindChild("Cir", 0) : nullptr;
    if (cir) restored = UnscrambleChild(*cir, "Cmps", cmps, parts.cmps, error);
    if (found) *found = parts;
    return restored;
}

}  // namespace qz3
