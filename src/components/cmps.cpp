#include "components/cmps.h"

#include "document/xml_node.h"

namespace qz3 {

bool CCmps::Load(CXmlNode* cmps) {
    if (!cmps) return false;
    for (int i = 0; i < cmps->ChildCount(); ++i) {
        CXmlNode* child = cmps->ChildAt(i);
        std::string type = child->GetStr("type", "");
        if (!m_QuietLoad) child->SetError("Unknown component type = " + type);
    }
    return true;
}

bool CCmps::Save(CXmlNode* cmps) { return cmps != nullptr; }

}  // namespace qz3
