#include "components/library_attachment.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qz3 {
namespace {

TEST(LibraryAttachment, HexTextDecodesTwoDigitsAByte) {
    const struct {
        const char* text;
        bool valid;
        std::vector<unsigned char> bytes;
    } rows[] = {
        {"", true, {}},
        {"0aFF7f", true, {0x0A, 0xFF, 0x7F}},
        {"0a ff\r\n7F", true, {0x0A, 0xFF, 0x7F}},
        {"0aF", false, {}},
        {"zz", false, {}},
        {"0g", false, {}},
        {"0a-1", false, {}},
    };
    for (const auto& row : rows) {
        std::vector<unsigned char> bytes;
        EXPECT_EQ(DecodeHexText(row.text, bytes), row.valid) << row.text;
        if (row.valid) EXPECT_EQ(bytes, row.bytes) << row.text;
    }
}

}  // namespace
}  // namespace qz3
