#include "components/elem_integral.h"

#include "components/element_state.h"
#include "components/solver_port.h"
#include "expr/state_text.h"

namespace qz3 {

namespace {

enum IntegralRow : uint8_t { kK, kIc };

constexpr CParamRow kRows[] = {
    FormulaRow("K", "V/V", "k", MemberAt<&CElemIntegral::k>, 1.0, {ParamTest::Infinite}),
    FormulaRow("IC", "V", "ic", MemberAt<&CElemIntegral::ic>, 0.0, {ParamTest::Infinite}),
};
constexpr uint8_t kOrder[] = {kK, kIc, kEndOfRows};

}  // namespace

const CParamTable kIntegralParams = ParamTableOf(kRows);
const CModelInfo kModelsIntegral[] = {{"Integral", ModelId::Integral, kOrder, 0, 1, kReadVIP}, {}};

int CElemIntegral::ResetLevel(const CSolverPort* calc) const {
    const int level = calc->X(nodes[2]) > calc->LogicThreshold() ? 1 : 0;
    return view == 1 ? 1 - level : level;
}

bool CElemIntegral::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit:
            if (lastModel != ModelId::None) return true;
            y = ic.m_Value;
            if (const std::string stored = StoredState(calc, this); !stored.empty()) {
                y = KeyHex(stored, "v", y);
                state2 = KeyInt(stored, "i", state2);
            }
            return true;
        case PhaseStore: y = HasReset() && state2 == 1 ? 0.0 : calc->X(nodes[1]); return true;
        case PhaseSample:
            if (HasReset()) state2 = ResetLevel(calc);
            if (HasReset() && state2 == 1) y = 0.0;
            return true;
        case PhaseStamp: return calc->StampPass() != 0 || Stamp(calc);
        case PhaseSources:
            if (calc->Integrating() == 0) calc->SetSource(firstBranch, y);
            return true;
        case PhasePins: {
            int* groups = PinGroups();
            groups[0] = 1;
            groups[1] = 0;
            if (pinCount > 2) groups[2] = 2;
            return true;
        }
        default: return true;
    }
}

// The DC form holds the output at y; the integrating form says that
// d(out)/dt is K times the input (a reset holds it at 0).
bool CElemIntegral::Stamp(CSolverPort* calc) {
    const int in = nodes[0], out = nodes[1], kb = firstBranch;
    if (!calc->ClaimOutput(out, this, -1)) return false;
    calc->SetG(out, kb, 1.0);
    if (calc->Integrating() == 0 || (HasReset() && state2 == 1)) {
        if (HasReset() && state2 == 1) y = 0.0;
        calc->SetG(kb, out, 1.0);
        calc->MarkInputRow(kb);
        return true;
    }
    calc->AddG(kb, in, -k.m_Value);
    calc->SetC(kb, out, calc->IsTransient() ? 1.0 : calc->Omega());
    return true;
}

// A change of the reset level is an event: the output drops to 0 at once,
// or starts to integrate from there.
bool CElemIntegral::CheckState(CSolverPort* calc, bool commit, bool* changed) {
    if (!HasReset()) return true;
    const int level = ResetLevel(calc);
    if (level == state2) return true;
    *changed = true;
    if (commit) {
        state2 = level;
        y = 0.0;
        calc->RequestJump();
    }
    return true;
}

std::string CElemIntegral::GetState() {
    std::string text;
    AddKeyHex(text, "v", y);
    AddKeyInt(text, "i", state2);
    return text;
}

}  // namespace qz3
