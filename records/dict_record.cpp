#include "records/dict_record.h"

#include <array>
#include <cstdint>
#include <string_view>

#include "engine/slots.h"
#include "input/line_rules.h"

namespace brinora {
namespace {

// Exactly 0: NaN and every other value count as not 0.
bool isExactlyZero(float value) { return value == 0.0f; }

constexpr std::array<std::string_view, 7> kCruiseKeys = {"SampleID", "Name",      "Time",   "Date",
                                                         "Latitude", "Longitude", "Comment"};

struct KeyedSlot {
    std::string_view key;
    std::uint32_t pos;
};

constexpr KeyedSlot kInputs[] = {
    {"Salinity", slot::kSalinity}, {"Temperature", slot::kTemperature}, {"Pressure", slot::kPressure},
    {"Total P", slot::kPhosphate}, {"Total Si", slot::kSilicate},       {"TA", slot::kTAOut},
    {"TCO2", slot::kTCO2Out},      {"pH", slot::kpHIn},                 {"fCO2", slot::kfCO2In},
    {"pCO2", slot::kpCO2In},       {"HCO3", slot::kHCO3In},             {"CO3", slot::kCO3In},
    {"CO2", slot::kCO2In},         {"B Alk", slot::kBAlkIn},            {"OH", slot::kOHIn},
    {"P Alk", slot::kPAlkIn},      {"Si Alk", slot::kSiAlkIn},          {"Revelle", slot::kRevelleIn},
    {"Omega Ca", slot::kOmegaCaIn}, {"Omega Ar", slot::kOmegaArIn},
};

constexpr KeyedSlot kOutputs[] = {
    {"Output pH", slot::kpHOut},           {"Output fCO2", slot::kfCO2Out},
    {"Output pCO2", slot::kpCO2Out},       {"Output HCO3", slot::kHCO3Out},
    {"Output CO3", slot::kCO3Out},         {"Output CO2", slot::kCO2Out},
    {"Output B Alk", slot::kBAlkOut},      {"Output OH", slot::kOHOut},
    {"Output P Alk", slot::kPAlkOut},      {"Output Si Alk", slot::kSiAlkOut},
    {"Output Revelle", slot::kRevelleOut}, {"Output Omega Ca", slot::kOmegaCaOut},
    {"Output Omega Ar", slot::kOmegaArOut}, {"Output xCO2", slot::kxCO2Out},
    {"pCO2 air", slot::kpCO2Air},          {"Windspeed", slot::kWindSpeed},
};

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
    for (const KeyedSlot& item : kInputs) put(item.key, board.get(item.pos));
    const float temperatureOut = board.get(slot::kTemperatureOut);
    const float pressureOut = board.get(slot::kPressureOut);
    put("Output Temperature", isExactlyZero(temperatureOut) ? board.get(slot::kTemperature) : temperatureOut);
    put("Output Pressure", isExactlyZero(pressureOut) ? board.get(slot::kPressure) : pressureOut);
    for (const KeyedSlot& item : kOutputs) put(item.key, board.get(item.pos));
    if (isExactlyZero(board.get(slot::kPressure))) {
        put("CO2 Flux", board.get(slot::kCO2FluxIn));
        put("Output CO2 Flux", board.get(slot::kCO2FluxOut));
    } else {
        record.insert_or_assign("CO2 Flux", "");
        record.insert_or_assign("Output CO2 Flux", "");
    }
    record.insert_or_assign("Windspeed Units", withoutCommas(titles.windSpeedUnits));
    record.insert_or_assign("CO2 Constants", withoutCommas(titles.constants));
    record.insert_or_assign("KHSO4", withoutCommas(titles.khso4));
    record.insert_or_assign("pH Scale", withoutCommas(titles.pHScale));
    record.insert_or_assign("Air-Sea Flux", withoutCommas(titles.flux));
    return record;
}

}  // namespace brinora
