// CCalc: the solver of one document.
//
// How a run flows:
//   BeginRun(transient)   copy the settings, free what the last run left, m_Changes = all bits
//   StartRun()            collect the components (PrepareCmps), MergeNodes, AllocMatrices:
//                         NumberNodes gives every pin an unknown, then the matrices are made
//                         once for the run; m_State = 1
//   StepOnce() ...        per state: Assemble (ClearMatrices, PhaseStamp in two passes,
//                         FinishAssembly: floating groups, flags, link order), then SolveReal
//                         or FactorTrap once and StepTrapFast per step, then ResolveLinks
//   EndRun() / FreeRun()  reset the elements, free the matrices
//
// The equations are  MatrixG*x + MatrixC*dx/dt + VecB + VecE = 0  over x = VecX:
//   x[0]                         ground, always 0
//   x[1 .. m_NodeCount]          electrical node voltages
//   x[m_NodeCount+1 .. n-1]      branch unknowns (an element's firstBranch + i)
//   x[n .. m-1]                  signal nodes, outside the matrices
// with n = m_Size and m = m_Total. Row i belongs to unknown i; a node row sums the
// currents flowing into the node. An element's pin entry in `nodes` is, after
// NumberNodes, directly the index into x: stamps take these indices.
//
// Stamps add to what is there (plain +=); the elimination adds through AddRound,
// which snaps a sum that cancels to rounding noise to an exact zero.
// The per-step path (StepTrapFast) allocates nothing and never calls Assemble.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "base/list.h"
#include "components/cmp.h"
#include "components/solver_port.h"
#include "solver/error_mark.h"
#include "solver/entry_lists.h"
#include "solver/factor_cache.h"
#include "solver/assembly_copy.h"
#include "solver/row_store.h"
#include "solver/singular_record.h"
#include "solver/sparse_lu.h"
#include "solver/sparse_lu_set.h"
#include "xml/settings.h"

namespace qz3 {

class CCmp;
class CCmps;
class CDoc;
class CTrace;

// One entry per unknown: how it follows another node exactly (closed switch, source).
// kind 0 none, 1 x = x[target], 2 x = x[target] + value (- if negate),
// 3 x = x[target] - VecE[source] (+ if negate).
struct CNodeLink {
    int32_t back;    // scratch of ReverseLink
    int32_t level;   // depth in its chain, for the order of ResolveLinks
    int32_t order;   // record k names the k-th node to compute
    int32_t kind;
    int32_t target;
    double value;
    int32_t source;
    bool negate;
    int32_t group;   // floating-group search
};

// The output pin that claimed an unknown.
struct CNodeDriver {
    CCmp* cmp;
    int32_t pin;
};

// A node id during numbering, with the union of the PinKind bits of its pins.
struct CNodeRecord {
    int32_t id;
    int32_t index;
    int32_t kind;
};

class CCalc final : public CSolverPort {
public:
    explicit CCalc(CDoc* doc = nullptr);
    ~CCalc() override;
    CCalc(const CCalc&) = delete;
    CCalc& operator=(const CCalc&) = delete;

    // ---- run lifecycle (calc_lifecycle.cpp)
    void BeginRun(bool transient);
    bool StartRun();
    bool EndRun();
    void FreeRun();
    bool AllocMatrices();
    void FreeMatrices();
    // The sizes that NumberNodes would give; the allocation and the size limit take them.
    void SetSizes(int nodeCount, int branchCount, int signalCount);
    bool AllocArrays();
    void ClearSnapshots();

    // ---- error reporting (calc_errors.cpp)
    void SetError(const std::string& text) override { m_Error = text; }
    void AppendError(const std::string& text) override { m_Error += text; }
    void ClearError() { m_Error.clear(); }
    const char* ErrorText() const { return m_Error.empty() ? nullptr : m_Error.c_str(); }
    void AddError(const std::string& text);
    bool CmpError(const CCmp* cmp, const char* text) override;
    bool TraceError(const CTrace* trace, const char* text);
    // "Unknown error <mark>" unless a text is there already.
    void CodeError(ErrorMark mark);

