#include "components/sub_cir.h"

#include <cstdio>

#include "components/calc_link.h"
#include "components/cmp.h"
#include "components/cmps.h"
#include "components/solver_port.h"
#include "expr/state_text.h"
#include "xml/convert.h"
#include "xml/xml_node.h"

namespace qz3 {

namespace {

constexpr int kOpAssign = 20;

// "name=value" at the first "="; an item without one has an empty value.
void SplitAssignment(const std::string& item, std::string& name, std::string& value) {
    const size_t equal = item.find('=');
    name = TrimBlanks(item.substr(0, equal));
    value = equal == std::string::npos ? std::string() : TrimBlanks(item.substr(equal + 1));
}

// One pair of quotes around a value is dropped ("\"1k\"" gives 1k).
std::string WithoutQuotes(const std::string& value) {
    if (value.size() > 2 && value.front() == '"' && value.back() == '"') return value.substr(1, value.size() - 2);
    return value;
}

// "R[2]" names R with index 2; a name without brackets has index 0.
void SplitIndex(const std::string& text, std::string& name, std::string& index) {
    const size_t open = text.find('[');
    if (open == std::string::npos) {
        name = text;
        index = "0";
        return;
    }
    name = text.substr(0, open);
    const size_t close = text.find(']', open);
    index = TrimBlanks(text.substr(open + 1, close == std::string::npos ? std::string::npos : close - open - 1));
    if (index.empty()) index = "0";
}

}  // namespace

CSubCir::CSubCir(CCmp* owner) : m_Owner(owner) {}

CSubCir::~CSubCir() = default;

bool CSubCir::Xml(CXmlNode* node) {
    if (!node) return false;
    if (node->m_bWrite) {
        CXmlNode* child = node->AddChild("SubCir");
        child->m_bWrite = true;
        child->Str("file", m_File);
        for (size_t i = 0; i < m_Labels.size(); ++i) child->Str("label" + std::to_string(i + 1), m_Labels[i]);
        child->Str("cmd", m_Cmd);
        child->Str("ic", m_IC);
        return true;
    }
    CXmlNode* child = node->FindChild("SubCir");
    if (!child) return false;
    SetPins(m_Owner->pinCount);
    m_File = child->Str("file", m_File);
    for (size_t i = 0; i < m_Labels.size(); ++i) m_Labels[i] = child->Str("label" + std::to_string(i + 1), m_Labels[i]);
    m_Cmd = child->Str("cmd", m_Cmd);
    m_IC = child->Str("ic", m_IC);
    return true;
}

void CSubCir::SetPins(int n) {
    Unload();
    if (n == m_PinCount && !m_Params.empty()) return;
    m_PinCount = n < 0 ? 0 : n;
    m_Labels.assign(static_cast<size_t>(m_PinCount), std::string());
    BuildParams();
}

void CSubCir::FixPins(int n) {
    m_FixedPins = true;
    m_PinCount = -1;
    SetPins(n);
}

// The rows point at this object's members, so the table is made once per
// pin count and never moves.
void CSubCir::BuildParams() {
    m_Params.clear();
    m_PinNames.clear();
    const int pins = m_FixedPins ? 0 : m_PinCount;
    for (int i = 1; i <= pins; ++i) m_PinNames.push_back("Pin" + std::to_string(i));
    m_Params.reserve(static_cast<size_t>(pins) + 4);
    m_Params.emplace_back(kParamFile, "File");
    m_Params.back().Data = &m_File;
    for (int i = 0; i < pins; ++i) {
        m_Params.emplace_back(kParamString, m_PinNames[static_cast<size_t>(i)].c_str());
        m_Params.back().Data = &m_Labels[static_cast<size_t>(i)];
    }
    m_Params.emplace_back(kParamInitList, "Cmd");
    m_Params.back().Data = &m_Cmd;
    m_Params.emplace_back(kParamInitList, "IC");
    m_Params.back().Data = &m_IC;
    m_Params.emplace_back();
}

void CSubCir::Unload() {
    if (m_Cmps && m_Reached) m_Retired.push_back(std::move(m_Cmps));
    m_Cmps.reset();
    m_Nodes.clear();
    m_LoadedFile.clear();
    m_Source.clear();
}

int CSubCir::Depth() const {
    int depth = 0;
    for (const CCmps* list = m_Owner->owner; list && list->m_Holder; list = list->m_Holder->m_Owner->owner) ++depth;
    return depth;
}

bool CSubCir::IncludesItself(const std::string& source) const {
    if (source.empty()) return false;
    for (const CCmps* list = m_Owner->owner; list && list->m_Holder; list = list->m_Holder->m_Owner->owner)
        if (list->m_Holder->m_Source == source) return true;
    return false;
}

bool CSubCir::LoadForAccess(CDoc* doc) {
    if (m_Cmps) return true;
    std::string error;
    if (m_Owner->attachment.empty() && m_File.empty()) return false;
    if (!LoadInner(doc, error)) return false;
    m_LoadedFile = m_File;
    return true;
}

bool CSubCir::ReadRoot(CXmlNode& root, CDoc* doc, std::string& error, std::string& source) {
    if (!m_Owner->attachment.empty()) {
        const size_t open = m_Owner->attachment.find('<');
        if (open != std::string::npos) root.ParseText(m_Owner->attachment, static_cast<int>(open) + 1);
        return true;
    }
    source = FindDocumentFile(doc, m_File, ".qz3");
    if (source.empty()) {
        error = "Can't open file " + m_File;
        return false;
    }
    if (IncludesItself(source)) {
        error = "Subcircuit includes itself: " + m_File;
        return false;
    }
    if (!root.LoadFile(source)) {
        error = root.Errors();
        return false;
    }
    return true;
}

bool CSubCir::LoadInner(CDoc* doc, std::string& error) {
    Unload();
    if (Depth() >= kMaxDepth) {
        error = "Subcircuits nested deeper than " + std::to_string(kMaxDepth) + " levels";
        return false;
    }
    CXmlNode root("QZ3");
    std::string source;
    if (!ReadRoot(root, doc, error, source)) return false;
    CXmlNode* docNode = root.m_Name == "QZ3" ? root.FindChild("Doc") : nullptr;
    if (docNode && docNode->HasAttr("Encr1")) {
        error = "Encrypted subcircuit not allowed";
        return false;
    }
    // A file of an older version is converted as an opened schematic is;
    // an attachment written without its Version record is taken as it is.
    CConversion conversion;
    if (root.m_Name == "QZ3" && root.FindChild("Version") && !ConvertToCurrent(root, conversion)) {
        error = conversion.text;
        return false;
    }
    docNode = root.FindChild("Doc");
    CXmlNode* cir = docNode ? docNode->FindChild("Cir") : nullptr;
    CXmlNode* cmps = cir ? cir->FindChild("Cmps") : nullptr;
    if (!cmps) {
        error = "Wrong file format";
        return false;
    }
    m_Cmps = std::make_unique<CCmps>(doc);
    m_Cmps->m_Holder = this;
    m_Source = source;
    cmps->m_bWrite = false;
    m_Cmps->Load(cmps);
    PrefixInner();
    SnapshotNodes();
    return true;
}

void CSubCir::PrefixInner() {
    const std::string prefix = m_Owner->FullName();
    for (int i = 0; i < m_Cmps->Count(); ++i) m_Cmps->At(i)->prefix = prefix;
}

// The solver renumbers pins in place; the file's numbers are kept so that a
// second run starts from them without reading the file again.
void CSubCir::SnapshotNodes() {
    m_Nodes.clear();
    for (int i = 0; i < m_Cmps->Count(); ++i) {
        const CCmp* cmp = m_Cmps->At(i);
        for (int p = 0; p < cmp->pinCount; ++p) m_Nodes.push_back(cmp->nodes[p]);
    }
}

void CSubCir::RestoreNodes() {
    size_t at = 0;
    for (int i = 0; i < m_Cmps->Count(); ++i) {
        CCmp* cmp = m_Cmps->At(i);
        for (int p = 0; p < cmp->pinCount && at < m_Nodes.size(); ++p) cmp->nodes[p] = m_Nodes[at++];
    }
}

bool CSubCir::Prepare(CSolverPort* calc) {
    // What the host changed inside goes into the attachment before the
    // run's own commands and initial conditions act on the copy.
    if (m_Accessed) RewriteAttachment();
    m_Accessed = false;
    if (m_Cmps && m_File == m_LoadedFile) {
        RestoreNodes();
    } else {
        Unload();
        if (m_Owner->attachment.empty() && m_File.empty()) return m_Owner->AddCmpError(calc, "No file name");
        std::string error;
        if (!LoadInner(calc->Doc() ? calc->Doc() : m_Owner->owner ? m_Owner->owner->doc : nullptr, error))
            return m_Owner->AddCmpError(calc, error);
        m_LoadedFile = m_File;
    }
    PrefixInner();
    for (int i = 0; i < m_Cmps->Count(); ++i) m_Cmps->At(i)->lastModel = ModelId::None;
    ApplyIC();
    if (!ApplyCommands(calc)) return false;
    m_Cmps->EvalParams();
    if (!calc->LinkCmps(m_Cmps.get())) return false;
    return ConnectPins(calc);
}

// The component's own "ic" first, then what an enclosing subcircuit handed
// down, so that the outer level has the last word.
void CSubCir::ApplyIC() {
    const std::string text = m_SavedIC.empty() ? m_IC : (m_IC.empty() ? m_SavedIC : m_IC + "," + m_SavedIC);
    m_SavedIC.clear();
    for (int i = 0; i < m_Cmps->Count(); ++i)
        if (m_Cmps->At(i)->subCir) m_Cmps->At(i)->subCir->m_SavedIC.clear();
    const int count = ListCount(text);
    for (int n = 0; n < count; ++n) {
        std::string name, rest;
        SplitPath(TrimBlanks(ListItem(text, n)), name, rest);
        CCmp* cmp = m_Cmps->Find(name);
        if (!cmp) continue;
        if (cmp->IsSubCircuit()) {
            AddKeyStr(cmp->SubCircuit().m_SavedIC, "", rest);
            continue;
        }
        std::string key, value;
        SplitAssignment(rest, key, value);
        CParam* row = cmp->FindParam(key);
        if (!row) continue;
        std::string report;
        bool ok = true;
        row->SetText(report, WithoutQuotes(value), m_Cmps->doc, &ok, nullptr);
    }
}

bool CSubCir::ApplyCommands(CSolverPort* calc) {
    const int count = ListCount(m_Cmd);
    for (int n = 0; n < count; ++n) {
        std::string target, value, name, index;
        SplitAssignment(ListItem(m_Cmd, n), target, value);
        if (target.empty()) continue;
        SplitIndex(target, name, index);
        std::string result;
        bool ok = true;
        int errpos = 0;
        m_Cmps->ParamAccess(kOpAssign, name, index, value, result, ok, errpos, nullptr);
        if (!ok) return m_Owner->AddCmpError(calc, result);
    }
    return true;
}

bool CSubCir::ConnectPins(CSolverPort* calc) {
    const int pins = std::min(m_Owner->pinCount, static_cast<int>(m_Labels.size()));
    for (int i = 0; i < pins; ++i) {
        const std::string& label = m_Labels[static_cast<size_t>(i)];
        if (label.empty()) continue;
        CCmp* inner = m_Cmps->Find(label);
        if (!inner) return m_Owner->AddCmpError(calc, "Label '" + label + "' not found");
        // An open pin on either side stays open: joining it would tie
        // together every unconnected pin of the run.
        if (inner->pinCount < 1 || inner->nodes[0] < 0 || m_Owner->nodes[i] < 0) continue;
        if (!calc->JoinNodes(inner->nodes[0], m_Owner->nodes[i])) return m_Owner->AddCmpError(calc, "No enough memory");
    }
    return true;
}

std::string CSubCir::StateText(int index) {
    m_SavedIC.clear();
    if (!m_Cmps) return {};
    for (int i = 0; i < m_Cmps->Count(); ++i) {
        CCmp* cmp = m_Cmps->At(i);
        if (cmp->IsDisconnected()) continue;
        std::string unused;
        const std::string text = cmp->IsSubCircuit() ? cmp->SubCircuit().StateText(index) : cmp->SaveIC(unused, index, true);
        const int count = ListCount(text);
        for (int n = 0; n < count; ++n) AddKeyStr(m_SavedIC, "", cmp->name + "." + TrimBlanks(ListItem(text, n)));
    }
    return m_SavedIC;
}

void CSubCir::RewriteAttachment() {
    if (!m_Cmps || m_Owner->attachment.empty()) return;
    const size_t open = m_Owner->attachment.find('<');
    if (open == std::string::npos) return;
    CXmlNode root("QZ3");
    root.ParseText(m_Owner->attachment, static_cast<int>(open) + 1);
    CXmlNode* docNode = root.FindChild("Doc");
    CXmlNode* cir = docNode ? docNode->FindChild("Cir") : nullptr;
    CXmlNode* cmps = cir ? cir->FindChild("Cmps") : nullptr;
    if (!cmps) return;
    // The copy carries run-time node numbers after a run; the file keeps
    // the numbers it was read with.
    std::vector<int> live;
    for (int i = 0; i < m_Cmps->Count(); ++i)
        for (int p = 0; p < m_Cmps->At(i)->pinCount; ++p) live.push_back(m_Cmps->At(i)->nodes[p]);
    RestoreNodes();
    while (cmps->ChildCount() > 0) cmps->DeleteChild(cmps->ChildCount() - 1);
    m_Cmps->Save(cmps);
    size_t at = 0;
    for (int i = 0; i < m_Cmps->Count(); ++i)
        for (int p = 0; p < m_Cmps->At(i)->pinCount && at < live.size(); ++p) m_Cmps->At(i)->nodes[p] = live[at++];
    root.m_bWrite = true;
    std::string text;
    root.ToText(text);
    m_Owner->attachment = text;
}

}  // namespace qz3
