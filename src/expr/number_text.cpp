#include "expr/number_text.h"

#include <locale.h>
#include <stdlib.h>
#include <strings.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace qz3 {

std::string& ExprError() {
    thread_local std::string message;
    return message;
}

namespace {

constexpr size_t kMaxNumberText = 127;


bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r'; }

bool Fail(std::string_view quoted, const char* tail) {
    std::string& e = ExprError();
    e = "Syntax error: '";
    e.append(quoted);
    e += tail;
    return false;
}

bool FailOnChar(char c, const char* tail) { return Fail(std::string_view(&c, 1), tail); }

// Power of ten of a multiplier letter, or 0 when the letter isn't one.
int MultiplierPower(char c) {
    switch (c) {
        case 'T': return 12;
        case 'G': return 9;
        case 'M': return 6;
        case 'K':
        case 'k': return 3;
        case 'm': return -3;
        case 'u': return -6;
        case 'n': return -9;
        case 'p': return -12;
        case 'f': return -15;
        default: return 0;
    }
}

// The working copy of a number text, blanks removed. 127 characters plus an
// appended exponent ("e-15") plus the terminator fit without allocating.
struct NumberBuffer {
    char s[136];
    size_t n = 0;   // length
    size_t start = 0;  // index behind the sign
    bool negative = false;
    bool want64 = false;
    bool imaginary = false;

    explicit NumberBuffer(std::string_view text) {
        for (char c : text)
            if (!IsBlank(c)) s[n++] = c;
        s[n] = '\0';
        if (n > 0 && (s[0] == '+' || s[0] == '-')) {
            negative = s[0] == '-';
            start = 1;
        }
    }
    char At(size_t i) const { return i < n ? s[i] : '\0'; }
    bool EndsWith(const char* tail) const {
        const size_t k = std::strlen(tail);
        return n >= k && std::memcmp(s + n - k, tail, k) == 0;
    }
    void Cut(size_t count) { n -= count; s[n] = '\0'; }
    void AppendPower(int power) {
        char* end = std::to_chars(s + n, s + sizeof(s) - 1, power).ptr;
        n = static_cast<size_t>(end - s);
        s[n] = '\0';
    }
};

bool IsRadixPrefix(const NumberBuffer& b) {
    const char c = b.At(b.start + 1);
    return b.At(b.start) == '0' && (c == 'B' || c == 'b' || c == 'X' || c == 'x');
}

bool IsLowerInf(const NumberBuffer& b) {
    return b.At(b.start) == 'i' && b.n - b.start == 3 && strncasecmp(b.s + b.start, "inf", 3) == 0;
}

void TakeSuffix(NumberBuffer& b) {
    if (b.n >= 4 && b.EndsWith("i64")) {
        b.Cut(3);
        b.want64 = true;
    } else if (b.n > 0 && b.s[b.n - 1] == 'j') {
        b.Cut(1);
        b.imaginary = true;
    }
}

bool ParseFloating(const NumberBuffer& b, CValue& out) {
    char* end = nullptr;
    const double x = StrtodC(b.s, &end);
    if (end != b.s + b.n) return FailOnChar(*end, "' is invalid character");
    if (b.imaginary)
        out.SetComplex(0.0, x);
    else
        out.SetDouble(x);
    return true;
}

void SetInteger(const NumberBuffer& b, uint64_t magnitude, CValue& out) {
    const int64_t m = static_cast<int64_t>(magnitude);
    const bool fits32 = static_cast<int64_t>(static_cast<int32_t>(m)) == m;
    // The sign is applied after the width is chosen: -2147483648 is 64-bit.
    const int64_t value = static_cast<int64_t>(b.negative ? 0 - magnitude : magnitude);
    if (b.want64 || !fits32)
        out.SetInt64(value);
    else
        out.SetInt(static_cast<int32_t>(value));
}

bool TooBig(const NumberBuffer& b) {
    return Fail(std::string_view(b.s + b.start, b.n - b.start), "' is too big for 64 bit integer");
}

bool ParseHex(const NumberBuffer& b, std::string_view text, uint64_t& m) {
    if (b.n - b.start > 18) return TooBig(b);
    for (size_t i = b.start + 2; i < b.n; ++i) {
        // Anything that isn't a hex digit counts as 0: "0x1G" is 0x10.
        const int d = HexDigitValue(b.s[i]);
        m = (m << 4) | static_cast<uint64_t>(d < 0 ? 0 : d);
    }
    return true;
}

bool ParseBinary(const NumberBuffer& b, std::string_view text, uint64_t& m) {
    if (b.n - b.start > 66) return TooBig(b);
    for (size_t i = b.start + 2; i < b.n; ++i) {
        const char c = b.s[i];
        if (c != '0' && c != '1') return Fail(text, "' is not a valid binary value");
        m = (m << 1) | static_cast<uint64_t>(c - '0');
    }
    return true;
}

bool ParseOctal(const NumberBuffer& b, std::string_view text, uint64_t& m) {
    if (b.n - b.start > 23) return TooBig(b);
    for (size_t i = b.start + 1; i < b.n; ++i) {
        const char c = b.s[i];
        if (c < '0' || c > '7') return FailOnChar(c, "' is not a valid octal value");
        m = (m << 3) | static_cast<uint64_t>(c - '0');
    }
    return true;
}

// No overflow check: a decimal integer too large for 64 bits wraps.
bool ParseDecimal(const NumberBuffer& b, std::string_view text, uint64_t& m) {
    for (size_t i = b.start; i < b.n; ++i) {
        const char c = b.s[i];
        if (c < '0' || c > '9') return FailOnChar(c, "' is invalid character");
        m = m * 10 + static_cast<uint64_t>(c - '0');
    }
    return true;
}

bool ParseInteger(const NumberBuffer& b, std::string_view text, bool prefixes, CValue& out) {
    using Reader = bool (*)(const NumberBuffer&, std::string_view, uint64_t&);
    Reader read = ParseDecimal;
    if (prefixes && b.At(b.start) == '0' && b.n - b.start >= 2) {
        const char c = b.s[b.start + 1];
        if (c == 'X' || c == 'x') read = ParseHex;
        else if (c == 'B' || c == 'b') read = ParseBinary;
        else if (c >= '0' && c <= '9') read = ParseOctal;
    }
    uint64_t magnitude = 0;
    if (!read(b, text, magnitude)) return false;
    SetInteger(b, magnitude, out);
    return true;
}

}  // namespace

