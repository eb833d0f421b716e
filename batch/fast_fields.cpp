#include "batch/fast_fields.h"

#include <charconv>
#include <cstring>
#include <system_error>

#include "batch/lenient_number.h"

namespace brinora {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

std::size_t splitBatchFields(std::string_view line, BatchFields& fields) {
    std::size_t count = 0;
    std::size_t start = 0;
    for (;;) {
        const void* found = std::memchr(line.data() + start, ',', line.size() - start);
        const std::size_t comma =
            found == nullptr ? line.size() : static_cast<std::size_t>(static_cast<const char*>(found) - line.data());
        if (count < kBatchLineFields) fields[count] = line.substr(start, comma - start);
        ++count;
        if (found == nullptr) break;
        start = comma + 1;
    }
    for (std::size_t k = count; k < kBatchLineFields; ++k) fields[k] = std::string_view();
    return count;
}

double lenientDoubleFast(std::string_view text) {
    // The same scan as lenientDouble: blanks, a sign, digits with at most one
    // point, and an exponent only when a digit follows it.
    std::size_t i = 0;
    while (i < text.size() && isBlank(text[i])) ++i;
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
    if (digits == 0) return 0.0;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        std::size_t j = i + 1;
        if (j < text.size() && (text[j] == '+' || text[j] == '-')) ++j;
        if (j < text.size() && isDigit(text[j])) {
            while (j < text.size() && isDigit(text[j])) ++j;
            i = j;
        }
    }
    // from_chars rounds correctly, as strtod does, but takes no "+" sign;
    // the sign of a correctly rounded value is applied exactly afterwards.
    std::size_t first = start;
    bool negative = false;
    if (text[first] == '+' || text[first] == '-') {
        negative = text[first] == '-';
        ++first;
    }
    double value = 0.0;
    const char* end = text.data() + i;
    const auto result = std::from_chars(text.data() + first, end, value, std::chars_format::general);
    if (result.ec != std::errc() || result.ptr != end) {
        // Beyond the range of double (strtod's infinity or denormal), or any
        // text from_chars reads otherwise: the reference rule itself.
        return lenientDouble(text);
    }
    return negative ? -value : value;
}

float lenientFloatFast(std::string_view text) { return static_cast<float>(lenientDoubleFast(text)); }

}  // namespace brinora
