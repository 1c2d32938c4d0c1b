#include "components/calc_link.h"
#include "components/cmp.h"
#include "components/cmps.h"
#include "document/doc.h"
#include "document/param_record.h"
#include "expr/param.h"
#include "solver/calc.h"

namespace qz3 {

CParam* CDoc::FindParam(const char* name, std::string& error, CParamRecord* where) {
    if (!name) {
        error += "NULL pointer";
        return nullptr;
    }
    if (!*name) {
        error += "no parameter name";
        return nullptr;
    }
    CCmp* cmp = nullptr;
    CParam* row = m_Cmps ? m_Cmps->FindParam(name, &cmp) : nullptr;
    if (!row) {
        error += std::string("parameter ") + name + " not found";
        return nullptr;
    }
    if (where) {
        where->cmp = cmp;
        where->row = static_cast<int>(row - cmp->ParamTable());
        where->extra = row->Extra;
    }
    return row;
}

CParam* CDoc::ParamByHandle(int handle, std::string& error) {
    for (CParamRecord* record : m_Params) {
        if (record->handle != handle) continue;
        CParam* table = record->cmp->ParamTable();
        if (!table || record->row >= ParamRowCount(table)) break;
        CParam* row = table + record->row;
        row->Extra = record->extra;
        return row;
    }
    error += "wrong parameter handle";
    return nullptr;
}

int AddParamHandle(CDoc* doc, const CParamRecord& record, int handle) {
    auto* copy = new CParamRecord(record);
    copy->handle = handle;
    doc->m_Params.Add(copy);
    return handle;
}

void BeforeParamChange(CDoc* doc) {
    if (doc) doc->KeepRunState();
}

void AfterParamChange(CDoc* doc) {
    // Without a solver there is no change mask to ask: recalculating costs
    // only a pass when nothing moved.
    CCalc* calc = DocCalc(doc);
    if ((!calc || (calc->m_Changes & kChangeParams)) && doc->m_Cmps) doc->m_Cmps->EvalParams();
}

}  // namespace qz3
