// The component list of one circuit level. It reads the Cmp children of a
// Cmps node, creating each component from its "type", and writes the list
// back into an emptied Cmps node. This build knows no component type yet:
// every Cmp is reported as unknown on its node and skipped, so the list
// stays empty and a save writes an empty Cmps.
#pragma once

#include <string>

namespace qz3 {

class CDoc;
class CXmlNode;

class CCmps {
public:
    explicit CCmps(CDoc* owner) : doc(owner) {}
    virtual ~CCmps() = default;
    CCmps(const CCmps&) = delete;
    CCmps& operator=(const CCmps&) = delete;

    // False only for a null node; a fault in a child is left on that child.
    bool Load(CXmlNode* cmps);
    // Writes one "Cmp" child per component into a node the caller emptied.
    bool Save(CXmlNode* cmps);
    int Count() const { return 0; }

    CDoc* doc;
    // Set by the version conversion: unknown types and models go unreported.
    bool m_QuietLoad = false;
};

}  // namespace qz3
