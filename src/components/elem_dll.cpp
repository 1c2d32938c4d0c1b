#include "components/elem_dll.h"

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>

#include "components/block_names.h"
#include "components/block_pins.h"
#include "components/calc_link.h"
#include "components/custom_type.h"
#include "components/library_attachment.h"
#include "components/solver_port.h"
#include "expr/ccode_node.h"
#include "expr/number_text.h"

namespace qz3 {

namespace {

enum DllRow : uint8_t { kDll, kCode, kInit, kPause, kExit, kIc };

constexpr CParamRow kRows[] = {
    TextRow(kParamDll, "DLL", "dll", MemberAt<&CElemDll::m_Dll>, ""),
    TextRow(kParamString, "Main", "dll_code", MemberAt<&CElemDll::m_CodeName>, "Main"),
    TextRow(kParamString, "Init", "dll_init", MemberAt<&CElemDll::m_InitName>, "Init"),
    TextRow(kParamString, "Pause", "dll_pause", MemberAt<&CElemDll::m_PauseName>, "Pause"),
    TextRow(kParamString, "Exit", "dll_exit", MemberAt<&CElemDll::m_ExitName>, "Exit"),
    TextRow(kParamInitList, "IC", "ic", MemberAt<&CElemDll::m_IC>, ""),
};
constexpr uint8_t kOrderDll[] = {kDll, kCode, kInit, kPause, kExit, kIc, kEndOfRows};

// The phase at which a run pauses. No run of this engine pauses by itself
// (a host simply stops calling), so no solver path sends it yet; a block's
// Pause is looked up all the same, so that a library written for it loads.
constexpr int kPhasePause = 10;

constexpr uint64_t kGuardWord = QZ3_BLOCK_GUARD_PATTERN;
constexpr int kGuardWords = QZ3_BLOCK_GUARD_WORDS;

// The guard as it must stand behind the variables, to be compared in one go.
struct CGuardBlock {
    uint64_t words[kGuardWords];
};
constexpr CGuardBlock kGuard = [] {
    CGuardBlock block{};
    for (uint64_t& word : block.words) word = kGuardWord;
    return block;
}();

bool InTransient(const CSolverPort* calc) { return calc->IsTransient() && !calc->InAcOperatingPoint(); }

int CountPins(const uint32_t* words, int count) {
    int pins = 0;
    for (int i = 0; i < count; ++i) pins += std::popcount(words[i]);
    return pins;
}

// Entry points are looked up as untyped addresses; the signature is the
// contract of qz3_block.h.
template <class F>
F AsEntry(void* address) {
    F entry;
    static_assert(sizeof entry == sizeof address);
    std::memcpy(&entry, &address, sizeof entry);
    return entry;
}

}  // namespace

const CParamTable kDllBlockParams = ParamTableOf(kRows);
const CModelInfo kModelsDll[] = {{"DLL", ModelId::Dll, kOrderDll, 0, 0, kReadV}, {}};

// A new block has three inputs and three outputs in a box of 2 by 3.
CElemDll::CElemDll(const CCmpType* type) : CCmp(type) {
    MakeCustom();
    custom->m_W = 2;
    custom->m_H = 3;
    custom->m_Left[0] = 7;
    custom->m_Right[0] = 7;
    custom->m_Ins = "x1,x2,x3";
    custom->m_Outs = "y1,y2,y3";
    EndCustom();
}

CElemDll::~CElemDll() { Close(); }

// Inputs and outputs are the pins of the left and right sides; the box's
// name lists only name them.
void CElemDll::EndCustom() {
    m_Clocked = custom->m_Bottom != 0;
    AdoptCustomPins(m_Clocked ? 2 : 1);
    m_NIn = CountPins(custom->m_Left, CCustomElemType::kSideWords);
    m_NOut = CountPins(custom->m_Right, CCustomElemType::kSideWords);
    m_NVar = static_cast<int>(NameItems(custom->m_Vars).size());
    m_PinNames = NamesOrNumbered(custom->m_Ins, m_NIn, "unnamed_in_");
    const std::vector<std::string> outs = NamesOrNumbered(custom->m_Outs, m_NOut, "unnamed_out_");
    m_PinNames.insert(m_PinNames.end(), outs.begin(), outs.end());
    m_PinNames.resize(static_cast<size_t>(pinCount));
    if (m_Clocked) m_PinNames.back() = "clk";
}

int CElemDll::PinKind(int pin) const {
    return pin >= m_NIn && pin < m_NIn + m_NOut ? kPinAnalog : kPinSensing;
}

std::string CElemDll::PinName(int pin) const {
    return pin >= 0 && pin < static_cast<int>(m_PinNames.size()) ? m_PinNames[static_cast<size_t>(pin)] : std::string();
}

int CElemDll::AssignBranches(CSolverPort*, int first) {
    branchCount = m_NOut;
    firstBranch = branchCount > 0 ? first : 0;
    return branchCount;
}

// The library lives for a transient run only. An AC analysis holds the
// block's outputs (they have no small-signal part), so it neither loads the
// library nor calls it, and leaves alone a transient run it interrupts.
bool CElemDll::Simulate(CSolverPort* calc, int phase, double t) {
    const bool transient = InTransient(calc);
    switch (phase) {
        case PhaseInit: return !transient || Open(calc, t);
        case PhaseReset:
            if (transient) Close();
            return true;
        case PhaseEval: return m_Clocked || !transient || Evaluate(calc, t);
        case PhaseSources: return Outputs(calc);
        case PhaseStamp: return calc->StampPass() != 0 || Stamp(calc);
        case PhaseSample:
            if (m_Clocked) state = ClockLevel(calc, this, ClockPin(), InvertedClock());
            return true;
        case PhasePins: SetBlockPinGroups(this, m_NIn, m_NOut); return true;
        case kPhasePause:
            if (m_Pause) m_Pause();
            return true;
        default: return true;
    }
}

bool CElemDll::CheckState(CSolverPort* calc, bool commit, bool* changed) {
    if (!m_Clocked || !InTransient(calc)) return true;
    if (!ClockEdge(calc, this, ClockPin(), commit, changed, InvertedClock())) return true;
    return Evaluate(calc, calc->Time());
}

// The start of a run; whatever an earlier run left open is closed first.
// A run that goes on (the host changed a parameter, an AC analysis came in
// between two steps) is prepared again without a new start: the block keeps
// its library and its values, and only looks its entry points up again, in
// case their names changed.
bool CElemDll::Open(CSolverPort* calc, double t) {
    if (RunGoesOn()) return ResolveEntries(calc);
    Close();
    m_Host.Attach(calc);
    m_OpenedDll = m_Dll;
    return BuildNames(calc) && LoadLibrary(calc) && ResolveEntries(calc) && MakeDataArray(calc) &&
           ApplyInitialValues(calc) && CallInit(calc, t);
}

// A new run forgets the model each component had; a run that goes on keeps it.
bool CElemDll::RunGoesOn() const {
    return lastModel == model && m_Library.Loaded() && m_Data && m_Dll == m_OpenedDll;
}

// One double per name, inputs, outputs, variables, in the order of the
// data array. The values' addresses stay put while the list lives.
bool CElemDll::BuildNames(CSolverPort* calc) {
    m_Names.Clear();
    m_Values.clear();
    std::vector<std::string> names(m_PinNames.begin(), m_PinNames.begin() + (m_NIn + m_NOut));
    const std::vector<std::string> vars = NamesOrNumbered(custom->m_Vars, m_NVar, "unnamed_var_");
    names.insert(names.end(), vars.begin(), vars.end());
    for (const std::string& name : names) {
        CVarEntry* entry = m_Names.Add(name.c_str(), vtDouble, 0);
        if (!entry) return Fail(calc, "No enough memory");
        entry->Value[0].SetDouble(0.0);
        m_Values.push_back(entry->Value);
    }
    return true;
}

bool CElemDll::LoadLibrary(CSolverPort* calc) {
    std::string path, error;
    if (!attachment.empty()) {
        if (!UnpackAttachment(attachment, DocumentFolder(calc->Doc()), m_TempFile, error)) return Fail(calc, error);
        path = m_TempFile;
    } else if (!FindLibraryFile(calc, path)) {
        return false;
    }
    if (m_Library.Load(path, error)) return true;
    return Fail(calc, (attachment.empty() ? m_Dll : std::string("Attachment")) + " : " + error);
}

bool CElemDll::FindLibraryFile(CSolverPort* calc, std::string& path) {
    if (m_Dll.empty()) return Fail(calc, "No dll file name");
    path = FindDocumentFile(calc->Doc(), m_Dll, ".so");
    return !path.empty() || Fail(calc, "Can't find " + m_Dll);
}

// In the order Init, Main, Pause, Exit; an empty name means no such call.
bool CElemDll::ResolveEntries(CSolverPort* calc) {
    void *init = nullptr, *main = nullptr, *pause = nullptr, *exit = nullptr;
    if (!FindEntry(calc, m_InitName, init) || !FindEntry(calc, m_CodeName, main) ||
        !FindEntry(calc, m_PauseName, pause) || !FindEntry(calc, m_ExitName, exit))
        return false;
    m_Init = AsEntry<QZ3_BlockInit>(init);
    m_Main = AsEntry<QZ3_BlockMain>(main);
    m_Pause = AsEntry<QZ3_BlockPause>(pause);
    m_Exit = AsEntry<QZ3_BlockExit>(exit);
    return true;
}

bool CElemDll::FindEntry(CSolverPort* calc, const std::string& name, void*& address) {
    if (name.empty()) return true;
    std::string error;
    address = m_Library.Entry(name, error);
    return address || Fail(calc, name + " : " + error);
}

bool CElemDll::MakeDataArray(CSolverPort* calc) {
    m_Data.reset(new (std::nothrow) double[static_cast<size_t>(DataSize() + kGuardWords)]);
    if (!m_Data) return Fail(calc, "No enough memory");
    double* data = m_Data.get();
    for (int i = 0; i < DataSize(); ++i) data[i] = 0.0;
    std::memcpy(data + DataSize(), kGuard.words, sizeof kGuard.words);
    return true;
}

// The stored state of the run's start, else the IC text, run as C-code
// over the block's names.
bool CElemDll::ApplyInitialValues(CSolverPort* calc) {
    const std::string values = BlockInitialValues(calc, this, m_IC);
    if (values.empty() || RunInitialValues(values, &m_Names, owner, &m_Host)) return true;
    return Fail(calc, ExprError());
}

bool CElemDll::CallInit(CSolverPort* calc, double t) {
    if (!m_Init) return true;
    double* data = m_Data.get();
    for (int i = 0; i < DataSize(); ++i) data[i] = m_Values[static_cast<size_t>(i)]->AsDouble();
    const int code = m_Init(t, data);
    if (code != 0) return Fail(calc, "Error initializing DLL. Code=" + std::to_string(code));
    if (!GuardIntact()) return Fail(calc, "DLL writes above data array bounds");
    for (int i = m_NIn; i < DataSize(); ++i) m_Values[static_cast<size_t>(i)]->SetDouble(data[i]);
    return true;
}

// The per-step path: copies only the block's own values, allocates nothing.
bool CElemDll::Evaluate(CSolverPort* calc, double t) {
    double* data = m_Data.get();
    if (!data) return true;
    for (int i = 0; i < m_NIn; ++i) {
        data[i] = calc->X(nodes[i]);
        m_Values[static_cast<size_t>(i)]->SetDouble(data[i]);
    }
    for (int i = m_NIn; i < DataSize(); ++i) data[i] = m_Values[static_cast<size_t>(i)]->AsDouble();
    if (m_Main) {
        const int code = m_Main(t, data);
        if (code != 0) return Fail(calc, "error executing DLL. Code=" + std::to_string(code));
    }
    if (!GuardIntact()) return Fail(calc, "DLL writes above data array bounds");
    for (int i = m_NIn; i < DataSize(); ++i) m_Values[static_cast<size_t>(i)]->SetDouble(data[i]);
    return true;
}

// Compared as bits, not as doubles: a block may write any bits there,
// and a NaN is never equal to itself.
bool CElemDll::GuardIntact() const {
    return std::memcmp(m_Data.get() + DataSize(), kGuard.words, sizeof kGuard.words) == 0;
}

bool CElemDll::Outputs(CSolverPort* calc) {
    if (m_Values.empty()) return true;
    for (int k = 0; k < m_NOut; ++k) {
        const double value = m_Values[static_cast<size_t>(m_NIn + k)]->AsDouble();
        if (!SetBlockOutput(calc, this, m_NIn + k, firstBranch + k, value)) return false;
    }
    return true;
}

bool CElemDll::Stamp(CSolverPort* calc) {
    for (int k = 0; k < m_NOut; ++k)
        if (!StampBlockOutput(calc, this, m_NIn + k, firstBranch + k)) return false;
    return true;
}

bool CElemDll::Fail(CSolverPort* calc, const std::string& text) {
    AddCmpError(calc, text);
    Close();
    return false;
}

void CElemDll::Close() {
    if (m_Library.Loaded() && m_Exit) m_Exit();
    m_Library.Unload();
    m_Init = nullptr;
    m_Main = nullptr;
    m_Pause = nullptr;
    m_Exit = nullptr;
    if (!m_TempFile.empty()) std::remove(m_TempFile.c_str());
    m_TempFile.clear();
    m_Data.reset();
}

}  // namespace qz3
