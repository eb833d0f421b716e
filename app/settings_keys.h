// Keys of the user-defaults store and their defaults. Every value is a string,
// also the numeric ones (menu indices, the preview length).
#pragma once

#include <array>
#include <string_view>
#include <utility>

namespace brinora::settings {

// Layout version of the store.
inline constexpr std::string_view kVersionKey = "plistVersionNumber";
inline constexpr std::string_view kCurrentVersion = "1.4";

// Menu indices of the option menus (item 0 is the placeholder).
inline constexpr std::string_view kCO2ConstantsInt = "co2constantsInt";
inline constexpr std::string_view kKHSO4Int = "khso4Int";
inline constexpr std::string_view kAirSeaFluxInt = "airSeaFluxInt";
inline constexpr std::string_view kpHScaleInt = "pHScaleInt";
// Wind-speed units menu index as the menus store it (upper-case S).
inline constexpr std::string_view kWindSpeedUnitsInt = "windSpeedUnitsInt";
// Wind-speed units key that the migration resets and the default test reads (lower-case s).
inline constexpr std::string_view kWindspeedUnitsIntLegacy = "windspeedUnitsInt";
inline constexpr std::string_view kCoordinateFormatInt = "coordinateFormatInt";
inline constexpr std::string_view kCoordinatePickerNS = "coordinatePickerNS";
inline constexpr std::string_view kCoordinatePickerEW = "coordinatePickerEW";
inline constexpr std::string_view kCoordinateFormatSelection = "coordinateFormatSelection";
inline constexpr std::string_view kWindSpeedUnitsSelection = "WindSpeedUnits_selection";
// Folder in which the open panels start.
inline constexpr std::string_view kOpenPath = "Open_Path";
// Folder kept for saving; no code reads it.
inline constexpr std::string_view kSavePath = "Save_Path";
inline constexpr std::string_view kXGraphParameter = "xGraphParameter";
inline constexpr std::string_view kYGraphParameter = "yGraphParameter";
// Number of batch lines computed for the preview (an integer as text).
inline constexpr std::string_view kNumberOfLinesInPreview = "NumberOfLinesInPreview";

// Keys of the layout before 1.4, removed by the migration.
inline constexpr std::array<std::string_view, 4> kRemovedKeys = {
    "CO2constants_selection", "KHSO4_selected", "pHScale_selection", "AirSeaFlux_selected"};

// Keys with their defaults, in the order they are registered at start-up.
inline constexpr std::array<std::pair<std::string_view, std::string_view>, 15> kDefaults = {{
    {kCO2ConstantsInt, "0"},
    {kKHSO4Int, "0"},
    {kAirSeaFluxInt, "0"},
    {kpHScaleInt, "0"},
    {kWindSpeedUnitsInt, "0"},
    {kCoordinateFormatInt, "0"},
    {kCoordinatePickerNS, "0"},
    {kCoordinatePickerEW, "1"},
    {kCoordinateFormatSelection, "decimal degrees"},
    {kWindSpeedUnitsSelection, "m/s"},
    {kOpenPath, "~/Documents"},
    {kSavePath, "~/Documents"},
    {kXGraphParameter, "Salinity"},
    {kYGraphParameter, "Temperature"},
    {kNumberOfLinesInPreview, "5"},
}};

// Organisation and application name under which the settings are kept.
inline constexpr std::string_view kOrganization = "Brinora";
inline constexpr std::string_view kApplication = "Brinora";

}  // namespace brinora::settings
