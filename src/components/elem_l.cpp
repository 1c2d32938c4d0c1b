#include "components/elem_l.h"

#include <cmath>
#include <iterator>
#include <limits>

#include "components/element_state.h"
#include "expr/state_text.h"
#include "components/solver_port.h"

namespace qz3 {

namespace {
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

enum InductorRow : uint8_t { kL, kL1, kL2, kK12, kIC, kIC1, kIC2, kTable, kRowCount };

// "l" stays with every model of "L_L", so a change of model keeps it. The
// coupled pair names its first inductance and current L1 and IC1.
constexpr CParamRow kRows[] = {
    FormulaRow("L", "H", "l", MemberAt<&CElemL::l>, 1e-6),
    FormulaRow("L1", "H", "l1", MemberAt<&CElemL::l>, 1e-6, {ParamTest::InfiniteColon}),
    FormulaRow("L2", "H", "l2", MemberAt<&CElemL::l2>, 1e-6, {ParamTest::InfiniteColon}),
    CheckedAs(FormulaRow("K12", "", "k12", MemberAt<&CElemL::k12>, 1.0,
                         {ParamTest::BelowMinusOne, ParamTest::AboveOne}),
              "K"),
    InitialCondition("IC", "A", "ic", MemberAt<&CElemL::ic>),
    InitialCondition("IC1", "A", "ic1", MemberAt<&CElemL::ic>),
    InitialCondition("IC2", "A", "ic2", MemberAt<&CElemL::ic2>),
    TableRow("pwl", "pwl", MemberAt<&CCmp::pwl>),
};
static_assert(std::size(kRows) == kRowCount);

constexpr uint8_t kOrderL[] = {kL, kIC, kEndOfRows};
constexpr uint8_t kOrderPwl[] = {kTable, kIC, kEndOfRows};
constexpr uint8_t kOrderCoupled[] = {kL1, kL2, kK12, kIC1, kIC2, kEndOfRows};

}  // namespace

const CParamTable kInductorParams = ParamTableOf(kRows);

const CModelInfo kModelsLL[] = {
    {"L", ModelId::L, kOrderL, 0, 1, kReadVIP},
    {"PWL", ModelId::Pwl, kOrderPwl, 0, 1, kReadVIP},
    {"SubCir", ModelId::SubCir, nullptr, 0, 0},
    {},
};
const CModelInfo kModelsLVcl[] = {{"PWL", ModelId::Pwl, kOrderPwl, 0, 1, kReadVIP}, {}};
const CModelInfo kModelsLCcl[] = {{"PWL", ModelId::Pwl, kOrderPwl, 0, 2, kReadVIP}, {}};
const CModelInfo kModelsLCl[] = {{"L", ModelId::L, kOrderCoupled, 0, 2, kReadVIP}, {}};

CElemL::CElemL(const CCmpType* typeDescriptor) : CCmp(typeDescriptor), i(kNaN), i2(kNaN) {
    if (type == TypeId::Inductor) pwl.SetLabels("I", "L, H", "L(I)", "H(I)");
    else if (type == TypeId::VoltageControlledInductor) pwl.SetLabels("V", "L, H", "L(V)", "");
    else if (type == TypeId::CurrentControlledInductor) pwl.SetLabels("A", "L, H", "L(I)", "");
}

bool CElemL::IsCoupled() const { return type == TypeId::CoupledInductors; }

double CElemL::Inductance() const { return model == ModelId::Pwl ? pwl.Slope(state) : l.m_Value; }

bool CElemL::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit:
            Init(calc);
            return model == ModelId::Pwl ? PrepareTable(calc, pwl) : true;
        case PhaseStore: Store(calc); return true;
        case PhaseCheckIC: return CheckIC(calc);
        case PhaseStamp: return Stamp(calc);
        case PhasePins: SetControlledPinGroups(this, type == TypeId::VoltageControlledInductor); return true;
        default: return true;
    }
}

void CElemL::Init(CSolverPort* calc) {
    if (lastModel != ModelId::None) return;
    i = ic.m_Value;
    i2 = ic2.m_Value;
    state = 0;
    const std::string stored = StoredState(calc, this);
    if (stored.empty()) return;
    state = KeyInt(stored, "s", state);
    if (IsCoupled()) {
        i = KeyHex(stored, "i1", i);
        i2 = KeyHex(stored, "i2", i2);
    } else {
        i = KeyHex(stored, "i", i);
    }
}

// A zero inductor never holds a current: it stays a plain short.
void CElemL::Store(CSolverPort* calc) {
    const int k = firstBranch;
    i = calc->X(k);
    if (model == ModelId::L && l.m_Value == 0.0) i = kNaN;
    if (!IsCoupled()) return;
    i2 = calc->X(k + 1);
    if (l2.m_Value == 0.0) i2 = kNaN;
}

bool CElemL::Stamp(CSolverPort* calc) {
    if (calc->StampPass() != 0) return true;
    const int k = firstBranch;
    if (IsCoupled()) {
        StampCoupled(calc);
        return true;
    }
    if (type == TypeId::CurrentControlledInductor) calc->StampSwitch(nodes[2], nodes[3], k + 1, true);
    StampSingle(calc, nodes[0], nodes[1], k);
    return true;
}

