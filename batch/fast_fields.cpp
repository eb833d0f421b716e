#include "batch/fast_fields.h"

#include <charconv>
#include <cstring>
#include <system_error>

#include "batch/lenient_number.h"

namespace brinora {

namespace {

// Calls take(k, field) for every comma-separated field of `line`, in order;
// returns the number of fields (at least 1: the empty line is one empty field).
template <typename Take>
std::size_t forEachField(std::string_view line, Take&& take) {
    std::size_t count = 0;
    std::size_t start = 0;
    for (;;) {
        const void* found = std::memchr(line.data() + start, ',', line.size() - start);
        const std::size_t comma =
            found == nullptr ? line.size() : static_cast<std::size_t>(static_cast<const char*>(found) - line.data());
        take(count, line.substr(start, comma - start));
        ++count;
        if (found == nullptr) return count;
        start = comma + 1;
    }
}

}  // namespace

std::size_t splitBatchFields(std::string_view line, BatchFields& fields) {
    const std::size_t count = forEachField(line, [&fields](std::size_t k, std::string_view field) {
        if (k < kBatchLineFields) fields[k] = field;
    });
    for (std::size_t k = count; k < kBatchLineFields; ++k) fields[k] = std::string_view();
    return count;
}

std::vector<std::string> splitFields(std::string_view line) {
    std::vector<std::string> fields;
    forEachField(line, [&fields](std::size_t, std::string_view field) { fields.emplace_back(field); });
    return fields;
}

double lenientDoubleFast(std::string_view text) {
    const NumberSpan span = leadingNumber(text);
    if (span.start == span.end) return 0.0;
    const std::size_t i = span.end;
    // from_chars rounds correctly, as strtod does, but takes no "+" sign;
    // the sign of a correctly rounded value is applied exactly afterwards.
    std::size_t first = span.start;
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
