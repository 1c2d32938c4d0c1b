// Co-simulation handles given out to a host: an input names the source the
// host drives; an output points at the numbers inside a component that hold
// its unknowns' indices (`nodes` entries or `firstBranch`), so that it reads
// the right place after every rebuild of the equations. The document owns
// the records; none is removed before the document closes.
#pragma once

#include "base/type_ids.h"

namespace qz3 {

class CCmp;
class CDoc;

struct CInputRecord {
    int handle = 0;
    CCmp* cmp = nullptr;  // not owned
};

struct COutputRecord {
    int handle = 0;
    const int* low = nullptr;   // null: the value is against ground
    const int* high = nullptr;
};

bool CanBeInput(const CCmp& cmp);
// Points the record at the component's unknowns by its type; false for a
// type that has no output.
bool PointOutputAt(CCmp& cmp, COutputRecord& record);

// Keeps a record for a new handle; returns the handle.
int AddInputHandle(CDoc* doc, CCmp* cmp, int handle);
int AddOutputHandle(CDoc* doc, const COutputRecord& record, int handle);
// Null for a handle the document never gave out.
CInputRecord* FindInput(CDoc* doc, int handle);
COutputRecord* FindOutput(CDoc* doc, int handle);

// The host drives the component from now on: the next step rebuilds the
// equations with it as a time-varying source.
void DriveByHost(CDoc* doc, CCmp* cmp);
// The output's present value: 0.0 without an open run.
double OutputValue(CDoc* doc, const COutputRecord& record);

}  // namespace qz3
