#include "records/fixed_format.h"

#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>

namespace brinora {
namespace {

// Three decimals: the value is scaled by 1000 and rounded to an integer.
constexpr std::uint64_t kScale = 1000;

// Binary exponent above which m * 1000 * 2^e no longer fits in 64 bits
// (m < 2^24 and 1000 < 2^10, so m * 1000 < 2^34).
constexpr int kLargestExactShift = 29;

// Right shift from which m * 1000 / 2^s is below one half and rounds to 0.
constexpr int kShiftToZero = 35;

// ".000" to ".999", four characters each.
constexpr auto kFractions = [] {
    std::array<char, 4000> table{};
    for (int i = 0; i < 1000; ++i) {
        table[static_cast<std::size_t>(4 * i)] = '.';
        table[static_cast<std::size_t>(4 * i + 1)] = static_cast<char>('0' + i / 100);
        table[static_cast<std::size_t>(4 * i + 2)] = static_cast<char>('0' + i / 10 % 10);
        table[static_cast<std::size_t>(4 * i + 3)] = static_cast<char>('0' + i % 10);
    }
    return table;
}();

// "00" to "99", two characters each.
constexpr auto kDigitPairs = [] {
    std::array<char, 200> table{};
    for (int i = 0; i < 100; ++i) {
        table[static_cast<std::size_t>(2 * i)] = static_cast<char>('0' + i / 10);
        table[static_cast<std::size_t>(2 * i + 1)] = static_cast<char>('0' + i % 10);
    }
    return table;
}();

// Two digits of `value` (below 100) at `out`.
void writePair(std::uint64_t value, char* out) { std::memcpy(out, &kDigitPairs[static_cast<std::size_t>(value) * 2], 2); }

// The decimal digits of `value`, without leading zeros ("0" for 0).
char* writeWhole(std::uint64_t value, char* out) {
    // Board values are mostly below 10000: those without a loop.
    if (value < 10) {
        *out = static_cast<char>('0' + value);
        return out + 1;
    }
    if (value < 100) {
        writePair(value, out);
        return out + 2;
    }
    if (value < 1000) {
        *out = static_cast<char>('0' + value / 100);
        writePair(value % 100, out + 1);
        return out + 3;
    }
    if (value < 10000) {
        writePair(value / 100, out);
        writePair(value % 100, out + 2);
        return out + 4;
    }
    char digits[20];
    char* start = digits + sizeof digits;
    while (value >= 100) {
        start -= 2;
        writePair(value % 100, start);
        value /= 100;
    }
    if (value >= 10) {
        start -= 2;
        writePair(value, start);
    } else {
        *--start = static_cast<char>('0' + value);
    }
    const std::size_t length = static_cast<std::size_t>(digits + sizeof digits - start);
    std::memcpy(out, start, length);
    return out + length;
}

char* writeDigits(std::uint64_t scaled, char* out) {
    out = writeWhole(scaled / kScale, out);
    std::memcpy(out, &kFractions[static_cast<std::size_t>(scaled % kScale) * 4], 4);
    return out + 4;
}

}  // namespace

char* writeFixed3(float value, char* out) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(value);
    const bool negative = (bits >> 31) != 0;
    const std::uint32_t biasedExponent = (bits >> 23) & 0xFFu;
    const std::uint32_t fraction = bits & 0x7FFFFFu;

    if (biasedExponent == 0xFFu) {
        if (negative) *out++ = '-';
        std::memcpy(out, fraction != 0 ? "nan" : "inf", 3);
        return out + 3;
    }

    // value = m * 2^e exactly, m an integer below 2^24.
    const std::uint64_t m = biasedExponent == 0 ? fraction : (fraction | 0x800000u);
    const int e = biasedExponent == 0 ? -149 : static_cast<int>(biasedExponent) - 150;
    if (e > kLargestExactShift) {
        // Beyond 2^53: the shortest exact route is the standard library's.
        const double wide = value;
        return std::to_chars(out, out + kFixed3MaxLength, wide, std::chars_format::fixed, 3).ptr;
    }

    // value * 1000, rounded to the nearest integer, ties to even.
    const std::uint64_t product = m * kScale;
    std::uint64_t scaled = 0;
    if (e >= 0) {
        scaled = product << e;
    } else if (-e < kShiftToZero) {
        const int shift = -e;
        scaled = product >> shift;
        const std::uint64_t rest = product & ((std::uint64_t{1} << shift) - 1);
        const std::uint64_t half = std::uint64_t{1} << (shift - 1);
        if (rest > half || (rest == half && (scaled & 1) != 0)) ++scaled;
    }
    if (negative) *out++ = '-';
    return writeDigits(scaled, out);
}

void appendFixed3(std::string& text, float value) {
    char buffer[kFixed3MaxLength];
    text.append(buffer, writeFixed3(value, buffer));
}

}  // namespace brinora
