// A small reader of the schematic file's text, for what the command needs
// and the library does not enumerate: the components as the file holds
// them, the trace names, and the transient settings "screen" and "step".
// It reads the same narrow dialect the library writes (elements, attributes
// in double quotes, percent-encoded strings) and never rejects a file once
// its root element is found: what it cannot read, it skips. Recursion is
// bounded, and every scan stops at the end of the text.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qz3::cli {

using CAttributes = std::vector<std::pair<std::string, std::string>>;

// One element: its name, its attributes raw as they stand, its children.
struct CTextElement {
    std::string name;
    CAttributes attrs;
    std::vector<CTextElement> children;

    // Raw value of the first attribute of that name, or null.
    const std::string* Attr(std::string_view key) const;
    // First child of that name, or null.
    const CTextElement* Child(std::string_view key) const;
    // Follows a path of child names ("Doc/Tran/Settings"); null if broken.
    const CTextElement* Path(std::string_view path) const;
};

// "+" is a blank and "%hh" a byte; a malformed "%" passes as it stands.
std::string PercentDecode(std::string_view text);

// Parses the element that begins with "<" + rootName in `text`. False with
// a message when the root tag is missing.
bool ParseElementText(std::string_view text, std::string_view rootName, CTextElement& root, std::string& error);

struct CComponentText {
    std::string type;
    std::string name;   // decoded
    std::string model;  // decoded
    CAttributes attrs;  // raw, all of them, in file order
    std::vector<CTextElement> children;  // its box, states, attachment
};

struct CTraceText {
    std::string name;  // what the library finds it by: "name", else "expr"
    std::string expr;  // decoded
    std::string type;  // the type word, "V" when absent
    std::string unit;  // "V", "A", "W" or empty

    // Scope and Math traces are kept in a file but never record anything.
    bool Records() const { return type != "Scope" && type != "Math"; }
};

struct CSchematicText {
    std::vector<CComponentText> components;
    std::vector<CTraceText> tranTraces;
    std::vector<CTraceText> acTraces;
    CAttributes tranSettings;
    CAttributes acSettings;
    CAttributes advanced;
    double screen = 10;     // the library's defaults when the file is silent
    double step = 0.001;

    // The transient trace that the library's look-up would find for `name`:
    // one pair of surrounding double quotes stripped, compared without
    // regard to case. Null when there is none.
    const CTraceText* FindTranTrace(std::string_view name) const;
};

// Reads the file at `path`. False with a message ("cannot read FILE",
// "FILE : wrong file format") when there is nothing to read.
bool ReadSchematicText(const std::string& path, CSchematicText& out, std::string& error);
// The same from text already in memory; `label` names it in messages.
bool ParseSchematicText(std::string_view text, const std::string& label, CSchematicText& out, std::string& error);

}  // namespace qz3::cli
