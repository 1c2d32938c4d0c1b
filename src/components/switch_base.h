// What the two switch classes share: the time models driven by a signal
// generator, the position word, and the contacts.
//
// Every switch has a common pin 1 and a first contact at pin 0; a SPDT type
// has a second contact that closes when the first one opens. A position is
// a short with a branch unknown or an open row: the switches are ideal.
// The time models ("Step", "Single", "Pulse", "Clock", "List", "File") take
// the position from the signal's level, inverted when `active` is 0.
#pragma once

#include "components/cmp.h"
#include "waveforms/signal.h"

namespace qz3 {

class CSwitchBase : public CCmp {
public:
    explicit CSwitchBase(const CCmpType* type);

    static bool IsTimeModel(ModelId model);

    int32_t active = 1;  // Active: "Off" inverts the position
    CSignal signal;
    int32_t cycle = 0;   // Cycle of "List" and "File", mirrored into signal.m_Cycle

protected:
    // Rows of the time models, bound to this switch; null for other models.
    CParam* BindTimeParams();
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
    void SignalEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin);
    void SetContactGroups();
};

}  // namespace qz3
