// The fields of a batch line without copies: the first 21 comma-separated
// fields as views into the line, and their numbers read with the lenient rule
// of lenient_number.h but without allocating.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace brinora {

// Fields of a batch line that are used; the ones after them are ignored.
inline constexpr std::size_t kBatchLineFields = 21;

using BatchFields = std::array<std::string_view, kBatchLineFields>;

// Every comma-separated field of `line` (no quoting or escaping); the empty
// line is one empty field.
std::vector<std::string> splitFields(std::string_view line);

// The first `most` fields of `line`, cut as splitFields cuts them, as views
// into it (fields after them are not looked for).
void splitFieldViews(std::string_view line, std::size_t most, std::vector<std::string_view>& fields);

// Splits `line` at "," as splitFields does and keeps the first 21 fields;
// the missing ones are empty. Returns the number of fields of the whole line.
std::size_t splitBatchFields(std::string_view line, BatchFields& fields);

// lenientDouble(text) to the bit, without allocating for the usual texts.
double lenientDoubleFast(std::string_view text);

// lenientFloat(text) to the bit: lenientDoubleFast narrowed to float.
float lenientFloatFast(std::string_view text);

}  // namespace brinora
