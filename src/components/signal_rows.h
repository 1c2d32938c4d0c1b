// The parameter rows of a signal generator embedded in an element (sources,
// time-driven switches), written once for every class that embeds one.
//
// The generator keeps its file keys (the child "Signal"), its defaults and
// its per-waveform checks itself; the rows give its members their names and
// units for the host. `Signal` is the embedding class's member, as
// &CElemV::signal.
#pragma once

#include "components/param_table.h"
#include "waveforms/signal.h"

namespace qz3 {

template <auto Signal>
struct SignalRows {
    template <auto Member>
    static constexpr CParamRow Row(uint32_t kind, const char* name, const char* unit) {
        return EmbeddedRow(kind, name, unit, MemberAt<Signal, Member>);
    }

    static constexpr CParamRow High(const char* name, const char* unit) { return Row<&CSignal::m_U1>(kParamFormula, name, unit); }
    static constexpr CParamRow Low(const char* name, const char* unit) { return Row<&CSignal::m_U0>(kParamFormula, name, unit); }
    static constexpr CParamRow kPeriod = Row<&CSignal::m_Period>(kParamFormula, "Period", "s");
    static constexpr CParamRow kWidth = Row<&CSignal::m_Width>(kParamFormula, "Width", "s");
    static constexpr CParamRow kClockStep = Row<&CSignal::m_ClockStep>(kParamFormula, "Step", "s");
    static constexpr CParamRow kSlope = Row<&CSignal::m_SlopeChoice>(kParamChoice, "Slope", nullptr);
    static constexpr CParamRow kRise = Row<&CSignal::m_Rise>(kParamFormula, "Rise", "s");
    static constexpr CParamRow kFall = Row<&CSignal::m_Fall>(kParamFormula, "Fall", "s");
    static constexpr CParamRow kDelay = Row<&CSignal::m_Delay>(kParamFormula, "Delay", "s");
    static constexpr CParamRow kPhase = Row<&CSignal::m_Phase>(kParamFormula, "Phase", "deg");
    static constexpr CParamRow kDecay = Row<&CSignal::m_Decay>(kParamFormula, "Decay", "1/s");
    static constexpr CParamRow kF0 = Row<&CSignal::m_F0>(kParamFormula, "F0", "Hz");
    static constexpr CParamRow kF1 = Row<&CSignal::m_F1>(kParamFormula, "F1", "Hz");
    static constexpr CParamRow kSweepType = Row<&CSignal::m_SweepChoice>(kParamChoice, "Type", nullptr);
    static constexpr CParamRow kFunction = Row<&CSignal::m_Function>(kParamFunction, "f", nullptr);
    static constexpr CParamRow kList = Row<&CSignal::m_List>(kParamList, "List", nullptr);
    static constexpr CParamRow kFile = Row<&CSignal::m_File>(kParamFile, "File", nullptr);
    static constexpr CParamRow kTrace = Row<&CSignal::m_Trace>(kParamString, "Trace", nullptr);
    static constexpr CParamRow kCycle = Row<&CSignal::m_Cycle>(kParamYesNo, "Cycle", nullptr);
};

}  // namespace qz3