    // ---- node numbering (calc_nodes.cpp)
    bool AddNodePair(int a, int b);
    void MergeNodes();
    void ReplaceNodeInLaterPairs(int first, int from, int to);
    bool NumberNodes();
    bool AddNodeId(int id, int kind);
    void ClassifyNodes();
    void IndexNodes();
    int NodeIndex(int id) const;
    void FreeNodeRecords();

    // ---- stamps and outputs (calc_stamps.cpp)
    bool StampResistor(int a, int b, double R) override;
    bool StampVoltage(int a, int b, int k, double V) override;
    void StampCurrent(int a, int b, int k, double I) override;
    void StampCurrentRev(int a, int b, int k, double I) override;
    void StampSwitch(int a, int b, int k, bool on) override;
    void StampResistorBranch(int a, int b, int k, double R) override;
    bool StampVCVS(int a, int b, int c, int d, int k, double A) override;
    bool StampCCVS(int a, int b, int k, int j, double r) override;
    void StampCCCS(int a, int b, int k, int j, double A) override;
    void StampVCCS(int a, int b, int c, int d, int k, double A) override;
    void StampDiode(int a, int b, int k, bool on, double V, bool keepLeak) override;
    void StampBranchVoltage(int a, int b, int k, double V) override;
    void AddG(int i, int j, double value) override { EntryG(i, j) += value; }
    void SetG(int i, int j, double value) override { EntryG(i, j) = value; }
    void AddC(int i, int j, double value) override { EntryC(i, j) += value; }
    void SetC(int i, int j, double value) override { EntryC(i, j) = value; }
    // Every stamp writes through these: a large circuit keeps its entries in
    // the row store, a small one in the n x n matrices. Row 0 and column 0
    // hold nothing a solve reads; a large circuit drops what is written there.
    double& EntryG(int i, int j) {
        if (!IsLargeCircuit()) return MatrixG[i][j];
        if (i <= 0 || j <= 0) return Discard();
        return m_Rows.At(i, j).g;
    }
    double& EntryC(int i, int j) {
        if (!IsLargeCircuit()) return MatrixC[i][j];
        if (i <= 0 || j <= 0) return Discard();
        return m_Rows.At(i, j).c;
    }
    double& Discard() {
        m_Discard = 0.0;
        return m_Discard;
    }
    void SetB(int i, double value) override { VecB[i] = value; }
    void ClearRow(int i) override;
    // Zeros row i of G, of C, or of both.
    void ClearRowOf(int i, bool g, bool c);
    bool SetOutput(int node, int k, bool fixed, double value) override;
    void SetSource(int i, double value) override;
    void SetLogicOutput(int i, int level) override;
    int GetLogicInput(int i) const override;
    void MarkInputRow(int k) override { RowInput[k] = 1; }
    bool ClaimOutput(int node, CCmp* cmp, int pin) override;
    bool AddWithSnap(double* a, double d) const override { return AddRound(a, d); }
    bool RowHasEntries(int i) const override {
        return (IsLargeCircuit() ? m_Rows.AnyG(i) : FlagG[i][0]) != 0;
    }
    void RequestJump() override { m_JumpRequest = true; }
    std::string ZTransformText() const override;
    void AskBreak(double t) override;
    bool LinkCmps(CCmps* list) override { return PrepareCmpList(list); }
    bool JoinNodes(int a, int b) override { return AddNodePair(a, b); }
    bool StopRequested() const override { return m_Terminate; }
    int32_t MsInStep() const override;
    int TimeOutSeconds() const override;

    // ---- links (calc_links.cpp)
    void AddLink(int kind, int a, int b, int source, double value);
    bool ReverseLink(int v);
    bool ResolveLinks();
    void OrderLinks();

