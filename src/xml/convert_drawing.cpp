// Drawings and traces of older files: only words and key names changed.
#include <cstdio>
#include <string>

#include "xml/convert_steps.h"
#include "xml/xml_node.h"

namespace qz3 {

namespace {

struct CRename {
    const char* from;
    const char* to;
};

// Words of the "type" of a drawing item; "wire" and "line" stay.
constexpr CRename kPictureWords[] = {
    {"polyline", "pict_line"}, {"rect", "pict_rect"}, {"oval", "pict_oval"},
    {"vars", "pict_vars"},     {"text", "pict_text"},
};

// Keys of the component records of a drawing.
constexpr CRename kPictureKeys[] = {
    {"format", "param_format"}, {"params", "values"}, {"subcir_labels", "subcir"}, {"value_formula", "formula"},
};

void ConvertPicture(CXmlNode& item) {
    const std::string type = item.GetRaw("type", "");
    for (const CRename& word : kPictureWords)
        if (type == word.from) item.SetRaw("type", word.to);
    for (const CRename& key : kPictureKeys) item.RenameAttr(key.from, key.to);
}

// "center"="x,y" becomes two numbers.
void SplitCenter(CXmlNode& view) {
    if (!view.HasAttr("center")) return;
    int x = 0, y = 0;
    if (std::sscanf(view.GetRaw("center", "").c_str(), "%d,%d", &x, &y) != 2) return;
    view.DeleteAttr("center");
    view.AddDbl("center_x", x);
    view.AddDbl("center_y", y);
}

// Older files stored the coded keys of a trace as numbers; these are the
// present words of the old codes, in the order of the codes.
struct CCodeWords {
    const char* const* words;
    int count;
};
constexpr const char* kOldTypes[] = {"V", "I", "P", "S", "Var", "Function", "Z", "Gamma", "VSWR", "Loop", "Scope", "Math"};
constexpr const char* kOldModes[] = {"analog", "digital", "bus"};
constexpr const char* kOldBusFormats[] = {"bin", "oct", "hex", "dec", "txt"};
constexpr const char* kOldAcOutputs[] = {"mag_phase", "r", "x"};
constexpr const char* kOldFunctions[] = {"function", "min",    "max",      "integral", "mean",  "rms",
                                         "acrms",    "lpf",    "hpf",      "movaver",  "movrms", "movacrms",
                                         "regr",     "counter", "fvconverter", "tvconverter"};
template <size_t N>
constexpr CCodeWords Words(const char* const (&words)[N]) {
    return {words, static_cast<int>(N)};
}

// A number becomes the word of its code, a code without a word and the word
// "unknown" are dropped, so that the default stands.
void CodeToWord(CXmlNode& node, const char* key, CCodeWords table) {
    if (!node.HasAttr(key)) return;
    const std::string value = node.GetRaw(key, "");
    if (value == "unknown") {
        node.DeleteAttr(key);
        return;
    }
    if (value.empty() || value.find_first_not_of("0123456789") != std::string::npos) return;
    const int code = TextToInt(value.c_str());
    if (code < table.count)
        node.SetRaw(key, table.words[code]);
    else
        node.DeleteAttr(key);
}

void ConvertTrace(CXmlNode& trace, bool transient) {
    trace.RenameAttr("tracename", "name");
    trace.RenameAttr("tool", "tools");
    CodeToWord(trace, "type", Words(kOldTypes));
    if (CXmlNode* function = trace.FindChild("Function", 0)) CodeToWord(*function, "func", Words(kOldFunctions));
    if (transient) {
        CodeToWord(trace, "mode", Words(kOldModes));
        CodeToWord(trace, "bus_format", Words(kOldBusFormats));
        if (trace.GetRaw("bus_content", "") == "unknown") trace.DeleteAttr("bus_content");
    } else {
        trace.RenameAttr("out1", "ac_out");
        CodeToWord(trace, "ac_out", Words(kOldAcOutputs));
    }
}

}  // namespace

void ConvertSheet(CXmlNode& sheet) {
    if (CXmlNode* view = sheet.FindChild("VC", 0)) SplitCenter(*view);
    if (CXmlNode* pictures = sheet.FindChild("Pcts", 0))
        for (int i = 0; i < pictures->ChildCount(); ++i) ConvertPicture(*pictures->ChildAt(i));
}

void ConvertTraces(CXmlNode& traces, bool transient) {
    for (int i = 0; i < traces.ChildCount(); ++i) {
        CXmlNode& trace = *traces.ChildAt(i);
        if (trace.m_Name == "Trace") ConvertTrace(trace, transient);
    }
}

}  // namespace qz3
