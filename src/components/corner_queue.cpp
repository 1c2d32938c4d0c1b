#include "components/corner_queue.h"

#include <cmath>
#include <limits>

#include "base/number_format.h"

namespace qz3 {

void CCornerQueue::Clear() {
    m_Corners.clear();
    m_Seen = 0;
}

bool CCornerQueue::Add(double t, double v) {
    bool added = false;
    if (m_Seen >= 2) {
        const double dt0 = m_T[1] - m_T[0], dt1 = t - m_T[1];
        if (dt0 > 0.0 && dt1 > 0.0) {
            const double s0 = (m_V[1] - m_V[0]) / dt0, s1 = (v - m_V[1]) / dt1;
            // A turn by half the steeper slope or more: the edges of a pulse
            // and the ends of a ramp, not the gentle bend of a sampled wave.
            if (std::fabs(s1 - s0) > 0.5 * std::fmax(std::fabs(s0), std::fabs(s1)))
                if (m_Corners.empty() || m_Corners.back() != m_T[1]) {
                    m_Corners.push_back(m_T[1]);
                    added = true;
                }
        }
    }
    if (m_Seen >= 1 && t == m_T[1]) {
        m_V[1] = v;  // a second point at one time: the step itself
        return added;
    }
    m_T[0] = m_T[1];
    m_V[0] = m_V[1];
    m_T[1] = t;
    m_V[1] = v;
    if (m_Seen < 2) ++m_Seen;
    return added;
}

double CCornerQueue::NextArrival(double now, double delay) {
    while (!m_Corners.empty()) {
        const double arrival = m_Corners.front() + delay;
        if (arrival > now && RealCompare(arrival, now) != 0) return arrival;
        m_Corners.pop_front();
    }
    return std::numeric_limits<double>::quiet_NaN();
}

}  // namespace qz3
