#include <cmath>

#include "solver/calc.h"

namespace qz3 {

namespace {

bool IsInfinite(double v) { return std::isinf(v); }

}  // namespace

bool CCalc::StampResistor(int a, int b, double R) {
    if (a == b) return true;
    if (R == 0.0) {
        SetError("Zero resistance");
        return false;
    }
    const double g = IsInfinite(R) ? 0.0 : 1.0 / R;
    EntryG(a, a) -= g;
    EntryG(a, b) += g;
    EntryG(b, a) += g;
    EntryG(b, b) -= g;
    return true;
}

// x_b - x_a = V; the branch current x_k leaves a and enters b.
void CCalc::StampBranchVoltage(int a, int b, int k, double v) {
    if (a == b && v == 0.0) return;
    EntryG(a, k) += 1;
    EntryG(b, k) -= 1;
    EntryG(k, a) -= 1;
    EntryG(k, b) += 1;
    VecB[k] = -v;
}

bool CCalc::StampVoltage(int a, int b, int k, double V) {
    if (a == b) {
        if (V == 0.0) return true;
        SetError("Short circuit");
        return false;
    }
    EntryG(a, k) -= 1.0;
    EntryG(b, k) += 1.0;
    EntryG(k, a) -= 1.0;
    EntryG(k, b) += 1.0;
    VecB[k] = -V;
    return true;
}

// x_k = I, entering a.
void CCalc::StampCurrent(int a, int b, int k, double I) {
    if (a != b) {
        EntryG(a, k) += 1.0;
        EntryG(b, k) -= 1.0;
    }
    EntryG(k, k) = 1.0;
    VecB[k] = -I;
}

// x_k = I, leaving a.
void CCalc::StampCurrentRev(int a, int b, int k, double I) {
    if (a != b) {
        EntryG(a, k) -= 1.0;
        EntryG(b, k) += 1.0;
    }
    EntryG(k, k) = 1.0;
    VecB[k] = -I;
}

void CCalc::StampSwitch(int a, int b, int k, bool on) {
    if (!on) {
        EntryG(k, k) = 1.0;
        RowOff[k] = 1;
        return;
    }
    AddLink(1, a, b, 0, 0.0);
    if (a == b) return;
    EntryG(a, k) += 1.0;
    EntryG(b, k) -= 1.0;
    EntryG(k, a) -= 1.0;
    EntryG(k, b) += 1.0;
    VecB[k] = -0.0;
}

// A resistance whose current is an unknown; 0 and infinity are exact, not limits.
void CCalc::StampResistorBranch(int a, int b, int k, double R) {
    if (a == b || IsInfinite(R)) {
        if (a != b) {
            EntryG(a, k) += 1.0;
            EntryG(b, k) -= 1.0;
        }
        EntryG(k, k) = 1.0;
        RowOff[k] = 1;
        return;
    }
    EntryG(a, k) += 1.0;
    EntryG(b, k) -= 1.0;
    if (R == 0.0) {
        EntryG(k, a) -= 1.0;
        EntryG(k, b) += 1.0;
        return;
    }
    EntryG(k, a) -= 1.0 / R;
    EntryG(k, b) += 1.0 / R;
    EntryG(k, k) = -1.0;
}

// An infinite gain is the ideal amplifier: the row forces x_c = x_d.
bool CCalc::StampVCVS(int a, int b, int c, int d, int k, double A) {
    if (IsInfinite(A)) {
        if (a != b) {
            EntryG(a, k) -= 1.0;
            EntryG(b, k) += 1.0;
        }
        if (c != d) {
            EntryG(k, c) += 1.0;
            EntryG(k, d) -= 1.0;
        }
        return true;
    }
    if (!StampVoltage(a, b, k, 0.0)) return false;
    if (c != d) {
        EntryG(k, c) += A;
        EntryG(k, d) -= A;
    }
    return true;
}

// j is the controlling current.
bool CCalc::StampCCVS(int a, int b, int k, int j, double r) {
    if (IsInfinite(r)) {
        if (a != b) {
            EntryG(a, k) -= 1.0;
            EntryG(b, k) += 1.0;
        }
        EntryG(k, j) -= 1.0;
        return true;
    }
    if (!StampVoltage(a, b, k, 0.0)) return false;
    EntryG(k, j) -= r;
    return true;
}

void CCalc::StampCCCS(int a, int b, int k, int j, double A) {
    if (a != b) {
        EntryG(a, k) -= 1.0;
        EntryG(b, k) += 1.0;
    }
    if (IsInfinite(A)) {
        EntryG(k, j) = -1.0;
        return;
    }
    EntryG(k, k) = 1.0;
    VecB[k] = -0.0;
    EntryG(k, j) -= A;
}

void CCalc::StampVCCS(int a, int b, int c, int d, int k, double A) {
    if (a != b) {
        EntryG(a, k) -= 1.0;
        EntryG(b, k) += 1.0;
    }
    if (IsInfinite(A)) {
        if (c != d) {
            EntryG(k, c) += 1.0;
            EntryG(k, d) -= 1.0;
        }
        return;
    }
    EntryG(k, k) = 1.0;
    VecB[k] = -0.0;
    if (c != d) {
        EntryG(k, c) += A;
        EntryG(k, d) -= A;
    }
}

// The leak of an open diode is what the switching search falls back on when a
// dead row leaves the states without a solution.
void CCalc::StampDiode(int a, int b, int k, bool on, double V, bool keepLeak) {
    if (on && !IsInfinite(V)) {
        AddLink(V == 0.0 ? 1 : 2, a, b, 0, V);
        if (a == b && V == 0.0) return;
        EntryG(a, k) += 1.0;
        EntryG(b, k) -= 1.0;
        EntryG(k, a) -= 1.0;
        EntryG(k, b) += 1.0;
        VecB[k] = -V;
        return;
    }
    EntryG(k, k) = 1.0;
    if (!keepLeak && !m_Leaky) {
        RowOff[k] = 1;
        return;
    }
    EntryG(k, a) += 10.0 * m_Zero;
    EntryG(k, b) -= 10.0 * m_Zero;
}

bool CCalc::SetOutput(int node, int k, bool fixed, double value) {
    if (node >= m_Size) {
        VecX[node] = value;
        return true;
    }
    if (fixed) {
        ClearRowOf(node, true, false);
        EntryG(node, node) = 1.0;
        VecB[node] = -value;
        AddLink(2, 0, node, 0, value);
        return true;
    }
    if (k != 0) {
        StampVoltage(0, node, k, 0.0);
        RowInput[k] = 1;
        AddLink(3, 0, node, k, 0.0);
        return true;
    }
    ClearRowOf(node, true, false);
    EntryG(node, node) = 1.0;
    VecB[node] = 0.0;
    RowInput[node] = 1;
    AddLink(3, 0, node, node, 0.0);
    return true;
}

void CCalc::ClearRow(int i) {
    if (i <= 0 || i >= m_Size) return;
    ClearRowOf(i, true, true);
    VecB[i] = 0.0;
}

// Zeros need no flags: the flags are marked from the values after the stamps.
void CCalc::ClearRowOf(int i, bool g, bool c) {
    if (IsLargeCircuit()) {
        for (CRowEntry& e : m_Rows.Row(i)) {
            if (g) e.g = 0.0;
            if (c) e.c = 0.0;
        }
        return;
    }
    for (int j = 0; j < m_Size; ++j) {
        if (g) MatrixG[i][j] = 0.0;
        if (c) MatrixC[i][j] = 0.0;
    }
}

void CCalc::SetSource(int i, double value) {
    if (i < m_Size)
        VecE[i] = -value;
    else
        VecX[i] = value;
}

void CCalc::SetLogicOutput(int i, int level) {
    const double v = level == 1 ? m_LogicHigh : m_LogicLow;
    if (i < m_Size)
        SetOutput(i, 0, true, v);
    else
        VecX[i] = v;
}

int CCalc::GetLogicInput(int i) const { return VecX[i] > m_LogicThr ? 1 : 0; }

// Two outputs on one node would fight; the first claim holds it.
bool CCalc::ClaimOutput(int node, CCmp* cmp, int pin) {
    if (node == 0) {
        const std::string text = "grounded output " + CmpPinName(cmp, pin);
        return CmpError(cmp, text.c_str());
    }
    CNodeDriver& driver = NodeDriver[node];
    if (!driver.cmp) {
        driver.cmp = cmp;
        driver.pin = pin;
        return true;
    }
    std::string text = "Short circuit: ";
    const std::string firstPin = CmpPinName(driver.cmp, driver.pin);
    if (!firstPin.empty()) text += firstPin + " of ";
    text += CmpFullName(driver.cmp) + ", ";
    const std::string secondPin = CmpPinName(cmp, pin);
    if (!secondPin.empty()) text += secondPin + " of ";
    text += CmpFullName(cmp);
    SetError(text);
    return false;
}

}  // namespace qz3
