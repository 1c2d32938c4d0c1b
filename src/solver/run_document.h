// What a run reads of its document: the component list and the settings.
//
// The solver sits below the document, so it reaches them through this one
// function, whose body lives in document/doc_run_source.cpp; a solver made
// without a document (unit tests) gets all null.
#pragma once

namespace qz3 {

class CDoc;
class CCmps;
class CTranSettings;
class CAdvancedSettings;
class CACSettings;
class TStringList;

struct CRunDocument {
    CCmps* cmps = nullptr;
    const CTranSettings* tran = nullptr;
    const CAdvancedSettings* advanced = nullptr;
    const CACSettings* ac = nullptr;
    const TStringList* states = nullptr;  // one key=value line per saved state
};

CRunDocument RunDocument(CDoc* doc);

}  // namespace qz3
