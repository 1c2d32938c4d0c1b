// CSignal: the waveform generator that a source or a logic generator embeds.
//
// The element drives it through components/signal_link.h: CheckParams ->
// CheckLines, PhaseInit -> Prepare and Start, PhaseSources -> ValueAt,
// NextEvent -> NextEvent. The parameters are formulas whose cached values are copied into
// the numeric engine (CSignalWave) at every call, so that a live formula can
// change between steps. What needs the rest of the system (evaluating table
// items and "Function", finding files, the samples of a trace) comes in
// through CSignalContext, so the generator itself depends on none of it.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "expr/formula.h"
#include "expr/param.h"
#include "expr/var_list.h"
#include "waveforms/signal_items.h"
#include "waveforms/signal_wave.h"

namespace qz3 {

class CXmlNode;

struct CSignalContext {
    // Evaluates one table item (a number or a formula).
    SignalEval eval;
    // Full path of a "File" name, empty when not found.
    std::function<std::string(const std::string& name)> findFile;
    // The owner's attachment; when not empty it is the table text.
    std::string attachment;
    // The samples of the trace named by m_Trace, null when not found.
    const CSignalSamples* samples = nullptr;
    // Set by the caller when the trace exists but has no samples.
    bool traceFound = false;
};

// "Function": the formula of t at time x; false with the message on failure.
using SignalFunction = std::function<bool(double x, double& value, std::string& error)>;

class CSignal : public CSignalWave {
public:
    CSignal();
    ~CSignal() override = default;

    // Reads or writes the child "Signal"; false if it can't be had.
    bool Xml(CXmlNode* node);
    // One line "name : text" per fault; letter is the first letter of the
    // owner's type name ("V", "I", ...). False if there was any.
    bool CheckLines(ModelId model, const std::string& fullName, char letter, std::string& out) const;
    // Loads tables and fixes the working model. False with the message.
    bool Prepare(ModelId model, const CSignalContext& context, std::string& error);
    void Start(double t, bool run);
    // The value at absolute time t. "Function" evaluates through m_FunctionEval,
    // and with probeStep above 0 once more at x + probeStep, so that a formula
    // that would fail a moment later stops the run now.
    bool ValueAt(double t, double& value, std::string& error, double probeStep = 0.0);
    void NextEvent(double t, double maxStep, double* tNext, double* stepMax, double* stepMin);
    void Shift(double x);
    void SaveState(std::string& text) const;
    void LoadState(const std::string& text);
    // Frees what a run loaded: the table, the name of its file, the samples.
    void Reset();
    // Copies the cached values of the formulas into the engine.
    void SyncNumbers();

    CFormula m_U0{0.0};
    CFormula m_U1{10.0};
    CFormula m_Period{1.0};
    CFormula m_Width{0.5};
    CFormula m_ClockStep{0.0};
    CFormula m_Rise{0.0};
    CFormula m_Fall{0.0};
    CFormula m_Delay{0.0};
    CFormula m_Phase{0.0};
    CFormula m_Decay{0.0};
    std::string m_Function = "10";
    std::string m_File;
    std::string m_List = "0,0";
    std::string m_Trace;
    CFormula m_F0{100.0};
    CFormula m_F1{10000.0};
    std::string m_LoadedFile;
    SignalFunction m_FunctionEval;
    // The words of "Slope" and "Type" as parameter rows see them; copied
    // into m_Slope and m_SweepType by SyncNumbers.
    ChoiceValue m_SlopeChoice;
    ChoiceValue m_SweepChoice;
    // "t" of "Function".
    CVarList m_Vars;
    // The samples of "Trace" read from the result store, owned.
    std::unique_ptr<CSignalSamples> m_TraceSamples;

private:
    bool PrepareList(const CSignalContext& context, std::string& error);
    bool PrepareFile(const CSignalContext& context, std::string& error);
    bool PrepareTrace(const CSignalContext& context, std::string& error);
};

// Reads a whole text file; false if it can't be opened.
bool ReadSignalFile(const std::string& path, std::string& text);

}  // namespace qz3
