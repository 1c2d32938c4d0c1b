// The solver as an element sees it.
//
// An element enters its equations, reads the solution and reports through
// this interface only; it never sees the solver's storage. The solver
// (CCalc) implements it, so the matrices can change their form, dense or
// sparse, without touching an element.
//
// The equations are  G*x + C*dx/dt + B + E = 0  over the unknowns x: node
// voltages from 1 (0 is ground), then the elements' branch unknowns, then
// signal nodes that lie outside the matrices. An element's `nodes` entries
// and `firstBranch` are indices into x. Row i belongs to unknown i; a node's
// row sums the currents flowing into it.
//
// Recipe, in an element's Simulate:
//     case PhaseStamp:
//         if (calc->StampPass() != 0) return true;      // rows that others add to
//         if (!calc->StampResistor(nodes[0], nodes[1], r)) return calc->CmpError(this, nullptr);
//     case PhaseStore:
//         v = calc->X(nodes[1]) - calc->X(nodes[0]);
// A failing stamp leaves its text in the solver; CmpError puts the
// element's name in front.
#pragma once

#include <cstdint>
#include <string>

namespace qz3 {

class CCmp;
class CCmps;
class CDoc;

class CSolverPort {
public:
    virtual ~CSolverPort() = default;

    // ---- the run
    bool IsTransient() const { return m_Transient; }
    double Time() const { return m_Time; }
    // 0: the rows elements add to; 1: rows forced after all others.
    int StampPass() const { return m_StampPass; }
    // 0: the DC form; 1: the form with the C matrix.
    int Integrating() const { return m_Integrating; }
    // The angular frequency of an AC point.
    double Omega() const { return m_Omega; }
    // The run's nominal step.
    double StepBase() const { return m_StepBase; }
    // The stored state the transient run starts from; 0 for none.
    int32_t StateId() const { return m_StateId; }
    // The switching search moves one element at a time.
    bool FirstOnly() const { return m_FirstOnly; }
    // Sums below this relative size snap to zero.
    double Zero() const { return m_Zero; }
    double LogicThreshold() const { return m_LogicThr; }
    // The operating point that an AC analysis searches first: a transient
    // form of the equations, for elements that are AC-only otherwise.
    bool InAcOperatingPoint() const { return m_AcInDcop; }
    // The formula that gives z from s, for z-domain blocks in AC.
    virtual std::string ZTransformText() const = 0;
    CDoc* Doc() const { return m_Doc; }

    // ---- the solution
    double X(int i) const { return VecX[i]; }
    // Of the last solve: 0 determined, 1 undetermined, 255 infinite.
    unsigned char NodeState(int i) const { return NodeBad[i]; }
    // *a += d, snapped to an exact zero when it cancels to rounding noise;
    // true if the sum is not zero.
    virtual bool AddWithSnap(double* a, double d) const = 0;
    // Row i has any entry of G so far.
    virtual bool RowHasEntries(int i) const = 0;

    // ---- stamps: they add to what is there unless they say "set"
    virtual bool StampResistor(int a, int b, double R) = 0;
    virtual bool StampVoltage(int a, int b, int k, double V) = 0;
    virtual void StampCurrent(int a, int b, int k, double I) = 0;
    virtual void StampCurrentRev(int a, int b, int k, double I) = 0;
    virtual void StampSwitch(int a, int b, int k, bool on) = 0;
    virtual void StampResistorBranch(int a, int b, int k, double R) = 0;
    virtual bool StampVCVS(int a, int b, int c, int d, int k, double A) = 0;
    virtual bool StampCCVS(int a, int b, int k, int j, double r) = 0;
    virtual void StampCCCS(int a, int b, int k, int j, double A) = 0;
    virtual void StampVCCS(int a, int b, int c, int d, int k, double A) = 0;
    virtual void StampDiode(int a, int b, int k, bool on, double V, bool keepLeak) = 0;
    // The branch unknown k flows from a into b through a fixed voltage:
    // x[b] - x[a] = V; nothing is entered for a = b with V = 0.
    virtual void StampBranchVoltage(int a, int b, int k, double V) = 0;
    // Single entries, for rows an element writes by itself (charge rows,
    // table segments).
    virtual void AddG(int i, int j, double value) = 0;
    virtual void SetG(int i, int j, double value) = 0;
    virtual void AddC(int i, int j, double value) = 0;
    virtual void SetC(int i, int j, double value) = 0;
    virtual void SetB(int i, double value) = 0;
    // Row i of G and C is emptied, and its B, for an element that forces
    // the row in the second pass (an output that replaces a node's sum).
    virtual void ClearRow(int i) = 0;
    // b follows a exactly (closed switch, source), so that both come out of
    // a solve with the same double.
    virtual void AddLink(int kind, int a, int b, int source, double value) = 0;
    virtual bool SetOutput(int node, int k, bool fixed, double value) = 0;
    // This time point's value of a source or signal node.
    virtual void SetSource(int i, double value) = 0;
    virtual void SetLogicOutput(int i, int level) = 0;
    virtual int GetLogicInput(int i) const = 0;
    // Unknown k takes its value from the source vector in trapezoidal steps.
    virtual void MarkInputRow(int k) = 0;
    // Registers an output pin: two outputs can't drive one node.
    virtual bool ClaimOutput(int node, CCmp* cmp, int pin) = 0;

    // ---- reports
    // Appends text to the solver's error text.
    virtual void AppendError(const std::string& text) = 0;
    // Replaces the error text.
    virtual void SetError(const std::string& text) = 0;
    // "full name : text" and a line feed; with a null text the element's
    // name goes in front of the text a stamp left. Always false.
    virtual bool CmpError(const CCmp* cmp, const char* text) = 0;
    // A held quantity jumped (a segment change kept charge or flux): the
    // run needs a new operating point.
    virtual void RequestJump() = 0;
    // A time the run must land on, learnt while running (a delayed corner);
    // the earliest one asked for stands until it is reached.
    virtual void AskBreak(double t) = 0;

    // ---- subcircuits: the run stays one flat circuit
    // The inner list of a subcircuit joins the run's components (its node
    // ids are moved above all given out so far); false with the text set.
    virtual bool LinkCmps(CCmps* list) = 0;
    // Two node ids are one node: an outer pin and the inner label it meets.
    virtual bool JoinNodes(int a, int b) = 0;
    // ---- long work inside an element (the loops of a code block)
    // A host asked the run to stop.
    virtual bool StopRequested() const = 0;
    // Process time in milliseconds since the present step (or the
    // preparation of the run) began, and the document's time-out in
    // seconds, 0 for none.
    virtual int32_t MsInStep() const = 0;
    virtual int TimeOutSeconds() const = 0;

protected:
    // The state of the run that elements read, kept by the solver.
    CDoc* m_Doc = nullptr;
    bool m_Transient = true;
    double m_Time = 0.0;
    int32_t m_StampPass = 0;
    int32_t m_Integrating = 0;
    double m_Omega = 0.0;
    double m_StepBase = 0.0;
    int32_t m_StateId = 0;
    bool m_FirstOnly = false;
    double m_Zero = 1e-12;
    double m_LogicThr = 2.5;
    bool m_AcInDcop = false;
    double* VecX = nullptr;
    unsigned char* NodeBad = nullptr;
};

}  // namespace qz3
