// The function blocks' models: the value at the inputs, and the
// small-signal gains of AC at the operating point.
#include <algorithm>
#include <cmath>

#include "base/constants.h"
#include "components/calc_link.h"
#include "components/elem_f.h"
#include "components/solver_port.h"
#include "expr/eval_expr.h"
#include "expr/number_text.h"

namespace qz3 {

namespace {

double WithSign(double magnitude, double x) { return x < 0.0 ? -magnitude : magnitude; }

}  // namespace

// The exponent is a parameter for one input; the second input otherwise.
bool CElemF::HasFixedExponent() const { return m_Inputs < 2; }

double CElemF::Power(double x, double e) const {
    if (x == 0.0) return 0.0;
    if (e == 0.0) return x < 0.0 ? -1.0 : 1.0;
    if (e == 1.0) return x;
    if (e == 0.5) return WithSign(std::sqrt(std::fabs(x)), x);
    return WithSign(std::pow(std::fabs(x), e), x);
}

double CElemF::Logic(const CSolverPort* calc, bool above) const {
    double low = 0.0, high = 5.0, threshold = 2.5;
    DocLogicLevels(calc->Doc(), low, high, threshold);
    return above ? high : low;
}

// The first input is the highest bit; in two's complement its weight is
// negative.
double CElemF::Bus(const CSolverPort* calc) const {
    double value = 0.0, weight = 1.0;
    for (int i = m_Inputs - 1; i >= 0; --i, weight *= 2.0) {
        if (!(Input(calc, i) > calc->LogicThreshold())) continue;
        value += (i == 0 && m_Format.Index == 1) ? -weight : weight;
    }
    return value;
}

bool CElemF::FunctionValue(CSolverPort* calc, double t, double& out) {
    if (m_InputValue.size() != static_cast<size_t>(m_Inputs)) return AddCmpError(calc, "formula not prepared");
    m_Vars[0].Value->SetDouble(t);
    for (int i = 0; i < m_Inputs; ++i) m_InputValue[static_cast<size_t>(i)]->SetDouble(Input(calc, i));
    double value = 0.0;
    if (!EvalExpr(m_Func, &value, calc->Doc(), &m_Vars, owner, true)) return AddCmpError(calc, ExprError());
    out = value;
    return true;
}

bool CElemF::Evaluate(CSolverPort* calc, double t) {
    const double x = Input(calc, 0), y = Input(calc, 1), k = m_K.m_Value;
    double out = 0.0;
    switch (model) {
        case ModelId::Function:
            if (!FunctionValue(calc, t, out)) return false;
            break;
        case ModelId::Pwr: out = Power(x, HasFixedExponent() ? m_Pow.m_Value : y) * k; break;
        case ModelId::Abs: out = std::fabs(x) * k; break;
        case ModelId::Int: {
            const double r = m_Res.m_Value;
            out = r > 0.0 ? std::floor(x / r + 0.5) * r * k : x * k;
            break;
        }
        case ModelId::Lim: out = x >= m_Max.m_Value ? m_Max.m_Value : (m_Min.m_Value >= x ? m_Min.m_Value : x); break;
        case ModelId::Mul: out = x * y * k; break;
        case ModelId::Div: out = y == 0.0 ? 0.0 : x / y * k; break;
        case ModelId::Sum: out = (x + y) * k; break;
        case ModelId::Sub: out = (x - y) * k; break;
        case ModelId::Max: out = std::max(x, y) * k; break;
        case ModelId::Min: out = std::min(x, y) * k; break;
        case ModelId::Gt: out = Logic(calc, x > y); break;
        case ModelId::Lt: out = Logic(calc, y > x); break;
        case ModelId::Mag: out = std::sqrt(y * y + x * x) * k; break;
        case ModelId::Phase: out = x == 0.0 && y == 0.0 ? 0.0 : std::atan2(x, y) * 180.0 / kPi * k; break;
        case ModelId::Table: out = m_Points.Value(x, y); break;
        case ModelId::Bus: out = Bus(calc); break;
        default: break;
    }
    m_Out = out;
    return true;
}

bool CElemF::Linearize(CSolverPort* calc, double t) {
    std::fill(m_Gain.begin(), m_Gain.end(), 0.0);
    if (model == ModelId::Function) return FunctionGains(calc, t);
    GainsOfModel(calc);
    return true;
}

// Five-point derivative by each input in turn, the others held.
bool CElemF::FunctionGains(CSolverPort* calc, double t) {
    if (m_Func.empty() || m_InputValue.size() != static_cast<size_t>(m_Inputs)) return true;
    const double offsets[4] = {-0.02, -0.01, 0.01, 0.02};
    for (int i = 0; i < m_Inputs; ++i) {
        double f[4];
        for (int n = 0; n < 4; ++n) {
            m_Vars[0].Value->SetDouble(t);
            for (int j = 0; j < m_Inputs; ++j)
                m_InputValue[static_cast<size_t>(j)]->SetDouble(Input(calc, j) + (j == i ? offsets[n] : 0.0));
            if (!EvalExpr(m_Func, &f[n], calc->Doc(), &m_Vars, owner, true)) return AddCmpError(calc, ExprError());
        }
        m_Gain[static_cast<size_t>(i)] = ((f[2] - f[1]) * 8.0 + (f[0] - f[3])) / 12.0 / 0.01;
    }
    return true;
}

void CElemF::GainsOfModel(CSolverPort* calc) {
    if (m_Gain.empty()) return;
    const double x = Input(calc, 0), y = Input(calc, 1), k = m_K.m_Value;
    double* g = m_Gain.data();
    const bool two = m_Inputs >= 2;
    switch (model) {
        case ModelId::Pwr:
            if (x == 0.0) break;
            if (HasFixedExponent()) {
                g[0] = m_Pow.m_Value * std::pow(x, m_Pow.m_Value - 1.0) * k;
            } else {
                g[0] = y * std::pow(x, y - 1.0);
                if (two) g[1] = std::log(std::fabs(x)) * std::pow(x, y);
            }
            break;
        case ModelId::Abs: g[0] = x > 0.0 ? k : (x < 0.0 ? -k : 0.0); break;
        case ModelId::Int: g[0] = k; break;
        case ModelId::Lim: g[0] = x < m_Max.m_Value && x > m_Min.m_Value ? 1.0 : 0.0; break;
        case ModelId::Mul:
            g[0] = y * k;
            if (two) g[1] = x * k;
            break;
        case ModelId::Div:
            if (y == 0.0) break;
            g[0] = k / y;
            if (two) g[1] = -k * x / (y * y);
            break;
        case ModelId::Sum:
            g[0] = k;
            if (two) g[1] = k;
            break;
        case ModelId::Sub:
            g[0] = k;
            if (two) g[1] = -k;
            break;
        case ModelId::Table: {
            double dx = 0.0, dy = 0.0;
            m_Points.Slopes(x, y, dx, dy);
            g[0] = dx;
            if (two) g[1] = dy;
            break;
        }
        default: break;
    }
}

}  // namespace qz3
