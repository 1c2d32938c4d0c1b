#include "waveforms/pwl.h"

#include <cmath>

#include "base/list.h"
#include "expr/number_text.h"

namespace qz3 {

namespace {

const char kWrongNumber[] = "Wrong number of PWL parameters";

bool ParseItem(const std::string& item, double& value, std::string& error) {
    size_t first = 0, last = item.size();
    while (first < last && item[first] == ' ') ++first;
    while (last > first && item[last - 1] == ' ') --last;
    if (ParseDouble(std::string_view(item).substr(first, last - first), value)) return true;
    error = "PWL error: " + ExprError();
    return false;
}

}  // namespace

int& CPWL::Segment() { return m_Segment ? *m_Segment : m_LocalSegment; }

void CPWL::SetLabels(const char* x, const char* y, const char* slopeTitle, const char* curveTitle) {
    m_XLabel = x;
    m_YLabel = y;
    m_SlopeTitle = slopeTitle;
    m_CurveTitle = curveTitle;
}

void CPWL::Reset() {
    m_X.clear();
    m_Y.clear();
    m_Off.clear();
    m_Count = 0;
    m_First = 0;
    m_Last = 0;
    m_Prepared.clear();
}

bool CPWL::Prepare(std::string& error) {
    if (m_Text.empty()) {
        Reset();
        error = kWrongNumber;
        return false;
    }
    if (m_Text == m_Prepared) return true;
    Reset();
    m_Prepared = m_Text;
    Segment() = 0;

    TStringList list;
    list.Split(m_Text, ',');
    std::vector<std::string> items(list.begin(), list.end());
    if (items.size() % 2 == 0) {
        error = kWrongNumber;
        return false;
    }
    const int n = static_cast<int>(items.size() + 1) / 2;
    // A break at exactly 0 means the table is given whole; without one it
    // holds the positive half of an odd curve.
    bool hasZeroBreak = false;
    for (int k = 1; k < n && !hasZeroBreak; ++k) {
        double x = 0.0;
        if (!ParseItem(items[static_cast<size_t>(2 * k - 1)], x, error)) return false;
        hasZeroBreak = x == 0.0;
    }
    m_Count = hasZeroBreak ? n : 2 * n - 1;
    m_X.assign(static_cast<size_t>(m_Count), 0.0);
    m_Y.assign(static_cast<size_t>(m_Count), 0.0);
    if (!m_CurveTitle.empty()) m_Off.assign(static_cast<size_t>(m_Count), 0.0);
    if (!Fill(items, hasZeroBreak ? 0 : n - 1, error)) return false;
    if (!hasZeroBreak) Mirror(n);
    const int z = FirstIndexAtOrAboveZero();
    m_First = 1 - z;
    m_Last = m_Count - z;
    if (!m_CurveTitle.empty()) BuildOffsets(z);
    return true;
}

bool CPWL::Fill(const std::vector<std::string>& items, int b, std::string& error) {
    for (size_t item = 0; item < items.size(); ++item) {
        double v = 0.0;
        if (!ParseItem(items[item], v, error)) return false;
        const size_t k = static_cast<size_t>(b) + (item + 1) / 2;
        if (item % 2 == 1) {
            m_X[k] = v;
            continue;
        }
        if (!m_CurveTitle.empty()) {
            if (m_Invert) {
                if (v == 0.0) {
                    error = "Zero value not allowed";
                    return false;
                }
                v = 1.0 / v;
            } else if (std::isinf(v)) {
                error = "Infinite value not allowed";
                return false;
            }
        }
        m_Y[k] = v;
    }
    return true;
}

void CPWL::Mirror(int n) {
    for (int i = 0; i <= n - 2; ++i) {
        m_Y[static_cast<size_t>(i)] = m_Y[static_cast<size_t>(m_Count - 1 - i)];
        m_X[static_cast<size_t>(i + 1)] = -m_X[static_cast<size_t>(m_Count - 1 - i)];
    }
}

int CPWL::FirstIndexAtOrAboveZero() const {
    for (int i = 1; i < m_Count; ++i)
        if (m_X[static_cast<size_t>(i)] >= 0.0) return i;
    return m_Count;
}

// Intercepts such that the integrated curve is continuous and passes through
// the origin: segment i then reads y = m_Y[i] * v + m_Off[i].
void CPWL::BuildOffsets(int z) {
    auto X = [&](int i) { return m_X[static_cast<size_t>(i)]; };
    auto Y = [&](int i) { return m_Y[static_cast<size_t>(i)]; };
    auto Off = [&](int i) -> double& { return m_Off[static_cast<size_t>(i)]; };
    for (int i = 2; i < m_Count; ++i) Off(i) = (X(i) - X(i - 1)) * Y(i - 1) + Off(i - 1);
    const double c = z < m_Count ? X(z) * Y(z - 1) - Off(z) : X(z - 1) * Y(z - 1) - Off(z - 1);
    for (int i = 0; i < m_Count; ++i) Off(i) += c;
    if (m_Count > 1) {
        Off(0) = Off(1) - X(1) * Y(0);
        for (int i = 1; i < m_Count; ++i) Off(i) -= Y(i) * X(i);
    }
    Off(-m_First) = 0.0;
}

bool CPWL::CheckSegment(double v, bool commit) {
    int i = 1;
    while (i < m_Count && !(m_X[static_cast<size_t>(i)] > v)) ++i;
    const int s = m_First - 1 + i;
    int& current = Segment();
    if (s == current) return false;
    if (!commit) return true;
    // A move never crosses segment 0 in one step: from one side to the other
    // the first round lands in the segment through the origin.
    if (current < 0) current = s < 1 ? s : 0;
    else if (current == 0 || s >= 0) current = s;
    else current = 0;
    return true;
}

}  // namespace qz3
