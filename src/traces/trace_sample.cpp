// What a trace records at one accepted time or frequency point. This runs
// for every trace at every step, so it reads the solver's vectors through
// indices fixed at binding and looks nothing up by name.
#include <cmath>
#include <limits>

#include "components/cmp.h"
#include "base/constants.h"
#include "solver/run_document.h"
#include "xml/settings.h"
#include "expr/eval_expr.h"
#include "expr/number_text.h"
#include "solver/calc.h"
#include "traces/trace.h"
#include "traces/traces.h"
#include "traces/trace_set.h"

namespace qz3 {

namespace {

constexpr double kDegrees = 57.295779513260925;

struct CPhasor {
    double re = 0.0;
    double im = 0.0;
    double Magnitude() const { return std::hypot(re, im); }
    double Degrees() const { return re == 0.0 && im == 0.0 ? 0.0 : std::atan2(im, re) * kDegrees; }
};

CPhasor Div(const CPhasor& a, const CPhasor& b) {
    double d = b.re * b.re + b.im * b.im;
    return {(a.re * b.re + a.im * b.im) / d, (a.im * b.re - a.re * b.im) / d};
}

}  // namespace

void CTrace::EnsureVars() {
    if (m_Vars.Count() > 0) return;
    // The first entry is the x of trace references: time, or frequency.
    if (m_bTran)
        m_Vars.Add("t", vtDouble, 0);
    else
        m_Vars.AddAcDefaults();
}

// A failed evaluation stores nothing; a message that begins with "_" only
// says that a trace used has no data yet, and the run goes on.
bool CTrace::EvalFunction(CCalc& calc, double x, CValue& out) {
    EnsureVars();
    if (m_bTran) {
        m_Vars[0].Value->SetDouble(x);
    } else {
        m_Vars[0].Value->SetDouble(x);
        m_Vars[1].Value->SetDouble(kTwoPi * x);
        m_Vars[2].Value->SetComplex(0.0, kTwoPi * x);
        m_Vars[3].Value->SetComplex(0.0, kTwoPi * x);
    }
    if (m_Variable) {
        out = *m_Variable;
        return true;
    }
    double result = 0.0;
    CDoc* doc = m_Traces && m_Traces->m_Set ? m_Traces->m_Set->m_Doc : nullptr;
    if (EvalExpr(m_Compiled, &result, doc, &m_Vars, nullptr, true, m_Traces, &out, !m_bTran, true)) return true;
    const std::string& message = ExprError();
    if (!message.empty() && message[0] == '_') return false;
    calc.TraceError(this, message.c_str());
    return false;
}

// False when nothing is to be stored at this point.
bool CTrace::ValueTran(CCalc& calc, double t, double& value) {
    const double* x = calc.VecX;
    if (m_Cmp) {
        if (m_Type == kTraceS) {
            value = m_Cmp->state;
        } else {
            double second = 0.0;
            m_Cmp->GetTraceValue(&calc, m_Type, &value, &second);
        }
        return true;
    }
    bool nodes = m_NodeP >= 0 && m_NodeM >= 0 && x;
    switch (m_Type) {
        case kTraceV:
            if (!nodes) return false;
            value = x[m_NodeP] - x[m_NodeM];
            return true;
        case kTraceI:
            if (m_Branch > 0 && x) {
                value = x[m_Branch];
                return true;
            }
            if (!nodes || m_Resistance == 0.0) return false;
            value = (x[m_NodeP] - x[m_NodeM]) / m_Resistance;
            return true;
        case kTraceP: {
            if (!nodes) return false;
            double u = x[m_NodeP] - x[m_NodeM];
            if (m_Branch > 0) {
                value = u * x[m_Branch];
                return true;
            }
            if (m_Resistance == 0.0) return false;
            value = u / m_Resistance * u;
            return true;
        }
        case kTraceVar:
            if (!m_Variable) return false;
            value = m_Variable->AsDouble();
            return true;
        case kTraceFunction: {
            // A resumed or repeated time never goes back into a run.
            if (m_Run->m_Last && RealCompare(m_Run->m_Last[0], t) > 0) return false;
            CValue result;
            if (!EvalFunction(calc, t, result)) return false;
            value = result.AsDouble();
            return true;
        }
        default:
            return false;
    }
}

bool CTrace::StorePoint(double t, double value, bool hold) {
    if ((hold || m_ReplaceFirst) && m_Run->ReplaceFirstPoint(t, value)) {
        m_ReplaceFirst = false;
        return true;
    }
    return m_Run->AddPoint(t, value) != 0;
}

bool CTrace::SampleTran(CCalc& calc, double t, bool hold) {
    if (!m_Run) return true;
    double value = 0.0;
    size_t errorLength = calc.m_Error.size();
    if (!ValueTran(calc, t, value)) return calc.m_Error.size() == errorLength;
    ++m_Points;
    if (!StorePoint(t, value, hold) && m_Traces && m_Traces->m_Set) m_Traces->m_Set->m_Overrun = true;
    return true;
}

// ---- AC ------------------------------------------------------------------

bool CTrace::ValueAC(CCalc& calc, const double* re, const double* im, double& magnitude, double& phase) {
    magnitude = 0.0;
    phase = 0.0;
    auto at = [&](int i) { return CPhasor{re[i], im[i]}; };
    if (m_Cmp) {
        CPhasor v;
        m_Cmp->GetTraceValue(&calc, m_Type, &v.re, &v.im);
        magnitude = v.Magnitude();
        phase = magnitude == 0.0 ? 0.0 : v.Degrees();
        return true;
    }
    bool nodes = m_NodeP >= 0 && m_NodeM >= 0;
    CPhasor u = nodes ? CPhasor{re[m_NodeP] - re[m_NodeM], im[m_NodeP] - im[m_NodeM]} : CPhasor{};
    CPhasor i;
    bool haveI = false;
    if (m_Branch > 0) {
        i = at(m_Branch);
        haveI = true;
    } else if (nodes && m_Resistance != 0.0) {
        i = {u.re / m_Resistance, u.im / m_Resistance};
        haveI = true;
    }
    switch (m_Type) {
        case kTraceV:
            if (!nodes) return false;
            magnitude = u.Magnitude();
            phase = u.Degrees();
            return true;
        case kTraceI:
            if (!haveI) return false;
            magnitude = i.Magnitude();
            phase = i.Degrees();
            return true;
        case kTraceP:
            if (!nodes || !haveI) return false;
            magnitude = u.Magnitude() * i.Magnitude();
            return true;
        case kTraceZ:
        case kTraceGamma:
        case kTraceVSWR: {
            CPhasor z = u;
            if (m_Branch > 0) {
                double mi = i.Magnitude();
                double angle = -i.Degrees() / kDegrees;
                z = mi < 1e-12 ? CPhasor{} : CPhasor{std::cos(angle) / mi, std::sin(angle) / mi};
            }
            if (m_Type == kTraceZ) {
                magnitude = z.Magnitude();
                phase = z.Degrees();
                return true;
            }
            const CAdvancedSettings* advanced =
                RunDocument(m_Traces && m_Traces->m_Set ? m_Traces->m_Set->m_Doc : nullptr).advanced;
            CPhasor z0 = advanced ? CPhasor{advanced->m_Z0Re, advanced->m_Z0Im} : CPhasor{50.0, 0.0};
            CPhasor sum{z.re + z0.re, z.im + z0.im};
            bool open = sum.re == 0.0 && sum.im == 0.0;
            CPhasor gamma = open ? CPhasor{} : Div(CPhasor{z.re - z0.re, z.im - z0.im}, sum);
            if (m_Type == kTraceGamma) {
                magnitude = gamma.Magnitude();
                phase = gamma.Degrees();
                return true;
            }
            double g = gamma.Magnitude();
            magnitude = open || g >= 1.0 ? std::numeric_limits<double>::infinity() : (1.0 + g) / (1.0 - g);
            return true;
        }
        case kTraceLoop: {
            if (!nodes) return false;
            CPhasor a = at(m_NodeM), b = at(m_NodeP);
            if (a.Magnitude() == 0.0) return true;
            if (b.Magnitude() == 0.0) {
                calc.TraceError(this, "Wrong AC source location for open loop trace");
                return false;
            }
            magnitude = a.Magnitude() / b.Magnitude();
            phase = (std::atan2(-a.im, -a.re) - std::atan2(b.im, b.re)) * kDegrees;
            return true;
        }
        default:
            return false;
    }
}

bool CTrace::SampleAC(CCalc& calc, double f, const double* re, const double* im) {
    if (!m_Run) return true;
    double magnitude = 0.0, phase = 0.0;
    size_t errorLength = calc.m_Error.size();
    bool stored = false;
    if (m_Type == kTraceFunction && !m_Cmp) {
        CValue result;
        stored = EvalFunction(calc, f, result);
        if (stored) {
            CPhasor v{result.IsComplex() ? result.Re() : result.AsDouble(), result.ImOrZero()};
            magnitude = v.Magnitude();
            phase = v.Degrees();
        }
    } else if (re && im) {
        stored = ValueAC(calc, re, im, magnitude, phase);
    }
    if (!stored) return calc.m_Error.size() == errorLength;
    // Phase is unwrapped from the second point on: a jump across +-180
    // continues the curve instead of folding it back.
    if (m_Points > 0) {
        if (m_PhaseLast > 90.0 && phase < -90.0) m_PhaseTurns += 360.0;
        if (m_PhaseLast < -90.0 && phase > 90.0) m_PhaseTurns -= 360.0;
    }
    m_PhaseLast = phase;
    ++m_Points;
    if (!m_Run->AddACPoint(f, magnitude, phase + m_PhaseTurns) && m_Traces && m_Traces->m_Set)
        m_Traces->m_Set->m_Overrun = true;
    return true;
}

}  // namespace qz3
