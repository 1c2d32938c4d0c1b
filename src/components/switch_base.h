// What the two switch classes share: the time models driven by a signal
// generator, the position word, and the contacts.
//
// Every switch has a common pin 1 and a first contact at pin 0; a SPDT type
// has a second contact that closes when the first one opens. A position is
// a short with a branch unknown or an open row: the switches are ideal.
// The time models ("Step", "Single", "Pulse", "Clock", "List", "File") take
// the position from the signal's level, inverted when `active` is 0.
#pragma once

#include <array>

#include "components/cmp.h"
#include "components/param_table.h"
#include "components/signal_rows.h"
#include "waveforms/signal.h"

namespace qz3 {

// The rows of the time models, in the tables of both switch classes.
enum SwitchTimeRow : uint8_t { kActive, kPeriod, kWidth, kClockStep, kDelay, kList, kFile, kCycle, kTimeRowCount };

// The rows each time model shows, for a table that holds kSwitchTimeRows
// from `First` on.
template <uint8_t First>
struct SwitchTimeOrders {
    static constexpr uint8_t kStep[] = {First + kDelay, First + kActive, kEndOfRows};
    static constexpr uint8_t kSingle[] = {First + kWidth, First + kDelay, First + kActive, kEndOfRows};
    static constexpr uint8_t kPulse[] = {First + kPeriod, First + kWidth, First + kDelay, First + kActive, kEndOfRows};
    static constexpr uint8_t kClock[] = {First + kPeriod, First + kClockStep, First + kDelay, First + kActive,
                                         kEndOfRows};
    static constexpr uint8_t kList[] = {First + qz3::kList, First + kCycle, First + kDelay, kEndOfRows};
    static constexpr uint8_t kFile[] = {First + qz3::kFile, First + kCycle, First + kDelay, kEndOfRows};
};

class CSwitchBase : public CCmp {
public:
    explicit CSwitchBase(const CCmpType* type);

    static bool IsTimeModel(ModelId model);

    int32_t active = 0;  // Active: "Off" inverts the position (start value from the table)
    CSignal signal;
    int32_t cycle = 0;   // Cycle of "List" and "File", mirrored into signal.m_Cycle

protected:
    // The child "Signal" of a time model, with `cycle` kept in step.
    void XmlSignal(CXmlNode* node);
    bool CheckSignal(CSolverPort* calc);
    bool StartSignal(CSolverPort* calc, double t, bool run);
    // The signal's level as a position: 1 closed, 0 open.
    int SignalPosition() const;
    // Pin of the second contact, -1 without one, and the offset of its branch.
    int SecondContact() const;
    int SecondBranch() const;
    // The first contact in position p, and the second one opposite.
    void StampContacts(CSolverPort* calc, int p);
    // "Clock" at its edge reports a change; with commit the edge closes.
    void CheckClock(bool commit, bool* changed);
    // The signal runs while the control c is above 0: a rising control
    // starts it afresh at the present time, a falling one stops it.
    void RunWhileControlled(const CSolverPort* calc, double c, bool commit, bool* changed);
    void SignalEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin);
    void SetContactGroups();
};

// The signal's members keep their own keys in the child "Signal"; `active`
// is the key "a", and `cycle` is written there as the signal's "c".
inline constexpr std::array<CParamRow, kTimeRowCount> kSwitchTimeRows = {
    FlagRow(kParamOnOff, "Active", "a", MemberAt<&CSwitchBase::active>, 1),
    SignalRows<&CSwitchBase::signal>::kPeriod,
    SignalRows<&CSwitchBase::signal>::kWidth,
    SignalRows<&CSwitchBase::signal>::kClockStep,
    SignalRows<&CSwitchBase::signal>::kDelay,
    SignalRows<&CSwitchBase::signal>::kList,
    SignalRows<&CSwitchBase::signal>::kFile,
    FlagRow(kParamYesNo, "Cycle", nullptr, MemberAt<&CSwitchBase::cycle>, 0),
};

}  // namespace qz3
