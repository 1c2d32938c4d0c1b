// The traces of one analysis of a document (transient or AC), their stored
// runs and the memory their points take.
//
// The solver talks to a set through three entry points:
//     set.Clear();                              // start of a run: empty runs
//     std::string e = set.Prepare(calc);        // bind + order; e empty = good
//     set.Sample(calc, t, hold);                // each accepted time point
//     set.SampleAC(calc, f, re, im);            // each AC frequency
// Prepare may be called again in the middle of a run (a trace was added or
// deleted): traces that have a run keep it.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "base/list.h"
#include "traces/traces.h"

namespace qz3 {

class CCalc;
class CData;
class CDoc;
class CTrace;
class CXmlNode;

// Nothing in the library starts a thread; the set holds one for a host
// layer that would, and it has nothing to do.
class TCriticalSection {
public:
    virtual ~TCriticalSection() = default;
};

// A run kept under a name, for trace formulas that select one ("V(R1).Run").
struct CStoredRun {
    int32_t id = 0;
    std::string name;
};

class CTraceSet {
public:
    CTraceSet(CDoc* doc, bool tran);
    virtual ~CTraceSet();
    CTraceSet(const CTraceSet&) = delete;
    CTraceSet& operator=(const CTraceSet&) = delete;

    // Load: one trace per child of Traces, with their data records, then
    // digital traces first. Save: one Trace child per kept trace, no data.
    void Xml(CXmlNode& traces);
    // Appends a trace as a new Trace child of traces (in write mode); the
    // trace keeps that child as its element.
    static void WriteTrace(CTrace& trace, CXmlNode& traces);
    // Removes the trace from the set and its own element from traces.
    void DeleteTrace(CTrace* trace, CXmlNode& traces);

    // Start of a run: every recording trace starts an empty run. A run that
    // resumes from a stored state has each trace replace its first point
    // once, with the point after it.
    void Clear(bool resumed = false);
    // Binds the traces to the solver and orders them; the text of what went
    // wrong, empty when the run can go on.
    std::string Prepare(CCalc& calc);
    bool Sample(CCalc& calc, double t, bool hold);
    bool SampleAC(CCalc& calc, double f, const double* re, const double* im);
    // An AC trace of impedance, reflection, VSWR or open loop: the run
    // needs an excitation.
    bool NeedsExcitation() const;

    CTrace* FindByHandle(int handle) const { return m_Traces->FindByHandle(handle); }
    CTrace* FindTrace(const std::string& name) const { return m_Traces->FindTrace(name); }
    // Id of the stored run of that exact name, or -1.
    int FindRun(const std::string& name) const;
    // The document's "dc" and logic threshold, as traces need them.
    bool Compression() const;
    double DefaultThreshold() const;

    // Saving with data: for each Trace element in the order of the file,
    // the run its trace saves, until one has none. The records are rebuilt
    // in the tree; the points follow the text in the same order.
    void DescribeRuns(CXmlNode& traces);
    bool WriteRuns(std::FILE* file, CXmlNode* traces) const;
    // Rewrites the Annotations of each Trace element from its trace, so that
    // a save follows what the host did to the traces.
    void WriteAnnotations(CXmlNode& traces);

    CDoc* m_Doc;
    bool m_bTran;
    std::unique_ptr<TCriticalSection> m_Lock;
    std::unique_ptr<CTraces> m_Traces;
    TList<CStoredRun> m_Runs;  // owned
    int64_t m_Bytes = 0;
    bool m_Overrun = false;

private:
    // The run that a save stores for the Trace element, or null to stop.
    CData* SavedRun(const CXmlNode* element) const;
    CTrace* TraceOfElement(const CXmlNode* element) const;
};

}  // namespace qz3
