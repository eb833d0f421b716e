// "%.3f" text of single-precision board values, written without printf and
// without allocating: the value is widened to double and printed with three
// decimals exactly as the C library's printf("%.3f") prints it (the exact
// binary value rounded half to even; "nan", "-nan", "inf", "-inf"; a
// negative value that rounds to zero keeps its sign, "-0.000").
#pragma once

#include <cstddef>
#include <string>

namespace brinora {

// Longest "%.3f" text of a float: a sign, 39 integer digits, the point and
// three decimals.
inline constexpr std::size_t kFixed3MaxLength = 44;

// Writes the "%.3f" text of `value` to `out`, which must have room for
// kFixed3MaxLength characters, and returns the end of the text.
char* writeFixed3(float value, char* out);

// Appends the "%.3f" text of `value` to `text`.
void appendFixed3(std::string& text, float value);

}  // namespace brinora
