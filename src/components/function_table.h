// The table of a function block: values over one axis (pairs x, value) or
// over two axes (a grid, the first index running along x), read from comma
// lists once at the start of a run and looked up at each step by straight
// lines, bilinear over a grid cell, with the outer segments extended.
#pragma once

#include <string>
#include <vector>

namespace qz3 {

class CFunctionTable {
public:
    // False with the message in `error`.
    bool ParsePairs(const std::string& list, std::string& error);
    bool ParseGrid(const std::string& xAxis, const std::string& yAxis, const std::string& values,
                   std::string& error);

    double Value(double x, double y) const;
    // d value / dx and d value / dy at the point (the cell's slopes).
    void Slopes(double x, double y, double& dx, double& dy) const;

    int Points() const { return m_NPoints; }

private:
    struct CCell {
        int index = 0;
        double fraction = 0.0;
    };
    static CCell Locate(const std::vector<double>& axis, double v);
    double At(int i, int j) const { return m_Values[static_cast<size_t>(j * m_NX + i)]; }

    bool m_Grid = false;
    int m_NPoints = 0;  // pairs of a one-axis table
    int m_NX = 0;
    int m_NY = 0;
    std::vector<double> m_X, m_Y, m_Values;
};

}  // namespace qz3
