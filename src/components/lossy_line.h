// The numeric model of a lossy transmission line: a chain of N sections,
// each one step of the run long, that moves a forward and a backward wave
// by one section per update. Series loss (with a skin-effect ladder of up
// to four first-order stages above the corner `rf`) and shunt loss (with a
// first-order term above `gf`) enter each section's equation.
#pragma once

#include <string>
#include <vector>

namespace qz3 {

class CSolverPort;
class CCmp;

class CLossyLine {
public:
    struct CParameters {
        double t = 0.0, z0 = 0.0, r = 0.0, g = 0.0, fr = 0.0, fg = 0.0;
        bool operator==(const CParameters& o) const {
            return t == o.t && z0 == o.z0 && r == o.r && g == o.g && fr == o.fr && fg == o.fg;
        }
    };

    void Free();
    // Sections and coefficients for the run's step; false with the
    // element's line in the solver.
    bool Prepare(CSolverPort* calc, const CCmp* cmp, const CParameters& p);
    // Feeds the two port values and advances the waves up to t.
    void Step(double t, double a, double b);

    // The waves that leave the line at port A and at port B.
    double BackwardAtA() const { return m_Waves.empty() ? 0.0 : m_Waves.front().backward; }
    double ForwardAtB() const { return m_Waves.empty() ? 0.0 : m_Waves.back().forward; }
    const CParameters& Parameters() const { return m_P; }

private:
    struct CWave {
        double forward = 0.0, backward = 0.0;
    };
    struct CStage {
        std::vector<double> state;
        double t = 0.0, r = 0.0, k = 0.0, m = 0.0;
    };
    void PrepareShuntOnly();
    void PrepareSeries();
    void StepSection(int i, double& w);

    CParameters m_P;
    int m_Sections = 0;
    double m_Dt = 0.0;
    std::vector<CWave> m_Waves;
    double m_Next = 0.0;
    double m_RSec = 0.0, m_GSec = 0.0;
    std::vector<CStage> m_Stages;
    double m_RSum = 0.0;
    double m_K1 = 0.0, m_K2 = 0.0, m_K3 = 0.0;
    bool m_HasG = false;
    std::vector<double> m_GState1, m_GState2;
    double m_GK = 0.0;
    bool m_K3Set = false;
};

}  // namespace qz3
