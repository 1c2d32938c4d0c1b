#include "components/switch_base.h"

#include "components/signal_link.h"
#include "xml/xml_node.h"
#include "components/solver_port.h"

namespace qz3 {

CSwitchBase::CSwitchBase(const CCmpType* typeDescriptor) : CCmp(typeDescriptor) {}

bool CSwitchBase::IsTimeModel(ModelId number) {
    return number == ModelId::Step || number == ModelId::Single || number == ModelId::Pulse || number == ModelId::Clock || number == ModelId::List ||
           number == ModelId::File;
}

void CSwitchBase::XmlSignal(CXmlNode* node) {
    if (!IsTimeModel(model)) return;
    signal.m_Cycle = cycle != 0;
    signal.Xml(node);
    cycle = signal.m_Cycle ? 1 : 0;
}

bool CSwitchBase::CheckSignal(CSolverPort* calc) {
    if (!IsTimeModel(model)) return true;
    return qz3::CheckSignal(calc, this, signal);
}

bool CSwitchBase::StartSignal(CSolverPort* calc, double t, bool run) {
    signal.m_Cycle = cycle != 0;
    return PrepareSignal(calc, this, signal, t, run);
}

int CSwitchBase::SignalPosition() const {
    const int level = signal.IsHigh() ? 1 : 0;
    return active ? level : 1 - level;
}

int CSwitchBase::SecondContact() const {
    switch (type) {
        case TypeId::SwitchSpdt: return 2;
        case TypeId::LogicControlledSpdt: return 3;
        case TypeId::VoltageControlledSpdt:
        case TypeId::CurrentControlledSpdt: return 4;
        default: return -1;
    }
}

int CSwitchBase::SecondBranch() const { return type == TypeId::CurrentControlledSpdt ? 2 : 1; }

void CSwitchBase::StampContacts(CSolverPort* calc, int p) {
    const int common = nodes[1];
    calc->StampSwitch(nodes[0], common, firstBranch, p != 0);
    const int second = SecondContact();
    if (second >= 0) calc->StampSwitch(nodes[second], common, firstBranch + SecondBranch(), p == 0);
}

void CSwitchBase::CheckClock(bool commit, bool* changedOut) {
    if (model != ModelId::Clock || !signal.ClockPending()) return;
    *changedOut = true;
    if (commit) signal.ClockClose();
}

void CSwitchBase::RunWhileControlled(const CSolverPort* calc, double c, bool commit, bool* changedOut) {
    if (!signal.m_Running && c > 0) {
        *changedOut = true;
        if (!commit) return;
        signal.SyncNumbers();
        signal.RestartWave(calc->Time());
    } else if (signal.m_Running && c < 0) {
        *changedOut = true;
        if (commit) signal.m_Running = false;
    }
}

void CSwitchBase::SignalEvent(CSolverPort* calc, double t, double* tNext, double* stepMax, double* stepMin) {
    if (IsTimeModel(model)) signal.NextEvent(t, calc->StepBase(), tNext, stepMax, stepMin);
}

void CSwitchBase::SetContactGroups() {
    int* groups = PinGroups();
    groups[0] = groups[1] = 1;
    const int second = SecondContact();
    if (second >= 0) groups[second] = 1;
}

}  // namespace qz3
