#include "eng_number.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace qz3::cli {

namespace {

// Power of ten of a multiplier letter; `found` tells whether it is one.
int MultiplierPower(char c, bool& found) {
    found = true;
    switch (c) {
        case 'T': return 12;
        case 'G': return 9;
        case 'M': return 6;
        case 'k':
        case 'K': return 3;
        case 'm': return -3;
        case 'u': return -6;
        case 'n': return -9;
        case 'p': return -12;
        case 'f': return -15;
        default: found = false; return 0;
    }
}

// Letters of a multiplier by power of ten, from 1e-15 to 1e12; "" for 1.
const char* LetterForPower(int power) {
    static const char* const kLetters[] = {"f", "p", "n", "u", "m", "", "k", "M", "G", "T"};
    int index = power / 3 + 5;
    if (power % 3 != 0 || index < 0 || index > 9) return nullptr;
    return kLetters[index];
}

bool IsUnitText(std::string_view text) {
    for (char c : text)
        if (!std::isalpha(static_cast<unsigned char>(c))) return false;
    return true;
}

// strtod over the whole text, in the C locale's number form only.
bool ParsePlain(const std::string& text, double& out) {
    if (text.empty()) return false;
    for (char c : text)
        if (!std::isdigit(static_cast<unsigned char>(c)) && c != '.' && c != 'e' && c != 'E' && c != '+' && c != '-')
            return false;
    char* end = nullptr;
    out = std::strtod(text.c_str(), &end);
    return end == text.c_str() + text.size() && std::isfinite(out);
}

}  // namespace

bool ParseEngineering(std::string_view text, double& out) {
    // The numeric part ends at the first letter that cannot belong to an
    // exponent ("1e-3" keeps its "e", "1e" alone does not).
    size_t pos = 0;
    while (pos < text.size()) {
        char c = text[pos];
        bool exponent = (c == 'e' || c == 'E') && pos + 1 < text.size() &&
                        (std::isdigit(static_cast<unsigned char>(text[pos + 1])) ||
                         ((text[pos + 1] == '-' || text[pos + 1] == '+') && pos + 2 < text.size() &&
                          std::isdigit(static_cast<unsigned char>(text[pos + 2]))));
        if (std::isalpha(static_cast<unsigned char>(c)) && !exponent) break;
        if (exponent) {
            pos += 2;
            continue;
        }
        ++pos;
    }
    std::string number(text.substr(0, pos));
    std::string_view rest = text.substr(pos);
    bool multiplier = false;
    int power = rest.empty() ? 0 : MultiplierPower(rest[0], multiplier);
    if (multiplier) {
        rest.remove_prefix(1);
        // "4k7": the letter stands for the decimal point.
        size_t digits = 0;
        while (digits < rest.size() && std::isdigit(static_cast<unsigned char>(rest[digits]))) ++digits;
        if (digits > 0 && number.find_first_of(".eE") == std::string::npos) {
            number += '.';
            number += rest.substr(0, digits);
            rest.remove_prefix(digits);
        }
    }
    if (!IsUnitText(rest)) return false;
    double value = 0;
    if (!ParsePlain(number, value)) return false;
    out = value * std::pow(10.0, power);
    return std::isfinite(out);
}

std::string FormatEngineering(double x, int digits) {
    if (std::isnan(x)) return "nan";
    if (std::isinf(x)) return x > 0 ? "inf" : "-inf";
    if (x == 0) return "0";
    if (digits < 1) digits = 1;
    // Round first, so that 999.99 with 3 digits becomes "1k" and not "1e+3".
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*e", digits - 1, x);
    double rounded = std::strtod(buffer, nullptr);
    // The decimal exponent is read from the text: log10 of 1e-3 may land a
    // hair below -3 and pick the wrong letter.
    const char* e = std::strchr(buffer, 'e');
    int power = e != nullptr ? std::atoi(e + 1) : 0;
    int power3 = power >= 0 ? power / 3 * 3 : -((-power + 2) / 3 * 3);
    const char* letter = LetterForPower(power3);
    if (letter == nullptr) {
        std::snprintf(buffer, sizeof buffer, "%.*g", digits, x);
        return buffer;
    }
    std::snprintf(buffer, sizeof buffer, "%.*g%s", digits, rounded / std::pow(10.0, power3), letter);
    return buffer;
}

std::string FormatWithUnit(double x, const std::string& unit, int digits) {
    std::string text = FormatEngineering(x, digits);
    if (unit.empty()) return text;
    // "10m" + "s" reads as "10 ms": the letter joins the unit.
    size_t letters = 0;
    while (letters < text.size() && std::isalpha(static_cast<unsigned char>(text[text.size() - 1 - letters])) &&
           text != "nan" && text != "inf" && text != "-inf")
        ++letters;
    return text.substr(0, text.size() - letters) + " " + text.substr(text.size() - letters) + unit;
}

}  // namespace qz3::cli
