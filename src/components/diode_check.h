// The switching test of an ideal diode, shared by every element with a
// conducting junction (diodes, thyristors, transistor junctions).
//
// `state` is 0 off, 1 on, -1 on in reverse. An element on tests its branch
// current k: a current against the conduction turns it off. An element off
// tests its voltage x[b] - x[a] against the forward drop vOn (and, with
// hasRev, against the reverse level vRev, which has no test when infinite).
// With commit the state moves; without it only the answer is
// given. With commit and no reason found in the values, the undetermined
// unknowns of the last solve decide: an on junction whose current is
// undetermined opens, and an off one between a settled and an unsettled
// node closes, so that the search escapes a singular set of states.
#pragma once

namespace qz3 {

class CSolverPort;

// True when the state changes or must change.
bool CheckDiode(CSolverPort* calc, bool commit, int* state, int a, int b, int k, double vOn, double vRev,
                bool hasRev);

// An open junction between a and b whose node has no other entry in its row
// gets a large resistance, so that the row isn't empty; true when it did.
bool LeakOpenJunction(CSolverPort* calc, int a, int b);

}  // namespace qz3
