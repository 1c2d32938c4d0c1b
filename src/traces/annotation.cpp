#include "traces/annotation.h"

#include "xml/xml_node.h"

namespace qz3 {

CAnnotation::CAnnotation(CAnnotations* owner, bool transient) : m_Owner(owner) {
    if (transient) m_Offset = {-30, 30};
}

bool CAnnotation::Xml(CXmlNode* node) {
    if (!node) return false;
    m_Align = node->Int("align", m_Align);
    m_Dir = node->Int("dir", m_Dir);
    node->Pair("offset", m_Offset.x, m_Offset.y);
    m_Text = node->Str("txt", m_Text);
    m_T = node->Dbl("t", m_T);
    m_Output = node->Int("output", m_Output);
    node->Pair("offset_xy", m_OffsetXY.x, m_OffsetXY.y);
    node->Pair("offset_ed", m_OffsetED.x, m_OffsetED.y);
    node->Pair("offset_ny", m_OffsetNY.x, m_OffsetNY.y);
    node->Pair("offset_ni", m_OffsetNI.x, m_OffsetNI.y);
    node->Pair("offset_smith", m_OffsetSmith.x, m_OffsetSmith.y);
    return true;
}

CAnnotations::~CAnnotations() { Clear(); }

void CAnnotations::Clear() {
    for (CAnnotation* item : m_Items) delete item;
    m_Items.Clear();
}

CAnnotation* CAnnotations::Add() {
    auto* item = new CAnnotation(this, m_bTran);
    m_Items.Add(item);
    return item;
}

void CAnnotations::Xml(CXmlNode& node) {
    if (node.m_bWrite) {
        for (CAnnotation* item : m_Items) item->Xml(node.AddChild("Annotation"));
        return;
    }
    for (int i = 0; i < node.ChildCount(); ++i) Add()->Xml(node.ChildAt(i));
}

void CAnnotations::XmlIn(CXmlNode& owner) {
    if (!owner.m_bWrite) {
        if (CXmlNode* list = owner.FindChild("Annotations", 0)) Xml(*list);
        return;
    }
    // An earlier list is rewritten where it stands, so that its neighbours
    // keep their order.
    int at = -1;
    for (int i = 0; i < owner.ChildCount() && at < 0; ++i)
        if (owner.ChildAt(i)->m_Name == "Annotations") at = i;
    if (Count() == 0) {
        if (at >= 0) owner.DeleteChild(at);
        return;
    }
    CXmlNode* list = at >= 0 ? owner.ChildAt(at) : owner.AddChild("Annotations");
    list->Clear();
    Xml(*list);
}

void CAnnotations::MoveTo(CAnnotations& to) {
    for (CAnnotation* item : m_Items) {
        item->m_Owner = &to;
        to.m_Items.Add(item);
    }
    m_Items.Clear();
}

}  // namespace qz3
