#include "components/element_state.h"

#include <cmath>
#include <limits>

#include "components/cmp.h"
#include "expr/number_text.h"
#include "expr/state_text.h"
#include "components/solver_port.h"
#include "waveforms/pwl.h"

namespace qz3 {

std::string StoredState(const CSolverPort* calc, const CCmp* cmp) {
    if (!calc || !calc->IsTransient() || calc->StateId() == 0 || !cmp->states) return {};
    return StateById(*cmp->states, calc->StateId());
}

std::string StateForIC(const CCmp* cmp, int index, const std::string& present) {
    if (index <= 0) return present;
    if (!cmp->states || index > cmp->states->Count()) return {};
    return (*cmp->states)[index - 1];
}

std::string LastKeyStr(const std::string& list, const std::string& key) {
    std::string found;
    const int count = ListCount(list);
    for (int n = 0; n < count; ++n) {
        const std::string item = ListItem(list, n);
        const std::string value = KeyStr(item, key);
        if (!value.empty()) found = value;
    }
    return found;
}

namespace {

bool ReportIC(CSolverPort* calc, const CCmp* cmp, bool added) {
    calc->SetError(cmp->FullName() + (added ? " : IC added" : " : IC removed"));
    return false;
}

}  // namespace

bool CheckCurrentIC(CSolverPort* calc, const CCmp* cmp, double& current, int a, int b, int k) {
    if (std::isnan(current)) {
        if (!calc->NodeState(k)) return true;
        current = 0.0;
        return ReportIC(calc, cmp, true);
    }
    if (!calc->NodeState(a) && !calc->NodeState(b)) return true;
    current = std::numeric_limits<double>::quiet_NaN();
    return ReportIC(calc, cmp, false);
}

bool CheckVoltageIC(CSolverPort* calc, const CCmp* cmp, double& voltage, int a, int b, int k) {
    if (std::isnan(voltage)) {
        if (!calc->NodeState(a) && !calc->NodeState(b)) return true;
        voltage = 0.0;
        return ReportIC(calc, cmp, true);
    }
    if (!calc->NodeState(k)) return true;
    voltage = std::numeric_limits<double>::quiet_NaN();
    return ReportIC(calc, cmp, false);
}

std::string ParamText(const std::string& key, double value) { return key + "=" + NumberToText(value, 12); }

void FollowControlSegment(CSolverPort* calc, CCmp* cmp, CPWL& pwl, double control, bool commit, bool* changed,
                          double present, double& held) {
    if (!commit) {
        *changed = pwl.CheckSegment(control, false);
        return;
    }
    const double oldSlope = pwl.Slope(cmp->state);
    const int oldSegment = cmp->state;
    *changed = pwl.CheckSegment(control, true);
    const double newSlope = pwl.Slope(cmp->state);
    if (cmp->state != oldSegment && newSlope != 0.0) {
        held = present * oldSlope / newSlope;
        calc->RequestJump();
    }
}

void SetControlledPinGroups(CCmp* cmp, bool voltageControl) {
    int* groups = cmp->PinGroups();
    groups[0] = groups[1] = 1;
    if (cmp->pinCount < 4) return;
    if (voltageControl) {
        groups[2] = 2;
        groups[3] = 3;
    } else {
        groups[2] = groups[3] = 2;
    }
}

}  // namespace qz3
