#include "library_block_text.h"

#include <bit>
#include <cstdlib>
#include <string>
#include <vector>

namespace qz3::cli {

namespace {

std::string DecodedAttr(const CAttributes& attrs, const std::string& key, const std::string& fallback) {
    for (const auto& [name, value] : attrs)
        if (name == key) return PercentDecode(value);
    return fallback;
}

// Pins on one side: the bits of its masks ("l", "l1" ... "l7").
int SidePins(const CTextElement* box, const std::string& key) {
    if (!box) return 0;
    int pins = 0;
    for (int word = 0; word < 8; ++word) {
        const std::string* mask = box->Attr(word == 0 ? key : key + std::to_string(word));
        if (mask) pins += std::popcount(static_cast<uint32_t>(std::strtoul(mask->c_str(), nullptr, 10)));
    }
    return pins;
}

// The names of a list ("Ins"/"In"); `count` of them, numbered where the
// list has none, or all the list has when count is negative.
std::vector<std::string> ListNames(const CTextElement* box, const char* list, const char* item, int count,
                                   const std::string& unnamed) {
    std::vector<std::string> names;
    if (const CTextElement* node = box ? box->Child(list) : nullptr)
        for (const CTextElement& child : node->children)
            if (child.name == item) names.push_back(PercentDecode(child.Attr("name") ? *child.Attr("name") : ""));
    if (count >= 0) names.resize(static_cast<size_t>(count));
    for (size_t k = 0; k < names.size(); ++k)
        if (names[k].empty()) names[k] = unnamed + std::to_string(k + 1);
    return names;
}

std::string Joined(const std::vector<std::string>& names) {
    if (names.empty()) return "none";
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
    return text;
}

std::string EntryText(const CAttributes& attrs, const char* key, const char* fallback) {
    const std::string name = DecodedAttr(attrs, key, fallback);
    return name.empty() ? "(not called)" : name;
}

const CTextElement* ChildOf(const CComponentText& cmp, const char* name) {
    for (const CTextElement& child : cmp.children)
        if (child.name == name) return &child;
    return nullptr;
}

}  // namespace

void PrintLibraryBlock(std::ostream& out, const CComponentText& cmp) {
    const CTextElement* attachment = ChildOf(cmp, "Attachment");
    const CTextElement* box = ChildOf(cmp, "Custom");
    const std::string file = DecodedAttr(cmp.attrs, "dll", "");
    out << "      library: ";
    if (attachment) out << "attached\n";
    else out << (file.empty() ? "(no file name)" : file) << '\n';
    out << "      entry points: Init " << EntryText(cmp.attrs, "dll_init", "Init") << ", Main "
        << EntryText(cmp.attrs, "dll_code", "Main") << ", Pause " << EntryText(cmp.attrs, "dll_pause", "Pause")
        << ", Exit " << EntryText(cmp.attrs, "dll_exit", "Exit") << '\n';
    const bool clocked = box && box->Attr("b") && *box->Attr("b") != "0";
    // Without a box of its own a block has the box of a new one.
    const std::vector<std::string> ins =
        box ? ListNames(box, "Ins", "In", SidePins(box, "l"), "unnamed_in_") : std::vector<std::string>{"x1", "x2", "x3"};
    const std::vector<std::string> outs = box ? ListNames(box, "Outs", "Out", SidePins(box, "r"), "unnamed_out_")
                                              : std::vector<std::string>{"y1", "y2", "y3"};
    out << "      inputs: " << Joined(ins) << '\n';
    out << "      outputs: " << Joined(outs) << '\n';
    out << "      variables: " << Joined(ListNames(box, "Vars", "Var", -1, "unnamed_var_")) << '\n';
    if (clocked) out << "      clock: last pin, " << (DecodedAttr(cmp.attrs, "view", "0") == "1" ? "falling" : "rising")
                     << " edge\n";
}

}  // namespace qz3::cli
