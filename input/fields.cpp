#include "input/fields.h"

#include <charconv>
#include <cstring>
#include <system_error>

#include "input/lenient_number.h"

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


}  // namespace brinora
