#include "components/elem_sh.h"

#include "components/element_state.h"
#include "components/solver_port.h"
#include "expr/state_text.h"

namespace qz3 {

namespace {

constexpr CParamRow kRows[] = {FormulaRow("IC", "V", "ic", MemberAt<&CElemSH::ic>, 0.0, {ParamTest::Infinite})};
constexpr uint8_t kOrder[] = {0, kEndOfRows};

}  // namespace

const CParamTable kSampleHoldParams = ParamTableOf(kRows);
const CModelInfo kModelsSampleHold[] = {
    {"SH", ModelId::SampleHold, kOrder, 0, 1, kReadVIP}, {"SubCir", ModelId::SubCir, nullptr, 0, 0}, {}};

int CElemSH::Level(const CSolverPort* calc) const {
    const int level = calc->X(nodes[2]) > calc->LogicThreshold() ? 1 : 0;
    return (view & 1) ? 1 - level : level;
}

bool CElemSH::Simulate(CSolverPort* calc, int phase, double t) {
    switch (phase) {
        case PhaseInit:
            if (lastModel != ModelId::None) return true;
            held = ic.m_Value;
            if (const std::string stored = StoredState(calc, this); !stored.empty()) {
                held = KeyHex(stored, "v", held);
                state2 = KeyInt(stored, "i", state2);
            }
            return true;
        case PhaseSample: state2 = Level(calc); return true;
        case PhaseStamp: return calc->StampPass() != 0 || Stamp(calc);
        case PhasePins: {
            int* groups = PinGroups();
            groups[0] = 1;
            groups[1] = 0;
            groups[2] = 2;
            return true;
        }
        default: return true;
    }
}

bool CElemSH::Stamp(CSolverPort* calc) {
    const int in = nodes[0], out = nodes[1], k = firstBranch;
    if (!calc->ClaimOutput(out, this, -1)) return false;
    calc->SetG(out, k, 1.0);
    calc->SetG(k, out, 1.0);
    if (Transparent()) {
        calc->AddG(k, in, -1.0);
        return true;
    }
    calc->SetB(k, -held);
    calc->AddLink(2, 0, out, 0, held);
    return true;
}

// A rising level takes the input; so does a falling one after a
// transparent phase. A falling level in views 0 and 1 only re-arms.
bool CElemSH::CheckState(CSolverPort* calc, bool commit, bool* changed) {
    const int level = Level(calc);
    if (level == state2) return true;
    *changed = true;
    if (!commit) return true;
    if (view > 1 || level == 1) held = calc->X(nodes[0]);
    state2 = level;
    return true;
}

std::string CElemSH::GetState() {
    std::string text;
    AddKeyHex(text, "v", held);
    AddKeyInt(text, "i", state2);
    return text;
}

}  // namespace qz3
