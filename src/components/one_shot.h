// A pulse of fixed width that each rising control starts, shared by the
// sources with a "One-shot" model. The owner's `state` is 1 during the
// pulse, `state2` is the control's last level (1 above 0), and `end` the
// time the pulse ends. A falling control only re-arms the edge test; it
// reports nothing.
#pragma once

namespace qz3 {

class CCmp;

void CheckOneShot(CCmp* cmp, double control, double width, double now, bool commit, bool* changed, double& end);

// While the pulse lasts, its end is the next break and the step is at most a
// quarter of its width; once the end is reached the pulse is over.
void OneShotEvent(CCmp* cmp, double t, double width, double end, double* tNext, double* stepMax);

}  // namespace qz3
