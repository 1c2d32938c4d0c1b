#include "xml/digest.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace qz3 {

namespace {

constexpr std::array<uint32_t, 4> kStart = {0x5A1C6E03u, 0xC3D9A877u, 0x8E21F4BDu, 0x2B60D915u};

constexpr uint32_t kShift[64] = {7, 12, 17, 22, 7, 12, 17, 22, 7, 12, 17, 22, 7, 12, 17, 22,
                                 5, 9,  14, 20, 5, 9,  14, 20, 5, 9,  14, 20, 5, 9,  14, 20,
                                 4, 11, 16, 23, 4, 11, 16, 23, 4, 11, 16, 23, 4, 11, 16, 23,
                                 6, 10, 15, 21, 6, 10, 15, 21, 6, 10, 15, 21, 6, 10, 15, 21};

// floor(abs(sin(i + 1)) * 2^32), the round constants of the standard digest.
constexpr uint32_t kSine[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

uint32_t RotateLeft(uint32_t x, uint32_t n) { return (x << n) | (x >> (32 - n)); }

void Transform(std::array<uint32_t, 4>& state, const unsigned char* block) {
    uint32_t m[16];
    for (int i = 0; i < 16; ++i)
        m[i] = uint32_t(block[4 * i]) | uint32_t(block[4 * i + 1]) << 8 | uint32_t(block[4 * i + 2]) << 16 |
               uint32_t(block[4 * i + 3]) << 24;
    uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
    for (uint32_t i = 0; i < 64; ++i) {
        uint32_t f = 0, g = 0;
        if (i < 16) {
            f = (b & c) | (~b & d);
            g = i;
        } else if (i < 32) {
            f = (d & b) | (~d & c);
            g = (5 * i + 1) % 16;
        } else if (i < 48) {
            f = b ^ c ^ d;
            g = (3 * i + 5) % 16;
        } else {
            f = c ^ (b | ~d);
            g = (7 * i) % 16;
        }
        const uint32_t next = d;
        d = c;
        c = b;
        b = b + RotateLeft(a + f + kSine[i] + m[g], kShift[i]);
        a = next;
    }
    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
}

}  // namespace

std::string Digest(std::string_view text) {
    const size_t zero = text.find('\0');
    if (zero != std::string_view::npos) text = text.substr(0, zero);
    std::array<uint32_t, 4> state = kStart;
    size_t whole = text.size() / 64 * 64;
    for (size_t at = 0; at < whole; at += 64) Transform(state, reinterpret_cast<const unsigned char*>(text.data()) + at);
    // The tail, the one bit, the zeros and the length in bits fill one or two blocks.
    unsigned char tail[128] = {};
    const size_t rest = text.size() - whole;
    std::memcpy(tail, text.data() + whole, rest);
    tail[rest] = 0x80;
    const size_t tailSize = rest < 56 ? 64 : 128;
    const uint64_t bits = uint64_t(text.size()) * 8;
    for (int i = 0; i < 8; ++i) tail[tailSize - 8 + i] = static_cast<unsigned char>(bits >> (8 * i));
    for (size_t at = 0; at < tailSize; at += 64) Transform(state, tail + at);
    char out[33];
    std::snprintf(out, sizeof out, "%08X%08X%08X%08X", state[0], state[1], state[2], state[3]);
    return out;
}

}  // namespace qz3
