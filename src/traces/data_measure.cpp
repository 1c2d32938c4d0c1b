#include "traces/data_measure.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "expr/eval_expr.h"
#include "expr/var_list.h"
#include "traces/data.h"

namespace qz3 {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

const char* const kWords[kMeasureCount] = {"left", "right", "delta", "min",    "max",   "pp",      "mean",
                                           "rms",  "acrms", "freq",  "period", "slope", "integral"};

bool SameWord(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

// Sums over a stretch of a transient run.
struct CSums {
    double min = kNaN, max = kNaN, area = 0.0, squares = 0.0;

    void Widen(double v) {
        if (std::isnan(v)) return;
        if (std::isnan(min) || v < min) min = v;
        if (std::isnan(max) || v > max) max = v;
    }
    // The segment from (ta, va) to (tb, vb): a step for digital values,
    // a straight line otherwise.
    void AddSegment(double ta, double va, double tb, double vb, bool digital) {
        const double dt = tb - ta;
        if (!(dt > 0.0)) return;
        if (digital) {
            area += va * dt;
            return;
        }
        area += (va + vb) / 2.0 * dt;
        squares += (va * va + vb * vb + va * vb) / 3.0 * dt;
    }
};

double PointValue(const CData& run, int index, double& t) {
    double v = 0.0;
    run.GetPoint(index, t, v, true);
    return v;
}

// The statistics of the points `from` to `to` of one block (place numbers),
// the whole of a full block cached in it.
void BlockStats(const CData& run, int block, int from, int to, bool digital, CSums& sums) {
    CDataBlock* b = run.m_Blocks[block];
    const bool whole = from == 0 && to == kBlockPoints - 1;
    if (whole && b->m_StatValid) {
        sums.Widen(b->m_StatMin);
        sums.Widen(b->m_StatMax);
        sums.area += b->m_Integral;
        sums.squares += b->m_IntegralSq;
        return;
    }
    CSums own;
    const int base = block * kBlockPoints;
    double ta = 0.0;
    double va = PointValue(run, base + from, ta);
    own.Widen(va);
    for (int p = from + 1; p <= to; ++p) {
        double tb = 0.0;
        const double vb = PointValue(run, base + p, tb);
        own.AddSegment(ta, va, tb, vb, digital);
        own.Widen(vb);
        ta = tb;
        va = vb;
    }
    if (whole) {
        b->m_StatMin = own.min;
        b->m_StatMax = own.max;
        b->m_Integral = own.area;
        b->m_IntegralSq = own.squares;
        b->m_StatValid = true;
    }
    sums.Widen(own.min);
    sums.Widen(own.max);
    sums.area += own.area;
    sums.squares += own.squares;
}

// Points first..last, block by block, with the segments between blocks.
void SumPoints(const CData& run, int first, int last, bool digital, CSums& sums) {
    for (int index = first; index <= last;) {
        const int block = index / kBlockPoints, place = index % kBlockPoints;
        const int end = std::min(last, block * kBlockPoints + kBlockPoints - 1);
        BlockStats(run, block, place, end % kBlockPoints, digital, sums);
        if (end < last) {
            double ta = 0.0, tb = 0.0;
            const double va = PointValue(run, end, ta), vb = PointValue(run, end + 1, tb);
            sums.AddSegment(ta, va, tb, vb, digital);
        }
        index = end + 1;
    }
}

// Rising and falling crossings of the mean: the period from the direction
// seen more often (rising on a tie).
void Crossings(const CData& run, int start, double t2, double mean, CMeasurement& out) {
    struct Direction {
        double first = 0.0, latest = 0.0;
        int count = -1;
        void Add(double t) {
            if (++count == 0) first = t;
            latest = t;
        }
    } rising, falling;
    double ta = 0.0;
    double da = PointValue(run, start, ta) - mean;
    for (int i = start + 1; i < run.Count(); ++i) {
        double tb = 0.0;
        const double db = PointValue(run, i, tb) - mean;
        if (tb > t2) break;
        if ((da >= 0.0) != (db >= 0.0)) {
            const double t = ta - (tb - ta) * da / (db - da);
            (db >= 0.0 ? rising : falling).Add(t);
        }
        ta = tb;
        da = db;
    }
    const Direction& d = falling.count > rising.count ? falling : rising;
    if (d.count < 1) return;
    out.value[kMeasurePeriod] = (d.latest - d.first) / d.count;
    if (out.value[kMeasurePeriod] > 0.0) out.value[kMeasureFreq] = 1.0 / out.value[kMeasurePeriod];
}

void MeasureTransient(const CData& run, double t1, double t2, CMeasurement& out, bool crossings) {
    const bool digital = run.m_Link && run.m_Link->mode != kTraceAnalog;
    double& left = out.value[kMeasureLeft];
    double& right = out.value[kMeasureRight];
    run.GetValueAt(t1, left, true);
    run.GetValueAt(t2, right, true);
    const int last = run.Count() - 1;
    if (last == 0) {
        double t = 0.0;
        const double v = PointValue(run, 0, t);
        out.value[kMeasureMin] = out.value[kMeasureMax] = out.value[kMeasureMean] = v;
        if (!digital) out.value[kMeasureRms] = out.value[kMeasureAcRms] = 0.0;
        return;
    }
    int i1 = run.FindIndex(t1);
    if (i1 >= last) return;
    int start = i1 + 1;
    double tStart = t1;
    if (i1 < 0) {
        start = 0;
        PointValue(run, 0, tStart);
    }
    int i2 = run.FindIndex(t2);
    if (i2 < 0) return;
    double tEnd = t2;
    if (i2 >= last) {
        i2 = last;
        PointValue(run, last, tEnd);
    }
    CSums sums;
    sums.Widen(left);
    sums.Widen(right);
    if (start <= i2) {
        // From the left cursor to the first point: a step holds the value of
        // the point before, a line starts from the value at the cursor.
        double tFirst = 0.0, tLast = 0.0, tBefore = 0.0;
        const double first = PointValue(run, start, tFirst);
        double atStart = i1 < 0 ? first : left;
        if (digital && start > 0) atStart = PointValue(run, start - 1, tBefore);
        sums.AddSegment(tStart, atStart, tFirst, first, digital);
        SumPoints(run, start, i2, digital, sums);
        const double lastValue = PointValue(run, i2, tLast);
        sums.AddSegment(tLast, lastValue, tEnd, i2 < last ? right : lastValue, digital);
    } else if (tEnd > tStart) {
        sums.AddSegment(tStart, left, tEnd, right, digital);
    } else {
        sums.area = (left + right) / 2.0;
        sums.squares = (left * left + right * right) / 2.0;
    }
    out.value[kMeasureMin] = sums.min;
    out.value[kMeasureMax] = sums.max;
    const double span = tEnd - tStart;
    out.value[kMeasureIntegral] = span > 0.0 ? sums.area : 0.0;
    if (span <= 0.0) return;
    const double mean = sums.area / span;
    out.value[kMeasureMean] = mean;
    if (!digital) {
        const double ms = sums.squares / span;
        out.value[kMeasureRms] = ms > 0.0 ? std::sqrt(ms) : 0.0;
        const double ac = ms - mean * mean;
        out.value[kMeasureAcRms] = ac > 0.0 ? std::sqrt(ac) : 0.0;
    }
    if (crossings) Crossings(run, start, tEnd, mean, out);
}

void MeasureAC(const CData& run, double f1, double f2, CMeasurement& out) {
    double dB = 0.0;
    run.GetACValueAt(f1, out.value[kMeasureLeft], dB, out.phase[kMeasureLeft]);
    run.GetACValueAt(f2, out.value[kMeasureRight], dB, out.phase[kMeasureRight]);
    CSums value, phase;
    const int i1 = std::max(run.FindIndex(f1), 0), i2 = run.FindIndex(f2);
    for (int i = i1; i <= i2 && i < run.Count(); ++i) {
        double f = 0.0, m = 0.0, p = 0.0;
        run.GetACPoint(i, f, m, p);
        if (f < f1 || f > f2) continue;
        value.Widen(m);
        phase.Widen(p);
    }
    value.Widen(out.value[kMeasureLeft]);
    value.Widen(out.value[kMeasureRight]);
    phase.Widen(out.phase[kMeasureLeft]);
    phase.Widen(out.phase[kMeasureRight]);
    out.value[kMeasureMin] = value.min;
    out.value[kMeasureMax] = value.max;
    out.phase[kMeasureMin] = phase.min;
    out.phase[kMeasureMax] = phase.max;
    const double a = out.value[kMeasureLeft], b = out.value[kMeasureRight];
    const bool magnitude = !run.m_Link || run.m_Link->acOut == kAcMagPhase;
    if (magnitude && a > 1e-30 && b > 1e-30 && f1 > 1e-30 && f2 > 1e-30 && f1 != f2)
        out.value[kMeasureSlope] = 20.0 * std::log10(a / b) / std::log10(f1 / f2);
}

// "delta" and "pp" from the entries they need, when both are there.
double Derived(const double* entries, int word) {
    const auto difference = [](double a, double b) { return std::isnan(a) || std::isnan(b) ? kNaN : a - b; };
    if (word == kMeasureDelta) return difference(entries[kMeasureRight], entries[kMeasureLeft]);
    if (word == kMeasurePp) return difference(entries[kMeasureMax], entries[kMeasureMin]);
    return entries[word];
}

}  // namespace

int MeasureWordIndex(std::string_view word) {
    for (int i = 0; i < kMeasureCount; ++i)
        if (SameWord(word, kWords[i])) return i;
    return -1;
}

void MeasureRun(const CData& run, double t1, double t2, CMeasurement& out, bool crossings) {
    static_assert(sizeof(CData::CMeasureMemo::value) == sizeof(out.value), "one entry per word");
    CData::CMeasureMemo& memo = run.m_Measured;
    double lastTime = 0.0, lastValue = 0.0;
    if (run.Count() > 0) run.GetPoint(run.Count() - 1, lastTime, lastValue, false);
    if (memo.count == run.Count() && memo.t1 == t1 && memo.t2 == t2 && memo.lastTime == lastTime &&
        (memo.crossings || !crossings)) {
        std::copy(std::begin(memo.value), std::end(memo.value), out.value);
        std::copy(std::begin(memo.phase), std::end(memo.phase), out.phase);
        return;
    }
    std::fill(std::begin(out.value), std::end(out.value), kNaN);
    std::fill(std::begin(out.phase), std::end(out.phase), kNaN);
    if (run.Count() > 0) {
        if (run.m_Width == 3) MeasureAC(run, t1, t2, out);
        else MeasureTransient(run, t1, t2, out, crossings);
    }
    memo.crossings = crossings;
    memo.t1 = t1;
    memo.t2 = t2;
    memo.count = run.Count();
    memo.lastTime = lastTime;
    std::copy(std::begin(out.value), std::end(out.value), memo.value);
    std::copy(std::begin(out.phase), std::end(out.phase), memo.phase);
}

bool MeasureText(const CData& run, std::string_view rest, double t1, double t2, double& value, bool& found) {
    found = false;
    bool phase = false;
    if (rest.size() >= 5 && SameWord(rest.substr(0, 5), "phase")) {
        phase = true;
        rest.remove_prefix(rest.size() > 5 ? 6 : 5);
    }
    if (rest.empty()) rest = "right";
    if (rest.front() == '(') {
        if (rest.size() < 2) return false;
        double x = 0.0;
        if (!EvalExpr(rest.substr(1, rest.size() - 2), &x, nullptr, nullptr, nullptr)) return false;
        double v = kNaN, dB = 0.0, p = kNaN;
        found = run.m_Width == 3 ? run.GetACValueAt(x, v, dB, p) : run.GetValueAt(x, v, true);
        value = phase ? p : v;
        return true;
    }
    const int word = MeasureWordIndex(rest);
    if (word < 0) return false;
    CMeasurement m;
    MeasureRun(run, t1, t2, m, word == kMeasureFreq || word == kMeasurePeriod);
    value = Derived(phase ? m.phase : m.value, word);
    found = !std::isnan(value);
    return true;
}

}  // namespace qz3
