// Components of older files: each rule renames a type or a model, moves a
// key, or adds what the present element expects, and says so in a warning
// when the user may notice the difference.
#include <algorithm>
#include <cctype>
#include <string>

#include "xml/convert.h"
#include "xml/convert_steps.h"
#include "xml/xml_node.h"

namespace qz3 {

namespace {

// What a rule sees of one component.
struct COldCmp {
    CXmlNode& node;
    std::string type;
    std::string model;
    std::string name;
    std::string& text;  // the warnings of the whole conversion

    void Warn(const std::string& line) { text += name + line + "\n"; }
    void SetModel(const char* newModel) { node.SetStr("model", newModel); }
    int Old(const char* key, int def) const { return node.GetInt(key, def); }
};

bool IsFormulaName(const std::string& name) {
    if (name.empty() || !(std::isalpha(static_cast<unsigned char>(name[0])) || name[0] == '_')) return false;
    for (char c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
    static const char* const kReserved[] = {"inf", "true", "false", "high", "low", "pi", "rad"};
    std::string lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
    return std::none_of(std::begin(kReserved), std::end(kReserved), [&](const char* word) { return lower == word; });
}

void ReplaceAll(std::string& text, char from, char to) { std::replace(text.begin(), text.end(), from, to); }

// The suffixes of the attributes a formula value is stored in.
constexpr const char* kValueParts[] = {"_str", "", "_format", "_bit"};

// A value stored by a formula (text, number, format, bits) is written back
// in the present form: the text encoded, the number by the number writer,
// format and bits only when they aren't the defaults, in that order.
void RewriteValue(CXmlNode& from, const char* key, CXmlNode& to) {
    const std::string name = key;
    if (!from.HasAttr(name) && !from.HasAttr(name + "_str")) return;
    const std::string text = from.GetStr(name + "_str", "");
    const double value = from.GetDbl(name, 0.0);
    const std::string format = from.GetRaw(name + "_format", "double");
    const int bits = from.GetInt(name + "_bit", 32);
    for (const char* part : kValueParts) {
        from.DeleteAttr(name + part);
        to.DeleteAttr(name + part);
    }
    if (!text.empty()) to.AddStr(name + "_str", text);
    to.AddDbl(name, value);
    if (format == "int" || format == "bin" || format == "oct" || format == "hex") to.AddRaw(name + "_format", format);
    if (bits != 32) to.AddInt(name + "_bit", bits);
}

void CopyRaw(CXmlNode& from, const char* key, CXmlNode& to) {
    if (from.HasAttr(key)) to.SetRaw(key, from.GetRaw(key, ""));
}

// ---- the rules, one function each ----------------------------------------------

bool ConvertSubCir(COldCmp& c) {
    if (CXmlNode* sub = c.node.FindChild("SubCir", 0)) {
        for (const char* key : {"ic", "cmd"}) {
            if (!sub->HasAttr(key)) continue;
            std::string value = sub->GetStr(key, "");
            ReplaceAll(value, ';', ',');
            sub->SetStr(key, value);
        }
    }
    CXmlNode* attachment = c.node.FindChild("Attachment", 0);
    CXmlNode* inner = attachment ? attachment->ChildAt(0) : nullptr;
    if (!inner) return true;
    CConversion conversion;
    if (!ConvertToCurrent(*inner, conversion)) return false;
    size_t start = 0;
    while (start < conversion.text.size()) {
        size_t end = conversion.text.find('\n', start);
        if (end == std::string::npos) end = conversion.text.size();
        c.text += c.name + ":" + conversion.text.substr(start, end - start) + "\n";
        start = end + 1;
    }
    return true;
}

void ConvertIntegral(COldCmp& c) {
    c.node.SetRaw("type", "F_INT");
    c.SetModel("Integral");
    c.Warn(" : model 'Integral' changed to a new component type");
}

void ConvertPwm(COldCmp& c) {
    RewriteValue(c.node, "dfdv", c.node);
    RewriteValue(c.node, "fpwm", c.node);
}

void ConvertLabel(COldCmp& c) {
    c.SetModel("IC");
    RenameValueKey(c.node, "ic", "v");
    c.Warn(" : model 'Label' changed to 'IC'");
}

void ConvertPwlSource(COldCmp& c) {
    c.SetModel("List");
    if (CXmlNode* signal = c.node.FindChild("Signal", 0)) signal->RenameAttr("pwl", "list");
    c.Warn(" : model 'PWL' changed to 'List'");
}

void ConvertFunctionToImpedance(COldCmp& c) {
    c.node.SetRaw("type", "Z_Z");
    RenameValueKey(c.node, "fs", "f");
    c.Warn(" : changed to 'Impedance' component type");
}

void ConvertOldSwitch(COldCmp& c) {
    const bool on = c.Old("a", 0) == 1;
    c.node.DeleteAttr("a");
    c.SetModel(on ? "On" : "Off");
    c.Warn(on ? " : model 'Switch' changed to model 'On'" : " : model 'Switch' changed to model 'Off'");
}

// The labels "label0" ... of a block turned by its view go round by the
// view, so that each stays at the pin it was drawn at.
void ConvertBlockView(COldCmp& c, int pins) {
    const int view = c.Old("view", 0);
    if (view <= 0) return;
    std::string labels[8];
    for (int i = 0; i < pins; ++i) labels[i] = c.node.GetRaw("label" + std::to_string(i), "");
    for (int i = 0; i < pins; ++i) {
        const std::string& moved = labels[((i - view) % pins + pins) % pins];
        if (!moved.empty() || c.node.HasAttr("label" + std::to_string(i)))
            c.node.SetRaw("label" + std::to_string(i), moved);
    }
    c.node.SetInt("view", 0);
}

const char* const kGateKinds[] = {"AND", "OR", "XOR"};

int GateKind(const COldCmp& c) { return std::clamp(c.Old("view", 0), 0, 2); }

void ConvertGate(COldCmp& c) {
    const int kind = GateKind(c);
    c.node.SetRaw("type", c.type + "_" + kGateKinds[kind]);
    c.node.SetInt("view", 0);
    if (kind == 2 && c.type == "Y_3") c.text += "Functionality of " + c.name + " (XOR) has changed\n";
}

void ConvertCustomGate(COldCmp& c) {
    static const char* const kWords[] = {"and", "or", "xor"};
    const int kind = GateKind(c);
    c.node.SetRaw("custom_type", kWords[kind]);
    c.node.SetInt("view", 0);
    if (kind == 2 && c.node.HasAttr("node3")) c.text += "Functionality of " + c.name + " (XOR) may change\n";
}

void ConvertLogicGenerator(COldCmp& c) {
    if (c.model == "V") {
        const bool low = c.Old("a", 1) == 0;
        c.node.DeleteAttr("a");
        c.SetModel(low ? "Low" : "High");
        c.Warn(low ? " : model 'V' changed to model 'Low'" : " : model 'V' changed to model 'High'");
        return;
    }
    if (c.model == "Pulse" || c.model == "One-shot") {
        c.node.SetInt("view", 1 - c.Old("a", 1));
        c.node.DeleteAttr("a");
        c.Warn(" : parameter 'Active' replaced by view");
    }
    CXmlNode* signal = c.node.FindChild("Signal", 0);
    if (!signal) signal = c.node.AddChild("Signal");
    for (const char* key : {"p", "w", "d"}) RewriteValue(c.node, key, *signal);
    for (const char* key : {"list", "file", "c"}) {
        CopyRaw(c.node, key, *signal);
        c.node.DeleteAttr(key);
    }
}

bool OneOf(const std::string& text, std::initializer_list<const char*> words) {
    return std::any_of(words.begin(), words.end(), [&](const char* word) { return text == word; });
}

// The first rule whose condition holds is applied; false only when a
// subcircuit's own document cannot be converted.
bool ApplyRule(COldCmp& c) {
    const std::string& t = c.type;
    const std::string& m = c.model;
    if (m == "SubCir") return ConvertSubCir(c);
    if (m == "Integral") {
        ConvertIntegral(c);
    } else if (m == "Project") {
        c.SetModel("DLL");
        c.Warn(" : model 'Project' changed to 'DLL'");
    } else if (m == "DLL") {
        c.Warn(" : use 64-bit DLL for DLL component");
    } else if (m == "PWM") {
        ConvertPwm(c);
    } else if (t == "label" && m == "Label" && !c.node.GetRaw("ic", "").empty()) {
        ConvertLabel(c);
    } else if (OneOf(t, {"V_V", "I_I"}) && m == "PWL") {
        ConvertPwlSource(c);
    } else if (OneOf(t, {"C_C", "L_L", "R_R"}) && m == "Function") {
        ConvertFunctionToImpedance(c);
    } else if (t == "L_CL") {
        RenameValueKey(c.node, "l", "l1");
        RenameValueKey(c.node, "k", "k12");
        RenameValueKey(c.node, "ic", "ic1");
    } else if (t == "L_CUSTOM") {
        RenameValueKey(c.node, "l", "L1");
        RenameValueKey(c.node, "ic", "IC1");
    } else if (m == "OpAmp" && !c.node.HasAttr("opamp_ic")) {
        c.node.AddInt("opamp_ic", 0);
        c.Warn(" : added OpAmp IC=0");
    } else if (OneOf(t, {"S_S", "S_S3"}) && m == "Switch") {
        ConvertOldSwitch(c);
    } else if (OneOf(t, {"T_NFET", "T_PFET"})) {
        RenameValueKey(c.node, "vbe", "vth");
    } else if (OneOf(t, {"X_B3", "X_B4", "X_B6", "X_B8"})) {
        ConvertBlockView(c, t[3] - '0');
    } else if (OneOf(t, {"Y_1", "Y_ST"})) {
        c.node.SetInt("view", 0);
    } else if (OneOf(t, {"Y_2", "Y_3"})) {
        ConvertGate(c);
    } else if (t == "Y_CUSTOM") {
        ConvertCustomGate(c);
    } else if (t == "Y_FUNCTION") {
        c.SetModel("Logic");
        c.Warn(" : model changed to 'Logic'");
    } else if (t == "Y_BUS") {
        c.SetModel("Bus");
        c.Warn(" : model changed to 'Bus'");
    } else if (t == "Y_LG") {
        ConvertLogicGenerator(c);
    } else if (m == "Pulse" && OneOf(t, {"V_VCVS", "V_CCVS", "I_VCCS", "I_CCCS", "S_LCS", "S_VCS", "S_CCS", "S_LCS3",
                                          "S_VCS3", "S_CCS3"})) {
        c.SetModel("One-shot");
        c.Warn(" : model 'Pulse' changed to model 'One-shot'");
    }
    return true;
}

}  // namespace

void RenameValueKey(CXmlNode& node, std::string_view oldName, std::string_view newName) {
    const std::string from(oldName), to(newName);
    for (const char* suffix : kValueParts) node.RenameAttr(from + suffix, to + suffix);
}

bool ConvertComponents(CXmlNode& cmps, std::string& text) {
    for (int i = 0; i < cmps.ChildCount(); ++i) {
        CXmlNode& node = *cmps.ChildAt(i);
        COldCmp c{node, node.GetStr("type", ""), node.GetStr("model", ""), node.GetStr("name", ""), text};
        if (!IsFormulaName(c.name)) text += c.name + " : this name cannot be used in formulas\n";
        if (!ApplyRule(c)) return false;
    }
    return true;
}

}  // namespace qz3
