// The solver's reach into the components and the document.
//
// Each of these walks m_Cmps (or the document) and is the only place that
// does. Until the component base and the document are built into the
// library, a run has no components: every walk below is what it is for an
// empty list, and the numeric parts of the solver are driven directly.
#include <cstdio>

#include "solver/calc.h"

namespace qz3 {

// Collects the components of the document into m_Cmps, with CheckParams and PhaseInit.
bool CCalc::PrepareCmps() { return true; }

// Simulate(phase, t) on every component of m_Cmps except subcircuit containers.
bool CCalc::RunPhase(int phase, double t) { return true; }

// AddNodeId for every non-zero pin entry, with the pin's PinKind.
bool CCalc::CollectPinNodes() { return true; }

// AssignBranches(calc, first) on every component; the number of unknowns they take.
int CCalc::AssignAllBranches(int first) { return 0; }

// Replaces every non-zero pin entry by NodeIndex of it.
void CCalc::RenumberPins() {}

// Replaces the node id `from` by `to` in all pins.
void CCalc::RenameNodeInPins(int from, int to) {}

// PhasePins on every component, then JoinPinGroups with its `nodes`.
void CCalc::GroupComponentPins() {}

// PhaseFloat on every component; false when one of them added a leak.
bool CCalc::FloatComponents() { return true; }

// The transient trace set prepares itself; its text goes to m_Error.
bool CCalc::PrepareTraces() { return true; }

// Signal and pwl members reset and PhaseReset on the document's top list.
void CCalc::ResetComponents() {}

// Transient or AC settings, the stored state to start from, the built-in
// variables and lastModel of the top list.
void CCalc::LoadRunSettings() {}

// The memory counter of the run's trace set.
void CCalc::ReportMemory(int64_t delta) {}

std::string CCalc::CmpFullName(const CCmp* cmp) const { return std::string(); }

std::string CCalc::CmpPinName(const CCmp* cmp, int pin) const { return std::string(); }

std::string CCalc::TraceName(const CTrace* trace) const { return std::string(); }

// Six significant digits, as the number text of the expression language prints them.
std::string CCalc::TimeText(double t) const {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", t);
    return text;
}

}  // namespace qz3
