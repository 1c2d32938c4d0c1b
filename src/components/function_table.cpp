#include "components/function_table.h"

#include "base/list.h"
#include "base/number_format.h"
#include "expr/number_text.h"

namespace qz3 {

namespace {

bool ParseList(const std::string& text, std::vector<double>& out, std::string& error) {
    TStringList items;
    items.Split(text, ',');
    out.clear();
    for (const std::string& item : items) {
        double x = 0.0;
        if (!ParseDouble(item, x)) {
            error = ExprError();
            return false;
        }
        out.push_back(x);
    }
    return true;
}

}  // namespace

bool CFunctionTable::ParsePairs(const std::string& list, std::string& error) {
    m_Grid = false;
    std::vector<double> items;
    if (!ParseList(list, items, error)) return false;
    if (items.size() % 2 != 0) {
        error = "Wrong number of Table parameters";
        return false;
    }
    m_NPoints = static_cast<int>(items.size() / 2);
    m_X.clear();
    m_Values.clear();
    for (int i = 0; i < m_NPoints; ++i) {
        m_X.push_back(items[static_cast<size_t>(2 * i)]);
        m_Values.push_back(items[static_cast<size_t>(2 * i + 1)]);
    }
    return true;
}

bool CFunctionTable::ParseGrid(const std::string& xAxis, const std::string& yAxis, const std::string& values,
                               std::string& error) {
    m_Grid = true;
    if (!ParseList(xAxis, m_X, error) || !ParseList(yAxis, m_Y, error) || !ParseList(values, m_Values, error))
        return false;
    m_NX = static_cast<int>(m_X.size());
    m_NY = static_cast<int>(m_Y.size());
    if (m_Values.size() != m_X.size() * m_Y.size()) {
        error = "Wwrong number of Table parameters";  // this case's message is spelt so
        return false;
    }
    return true;
}

// The segment i - 1 .. i holding v: the first i below the last point whose
// x is above v; coinciding points give fraction 0.
CFunctionTable::CCell CFunctionTable::Locate(const std::vector<double>& axis, double v) {
    const int m = static_cast<int>(axis.size());
    CCell cell;
    if (m < 2) return cell;
    int i = 1;
    while (i < m - 1 && !(axis[static_cast<size_t>(i)] > v)) ++i;
    const double x0 = axis[static_cast<size_t>(i - 1)], x1 = axis[static_cast<size_t>(i)];
    cell.index = i - 1;
    cell.fraction = RealSame(x0, x1) ? 0.0 : (v - x0) / (x1 - x0);
    return cell;
}

double CFunctionTable::Value(double x, double y) const {
    if (!m_Grid) {
        if (m_NPoints == 0) return 0.0;
        if (m_NPoints == 1) return m_Values[0];
        const CCell c = Locate(m_X, x);
        const double v0 = m_Values[static_cast<size_t>(c.index)], v1 = m_Values[static_cast<size_t>(c.index + 1)];
        return v0 + (v1 - v0) * c.fraction;
    }
    if (m_NX == 0 || m_NY == 0) return 0.0;
    const CCell cx = Locate(m_X, x), cy = Locate(m_Y, y);
    const int i1 = m_NX > 1 ? cx.index + 1 : cx.index, j1 = m_NY > 1 ? cy.index + 1 : cy.index;
    const double low = At(cx.index, cy.index) + (At(i1, cy.index) - At(cx.index, cy.index)) * cx.fraction;
    const double high = At(cx.index, j1) + (At(i1, j1) - At(cx.index, j1)) * cx.fraction;
    return low + (high - low) * cy.fraction;
}

void CFunctionTable::Slopes(double x, double y, double& dx, double& dy) const {
    dx = dy = 0.0;
    if (!m_Grid) {
        if (m_NPoints < 2) return;
        const CCell c = Locate(m_X, x);
        const double run = m_X[static_cast<size_t>(c.index + 1)] - m_X[static_cast<size_t>(c.index)];
        if (!RealSame(run, 0.0))
            dx = (m_Values[static_cast<size_t>(c.index + 1)] - m_Values[static_cast<size_t>(c.index)]) / run;
        return;
    }
    const double h = 1e-6;
    const double spanX = m_NX > 1 ? (m_X.back() - m_X.front()) * h : 0.0;
    const double spanY = m_NY > 1 ? (m_Y.back() - m_Y.front()) * h : 0.0;
    if (spanX != 0.0) dx = (Value(x + spanX, y) - Value(x - spanX, y)) / (2 * spanX);
    if (spanY != 0.0) dy = (Value(x, y + spanY) - Value(x, y - spanY)) / (2 * spanY);
}

}  // namespace qz3
