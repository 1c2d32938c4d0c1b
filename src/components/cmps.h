// The list of all components of one circuit level.
//
// A document has one, every loaded subcircuit its own. The list creates
// components from the "type" of each Cmp node, loads and saves itself, keeps
// itself sorted (variables last, labels before them, "R2" before "R10"),
// resolves dotted names, evaluates all parameter formulas to a fixed point,
// and gives text access to any parameter.
//
// Names: "R1" is a component and its first parameter, "R1.R" a named
// parameter, "X1.X2.R1.R" descends through subcircuits, and a name that holds
// a point is written in double quotes: "\"a.b\".R".
//
// Look-ups are linear on purpose: a list has tens of components, and names
// are looked up while formulas are read, never in the time-step loop.
#pragma once

#include <string>
#include <vector>

#include "base/list.h"
#include "expr/value.h"

namespace qz3 {

class CCmp;
class CDoc;
class CParam;
class CXmlNode;
class CSubCir;
struct CVarEntry;

// The one rule that splits a path into the name before the first point and
// the rest; a quoted first part may hold points.
void SplitPath(const std::string& path, std::string& left, std::string& right);

class CCmps {
public:
    explicit CCmps(CDoc* owner);
    virtual ~CCmps();
    CCmps(const CCmps&) = delete;
    CCmps& operator=(const CCmps&) = delete;

    // False only for a null node; a fault in a child is left on that child.
    bool Load(CXmlNode* cmps);
    // Writes one "Cmp" child per component into a node the caller emptied.
    bool Save(CXmlNode* cmps);
    void Sort();

    int Count() const { return m_List.Count(); }
    CCmp* At(int i) const { return m_List.At(i); }
    // Takes ownership; sets the component's owner.
    void Add(CCmp* cmp);
    void Clear();

    // First component of that name, ignoring case; null for an empty name.
    CCmp* Find(const std::string& name) const;
    // "X1.X2.R1": descends through loaded subcircuits.
    CCmp* FindPath(const std::string& path) const;
    // "comp.param", or "comp" for its first row. The row is bound to the
    // component, which goes to *cmp when asked for.
    CParam* FindParam(const std::string& path, CCmp** cmp = nullptr) const;
    // The value of a parameter by name, as formulas read it; components
    // whose pins are all unconnected yield nothing.
    bool FindValue(const std::string& path, double& value) const;
    bool FindValue(const std::string& path, CValue& value) const;
    // "comp.variable" of a component that keeps variables (a code block);
    // null if none.
    CVarEntry* FindVar(const std::string& path) const;

    // Reads (op 0) or assigns (op 20, or a combining assignment code) a
    // parameter by path. ok and result tell the outcome in every case.
    void ParamAccess(int op, const std::string& path, const std::string& index, std::string value,
                     std::string& result, bool& ok, int& errpos, double* number);
    // Evaluates all formulas until a pass changes nothing; true if any did.
    bool EvalParams();
    // Initial conditions of all components that take part in a run, as
    // key=value text; index 0 from the live state, above 0 from States.
    void SaveIC(std::string& out, int index);
    // Node numbers of all pins of all components in list order.
    std::vector<int> NodeList() const;

    CDoc* doc;
    // Set by the version conversion: unknown types and models go unreported.
    bool m_QuietLoad = false;
    // The subcircuit whose inner list this is; null for a document's list.
    CSubCir* m_Holder = nullptr;

private:
    CCmp* CreateFor(CXmlNode* child);
    void AccessModel(CCmp* cmp, const std::string& value, std::string& result, bool& ok);
    void AccessRow(CCmp* cmp, CParam* row, int op, const std::string& value, std::string& result, bool& ok,
                   double* number);
    bool EvalFormulaRow(CCmp* cmp, int row);
    void AccessInner(CCmp* cmp, int op, const std::string& path, const std::string& rest, const std::string& index,
                     const std::string& value, std::string& result, bool& ok, int& errpos, double* number);

    TList<CCmp> m_List;  // owned
};

}  // namespace qz3
