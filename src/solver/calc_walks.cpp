// The solver's reach into the components and the document.
//
// Each of these walks m_Cmps (or the document) and is the only place that
// does. Subcircuit containers (model 10) stand in m_Cmps only to be found:
// no phase of the solver reaches them.
#include <cmath>
#include <ctime>

#include "components/cmp.h"
#include "components/cmps.h"
#include "components/sub_cir.h"
#include "expr/number_text.h"
#include "expr/param.h"
#include "expr/state_text.h"
#include "solver/calc.h"
#include "solver/run_document.h"
#include "solver/run_traces.h"

namespace qz3 {

namespace {

// Node ids of a subcircuit level are moved above all ids given out so far,
// so that levels don't collide; 0 stays ground, negative stays unconnected.
int OffsetPinNodes(CCmps* list, int offset) {
    int highest = offset;
    for (int i = 0; i < list->Count(); ++i) {
        CCmp* cmp = list->At(i);
        for (int p = 0; p < cmp->pinCount; ++p) {
            if (cmp->nodes[p] <= 0) continue;
            cmp->nodes[p] += offset;
            if (cmp->nodes[p] > highest) highest = cmp->nodes[p];
        }
    }
    return highest;
}

// Labels of one name are one node within their level, whatever numbers
// the file gave their pins; a subcircuit's labels stay its own.
bool JoinLabelsByName(CCmps* list, CCalc& calc) {
    for (int i = 0; i < list->Count(); ++i) {
        const CCmp* a = list->At(i);
        if (!a->IsLabel() || a->pinCount < 1 || a->nodes[0] < 0) continue;
        for (int j = i + 1; j < list->Count(); ++j) {
            const CCmp* b = list->At(j);
            if (!b->IsLabel() || b->pinCount < 1 || b->nodes[0] < 0 || !SameTextNoCase(a->name, b->name)) continue;
            if (a->nodes[0] != b->nodes[0] && !calc.AddNodePair(a->nodes[0], b->nodes[0])) return false;
        }
    }
    return true;
}

}  // namespace

bool CCalc::PrepareCmps() {
    ForgetPhaseCmps();
    // Elements that run programs at preparation measure their time from here.
    m_Ticks = ClockMs();
    CCmps* cmps = RunDocument(m_Doc).cmps;
    if (cmps && !PrepareCmpList(cmps)) return false;
    ListPhaseCmps();
    return true;
}

// All faults of all components are listed before the run gives up.
bool CCalc::PrepareCmpList(CCmps* list) {
    m_MaxNode = OffsetPinNodes(list, m_MaxNode);
    if (!JoinLabelsByName(list, *this)) {
        SetError("No enough memory");
        return false;
    }
    bool sound = true;
    for (int i = 0; i < list->Count(); ++i) {
        CCmp* cmp = list->At(i);
        if (cmp->IsDisconnected()) continue;
        cmp->owner = list;
        m_Cmps.Add(cmp);
        if (cmp->IsSubCircuit()) {
            // The container stays in m_Cmps only to be found; its content
            // joins the run here, recursively, as elements of their own.
            if (!cmp->SubCircuit().Prepare(this)) {
                CodeError(ErrorMark::Subcircuit);
                return false;
            }
            cmp->lastModel = cmp->model;
            continue;
        }
        if (!cmp->CheckParams(this)) sound = false;
        if (cmp->ModelChanged()) {
            cmp->pwl.Reset();
            cmp->Simulate(this, PhaseReset, m_Time);
        }
        if (!cmp->PrepareModelTable(this)) {
            CodeError(ErrorMark::ComponentTable);
            return false;
        }
        if (!cmp->Simulate(this, PhaseInit, m_Time)) {
            CodeError(ErrorMark::ComponentInit);
            return false;
        }
        cmp->lastModel = cmp->model;
    }
    return sound;
}

bool CCalc::RunPhase(int phase, double t) {
    for (CCmp* cmp : m_PhaseCmps[phase])
        if (!cmp->Simulate(this, phase, t)) return false;
    return true;
}

void CCalc::ListPhaseCmps() {
    ForgetPhaseCmps();
    for (CCmp* cmp : m_Cmps) {
        if (cmp->IsSubCircuit()) continue;
        const uint32_t phases = cmp->SimulatedPhases();
        for (int phase = 0; phase < kPhaseCount; ++phase)
            if (phases & PhaseBit(phase)) m_PhaseCmps[phase].push_back(cmp);
    }
}

void CCalc::ForgetPhaseCmps() {
    for (std::vector<CCmp*>& list : m_PhaseCmps) list.clear();
}

bool CCalc::CollectPinNodes() {
    for (CCmp* cmp : m_Cmps)
        for (int p = 0; p < cmp->pinCount; ++p)
            if (cmp->nodes[p] != 0 && !AddNodeId(cmp->nodes[p], cmp->PinKind(p))) return false;
    return true;
}

int CCalc::AssignAllBranches(int first) {
    int count = 0;
    for (CCmp* cmp : m_Cmps)
        if (!cmp->IsSubCircuit()) count += cmp->AssignBranches(this, first + count);
    return count;
}

void CCalc::RenumberPins() {
    for (CCmp* cmp : m_Cmps)
        for (int p = 0; p < cmp->pinCount; ++p)
            if (cmp->nodes[p] != 0) cmp->nodes[p] = NodeIndex(cmp->nodes[p]);
}

void CCalc::RenameNodeInPins(int from, int to) {
    for (CCmp* cmp : m_Cmps)
        for (int p = 0; p < cmp->pinCount; ++p)
            if (cmp->nodes[p] == from) cmp->nodes[p] = to;
}

void CCalc::GroupComponentPins() {
    for (CCmp* cmp : m_Cmps) {
        if (cmp->IsSubCircuit() || cmp->pinCount <= 0) continue;
        cmp->Simulate(this, PhasePins, m_Time);
        JoinPinGroups(cmp->nodes, cmp->PinGroups(), cmp->pinCount);
    }
}

bool CCalc::FloatComponents() {
    bool none = true;
    for (CCmp* cmp : m_Cmps)
        if (!cmp->IsSubCircuit() && !cmp->Simulate(this, PhaseFloat, m_Time)) none = false;
    return none;
}

bool CCalc::PrepareTraces() {
    SetError(PrepareRunTraces(m_Doc, *this));
    return m_Error.empty();
}

void CCalc::ResetComponents() {
    CCmps* cmps = RunDocument(m_Doc).cmps;
    if (!cmps) return;
    CCmps& list = *cmps;
    for (int i = 0; i < list.Count(); ++i) {
        CCmp* cmp = list.At(i);
        cmp->pwl.Reset();
        cmp->Simulate(this, PhaseReset, m_Time);
    }
}

void CCalc::LoadRunSettings() {
    const CRunDocument doc = RunDocument(m_Doc);
    if (!doc.tran) return;
    const CTranSettings& tran = *doc.tran;
    const CAdvancedSettings& advanced = *doc.advanced;
    m_Zero = advanced.m_Zero;
    m_LogicLow = advanced.m_Low;
    m_LogicHigh = advanced.m_High;
    m_LogicThr = advanced.m_Thr;
    if (m_Transient) {
        m_Screen = tran.m_Screen;
        m_StepBase = tran.m_Step;
        m_NoStartTrigger = !tran.HasStartCondition();
        m_StateId = 0;
        m_StartTime = tran.m_Start;
        SetTime(0.0);
        if (m_StateIndex >= 0 && m_StateIndex < doc.states->Count()) {
            const std::string& line = (*doc.states)[m_StateIndex];
            m_StateId = KeyInt(line, "id", 0);
            m_StartTime = KeyDouble(line, "t", 0.0);
            SetTime(m_StartTime);
        }
    } else {
        const CACSettings& ac = *doc.ac;
        m_AcType = ac.m_Type;
        m_AcList = ac.m_List;
        m_AcFrom = ac.m_From;
        m_AcTo = ac.m_To;
        m_AcPoints = ac.m_Points;
        m_AcScale = ac.m_Scale;
        m_AcSource = ac.m_Id;
        m_AcAlg = ac.m_Alg;
        m_AcDcop = ac.m_DCOP;
        m_AcFaf = ac.m_Faf;
        m_AcFhl = ac.m_Fhl;
        m_AcFmr = ac.m_Fmr;
        m_AcFsh = ac.m_Fsh;
        m_AcFpop = ac.m_Fpop;
        m_AcStep = tran.m_Step;
    }
    if (!doc.cmps) return;
    for (int i = 0; i < doc.cmps->Count(); ++i) doc.cmps->At(i)->lastModel = ModelId::None;
}

void CCalc::ReportMemory(int64_t delta) { CountRunMemory(m_Doc, m_Transient, delta); }

std::string CCalc::CmpFullName(const CCmp* cmp) const { return cmp ? cmp->FullName() : std::string(); }

std::string CCalc::CmpPinName(const CCmp* cmp, int pin) const { return cmp ? cmp->PinName(pin) : std::string(); }

std::string CCalc::TraceName(const CTrace* trace) const { return RunTraceName(trace); }

// Six significant digits, as the number text of the expression language prints them.
std::string CCalc::TimeText(double t) const { return NumberToText(t, 6); }

std::string CCalc::ZTransformText() const { return Advanced().m_ZParam; }

const CAdvancedSettings& CCalc::Advanced() const {
    static const CAdvancedSettings defaults;
    return m_AdvancedSettings ? *m_AdvancedSettings : defaults;
}

double CCalc::StepSetting() const {
    const CTranSettings* tran = RunDocument(m_Doc).tran;
    return tran ? tran->m_Step : m_StepBase;
}

// The settings keep the smallest-step factors ("s_fs", ...) in m_StepFirst and
// the first-step factors ("s_ff", ...) in m_StepSecond.
double CCalc::SmallestStepFactor() const { return Advanced().m_StepFirst[Advanced().m_StepMode]; }

double CCalc::FirstStepFactor() const { return Advanced().m_StepSecond[Advanced().m_StepMode]; }

bool CCalc::TimesMeet(double a, double b) {
    return RealSame(a, b);
}

int32_t CCalc::ClockMs() {
    return static_cast<int32_t>(static_cast<double>(std::clock()) * 1000.0 / CLOCKS_PER_SEC);
}

}  // namespace qz3
