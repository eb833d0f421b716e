#include "records/dict_record.h"

#include <array>
#include <cstdint>
#include <string_view>

#include "engine/quantities.h"
#include "engine/slots.h"
#include "records/output_record.h"
#include "input/line_rules.h"

namespace brinora {
namespace {

// Exactly 0: NaN and every other value count as not 0.
bool isExactlyZero(float value) { return value == 0.0f; }

constexpr std::array<std::string_view, 7> kCruiseKeys = {"SampleID", "Name",      "Time",   "Date",
                                                         "Latitude", "Longitude", "Comment"};

}  // namespace

CruiseInformation cruiseInformation(const BatchFields& fields) {
    CruiseInformation cruise;
    for (std::size_t f = 0; f < 6; ++f) cruise[std::string(kCruiseKeys[f])] = std::string(fields[f]);
    cruise["Comment"] = std::string(fields[kCommentField]);
    return cruise;
}

DictRecord dictRecord(const CruiseInformation& cruise, const Board& board, const RecordOptionTitles& titles) {
    DictRecord record;
    for (const std::string_view key : kCruiseKeys) {
        const auto found = cruise.find(key);
        if (found != cruise.end()) record.insert_or_assign(std::string(key), found->second);
    }
    const auto put = [&record](std::string_view key, float value) {
        record.insert_or_assign(std::string(key), formatNumber(value));
    };
    // The quantities' columns in record order; the flux only holds at the surface.
    const bool surface = isExactlyZero(board.get(slot::kPressure));
    const auto read = [&board](std::uint32_t pos) { return board.get(pos); };
    for (const Quantity* column : recordNumberColumns()) {
        if (column->dictKey.empty()) continue;
        if (column->recordFormat == RecordFormat::kSurfaceOnly && !surface) {
            record.insert_or_assign(std::string(column->dictKey), "");
        } else {
            put(column->dictKey, recordColumnValue(*column, read));
        }
    }
    record.insert_or_assign("Windspeed Units", withoutCommas(titles.windSpeedUnits));
    record.insert_or_assign("CO2 Constants", withoutCommas(titles.constants));
    record.insert_or_assign("KHSO4", withoutCommas(titles.khso4));
    record.insert_or_assign("pH Scale", withoutCommas(titles.pHScale));
    record.insert_or_assign("Air-Sea Flux", withoutCommas(titles.flux));
    return record;
}

}  // namespace brinora
