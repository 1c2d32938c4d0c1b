// The few places where components touch the solver and the document: the
// solver's error text, the document's solver, logic levels and file search.
// The document's side is defined in document/doc_links.cpp, so that the
// components know neither class.
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
// A file by name as the document finds it (its folder, its libraries);
// without a document the name itself if it exists; "" if not found.
std::string FindDocumentFile(CDoc* doc, const std::string& name);
// The same, with ext given to a name that has no extension (".qz3").
std::string FindDocumentFile(CDoc* doc, const std::string& name, const std::string& ext);

// The schematic's folder with its separator; "" without one.
std::string DocumentFolder(CDoc* doc);

}  // namespace qz3