void CElemL::StampSingle(CSolverPort* calc, int a, int b, int k) {
    const double L = Inductance();
    if (calc->Integrating() == 0) {
        if (std::isnan(i)) {
            calc->StampBranchVoltage(a, b, k, 0.0);
            return;
        }
        calc->StampCurrent(a, b, k, i);
        // The current moves by the voltage over L.
        if (L != 0.0) {
            calc->SetC(k, a, 1 / L);
            calc->SetC(k, b, -1 / L);
        }
        return;
    }
    if (std::isinf(L)) {
        calc->StampCurrent(a, b, k, i);
        return;
    }
    calc->StampBranchVoltage(a, b, k, 0.0);
    calc->SetC(k, k, calc->IsTransient() ? -L : -L * calc->Omega());
}

// In the DC equations a winding of known current keeps its flux L*i as the
// row's quantity; with the derivatives both windings are shorts and the
// mutual inductance couples their rows.
void CElemL::StampCoupled(CSolverPort* calc) {
    const int k = firstBranch;
    const int windings[2][3] = {{nodes[0], nodes[1], k}, {nodes[2], nodes[3], k + 1}};
    const double L[2] = {l.m_Value, l2.m_Value};
    const double current[2] = {i, i2};
    for (int w = 0; w < 2; ++w) {
        const int a = windings[w][0], b = windings[w][1], kw = windings[w][2];
        if (calc->Integrating() != 0 || std::isnan(current[w])) {
            calc->StampBranchVoltage(a, b, kw, 0.0);
            continue;
        }
        calc->AddG(a, kw, 1);
        calc->AddG(b, kw, -1);
        calc->SetG(kw, kw, L[w]);
        calc->SetB(kw, -(current[w] * L[w]));
    }
    if (calc->Integrating() == 0) return;
    const double scale = calc->IsTransient() ? 1.0 : calc->Omega();
    const double M = std::sqrt(L[0] * L[1]) * k12.m_Value;
    calc->SetC(k, k, -L[0] * scale);
    calc->SetC(k, k + 1, -M * scale);
    calc->SetC(k + 1, k + 1, -L[1] * scale);
    calc->SetC(k + 1, k, -M * scale);
}

bool CElemL::CheckIC(CSolverPort* calc) {
    const int k = firstBranch;
    const bool first = CheckCurrentIC(calc, this, i, nodes[0], nodes[1], k);
    if (!IsCoupled()) return first;
    const bool second = CheckCurrentIC(calc, this, i2, nodes[2], nodes[3], k + 1);
    return first && second;
}

bool CElemL::CheckState(CSolverPort* calc, bool commit, bool* changedOut) {
    if (model != ModelId::Pwl) return true;
    const int k = firstBranch;
    if (type == TypeId::Inductor) {
        *changedOut = pwl.CheckSegment(calc->X(k), commit);
        return true;
    }
    // The flux stays across the change of inductance.
    const double control = type == TypeId::VoltageControlledInductor ? calc->X(nodes[3]) - calc->X(nodes[2]) : calc->X(k + 1);
    FollowControlSegment(calc, this, pwl, control, commit, changedOut, calc->X(k), i);
    return true;
}

std::string CElemL::GetState() {
    std::string s;
    AddKeyInt(s, "s", state);
    if (IsCoupled()) {
        AddKeyHex(s, "i1", i);
        AddKeyHex(s, "i2", i2);
    } else {
        AddKeyHex(s, "i", i);
    }
    return s;
}

std::string CElemL::SaveIC(std::string& out, int index, bool apply) {
    const std::string text = StateForIC(this, index, index == 0 ? GetState() : std::string());
    out.clear();
    if (text.empty()) return out;
    if (IsCoupled()) {
        const double c1 = KeyHex(text, "i1", ic.m_Value);
        const double c2 = KeyHex(text, "i2", ic2.m_Value);
        if (apply) {
            ic.SetValue(c1);
            ic2.SetValue(c2);
        }
        out = ParamText("IC1", c1) + "," + ParamText("IC2", c2);
        return out;
    }
    const double c = KeyHex(text, "i", ic.m_Value);
    if (apply) ic.SetValue(c);
    out = ParamText("IC", c);
    return out;
}

void CElemL::Transform(const CTransform& edit) {
    if (edit.kind == 1) {
        const double value = edit.sub == 0 ? kNaN : 0.0;
        ic.SetValue(value);
        ic2.SetValue(value);
        return;
    }
    if (model != ModelId::L) return;
    double factor = 0.0;
    if (edit.kind == 4 && edit.sub == 1) factor = 1 / edit.factor;
    else if (edit.kind == 4 && edit.sub == 2) factor = 1 / (edit.factor * edit.factor);
    else if (edit.kind == 5) factor = edit.factor;
    if (factor == 0.0) return;
    l.SetValue(l.m_Value * factor);
    if (IsCoupled()) l2.SetValue(l2.m_Value * factor);
}

void* CElemL::ICMemory(int op) {
    if (op == 1) {
        icMemory[0] = icMemory[1];
        icMemory[1] = i;
    }
    return icMemory;
}

}  // namespace qz3
