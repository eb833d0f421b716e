#include "batch/fast_fields.h"

#include <charconv>
#include <cstring>
#include <system_error>

#include "batch/lenient_number.h"

namespace brinora {

namespace {

// Calls take(k, field) for the comma-separated fields of `line`, in order,
// the first `most` of them at most; returns the number of fields taken (all of
// them when there are not more than `most`; the empty line is one empty field).
template <typename Take>
std::size_t forEachField(std::string_view line, std::size_t most, Take&& take) {
    std::size_t count = 0;
    std::size_t start = 0;
    while (count < most) {
        const void* found = std::memchr(line.data() + start, ',', line.size() - start);
        const std::size_t comma =
            found == nullptr ? line.size() : static_cast<std::size_t>(static_cast<const char*>(found) - line.data());
        take(count, line.substr(start, comma - start));
        ++count;
        if (found == nullptr) break;
        start = comma + 1;
    }
    return count;
}

constexpr std::size_t kAll = ~std::size_t{0};

}  // namespace

std::size_t splitBatchFields(std::string_view line, BatchFields& fields) {
    const std::size_t count = forEachField(line, kAll, [&fields](std::size_t k, std::string_view field) {
        if (k < kBatchLineFields) fields[k] = field;
    });
    for (std::size_t k = count; k < kBatchLineFields; ++k) fields[k] = std::string_view();
    return count;
}

std::vector<std::string> splitFields(std::string_view line) {
    std::vector<std::string> fields;
    forEachField(line, kAll, [&fields](std::size_t, std::string_view field) { fields.emplace_back(field); });
    return fields;
}

void splitFieldViews(std::string_view line, std::size_t most, std::vector<std::string_view>& fields) {
    fields.clear();
    forEachField(line, most, [&fields](std::size_t, std::string_view field) { fields.push_back(field); });
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
