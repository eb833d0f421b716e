// The two forms of the output record and the fixed header of the output file.
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "engine/quantities.h"

namespace brinora {

// A "Dict" record: named strings, one per column of the preview table.
using DictRecord = std::map<std::string, std::string, std::less<>>;

// Result of formatOutputAs: nothing (unknown format), a "String" record or a "Dict" record.
using FormattedRecord = std::variant<std::monostate, std::string, DictRecord>;

// First line of every output file: 53 names and a newline.
std::string_view dataFileHeaders();

// The quantities of the numeric columns 7..47 of the output record, in column order.
std::span<const Quantity* const> recordNumberColumns();

// The board slot a record column writes: its own slot, or the fallback slot
// when the column repeats the input condition of a 0 (kInputWhenZero).
template <typename SlotReader>
float recordColumnValue(const Quantity& column, const SlotReader& slotValue) {
    const float value = slotValue(column.slot);
    if (column.recordFormat == RecordFormat::kInputWhenZero && value == 0.0f) {
        return slotValue(column.fallbackSlot);
    }
    return value;
}

// Keys of a "Dict" record, in the order in which they are set: the seven
// cruise-information keys, the quantities' keys in record order, the five
// option keys.
std::span<const std::string_view> dictRecordKeys();

// `value` widened to double and written with "%.3f".
std::string formatNumber(float value);

// `text` without any ",".
std::string withoutCommas(std::string_view text);

}  // namespace brinora
