// A parameter handle given out to a host: the component and the row of its
// table, since the tables are shared by all components of a model and a row
// must be bound to its component again before each use.
#pragma once

#include <cstdint>
#include <string>

namespace qz3 {

class CCmp;
class CDoc;
class CParam;

struct CParamRecord {
    int handle = 0;
    CCmp* cmp = nullptr;  // not owned; lives as long as the document
    int row = 0;          // index in the component's parameter table
    int64_t extra = 0;    // selector the name look-up left in the row
};

// Keeps a record for a new handle; returns the handle.
int AddParamHandle(CDoc* doc, const CParamRecord& record, int handle);

// The steps around a change of a value by the host. Before: a running
// solver has its elements keep their state variables (PhaseStore), since the
// next step rebuilds the equations. After: if the change was real, the
// formulas of the circuit are recalculated to a fixed point.
void BeforeParamChange(CDoc* doc);
void AfterParamChange(CDoc* doc);

}  // namespace qz3
