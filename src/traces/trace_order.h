// The recalculation order of a trace list. A function trace may use other
// traces ("V(R1)*I(R1)", "Vout/2"): its expression is rewritten with direct
// references "{index}" (or "{index.run}" for a stored run), the traces it
// uses are noted in m_Deps, and the list is ordered so that every trace is
// computed after what it uses. A cycle refuses the run.
#pragma once

#include <string>

namespace qz3 {

class CTraces;

// Fills m_Compiled and m_Deps of the trace at that place of the list.
void CompileTrace(CTraces& traces, int index);
// Compiles every trace and builds CTraces::m_Order; the error text, empty
// when the order is good: "Trace <label>: circular reference" or "Error
// creating recalculation order".
std::string MakeOrder(CTraces& traces);

}  // namespace qz3
