// The parts of a conversion to the present file version (convert.h), one
// file each: components, drawings, traces. Each appends its warnings to
// `text`, one line feed behind each.
#pragma once

#include <string>
#include <string_view>

namespace qz3 {

class CXmlNode;
struct CConversion;

// False when a component cannot be converted (a subcircuit attachment).
bool ConvertComponents(CXmlNode& cmps, std::string& text);
void ConvertSheet(CXmlNode& sheet);
void ConvertTraces(CXmlNode& traces, bool transient);

// A value key written by a formula (key, key_str, key_format, key_bit) is
// renamed as a whole.
void RenameValueKey(CXmlNode& node, std::string_view oldName, std::string_view newName);

}  // namespace qz3
