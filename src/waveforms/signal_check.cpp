// The parameter checks of the generators, one line per faulty parameter.
// A formula that failed gives "formula error"; otherwise the value tests run
// in order and the first fault ends the checks of that parameter.
#include <cmath>
#include <initializer_list>

#include "waveforms/signal.h"

namespace qz3 {

namespace {

enum Test { tInfinite, tInfiniteWord, tInfiniteBlank, tNegative, tNotPositive };

struct Checker {
    const std::string& name;
    std::string& out;
    bool ok = true;

    void Line(const std::string& text) {
        out += name + " : " + text + "\n";
        ok = false;
    }

    void Param(const CFormula& f, const std::string& label, std::initializer_list<Test> tests) {
        if (f.m_Error) {
            Line(label + " : formula error");
            return;
        }
        const double v = f.m_Value;
        for (Test test : tests) {
            if (Failed(test, v)) {
                Line(Text(test, label));
                return;
            }
        }
    }

    static bool Failed(Test test, double v) {
        switch (test) {
        case tNegative: return v < 0.0;
        case tNotPositive: return v <= 0.0;
        default: return std::isinf(v);
        }
    }

    static std::string Text(Test test, const std::string& label) {
        switch (test) {
        case tInfinite: return label + " : infinite";
        case tInfiniteWord: return label + " = infinite";
        case tInfiniteBlank: return label + " = infinite ";
        case tNegative: return label + " < 0";
        default: return label + " <= 0";
        }
    }
};

}  // namespace

bool CSignal::CheckLines(ModelId model, const std::string& fullName, char letter, std::string& out) const {
    Checker check{fullName, out};
    const std::string level(1, letter);
    auto levels = [&] {
        check.Param(m_U1, level + "1", {tInfinite});
        check.Param(m_U0, level + "0", {tInfinite});
    };
    auto pulseShape = [&] {
        check.Param(m_Width, "Width", {tNegative});
        check.Param(m_Rise, "Rise", {tInfiniteWord, tNegative});
        check.Param(m_Fall, "Fall", {tInfiniteWord, tNegative});
        check.Param(m_Delay, "Delay", {});
    };
    switch (model) {
    case ModelId::Single:
        levels();
        pulseShape();
        break;
    case ModelId::Pulse:
        levels();
        check.Param(m_Period, "Period", {tNotPositive});
        pulseShape();
        break;
    case ModelId::Step:
        levels();
        check.Param(m_Rise, "Rise", {tInfiniteWord, tNegative});
        check.Param(m_Delay, "Delay", {});
        break;
    case ModelId::Sin:
        levels();
        check.Param(m_Period, "Period", {tInfiniteWord, tNotPositive});
        check.Param(m_Delay, "Delay", {});
        check.Param(m_Phase, "Phase", {tInfiniteBlank});
        check.Param(m_Decay, "Decay", {tNegative, tInfiniteBlank});
        break;
    case ModelId::File:
    case ModelId::List:
    case ModelId::Trace:
        check.Param(m_Delay, "Delay", {});
        break;
    case ModelId::Clock:
        levels();
        check.Param(m_Period, "Period", {tNotPositive});
        check.Param(m_Delay, "Delay", {});
        check.Param(m_ClockStep, "Step", {tNegative});
        break;
    case ModelId::Sweep:
        levels();
        check.Param(m_Width, "Width", {tInfiniteWord, tNotPositive});
        check.Param(m_F0, "F0", {tInfiniteWord, tNegative});
        check.Param(m_F1, "F1", {tInfiniteWord, tNegative});
        check.Param(m_Delay, "Delay", {});
        break;
    default: break;
    }
    return check.ok;
}

}  // namespace qz3
