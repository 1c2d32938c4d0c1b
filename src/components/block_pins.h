// The pins of the code and function blocks.
//
// Inputs are read from the last solution and draw nothing. Each output is
// an ideal voltage source from ground on a branch of its own, whose value
// comes with each time point through the source vector, so a new value
// never costs a new factorisation. An optional clock pin stands last: a
// clocked block computes only when the clock rises above the logic
// threshold, as a switching event, so the edge is landed on exactly.
//
// Recipe, in a block's phases:
//     PhaseStamp:   StampBlockOutput(calc, this, pin, branch)      (pass 0)
//     PhaseSources: SetBlockOutput(calc, this, pin, branch, value)
//     PhaseSample:  state = ClockLevel(calc, this, clockPin)
//     CheckState:   if (ClockEdge(calc, this, clockPin, commit, changed)) compute
#pragma once

namespace qz3 {

class CSolverPort;
class CCmp;

// Claims the output's node and stamps its source; false with the line.
bool StampBlockOutput(CSolverPort* calc, CCmp* cmp, int pin, int branch);
// This time point's value; an infinite one fails with "infinite output
// 'name'" for the pin's name.
bool SetBlockOutput(CSolverPort* calc, const CCmp* cmp, int pin, int branch, double value);
// 1 when the pin is above the logic threshold; the other way round for an
// inverted clock (a block drawn to run on the falling edge).
int ClockLevel(const CSolverPort* calc, const CCmp* cmp, int pin, bool inverted = false);
// Any change of the clock level is a change of `state`; true when a rising
// edge (falling, inverted) is committed, which is when the block computes.
bool ClockEdge(CSolverPort* calc, CCmp* cmp, int pin, bool commit, bool* changed, bool inverted = false);
// Inputs and the clock sense, each pin its own group; outputs are driven.
void SetBlockPinGroups(CCmp* cmp, int firstOutput, int outputs);

}  // namespace qz3