    // ---- assembly (calc_assemble.cpp)
    bool Assemble();
    // Assemble, for the Euler phase and the factorisation that ends it: the
    // first of them keeps a copy that the others take back, when every
    // element's stamps hold between events.
    bool AssembleInStretch();
    bool AssemblyCanBeKept() const;
    void ClearMatrices();
    void ClearSourcesAndMarks();
    bool FinishAssembly();
    void InitNodeGroups();
    void JoinPinGroups(const int* nodes, const int* pinGroups, int pinCount);
    void LeakFloatingGroups();
    bool FillFlags();
    bool FillRowFlags();
    // The row flags (column 0 of FlagG and FlagC in the dense storage).
    unsigned char& RowFlagG(int i) { return IsLargeCircuit() ? m_Rows.AnyG(i) : FlagG[i][0]; }
    unsigned char& RowFlagC(int i) { return IsLargeCircuit() ? m_Rows.AnyC(i) : FlagC[i][0]; }
    // Calls visit(j, g, c, flagG, flagC) with references to each entry of row i
    // that may hold something, in rising columns (calc_entries.h).
    template <class Visit>
    void ForEachEntry(int i, Visit&& visit);
    // Sets an entry of C together with its flags.
    void SetFlaggedC(int i, int j, double value);
    // A large circuit's entries copied into the n x n storage, for the ways
    // that work on whole rows: a system the sparse factors find singular, AC.
    void DensifyRows();
    void RescanEmptyRows();

    // ---- linear solve (calc_solve.cpp; the trapezoidal factorisation in calc_trap_fast.cpp)
    bool AddRound(double* a, double d) const;
    void RowAdd(int src, int dst, double factor);
    void LoadDcRightSide();
    void SolveReal();
    // The parts of SolveReal: the forward pass (recording its steps on the
    // right side when a singular record is being made), and what follows it.
    void EliminateForward();
    void FinishSolveReal();
    // A large circuit's singular system met before (calc_singular_solve.cpp):
    // true when its record has put the eliminated rows back and the right side
    // through the forward pass; otherwise the key of a new record is set.
    bool ReplaySingularSolve();
    // After a replayed solve: zeros what it wrote, so that the next one finds
    // the storage clean without zeroing all of it.
    void ClearReplayedSystem();
    CFactorKey SingularKey() const;
    void RecordStep(const CRightSideStep& step);
    void KeepSingularRecord();
    void DropNewRecord();
    void ClearDenseStorage();
    void ListEntries();
    bool FactorTrap();
    void PrepareTrapMatrices();
    void EliminateTrap();
    bool StepTrapFast();
    void TrapFastProduct();
    // The kept factorisations (calc_factor_cache.cpp): the key of the
    // assembled system, and the eliminated rows out of and back into the matrices.
    CFactorKey TrapFactorKey() const;
    CFactorEntry SaveTrapFactor(const CFactorKey& key) const;
    void RestoreTrapFactor(const CFactorEntry& entry);
    // Large circuits step by sparse triangular solves (calc_trap_sparse.cpp),
    // and solve, clear and mark their matrices the sparse way. Since the Euler
    // phase keeps its assembly and its factors, the sparse way is ahead from
    // about 20 unknowns (4 converter phases, 21 unknowns: 90 against 124 ms;
    // 8 phases, 37 unknowns: 210 against 410 ms). Below 16 the two are within
    // the noise of a measurement, and tiny circuits keep the dense arithmetic.
    static constexpr int kSparseTrapMinSize = 16;
    // A large circuit keeps its equations in the row store and steps by the
    // sparse factors; a small one keeps the n x n matrices.
    bool IsLargeCircuit() const { return m_Size >= m_SparseTrapMinSize; }
    bool FactorTrapSparse();
    void CollectSystemColumns(CSparseColumns& a);
    template <class Visit>
    void ForEachSystemEntry(Visit&& visit);
    void CollectTrapRightSide();
    void TrapSparseSolve();
    // SolveReal of a large circuit (calc_solve_sparse.cpp): by the sparse
    // factors of its pattern, or by a singular record; false when the dense
    // elimination must run after all.
    bool SolveLarge();
    bool SolveSparse(CSparseLu& pattern);
    void SolveBy(const CSparseLu& lu);
    bool SameEulerSystem() const;

    // ---- AC analysis (calc_ac.cpp)
    bool SolveAcOperatingPoint();
    bool LinearizeComponents();
    // One frequency point: the excitation of amplitude 1 on `row`; the
    // solution in VecE (real) and VecEIm (imaginary).
    bool SolveAC(double f, int row);
    void SolveComplex(double* re, double* im);
    void ScaleComplexPivotRow(int c);
    void BackSubstituteComplex(double* re, double* im);

