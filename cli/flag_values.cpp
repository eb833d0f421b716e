#include "cli/flag_values.h"

#include <cmath>
#include <cstdlib>

namespace brinora::cli {
namespace {

constexpr std::size_t kQuotedLimit = 40;
constexpr std::size_t kQuotedKept = 32;

}  // namespace

std::string echoed(std::string_view text) {
    const bool cut = text.size() > kQuotedLimit;
    std::size_t end = cut ? kQuotedKept : text.size();
    // Do not split a UTF-8 sequence.
    while (cut && end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    std::string shown;
    for (std::size_t k = 0; k < end; ++k) {
        const unsigned char c = static_cast<unsigned char>(text[k]);
        shown += (c < 0x20 || c == 0x7F) ? '?' : static_cast<char>(c);
    }
    if (cut) return "\"" + shown + "...\" (" + std::to_string(text.size()) + " characters)";
    return "\"" + shown + "\"";
}

FloatText readFloat(const std::string& text) {
    FloatText read;
    if (text.empty()) return read;
    char* end = nullptr;
    const double parsed = std::strtod(text.c_str(), &end);
    if (end != text.c_str() + text.size()) return read;
    read.number = true;
    read.value = static_cast<float>(parsed);
    read.overflow = std::isinf(read.value);
    return read;
}

CLI::Validator numberCheck() {
    return CLI::Validator(
        [](std::string& text) -> std::string {
            return readFloat(text).number ? std::string() : echoed(text) + " is not a number";
        },
        "NUMBER");
}

CLI::Validator wholeNumberCheck(long long low, long long high) {
    const std::string range = std::to_string(low) + ".." + std::to_string(high);
    return CLI::Validator(
        [low, high, range](std::string& text) -> std::string {
            std::string_view digits = text;
            const bool negative = !digits.empty() && digits.front() == '-';
            if (!digits.empty() && (digits.front() == '-' || digits.front() == '+')) digits.remove_prefix(1);
            bool whole = !digits.empty();
            for (const char c : digits) whole = whole && c >= '0' && c <= '9';
            if (!whole) return echoed(text) + " is not a whole number";
            while (digits.size() > 1 && digits.front() == '0') digits.remove_prefix(1);
            // Eighteen digits fit a long long; anything longer is out of every range here.
            long long value = 0;
            bool inRange = digits.size() <= 18;
            if (inRange) {
                for (const char c : digits) value = value * 10 + (c - '0');
                if (negative) value = -value;
                inRange = value >= low && value <= high;
            }
            if (!inRange) return echoed(text) + " is out of range " + range;
            text = std::to_string(value);
            return {};
        },
        "", "WHOLE NUMBER");
}

}  // namespace brinora::cli
