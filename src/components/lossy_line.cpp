#include "components/lossy_line.h"

#include <cmath>

#include "base/constants.h"
#include "components/cmp.h"
#include "components/solver_port.h"

namespace qz3 {

namespace {
constexpr int kMaxSections = 1 << 22;
}

void CLossyLine::Free() {
    m_Waves.clear();
    m_Stages.clear();
    m_GState1.clear();
    m_GState2.clear();
    m_Sections = 0;
    m_HasG = false;
}

bool CLossyLine::Prepare(CSolverPort* calc, const CCmp* cmp, const CParameters& p) {
    Free();
    m_P = p;
    if (!(p.t > 0.0)) return cmp->AddCmpError(calc, "t <= 0.0");
    m_Dt = calc->StepBase();
    if (!(m_Dt > 0.0)) return cmp->AddCmpError(calc, "step <= 0.0");
    const double sections = std::ceil(p.t / m_Dt);
    if (!(sections <= kMaxSections)) return cmp->AddCmpError(calc, "No enough memory");
    m_Sections = sections < 2 ? 2 : static_cast<int>(sections);
    m_Waves.assign(static_cast<size_t>(m_Sections), CWave{});
    m_Next = 0.0;
    m_RSec = p.r / (m_Sections - 1) * p.t * 1e9;
    m_GSec = p.g / (m_Sections - 1) * p.t * 1e9;
    m_RSum = m_RSec;
    m_K3Set = false;
    if (m_RSec > 0.0) PrepareSeries();
    else if (m_GSec > 0.0) PrepareShuntOnly();
    if (!m_K3Set) m_K3 = 1.0 / (m_K1 * m_K1 - 1.0);
    return true;
}

void CLossyLine::PrepareShuntOnly() {
    const double g = m_GSec * m_P.z0;
    m_K1 = 1.0 + g;
    m_K2 = 1.0 - g;
    if (m_P.fg > 0.0 && std::isfinite(m_P.fg)) {
        m_HasG = true;
        m_GState1.assign(static_cast<size_t>(m_Sections - 1), 0.0);
        const double p = (2.0 * m_Dt * kPi * m_P.fg * 1e6) / m_GSec;
        m_K1 += m_P.z0 / p;
        m_K2 -= m_P.z0 / p;
        m_GK = 1.0 / p;
    }
    m_K3 = 1.0 / (m_K1 * m_K1 - 1.0);
    m_K3Set = true;
}

// A loss that grows with the square root of frequency, as four first-order
// stages a decade apart.
void CLossyLine::PrepareSeries() {
    const int stages = m_P.fr > 0.0 && std::isfinite(m_P.fr) ? 4 : 0;
    const double root10 = std::sqrt(10.0);
    double r = m_RSec * (root10 - 1.0), t = ((m_RSec / 10.0) / m_P.fr) / 1e6;
    for (int s = 0; s < stages; ++s) {
        if (s > 0) {
            r *= root10;
            t /= root10;
        }
        if (!(m_Dt < t / r)) break;
        CStage stage;
        stage.t = t;
        stage.r = r;
        const double q = t / m_Dt, sum = q + r;
        stage.k = q * r / sum;
        stage.m = r / sum;
        m_RSum += stage.k;
        stage.state.assign(static_cast<size_t>(m_Sections - 1), 0.0);
        m_Stages.push_back(std::move(stage));
    }
    const double g = m_RSum * 0.5 * m_GSec;
    m_K1 = -m_RSum / m_P.z0 - 1.0 - g;
    m_K2 = 1.0 - m_RSum / m_P.z0 + g;
    if (m_GSec > 0.0 && m_P.fg > 0.0 && std::isfinite(m_P.fg)) {
        m_HasG = true;
        m_GState1.assign(static_cast<size_t>(m_Sections - 1), 0.0);
        m_GState2.assign(static_cast<size_t>(m_Sections - 1), 0.0);
        const double p = (2.0 * m_Dt * kPi * m_P.fg * 1e6) / m_GSec;
        const double d = m_RSum * 0.5;
        m_K1 -= d / p;
        m_K2 += d / p;
        m_GK = (d / m_P.z0) / p;
    }
}

void CLossyLine::Step(double t, double a, double b) {
    if (!(m_P.t > 0.0) || m_Sections == 0) return;
    if (t <= 0.0) {
        for (CWave& wave : m_Waves) wave = {a, b};
        return;
    }
    while (t >= m_Next) {
        double w = a;
        for (int i = 0; i + 1 < m_Sections; ++i) StepSection(i, w);
        m_Waves.back() = {w, b};
        m_Next += m_Dt;
    }
}

// One section: its forward wave takes w, its backward wave what comes back
// through the loss; w becomes what goes on to the next section.
void CLossyLine::StepSection(int i, double& w) {
    CWave& here = m_Waves[static_cast<size_t>(i)];
    const double p = here.forward, q = m_Waves[static_cast<size_t>(i) + 1].backward;
    const size_t j = static_cast<size_t>(i);
    here.forward = w;
    if (m_RSum > 0.0) {
        double S = 0.0;
        for (const CStage& stage : m_Stages) S += stage.state[j] * stage.k;
        const double u = S / m_P.z0, c = m_K2;
        double A = c * q - p + u, B = c * p - q - u;
        if (m_HasG) {
            B -= m_GK * m_GState1[j];
            A -= m_GK * m_GState2[j];
        }
        here.backward = (m_K1 * B - A) * m_K3;
        w = (m_K1 * A - B) * m_K3;
        if (m_HasG || !m_Stages.empty()) {
            const double w1 = (here.backward + p) * m_P.z0, w2 = (q + w) * m_P.z0;
            if (m_HasG) {
                m_GState1[j] = w1;
                m_GState2[j] = w2;
            }
            const double e = (w2 - w1 + S) / m_RSum;
            for (CStage& stage : m_Stages) stage.state[j] += (e - stage.state[j]) * stage.m;
        }
        return;
    }
    if (!(m_GSec > 0.0)) {
        here.backward = q;
        w = p;
        return;
    }
    double A = m_K2 * q + p, B = m_K2 * p + q;
    if (m_HasG) {
        A += m_GState1[j] * m_GK;
        B += m_GState1[j] * m_GK;
    }
    here.backward = (B * m_K1 - A) * m_K3;
    w = (A * m_K1 - B) * m_K3;
    if (m_HasG) m_GState1[j] = (q + w) * m_P.z0;
}

}  // namespace qz3
