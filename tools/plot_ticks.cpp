#include "plot_ticks.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "eng_number.h"

namespace qz3::cli {

namespace {

// More ticks than this on one axis means a broken range, not a plot.
constexpr int kMaxTicks = 64;

double NiceStep(double rough) {
    double magnitude = std::pow(10.0, std::floor(std::log10(rough)));
    double fraction = rough / magnitude;
    double nice = fraction <= 1 ? 1 : fraction <= 2 ? 2 : fraction <= 5 ? 5 : 10;
    return nice * magnitude;
}

const char* PrefixForPower(int power3) {
    static const char* const kLetters[] = {"f", "p", "n", "u", "m", "", "k", "M", "G", "T"};
    int index = power3 / 3 + 5;
    return index >= 0 && index <= 9 ? kLetters[index] : "";
}

}  // namespace

CAxisTicks NiceLinearTicks(double lo, double hi, int target) {
    if (!std::isfinite(lo) || !std::isfinite(hi)) lo = 0, hi = 1;
    if (lo > hi) std::swap(lo, hi);
    if (hi - lo <= std::max(std::fabs(lo), std::fabs(hi)) * 1e-12) {
        // A flat trace: show it in the middle of a small band.
        double pad = lo == 0 ? 1 : std::fabs(lo) * 0.1;
        lo -= pad;
        hi += pad;
    }
    target = std::clamp(target, 2, kMaxTicks / 2);
    double step = NiceStep((hi - lo) / target);
    CAxisTicks ticks;
    ticks.lo = std::floor(lo / step + 1e-9) * step;
    ticks.hi = std::ceil(hi / step - 1e-9) * step;
    for (int i = 0; i <= kMaxTicks; ++i) {
        double value = ticks.lo + i * step;
        if (value > ticks.hi + step * 1e-9) break;
        if (std::fabs(value) < step * 1e-9) value = 0;  // no "-1.2e-17" at the origin
        ticks.values.push_back(value);
    }
    return ticks;
}

CAxisTicks DecadeTicks(double lo, double hi) {
    if (!(lo > 0) || !(hi > 0) || !std::isfinite(lo) || !std::isfinite(hi)) lo = 1, hi = 10;
    if (lo > hi) std::swap(lo, hi);
    int first = static_cast<int>(std::floor(std::log10(lo) + 1e-9));
    int last = static_cast<int>(std::ceil(std::log10(hi) - 1e-9));
    if (last <= first) last = first + 1;
    last = std::min(last, first + kMaxTicks);
    CAxisTicks ticks;
    ticks.lo = std::pow(10.0, first);
    ticks.hi = std::pow(10.0, last);
    for (int power = first; power <= last; ++power) ticks.values.push_back(std::pow(10.0, power));
    return ticks;
}

CTickLabels LinearTickLabels(const CAxisTicks& ticks, const std::string& unit) {
    double largest = 0;
    for (double value : ticks.values) largest = std::max(largest, std::fabs(value));
    int power3 = 0;
    if (largest > 0) {
        int power = static_cast<int>(std::floor(std::log10(largest) + 1e-9));
        power3 = power >= 0 ? power / 3 * 3 : -((-power + 2) / 3 * 3);
        power3 = std::clamp(power3, -15, 12);
    }
    double scale = std::pow(10.0, power3);
    double step = ticks.values.size() > 1 ? (ticks.values[1] - ticks.values[0]) / scale : 1;
    int decimals = step > 0 ? std::clamp(static_cast<int>(std::ceil(-std::log10(step) - 1e-9)), 0, 6) : 0;
    CTickLabels out;
    for (double value : ticks.values) {
        char buffer[48];
        std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value / scale);
        out.labels.push_back(buffer);
    }
    out.unitText = std::string(PrefixForPower(power3)) + unit;
    return out;
}

CTickLabels DecadeTickLabels(const CAxisTicks& ticks, const std::string& unit) {
    CTickLabels out;
    for (double value : ticks.values) out.labels.push_back(FormatEngineering(value, 3));
    out.unitText = unit;
    return out;
}

}  // namespace qz3::cli
