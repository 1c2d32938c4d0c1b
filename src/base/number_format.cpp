#include "base/number_format.h"

#include <locale.h>
#include <stdlib.h>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace qz3 {

// Number text must read the same whatever locale the host has set.
static locale_t CLocale() {
    static const locale_t loc = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
    return loc;
}

double StrtodC(const char* s, char** end) { return strtod_l(s, end, CLocale()); }

int HexDigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

double TextToDouble(std::string_view text) {
    if (text.empty()) return -std::numeric_limits<double>::quiet_NaN();
    if (text == "inf") return std::numeric_limits<double>::infinity();
    if (text == "-inf") return -std::numeric_limits<double>::infinity();
    const std::string copy(text);
    return StrtodC(copy.c_str(), nullptr);
}

namespace {

// "%.*g" in the C locale; to_chars is defined to print exactly that.
void PrintGeneral(std::string& out, double x, unsigned digits) {
    char buf[192];
    const int precision = static_cast<int>(digits > 120 ? 120 : digits);
    const auto r = std::to_chars(buf, buf + sizeof(buf), x, std::chars_format::general, precision);
    out.assign(buf, r.ptr);
}

bool IsFourDigitInteger(const std::string& s) {
    const size_t from = (!s.empty() && s[0] == '-') ? 1 : 0;
    return s.size() - from == 4 && s.find('.', from) == std::string::npos;
}

}  // namespace

std::string NumberToText(double x, unsigned digits) {
    if (std::isnan(x)) return std::string();
    if (std::isinf(x)) return x > 0 ? "inf" : "-inf";
    int e = 0;
    // Repeated steps rather than a logarithm; their rounding is accepted.
    if (x != 0.0) {
        while (std::fabs(x) < 1.0) { x *= 1000.0; e -= 3; }
        while (std::fabs(x) >= 1000.0) { x /= 1000.0; e += 3; }
    }
    std::string text;
    PrintGeneral(text, x, digits);
    // 999.9999999999999 rounds to "1000": move it up one power.
    if (IsFourDigitInteger(text)) {
        x /= 1000.0;
        e += 3;
        PrintGeneral(text, x, digits);
    }
    if (e != 0) {
        text += e > 0 ? "e+" : "e-";
        text += std::to_string(e > 0 ? e : -e);
    }
    return text;
}

int RealCompare(double a, double b) {
    if (RealSame(a, b)) return 0;
    return b > a ? -1 : 1;
}

std::string DoubleToHex(double x) {
    if (x == 0.0) return "0";
    static const char kDigits[] = "0123456789ABCDEF";
    uint8_t bytes[8];
    std::memcpy(bytes, &x, sizeof(bytes));
    std::string text(17, '#');
    for (int i = 0; i < 8; ++i) {
        text[static_cast<size_t>(1 + 2 * i)] = kDigits[bytes[i] >> 4];
        text[static_cast<size_t>(2 + 2 * i)] = kDigits[bytes[i] & 15];
    }
    return text;
}

double HexToDouble(const char* text) {
    if (text == nullptr || text[0] != '#') return 0.0;
    uint8_t bytes[8] = {};
    HexToBytes(text + 1, bytes, 16);
    double x;
    std::memcpy(&x, bytes, sizeof(x));
    return x;
}

int HexToBytes(const char* text, uint8_t* out, int maxChars) {
    if (text == nullptr) return 0;
    int count = 0;
    // A lone digit before the end is half a byte and isn't written.
    for (int i = 0; i + 1 < maxChars && text[i] != '\0' && text[i + 1] != '\0'; i += 2) {
        const int hi = HexDigitValue(text[i]);
        const int lo = HexDigitValue(text[i + 1]);
        out[count++] = static_cast<uint8_t>(((hi < 0 ? 0 : hi) << 4) | (lo < 0 ? 0 : lo));
    }
    return count;
}

}  // namespace qz3
