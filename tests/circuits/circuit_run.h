// Helpers for circuit tests that run a transient analysis through the C
// interface: open a file, start the run (or skip while this build has no
// transient run or one of the circuit's types is still a stand-in), and read
// recorded traces back as plain series.
#ifndef QZ3_TESTS_CIRCUITS_CIRCUIT_RUN_H
#define QZ3_TESTS_CIRCUITS_CIRCUIT_RUN_H

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "qz3.h"

namespace qz3test {

inline std::string TestCircuit(const char* file) { return std::string(QZ3_TEST_DATA_DIR) + "/circuits/" + file; }
inline std::string Example(const char* file) { return std::string(QZ3_SOURCE_DIR) + "/examples/" + file; }

// A failure whose text says that a part of the engine is missing from this
// build, not that the circuit is wrong.
inline bool NotInThisBuild(const std::string& error) {
    return error.find("not available in this build") != std::string::npos;
}

// Skips the calling test when the run can't exist in this build.
#define QZ3_SKIP_IF_MISSING(error) \
    if (qz3test::NotInThisBuild(error)) GTEST_SKIP() << (error)

#define QZ3_START_OR_SKIP(circuit)                                  \
    do {                                                            \
        const int started_ = QZ3_Start((circuit).ncir);             \
        const std::string error_ = QZ3_GetError();                  \
        QZ3_SKIP_IF_MISSING(error_);                                \
        ASSERT_EQ(started_, 0) << error_;                           \
        ASSERT_EQ(error_, "OK");                                    \
    } while (0)

struct Series {
    std::vector<double> t;
    std::vector<double> y;
    size_t size() const { return t.size(); }
};

// One open schematic, closed when the test ends.
class Circuit {
public:
    explicit Circuit(const std::string& path) : ncir(QZ3_Open(path.c_str())) {
        EXPECT_GE(ncir, 0) << path << ": " << QZ3_GetError();
    }
    ~Circuit() {
        if (ncir >= 0) QZ3_Close(ncir);
    }
    Circuit(const Circuit&) = delete;
    Circuit& operator=(const Circuit&) = delete;

    int Trace(const char* name) const {
        const int handle = QZ3_GetTrace(ncir, name);
        EXPECT_GE(handle, 0) << name << ": " << QZ3_GetError();
        return handle;
    }

    Series Read(const char* name) const {
        Series s;
        const int trace = Trace(name);
        const int count = QZ3_GetDataSize(ncir, trace);
        EXPECT_GE(count, 0) << QZ3_GetError();
        for (int i = 0; i < count; ++i) {
            double t = NAN, y = NAN;
            if (QZ3_GetDataAt(ncir, trace, i, &t, &y) != 0) {
                ADD_FAILURE() << name << " point " << i << ": " << QZ3_GetError();
                break;
            }
            s.t.push_back(t);
            s.y.push_back(y);
        }
        return s;
    }

    double Last(const char* name, double* time = nullptr) const {
        double t = NAN, y = NAN;
        EXPECT_EQ(QZ3_GetLastData(ncir, Trace(name), &t, &y), 0) << QZ3_GetError();
        if (time) *time = t;
        return y;
    }

    double At(const char* name, double t) const {
        double y = NAN;
        EXPECT_EQ(QZ3_GetData(ncir, Trace(name), t, &y), 0) << name << " at " << t << ": " << QZ3_GetError();
        return y;
    }

    // A trace by its handle, read at t.
    double ValueAt(int trace, double t) const {
        double y = NAN;
        EXPECT_EQ(QZ3_GetData(ncir, trace, t, &y), 0) << "trace " << trace << " at " << t << ": " << QZ3_GetError();
        return y;
    }

    // Runs on to exactly t_end, reporting the engine's text on failure.
    bool RunTo(double tEnd) const {
        double now = 0;
        QZ3_GetSimulationTime(ncir, &now);
        const int rc = QZ3_SimulateInterval(ncir, tEnd - now);
        EXPECT_EQ(rc, 0) << "to t=" << tEnd << ": " << QZ3_GetError();
        return rc == 0;
    }

    int ncir = -1;
};

// Times at which the series crosses zero, by linear interpolation between
// neighbouring points; rising (+1) or falling (-1) crossings only.
inline std::vector<double> ZeroCrossings(const Series& s, int direction) {
    std::vector<double> times;
    for (size_t i = 1; i < s.size(); ++i) {
        const double a = s.y[i - 1], b = s.y[i];
        const bool crosses = direction > 0 ? (a < 0 && b >= 0) : (a > 0 && b <= 0);
        if (crosses && s.t[i] > s.t[i - 1]) times.push_back(s.t[i - 1] + (s.t[i] - s.t[i - 1]) * a / (a - b));
    }
    return times;
}

// Mean over [from, to] by the trapezoidal rule on the recorded points.
inline double MeanOver(const Series& s, double from, double to) {
    double area = 0;
    for (size_t i = 1; i < s.size(); ++i) {
        const double t0 = std::max(s.t[i - 1], from), t1 = std::min(s.t[i], to);
        if (t1 <= t0 || s.t[i] <= s.t[i - 1]) continue;
        auto at = [&](double t) { return s.y[i - 1] + (s.y[i] - s.y[i - 1]) * (t - s.t[i - 1]) / (s.t[i] - s.t[i - 1]); };
        area += 0.5 * (at(t0) + at(t1)) * (t1 - t0);
    }
    return area / (to - from);
}

// Root of f on [lo, hi] by bisection; f(lo) and f(hi) differ in sign.
template <class F>
double Bisect(F f, double lo, double hi) {
    const bool rising = f(lo) < 0;
    for (int i = 0; i < 200; ++i) {
        const double mid = 0.5 * (lo + hi);
        if ((f(mid) < 0) == rising) lo = mid;
        else hi = mid;
    }
    return 0.5 * (lo + hi);
}

}  // namespace qz3test

#endif
