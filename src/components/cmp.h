// The base of everything that stands in a schematic: elements, labels and
// variables.
//
// What a component is at run time is told by two numbers: its type number,
// fixed at creation from the static descriptor CCmpType ("R_R" is 46), and
// its model number, a row of the descriptor's CModelInfo table ("R" is 12).
// One element class serves many types and models and branches on the two.
//
// Recipe: how an element implements its phases (src/components/README.md
// walks through the resistor).
//   1. Members: parameters are CFormula (kind 13), CPWL, flags, choices or
//      texts; plain numbers hold the dynamic state.
//   2. One parameter table for the class (param_table.h): a row per
//      parameter with its name, unit, file key, default, tests and member.
//      Each CModelInfo row lists the rows its model shows. That is all the
//      text access, the file keys, the defaults and the check lines need.
//   3. Xml(node, modelOnly): only for what no row says (a fix-up after
//      loading); call CCmp::Xml first.
//   4. CheckParams(calc): only for rules that join parameters; call
//      CheckParamRows for the rows' lines.
//   5. AssignBranches: the extra unknowns the present model needs.
//   6. Simulate(calc, phase, t): handle the phases you need, return true for
//      the rest. PhaseInit sets `state` (and prepares tables), PhaseStamp
//      enters coefficients in pass 0 (forced rows in pass 1), PhasePins
//      reports which pins are joined inside the element.
//   7. A PWL element reports SegmentRange and CheckSegment (searched by the
//      solver) or CheckState (followed at the state check).
// The element talks to the solver only through CSolverPort (stamps,
// solution reads, reports). A failing Simulate returns false with its text
// in the solver's error text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/list.h"
#include "base/type_ids.h"
#include "components/param_table.h"
#include "expr/param.h"
#include "waveforms/pwl.h"

namespace qz3 {

class CSolverPort;
class CCmp;
class CCmps;
class CXmlNode;
class CCustomElemType;
class CSubCir;
class CVarList;

// The phases of Simulate, by number; 3, 8 and 10 do not exist.
enum Phase : int {
    PhaseInit = 0,
    PhaseReset = 1,
    PhaseStore = 2,
    PhaseCheckIC = 4,
    PhaseStamp = 5,
    PhaseEval = 6,
    PhaseSources = 7,
    PhaseHistory = 9,
    PhaseSample = 11,
    PhaseLinearize = 12,
    PhaseFloat = 13,
    PhasePins = 14,
};
constexpr int kPhaseCount = 15;
constexpr uint32_t PhaseBit(int phase) { return uint32_t{1} << phase; }
constexpr uint32_t kAllPhases = PhaseBit(kPhaseCount) - 1;

// Bits of PinKind.
enum PinKindBits : int {
    kPinAnalog = 1,
    kPinSensing = 2,
    kPinCapacitive = 5,
};

// A pin's place in the symbol of a type; simulation uses only the count.
class CPin {
public:
    CPin() = default;
    CPin(int column, int row, int side, int group) : column(column), row(row), side(side), group(group) {}
    virtual ~CPin() = default;
    int column = 0;
    int row = 0;
    int side = 0;
    int group = 0;
};

// Readings a model offers to V, I and P traces (bits of CModelInfo::flags).
constexpr uint32_t kReadV = 1;
constexpr uint32_t kReadI = 2;
constexpr uint32_t kReadP = 4;
constexpr uint32_t kReadVIP = kReadV | kReadI | kReadP;

// One row of a type's model table; the table ends at a row with a null name.
struct CModelInfo {
    const char* name = nullptr;
    ModelId model = ModelId::None;
    // The rows of the class's parameter table this model shows, in the
    // order the host sees them, ended by kEndOfRows; null for none.
    const uint8_t* params = nullptr;
    int editorPos = 0;
    int branches = 0;
    uint32_t flags = 0;
    const char* symbol = nullptr;
};

// One alternative view: ends at a row whose pin table is empty.
struct CViewInfo {
    const CPin* pins = nullptr;
    const char* symbol = nullptr;
    const char* extraSymbol = nullptr;
};

struct CCmpType;
using CmpFactory = CCmp* (*)(const CCmpType* type);

// The static descriptor of one component type.
struct CCmpType {
    const char* typeName = nullptr;
    TypeId type = TypeId::None;
    CmpFactory create = nullptr;
    int pinCount = 0;
    const CPin* pins = nullptr;
    const char* symbol = nullptr;
    const CViewInfo* views = nullptr;
    const CModelInfo* models = nullptr;
    // Every parameter of the class, in the order of file keys and checks.
    const CParamTable* params = nullptr;
    int editorMode = 0;
    const char* title = nullptr;
    int symbolBox[8] = {};
    int topicId = 0;
};

// A bulk edit of an editing host; the library never sends one itself.
struct CTransform {
    int kind = 0;      // 1 initial condition, 4 scale the circuit, 5 scale impedance
    int sub = 0;       // kind 1: 0 removes, 1 sets to 0; kind 4: quantity 1 to 3
    double factor = 1.0;
};

class CCmp {
public:
    explicit CCmp(const CCmpType* type);
    virtual ~CCmp();
    CCmp(const CCmp&) = delete;
    CCmp& operator=(const CCmp&) = delete;

