#include "components/elem_delay.h"

#include <cmath>

#include "components/element_state.h"
#include "components/solver_port.h"
#include "expr/state_text.h"

namespace qz3 {

namespace {

enum DelayRow : uint8_t { kT, kIc };

constexpr CParamRow kRows[] = {
    FormulaRow("t", "s", "t", MemberAt<&CElemDelay::t>, 1e-3, {ParamTest::Negative, ParamTest::NotANumber}),
    Checked(InitialCondition("IC", "V", "ic", MemberAt<&CElemDelay::ic>), {ParamTest::Infinite}),
};
constexpr uint8_t kOrder[] = {kT, kIc, kEndOfRows};

}  // namespace

const CParamTable kDelayParams = ParamTableOf(kRows);
const CModelInfo kModelsDelay[] = {{"Delay", ModelId::Delay, kOrder, 0, 1, kReadVIP}, {}};

bool CElemDelay::Simulate(CSolverPort* calc, int phase, double now) {
    const bool delayed = t.m_Value > 0.0;
    switch (phase) {
        case PhaseInit: return Init(calc);
        case PhaseReset:
            memory.Clear();
            corners.Clear();
            return true;
        case PhaseStore: out = calc->X(nodes[1]); return true;
        case PhaseStamp: return calc->StampPass() != 0 || Stamp(calc);
        case PhaseSources:
            if (delayed) {
                double value = 0.0;
                memory.Get(now - t.m_Value, &value, nullptr);
                calc->SetSource(firstBranch, value);
            }
            return true;
        case PhaseHistory:
            if (!delayed || !std::isfinite(t.m_Value)) return true;
            if (corners.Add(now, calc->X(nodes[0]))) calc->AskBreak(corners.Latest() + t.m_Value);
            return memory.Add(now, calc->X(nodes[0])) || AddCmpError(calc, "No enough memory");
        case PhasePins:
            PinGroups()[0] = 1;
            PinGroups()[1] = 0;
            return true;
        default: return true;
    }
}

bool CElemDelay::Init(CSolverPort* calc) {
    if (ModelChanged()) {
        memory.Clear();
        corners.Clear();
    }
    if (lastModel == ModelId::None) {
        out = ic.m_Value;
        if (!std::isnan(out)) memory.Add(0.0, out);
    }
    if (lastModel == ModelId::None) {
        const std::string stored = KeyStr(StoredState(calc, this), "s");
        if (!stored.empty()) {
            memory.Load(stored);
            out = 0.0;
        }
    }
    return true;
}

// The output row: x[o] from the source vector (the input one delay ago); a
// follower without delay, and in DC without a value yet.
bool CElemDelay::Stamp(CSolverPort* calc) {
    const int in = nodes[0], o = nodes[1], k = firstBranch;
    if (!calc->ClaimOutput(o, this, -1)) return false;
    if (!calc->StampVoltage(0, o, k, 0.0)) return calc->CmpError(this, nullptr);
    calc->MarkInputRow(k);
    const double delay = t.m_Value;
    if (!(delay > 0.0)) {
        calc->AddG(k, in, -1.0);
        return true;
    }
    if (calc->Integrating() == 0) {
        if (std::isnan(out)) calc->AddG(k, in, -1.0);
        return true;
    }
    if (!calc->IsTransient()) {
        calc->SetG(k, in, -std::cos(delay * calc->Omega()));
        calc->SetC(k, in, std::sin(delay * calc->Omega()));
    }
    return true;
}

void CElemDelay::NextEvent(CSolverPort* calc, double now, double* tNext, double* stepMax, double* stepMin) {
    if (!(t.m_Value > 0.0)) return;
    const double arrival = corners.NextArrival(now, t.m_Value);
    if (!std::isnan(arrival)) *tNext = arrival;
}

std::string CElemDelay::GetState() {
    std::string text;
    AddKeyStr(text, "s", memory.Text());
    return text;
}

}  // namespace qz3