    // ---- the transient state machine (calc_step.cpp)
    enum {
        StateIdle = 0, StateIC = 1, StateReIC = 2, StateFirst = 3, StateEuler = 4,
        StateFactor = 5, StateTrap = 6, StateEdge = 7
    };
    bool StepOnce();
    bool SimStep();
    void PlanStep();
    // Moves the time on by a step. The rounding of every sum is carried into
    // the next, so that a long run of steps stays on the grid of its events:
    // a time that drifted below an edge by more than the time tolerance
    // would take the edge a whole smallest step late.
    void AdvanceTime(double step);
    // Sets the time and drops the carried rounding.
    void SetTime(double t);
    // The rounding that the sums of the time have not yet taken in.
    double m_TimeCarry = 0.0;
    bool StoreResults();
    bool CheckStates(bool commit);

    // ---- steps that assemble (calc_euler_trap.cpp)
    bool StepEuler();
    bool StepTrap();

    // ---- the switching search (calc_switching.cpp)
    int SolveSwitching(bool euler);
    int TrySwitching(bool euler, int kind, int pass);
    int NextSwitchState();
    bool PushSnapshot();
    bool SnapshotSeen() const;
    void ReportInfinite();

    // ---- the initial state (calc_initial.cpp)
    bool SimIC();
    bool SimState();

    // ---- component and document walks (calc_walks.cpp)
    bool PrepareCmps();
    bool PrepareCmpList(CCmps* list);
    // Simulate(phase, t) on every element that takes part in the phase (in
    // the order of m_Cmps); false at the first that fails.
    bool RunPhase(int phase, double t);
    // The elements of m_Cmps by the phases they take part in (subcircuit
    // containers in none), made when the list is complete.
    void ListPhaseCmps();
    void ForgetPhaseCmps();
    bool CollectPinNodes();
    int AssignAllBranches(int first);
    void RenumberPins();
    void RenameNodeInPins(int from, int to);
    void GroupComponentPins();
    bool FloatComponents();
    bool PrepareTraces();
    void ResetComponents();
    void LoadRunSettings();
    void ReportMemory(int64_t delta);
    std::string CmpFullName(const CCmp* cmp) const;
    std::string CmpPinName(const CCmp* cmp, int pin) const;
    std::string TraceName(const CTrace* trace) const;
    std::string TimeText(double t) const;
    // The document's Advanced settings, or the defaults for a solver without one.
    const CAdvancedSettings& Advanced() const;
    // The step setting of the document; m_StepBase for a solver without one.
    double StepSetting() const;
    // The two factors of the step table row the user chose.
    double SmallestStepFactor() const;
    double FirstStepFactor() const;
    // 1e-12 * min(|a|, |b|) >= |a - b|: a time has reached an event time.
    static bool TimesMeet(double a, double b);
    // A step shorter than this share of the time reached (or of the run's
    // step) no longer moves the time on: a run that needs one can't end.
    static constexpr double kTimeResolution = 1e-15;
    // The process clock in milliseconds.
    static int32_t ClockMs();

    // ---- fields of the run; those that elements read are kept by the port
    using CSolverPort::m_Doc;
    using CSolverPort::m_Transient;
    using CSolverPort::m_Time;
    using CSolverPort::m_StampPass;
    using CSolverPort::m_Integrating;
    using CSolverPort::m_Omega;
    using CSolverPort::m_StepBase;
    using CSolverPort::m_StateId;
    using CSolverPort::m_FirstOnly;
    using CSolverPort::m_Zero;
    using CSolverPort::m_LogicThr;
    using CSolverPort::VecX;
    using CSolverPort::NodeBad;
    std::string m_Error;
    double m_StartTime = 0.0;
    double m_Screen = 0.0;
    bool m_NoStartTrigger = true;
    int32_t m_AcType = 0;
    std::string m_AcList;
    double m_AcFrom = 0.0, m_AcTo = 0.0;
    int32_t m_AcPoints = 0, m_AcScale = 0, m_AcSource = 0, m_AcAlg = 0;
    bool m_AcDcop = false;
    using CSolverPort::m_AcInDcop;
    // Copies of the AC settings "faf", "fhl", "fmr", "fsh", "fpop", the names
    // the file and the host know them by; they are kept for a host that
    // edits them and change nothing in this engine's analysis.
    std::string m_AcFaf;
    bool m_AcFhl = false;
    double m_AcFmr = 0.0;
    bool m_AcFsh = false, m_AcFpop = false;
    double m_AcStep = 0.0;
    std::vector<std::pair<int32_t, int32_t>> m_NodePairs;
    TList<CNodeRecord> m_Nodes;
    int32_t m_Size = 0;
    int32_t m_NodeCount = 0;
    int32_t m_BranchCount = 0;
    int32_t m_SignalCount = 0;
    int32_t m_Total = 0;
    int64_t m_Memory = 0;

