#include <cstdlib>
#include <ctime>

#include "base/change_bits.h"
#include "solver/calc.h"
#include "solver/run_document.h"

namespace qz3 {

namespace {

// One matrix of a gigabyte in decimal measure is the limit: 11180 rows pass.
constexpr int64_t kMatrixByteLimit = 1000000000;

template <class T>
T* ZeroArray(int64_t count) {
    return static_cast<T*>(std::calloc(static_cast<size_t>(count), sizeof(T)));
}

}  // namespace

CCalc::CCalc(CDoc* doc) : m_AdvancedSettings(RunDocument(doc).advanced) { m_Doc = doc; }

CCalc::~CCalc() {
    FreeRun();
    FreeNodeRecords();
}

void CCalc::BeginRun(bool transient) {
    m_Transient = transient;
    FreeRun();
    m_Error.clear();
    m_State = 0;
    m_EulerCount = 0;
    m_EulerTarget = 0;
    m_Changes = kChangeAll;
    m_FirstStore = true;
    m_FactorCount = m_FactorHits = 0;
    m_SingularSolves = m_SingularHits = 0;
    m_AssemblyReuses = m_EulerReuses = 0;
    LoadRunSettings();
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    m_Terminate = false;
    m_Pause = false;
}

bool CCalc::StartRun() {
    // A step that isn't positive would never move the time on.
    if (m_Transient && !(m_StepBase > 0.0)) {
        SetError("step <= 0");
        return false;
    }
    if (m_Changes & kChangeParams) {
        m_Cmps.Clear();
        m_MaxNode = 0;
        if (!PrepareCmps()) {
            CodeError(ErrorMark::PrepareComponents);
            return false;
        }
        MergeNodes();
        if (!AllocMatrices()) {
            CodeError(ErrorMark::AllocateMatrices);
            return false;
        }
    }
    if ((m_Changes & (kChangeTraces | kChangeParams)) && !PrepareTraces()) {
        CodeError(ErrorMark::PrepareTraces);
        return false;
    }
    m_StepNominal = m_StepFirstPrev = m_StepFirst = m_StepMin = m_StepBase;
    // A changed parameter or a new start: nothing kept may be taken again.
    m_FactorCache.Clear();
    m_SingularRecords.Clear();
    m_TrapSparse = false;
    m_TrapLu = nullptr;
    m_TrapLus.Clear();
    m_SolveLus.Clear();
    m_LastEuler = CEulerSystem{};
    m_AssemblyCopy.Drop();
    m_AssemblyKeepable = AssemblyCanBeKept();
    for (int32_t& limit : m_IterLimit) limit = 10;
    m_Changes = 0;
    m_State = 1;
    return true;
}

bool CCalc::EndRun() {
    ResetComponents();
    FreeRun();
    if (!m_Error.empty()) m_Error = "Transient error:\nt=" + TimeText(m_Time) + "\n" + m_Error;
    return true;
}

void CCalc::FreeRun() {
    FreeMatrices();
    ClearSnapshots();
    ForgetPhaseCmps();
    m_Cmps.Clear();
    m_Cmps.Shrink();
    m_NodePairs.clear();
    m_NodePairs.shrink_to_fit();
    if (m_Memory != 0) ReportMemory(-m_Memory);
    m_Memory = 0;
    m_State = 0;
}

void CCalc::ClearSnapshots() {
    for (int32_t* snapshot : m_Snapshots) delete[] snapshot;
    m_Snapshots.Clear();
}

bool CCalc::AllocMatrices() {
    // New storage: nothing kept from the old may be put back into it.
    m_AssemblyCopy.Drop();
    m_LastEuler = CEulerSystem{};
    FreeMatrices();
    if (!NumberNodes()) return false;
    return AllocArrays();
}

void CCalc::SetSizes(int nodeCount, int branchCount, int signalCount) {
    m_NodeCount = nodeCount;
    m_BranchCount = branchCount;
    m_SignalCount = signalCount;
    m_Size = m_NodeCount + m_BranchCount + 1;
    m_Total = m_Size + m_SignalCount;
}

bool CCalc::AllocArrays() {
    FreeMatrices();
    const int64_t n = m_Size;
    const int64_t m = m_Total;
    // calloc hands out zeroed pages without touching them, so a matrix that is
    // refused for its size below has cost no real memory.
    m_MatrixBlock = ZeroArray<double>(2 * n * n);
    MatrixG = ZeroArray<double*>(n);
    MatrixC = ZeroArray<double*>(n);
    VecB = ZeroArray<double>(n);
    VecX = ZeroArray<double>(m);
    VecXPrev = ZeroArray<double>(m);
    VecE = ZeroArray<double>(n);
    VecEPrev = ZeroArray<double>(n);
    VecEIm = ZeroArray<double>(n);
    m_FlagBlock = ZeroArray<unsigned char>(2 * n * n);
    FlagG = ZeroArray<unsigned char*>(n);
    FlagC = ZeroArray<unsigned char*>(n);
    NodeBad = ZeroArray<unsigned char>(n);
    RowOff = ZeroArray<unsigned char>(n);
    RowInput = ZeroArray<unsigned char>(n);
    NodeDriver = ZeroArray<CNodeDriver>(m);
    NodeLink = ZeroArray<CNodeLink>(m);
    const bool all = m_MatrixBlock && MatrixG && MatrixC && VecB && VecX && VecXPrev && VecE &&
                     VecEPrev && VecEIm && m_FlagBlock && FlagG && FlagC && NodeBad && RowOff &&
                     RowInput && NodeDriver && NodeLink;
    if (!all) {
        FreeMatrices();
        SetError("No enough memory");
        return false;
    }
    for (int64_t i = 0; i < n; ++i) {
        MatrixG[i] = m_MatrixBlock + i * n;
        MatrixC[i] = m_MatrixBlock + (n + i) * n;
        FlagG[i] = m_FlagBlock + i * n;
        FlagC[i] = m_FlagBlock + (n + i) * n;
    }
    if (n * n * 8 >= kMatrixByteLimit) {
        FreeMatrices();
        SetError("Schematic too big");
        return false;
    }
    // A rebuild in mid-run replaces the amount of the last build instead of adding to it.
    if (m_Memory != 0) ReportMemory(-m_Memory);
    m_Memory = (18 * n + 67) * n + 80 * m;
    ReportMemory(m_Memory);
    // Fresh storage is zero and nothing is written in it yet.
    m_Rows.Reset(static_cast<int>(n));
    m_MatrixDirty = false;
    return true;
}

void CCalc::FreeMatrices() {
    m_Rows.Reset(0);
    std::free(m_MatrixBlock);
    std::free(MatrixG);
    std::free(MatrixC);
    std::free(VecB);
    std::free(VecX);
    std::free(VecXPrev);
    std::free(VecE);
    std::free(VecEPrev);
    std::free(VecEIm);
    std::free(m_FlagBlock);
    std::free(FlagG);
    std::free(FlagC);
    std::free(NodeBad);
    std::free(RowOff);
    std::free(RowInput);
    std::free(NodeDriver);
    std::free(NodeLink);
    m_MatrixBlock = nullptr;
    MatrixG = MatrixC = nullptr;
    VecB = VecX = VecXPrev = VecE = VecEPrev = VecEIm = nullptr;
    m_FlagBlock = nullptr;
    FlagG = FlagC = nullptr;
    NodeBad = RowOff = RowInput = nullptr;
    NodeDriver = nullptr;
    NodeLink = nullptr;
}

}  // namespace qz3
