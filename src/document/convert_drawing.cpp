// Drawings and traces of older files: only words and key names changed.
#include <cstdio>
#include <string>

#include "document/convert_steps.h"
#include "traces/trace.h"
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

// Older files stored coded keys as numbers: a number becomes the word of
// its code, the word "unknown" is dropped and the default stands.
void CodeToWord(CXmlNode& node, const char* key, TraceWords table) {
    if (!node.HasAttr(key)) return;
    const std::string value = node.GetRaw(key, "");
    if (value == "unknown") {
        node.DeleteAttr(key);
        return;
    }
    if (value.empty() || value.find_first_not_of("0123456789") != std::string::npos) return;
    if (const char* word = TraceWordOf(table, TextToInt(value.c_str())))
        node.SetRaw(key, word);
    else
        node.DeleteAttr(key);
}

void ConvertTrace(CXmlNode& trace, bool transient) {
    trace.RenameAttr("tracename", "name");
    trace.RenameAttr("tool", "tools");
    CodeToWord(trace, "type", TraceWords::Type);
    if (CXmlNode* function = trace.FindChild("Function", 0)) CodeToWord(*function, "func", TraceWords::Func);
    if (transient) {
        CodeToWord(trace, "mode", TraceWords::Mode);
        CodeToWord(trace, "bus_format", TraceWords::BusFormat);
        if (trace.GetRaw("bus_content", "") == "unknown") trace.DeleteAttr("bus_content");
    } else {
        trace.RenameAttr("out1", "ac_out");
        CodeToWord(trace, "ac_out", TraceWords::AcOut);
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
