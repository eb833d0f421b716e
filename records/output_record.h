// The two forms of the output record and the fixed header of the output file.
#pragma once

#include <array>
#include <map>
#include <string>
#include <string_view>
#include <variant>

namespace brinora {

// A "Dict" record: named strings, one per column of the preview table.
using DictRecord = std::map<std::string, std::string, std::less<>>;

// Result of formatOutputAs: nothing (unknown format), a "String" record or a "Dict" record.
using FormattedRecord = std::variant<std::monostate, std::string, DictRecord>;

// First line of every output file: 53 names and a newline.
std::string_view dataFileHeaders();

// Keys of a "Dict" record, in the order in which they are set.
inline constexpr auto kDictRecordKeys = std::to_array<std::string_view>({
    "SampleID", "Name", "Time", "Date", "Latitude", "Longitude", "Comment",
    "Salinity", "Temperature", "Pressure", "Total P", "Total Si", "TA", "TCO2", "pH",
    "fCO2", "pCO2", "HCO3", "CO3", "CO2", "B Alk", "OH", "P Alk", "Si Alk", "Revelle",
    "Omega Ca", "Omega Ar", "Output Temperature", "Output Pressure", "Output pH",
    "Output fCO2", "Output pCO2", "Output HCO3", "Output CO3", "Output CO2",
    "Output B Alk", "Output OH", "Output P Alk", "Output Si Alk", "Output Revelle",
    "Output Omega Ca", "Output Omega Ar", "Output xCO2", "pCO2 air", "Windspeed",
    "CO2 Flux", "Output CO2 Flux", "Windspeed Units", "CO2 Constants", "KHSO4",
    "pH Scale", "Air-Sea Flux",
});

// `value` widened to double and written with "%.3f".
std::string formatNumber(float value);

// `text` without any ",".
std::string withoutCommas(std::string_view text);

}  // namespace brinora
