// The numeric heart of the signal generators: waveform values and the times
// of their corners, with no knowledge of formulas, files or the solver.
//
// How it is used: CSignal (signal.h) derives from this class, copies the
// cached values of its formulas into m_Num before each call, and forwards
// Start, Value and NextEvent. Everything here is pure arithmetic on doubles,
// so each generator can be checked against its analytic shape in isolation.
//
// Times: every time handed in is absolute; x = t - m_Shift is the time of
// the generator. "x has reached a" always means x > a or x equals a within
// min(|x|, |a|) * 1e-12, so a step that lands on a corner counts as there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/type_ids.h"

namespace qz3 {

enum SignalSlope : int { ssLinear = 0, ssCos = 1, ssExp = 2 };
enum SweepKind : int { swLinear = 0, swExp = 1 };

// Stages of a pulse: 0 before the start, 1 rising, 2 at the top, 3 falling,
// 4 finished (or low until the next period).
enum SignalStage : int { sgBefore = 0, sgRise = 1, sgTop = 2, sgFall = 3, sgDone = 4 };

// The numeric parameters as the generator sees them in one call.
struct CSignalNumbers {
    double u0 = 0.0;
    double u1 = 10.0;
    double period = 1.0;
    double width = 0.5;
    double clockStep = 0.0;
    double rise = 0.0;
    double fall = 0.0;
    double delay = 0.0;
    double phase = 0.0;
    double decay = 0.0;
    double f0 = 100.0;
    double f1 = 10000.0;
};

// Samples of a recorded trace, for the "Trace" generator. Times are
// absolute (the block's origin and run offset already added) and ascending.
class CSignalSamples {
public:
    virtual ~CSignalSamples() = default;
    virtual int SampleCount() const = 0;
    virtual double SampleTime(int i) const = 0;
    virtual double SampleValue(int i) const = 0;
};

// The answer of one NextEvent call; a field is set only when the generator
// has a statement on it.
struct CSignalEvent {
    bool hasNext = false;
    bool hasMax = false;
    bool hasMin = false;
    double tNext = 0.0;
    double stepMax = 0.0;
    double stepMin = 0.0;
};

bool TimeReached(double x, double a);

// How a table reads a time that meets one of its corners: the value takes
// the exact time, the search for the next corner takes a corner met within
// the tolerance as passed.
enum class TableCorner { Exact, Met };

class CSignalWave {
public:
    virtual ~CSignalWave() = default;

    // Begin at absolute time t; with run false the generator stays idle.
    void StartWave(double t, bool run);
    // Arms a stopped generator at time t as if its own time began there.
    void RestartWave(double t);
    // The waveform at absolute time t. "Function" is not computed here.
    double WaveValue(double t);
    // maxStep is the solver's largest step (the sweep ladder needs it).
    CSignalEvent WaveEvent(double t, double maxStep);
    bool IsHigh() const;
    // Moves the time origin of the delay by x (a run continues with time reset).
    void ShiftDelay(double x);
    // Gives the sweep frequencies that fit whole cycles into the width.
    void AdjustSweep();

    // "Clock": the stage at an edge lasts for one solver step.
    bool ClockPending() const { return m_Running && m_Stage == sgTop; }
    void ClockClose();

    // Tables ("List", "File"): pairs of time and value.
    void SetTable(const std::vector<double>& pairs);
    void ClearTable();

    ModelId m_Model = ModelId::Pulse;
    CSignalNumbers m_Num;
    int32_t m_Slope = ssLinear;
    int32_t m_Cycle = 0;  // "Yes"/"No" as a parameter row sees it
    int32_t m_SweepType = swLinear;
    double m_Fa = 0.0;
    double m_Fb = 0.0;
    int32_t m_Stage = sgBefore;
    double m_CycleFrac = 0.0;
    double m_LastTime = 0.0;
    double m_Base = 0.0;
    double m_Shift = 0.0;
    bool m_Running = false;
    std::vector<double> m_Points;
    int32_t m_Count = 0;
    int32_t m_Index = -2;
    const CSignalSamples* m_Samples = nullptr;
    double m_First[2] = {0.0, 0.0};
    double m_Last[2] = {0.0, 0.0};

protected:
    // Pulse family: "Single", "Pulse", "Step", "Clock".
    void StartPulse(double x);
    void StartStep(double x);
    void StartClock(double x);
    double PulseValue(double e);
    double PulseExpValue(double e) const;
    double StepValue(double x, double e) const;
    double RiseShape(double e, double r) const;
    void AdvanceBase(double x, double p);
    void SinglePulseEvent(double x, CSignalEvent& ev);
    void PulseEvent(double x, CSignalEvent& ev);
    void StepEvent(double x, CSignalEvent& ev);
    void ClockEvent(double x, CSignalEvent& ev);
    void SingleTable(double x, CSignalEvent& ev);
    void PulseTable(double x, CSignalEvent& ev);
    bool PulseStarted(double x, CSignalEvent& ev);

    // Sine family: "Sin", "Sweep".
    void StartSin(double x);
    void StartSweep(double x);
    double SinValue(double x);
    double SweepValue(double x) const;
    double SweepCycles(double e) const;
    double SweepFrequency(double e) const;
    double SweepTimeOf(double f) const;
    void SinEvent(double x, CSignalEvent& ev);
    void SweepEvent(double x, double maxStep, CSignalEvent& ev);
    void SweepLadder(double e, double maxStep, CSignalEvent& ev);

    // Tables: "List", "File", "Trace".
    void StartTable(double x);
    void StartTrace();
    double TableValue(double x);
    double TraceValue(double x) const;
    void TableEvent(double t, double x, CSignalEvent& ev);
    bool TableHasExtent() const;
    double TableTime(int i) const { return m_Points[static_cast<size_t>(2 * i)]; }
    double TableY(int i) const { return m_Points[static_cast<size_t>(2 * i + 1)]; }
    double WrapIntoTable(double y, TableCorner rule) const;
    void SeekPair(double y, TableCorner rule);
};

}  // namespace qz3
