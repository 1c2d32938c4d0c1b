// The corners of a signal that an element delays: each accepted point is
// looked at with the two before it, and where the slope turns (a step, the
// edge of a pulse, the end of a ramp) the point's time is kept. Its arrival,
// one delay later, is a time the run lands on, so a delayed pulse comes out
// as sharp as it went in.
#pragma once

#include <deque>

namespace qz3 {

class CCornerQueue {
public:
    void Clear();
    // One accepted point of the signal; true when it showed the point
    // before to be a corner (then Latest() is its time).
    bool Add(double t, double v);
    double Latest() const { return m_Corners.back(); }
    // The earliest arrival (corner + delay) after `now`, or NaN; arrivals
    // that have passed are dropped.
    double NextArrival(double now, double delay);

private:
    std::deque<double> m_Corners;
    double m_T[2] = {0.0, 0.0};
    double m_V[2] = {0.0, 0.0};
    int m_Seen = 0;
};

}  // namespace qz3
