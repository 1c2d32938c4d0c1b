// Feeds arbitrary bytes to the XML scanner, then walks, writes and re-reads
// what it built: no input may crash, hang or read outside the text.
#include <cstddef>
#include <cstdint>
#include <string>

#include "xml/xml_node.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    qz3::CXmlNode node;
    size_t lt = text.find('<');
    node.ParseText(text, lt == std::string::npos ? 1 : static_cast<int>(lt) + 1);
    node.Errors();
    std::string written;
    node.ToText(written);
    qz3::CXmlNode again;
    again.ParseText(written, 1);
    for (int i = 0; i < node.AttrCount(); ++i) {
        std::string name, value;
        node.AttrAt(i, name, value);
        node.GetDbl(name, 0);
        node.GetInt(name, 0);
        qz3::PercentDecode(value);
    }
    qz3::PercentEncode(text);
    return 0;
}
