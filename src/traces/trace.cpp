#include <atomic>
#include "traces/trace.h"

#include "solver/run_document.h"
#include "xml/settings.h"
#include "xml/xml_node.h"
#include "traces/trace_set.h"
#include "traces/traces.h"

namespace qz3 {

namespace {

// Process-wide running number of traces, from 1.
std::atomic<uint32_t> g_TraceUid{0};

const char* const kTypeWords[] = {"V",    "I",    "P",     "S",    "Var",   "Function",
                                  "Z",    "Gamma", "VSWR", "Loop", "Scope", "Math"};
const char* const kModeWords[] = {"analog", "digital", "bus"};
const char* const kBusWords[] = {"bin", "oct", "hex", "dec", "txt"};
const char* const kAcOutWords[] = {"mag_phase", "r", "x"};

struct CFuncRow {
    const char* word;
    const char* label;
};
const CFuncRow kFuncRows[] = {
    {"function", "Function"},     {"min", "Min"},
    {"max", "Max"},               {"integral", "Integral"},
    {"mean", "Mean"},             {"rms", "RMS"},
    {"acrms", "AC RMS"},          {"lpf", "LPF"},
    {"hpf", "HPF"},               {"movaver", "Moving Average"},
    {"movrms", "Moving RMS"},     {"movacrms", "Moving AC RMS"},
    {"regr", "Regression"},       {"counter", "Counter"},
    {"fvconverter", "F-V converter"}, {"tvconverter", "T-V converter"},
};
constexpr int kTranFuncCount = 16;
constexpr int kAcFuncCount = 3;  // an AC trace knows only function, min and max

constexpr int kBusDec = 3;

template <size_t N>
constexpr int CountOf(const char* const (&)[N]) {
    return static_cast<int>(N);
}

// The code of a word in a table, or -1.
int FindWord(const std::string& word, const char* const* words, int count) {
    for (int i = 0; i < count; ++i)
        if (word == words[i]) return i;
    return -1;
}

}  // namespace

CTrace::CTrace(CTraces* owner) : m_Traces(owner), m_Uid(++g_TraceUid) {
    CTraceSet* set = owner ? owner->m_Set : nullptr;
    if (set) {
        m_bTran = set->m_bTran;
        m_Annotations.m_bTran = m_bTran;
        m_DigThreshold = set->DefaultThreshold();
    }
    RefreshLink();
}

CTrace::~CTrace() { DropRuns(); }

// ---- file keys -------------------------------------------------------------

void CTrace::AddNodeError(CXmlNode& node, const std::string& what, const std::string& word) {
    std::string message = DisplayName() + " : unknown trace " + what + " = " + word;
    node.SetError(node.m_Error.empty() ? message : node.m_Error + "\n" + message);
}

void CTrace::Xml(CXmlNode& node, bool withData) {
    XmlCommonHead(node);
    if (m_Type == kTraceMath && m_Id == 0) XmlFunction(node);
    if (m_bTran) {
        XmlTranKeys(node);
    } else {
        m_PhaseWidth = node.Int("phase_width", m_PhaseWidth);
        if (node.m_bWrite) {
            node.SetRaw("ac_out", kAcOutWords[m_AcOut]);
        } else if (node.HasAttr("ac_out")) {
            int code = FindWord(node.GetRaw("ac_out", ""), kAcOutWords, CountOf(kAcOutWords));
            m_AcOut = code < 0 ? kAcMagPhase : code;
        }
    }
    XmlCommonTail(node);
    if (withData && !node.m_bWrite) XmlDataList(node);
    RefreshLink();
}

void CTrace::XmlCommonHead(CXmlNode& node) {
    m_Id = node.Int("id", m_Id);
    m_Expr = node.Str("expr", m_Expr);
    m_Name = node.Str("name", m_Name);
    m_Color = node.Color("color", m_Color);
    m_Sel = node.Bool("sel", m_Sel);
    m_Plot = node.Bool("plot", m_Plot);
    m_Window = node.Int("window", m_Window);
    m_Table = node.Bool("table", m_Table);
    m_Storage = node.Bool("storage", m_Storage);
    m_Tools = node.Int("tools", m_Tools);
    if (node.m_bWrite) {
        node.SetRaw("type", kTypeWords[m_Type]);
        if (m_bTran) node.SetRaw("mode", kModeWords[m_Mode]);
        return;
    }
    if (node.HasAttr("type")) {
        std::string word = node.GetRaw("type", "");
        m_Type = FindWord(word, kTypeWords, CountOf(kTypeWords));
        if (m_Type < 0) {
            m_Type = kTraceV;
            AddNodeError(node, "type", word);
        }
    }
    if (m_bTran && node.HasAttr("mode")) {
        std::string word = node.GetRaw("mode", "");
        m_Mode = FindWord(word, kModeWords, CountOf(kModeWords));
        if (m_Mode < 0) {
            m_Mode = kTraceAnalog;
            AddNodeError(node, "mode", word);
        }
    }
}

void CTrace::XmlFunction(CXmlNode& node) {
    CXmlNode* child = node.m_bWrite ? node.AddChild("Function") : node.FindChild("Function", 0);
    if (!child) return;
    child->m_bWrite = node.m_bWrite;
    CTraceFunction& f = m_Function;
    int count = m_bTran ? kTranFuncCount : kAcFuncCount;
    if (child->m_bWrite) {
        child->SetRaw("func", kFuncRows[f.func].word);
    } else if (child->HasAttr("func")) {
        std::string word = child->GetRaw("func", "");
        f.func = kFuncFunction;
        for (int i = 0; i < count; ++i)
            if (word == kFuncRows[i].word) f.func = i;
        if (word != kFuncRows[f.func].word) AddNodeError(*child, "function", word);
    }
    f.range = child->Int("range", f.range);
    f.left = child->Dbl("left", f.left);
    f.right = child->Dbl("right", f.right);
    if (f.func == kFuncLpf || f.func == kFuncHpf) f.tc = child->Dbl("tc", f.tc);
    if (f.func >= kFuncMovAver && f.func <= kFuncMovAcRms) f.window = child->Dbl("window", f.window);
    if (f.func == kFuncRegr) f.order = child->Int("order", f.order);
    if (f.func >= kFuncCounter && f.func <= kFuncTvConverter) {
        f.threshold = child->Dbl("threshold", f.threshold);
        f.edge = child->Int("edge", f.edge);
    }
}

void CTrace::XmlTranKeys(CXmlNode& node) {
    if (node.m_bWrite || node.HasAttr("dig_threshold")) {
        m_DigThreshold = node.Dbl("dig_threshold", m_DigThreshold);
    } else {
        // Files of older versions kept two levels; their middle is the threshold.
        const CAdvancedSettings* advanced =
            RunDocument(m_Traces && m_Traces->m_Set ? m_Traces->m_Set->m_Doc : nullptr).advanced;
        double high = node.Dbl("dig_high", advanced ? advanced->m_High : 5.0);
        double low = node.Dbl("dig_low", advanced ? advanced->m_Low : 0.0);
        m_DigThreshold = (high + low) * 0.5;
    }
    m_Scale = node.Dbl("scale", m_Scale);
    m_Mid = node.Dbl("mid", m_Mid);
    m_DigStyle = node.Int("dig_style", m_DigStyle);
    if (node.m_bWrite) {
        node.SetRaw("bus_format", kBusWords[m_BusFormat]);
    } else if (node.HasAttr("bus_format")) {
        std::string word = node.GetRaw("bus_format", "");
        m_BusFormat = FindWord(word, kBusWords, CountOf(kBusWords));
        if (m_BusFormat < 0) {
            m_BusFormat = kBusDec;
            AddNodeError(node, "bus format", word);
        }
    }
    m_BusBits = node.Int("bus_bits", m_BusBits);
    m_BusContent = node.Int("bus_content", m_BusContent);
    m_BusFp = node.Int("bus_fp", m_BusFp);
    m_BusText = node.Str("bus_text", m_BusText);
    m_Shift = node.Dbl("shift", m_Shift);
    m_XY = node.Bool("xy", m_XY);
}

void CTrace::XmlCommonTail(CXmlNode& node) {
    m_LineWidth = node.Int("width", m_LineWidth);
    m_ScaleHistory = node.Str("scale_history", m_ScaleHistory);
    m_SimpleLine = node.Bool("simple_line", m_SimpleLine);
    m_SimpleDp = node.Bool("simple_dp", m_SimpleDp);
    m_Line = node.Int("line", m_Line);
    m_Marker = node.Int("marker", m_Marker);
    m_MarkerStyle = node.Int("marker_style", m_MarkerStyle);
    m_MarkerSize = node.Int("marker_size", m_MarkerSize);
    m_Annotations.XmlIn(node);
}

// The records describe runs whose points stayed in the binary block, which
// is never read back: each becomes an empty run of its id and kind.
void CTrace::XmlDataList(CXmlNode& node) {
    CXmlNode* list = node.FindChild("DataList", 0);
    if (!list) return;
    for (int i = 0; i < list->ChildCount(); ++i) {
        CXmlNode* data = list->ChildAt(i);
        if (data && data->m_Name == "Data") ReadDataRecord(*data);
    }
}

void CTrace::ReadDataRecord(CXmlNode& data) {
    int id = data.GetInt("id", 0);
    CData* run = nullptr;
    if (id == 0) {
        EnsureRun();
        run = m_Run;
        run->Clear();
    } else {
        run = AddRun(id);
    }
    int type = data.GetInt("type", 0);
    if (type != 0)
        run->SetStoredType(static_cast<uint32_t>(type), data.GetDbl("x_zero", 0.0), data.GetDbl("x_scale", 1.0),
                           data.GetDbl("y_zero", 0.0), data.GetDbl("y_scale", 1.0), data.GetDbl("y_offset", 0.0));
    run->m_Annotations.XmlIn(data);
}

// ---- names ---------------------------------------------------------------

std::string CTrace::DisplayName() const { return m_Name.empty() ? Label() : m_Name; }

std::string CTrace::Label() const {
    std::string label = m_Expr;
    if (m_Type == kTraceMath && m_Id >= 0 && m_Function.func != kFuncFunction) {
        int count = m_bTran ? kTranFuncCount : kAcFuncCount;
        int func = m_Function.func;
        label = (func > 0 && func < count ? std::string(kFuncRows[func].label) : std::string("Unknown function")) +
                " of " + m_Expr;
    }
    if (!m_bTran && m_AcOut == kAcReal) return "Re of " + label;
    if (!m_bTran && m_AcOut == kAcImag) return "Im of " + label;
    return label;
}

// ---- runs ----------------------------------------------------------------

void CTrace::RefreshLink() {
    m_Link.shift = m_Shift;
    m_Link.mode = m_bTran ? m_Mode : kTraceAnalog;
    m_Link.threshold = m_DigThreshold;
    m_Link.acOut = m_AcOut;
    m_Link.logX = m_LogX;
    m_Link.dbY = m_DbY;
    CTraceSet* set = m_Traces ? m_Traces->m_Set : nullptr;
    m_Link.compress = set ? set->Compression() : true;
    m_Link.setBytes = set ? &set->m_Bytes : nullptr;
}

CData* CTrace::AddRun(int id) {
    auto* run = new CData(&m_Link, id, m_bTran ? 2 : 3);
    // The run in progress stands first.
    if (id == 0)
        m_Runs.Insert(0, run);
    else
        m_Runs.Add(run);
    return run;
}

void CTrace::EnsureRun() {
    RefreshLink();
    if (!m_Run) m_Run = AddRun(0);
}

void CTrace::ClearRun() {
    EnsureRun();
    m_Run->Clear();
    m_Points = 0;
    m_Link.points = 0;
    m_PhaseLast = 0.0;
    m_PhaseTurns = 0.0;
    m_ReplaceFirst = false;
}

CData* CTrace::DataObject() const {
    if (m_Run) return m_Run;
    return m_Runs.At(0);
}

void CTrace::DropRuns() {
    if (m_Run) m_Run->m_Annotations.MoveTo(m_Annotations);
    for (CData* run : m_Runs) delete run;
    m_Runs.Clear();
    m_Run = nullptr;
}

void CTrace::Unbind() {
    m_Cmp = nullptr;
    m_NodeP = m_NodeM = m_Branch = -1;
    m_Resistance = 0.0;
    m_Variable = nullptr;
}

}  // namespace qz3
