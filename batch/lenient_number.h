// Reading typed or file text as a number the lenient way a text field does:
// leading white space is skipped, the longest leading decimal number (optional
// sign, digits, fraction, exponent) is taken, and the rest is ignored. Text
// with no leading number, and the empty text, read as 0.
#pragma once

#include <string_view>

namespace brinora {

// The leading decimal number of `text` in double precision (0 when none).
// Values beyond the double range read as infinity of their sign.
double lenientDouble(std::string_view text);

// lenientDouble narrowed to single precision, as values enter the field board.
float lenientFloat(std::string_view text);

// The leading integer of `text` (white space, optional sign, digits; 0 when
// none); clamped to the range of int.
int lenientInteger(std::string_view text);

}  // namespace brinora
