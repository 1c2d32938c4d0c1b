// Feeds arbitrary bytes to the scrambled-text reader, as the text of a
// scrambled element and as the whole of a document: no input may crash,
// hang or read outside the text, and whatever restores scrambles back.
#include <cstddef>
#include <cstdint>
#include <string>

#include "xml/scramble.h"
#include "xml/xml_node.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::string plain;
    const std::string check = qz3::DecodeScrambled(text, plain);
    qz3::CXmlNode cmp("Cmp");
    cmp.SetText(text);
    cmp.AddRaw("Encr1", check);
    if (cmp.Unscramble()) {
        cmp.DeleteAttr("Encr1");
        cmp.Scramble();
        cmp.Unscramble();
    }
    qz3::CXmlNode root("QZ3");
    const size_t lt = text.find("<QZ3");
    root.ParseText(text, lt == std::string::npos ? 1 : static_cast<int>(lt) + 1);
    std::string error;
    qz3::UnscrambleDocument(root, error);
    return 0;
}
