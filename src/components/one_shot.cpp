#include "components/one_shot.h"

#include "base/number_format.h"
#include "components/cmp.h"

namespace qz3 {

void CheckOneShot(CCmp* cmp, double control, double width, double now, bool commit, bool* changed, double& end) {
    if (cmp->state2 == 0 && control > 0.0) {
        *changed = true;
        if (!commit) return;
        cmp->state2 = 1;
        cmp->state = 1;
        end = width + now;
    } else if (cmp->state2 == 1 && control < 0.0 && commit) {
        cmp->state2 = 0;
    }
}

void OneShotEvent(CCmp* cmp, double t, double width, double end, double* tNext, double* stepMax) {
    if (cmp->state != 1) return;
    if (RealCompare(end, t) != 0 && end > t) {
        *tNext = end;
        *stepMax = width * 0.25;
    } else {
        cmp->state = 0;
    }
}

}  // namespace qz3
