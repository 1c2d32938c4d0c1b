// An AC analysis of the document: a run of its own on the same solver,
// one complex solution per frequency, recorded by the AC traces. It leaves
// no open run behind; a transient run that was open rebuilds at its next
// step and goes on from the state its elements hold.
#include <cmath>
#include <vector>

#include "base/list.h"
#include "base/number_format.h"
#include "components/cmp.h"
#include "components/cmps.h"
#include "document/doc.h"
#include "expr/number_text.h"
#include "solver/calc.h"
#include "solver/error_mark.h"
#include "traces/trace_set.h"

namespace qz3 {

namespace {

constexpr int kNoSource = 0;

// What an AC run changes of a transient run that is open, so that the
// transient can go on afterwards.
struct CTransientKeep {
    double time;
    double timeCarry;
    double stepBase;
    std::vector<ModelId> lastModels;
};

CTransientKeep KeepTransient(const CCalc& calc, CCmps& cmps) {
    CTransientKeep keep{calc.m_Time, calc.m_TimeCarry, calc.m_StepBase, {}};
    for (int i = 0; i < cmps.Count(); ++i) keep.lastModels.push_back(cmps.At(i)->lastModel);
    return keep;
}

void RestoreLastModels(CCmps& cmps, const CTransientKeep& keep) {
    for (int i = 0; i < cmps.Count() && i < static_cast<int>(keep.lastModels.size()); ++i)
        cmps.At(i)->lastModel = keep.lastModels[static_cast<size_t>(i)];
}

void RestoreTransient(CCalc& calc, CCmps& cmps, const CTransientKeep& keep) {
    calc.m_Transient = true;
    calc.m_Time = keep.time;
    calc.m_TimeCarry = keep.timeCarry;
    calc.m_StepBase = keep.stepBase;
    RestoreLastModels(cmps, keep);
}

// The texts of the settings that make no sweep; empty when they are sound.
std::string SettingsFault(const CCalc& calc) {
    if (calc.m_AcAlg != 0) return "Wrong AC Method";
    if (calc.m_AcType != 0) return calc.m_AcList.empty() ? "Frequency list is empty" : "";
    if (calc.m_AcTo < calc.m_AcFrom) return "To < From";
    if (calc.m_AcScale == 0 && !(calc.m_AcFrom > 0.0)) return "From <= 0";
    if (calc.m_AcScale == 0 && !(calc.m_AcTo > 0.0)) return "To < = 0";
    return "";
}

CCmp* FindComponentById(CCmps& cmps, int id) {
    for (int i = 0; i < cmps.Count(); ++i)
        if (cmps.At(i)->id == id) return cmps.At(i);
    return nullptr;
}

// The frequency of point k: an item of the list, or a place on the sweep.
bool PointFrequency(const CCalc& calc, const TStringList& list, int k, double& f) {
    if (calc.m_AcType != 0) {
        if (!ParseDouble(list[k], f)) {
            const_cast<CCalc&>(calc).SetError(ExprError());
            return false;
        }
        return true;
    }
    const double from = calc.m_AcFrom, to = calc.m_AcTo;
    const int points = calc.m_AcPoints;
    if (points < 2) f = from;
    else if (calc.m_AcScale == 0) f = std::exp((std::log(to) - std::log(from)) / (points - 1) * k + std::log(from));
    else f = (to - from) / (points - 1) * k + from;
    return true;
}

}  // namespace

bool CDoc::CalcAC(std::string& error) {
    CCalc& calc = *m_Calc;
    CCmps& cmps = *m_Cmps;
    m_Cmps->EvalParams();
    const bool transientOpen = m_Running;
    const CTransientKeep keep = KeepTransient(calc, cmps);
    double f = -1.0;
    m_Freq->Clear();
    if (transientOpen) KeepRunState();
    calc.BeginRun(false);
    // With a transient open the elements keep what the run has reached: the
    // AC is taken about that state, and the transient goes on from it.
    if (transientOpen) RestoreLastModels(cmps, keep);
    calc.m_Ticks = CCalc::ClockMs();
    CCmp* source = nullptr;
    ModelId sourceModel = ModelId::None;
    if (const std::string fault = SettingsFault(calc); !fault.empty()) {
        calc.SetError(fault);
    } else {
        if (calc.m_AcSource > 0 && (source = FindComponentById(cmps, calc.m_AcSource))) {
            sourceModel = source->model;
            source->model = ModelId::Sin;
        }
        RunAcPoints(source, f);
        if (source) source->model = sourceModel;
    }
    for (int i = 0; i < cmps.Count(); ++i) {
        CCmp* cmp = cmps.At(i);
        cmp->pwl.Reset();
        cmp->Simulate(&calc, PhaseReset, 0.0);
    }
    calc.FreeRun();
    if (transientOpen) RestoreTransient(calc, cmps, keep);
    if (calc.m_Error.empty()) return true;
    error = f < 0 ? "AC error:\n" + calc.m_Error : "AC error:\nf = " + NumberToText(f, 12) + "\n" + calc.m_Error;
    return false;
}

// Builds the circuit for AC, fixes the states, linearises, and solves and
// records each frequency; `f` is the last frequency tried.
void CDoc::RunAcPoints(CCmp* source, double& f) {
    CCalc& calc = *m_Calc;
    // An unconnected first pin, as the file has it, before the run numbers the nodes.
    const bool sourceDisabled = source && source->pinCount > 0 && source->nodes[0] < 0;
    calc.m_Cmps.Clear();
    calc.m_MaxNode = 0;
    if (!calc.PrepareCmps()) return calc.CodeError(ErrorMark::PrepareComponents);
    calc.MergeNodes();
    if (!calc.AllocMatrices()) return calc.CodeError(ErrorMark::AllocateMatrices);
    if (const std::string error = m_Freq->Prepare(calc); !error.empty()) return calc.SetError(error);
    if (m_Freq->NeedsExcitation()) {
        if (!source) return calc.SetError("No AC source");
        if (sourceDisabled) return calc.SetError("AC source is disabled");
    }
    int row = kNoSource;
    if (source) {
        int a = 0, b = 0, branch = 0;
        double r = 0.0;
        source->GetTraceNodes(&calc, 2, &a, &b, &branch, &r);
        row = branch < 0 ? kNoSource : branch;
    }
    if (calc.m_AcDcop && !calc.SolveAcOperatingPoint()) return;
    if (!calc.LinearizeComponents()) return;
    TStringList list;
    if (calc.m_AcType != 0) list.Split(calc.m_AcList, ',');
    const int points = calc.m_AcType != 0 ? list.Count() : calc.m_AcPoints;
    for (int k = 0; k < points; ++k) {
        calc.m_Ticks = CCalc::ClockMs();
        if (!PointFrequency(calc, list, k, f)) return;
        if (!calc.SolveAC(f, row)) return;
        if (!m_Freq->SampleAC(calc, f, calc.VecE, calc.VecEIm)) return;
    }
}

}  // namespace qz3
