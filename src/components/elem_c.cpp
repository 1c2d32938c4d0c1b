#include "components/elem_c.h"

#include <cmath>
#include <iterator>
#include <limits>

#include "components/element_state.h"
#include "expr/state_text.h"
#include "components/solver_port.h"

namespace qz3 {

namespace {
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

enum CapacitorRow : uint8_t { kC, kIC, kTable, kRowCount };

// "c" stays with every model of "C_C", so a change of model keeps it.
constexpr CParamRow kRows[] = {
    FormulaRow("C", "F", "c", MemberAt<&CElemC::c>, 1.0),
    InitialCondition("IC", "V", "ic", MemberAt<&CElemC::ic>),
    TableRow("pwl", "pwl", MemberAt<&CCmp::pwl>),
};
static_assert(std::size(kRows) == kRowCount);

constexpr uint8_t kOrderC[] = {kC, kIC, kEndOfRows};
constexpr uint8_t kOrderPwl[] = {kTable, kIC, kEndOfRows};

}  // namespace

const CParamTable kCapacitorParams = ParamTableOf(kRows);

const CModelInfo kModelsCC[] = {
    {"C", ModelId::C, kOrderC, 0, 1, kReadVIP},
    {"PWL", ModelId::Pwl, kOrderPwl, 0, 1, kReadVIP},
    {"SubCir", ModelId::SubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsCVcc[] = {{"PWL", ModelId::Pwl, kOrderPwl, 0, 1, kReadVIP}, {}};
const CModelInfo kModelsCCcc[] = {{"PWL", ModelId::Pwl, kOrderPwl, 0, 2, kReadVIP}, {}};

CElemC::CElemC(const CCmpType* typeDescriptor) : CCmp(typeDescriptor), v(kNaN) {
    if (type == TypeId::Capacitor) pwl.SetLabels("V", "C, F", "C(V)", "Q(V)");
    else if (type == TypeId::VoltageControlledCapacitor) pwl.SetLabels("V", "C, F", "C(V)", "");
    else if (type == TypeId::CurrentControlledCapacitor) pwl.SetLabels("A", "C, F", "C(I)", "");
}

bool CElemC::IsControlled() const { return type == TypeId::VoltageControlledCapacitor || type == TypeId::CurrentControlledCapacitor; }

int CElemC::PinKind(int pin) const {
    if (pin < 2) return kPinCapacitive;
    return type == TypeId::VoltageControlledCapacitor ? kPinSensing : kPinAnalog;
}

double CElemC::Capacitance() const { return model == ModelId::Pwl ? pwl.Slope(state) : c.m_Value; }

bool CElemC::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit: Init(calc); return true;
        case PhaseStore: v = calc->X(nodes[1]) - calc->X(nodes[0]); return true;
        case PhaseCheckIC: return CheckVoltageIC(calc, this, v, nodes[0], nodes[1], firstBranch);
        case PhaseStamp: return Stamp(calc);
        case PhasePins: SetControlledPinGroups(this, type == TypeId::VoltageControlledCapacitor); return true;
        default: return true;
    }
}

// Only the first run of a model takes the IC: a rebuild in mid-run keeps the
// voltage that PhaseStore saved.
void CElemC::Init(CSolverPort* calc) {
    if (lastModel != ModelId::None) return;
    v = ic.m_Value;
    state = 0;
    const std::string stored = StoredState(calc, this);
    if (stored.empty()) return;
    v = KeyHex(stored, "v", v);
    state = KeyInt(stored, "s", state);
}

bool CElemC::Stamp(CSolverPort* calc) {
    if (calc->StampPass() != 0) return true;
    const int a = nodes[0], b = nodes[1], k = firstBranch;
    if (type == TypeId::CurrentControlledCapacitor) calc->StampSwitch(nodes[2], nodes[3], k + 1, true);
    const double cap = Capacitance();
    if (calc->Integrating() == 0) StampDc(calc, a, b, k, cap);
    else StampDynamic(calc, a, b, k, cap);
    return true;
}

// The branch current is the unknown k and is held at 0.
void CElemC::StampOpen(CSolverPort* calc, int a, int b, int k) {
    calc->StampCurrent(a, b, k, 0.0);
}

// Without an IC the capacitor is open; with one it is a source of that
// voltage, marked in MatrixC by how the current would move it.
void CElemC::StampDc(CSolverPort* calc, int a, int b, int k, double cap) {
    if (std::isnan(v)) {
        StampOpen(calc, a, b, k);
        return;
    }
    calc->StampBranchVoltage(a, b, k, v);
    if (cap != 0.0) calc->SetC(k, k, -1 / cap);
}

// i = C dv/dt; an infinite capacitance holds its voltage for good.
void CElemC::StampDynamic(CSolverPort* calc, int a, int b, int k, double cap) {
    if (std::isinf(cap)) {
        calc->StampBranchVoltage(a, b, k, v);
        return;
    }
    StampOpen(calc, a, b, k);
    const double scaled = calc->IsTransient() ? cap : cap * calc->Omega();
    calc->AddC(k, a, scaled);
    calc->AddC(k, b, -scaled);
}

bool CElemC::CheckState(CSolverPort* calc, bool commit, bool* changedOut) {
    if (model != ModelId::Pwl) return true;
    if (IsControlled()) return FollowControl(calc, commit, changedOut);
    *changedOut = pwl.CheckSegment(calc->X(nodes[1]) - calc->X(nodes[0]), commit);
    return true;
}

// A new segment keeps the charge Q = C v: the voltage jumps.
bool CElemC::FollowControl(CSolverPort* calc, bool commit, bool* changedOut) {
    const double control = type == TypeId::VoltageControlledCapacitor ? calc->X(nodes[3]) - calc->X(nodes[2]) : calc->X(firstBranch + 1);
    FollowControlSegment(calc, this, pwl, control, commit, changedOut, calc->X(nodes[1]) - calc->X(nodes[0]), v);
    return true;
}

std::string CElemC::GetState() {
    std::string s;
    AddKeyHex(s, "v", v);
    AddKeyInt(s, "s", state);
    return s;
}

std::string CElemC::SaveIC(std::string& out, int index, bool apply) {
    const std::string text = StateForIC(this, index, index == 0 ? GetState() : std::string());
    out.clear();
    if (text.empty()) return out;
    const double value = KeyHex(text, "v", ic.m_Value);
    if (apply) ic.SetValue(value);
    out = ParamText("IC", value);
    return out;
}

void CElemC::Transform(const CTransform& edit) {
    if (edit.kind == 1) {
        ic.SetValue(edit.sub == 0 ? kNaN : 0.0);
        return;
    }
    if (model != ModelId::C) return;
    double divisor = 0.0;
    if (edit.kind == 4 && edit.sub == 1) divisor = edit.factor;
    else if (edit.kind == 4 && edit.sub == 3) divisor = edit.factor * edit.factor;
    else if (edit.kind == 5) divisor = edit.factor;
    if (divisor != 0.0) c.SetValue(c.m_Value / divisor);
}

void* CElemC::ICMemory(int op) {
    if (op == 1) {
        icMemory[0] = icMemory[1];
        icMemory[1] = v;
    }
    return icMemory;
}

}  // namespace qz3
