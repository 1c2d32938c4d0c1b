#include "components/custom_type.h"

#include <bit>
#include <utility>

#include "base/list.h"
#include "xml/xml_node.h"

namespace qz3 {

CCustomElemType::CCustomElemType(std::string model) : m_Model(std::move(model)) {}

bool CCustomElemType::HasNameLists() const {
    return m_Model == "X_C" || m_Model == "X_DLL" || m_Model == "X_QZ3" || m_Model == "Y_FUNCTION" ||
           m_Model == "F_CUSTOM";
}

bool CCustomElemType::HasDots() const { return m_Model == "L_CUSTOM" || m_Model == "W_CUSTOM"; }

// "l", "l1" ... "l7": a word that is 0 is not written, every one is read.
void CCustomElemType::XmlMasks(CXmlNode* node, const char* key, uint32_t* words) {
    for (int i = 0; i < kSideWords; ++i) {
        const std::string name = i == 0 ? std::string(key) : key + std::to_string(i);
        if (node->m_bWrite && words[i] == 0) continue;
        words[i] = static_cast<uint32_t>(node->Int(name, static_cast<int>(words[i])));
    }
}

void CCustomElemType::XmlNames(CXmlNode* node, const char* listKey, const char* itemKey, std::string& names) {
    if (node->m_bWrite) {
        CXmlNode* list = node->AddChild(listKey);
        TStringList items;
        items.Split(names, ',');
        for (const std::string& item : items) list->AddChild(itemKey)->AddStr("name", item);
        return;
    }
    if (node->ChildCount() == 0) return;
    names.clear();
    CXmlNode* list = node->FindChild(listKey);
    if (!list) return;
    TStringList items;
    for (int i = 0; i < list->ChildCount(); ++i) {
        CXmlNode* item = list->ChildAt(i);
        if (item->m_Name == itemKey) items.Add(item->GetStr("name", ""));
    }
    names = items.JoinCommas();
}

void CCustomElemType::Xml(CXmlNode* node) {
    m_W = node->Int("w", m_W);
    m_H = node->Int("h", m_H);
    if (!node->m_bWrite) {
        for (int i = 0; i < kSideWords; ++i) m_Left[i] = m_Right[i] = 0;
    }
    XmlMasks(node, "l", m_Left);
    XmlMasks(node, "r", m_Right);
    m_Bottom = static_cast<uint32_t>(node->Int("b", static_cast<int>(m_Bottom)));
    m_Top = static_cast<uint32_t>(node->Int("t", static_cast<int>(m_Top)));
    if (HasDots()) {
        m_LeftDots = static_cast<uint32_t>(node->Int("ldot", static_cast<int>(m_LeftDots)));
        m_RightDots = static_cast<uint32_t>(node->Int("rdot", static_cast<int>(m_RightDots)));
    }
    if (HasNameLists()) {
        XmlNames(node, "Ins", "In", m_Ins);
        XmlNames(node, "Outs", "Out", m_Outs);
        XmlNames(node, "Vars", "Var", m_Vars);
    }
    m_Dynamic = node->Bool("d", m_Dynamic);
}

void CCustomElemType::Clear() {
    m_Pins.clear();
    m_PinIndex.clear();
    m_PinCount = 0;
    m_DotFlags = 0;
}

// Dots count in pairs of pins and only on the first word of a side: bit i
// of m_DotFlags belongs to pins 2i and 2i + 1.
void CCustomElemType::AddSide(const uint32_t* words, int wordCount, int side, uint32_t dots) {
    for (int word = 0; word < wordCount; ++word) {
        for (int bit = 0; bit < 32; ++bit) {
            if (!(words[word] >> bit & 1u)) continue;
            PinRecord pin;
            pin.side = side;
            pin.right = side == kRight;
            switch (side) {
                case kLeft: pin.x = 0; pin.y = word * 32 + bit; break;
                case kRight: pin.x = m_W + 1; pin.y = word * 32 + bit; break;
                case kTop: pin.x = bit; pin.y = -1; break;
                default: pin.x = bit; pin.y = m_H; break;
            }
            const int index = static_cast<int>(m_Pins.size());
            if (word == 0 && (dots >> bit & 1u) && index / 2 < 32) m_DotFlags |= 1u << (index / 2);
            m_Pins.push_back(pin);
        }
    }
}

void CCustomElemType::Rebuild(int viewCount) {
    Clear();
    int count = std::popcount(m_Bottom) + std::popcount(m_Top);
    for (int i = 0; i < kSideWords; ++i) count += std::popcount(m_Left[i]) + std::popcount(m_Right[i]);
    m_PinCount = count;
    if (count == 0) return;
    m_Pins.reserve(static_cast<size_t>(count));
    AddSide(m_Left, kSideWords, kLeft, m_LeftDots);
    AddSide(m_Right, kSideWords, kRight, m_RightDots);
    AddSide(&m_Top, 1, kTop, 0);
    AddSide(&m_Bottom, 1, kBottom, 0);
    for (int view = 0; view < (viewCount < 1 ? 1 : viewCount); ++view) m_PinIndex.push_back(m_Pins.data());
}

}  // namespace qz3
