#include "components/param_table.h"

#include "components/cmp.h"
#include "components/param_check.h"
#include "xml/xml_node.h"
#include "expr/formula.h"
#include "waveforms/pwl.h"

namespace qz3 {

namespace {

const CParamTable* TableOf(const CCmp* cmp) { return cmp->typeInfo ? cmp->typeInfo->params : nullptr; }

bool Lists(const uint8_t* order, int index) {
    for (const uint8_t* i = order; i && *i != kEndOfRows; ++i)
        if (*i == index) return true;
    return false;
}

// Some model of the component's type shows the row.
bool TypeShows(const CCmp* cmp, int index) {
    if (!cmp->typeInfo) return false;
    for (const CModelInfo* row = cmp->typeInfo->models; row && row->name; ++row)
        if (Lists(row->params, index)) return true;
    return false;
}

bool PresentModelShows(const CCmp* cmp, int index) {
    const CModelInfo* row = cmp->ModelRow();
    return row && Lists(row->params, index);
}

// The first row of the table with this key (and child) that the type shows.
bool FirstOfKey(const CCmp* cmp, const CParamTable& table, int index) {
    const CParamRow& row = table.rows[index];
    for (int i = 0; i < index; ++i) {
        const CParamRow& earlier = table.rows[i];
        if (!earlier.key || std::string_view(earlier.key) != row.key) continue;
        if ((earlier.child == nullptr) != (row.child == nullptr)) continue;
        if (earlier.child && std::string_view(earlier.child) != row.child) continue;
        if (TypeShows(cmp, i)) return false;
    }
    return true;
}

void XmlRow(const CParamRow& row, void* data, CXmlNode* node) {
    switch (row.kind) {
        case kParamFormula: node->Val(row.key, *static_cast<CFormula*>(data)); break;
        case kParamChoice: {
            ChoiceValue& choice = *static_cast<ChoiceValue*>(data);
            choice.Index = node->Int(row.key, choice.Index);
            break;
        }
        case kParamOnOff:
        case kParamYesNo:
        case kParamLowHigh: {
            int32_t& flag = *static_cast<int32_t*>(data);
            flag = node->Bool(row.key, flag != 0) ? 1 : 0;
            break;
        }
        case kParamPwl: {
            // The points as text, the file they came from and its mode.
            const std::string key = row.key;
            CPWL& table = *static_cast<CPWL*>(data);
            table.m_Text = node->Str(key, table.m_Text);
            table.m_FileName = node->Str(key + "f", table.m_FileName);
            table.m_FileMode = node->Int(key + "m", table.m_FileMode);
            break;
        }
        default: {
            std::string& text = *static_cast<std::string*>(data);
            text = node->Str(row.key, text);
            break;
        }
    }
}

// The node a row's key lives in: the component's own, or its child, which
// is only there while the present model shows a row of it.
CXmlNode* RowNode(CCmp* cmp, const CParamTable& table, const CParamRow& row, CXmlNode* node,
                  CXmlNode*& child, const char*& childName) {
    if (!row.child) return node;
    if (childName && std::string_view(childName) == row.child) return child;
    childName = row.child;
    child = nullptr;
    for (int i = 0; i < table.count; ++i) {
        const char* other = table.rows[i].child;
        if (other && std::string_view(other) == row.child && PresentModelShows(cmp, i)) {
            child = node->Child(row.child);
            break;
        }
    }
    return child;
}

void InitRow(const CParamRow& row, void* data) {
    switch (row.kind) {
        case kParamFormula: {
            CFormula& f = *static_cast<CFormula*>(data);
            f.SetValue(row.initial);
            f.m_Blank = row.blank;
            break;
        }
        case kParamChoice: {
            ChoiceValue& choice = *static_cast<ChoiceValue*>(data);
            choice.Index = static_cast<int32_t>(row.initial);
            choice.Items = row.items;
            break;
        }
        case kParamOnOff:
        case kParamYesNo:
        case kParamLowHigh: *static_cast<int32_t*>(data) = static_cast<int32_t>(row.initial); break;
        case kParamPwl: break;
        default: *static_cast<std::string*>(data) = row.initialText ? row.initialText : ""; break;
    }
}

}  // namespace

void BindParamRows(CCmp* cmp, std::vector<CParam>& bound) {
    bound.clear();
    const CParamTable* table = TableOf(cmp);
    const CModelInfo* model = cmp->ModelRow();
    if (!table || !model || !model->params) return;
    for (const uint8_t* i = model->params; *i != kEndOfRows; ++i) {
        const CParamRow& row = table->rows[*i];
        CParam& param = bound.emplace_back(row.kind, row.name, row.unit);
        param.Data = row.member(cmp);
        // The host reads and writes a table as the text of its points; the
        // table reads that text again at its next preparation.
        if (row.kind == kParamPwl) param.Data = &static_cast<CPWL*>(param.Data)->m_Text;
    }
    bound.emplace_back();
}

void InitParamRows(CCmp* cmp) {
    const CParamTable* table = TableOf(cmp);
    if (!table) return;
    // Rows of one member may differ in their default from type to type (an
    // amplifier's gain); the rows the type shows are set last, so theirs wins.
    for (int pass = 0; pass < 2; ++pass)
        for (int i = 0; i < table->count; ++i)
            if (!table->rows[i].embedded && (pass == 0 || TypeShows(cmp, i)))
                InitRow(table->rows[i], table->rows[i].member(cmp));
}

void XmlParamRows(CCmp* cmp, CXmlNode* node) {
    const CParamTable* table = TableOf(cmp);
    if (!table) return;
    CXmlNode* child = nullptr;
    const char* childName = nullptr;
    for (int i = 0; i < table->count; ++i) {
        const CParamRow& row = table->rows[i];
        if (!row.key || !TypeShows(cmp, i) || !FirstOfKey(cmp, *table, i)) continue;
        // A table is in the file only while its model is the present one.
        if (row.kind == kParamPwl && !PresentModelShows(cmp, i)) continue;
        if (CXmlNode* where = RowNode(cmp, *table, row, node, child, childName)) XmlRow(row, row.member(cmp), where);
    }
}

bool CheckParamRows(CCmp* cmp, CSolverPort* calc) {
    const CParamTable* table = TableOf(cmp);
    CParamCheck check(calc, cmp);
    if (!table) return true;
    for (int i = 0; i < table->count; ++i) {
        const CParamRow& row = table->rows[i];
        if (row.kind != kParamFormula || !row.checked || !PresentModelShows(cmp, i)) continue;
        const CFormula& f = *static_cast<const CFormula*>(row.member(cmp));
        check.Param(f, row.FormulaName());
        for (int t = 0; t < row.testCount; ++t)
            check.Fault(ParamTestFails(row.tests[t], f.m_Value), ParamTestLine(row.tests[t], row.CheckName()));
        if (!row.rule) continue;
        const char* fault = row.rule(cmp, f.m_Value);
        check.Fault(fault != nullptr, std::string(row.RuleSubject()) + (fault ? fault : ""));
    }
    return check.Ok();
}

}  // namespace qz3
