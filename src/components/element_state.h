// What the element classes with a state of their own share: reading back a
// stored state at the start of a run, the state text that "save IC" reads,
// the repair of initial conditions that the equations reject, and the rows
// of a branch that is a plain short.
//
// A capacitor keeps a voltage and an inductor a current; each may be NaN,
// meaning "no initial condition". The initial-state analysis solves with
// what is given, and the element then compares: a NaN state whose equations
// are undetermined needs one (" : IC added"), a given state that makes its
// unknowns infinite must go (" : IC removed"). The text goes through
// SetError, so only the last one stands, and the analysis runs again.
#pragma once

#include <string>

namespace qz3 {

class CSolverPort;
class CCmp;
class CPWL;

// The stored-state entry of this element that the run starts from: only in
// a transient run with a stored state id, "" otherwise.
std::string StoredState(const CSolverPort* calc, const CCmp* cmp);

// The text "save IC" picks values from: index 0 the element's present state
// (given as `present`), index n > 0 the n-th entry of its stored states.
std::string StateForIC(const CCmp* cmp, int index, const std::string& present);

// The last value of `key` in a state list, "" if none. A list may hold a
// key twice when an element adds its own item behind an embedded one.
std::string LastKeyStr(const std::string& list, const std::string& key);

// A current state whose winding is between nodes a, b with branch k. False
// (with the text set) when it had to change.
bool CheckCurrentIC(CSolverPort* calc, const CCmp* cmp, double& current, int a, int b, int k);
// The dual for a voltage state held by branch k.
bool CheckVoltageIC(CSolverPort* calc, const CCmp* cmp, double& voltage, int a, int b, int k);

// A controlled PWL element (pins 0, 1 the branch, 2, 3 the control) moves
// to the segment of its control value. Committed, a new segment keeps the
// product of slope and state (charge C v, flux L i): `held` jumps to
// `present` * old slope / new slope, which asks for a new operating point.
void FollowControlSegment(CSolverPort* calc, CCmp* cmp, CPWL& pwl, double control, bool commit, bool* changed,
                          double present, double& held);

// Pin groups of such an element: the branch joins pins 0 and 1; a control
// voltage pair draws nothing (groups of their own), a control current path
// joins its two pins.
void SetControlledPinGroups(CCmp* cmp, bool voltageControl);

// "key=value" with the value as number text of 12 digits.
std::string ParamText(const std::string& key, double value);

}  // namespace qz3
