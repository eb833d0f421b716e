// Fuzz target: the lenient number reader of batch fields and stored settings.
// Every byte string must read without a crash, and the result must agree with
// an independent reading of the same leading number by std::from_chars; the
// allocation-free reader of batch fields must give the same bits.
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "input/fields.h"
#include "input/lenient_number.h"
#include "fuzz_support.h"

namespace {

using brinora::fuzz::require;

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}
bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Checks lenientDouble against std::from_chars on the text after the blanks.
void checkDouble(std::string_view text, double value) {
    std::size_t i = 0;
    while (i < text.size() && isBlank(text[i])) ++i;
    std::size_t start = i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        negative = text[i] == '-';
        ++i;
    }
    // A number needs a digit before or right after the point.
    const bool hasNumber =
        i < text.size() && (isDigit(text[i]) || (text[i] == '.' && i + 1 < text.size() && isDigit(text[i + 1])));
    if (!hasNumber) {
        require(value == 0.0 && !std::signbit(value), "text without a number reads as +0");
        return;
    }
    if (!negative) start = i;  // from_chars takes "-" but not "+"
    double reference = 0.0;
    const auto [end, ec] = std::from_chars(text.data() + start, text.data() + text.size(), reference,
                                           std::chars_format::general);
    require(end != text.data() + start, "from_chars found the number too");
    if (ec == std::errc::result_out_of_range) {
        // Too large: an infinity of the sign; too small: zero or a subnormal.
        require(std::isinf(value) || std::fabs(value) < 2.3e-308, "out-of-range number");
        if (std::isinf(value)) require(std::signbit(value) == negative, "sign of an infinite number");
        return;
    }
    require(ec == std::errc(), "from_chars succeeded");
    require(std::memcmp(&reference, &value, sizeof value) == 0, "lenientDouble equals from_chars");
}

// Checks lenientInteger against a plain digit reading saturated to int.
void checkInteger(std::string_view text, int value) {
    std::size_t i = 0;
    while (i < text.size() && isBlank(text[i])) ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        negative = text[i] == '-';
        ++i;
    }
    long long magnitude = 0;
    for (; i < text.size() && isDigit(text[i]); ++i) {
        magnitude = magnitude * 10 + (text[i] - '0');
        if (magnitude > 1LL << 40) magnitude = 1LL << 40;  // far beyond int either way
    }
    long long expected = negative ? -magnitude : magnitude;
    if (expected > INT_MAX) expected = INT_MAX;
    if (expected < INT_MIN) expected = INT_MIN;
    require(value == expected, "lenientInteger equals the saturated digit value");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const double d = brinora::lenientDouble(text);
    require(!std::isnan(d), "never not-a-number");
    checkDouble(text, d);
    const float f = brinora::lenientFloat(text);
    const float narrowed = static_cast<float>(d);
    require(std::memcmp(&f, &narrowed, sizeof f) == 0, "lenientFloat is lenientDouble narrowed");
    const brinora::NumberSpan span = brinora::leadingNumber(text);
    require(span.start <= span.end && span.end <= text.size(), "the leading number lies in the text");
    if (span.start < span.end) {
        const double alone = brinora::lenientDouble(text.substr(span.start, span.end - span.start));
        require(std::memcmp(&alone, &d, sizeof d) == 0, "the leading number alone reads the same");
    } else {
        require(d == 0.0 && !std::signbit(d), "no leading number reads as +0");
    }
    checkInteger(text, brinora::lenientInteger(text));
    return 0;
}
