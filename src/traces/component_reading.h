// V(), I(), P() and S() of a formula: a component's voltage, current, power
// or state word read from the document's live solution, in the time domain
// from the real solution and in AC from the complex one.
#pragma once

namespace qz3 {

class CCmp;
class CDoc;
class CValue;

// kind 0 V, 1 I, 2 P, 3 S. False with ExprError when the component's model
// doesn't offer the reading.
bool ReadComponent(CDoc* doc, CCmp* cmp, int kind, CValue& out);

}  // namespace qz3
