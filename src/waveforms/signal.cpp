#include "waveforms/signal.h"

#include <cmath>
#include <cstdio>
#include <new>

#include "xml/xml_node.h"
#include "expr/state_text.h"

namespace qz3 {

namespace {
const char* const kSlopeWords[] = {"Linear", "Cos", "Exp", nullptr};
const char* const kSweepWords[] = {"Linear", "Exp", nullptr};
}  // namespace

CSignal::CSignal() {
    m_SlopeChoice.Items = kSlopeWords;
    m_SweepChoice.Items = kSweepWords;
}

bool CSignal::Xml(CXmlNode* node) {
    CXmlNode* sig = node ? node->Child("Signal") : nullptr;
    if (!sig) return false;
    sig->Val("u0", m_U0);
    sig->Val("u1", m_U1);
    sig->Val("p", m_Period);
    sig->Val("w", m_Width);
    sig->Val("cw", m_ClockStep);
    m_SlopeChoice.Index = sig->Int("s", m_SlopeChoice.Index);
    sig->Val("r", m_Rise);
    sig->Val("f", m_Fall);
    sig->Val("d", m_Delay);
    sig->Val("ph", m_Phase);
    sig->Val("dec", m_Decay);
    m_Function = sig->Str("function", m_Function);
    m_File = sig->Str("file", m_File);
    m_List = sig->Str("list", m_List);
    m_Trace = sig->Str("trace", m_Trace);
    m_Cycle = sig->Bool("c", m_Cycle != 0) ? 1 : 0;
    m_SweepChoice.Index = sig->Int("type", m_SweepChoice.Index);
    sig->Val("f0", m_F0);
    sig->Val("f1", m_F1);
    return true;
}

void CSignal::SyncNumbers() {
    m_Num.u0 = m_U0.m_Value;
    m_Num.u1 = m_U1.m_Value;
    m_Num.period = m_Period.m_Value;
    m_Num.width = m_Width.m_Value;
    m_Num.clockStep = m_ClockStep.m_Value;
    m_Num.rise = m_Rise.m_Value;
    m_Num.fall = m_Fall.m_Value;
    m_Num.delay = m_Delay.m_Value;
    m_Num.phase = m_Phase.m_Value;
    m_Num.decay = m_Decay.m_Value;
    m_Num.f0 = m_F0.m_Value;
    m_Num.f1 = m_F1.m_Value;
    m_Slope = m_SlopeChoice.Index;
    m_SweepType = m_SweepChoice.Index;
}

bool CSignal::Prepare(ModelId model, const CSignalContext& context, std::string& error) {
    m_Running = false;
    m_Model = model;
    SyncNumbers();
    if (m_Model == ModelId::Single || m_Model == ModelId::Pulse) {
        if (std::isinf(m_Num.period)) m_Model = ModelId::Single;
        if (std::isinf(m_Num.width)) m_Model = ModelId::Step;
    }
    try {
        switch (m_Model) {
        case ModelId::List: return PrepareList(context, error);
        case ModelId::File: return PrepareFile(context, error);
        case ModelId::Trace: return PrepareTrace(context, error);
        default: return true;
        }
    } catch (const std::bad_alloc&) {
        ClearTable();
        error = "No enough memory";
        return false;
    }
}

bool CSignal::PrepareList(const CSignalContext& context, std::string& error) {
    std::vector<double> pairs;
    const bool ok = ReadListPairs(m_List, context.eval, pairs, error);
    SetTable(pairs);
    return ok;
}

bool CSignal::PrepareFile(const CSignalContext& context, std::string& error) {
    std::string text;
    std::string emptyMessage;
    if (!context.attachment.empty()) {
        text = context.attachment;
        emptyMessage = "Attachment is empty";
        m_LoadedFile.clear();
    } else {
        if (m_File.empty()) {
            error = "No file name";
            return false;
        }
        const std::string path = context.findFile ? context.findFile(m_File) : m_File;
        if (path.empty()) {
            error = "File not found";
            return false;
        }
        // The same file as last time is already in the table.
        if (path == m_LoadedFile && m_Count > 0) return true;
        if (!ReadSignalFile(path, text)) {
            error = "Can't read file '" + m_File + "'";
            return false;
        }
        emptyMessage = "Empty file '" + m_File + "'";
    }
    std::vector<double> pairs;
    const bool ok = ReadTableLines(SplitTextLines(text), context.eval, emptyMessage, pairs, error);
    SetTable(ok ? pairs : std::vector<double>{});
    m_LoadedFile.clear();
    if (ok && context.attachment.empty()) m_LoadedFile = context.findFile ? context.findFile(m_File) : m_File;
    return ok;
}

bool CSignal::PrepareTrace(const CSignalContext& context, std::string& error) {
    m_Samples = nullptr;
    if (!context.traceFound && !context.samples) {
        error = "Trace " + m_Trace + " not found";
        return false;
    }
    if (!context.samples || context.samples->SampleCount() < 1) {
        error = "Trace " + m_Trace + ": no data";
        return false;
    }
    m_Samples = context.samples;
    return true;
}

void CSignal::Start(double t, bool run) {
    SyncNumbers();
    StartWave(t, run);
}

bool CSignal::ValueAt(double t, double& value, std::string& error, double probeStep) {
    SyncNumbers();
    if (m_Model != ModelId::Function) {
        value = WaveValue(t);
        return true;
    }
    const double x = t - m_Shift;
    m_LastTime = x;
    if (!m_Running) {
        value = 0.0;
        return true;
    }
    if (!m_FunctionEval) {
        error = "No function";
        return false;
    }
    if (!m_FunctionEval(x, value, error)) return false;
    double probe = 0.0;
    if (probeStep > 0.0 && !m_FunctionEval(x + probeStep, probe, error)) return false;
    return true;
}

void CSignal::NextEvent(double t, double maxStep, double* tNext, double* stepMax, double* stepMin) {
    SyncNumbers();
    const CSignalEvent ev = WaveEvent(t, maxStep);
    if (ev.hasNext && tNext) *tNext = ev.tNext;
    if (ev.hasMax && stepMax) *stepMax = ev.stepMax;
    if (ev.hasMin && stepMin) *stepMin = ev.stepMin;
}

void CSignal::Shift(double x) {
    if (m_Model == ModelId::Function) return;
    SyncNumbers();
    ShiftDelay(x);
    // The delay now stands by itself, whatever formula gave it.
    m_Delay.m_Text.clear();
    m_Delay.m_Value = m_Num.delay;
}

void CSignal::SaveState(std::string& text) const {
    AddKeyInt(text, "s", m_Running ? 1 : 0);
    AddKeyInt(text, "st", m_Stage);
    AddKeyHex(text, "t", m_Base);
    AddKeyHex(text, "ss", m_Shift);
}

void CSignal::LoadState(const std::string& text) {
    m_Running = KeyInt(text, "s", m_Running ? 1 : 0) != 0;
    m_Stage = KeyInt(text, "st", m_Stage);
    m_Base = KeyHex(text, "t", m_Base);
    m_Shift = KeyHex(text, "ss", m_Shift);
}

void CSignal::Reset() {
    ClearTable();
    m_LoadedFile.clear();
    m_Samples = nullptr;
}

bool ReadSignalFile(const std::string& path, std::string& text) {
    std::FILE* file = std::fopen(path.c_str(), "rt");
    if (!file) return false;
    text.clear();
    char buffer[4096];
    size_t got;
    while ((got = std::fread(buffer, 1, sizeof buffer, file)) > 0) text.append(buffer, got);
    std::fclose(file);
    return true;
}

}  // namespace qz3
