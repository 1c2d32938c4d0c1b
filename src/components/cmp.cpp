#include "components/cmp.h"

#include "components/calc_link.h"
#include "components/cmps.h"
#include "components/custom_type.h"
#include "components/sub_cir.h"
#include "xml/xml_node.h"
#include "expr/formula.h"

namespace qz3 {

CCmp::CCmp(const CCmpType* typeDescriptor) : typeInfo(typeDescriptor), pwl(&state) {
    type = typeInfo->type;
    if (typeInfo->models && typeInfo->models[0].name) model = typeInfo->models[0].model;
    AllocPins(typeInfo->pinCount);
}

CCmp::~CCmp() {
    delete subCir;
    delete custom;
    delete[] nodes;
    delete states;
    ClearFileContent();
}

void CCmp::AllocPins(int count) {
    delete[] nodes;
    pinCount = count < 0 ? 0 : count;
    nodes = new int[static_cast<size_t>(2 * pinCount) + 1]();
}

void CCmp::MakeCustom() {
    if (custom) return;
    custom = new CCustomElemType(typeInfo->typeName ? typeInfo->typeName : "");
    custom->m_Type = *typeInfo;
    typeInfo = &custom->m_Type;
}

void CCmp::AdoptCustomPins(int viewCount) {
    if (!custom) return;
    custom->Rebuild(viewCount);
    custom->m_Type.pinCount = custom->m_PinCount;
    if (custom->m_PinCount != pinCount) AllocPins(custom->m_PinCount);
}

bool CCmp::QuietLoad() const { return owner && owner->m_QuietLoad; }

std::string CCmp::FullName() const { return prefix.empty() ? name : prefix + "." + name; }

const CModelInfo* CCmp::ModelRow() const {
    for (const CModelInfo* row = typeInfo->models; row && row->name; ++row)
        if (row->model == model) return row;
    return nullptr;
}

const char* CCmp::ModelName() const {
    const CModelInfo* row = ModelRow();
    return row ? row->name : "";
}

const CModelInfo* CCmp::FindModel(const std::string& text, bool ignoreCase) const {
    for (const CModelInfo* row = typeInfo->models; row && row->name; ++row)
        if (ignoreCase ? SameTextNoCase(text, row->name) : text == row->name) return row;
    return nullptr;
}

CParam* CCmp::ParamTable() {
    if (IsClosed()) return nullptr;
    if (model == ModelId::SubCir) return SubCircuit().Params();
    return BindParams();
}

CSubCir& CCmp::SubCircuit() {
    if (!subCir) {
        subCir = new CSubCir(this);
        subCir->SetPins(pinCount);
    }
    return *subCir;
}

CCmps* CCmp::InnerCmps() {
    if (!IsSubCircuit()) return nullptr;
    CSubCir& sub = SubCircuit();
    if (!sub.LoadForAccess(owner ? owner->doc : nullptr)) return nullptr;
    sub.m_Accessed = sub.m_Reached = true;
    return sub.Inner();
}

bool CCmp::PrepareModelTable(CSolverPort* calc) { return model != ModelId::Pwl || PrepareTable(calc, pwl); }

bool CCmp::PrepareTable(CSolverPort* calc, CPWL& table) const {
    std::string error;
    return table.Prepare(error) || AddCmpError(calc, error);
}

CParam* CCmp::BindParams() {
    if (m_BoundParams.empty() || m_BoundModel != model) {
        BindParamRows(this, m_BoundParams);
        m_BoundModel = model;
    }
    return m_BoundParams.empty() ? nullptr : m_BoundParams.data();
}

CParam* CCmp::FindParam(const std::string& paramName) { return FindParamRow(ParamTable(), paramName); }

bool CCmp::IsDisconnected() const {
    if (pinCount <= 0) return false;
    for (int i = 0; i < pinCount; ++i)
        if (nodes[i] >= 0) return false;
    return true;
}

bool CCmp::AddCmpError(CSolverPort* calc, const std::string& text) const {
    AppendSolverError(calc, FullName() + " : " + text + "\n");
    return false;
}

int CCmp::AssignBranches(CSolverPort* calc, int first) {
    const CModelInfo* row = ModelRow();
    branchCount = row ? row->branches : 0;
    firstBranch = branchCount > 0 ? first : 0;
    return branchCount;
}

bool CCmp::GetTraceNodes(CSolverPort* calc, int kind, int* nodeA, int* nodeB, int* branch, double* r) {
    *nodeA = pinCount > 0 ? nodes[0] : -1;
    *nodeB = pinCount > 1 ? nodes[1] : -1;
    *branch = firstBranch;
    *r = 0.0;
    return true;
}

void CCmp::GetTraceValue(CSolverPort* calc, int kind, double* value, double* value2) {
    *value = 0.0;
    *value2 = 0.0;
}

bool CCmp::NextView(int delta) {
    int last = 0;
    for (const CViewInfo* v = typeInfo->views; v && v->pins; ++v) ++last;
    last = last > 0 ? last - 1 : 0;
    const int sum = view + delta;
    if (sum < 0) {
        view = last;
        return sum < 0;
    }
    if (sum > last) {
        view = 0;
        return true;
    }
    view = sum;
    return false;
}

bool CCmp::Xml(CXmlNode* node, bool modelOnly) {
    if (!modelOnly) {
        XmlCustom(node);
        XmlIdentity(node);
        XmlNodes(node);
        XmlModel(node);
        if (IsSubCircuit()) SubCircuit().Xml(node);
    }
    XmlStates(node);
    XmlAttachment(node);
    XmlParamRows(this, node);
    return true;
}

// The box of a custom type comes first, so that the pin keys that follow
// find the pins it makes.
void CCmp::XmlCustom(CXmlNode* node) {
    if (node->m_bWrite) {
        if (custom) {
            CXmlNode* child = node->AddChild("Custom");
            custom->Xml(child);
        }
        return;
    }
    CXmlNode* child = node->FindChild("Custom");
    if (!child) return;
    BeginCustom();
    if (custom) custom->Xml(child);
    EndCustom();
}

void CCmp::XmlIdentity(CXmlNode* node) {
    if (node->m_bWrite) node->AddRaw("type", typeInfo->typeName);
    id = node->Int("id", id);
    name = node->Str("name", name);
    if (!node->m_bWrite && name.empty()) {
        name = "???";
        node->SetError("Empty component name");
    }
    descr = node->Str("descr", descr);
    view = node->Int("view", view);
    if (!node->m_bWrite || !group.empty()) group = node->Str("group", group);
    if (IsClosed()) fileName = node->Str("file_name", fileName);
}

void CCmp::XmlNodes(CXmlNode* node) {
    for (int i = 0; i < pinCount; ++i) nodes[i] = node->Int("node" + std::to_string(i), nodes[i]);
}

void CCmp::XmlModel(CXmlNode* node) {
    // A type without a model table keeps its model key as foreign content.
    if (!typeInfo->models) return;
    if (node->m_bWrite) {
        node->AddStr("model", ModelName());
        return;
    }
    if (!node->HasAttr("model")) return;
    const std::string text = node->GetStr("model", "");
    const CModelInfo* row = FindModel(text, false);
    if (row && row->model != ModelId::None) {
        model = row->model;
        return;
    }
    if (!QuietLoad()) node->SetError(name + " : unknown model = " + text);
    if (typeInfo->models && typeInfo->models[0].name) model = typeInfo->models[0].model;
}

void CCmp::XmlStates(CXmlNode* node) {
    if (node->m_bWrite) {
        if (!states || states->Count() == 0) return;
        CXmlNode* list = node->AddChild("States");
        for (const std::string& entry : *states) list->AddChild("State")->SetText(entry);
        return;
    }
    CXmlNode* list = node->FindChild("States");
    if (!list) return;
    delete states;
    states = new TStringList;
    for (int i = 0; i < list->ChildCount(); ++i) states->Add(list->ChildAt(i)->GetText());
}

// An embedded subcircuit is a tree of its own, a DLL a block of hex digits,
// any other attachment an encoded text.
void CCmp::XmlAttachment(CXmlNode* node) {
    if (node->m_bWrite) {
        if (attachment.empty()) return;
        CXmlNode* child = node->AddChild("Attachment");
        if (model == ModelId::SubCir) {
            const size_t open = attachment.find('<');
            if (open != std::string::npos)
                child->AddChild("")->ParseText(attachment, static_cast<int>(open) + 1);
            child->m_bWrite = true;
        } else if (model == ModelId::Dll) {
            child->SetText(attachment);
        } else {
            child->SetEncodedText(attachment);
        }
        return;
    }
    CXmlNode* child = node->FindChild("Attachment");
    if (!child || QuietLoad()) return;
    if (model == ModelId::SubCir) {
        attachment.clear();
        if (CXmlNode* root = child->ChildAt(0)) root->ToText(attachment);
    } else if (model == ModelId::Dll) {
        attachment = child->GetText();
    } else {
        attachment = child->GetDecodedText();
    }
}

void CCmp::ClearFileContent() {
    for (CXmlNode* child : m_FileChildren) delete child;
    m_FileChildren.Clear();
    m_FileAttrs.Clear();
}

void CCmp::RememberFileContent(CXmlNode* node) {
    ClearFileContent();
    for (int i = 0; i < node->AttrCount(); ++i) {
        std::string key, value;
        node->AttrAt(i, key, value);
        m_FileAttrs.Add(key);
        m_FileAttrs.Add(value);
    }
    for (int i = 0; i < node->ChildCount(); ++i) {
        CXmlNode* child = node->ChildAt(i);
        std::string text;
        child->ToText(text);
        auto* copy = new CXmlNode;
        copy->ParseText(text, 1);
        m_FileChildren.Add(copy);
    }
}

void CCmp::WriteForeignContent(CXmlNode* node) const {
    for (int i = 0; i + 1 < m_FileAttrs.Count(); i += 2)
        if (!node->HasAttr(m_FileAttrs[i])) node->AddRaw(m_FileAttrs[i], m_FileAttrs[i + 1]);
    for (CXmlNode* child : m_FileChildren) {
        if (node->FindChild(child->m_Name)) continue;
        std::string text;
        child->ToText(text);
        CXmlNode* copy = node->AddChild("");
        copy->ParseText(text, 1);
        copy->m_bWrite = true;
    }
}

}  // namespace qz3
