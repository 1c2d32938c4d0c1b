#include "components/elem_line.h"

#include <cmath>

#include "base/constants.h"
#include "components/element_state.h"
#include "components/solver_port.h"
#include "expr/state_text.h"

namespace qz3 {

namespace {

enum LineRow : uint8_t { kT, kTLossy, kZ, kZLossy, kR, kRf, kG, kGf, kVic, kIic };

// The sections of a lossy line divide by the impedance and multiply by it:
// neither a short nor an open has a lossy form.
const char* NoLossyImpedance(const void*, double impedance) {
    if (impedance == 0.0) return " = 0";
    return std::isinf(impedance) ? " = infinite" : nullptr;
}

constexpr CParamRow ImpedanceRow() {
    return CheckedAs(FormulaRow("z", "Ohm", "z", MemberAt<&CElemLine::z>, 50.0, {ParamTest::Negative}), "z0");
}

// The check lines name the impedance "z0" and the corners "fr", "fG".
constexpr CParamRow kRows[] = {
    FormulaRow("t", "s", "t", MemberAt<&CElemLine::t>, 1e-6, {ParamTest::Negative, ParamTest::NotANumber}),
    FormulaRow("t", "s", "t", MemberAt<&CElemLine::t>, 1e-6, {ParamTest::NotPositive, ParamTest::NotANumber}),
    ImpedanceRow(),
    WithRule(ImpedanceRow(), &NoLossyImpedance),
    FormulaRow("r", "Ohm/m", "r", MemberAt<&CElemLine::r>, 0.0, {ParamTest::Negative}),
    CheckedAs(FormulaRow("rf", "MHz", "rf", MemberAt<&CElemLine::rf>, 1.0, {ParamTest::NotPositive}), "fr"),
    CheckedAs(FormulaRow("g", "S/m", "g", MemberAt<&CElemLine::g>, 0.0, {ParamTest::Negative}), "G"),
    CheckedAs(FormulaRow("gf", "MHz", "gf", MemberAt<&CElemLine::gf>, 1.0, {ParamTest::NotPositive}), "fG"),
    InitialCondition("vic", "V", "vic", MemberAt<&CElemLine::vic>),
    InitialCondition("iic", "A", "iic", MemberAt<&CElemLine::iic>),
};
constexpr uint8_t kOrderLine[] = {kT, kZ, kVic, kIic, kEndOfRows};
constexpr uint8_t kOrderLossy[] = {kTLossy, kZLossy, kR, kRf, kG, kGf, kVic, kIic, kEndOfRows};

}  // namespace

const CParamTable kLineParams = ParamTableOf(kRows);
const CModelInfo kModelsLine[] = {{"Line", ModelId::Line, kOrderLine, 0, 2, kReadVIP},
                                  {"Lossy", ModelId::Lossy, kOrderLossy, 0, 2, kReadVIP},
                                  {"SubCir", ModelId::SubCir, nullptr, 0, 0},
                                  {}};

bool CElemLine::Simulate(CSolverPort* calc, int phase, double now) {
    switch (phase) {
        case PhaseInit: return Init(calc);
        case PhaseReset:
            memory.Clear();
            cornersA.Clear();
            cornersB.Clear();
            lossy.Free();
            return true;
        case PhaseStamp: return calc->StampPass() != 0 || Stamp(calc);
        case PhaseSources: Sources(calc, now); return true;
        case PhaseHistory: return History(calc, now);
        case PhasePins: {
            int* groups = PinGroups();
            groups[0] = groups[1] = 1;
            groups[2] = groups[3] = 2;
            return true;
        }
        default: return true;
    }
}

bool CElemLine::Init(CSolverPort* calc) {
    if (ModelChanged()) {
        memory.Clear();
        cornersA.Clear();
        cornersB.Clear();
        fresh = true;
    }
    if (Lossless()) {
        const double delay = t.m_Value, impedance = z.m_Value;
        mode = !(delay > 0.0) ? 3 : !(impedance > 0.0) ? 1 : std::isinf(impedance) ? 2 : std::isinf(delay) ? 4 : 0;
        if (lastModel == ModelId::None) {
            const std::string stored = KeyStr(StoredState(calc, this), "s");
            if (!stored.empty()) memory.Load(stored);
        }
        return true;
    }
    const CLossyLine::CParameters p{t.m_Value, z.m_Value, r.m_Value, g.m_Value, rf.m_Value, gf.m_Value};
    if (ModelChanged() || !(p == lossy.Parameters())) return lossy.Prepare(calc, this, p);
    return true;
}

bool CElemLine::Stamp(CSolverPort* calc) {
    if (Lossless() && mode != 0) return StampDegenerate(calc);
    const double conductance = 1.0 / z.m_Value;
    const bool dcForm = calc->Integrating() == 0 && (!Lossless() || fresh);
    if (dcForm) {
        StampInitialState(calc, conductance);
        fresh = false;
        return true;
    }
    StampWaveRows(calc, conductance);
    calc->MarkInputRow(firstBranch);
    calc->MarkInputRow(firstBranch + 1);
    if (calc->IsTransient() || calc->Integrating() == 0) return true;
    if (Lossless()) StampAcCoupling(calc, 1.0, calc->Omega() * t.m_Value);
    else LossyAcCoupling(calc);
    return true;
}

// Each port: the impedance, and twice the wave current from the other end.
void CElemLine::StampWaveRows(CSolverPort* calc, double gz) {
    const int A1 = nodes[0], A2 = nodes[1], B1 = nodes[2], B2 = nodes[3], a = firstBranch, b = firstBranch + 1;
    const int ports[2][3] = {{A1, A2, a}, {B1, B2, b}};
    for (const auto& port : ports) {
        const int p = port[0], m = port[1], w = port[2];
        calc->AddG(p, p, gz);
        calc->AddG(p, m, -gz);
        calc->AddG(p, w, -2.0);
        calc->AddG(m, p, -gz);
        calc->AddG(m, m, gz);
        calc->AddG(m, w, 2.0);
        calc->AddG(w, p, gz);
        calc->AddG(w, m, -gz);
        calc->AddG(w, w, -1.0);
    }
}

// The operating point: x[b] - x[a] is the current through the line; the
// rows of a and b say what the start is (vic, iic, or a line at rest).
void CElemLine::StampInitialState(CSolverPort* calc, double gz) {
    const int A1 = nodes[0], A2 = nodes[1], B1 = nodes[2], B2 = nodes[3], a = firstBranch, b = firstBranch + 1;
    calc->AddG(A1, a, -1.0);
    calc->AddG(A1, b, 1.0);
    calc->AddG(A2, a, 1.0);
    calc->AddG(A2, b, -1.0);
    calc->AddG(B1, b, -1.0);
    calc->AddG(B1, a, 1.0);
    calc->AddG(B2, b, 1.0);
    calc->AddG(B2, a, -1.0);
    const bool hasV = !std::isnan(vic.m_Value), hasI = !std::isnan(iic.m_Value);
    const auto sum = [&](int row, double sign, double right) {
        calc->AddG(row, a, 1.0);
        calc->AddG(row, b, sign);
        calc->SetB(row, -right);
    };
    const auto sameVoltage = [&](int row) {
        calc->AddG(row, A1, 1.0);
        calc->AddG(row, A2, -1.0);
        calc->AddG(row, B1, -1.0);
        calc->AddG(row, B2, 1.0);
    };
    if (hasV && hasI) {
        sum(a, 1.0, gz * vic.m_Value);
        sum(b, -1.0, iic.m_Value);
    } else if (hasV) {
        sameVoltage(a);
        sum(b, 1.0, gz * vic.m_Value);
    } else if (hasI) {
        sum(a, 1.0, 0.0);
        sum(b, -1.0, iic.m_Value);
    } else {
        sameVoltage(a);
        calc->AddG(b, A1, gz);
        calc->AddG(b, A2, -gz);
        calc->AddG(b, b, -2.0);
    }
}

bool CElemLine::StampDegenerate(CSolverPort* calc) {
    const int A1 = nodes[0], A2 = nodes[1], B1 = nodes[2], B2 = nodes[3], a = firstBranch, b = firstBranch + 1;
    switch (mode) {
        case 1:
            return (calc->StampVoltage(A1, A2, a, 0.0) && calc->StampVoltage(B1, B2, b, 0.0)) ||
                   calc->CmpError(this, nullptr);
        case 2:
            calc->SetG(a, a, 1.0);
            calc->SetG(b, b, 1.0);
            return true;
        case 3:
            if (!calc->StampVCVS(A1, A2, B1, B2, a, 1.0)) return calc->CmpError(this, nullptr);
            calc->StampCCCS(B1, B2, b, a, -1.0);
            return true;
        default:
            calc->SetG(a, a, 1.0);
            calc->SetG(b, b, 1.0);
            return (calc->StampResistor(A1, A2, z.m_Value) && calc->StampResistor(B1, B2, z.m_Value)) ||
                   calc->CmpError(this, nullptr);
    }
}

// In AC the waves cross the line with this decay and phase.
void CElemLine::StampAcCoupling(CSolverPort* calc, double decay, double phase) {
    const int a = firstBranch, b = firstBranch + 1;
    calc->SetG(a, b, -decay * std::cos(phase));
    calc->SetG(b, a, -decay * std::cos(phase));
    calc->SetC(a, b, decay * std::sin(phase));
    calc->SetC(b, a, decay * std::sin(phase));
}

void CElemLine::LossyAcCoupling(CSolverPort* calc) {
    const double w = calc->Omega(), impedance = z.m_Value;
    double x1 = r.m_Value * 1e9 / impedance;
    if (std::isfinite(rf.m_Value)) x1 *= std::sqrt(std::fabs(w / rf.m_Value / 1e6 * 0.5 / kPi) + 1.0);
    double x6 = g.m_Value * 1e9 * impedance;
    if (std::isfinite(gf.m_Value)) {
        const double q = w / gf.m_Value / 1e6 * 0.5 / kPi;
        x6 *= std::sqrt(q * q + 1.0);
    }
    const auto angle = [](double y, double x) { return y == 0.0 && x == 0.0 ? 0.0 : std::atan2(y, x); };
    const double phi = (angle(w, x1) + angle(w, x6)) * 0.5;
    const double m = std::sqrt(std::sqrt((x6 * x6 + w * w) * (x1 * x1 + w * w))) * t.m_Value;
    const double d = -m * std::cos(phi);
    StampAcCoupling(calc, d < -100.0 ? 0.0 : std::exp(d), m * std::sin(phi));
}

void CElemLine::Sources(CSolverPort* calc, double now) {
    if (calc->Integrating() == 0 && (!Lossless() || mode != 0)) return;
    const int a = firstBranch, b = firstBranch + 1;
    if (Lossless()) {
        if (mode != 0) return;
        double pa = 0.0, pb = 0.0;
        memory.Get(now - t.m_Value, &pa, &pb);
        calc->SetSource(a, pb);
        calc->SetSource(b, pa);
        return;
    }
    if (!(now > 0.0)) return;
    calc->SetSource(a, lossy.BackwardAtA());
    calc->SetSource(b, lossy.ForwardAtB());
}

bool CElemLine::History(CSolverPort* calc, double now) {
    const double xa = calc->X(firstBranch), xb = calc->X(firstBranch + 1);
    if (!Lossless()) {
        lossy.Step(now, xa, xb);
        return true;
    }
    if (mode != 0) return true;
    if (cornersA.Add(now, xa)) calc->AskBreak(cornersA.Latest() + t.m_Value);
    if (cornersB.Add(now, xb)) calc->AskBreak(cornersB.Latest() + t.m_Value);
    return memory.Add(now, xa, xb) || AddCmpError(calc, "No enough memory");
}

// A corner of a wave arrives at the other port one delay later.
void CElemLine::NextEvent(CSolverPort* calc, double now, double* tNext, double* stepMax, double* stepMin) {
    if (!Lossless() || mode != 0) return;
    for (CCornerQueue* corners : {&cornersA, &cornersB}) {
        const double arrival = corners->NextArrival(now, t.m_Value);
        if (!std::isnan(arrival) && (std::isnan(*tNext) || arrival < *tNext)) *tNext = arrival;
    }
}

std::string CElemLine::GetState() {
    std::string text;
    if (Lossless()) AddKeyStr(text, "s", memory.Text());
    return text;
}

}  // namespace qz3
