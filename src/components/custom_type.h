// A box the user draws, with pins placed on its sides: the pin layout of
// custom gates, windings, function and code blocks, library blocks and
// subcircuits with a body of their own.
//
// The owner reads it from its "Custom" child (CCmp::Xml) between
// BeginCustom and EndCustom; in EndCustom it calls Rebuild and takes its
// pin count from the result (CCmp::AdoptCustomPins). Pins are numbered
// left side first, then right, top and bottom, each from the low bit up:
// everything that goes by pin number depends on that order.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "components/cmp.h"

namespace qz3 {

class CXmlNode;

class CCustomElemType {
public:
    static constexpr int kSideWords = 8;
    enum Side : int { kLeft = 0, kTop = 1, kRight = 2, kBottom = 3 };

    struct PinRecord {
        int x = 0;
        int y = 0;
        int side = kLeft;
        bool right = false;
    };

    // Defaults of the table, with the owner's type word ("X_C", "Y_CUSTOM").
    explicit CCustomElemType(std::string model);
    virtual ~CCustomElemType() = default;

    void Xml(CXmlNode* node);
    void Clear();
    // Derives the pin records from the masks; viewCount is the number of
    // views of the element (2 for a clocked library block, else 1).
    void Rebuild(int viewCount);

    // The owner's descriptor, copied so that the pin count may differ per
    // component; CCmp::typeInfo points here after MakeCustom.
    CCmpType m_Type;

    int32_t m_W = 1;
    int32_t m_H = 1;
    uint32_t m_Left[kSideWords] = {};
    uint32_t m_Bottom = 0;
    uint32_t m_Right[kSideWords] = {};
    uint32_t m_Top = 0;
    uint32_t m_LeftDots = 0;
    uint32_t m_RightDots = 0;
    uint32_t m_DotFlags = 0;
    std::string m_Ins;
    std::string m_Outs;
    std::string m_Vars;
    bool m_Dynamic = true;
    std::string m_Model;
    int m_PinCount = 0;
    std::vector<PinRecord> m_Pins;
    // One entry per view, each the first pin record of that view's list.
    std::vector<const PinRecord*> m_PinIndex;

private:
    bool HasNameLists() const;
    bool HasDots() const;
    void XmlMasks(CXmlNode* node, const char* key, uint32_t* words);
    void XmlNames(CXmlNode* node, const char* listKey, const char* itemKey, std::string& names);
    void AddSide(const uint32_t* words, int wordCount, int side, uint32_t dots);
};

}  // namespace qz3
