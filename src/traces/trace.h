// One trace: what to record (a node voltage, a current, a power, a state, a
// variable or a formula) and the runs that hold what was recorded.
//
// A trace also carries the presentation keys of its file element, which the
// engine doesn't use but writes back exactly as read. Xml(node, withData) is
// the one two-way routine for all of them, keyed by node.m_bWrite.
//
// At a run: the set clears the trace (ClearRun), binds it to the solver
// (Bind, traces.cpp), then offers it a value at each accepted point
// (SampleTran or SampleAC). A trace that is not bound records nothing.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/list.h"
#include "expr/value.h"
#include "expr/var_list.h"
#include "traces/annotation.h"
#include "traces/data.h"

namespace qz3 {

class CCalc;
class CCmp;
class CTraces;
class CXmlNode;

enum TraceType : int {
    kTraceV = 0,
    kTraceI = 1,
    kTraceP = 2,
    kTraceS = 3,
    kTraceVar = 4,
    kTraceFunction = 5,
    kTraceZ = 6,
    kTraceGamma = 7,
    kTraceVSWR = 8,
    kTraceLoop = 9,
    kTraceScope = 10,
    kTraceMath = 11,
};

// Codes of the "func" word of a Math trace.
enum TraceFunc : int {
    kFuncFunction = 0,
    kFuncLpf = 7,
    kFuncHpf = 8,
    kFuncMovAver = 9,
    kFuncMovAcRms = 11,
    kFuncRegr = 12,
    kFuncCounter = 13,
    kFuncTvConverter = 15,
};

// The Function child of a Math trace: kept for the file, computed by nobody.
struct CTraceFunction {
    int func = kFuncFunction;
    int range = 0;
    double left = 0.0;
    double right = 1.0;
    double tc = 1.0;
    double window = 0.1;
    int order = 1;
    double threshold = 2.5;
    int edge = 0;
};

class CTrace {
public:
    // The set's transient flag and the document's logic levels give the
    // defaults; a null owner stands for a transient trace without document.
    explicit CTrace(CTraces* owner);
    virtual ~CTrace();
    CTrace(const CTrace&) = delete;
    CTrace& operator=(const CTrace&) = delete;

    // Reads or writes the Trace element; with withData the DataList child
    // too (loading makes one empty run per Data record).
    void Xml(CXmlNode& node, bool withData);

    // "name" when set, else Label().
    std::string DisplayName() const;
    // The expression, named after the function of a Math trace, and marked
    // "Re of " / "Im of " for the real and imaginary output forms of AC.
    std::string Label() const;
    // Not written to the file and never bound: a trace without a component
    // that nobody asked to keep.
    bool IsKept() const { return m_Id >= 0; }
    bool IsDigital() const { return m_bTran && m_Mode != kTraceAnalog; }
    // What a run records: a kept trace that isn't a scope.
    bool Records() const { return m_Id >= 0 && m_Type != kTraceScope; }

    // Makes the run in progress if missing, empties it, zeroes the counters.
    void ClearRun();
    // Makes the run in progress only when missing: a trace added in the
    // middle of a run starts empty without touching the others.
    void EnsureRun();
    // The run to read: the one in progress, or the first stored run.
    CData* DataObject() const;
    // Destroys the runs; the notes of the run in progress stay with the trace.
    void DropRuns();
    CData* AddRun(int id);
    // Forgets the binding of the last run.
    void Unbind();

    // One point of a transient run; false ends the run with calc's m_Error.
    bool SampleTran(CCalc& calc, double t, bool hold);
    // One point of an AC run from the complex solution re + j im.
    bool SampleAC(CCalc& calc, double f, const double* re, const double* im);

    // The trace's own variables: "t", or for AC "f", "w", "s", "p".
    void EnsureVars();
    // Keeps the link to the runs current with the keys and the document.
    void RefreshLink();

    // ---- file keys, in their order
    int m_Id = -1;
    std::string m_Expr;
    std::string m_Name;
    uint32_t m_Color = 0x00FF00;
    bool m_Sel = false;
    bool m_Plot = true;
    int m_Window = 0;
    bool m_Table = true;
    bool m_Storage = true;
    int m_Tools = -1;
    int m_Type = kTraceV;
    int m_Mode = kTraceAnalog;
    CTraceFunction m_Function;
    int m_PhaseWidth = 1;
    int m_AcOut = kAcMagPhase;
    double m_DigThreshold = 2.5;
    double m_Scale = 10.0;
    double m_Mid = 0.0;
    int m_DigStyle = 0;
    int m_BusFormat = 2;
    int m_BusBits = 0;
    int m_BusContent = -1;
    int m_BusFp = 0;
    std::string m_BusText;
    double m_Shift = 0.0;
    bool m_XY = false;
    int m_LineWidth = 1;  // key "width"
    std::string m_ScaleHistory;
    bool m_SimpleLine = true;
    bool m_SimpleDp = false;
    int m_Line = 1;
    int m_Marker = 0;
    int m_MarkerStyle = 0;
    int m_MarkerSize = 0;
    // Notes on the trace itself, child Annotations; a run's own are in it.
    CAnnotations m_Annotations{true};

    // ---- run time
    CTraces* m_Traces;
    bool m_bTran = true;
    uint32_t m_Uid;
    int32_t m_Handle = -1;
    TList<CData> m_Runs;  // owned; the run with id 0 first
    CData* m_Run = nullptr;
    CCmp* m_Cmp = nullptr;
    int32_t m_NodeP = -1;
    int32_t m_NodeM = -1;
    int32_t m_Branch = -1;
    double m_Resistance = 0.0;
    CValue* m_Variable = nullptr;
    std::string m_Compiled;
    std::unique_ptr<bool[]> m_Deps;
    int32_t m_OrderIndex = -1;
    CVarList m_Vars;
    uint32_t m_Points = 0;
    double m_PhaseLast = 0.0;
    double m_PhaseTurns = 0.0;
    bool m_LogX = false;
    bool m_DbY = false;
    bool m_DbExtra = false;
    // Set when a run resumes: its first point is overwritten once.
    bool m_ReplaceFirst = false;
    CDataLink m_Link;
    // The Trace element of the document's tree that this trace was read
    // from or written to; not owned. Loading reorders the list, so deleting
    // and saving go by this element and not by the place in the list.
    CXmlNode* m_Node = nullptr;

private:
    void XmlCommonHead(CXmlNode& node);
    void XmlFunction(CXmlNode& node);
    void XmlTranKeys(CXmlNode& node);
    void XmlCommonTail(CXmlNode& node);
    void XmlDataList(CXmlNode& node);
    void ReadDataRecord(CXmlNode& data);
    void AddNodeError(CXmlNode& node, const std::string& what, const std::string& word);

    bool ValueTran(CCalc& calc, double t, double& value);
    bool EvalFunction(CCalc& calc, double x, CValue& out);
    bool ValueAC(CCalc& calc, const double* re, const double* im, double& magnitude, double& phase);
    bool StorePoint(double t, double value, bool hold);
};

}  // namespace qz3