    // Storage of the equations, allocated by AllocArrays and freed by FreeMatrices.
    double* m_MatrixBlock = nullptr;
    double** MatrixG = nullptr;
    double** MatrixC = nullptr;
    double* VecB = nullptr;
    double* VecXPrev = nullptr;
    double* VecE = nullptr;
    double* VecEPrev = nullptr;
    double* VecEIm = nullptr;
    unsigned char* m_FlagBlock = nullptr;
    unsigned char** FlagG = nullptr;
    unsigned char** FlagC = nullptr;
    unsigned char* RowOff = nullptr;
    unsigned char* RowInput = nullptr;
    CNodeDriver* NodeDriver = nullptr;
    CNodeLink* NodeLink = nullptr;

    TList<CCmp> m_Cmps;
    std::vector<CCmp*> m_PhaseCmps[kPhaseCount];
    int32_t m_MaxNode = 0;
    // The clock (ClockMs) from which the switching search of this turn counts
    // its time-out. A turn starts with kTicksUnread and the search reads the
    // clock at its first look, so that a plain step makes no system call.
    static constexpr int32_t kTicksUnread = INT32_MIN;
    mutable int32_t m_Ticks = kTicksUnread;
    bool m_Terminate = false, m_Pause = false;
    int32_t m_StateIndex = -1;
    bool m_FirstStore = true;
    double m_NextBreak = 0.0;
    double m_Step = 0.0;
    double m_StepNominal = 0.0;
    double m_StepFirstPrev = 0.0;
    double m_StepFirst = 0.0;
    double m_StepMin = 0.0;
    uint32_t m_Changes = 0;
    int32_t m_State = 0;
    int32_t m_EulerCount = 0, m_EulerTarget = 0;
    bool m_Switched = false;
    std::string m_Extra;
    bool m_AnyInfinite = false;
    CCmp* m_Trigger = nullptr;
    // The element whose NextEvent asked for a step below the resolution of
    // the time; the run can't end and is given up.
    CCmp* m_TinyStepCmp = nullptr;
    int32_t m_IterLimit[4] = {10, 10, 10, 10};
    bool m_JumpRequest = false;
    TList<int32_t> m_Snapshots;
    // Trapezoidal factorisations met in this run; emptied at every run start,
    // which every parameter change goes through. The counts are of this run:
    // eliminations done, and factorisations taken from the cache instead.
    CFactorCache m_FactorCache;
    int64_t m_FactorCount = 0;
    int64_t m_FactorHits = 0;
    // The sparse trapezoidal system of a large circuit: the unknowns in the
    // system (slot -> unknown, and unknown -> slot or -1), the factors of A,
    // C' by rows over the unknowns, 2B, and the right side of a step.
    bool m_TrapSparse = false;
    int32_t m_SparseTrapMinSize = kSparseTrapMinSize;  // a test sets it to compare both ways
    std::vector<int32_t> m_TrapUnknown;
    CSparseColumns m_TrapColumns;
    CSparseLuSet m_TrapLus;
    const CSparseLu* m_TrapLu = nullptr;  // the factors of the present system
    // The numbering of the last system collected (slot -> unknown, unknown ->
    // slot or -1), and SolveReal's sparse system of a large circuit.
    std::vector<int32_t> m_SparseSlot, m_SparseUnknown, m_SparseFill;
    CSparseColumns m_SolveColumns;
    CSparseLuSet m_SolveLus;
    std::vector<double> m_SolveRight;
    std::vector<int32_t> m_TrapCStart, m_TrapCColumn;
    std::vector<double> m_TrapCValue, m_TrapB, m_TrapRight;
    // The entries of a large circuit (see EntryG), and where writes to row 0
    // and column 0 go.
    CRowStore m_Rows;
    double m_Discard = 0.0;
    // The assembly of the present Euler phase (see AssembleInStretch), and
    // whether this run may keep one: decided at its start.
    CAssemblyCopy m_AssemblyCopy;
    bool m_AssemblyKeepable = false;
    bool m_KeepAssemblies = true;  // a test turns it off to compare both ways
    // Steps of this run that took the kept assembly back, and Euler steps
    // that solved with the factors of the step before.
    int64_t m_AssemblyReuses = 0;
    int64_t m_EulerReuses = 0;
    // Assemblies are numbered; the rows hold the equations of this one.
    uint64_t m_Assemblies = 0;
    uint64_t m_RowsAssembly = 0;
    // The last Euler step solved by sparse factors: another step of the same
    // assembly, length and rounding solves the same matrix with them. Any
    // other collection of a sparse system forgets it.
    struct CEulerSystem {
        uint64_t assembly = 0;
        double step = 0.0;
        double zero = 0.0;
        const CSparseLu* lu = nullptr;
    };
    CEulerSystem m_LastEuler;
    bool m_SolvingEuler = false;  // SolveReal is called by StepEuler
    // The n x n storage holds something: a small circuit's matrices, or a
    // large circuit's copy once a dense way has used it. Fresh storage is zero,
    // and a large circuit that never needs the dense ways never touches it.
    bool m_MatrixDirty = false;
    // Singular systems of a large circuit solved in this run, and how many of
    // them were taken from a record; the record being made.
    CSingularRecords m_SingularRecords;
    int64_t m_SingularSolves = 0;
    int64_t m_SingularHits = 0;
    CSingularRecord m_NewRecord;
    bool m_RecordSteps = false;
    std::vector<double> m_ReplayRight;
    const CSingularRecord* m_Replayed = nullptr;  // until ClearReplayedSystem
    std::vector<int32_t> m_BadUnknowns;  // FinishSolveReal's, kept for their capacity
    // The entries SolveReal walks, by row and by column.
    CEntryLists m_Entries;
    bool m_Leaky = false;
    bool m_FloatFix = false;

