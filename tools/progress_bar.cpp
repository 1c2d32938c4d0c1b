#include "progress_bar.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>

namespace qz3::cli {

namespace {

constexpr double kQuietSeconds = 1.0;
// Redrawing more often than this only costs terminal time.
constexpr double kRedrawSeconds = 0.1;

double SteadySeconds() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

}  // namespace

CProgressBar::CProgressBar(std::FILE* out, bool enabled, Clock clock)
    : m_Out(out), m_Enabled(enabled && out != nullptr), m_Clock(clock ? std::move(clock) : Clock(SteadySeconds)) {
    m_Start = m_Clock();
}

CProgressBar::~CProgressBar() { Finish(); }

std::string CProgressBar::Line(double fraction, const std::string& status, int width) {
    if (!(fraction >= 0)) fraction = 0;
    fraction = std::min(fraction, 1.0);
    int filled = static_cast<int>(std::floor(fraction * width + 1e-9));
    char percent[8];
    std::snprintf(percent, sizeof percent, "%3d%%", static_cast<int>(std::floor(fraction * 100 + 1e-9)));
    std::string line = "[" + std::string(filled, '#') + std::string(width - filled, '.') + "] " + percent;
    if (!status.empty()) line += "  " + status;
    return line;
}

void CProgressBar::Update(double fraction, const std::string& status) {
    if (!m_Enabled) return;
    double now = m_Clock();
    if (now - m_Start < kQuietSeconds) return;
    if (m_Shown && now - m_LastDraw < kRedrawSeconds && fraction < 1) return;
    std::string line = Line(fraction, status);
    // Blanks over the tail of a longer previous line.
    size_t length = line.size();
    if (length < m_LastLength) line += std::string(m_LastLength - length, ' ');
    std::fprintf(m_Out, "\r%s", line.c_str());
    std::fflush(m_Out);
    m_LastLength = length;
    m_LastDraw = now;
    m_Shown = true;
}

void CProgressBar::Finish() {
    if (!m_Shown) return;
    std::fprintf(m_Out, "\r%s\r", std::string(m_LastLength, ' ').c_str());
    std::fflush(m_Out);
    m_Shown = false;
}

bool CProgressBar::IsTerminal(std::FILE* stream) { return stream != nullptr && isatty(fileno(stream)) == 1; }

}  // namespace qz3::cli
