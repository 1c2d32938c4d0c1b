// A block's library stored in the schematic itself: hexadecimal text, two
// digits a byte, unpacked for the time of a run to a file of its own.
//
// The file is "temp<n>.so" beside the schematic, n from a counter of the
// process, the first name that no file has yet (a leftover is skipped,
// never overwritten). Where the schematic's folder takes no new file, the
// system's temporary folder serves. The owner deletes the file when its
// run ends.
#pragma once

#include <string>
#include <vector>

namespace qz3 {

// The bytes of the text; false at an odd number of digits or any character
// that is no hexadecimal digit (line breaks and blanks between digits are
// passed over, as an editor may wrap a long line).
bool DecodeHexText(const std::string& text, std::vector<unsigned char>& bytes);

// Writes the attachment to a new temporary file in `folder` ("" for the
// working folder); the path in `path`. On failure the message, and no file
// is left behind: "Invalid format of DLL attachment", "Can't create
// temporary DLL file", "Error writing to temporary DLL file".
bool UnpackAttachment(const std::string& text, const std::string& folder, std::string& path, std::string& error);

}  // namespace qz3
