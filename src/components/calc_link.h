// The few places where components and parameters touch the solver and the
// document: the solver's error text and the document's change mask and
// component list. Kept in one pair of files so that the element code needs
// no solver headers and the unit tests of components run without a solver.
#pragma once

#include <string>

namespace qz3 {

class CCalc;
class CSolverPort;
class CCmp;
class CDoc;
class CCmps;

// The document's solver, or null while a document runs without one.
CCalc* DocCalc(CDoc* doc);
// Appends text to the solver's m_Error (nothing for a null solver).
void AppendSolverError(CSolverPort* calc, const std::string& text);
// "full name : text" and a line feed into the solver's error text; false.
bool ReportCmpError(CSolverPort* calc, const CCmp* cmp, const std::string& text);
// The logic levels "low", "high" and the threshold of a document's
// settings; false without a document.
bool DocLogicLevels(CDoc* doc, double& low, double& high, double& threshold);

}  // namespace qz3
