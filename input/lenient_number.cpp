#include "input/lenient_number.h"

#include <charconv>
#include <system_error>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <locale.h>
#include <string>

namespace brinora {
namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The "C" locale, so that the decimal point is always ".".
locale_t cLocale() {
    static const locale_t locale = newlocale(LC_NUMERIC_MASK, "C", static_cast<locale_t>(0));
    return locale;
}

// Position after the leading white space.
std::size_t skipBlanks(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size() && isBlank(text[i])) ++i;
    return i;
}

}  // namespace

NumberSpan leadingNumber(std::string_view text) {
    std::size_t i = skipBlanks(text);
    const std::size_t start = i;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    std::size_t digits = 0;
    while (i < text.size() && isDigit(text[i])) {
        ++i;
        ++digits;
    }
    if (i < text.size() && text[i] == '.') {
        ++i;
        while (i < text.size() && isDigit(text[i])) {
            ++i;
            ++digits;
        }
    }
    if (digits == 0) return {start, start};
    // The exponent belongs to the number only when at least one digit follows.
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        std::size_t j = i + 1;
        if (j < text.size() && (text[j] == '+' || text[j] == '-')) ++j;
        if (j < text.size() && isDigit(text[j])) {
            while (j < text.size() && isDigit(text[j])) ++j;
            i = j;
        }
    }
    return {start, i};
}

namespace {

// The reference reading of the number [span.start, span.end) of `text`:
// strtod in the C locale (infinity beyond the range of double).
double strtodReading(std::string_view text, NumberSpan span) {
    const std::string number(text.substr(span.start, span.end - span.start));
    return strtod_l(number.c_str(), nullptr, cLocale());
}

}  // namespace

double lenientDouble(std::string_view text) {
    const NumberSpan span = leadingNumber(text);
    if (span.start == span.end) return 0.0;
    // from_chars rounds correctly, as strtod does, without allocating, but
    // takes no "+" sign; the sign of a correctly rounded value is applied
    // exactly afterwards.
    std::size_t first = span.start;
    bool negative = false;
    if (text[first] == '+' || text[first] == '-') {
        negative = text[first] == '-';
        ++first;
    }
    double value = 0.0;
    const char* end = text.data() + span.end;
    const auto result = std::from_chars(text.data() + first, end, value, std::chars_format::general);
    if (result.ec != std::errc() || result.ptr != end) {
        // Beyond the range of double (infinity, or a denormal), or any text
        // from_chars reads otherwise: the reference reading.
        return strtodReading(text, span);
    }
    return negative ? -value : value;
}

float lenientFloat(std::string_view text) { return static_cast<float>(lenientDouble(text)); }

bool namesNonFinite(std::string_view text) {
    std::size_t i = skipBlanks(text);
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    if (text.size() - i < 3) return false;
    const auto lower = [](char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c); };
    const char word[3] = {lower(text[i]), lower(text[i + 1]), lower(text[i + 2])};
    return std::string_view(word, 3) == "nan" || std::string_view(word, 3) == "inf";
}

int lenientInteger(std::string_view text) {
    std::size_t i = skipBlanks(text);
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        negative = text[i] == '-';
        ++i;
    }
    long long value = 0;
    for (; i < text.size() && isDigit(text[i]); ++i) {
        if (value <= static_cast<long long>(INT_MAX) + 1) value = value * 10 + (text[i] - '0');
    }
    if (negative) value = -value;
    if (value > INT_MAX) return INT_MAX;
    if (value < INT_MIN) return INT_MIN;
    return static_cast<int>(value);
}

}  // namespace brinora
