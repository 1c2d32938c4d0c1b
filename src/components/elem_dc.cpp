#include "components/elem_dc.h"

#include <cmath>

#include "components/solver_port.h"

namespace qz3 {

namespace {

enum CouplerRow : uint8_t { kZ0, kCf };

constexpr CParamRow kRows[] = {
    FormulaRow("z0", "Ohm", "z0", MemberAt<&CElemDC::z0>, 50.0, {ParamTest::Infinite}),
    FormulaRow("CF", "dB", "cf", MemberAt<&CElemDC::cf>, 20.0, {ParamTest::Infinite}),
};
constexpr uint8_t kOrder[] = {kZ0, kCf, kEndOfRows};

}  // namespace

const CParamTable kCouplerParams = ParamTableOf(kRows);
const CModelInfo kModelsCoupler[] = {{"Coupler", ModelId::Coupler, kOrder, 0, 3, kReadVIP}, {}};

bool CElemDC::Simulate(CSolverPort* calc, int phase, double t) {
    if (phase == PhasePins) {
        int* groups = PinGroups();
        groups[0] = groups[1] = 1;
        groups[2] = 2;
        groups[3] = 3;
        return true;
    }
    if (phase != PhaseStamp || calc->StampPass() != 0) return true;
    const int a = nodes[0], b = nodes[1], c = nodes[2], d = nodes[3], k = firstBranch;
    const double r = std::pow(10.0, -cf.m_Value / 20.0), z = z0.m_Value;
    calc->AddG(a, k, 1.0);
    calc->AddG(b, k, -1.0);
    calc->AddG(k, a, -1.0);
    calc->AddG(k, b, 1.0);
    calc->SetG(c, k + 1, 1.0);
    calc->SetG(d, k + 2, 1.0);
    calc->SetG(k + 1, a, r * 0.5);
    calc->SetG(k + 1, k, z * 0.5 * r);
    calc->SetG(k + 1, c, -1.0);
    calc->SetG(k + 2, a, r * 0.5);
    calc->SetG(k + 2, k, -z * 0.5 * r);
    calc->SetG(k + 2, d, -1.0);
    return true;
}

}  // namespace qz3
