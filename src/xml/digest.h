// The check value of a scrambled element: a 128-bit message digest printed
// as 32 upper-case hexadecimal digits. It is the well-known four-round
// digest with a starting state of this system's own, so that a check value
// computed elsewhere does not match ours by accident.
#pragma once

#include <string>
#include <string_view>

namespace qz3 {

// The digest of the bytes of `text` up to its first zero byte. Each state
// word is printed as eight digits, highest first.
std::string Digest(std::string_view text);

}  // namespace qz3
