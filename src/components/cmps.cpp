#include "components/cmps.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "components/cmp.h"
#include "components/elem_set.h"
#include "components/formula_links.h"
#include "components/sub_cir.h"
#include "expr/var_list.h"
#include "xml/xml_node.h"
#include "expr/eval_expr.h"
#include "expr/formula.h"
#include "expr/number_text.h"
#include "expr/param.h"
#include "expr/state_text.h"

namespace qz3 {

namespace {

// Two formulas that keep changing each other ("=-A" against "=A") would
// never reach a fixed point; the recalculation gives up after this many.
constexpr int kMaxEvalPasses = 1000;

constexpr int kOpAssign = 20;

int CompareNoCase(const std::string& a, const std::string& b) {
    const size_t n = std::min(a.size(), b.size());
    for (size_t i = 0; i < n; ++i) {
        const int ca = std::tolower(static_cast<unsigned char>(a[i]));
        const int cb = std::tolower(static_cast<unsigned char>(b[i]));
        if (ca != cb) return ca < cb ? -1 : 1;
    }
    return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Names: first characters as signed characters, then the numbers behind
// them ("R2" before "R10"), then the whole names ignoring case.
int CompareNames(const std::string& a, const std::string& b) {
    const auto fa = static_cast<signed char>(a.empty() ? 0 : a[0]);
    const auto fb = static_cast<signed char>(b.empty() ? 0 : b[0]);
    if (fa != fb) return fa < fb ? -1 : 1;
    if (a.size() < 2 || b.size() < 2) return 0;
    if (IsDigit(a[1]) && IsDigit(b[1])) {
        const long na = std::strtol(a.c_str() + 1, nullptr, 10);
        const long nb = std::strtol(b.c_str() + 1, nullptr, 10);
        return na == nb ? 0 : (na < nb ? -1 : 1);
    }
    return CompareNoCase(a, b);
}

// Negative if a comes before b: variables last, labels before them.
int CompareCmps(const CCmp* a, const CCmp* b) {
    if (a->IsVariable() != b->IsVariable()) return a->IsVariable() ? 1 : -1;
    if (a->IsVariable()) return CompareNoCase(a->name, b->name);
    if (a->IsLabel() != b->IsLabel()) return a->IsLabel() ? 1 : -1;
    if (a->IsLabel()) return CompareNoCase(a->name, b->name);
    return CompareNames(a->name, b->name);
}

std::string Unquoted(std::string value) {
    value = TrimBlanks(value);
    if (!value.empty() && value[0] == '"') {
        value[0] = ' ';
        if (value.size() > 1 && value.back() == '"') value.back() = ' ';
        value = TrimBlanks(value);
    }
    return value;
}

// The old value combined with the new by a combining assignment.
bool CombineValues(int op, double old, double value, double& out) {
    switch (op) {
        case 28: out = old + value; break;
        case 29: out = old - value; break;
        case 30: out = old * value; break;
        case 31: out = old / value; break;
        case 32: out = std::fmod(old, value); break;
        default:
            ExprError() = "Unknown operator";
            return false;
    }
    if ((op == 28 || op == 29) && std::fabs(out) <= std::fabs(old) * 1e-12) out = 0.0;
    return true;
}

// Replaces the item "name=..." of a comma list, or appends one.
void SetListItem(std::string& list, const std::string& name, const std::string& value) {
    std::string out;
    bool replaced = false;
    const int count = ListCount(list);
    for (int n = 0; n < count; ++n) {
        std::string item = TrimBlanks(ListItem(list, n));
        const std::string key = TrimBlanks(item.substr(0, item.find('=')));
        if (!replaced && SameTextNoCase(key, name)) {
            item = name + "=" + value;
            replaced = true;
        }
        AddKeyStr(out, "", item);
    }
    if (!replaced) AddKeyStr(out, "", name + "=" + value);
    list = out;
}

// The inner state becomes the subcircuit's own initial conditions, as an
// element's state becomes its IC parameter.
std::string SubCircuitIC(CCmp& cmp, int index) {
    const std::string text = cmp.SubCircuit().StateText(index);
    if (!text.empty()) cmp.SubCircuit().m_IC = text;
    return text;
}

}  // namespace

void SplitPath(const std::string& path, std::string& left, std::string& right) {
    left.clear();
    right.clear();
    if (path.empty()) return;
    if (path[0] == '"') {
        const size_t close = path.find('"', 1);
        if (close == std::string::npos) {
            left = path.substr(1);
            return;
        }
        left = path.substr(1, close - 1);
        const size_t point = path.find('.', close);
        if (point != std::string::npos) right = path.substr(point + 1);
        return;
    }
    const size_t point = path.find('.');
    left = path.substr(0, point);
    if (point != std::string::npos) right = path.substr(point + 1);
}

CCmps::CCmps(CDoc* owner) : doc(owner) {
    static const bool linked = (LinkComponentsToFormulas(), true);
    (void)linked;
}

CCmps::~CCmps() { Clear(); }

void CCmps::Clear() {
    for (CCmp* cmp : m_List) delete cmp;
    m_List.Clear();
}

void CCmps::Add(CCmp* cmp) {
    cmp->owner = this;
    m_List.Add(cmp);
}

CCmp* CCmps::CreateFor(CXmlNode* child) {
    const std::string typeName = child->GetStr("type", "");
    return CElemSet::Instance().Create(typeName, this);
}

namespace {

// A scrambled component is restored in place before anything reads it. The
// check value is dropped from the node: it belongs to the scrambled form
// and is made anew when the component is scrambled again on saving.
bool RestoreScrambled(CXmlNode* child, int index) {
    const bool restored = child->Unscramble();
    child->DeleteAttr("Encr1");
    if (restored) return true;
    const std::string name = child->GetStr("name", "");
    const std::string which = name.empty() ? "component " + std::to_string(index + 1) : name;
    child->SetError(which + " : scrambled text is damaged, the component is left out");
    return false;
}

}  // namespace

bool CCmps::Load(CXmlNode* node) {
    if (!node) return false;
    for (int i = 0; i < node->ChildCount(); ++i) {
        CXmlNode* child = node->ChildAt(i);
        const bool closed = child->HasAttr("Encr1");
        if (closed && !RestoreScrambled(child, i)) continue;
        CCmp* cmp = CreateFor(child);
        if (!cmp) {
            if (!m_QuietLoad) child->SetError("Unknown component type = " + child->GetStr("type", ""));
            continue;
        }
        // Closed before reading, so that its "file_name" is read back.
        cmp->scrambled = cmp->scrambledKeep = closed;
        cmp->Xml(child, false);
        cmp->RememberFileContent(child);
        Add(cmp);
    }
    Sort();
    return true;
}

bool CCmps::Save(CXmlNode* node) {
    if (!node) return false;
    node->m_bWrite = true;
    for (CCmp* cmp : m_List) {
        if (cmp->IsSubCircuit() && cmp->subCir && cmp->subCir->m_Accessed) cmp->subCir->RewriteAttachment();
        CXmlNode* child = node->AddChild("Cmp");
        cmp->Xml(child, false);
        cmp->WriteForeignContent(child);
        if (cmp->IsClosed()) child->Scramble();
    }
    return true;
}

void CCmps::Sort() {
    // A stable merge keeps equal names in their file order, as the exchange
    // of neighbours did, in n log n rather than n squared for a large
    // circuit. It reads the order only pairwise, so an order that isn't
    // transitive still gives a permutation of the list, never a fault.
    std::vector<CCmp*> items, merged;
    for (CCmp* cmp : m_List) items.push_back(cmp);
    merged.resize(items.size());
    const size_t n = items.size();
    for (size_t width = 1; width < n; width *= 2) {
        for (size_t lo = 0; lo < n; lo += 2 * width) {
            const size_t mid = std::min(lo + width, n), hi = std::min(lo + 2 * width, n);
            size_t a = lo, b = mid, out = lo;
            while (a < mid && b < hi) merged[out++] = CompareCmps(items[b], items[a]) < 0 ? items[b++] : items[a++];
            while (a < mid) merged[out++] = items[a++];
            while (b < hi) merged[out++] = items[b++];
        }
        items.swap(merged);
    }
    m_List.Clear();
    for (CCmp* cmp : items) m_List.Add(cmp);
}

CCmp* CCmps::Find(const std::string& name) const {
    if (name.empty()) return nullptr;
    for (CCmp* cmp : m_List)
        if (SameTextNoCase(cmp->name, name)) return cmp;
    return nullptr;
}

CCmp* CCmps::FindPath(const std::string& path) const {
    std::string left, right;
    SplitPath(path, left, right);
    CCmp* cmp = Find(left);
    if (!cmp || right.empty()) return cmp;
    CCmps* inner = cmp->InnerCmps();
    return inner ? inner->FindPath(right) : nullptr;
}

CParam* CCmps::FindParam(const std::string& path, CCmp** found) const {
    std::string left, right;
    SplitPath(path, left, right);
    CCmp* cmp = Find(left);
    if (!cmp) return nullptr;
    CParam* table = cmp->ParamTable();
    CParam* row = right.empty() ? (table && table->Kind != kParamEnd ? table : nullptr) : FindParamRow(table, right);
    if (row) {
        if (found) *found = cmp;
        return row;
    }
    CCmps* inner = right.empty() ? nullptr : cmp->InnerCmps();
    return inner ? inner->FindParam(right, found) : nullptr;
}

bool CCmps::FindValue(const std::string& path, double& value) const {
    CCmp* cmp = nullptr;
    CParam* row = FindParam(path, &cmp);
    if (!row || cmp->IsDisconnected()) return false;
    value = row->ValueOrZero();
    return true;
}

bool CCmps::FindValue(const std::string& path, CValue& value) const {
    double x = 0.0;
    if (FindValue(path, x)) {
        value.SetDouble(x);
        return true;
    }
    // A name not in the table may be a variable of the component's program.
    CVarEntry* entry = FindVar(path);
    if (!entry || entry->IsArray()) return false;
    value = entry->Value[0];
    return true;
}

CVarEntry* CCmps::FindVar(const std::string& path) const {
    std::string left, right;
    SplitPath(path, left, right);
    if (right.empty()) return nullptr;
    CCmp* cmp = Find(left);
    if (!cmp || cmp->IsDisconnected()) return nullptr;
    CVarList* vars = cmp->Variables();
    return vars ? vars->Find(right) : nullptr;
}

void CCmps::ParamAccess(int op, const std::string& path, const std::string& index, std::string value,
                        std::string& result, bool& ok, int& errpos, double* number) {
    ok = true;
    value = Unquoted(value);
    std::string left, right;
    SplitPath(path, left, right);
    auto fail = [&](const std::string& text) {
        result = text;
        ok = false;
    };
    if (left.empty()) return fail(path + " not found");
    CCmp* cmp = Find(left);
    if (!cmp) return fail(left + " not found");
    if (cmp->IsClosed()) return fail(left + " operation not allowed");
    if (SameTextNoCase(right, "model")) return AccessModel(cmp, value, result, ok);
    CParam* table = cmp->ParamTable();
    if (!table) return AccessModel(cmp, value, result, ok);
    CParam* row = right.empty() ? (table->Kind != kParamEnd ? table : nullptr) : FindParamRow(table, right);
    if (row) return AccessRow(cmp, row, op, value, result, ok, number);
    if (!cmp->IsSubCircuit()) return fail(path + " not found");
    AccessInner(cmp, op, path, right, index, value, result, ok, errpos, number);
}

// A subcircuit that isn't loaded keeps an assignment as a command of its
// own, which the next run applies; a loaded one passes it on inside, and
// an attachment takes the change with it into the document.
void CCmps::AccessInner(CCmp* cmp, int op, const std::string& path, const std::string& rest, const std::string& index,
                        const std::string& value, std::string& result, bool& ok, int& errpos, double* number) {
    CSubCir& sub = cmp->SubCircuit();
    if (!cmp->attachment.empty()) sub.LoadForAccess(doc);
    CCmps* inner = sub.Inner();
    if (!inner) {
        if (op == 0 || value.empty()) {
            result = path + " not found";
            ok = false;
            return;
        }
        SetListItem(sub.m_Cmd, rest, value);
        result = sub.m_Cmd;
        MarkParamsChanged(doc);
        return;
    }
    inner->ParamAccess(op, rest, index, value, result, ok, errpos, number);
    if (!ok || op == 0 || cmp->attachment.empty()) return;
    sub.RewriteAttachment();
    sub.Unload();
}

void CCmps::AccessModel(CCmp* cmp, const std::string& value, std::string& result, bool& ok) {
    if (value.empty()) {
        result = cmp->ModelName();
        return;
    }
    const CModelInfo* row = cmp->FindModel(value, true);
    if (!row) {
        result = value + " not found";
        ok = false;
        return;
    }
    cmp->model = row->model;
    result = row->name;
}

void CCmps::AccessRow(CCmp* cmp, CParam* row, int op, const std::string& value, std::string& result, bool& ok,
                      double* number) {
    if (op > 0 && row->Kind != kParamFormula) {
        row->SetText(result, value, doc, &ok, nullptr);
        if (ok) result = row->GetText();
        return;
    }
    if (op > 0 && !value.empty()) {
        double x = 0.0;
        if (!EvalExpr(value, &x, doc, nullptr, this)) {
            result = ExprError();
            ok = false;
            return;
        }
        if (op != kOpAssign && !CombineValues(op, row->ValueOrZero(), x, x)) {
            result = ExprError();
            ok = false;
            return;
        }
        bool sound = true;
        row->SetText(result, NumberToText(x, 12), doc, &sound, nullptr);
    }
    result = row->GetText();
    if (number) *number = row->ValueOrZero();
}

bool CCmps::EvalFormulaRow(CCmp* cmp, int index) {
    // The table is taken again for every row: evaluating a formula may bind
    // another component's copy of the same table.
    CParam* table = cmp->ParamTable();
    CParam& row = table[index];
    if (row.Kind != kParamFormula) return false;
    CFormula& f = row.Formula();
    bool valueChanged = false;
    const bool sound = f.Evaluate(doc, this, valueChanged);
    if (f.m_Error) {
        if (!sound) return false;
        f.m_Error = false;
        return true;
    }
    if (!sound) {
        f.m_Error = true;
        return true;
    }
    return valueChanged;
}

bool CCmps::EvalParams() {
    bool any = false;
    for (int pass = 0; pass < kMaxEvalPasses; ++pass) {
        bool changedInPass = false;
        for (CCmp* cmp : m_List) {
            if (cmp->IsClosed()) continue;
            const int rows = ParamRowCount(cmp->ParamTable());
            for (int i = 0; i < rows; ++i) changedInPass |= EvalFormulaRow(cmp, i);
        }
        if (!changedInPass) return any;
        any = true;
    }
    return any;
}

void CCmps::SaveIC(std::string& out, int index) {
    for (CCmp* cmp : m_List) {
        if (cmp->IsDisconnected()) continue;
        std::string text;
        const std::string ic = cmp->IsSubCircuit() ? SubCircuitIC(*cmp, index) : cmp->SaveIC(text, index, true);
        if (!ic.empty()) AddKeyBraced(out, cmp->FullName(), ic);
    }
}

std::vector<int> CCmps::NodeList() const {
    std::vector<int> list;
    for (CCmp* cmp : m_List)
        for (int i = 0; i < cmp->pinCount; ++i) list.push_back(cmp->nodes[i]);
    return list;
}

}  // namespace qz3
