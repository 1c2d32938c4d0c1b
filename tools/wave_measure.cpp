#include "wave_measure.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>

namespace qz3::cli {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

const char* const kWords[] = {"left", "right", "delta", "min", "max", "pp", "mean", "rms", "acrms", "freq",
                              "period", "integral"};

// The value at t by straight lines between points; NaN outside them.
double ValueAt(const CWaveform& wave, double t) {
    const size_t n = wave.x.size();
    if (n == 0 || t < wave.x.front() || t > wave.x.back()) return kNaN;
    const size_t i = static_cast<size_t>(std::upper_bound(wave.x.begin(), wave.x.end(), t) - wave.x.begin());
    if (i == 0) return wave.y.front();
    if (i >= n) return wave.y.back();
    const double t0 = wave.x[i - 1], t1 = wave.x[i];
    return t1 > t0 ? wave.y[i - 1] + (wave.y[i] - wave.y[i - 1]) * (t - t0) / (t1 - t0) : wave.y[i];
}

// The points between the cursors with the cursors' own values at the ends.
void Stretch(const CWaveform& wave, double from, double to, std::vector<double>& t, std::vector<double>& y) {
    from = std::max(from, wave.x.front());
    to = std::min(to, wave.x.back());
    if (!(to >= from)) return;
    t.push_back(from);
    y.push_back(ValueAt(wave, from));
    for (size_t i = 0; i < wave.x.size(); ++i) {
        if (wave.x[i] <= from || wave.x[i] >= to) continue;
        t.push_back(wave.x[i]);
        y.push_back(wave.y[i]);
    }
    t.push_back(to);
    y.push_back(ValueAt(wave, to));
}

double Period(const std::vector<double>& t, const std::vector<double>& y, double mean) {
    double first[2] = {0, 0}, latest[2] = {0, 0};
    int count[2] = {-1, -1};
    for (size_t i = 1; i < t.size(); ++i) {
        const double da = y[i - 1] - mean, db = y[i] - mean;
        if ((da >= 0) == (db >= 0)) continue;
        const int rising = db >= 0 ? 1 : 0;
        const double at = t[i - 1] - (t[i] - t[i - 1]) * da / (db - da);
        if (++count[rising] == 0) first[rising] = at;
        latest[rising] = at;
    }
    const int d = count[0] > count[1] ? 0 : 1;
    return count[d] < 1 ? kNaN : (latest[d] - first[d]) / count[d];
}

}  // namespace

bool ParseMeasure(const std::string& text, CMeasureRequest& out, std::string& error) {
    const size_t dot = text.rfind('.');
    if (dot == std::string::npos || dot == 0) {
        error = "--measure: expected TRACE.WORD, not '" + text + "'";
        return false;
    }
    out.trace = text.substr(0, dot);
    out.word = text.substr(dot + 1);
    std::transform(out.word.begin(), out.word.end(), out.word.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const char* word : kWords)
        if (out.word == word) return true;
    error = "--measure: unknown measurement '" + out.word + "'";
    return false;
}

double MeasureWave(const CWaveform& wave, const std::string& word, double from, double to) {
    if (wave.x.empty()) return kNaN;
    if (word == "left") return ValueAt(wave, from);
    if (word == "right") return ValueAt(wave, to);
    if (word == "delta") return ValueAt(wave, to) - ValueAt(wave, from);
    std::vector<double> t, y;
    Stretch(wave, from, to, t, y);
    if (t.empty()) return kNaN;
    const double lo = *std::min_element(y.begin(), y.end()), hi = *std::max_element(y.begin(), y.end());
    if (word == "min") return lo;
    if (word == "max") return hi;
    if (word == "pp") return hi - lo;
    double area = 0, squares = 0;
    for (size_t i = 1; i < t.size(); ++i) {
        const double dt = t[i] - t[i - 1], a = y[i - 1], b = y[i];
        area += (a + b) / 2 * dt;
        squares += (a * a + b * b + a * b) / 3 * dt;
    }
    const double span = t.back() - t.front();
    if (word == "integral") return area;
    if (!(span > 0)) return kNaN;
    const double mean = area / span, ms = squares / span;
    if (word == "mean") return mean;
    if (word == "rms") return ms > 0 ? std::sqrt(ms) : 0.0;
    if (word == "acrms") return ms - mean * mean > 0 ? std::sqrt(ms - mean * mean) : 0.0;
    const double period = Period(t, y, mean);
    if (word == "period") return period;
    return period > 0 ? 1.0 / period : kNaN;  // "freq"
}

}  // namespace qz3::cli
