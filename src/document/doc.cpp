#include <atomic>
#include "document/doc.h"

#include <new>
#include <sys/stat.h>

#include "components/cmps.h"
#include "xml/scramble.h"
#include "xml/xml_node.h"
#include "expr/number_text.h"
#include "solver/calc.h"

namespace qz3 {

namespace {

// The title number rises for the whole process, also across closed documents.
std::atomic<int> g_TitleCounter{0};

constexpr char kSeparator = '/';

bool IsSeparator(char c) { return c == '/' || c == '\\'; }

std::string Trim(const std::string& s) {
    size_t first = s.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return "";
    size_t last = s.find_last_not_of(" \t\r\n");
    return s.substr(first, last - first + 1);
}

// The folder part of a path with its separator, or empty.
std::string FolderOf(const std::string& path) {
    size_t cut = path.find_last_of("/\\");
    return cut == std::string::npos ? "" : path.substr(0, cut + 1);
}

}  // namespace

std::string WithDefaultExtension(const std::string& name, const std::string& ext) {
    size_t dot = name.find_last_of('.');
    size_t separator = name.find_last_of("/\\");
    bool hasExtension = dot != std::string::npos && (separator == std::string::npos || dot > separator);
    return hasExtension ? name : name + ext;
}

bool FileExists(const std::string& path) {
    struct stat info {};
    return !path.empty() && stat(path.c_str(), &info) == 0;
}

CDoc::CDoc()
    : m_Title("Circuit" + std::to_string(++g_TitleCounter)),
      m_Cmps(std::make_unique<CCmps>(this)),
      m_Tran(std::make_unique<CTraceSet>(this, true)),
      m_Freq(std::make_unique<CTraceSet>(this, false)),
      m_Calc(std::make_unique<CCalc>(this)) {
    static const bool linked = (LinkTracesToSignals(), LinkMeasurementsToFormulas(), true);
    (void)linked;
}

CDoc::~CDoc() {
    // The solver goes before the components: ending a run resets them.
    if (m_Running) m_Calc->EndRun();
    m_Calc.reset();
    // The tree goes first: nothing in it points into the component list.
    m_Tree.reset();
    for (CParamRecord* record : m_Params) delete record;
    m_Params.Clear();
    for (CInputRecord* record : m_Inputs) delete record;
    m_Inputs.Clear();
    for (COutputRecord* record : m_Outputs) delete record;
    m_Outputs.Clear();
    m_Cmps.reset();
}

int CDoc::Load(const std::string& path) {
    m_LastError.clear();
    std::string file = WithDefaultExtension(path, ".qz3");
    m_Tree.reset(new (std::nothrow) CXmlNode("QZ3"));
    if (!m_Tree) {
        m_LastError = "error opening file " + file;
        return -1;
    }
    if (!m_Tree->LoadFile(file)) {
        m_LastError = "cannot open file " + file + "\n" + m_Tree->Errors();
        m_Tree.reset();
        return -1;
    }
    if (const int restored = ConvertAndRestore(file); restored < 0) {
        m_Tree.reset();
        return restored;
    }
    // A file without Doc (or whose component list refuses) fails without
    // words: the host reads the bare prefix of its call.
    CXmlNode* doc = m_Tree->FindChild("Doc", 0);
    if (!doc || !ReadDoc(*doc)) {
        m_Tree.reset();
        return -1;
    }
    m_Title = file;
    m_FileName = file;
    return 0;
}

// Older files are converted before anything reads them; scrambled parts
// are restored in place, and remembered for the save.
// -2 when an older file cannot be converted, -1 when a scrambled part is
// damaged.
int CDoc::ConvertAndRestore(const std::string& file) {
    if (!ConvertToCurrent(*m_Tree, m_Conversion)) {
        m_LastError = "error converting from Ver.2: " + m_Conversion.text;
        return -2;
    }
    std::string error;
    CScrambledParts found;
    if (!UnscrambleDocument(*m_Tree, error, &found)) {
        m_LastError = file + " : " + error;
        return -1;
    }
    m_ScrambledDoc = found.doc;
    m_ScrambledCmps = found.cmps;
    return 0;
}

bool CDoc::ReadDoc(CXmlNode& doc) {
    if (CXmlNode* cir = doc.FindChild("Cir", 0))
        if (CXmlNode* cmps = cir->FindChild("Cmps", 0))
            if (!m_Cmps->Load(cmps)) return false;
    if (CXmlNode* tran = doc.FindChild("Tran", 0)) ReadTran(*tran);
    ReadStates(doc);
    if (CXmlNode* freq = doc.FindChild("Freq", 0)) ReadFreq(*freq);
    if (CXmlNode* advanced = doc.FindChild("Advanced", 0)) m_Advanced.Xml(*advanced);
    ReadLibraries(doc);
    // Traces come last: their defaults are the logic levels of Advanced.
    ReadTraceSets(doc);
    return true;
}

// The trace set of the transient analysis reads Tran/Traces beside this.
// The cursors of the measurements: "a" left, "b" right (the element stays
// in the tree and is saved as it was).
static void ReadCursors(CXmlNode& analysis, CTraceSet& set) {
    CXmlNode* cursors = analysis.FindChild("Cursors", 0);
    if (!cursors || !set.m_Traces) return;
    set.m_Traces->m_Left = cursors->GetDbl("a", 0.0);
    set.m_Traces->m_Right = cursors->GetDbl("b", 0.0);
}

void CDoc::ReadTran(CXmlNode& tran) {
    if (CXmlNode* settings = tran.FindChild("Settings", 0)) m_TranSettings.Xml(*settings);
    ReadCursors(tran, *m_Tran);
}

// The trace set of the AC analysis reads Freq/Traces beside this.
void CDoc::ReadFreq(CXmlNode& freq) {
    if (CXmlNode* settings = freq.FindChild("Settings", 0)) m_ACSettings.Xml(*settings);
    ReadCursors(freq, *m_Freq);
}

void CDoc::ReadStates(CXmlNode& doc) {
    m_States.Clear();
    CXmlNode* states = doc.FindChild("States", 0);
    if (!states) return;
    for (int i = 0; i < states->ChildCount(); ++i) m_States.Add(states->ChildAt(i)->GetText());
}

void CDoc::ReadLibraries(CXmlNode& doc) {
    m_Libraries.clear();
    CXmlNode* libraries = doc.FindChild("Libraries", 0);
    if (!libraries) return;
    for (int i = 0; i < libraries->ChildCount(); ++i) m_Libraries += libraries->ChildAt(i)->GetStr("name", "") + "\n";
}

bool CDoc::Save(const std::string& path) {
    if (!m_Tree) return false;
    m_Tree->m_bWrite = true;
    CXmlNode* doc = m_Tree->FindChild("Doc", 0);
    if (!doc) return false;
    CXmlNode* properties = doc->FindChild("Properties", 0);
    bool storeData = properties && (properties->GetInt("save", 0) & 2) != 0;
    if (!WriteCmps(*doc)) return false;
    WriteLiveSettings(*doc);
    WriteTraceAnnotations(*doc);
    if (storeData) {
        CXmlNode* tran = doc->FindChild("Tran", 0);
        if (!tran) tran = doc->AddChild("Tran");
        DescribeStoredData(*tran);
    }
    if (!SaveTree(*doc, path)) return false;
    if (!storeData) return true;
    std::FILE* file = std::fopen(path.c_str(), "a+b");
    if (!file) return false;
    bool ok = WriteStoredData(file);
    return std::fclose(file) == 0 && ok;
}

bool CDoc::WriteCmps(CXmlNode& doc) {
    CXmlNode* cir = doc.FindChild("Cir", 0);
    CXmlNode* cmps = cir ? cir->FindChild("Cmps", 0) : nullptr;
    if (!cmps) return true;  // a document without a component list writes none
    cmps->Clear();
    if (!m_Cmps->Save(cmps)) return false;
    if (m_ScrambledCmps) cmps->Scramble();
    return true;
}

// A scrambled document goes to the file as a scrambled copy that stands in
// its place for the write: the traces keep pointers into the plain one.
bool CDoc::SaveTree(CXmlNode& doc, const std::string& path) {
    const int place = m_ScrambledDoc && m_Tree->m_Children ? m_Tree->m_Children->IndexOf(&doc) : -1;
    if (place < 0) return m_Tree->SaveFile(path);
    std::string text;
    doc.ToText(text);
    CXmlNode copy;
    copy.ParseText(text, 1);
    copy.Scramble();
    TList<CXmlNode>& children = *m_Tree->m_Children;
    children.Delete(place);
    children.Insert(place, &copy);
    const bool saved = m_Tree->SaveFile(path);
    children.Delete(place);
    children.Insert(place, &doc);
    return saved;
}

namespace {

CXmlNode* FindOrAdd(CXmlNode& parent, const char* name) {
    CXmlNode* child = parent.FindChild(name, 0);
    return child ? child : parent.AddChild(name);
}

}  // namespace

// Only the step and the time-out follow the host; every other setting is
// written back as it was read.
void CDoc::WriteLiveSettings(CXmlNode& doc) {
    FindOrAdd(*FindOrAdd(doc, "Tran"), "Settings")->SetRaw("step", NumberToText(m_TranSettings.m_Step, 12));
    FindOrAdd(doc, "Advanced")->SetRaw("to", std::to_string(m_Advanced.m_Timeout));
}

std::string CDoc::Folder() const { return FolderOf(m_FileName); }

std::string CDoc::FindFile(const std::string& name, const std::string& ext) const {
    if (name.empty()) return "";
    std::string file = ext.empty() ? name : WithDefaultExtension(name, ext);
    // A name rooted with a backslash by another system is taken as relative.
    if (file[0] == '\\') file[0] = ' ';
    file = Trim(file);
    for (char& c : file)
        if (c == '\\') c = kSeparator;
    if (FileExists(file)) return file;
    std::string folder = FolderOf(m_FileName);
    if (!folder.empty() && FileExists(folder + file)) return folder + file;
    size_t start = 0;
    while (start < m_Libraries.size()) {
        size_t lf = m_Libraries.find('\n', start);
        if (lf == std::string::npos) lf = m_Libraries.size();
        std::string line = Trim(m_Libraries.substr(start, lf - start));
        start = lf + 1;
        if (line.empty()) continue;
        if (!IsSeparator(line.back())) line += kSeparator;
        if (FileExists(line + file)) return line + file;
        if (!folder.empty() && FileExists(folder + line + file)) return folder + line + file;
    }
    return "";
}

}  // namespace qz3
