// Reading typed or file text as a number the lenient way a text field does:
// leading white space is skipped, the longest leading decimal number (optional
// sign, digits, fraction, exponent) is taken, and the rest is ignored. Text
// with no leading number, and the empty text, read as 0.
#pragma once

#include <cstddef>
#include <string_view>

namespace brinora {

// The leading number of `text` as the lenient reader takes it: white space
// skipped, an optional sign, digits with at most one point, and an exponent
// only when a digit follows it. Returns [start, end) in `text`; start == end
// when there is no number (no digit).
struct NumberSpan {
    std::size_t start = 0;
    std::size_t end = 0;
};
NumberSpan leadingNumber(std::string_view text);

// The leading decimal number of `text` in double precision (0 when none).
// Values beyond the double range read as infinity of their sign.
double lenientDouble(std::string_view text);

// lenientDouble narrowed to single precision, as values enter the field board.
float lenientFloat(std::string_view text);

// Whether `text` (white space skipped, an optional sign) begins with "nan"
// or "inf" in any case: a word that other programs read as a value that is
// not finite, and that the lenient reader takes as 0.
bool namesNonFinite(std::string_view text);

// The leading integer of `text` (white space, optional sign, digits; 0 when
// none); clamped to the range of int.
int lenientInteger(std::string_view text);

}  // namespace brinora
