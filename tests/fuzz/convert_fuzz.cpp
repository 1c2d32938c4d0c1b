// Feeds arbitrary bytes to the converter of older files: parsed as a tree,
// converted, converted again. No input may crash or hang, and a converted
// tree is of the present version.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "xml/convert.h"
#include "xml/xml_node.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    qz3::CXmlNode root("QZ3");
    const size_t lt = text.find("<QZ3");
    root.ParseText(text, lt == std::string::npos ? 1 : static_cast<int>(lt) + 1);
    qz3::CConversion conversion;
    if (!qz3::ConvertToCurrent(root, conversion)) return 0;
    qz3::CConversion again;
    if (!qz3::ConvertToCurrent(root, again) || again.converted) std::abort();
    return 0;
}
