#include "xml/convert.h"

#include "xml/convert_steps.h"
#include "xml/xml_node.h"

namespace qz3 {

namespace {

constexpr int kCurrentVersion = 3;

bool Fail(CConversion& result, const char* reason) {
    result.text = reason;
    return false;
}

// Sheets stood directly under Doc; they go to Cir/Sheets.
void MoveSheets(CXmlNode& doc, CXmlNode& cir) {
    CXmlNode* sheets = cir.AddChild("Sheets");
    while (CXmlNode* sheet = doc.FindChild("Sheet", 0)) {
        CXmlNode::MoveChild(sheet, &doc, sheets);
        ConvertSheet(*sheet);
    }
}

void ConvertAnalysis(CXmlNode& doc, const char* name, bool transient) {
    CXmlNode* analysis = doc.FindChild(name, 0);
    if (!analysis) return;
    if (CXmlNode* traces = analysis->FindChild("Traces", 0)) ConvertTraces(*traces, transient);
    if (!transient) return;
    if (CXmlNode* settings = analysis->FindChild("Settings", 0)) {
        settings->RenameAttr("rununtil", "pause_trigger");
        settings->RenameAttr("rununtilf", "pause_trigger_f");
    }
}

void WriteVersion(CXmlNode& root) {
    CXmlNode* version = root.FindChild("Version", 0);
    if (version)
        version->Clear();
    else
        version = root.AddChild("Version");
    version->AddInt("ver", kCurrentVersion);
    version->AddInt("rev", 4);
    version->AddInt("core", 30);
    version->AddInt("build", 0);
    version->AddStr("date", "06/03/2022");
}

void WriteRecord(CXmlNode& root, const CConversion& result) {
    CXmlNode* record = root.FindChild(kConversionRecord, 0);
    if (record)
        record->Clear();
    else
        record = root.AddChild(kConversionRecord);
    record->AddInt("from", result.fromVersion);
    record->AddStr("warnings", result.text);
}

}  // namespace

bool ConvertToCurrent(CXmlNode& root, CConversion& result) {
    result = CConversion{};
    CXmlNode* version = root.FindChild("Version", 0);
    if (version) {
        result.fromVersion = version->GetInt("ver", -1);
        if (result.fromVersion >= kCurrentVersion) return true;
    }
    result.converted = true;
    CXmlNode* doc = root.FindChild("Doc", 0);
    if (!doc) return Fail(result, "Wrong file format");
    if (doc->HasAttr("Encr1")) return Fail(result, "Encrypted file cannot be automatically converted to a new format");
    if (CXmlNode* properties = doc->FindChild("Properties", 0))
        properties->SetInt("save", doc->GetInt("save", 0));
    CXmlNode* calc = doc->FindChild("Calc", 0);
    if (!calc) return Fail(result, "Wrong file format");
    calc->m_Name = "Advanced";
    CXmlNode* cmps = doc->FindChild("Cmps", 0);
    if (!cmps) return Fail(result, "Wrong file format");
    CXmlNode* cir = doc->AddChild("Cir");
    CXmlNode::MoveChild(cmps, doc, cir);
    if (!ConvertComponents(*cmps, result.text)) return Fail(result, "Error converting components to Ver.3");
    MoveSheets(*doc, *cir);
    ConvertAnalysis(*doc, "Tran", true);
    ConvertAnalysis(*doc, "Freq", false);
    WriteVersion(root);
    WriteRecord(root, result);
    return true;
}

}  // namespace qz3
