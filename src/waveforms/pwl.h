// A piecewise-linear curve given as a text of break points.
//
// Text form: "y0, x1, y1, x2, y2, ...": a slope, then pairs of a break and the
// slope above it. Prepare turns the text into arrays once per change of text;
// the solver then only reads them. A table without a break at exactly 0 is
// mirrored into an odd curve about the origin.
//
// The present segment is a state of the owning component (CCmp::state, given
// at construction), so that the solver's switching search can save and
// restore it with the rest.
// Segment s is array index s - m_First; segment 0 is the one just below the
// first break at or above 0.
//
// Recipe for an element with a PWL characteristic:
//     PhaseInit:      if (!PrepareTable(calc, pwl)) return false;
//     PhaseStamp:     double g = pwl.Slope(state), o = pwl.Offset(state);
//     CheckSegment:   return pwl.CheckSegment(controlValue, commit);
#pragma once

#include <string>
#include <vector>

namespace qz3 {

class CPWL {
public:
    // `segment` is the owner's state word; null: the table keeps its own.
    explicit CPWL(int* segment = nullptr) : m_Segment(segment) {}
    virtual ~CPWL() = default;
    CPWL(const CPWL&) = delete;
    CPWL& operator=(const CPWL&) = delete;

    // Frees the arrays; the next Prepare builds them again.
    void Reset();
    // Builds the arrays from m_Text unless it is what they were built from;
    // false with the message in `error`.
    bool Prepare(std::string& error);
    // True if v lies outside the owner's present segment; with commit the
    // segment moves towards it, never across segment 0 in one step.
    bool CheckSegment(double v, bool commit);

    // Array access by segment number (m_First to m_First + m_Count - 1).
    double Slope(int segment) const { return m_Y[static_cast<size_t>(segment - m_First)]; }
    double Offset(int segment) const { return m_Off.empty() ? 0.0 : m_Off[static_cast<size_t>(segment - m_First)]; }
    double LowerBreak(int segment) const { return m_X[static_cast<size_t>(segment - m_First)]; }
    int LastSegment() const { return m_First + m_Count - 1; }
    // The owner's present segment (a local one for a table without owner).
    int& Segment();
    // Axis texts for an editing host, and the choice of the integrated curve.
    void SetLabels(const char* x, const char* y, const char* slopeTitle, const char* curveTitle);

    int* m_Segment = nullptr;
    std::string m_Text = "1.0";
    std::string m_XLabel;
    std::string m_YLabel;
    std::string m_SlopeTitle;
    std::string m_CurveTitle;
    int m_First = 0;
    int m_Last = 0;
    bool m_Invert = false;
    std::string m_FileName;  // file key "pwlf": kept only
    int m_FileMode = 0;      // file key "pwlm": kept only
    std::string m_Prepared;
    int m_Count = 0;
    std::vector<double> m_X;
    std::vector<double> m_Y;
    std::vector<double> m_Off;

private:
    bool Fill(const std::vector<std::string>& items, int n, std::string& error);
    void Mirror(int n);
    int FirstIndexAtOrAboveZero() const;
    void BuildOffsets(int z);

    int m_LocalSegment = 0;
};

}  // namespace qz3
