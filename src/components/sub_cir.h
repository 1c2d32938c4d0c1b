// A component that stands for a whole schematic: a file beside the
// document, or an attachment stored inside the component.
//
// The inner schematic's components are loaded into a private list, so two
// components that name one file hold two copies. When a run starts,
// Prepare applies the component's initial conditions ("ic") and parameter
// commands ("cmd") to that copy, hands the inner list to the solver, which
// collects its elements into its one flat list, and ties each outer pin to
// the node of the inner label of the pin's name. The solver never sees the
// hierarchy again: a subcircuit costs nothing per step beyond its elements.
//
// Inner names are seen from outside as "X1.R2": the inner components carry
// the owner's full name as their prefix.
//
// Recipe for a model that is a subcircuit: CCmp::Xml reads the "SubCir"
// child through Xml, ParamTable hands out this table, and the solver calls
// Prepare instead of the element's phases.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "expr/param.h"

namespace qz3 {

class CCmp;
class CCmps;
class CDoc;
class CSolverPort;
class CXmlNode;

class CSubCir {
public:
    // Subcircuits inside subcircuits go this deep and no deeper: a chain of
    // files that never ends must stop with a message, not with the stack.
    static constexpr int kMaxDepth = 64;

    explicit CSubCir(CCmp* owner);
    virtual ~CSubCir();
    CSubCir(const CSubCir&) = delete;
    CSubCir& operator=(const CSubCir&) = delete;

    // The "SubCir" child of the owner's node; false for a null node and,
    // in load mode, for a node without that child.
    bool Xml(CXmlNode* node);
    // Drops what is loaded and rebuilds the labels and the parameter table
    // for n pins; the same n keeps labels and table.
    void SetPins(int n);
    // The pins are named by a custom box: the table offers no "PinN" rows.
    void FixPins(int n);
    void Unload();
    // Loads the inner list if needed, applies ic and cmd, links the inner
    // list into the run and ties the pins. False with the text in the solver.
    bool Prepare(CSolverPort* calc);
    // Loads the inner list for access by name before a run; false when
    // there is nothing to load or it can't be read.
    bool LoadForAccess(CDoc* doc);
    // The state of the inner components as "name.key=value" items.
    std::string StateText(int index);
    // The attachment is written again from the loaded list, so that a
    // change made inside lands in the document; nothing without one.
    void RewriteAttachment();

    CParam* Params() { return m_Params.empty() ? nullptr : m_Params.data(); }
    CCmps* Inner() const { return m_Cmps.get(); }
    // How many subcircuits hold this one (0 for one in the document).
    int Depth() const;

    CCmp* m_Owner;
    std::string m_File;
    std::string m_Cmd;
    std::string m_IC;
    std::string m_SavedIC;
    std::vector<std::string> m_Labels;
    bool m_FixedPins = false;
    int m_PinCount = -1;
    std::string m_LoadedFile;
    // The inner list was reached by name since it was loaded or prepared:
    // a change may have been made inside that the attachment must take.
    bool m_Accessed = false;
    // A host has reached inside by name at least once, so it may hold a
    // handle into the inner list: a replaced list is kept, not freed.
    bool m_Reached = false;

private:
    bool LoadInner(CDoc* doc, std::string& error);
    bool ReadRoot(CXmlNode& root, CDoc* doc, std::string& error, std::string& source);
    bool IncludesItself(const std::string& source) const;
    void SnapshotNodes();
    void RestoreNodes();
    void PrefixInner();
    void ApplyIC();
    bool ApplyCommands(CSolverPort* calc);
    bool ConnectPins(CSolverPort* calc);
    void BuildParams();

    std::unique_ptr<CCmps> m_Cmps;
    // Lists replaced by a reload stay until the component goes: a host may
    // still hold a parameter handle that leads into one of them.
    std::vector<std::unique_ptr<CCmps>> m_Retired;
    std::string m_Source;          // the file the inner list came from, "" for an attachment
    std::vector<CParam> m_Params;
    std::vector<std::string> m_PinNames;
    std::vector<int> m_Nodes;      // inner pin nodes as loaded, in list order
};

}  // namespace qz3
