// A progress bar on a terminal's stderr for long runs. It stays invisible
// during the first second, so quick runs print nothing, and it is never
// drawn when stderr is not a terminal, so logs and pipes stay clean. The
// clock is injected so that tests can drive it.
#pragma once

#include <chrono>
#include <cstdio>
#include <functional>
#include <string>

namespace qz3::cli {

class CProgressBar {
public:
    using Clock = std::function<double()>;  // seconds since some fixed start

    // `enabled` is the terminal test; the default clock is the steady clock.
    CProgressBar(std::FILE* out, bool enabled, Clock clock = {});
    ~CProgressBar();

    // fraction in [0, 1]; `status` is shown behind the bar ("t = 4.5 ms").
    void Update(double fraction, const std::string& status);
    // Erases the bar if it was shown.
    void Finish();

    bool Shown() const { return m_Shown; }
    // The line drawn for a fraction, without the leading carriage return.
    static std::string Line(double fraction, const std::string& status, int width = 40);
    // True when `stream` is a terminal.
    static bool IsTerminal(std::FILE* stream);

private:
    std::FILE* m_Out;
    bool m_Enabled;
    Clock m_Clock;
    double m_Start;
    double m_LastDraw = -1;
    bool m_Shown = false;
    size_t m_LastLength = 0;
};

}  // namespace qz3::cli
