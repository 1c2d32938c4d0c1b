// The table generators: "List" and "File" (pairs of time and value) and
// "Trace" (the samples of a recorded trace).
//
// A table is searched from the pair of the last call, so a step costs one
// or two comparisons; NextEvent names the time of the next pair, so every
// break point of the table is a step of the solver.
#include <algorithm>
#include <cmath>

#include "waveforms/signal_wave.h"

namespace qz3 {

bool CSignalWave::TableHasExtent() const {
    return m_Count > 1 && TableTime(0) < TableTime(m_Count - 1);
}

// Brings a time at or past the end back into the table for "Cycle". The
// value follows the exact time: a step that lands a hair before the end of a
// turn still reads the end of the turn. For the next corner a time that meets
// the end within the tolerance is already the start of the next turn, so the
// corner named lies ahead and not on the present time.
double CSignalWave::WrapIntoTable(double y, TableCorner rule) const {
    const double first = TableTime(0), last = TableTime(m_Count - 1);
    double wrapped = std::fmod(y - first, last - first) + first;
    if (!(wrapped >= first)) wrapped = first;
    if (rule == TableCorner::Met && TimeReached(wrapped, last)) wrapped = first;
    return wrapped;
}

namespace {

// Whether y lies at or beyond a corner of the table, by the rule.
bool CornerPassed(double y, double corner, TableCorner rule) {
    return rule == TableCorner::Met ? TimeReached(y, corner) : corner <= y;
}

}  // namespace

// Moves m_Index to the pair whose segment holds y: forward until the next
// pair lies ahead (wrapping behind the last pair but one), then back until
// the pair itself isn't ahead. Both loops are bounded by the table length,
// which also keeps a table whose times go backward from looping.
void CSignalWave::SeekPair(double y, TableCorner rule) {
    const int lastStart = m_Count - 2;
    int i = (m_Index < 0 || m_Index > lastStart) ? 0 : m_Index;
    for (int moves = 0; moves <= m_Count && CornerPassed(y, TableTime(i + 1), rule); ++moves)
        i = i >= lastStart ? 0 : i + 1;
    while (i > 0 && !CornerPassed(y, TableTime(i), rule)) --i;
    m_Index = i;
}

void CSignalWave::StartTable(double x) {
    if (m_Count < 1) {
        m_Index = -2;
        return;
    }
    m_Index = 0;
    if (m_Count == 1) return;
    double y = x - m_Num.delay;
    if (y < TableTime(0) || !TableHasExtent()) return;
    if (TimeReached(y, TableTime(m_Count - 1))) {
        if (!m_Cycle) {
            m_Index = m_Count - 1;
            return;
        }
        y = WrapIntoTable(y, TableCorner::Exact);
    }
    int i = 0;
    while (i + 1 < m_Count && TableTime(i + 1) <= y) ++i;
    m_Index = i == m_Count - 1 ? i - 1 : i;
}

double CSignalWave::TableValue(double x) {
    if (m_Count < 1) {
        m_Index = -2;
        return 0.0;
    }
    const double d = m_Num.delay;
    if (m_Count == 1 || std::isinf(d) || !m_Running) {
        m_Index = -2;
        return TableY(0);
    }
    double y = x - d;
    if (!TimeReached(x, d) || !TimeReached(y, TableTime(0))) {
        m_Index = -1;
        return TableY(0);
    }
    if (!TableHasExtent()) {
        m_Index = -2;
        return TableY(m_Count - 1);
    }
    if (TimeReached(y, TableTime(m_Count - 1))) {
        if (!m_Cycle) {
            m_Index = -2;
            return TableY(m_Count - 1);
        }
        y = WrapIntoTable(y, TableCorner::Exact);
    }
    SeekPair(y, TableCorner::Exact);
    const double t0 = TableTime(m_Index), t1 = TableTime(m_Index + 1);
    const double v0 = TableY(m_Index), v1 = TableY(m_Index + 1);
    // Equal times (or times going backward) give the pair's own value.
    if (!(t1 > t0)) return v0;
    return v0 + (v1 - v0) * (y - t0) / (t1 - t0);
}

void CSignalWave::TableEvent(double t, double x, CSignalEvent& ev) {
    if (m_Count < 1) return;
    const double d = m_Num.delay;
    double y = x - d;
    const double first = TableTime(0);
    if (!TimeReached(y, first)) {
        ev.hasNext = true;
        ev.tNext = d + m_Shift + first;
        m_Index = -1;
        return;
    }
    if (!TimeReached(x, d)) {
        // A table that begins before 0 still jumps at the delay.
        ev.hasNext = true;
        ev.tNext = d + m_Shift;
        return;
    }
    const bool pastEnd = TimeReached(y, TableTime(m_Count - 1));
    if (!TableHasExtent() || (pastEnd && !m_Cycle)) {
        m_Index = -2;
        return;
    }
    if (pastEnd) y = WrapIntoTable(y, TableCorner::Met);
    SeekPair(y, TableCorner::Met);
    const double segmentStart = TableTime(m_Index), segmentEnd = TableTime(m_Index + 1);
    ev.hasNext = true;
    ev.tNext = t - y + segmentEnd;
    ev.hasMax = true;
    ev.stepMax = (segmentEnd - segmentStart) / 4.0;
}

void CSignalWave::StartTrace() {
    const int n = m_Samples ? m_Samples->SampleCount() : 0;
    if (n < 1) {
        m_First[0] = m_First[1] = m_Last[0] = m_Last[1] = 0.0;
        return;
    }
    m_First[0] = m_Samples->SampleTime(0);
    m_First[1] = m_Samples->SampleValue(0);
    m_Last[0] = m_Samples->SampleTime(n - 1);
    m_Last[1] = m_Samples->SampleValue(n - 1);
}

double CSignalWave::TraceValue(double x) const {
    const int n = m_Samples ? m_Samples->SampleCount() : 0;
    if (!m_Running || n < 1) return 0.0;
    double y = x - m_Num.delay;
    if (y <= m_First[0]) return m_First[1];
    const double span = m_Last[0] - m_First[0];
    if (m_Cycle && span > 0.0) {
        if (y > m_Last[0]) y = std::fmod(y - m_First[0], span) + m_First[0];
    } else if (y >= m_Last[0]) {
        return m_Last[1];
    }
    // The last sample at or before y, by halving.
    int lo = 0, hi = n - 1;
    while (lo < hi) {
        const int mid = (lo + hi + 1) / 2;
        if (m_Samples->SampleTime(mid) <= y) lo = mid;
        else hi = mid - 1;
    }
    const double t0 = m_Samples->SampleTime(lo), v0 = m_Samples->SampleValue(lo);
    if (lo == n - 1) return TimeReached(y, t0) && TimeReached(t0, y) ? v0 : std::nan("");
    const double t1 = m_Samples->SampleTime(lo + 1), v1 = m_Samples->SampleValue(lo + 1);
    if (!(t1 > t0)) return v0;
    return v0 + (v1 - v0) * (y - t0) / (t1 - t0);
}

}  // namespace qz3