    // Advanced settings of the document as the solver uses them. The switching
    // search coarsens m_Zero for a while and puts the document's value back.
    double m_LogicLow = 0.0;
    double m_LogicHigh = 5.0;

private:
    // The document's Advanced settings, read at every step; null without a
    // document. They live as long as the document, which owns this solver.
    const CAdvancedSettings* m_AdvancedSettings;

public:

private:
    bool FollowsInChain(int from, int node) const;
    void DissolveGroup(int group);
    void JoinGroups(int g1, int g2);
    bool TakesPartInColumn(int r, int c) const;
    bool TakesPartBelow(int r, int c) const;
    int FindPivotRow(int c) const;
    int FindListedPivot(int c) const;
    void SubtractListedPivotRow(int r, int c, double m);
    void SubtractPivotRow(int r, int c, double m);
    void SwapTrapRows(int r1, int r2);
    // Parts of the state machine and the search.
    bool RunState();
    bool AcceptStep(int& hit, bool& done);
    int TestStep(int& hit);
    bool CommitEvent();
    bool BracketEvent(int& hit, bool& located);
    void PlanEulerPhase(bool& factorNow);
    void FitStepsToBreak();
    bool TakeStep();
    void RestoreSavedStates();
    void ResetSearchMarks();
    bool SolvePresentStates(bool euler);
    bool GiveWayAtInfinite();
    bool TimedOut();
    void SetTimeOutText();
    int EscapeCycle();
    void WriteSnapshotToStates(const int32_t* snapshot);
    std::string InfiniteLine(int i) const;
    void LoadTrapRightSide();
    void ScaleTrapRow(int c);
};

}  // namespace qz3
