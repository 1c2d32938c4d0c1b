// Scrambled elements. A component (or a whole component list or document)
// may be stored as its name, one attribute "Encr1" with the check value of
// its plain text, and a text of scrambled characters, so that a file can
// carry a model without showing its parameters. The scrambling is a stream
// substitution over the characters percent-encoding produces, keyed by a
// fixed string of this system: protection from casual reading, no more.
//
// Recipe:
//     std::string cipher;
//     std::string check = EncodeScrambled(plain, cipher);   // plain -> cipher
//     DecodeScrambled(cipher, plain) == check;              // and back
//     node.Scramble();                  // the whole element becomes its text
//     if (!node.Unscramble()) ...       // restored in place; false: damaged
// CXmlNode::Scramble and Unscramble are implemented in scramble.cpp.
#pragma once

#include <string>
#include <string_view>

namespace qz3 {

// The 73 characters of a scrambled text: every character PercentEncode
// produces stands among them.
inline constexpr std::string_view kScrambleAlphabet =
    "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ+-_.!~*'()%";

// Scrambles `plain` into `cipher` and returns the check value of `plain`.
// A character outside the alphabet ends the cipher there.
std::string EncodeScrambled(std::string_view plain, std::string& cipher);
// Restores `plain` from `cipher` and returns the check value of what came
// out. A character outside the alphabet ends the plain text there.
std::string DecodeScrambled(std::string_view cipher, std::string& plain);

class CXmlNode;

// Which parts of a document were found scrambled and restored.
struct CScrambledParts {
    bool doc = false;   // Doc
    bool cmps = false;  // Doc/Cir/Cmps
};

// Restores a scrambled `Doc` under the root, and a scrambled component list
// under it, in place, and drops their check values; the first failure as
// "<element> : <reason>" in `error`. A tree without scrambled parts is left
// alone. Also for a subcircuit's document, which is read on its own.
bool UnscrambleDocument(CXmlNode& root, std::string& error, CScrambledParts* found = nullptr);

}  // namespace qz3
