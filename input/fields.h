// The fields of a line, cut at every "," with no quoting or escaping: the
// first 21 of a batch line as views into it, the first few of any line as
// views, or all of them as strings. Their numbers are read with
// lenient_number.h.
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

}  // namespace brinora
