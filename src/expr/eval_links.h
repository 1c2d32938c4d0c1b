// What the evaluator needs from the circuit side, as plain function slots.
//
// The expression code sits below components, documents and traces, so it
// sees them only as opaque pointers and asks these slots about them. The
// document layer fills the slots once (one explicit function on its side);
// an empty slot means "nothing of that kind here": names aren't found, and
// the logic levels are missing as without a document. Unit tests fill them
// with small fakes.
#pragma once

#include <string>
#include <string_view>

#include "expr/value.h"

namespace qz3 {

class CDoc;
class CCmps;
class CCmp;
class CTraces;
class CFormula;
struct CVarEntry;

struct CEvalLinks {
    // The component list of a document, used when no list is passed.
    CCmps* (*DocCmps)(CDoc* doc) = nullptr;
    // Logic levels "low" and "high" and the logic threshold of a document.
    bool (*LogicLevels)(CDoc* doc, double& low, double& high, double& threshold) = nullptr;
    // Value of "component.parameter" (or a named constant); false if no such name.
    bool (*ParamValue)(CCmps* cmps, std::string_view name, CValue& out) = nullptr;
    // The formula behind "component.parameter" when that parameter is a formula.
    CFormula* (*ParamFormula)(CCmps* cmps, std::string_view name) = nullptr;
    // A component by its "sub.sub.name" path.
    CCmp* (*FindComponent)(CCmps* cmps, std::string_view path) = nullptr;
    // An array "component.variable" held by a component.
    CVarEntry* (*ComponentArray)(CCmps* cmps, std::string_view name) = nullptr;
    // V, I, P, S of a component (kind 0 to 3) from the live solution; false
    // with ExprError set when the component has no such reading.
    bool (*ComponentReading)(CDoc* doc, CCmp* cmp, int kind, CValue& out) = nullptr;
    // A trace by name at the current point; false if there is no such trace.
    bool (*TraceByName)(CTraces* traces, std::string_view name, bool complexTraces, CValue& out) = nullptr;
    // A cursor measurement "trace.word" (or "left", "right", "delta") of the
    // document of the list: 1 with the value, 0 when the measurement exists
    // but has no number (yet), -1 when the name is no measurement.
    int (*Measurement)(CCmps* cmps, std::string_view name, double& out) = nullptr;
    // "{index.run}" read at x; false means no data, with the trace's name in `name`.
    bool (*TraceReference)(CTraces* traces, int index, int run, double x, CValue& out, std::string& name) = nullptr;
};

// The one set of slots of the process.
CEvalLinks& EvalLinks();

}  // namespace qz3
