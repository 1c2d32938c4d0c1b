// Notes a user placed on a trace or on one run of it in a graph. The
// engine draws nothing: it reads them from the file, keeps them with their
// trace or run, and writes them back.
//
// In the file:
//     <Trace ...><Annotations><Annotation txt="peak" t="1.5m" ... /></Annotations>
//       <DataList><Data id="0" ...><Annotations>...</Annotations></Data></DataList></Trace>
// A list with no items writes no Annotations element.
#pragma once

#include <string>

#include "base/list.h"

namespace qz3 {

class CAnnotations;
class CXmlNode;

struct CPoint32 {
    int x = -50;
    int y = -50;
};

class CAnnotation {
public:
    // The offset's default depends on the kind of trace the list belongs to.
    CAnnotation(CAnnotations* owner, bool transient);
    virtual ~CAnnotation() = default;

    // Two-way, in the order of the keys; false for a null node.
    bool Xml(CXmlNode* node);

    CAnnotations* m_Owner;
    int m_Align = -1;
    int m_Dir = 0;
    CPoint32 m_Offset;
    std::string m_Text;
    double m_T = 0.0;
    int m_Output = 1;
    CPoint32 m_OffsetXY;
    CPoint32 m_OffsetED;
    CPoint32 m_OffsetNY;
    CPoint32 m_OffsetNI;
    CPoint32 m_OffsetSmith;
};

class CAnnotations {
public:
    explicit CAnnotations(bool transient) : m_bTran(transient) {}
    virtual ~CAnnotations();
    CAnnotations(const CAnnotations&) = delete;
    CAnnotations& operator=(const CAnnotations&) = delete;

    // Load: one annotation per child of the Annotations element. Save: one
    // Annotation child per item.
    void Xml(CXmlNode& node);
    // Reads the Annotations child of `owner` when it has one; writes it under
    // `owner` (replacing an earlier one) when the list has items.
    void XmlIn(CXmlNode& owner);
    // Hands every item over to `to`, which becomes their owner.
    void MoveTo(CAnnotations& to);
    void Clear();
    int Count() const { return m_Items.Count(); }
    CAnnotation* At(int i) const { return m_Items.At(i); }
    CAnnotation* Add();

    bool m_bTran;
    TList<CAnnotation> m_Items;  // owned
};

}  // namespace qz3
