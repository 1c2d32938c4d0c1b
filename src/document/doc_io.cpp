#include "components/cmp.h"
#include "document/doc.h"
#include "document/io_record.h"
#include "expr/param.h"
#include "solver/calc.h"

namespace qz3 {

bool CanBeInput(const CCmp& cmp) {
    return cmp.type == TypeId::Label || cmp.type == TypeId::CurrentSource || cmp.type == TypeId::VoltageSource;
}

bool PointOutputAt(CCmp& cmp, COutputRecord& record) {
    switch (cmp.type) {
        case TypeId::Label:  // its node against ground
            record.high = &cmp.nodes[0];
            record.low = nullptr;
            return true;
        case TypeId::Amperemeter:  // its current is a branch unknown itself
            record.high = &cmp.firstBranch;
            record.low = nullptr;
            return true;
        case TypeId::Voltmeter:  // pin 1 minus pin 0, like any two-pin element
            record.high = &cmp.nodes[1];
            record.low = &cmp.nodes[0];
            return true;
        default:
            return false;
    }
}

int AddInputHandle(CDoc* doc, CCmp* cmp, int handle) {
    auto* record = new CInputRecord{handle, cmp};
    doc->m_Inputs.Add(record);
    return handle;
}

int AddOutputHandle(CDoc* doc, const COutputRecord& record, int handle) {
    auto* copy = new COutputRecord(record);
    copy->handle = handle;
    doc->m_Outputs.Add(copy);
    return handle;
}

CInputRecord* FindInput(CDoc* doc, int handle) {
    for (CInputRecord* record : doc->m_Inputs)
        if (record->handle == handle) return record;
    return nullptr;
}

COutputRecord* FindOutput(CDoc* doc, int handle) {
    for (COutputRecord* record : doc->m_Outputs)
        if (record->handle == handle) return record;
    return nullptr;
}

void DriveByHost(CDoc* doc, CCmp* cmp) {
    // The rebuild starts from the elements' own members: a run under way
    // keeps its capacitor voltages and inductor currents there first.
    doc->KeepRunState();
    cmp->hostDriven = true;
    doc->m_Calc->m_Changes |= kChangeParams;
}

namespace {

// An index the present equations don't have (a component left out of the
// run) reads as ground rather than outside the vector.
double Unknown(const CCalc& calc, const int* index) {
    if (!index || !calc.VecX || *index < 0 || *index >= calc.m_Total) return 0.0;
    return calc.VecX[*index];
}

}  // namespace

double OutputValue(CDoc* doc, const COutputRecord& record) {
    if (!doc->m_Running) return 0.0;
    const CCalc& calc = *doc->m_Calc;
    return Unknown(calc, record.high) - Unknown(calc, record.low);
}

}  // namespace qz3