bool ParseNumber(std::string_view text, CValue& out, bool prefixes) {
    if (text.size() > kMaxNumberText) {
        ExprError() = "Syntax error: number string is too long";
        return false;
    }
    out.SetInt(0);
    NumberBuffer b(text);
    if (prefixes && IsRadixPrefix(b)) return ParseInteger(b, text, prefixes, out);
    if (IsLowerInf(b)) {
        const double inf = std::numeric_limits<double>::infinity();
        out.SetDouble(b.negative ? -inf : inf);
        return true;
    }
    TakeSuffix(b);

    bool hasPoint = false;
    for (size_t i = 0; i < b.n; ++i) {
        const char c = b.s[i];
        if (c == '.') hasPoint = true;
        if (c == 'E' || c == 'e') return ParseFloating(b, out);
        const int power = MultiplierPower(c);
        if (power == 0) continue;
        if (text.size() == 1) return Fail(text, "' is invalid number");
        // "4k7" reads as 4.7e3; "4.7k9" drops what follows the letter.
        if (hasPoint)
            b.Cut(b.n - i);
        else
            b.s[i] = '.';
        b.s[b.n++] = 'e';
        b.AppendPower(power);
        return ParseFloating(b, out);
    }
    if (hasPoint || b.imaginary) return ParseFloating(b, out);
    return ParseInteger(b, text, prefixes, out);
}

bool ParseDouble(std::string_view text, double& out) {
    CValue v;
    if (!ParseNumber(text, v, false)) return false;
    out = v.AsDouble();
    return true;
}

}  // namespace qz3