    // The 26 operations, in their order.
    virtual bool IsLabel() const { return false; }
    virtual bool IsVariable() const { return false; }
    virtual void BeginCustom() {}
    virtual void EndCustom() {}
    virtual bool Xml(CXmlNode* node, bool modelOnly);
    // The present model's rows of the class's parameter table, bound to
    // this component; null for a model without parameters.
    virtual CParam* BindParams();
    // The check lines of the parameter table; a class with rules that join
    // several parameters adds them behind.
    virtual bool CheckParams(CSolverPort* calc) { return CheckParamRows(this, calc); }
    virtual int PinKind(int pin) const { return kPinAnalog; }
    virtual int AssignBranches(CSolverPort* calc, int first);
    virtual int BranchIndex(int n) const { return firstBranch + n; }
    virtual std::string PinName(int pin) const { return {}; }
    virtual bool Simulate(CSolverPort* calc, int phase, double t) { return true; }
    virtual std::string GetState() { return {}; }
    virtual std::string SaveIC(std::string& out, int index, bool apply) { return {}; }
    virtual bool CheckState(CSolverPort* calc, bool commit, bool* changed) { return true; }
    virtual void NextEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) {}
    virtual bool GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* r);
    virtual void GetTraceValue(CSolverPort* calc, int kind, double* value, double* value2);
    virtual void Transform(const CTransform& edit) {}
    virtual void* ICMemory(int op) { return nullptr; }
    virtual bool SegmentRange(int* first, int* last) { return false; }
    virtual void ReservedOp() {}
    virtual bool CheckSegment(CSolverPort* calc, bool commit) { return false; }
    virtual bool NextView(int delta);
    virtual bool IsOn() const { return false; }

    // Beyond the 26: questions the solver asks instead of testing numbers.
    // The switching search may, as one of its retries, ask the element that
    // triggered a failed attempt to treat its open position as a leak
    // (`softOpen`); true for elements whose stamp honours that request.
    virtual bool CanSoftOpen() const { return false; }
    // True when the element's entries in the equations follow only from its
    // state, its parameters and what it stored at the last event, and when
    // stamping changes nothing else: from one step to the next without an
    // event they stay the same, and the solver may keep them instead of
    // asking again. False unless a class has been written to that rule.
    virtual bool StampsHoldBetweenEvents() const { return false; }
    // The phases in which Simulate does anything, as PhaseBit()s: the solver
    // calls an element only in those. Every phase unless a class lists its own.
    virtual uint32_t SimulatedPhases() const { return kAllPhases; }
    // The variables a program of the element keeps (a code block's), which
    // formulas read as "component.variable"; null for most elements.
    virtual CVarList* Variables() { return nullptr; }

    // The parameter table of the present model, or null for a closed one.
    CParam* ParamTable();
    // Row by name, ignoring case; null if none.
    CParam* FindParam(const std::string& name);
    // prefix + "." + name inside a subcircuit, else name.
    std::string FullName() const;
    bool IsClosed() const { return scrambled || scrambledKeep; }
    const CModelInfo* ModelRow() const;
    const char* ModelName() const;
    // Row of the type's model table by its exact name; null if none.
    const CModelInfo* FindModel(const std::string& name, bool ignoreCase) const;
    // All pins unconnected: the component takes no part in a run.
    bool IsDisconnected() const;
    // A subcircuit stands in for the element: the solver walks its
    // flattened content and never this component's phases.
    bool IsSubCircuit() const { return model == ModelId::SubCir; }
    // The subcircuit member, made on first use: most components never
    // have the model that needs it.
    CSubCir& SubCircuit();
    // The inner list of a subcircuit, loaded for access by name when it
    // isn't yet; null for other models or when nothing can be loaded.
    CCmps* InnerCmps();
    // The model changed since the last run that started.
    bool ModelChanged() const { return model != lastModel; }
    // Before PhaseInit: the model's own piecewise-linear table is loaded
    // ("PWL"); false with the text in the solver.
    bool PrepareModelTable(CSolverPort* calc);
    // Builds one of the element's tables from its text; a fault is the
    // element's line in the solver's error text.
    bool PrepareTable(CSolverPort* calc, CPWL& table) const;
    // Appends "full name : text" and a line feed to the solver's error text;
    // returns false so that an element can write `return AddCmpError(...)`.
    bool AddCmpError(CSolverPort* calc, const std::string& text) const;
    void AllocPins(int count);
    // The common step of a custom type's BeginCustom: a fresh box with the
    // type's own descriptor, which typeInfo then points at.
    void MakeCustom();
    // After the box is read: rebuilds its pins and, when their number
    // changed, the component's pin table (the nodes start unconnected).
    void AdoptCustomPins(int viewCount = 1);
    int Node(int pin) const { return nodes[pin]; }
    // The pin groups that PhasePins writes, one per pin: pins with equal
    // non-zero numbers are joined by a conducting path inside the element;
    // 0 marks a pin the element drives itself. They are kept in the second
    // half of `nodes`, which is allocated for both.
    int* PinGroups() { return nodes + pinCount; }
    const int* PinGroups() const { return nodes + pinCount; }

    CCmps* owner = nullptr;
    const CCmpType* typeInfo = nullptr;
    CCustomElemType* custom = nullptr;
    CSubCir* subCir = nullptr;  // owned; null until the model is first used
    int id = 0;
    TypeId type = TypeId::None;
    std::string name;
    std::string descr;
    ModelId model = ModelId::None;
    int view = 0;
    std::string group;
    CPWL pwl;
    bool hostDriven = false;
    double hostValue = 0.0;
    bool scrambled = false;
    bool scrambledKeep = false;
    std::string fileName;
    std::string prefix;
    ModelId lastModel = ModelId::None;
    int state2 = 0;
    int state = 0;
    int savedState = 0;
    bool changed = false;
    bool softOpen = false;
    bool searched = false;
    std::string attachment;
    TStringList* states = nullptr;
    int pinCount = -1;
    int* nodes = nullptr;
    int branchCount = 0;
    int firstBranch = 0;

    // Content of the file node that no class wrote back is kept: the list
    // remembers the node after loading and restores what is missing after
    // saving, so that keys of other programs or later versions survive.
    void RememberFileContent(CXmlNode* node);
    void WriteForeignContent(CXmlNode* node) const;

protected:
    bool QuietLoad() const;

private:
    void XmlCustom(CXmlNode* node);
    void XmlIdentity(CXmlNode* node);
    void XmlNodes(CXmlNode* node);
    void XmlModel(CXmlNode* node);
    void XmlStates(CXmlNode* node);
    void XmlAttachment(CXmlNode* node);
    void ClearFileContent();

    // The bound rows of m_BoundModel; rebuilt when the model changes, so
    // a row handed out stays valid as long as the model does.
    std::vector<CParam> m_BoundParams;
    ModelId m_BoundModel = ModelId::None;
    TStringList m_FileAttrs;           // name, value, name, value, as loaded
    TList<CXmlNode> m_FileChildren;    // owned copies of the loaded children
};

}  // namespace qz3
