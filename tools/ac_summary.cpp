#include "ac_summary.h"

#include <algorithm>
#include <cmath>

namespace qz3::cli {

namespace {

double Interpolate(double a, double b, double share) { return a + (b - a) * share; }

}  // namespace

double CrossingFrequency(const CFrequencyResponse& response, size_t i, double level) {
    const double m0 = response.magnitude[i - 1], m1 = response.magnitude[i];
    const double share = m0 == m1 ? 0.0 : (m0 - level) / (m0 - m1);
    const double f0 = response.f[i - 1], f1 = response.f[i];
    if (f0 > 0 && f1 > 0) return std::exp(Interpolate(std::log(f0), std::log(f1), share));
    return Interpolate(f0, f1, share);
}

CResponseSummary SummarizeResponse(const CFrequencyResponse& response) {
    CResponseSummary summary;
    const size_t n = response.f.size();
    if (n == 0) return summary;
    summary.firstGain = response.magnitude[0];
    summary.peak = response.magnitude[0];
    summary.peakFrequency = response.f[0];
    const double cornerLevel = summary.firstGain / std::sqrt(2.0);
    for (size_t i = 1; i < n; ++i) {
        const double m = response.magnitude[i];
        if (m > summary.peak) {
            summary.peak = m;
            summary.peakFrequency = response.f[i];
        }
        if (!summary.hasCorner && response.magnitude[i - 1] >= cornerLevel && m < cornerLevel) {
            summary.hasCorner = true;
            summary.corner = CrossingFrequency(response, i, cornerLevel);
        }
        if (!summary.hasMargin && response.magnitude[i - 1] >= 1.0 && m < 1.0) {
            summary.hasMargin = true;
            summary.crossover = CrossingFrequency(response, i, 1.0);
            const double p0 = response.phase[i - 1], p1 = response.phase[i];
            const double m0 = response.magnitude[i - 1];
            summary.phaseMargin = 180.0 + Interpolate(p0, p1, m0 == m ? 0.0 : (m0 - 1.0) / (m0 - m));
        }
    }
    return summary;
}

bool MeasureResponse(const CFrequencyResponse& response, const std::string& word, double& value) {
    value = std::nan("");
    const bool phase = word.rfind("phase.", 0) == 0;
    const std::string rest = phase ? word.substr(6) : word;
    const std::vector<double>& y = phase ? response.phase : response.magnitude;
    if (y.empty()) return rest == "left" || rest == "right" || rest == "delta" || rest == "min" || rest == "max" ||
                          rest == "pp" || rest == "slope";
    const double lo = *std::min_element(y.begin(), y.end()), hi = *std::max_element(y.begin(), y.end());
    if (rest == "left") value = y.front();
    else if (rest == "right") value = y.back();
    else if (rest == "delta") value = y.back() - y.front();
    else if (rest == "min") value = lo;
    else if (rest == "max") value = hi;
    else if (rest == "pp") value = hi - lo;
    else if (rest == "slope" && !phase) {
        const double a = y.front(), b = y.back(), f1 = response.f.front(), f2 = response.f.back();
        if (a > 1e-30 && b > 1e-30 && f1 > 1e-30 && f2 > 1e-30 && f1 != f2)
            value = 20.0 * std::log10(a / b) / std::log10(f1 / f2);
    } else {
        return false;
    }
    return true;
}

}  // namespace qz3::cli
