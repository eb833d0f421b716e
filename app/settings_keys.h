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

// The uncertainty panel of the one-sample form and the batch tab's check box.
inline constexpr std::string_view kUncertaintyShown = "uncertaintyShown";            // "1": propagate on Calculate
inline constexpr std::string_view kUncertaintyTA = "uncertaintyTA";                  // micromol/kg
inline constexpr std::string_view kUncertaintyTCO2 = "uncertaintyTCO2";              // micromol/kg
inline constexpr std::string_view kUncertaintypH = "uncertaintypH";                  // pH units
inline constexpr std::string_view kUncertaintyfCO2 = "uncertaintyfCO2";              // microatmosphere
inline constexpr std::string_view kUncertaintypCO2 = "uncertaintypCO2";              // microatmosphere
inline constexpr std::string_view kUncertaintySalinity = "uncertaintySalinity";
inline constexpr std::string_view kUncertaintyTemperature = "uncertaintyTemperature";  // deg C
inline constexpr std::string_view kUncertaintyPhosphate = "uncertaintyPhosphate";    // micromol/kg
inline constexpr std::string_view kUncertaintySilicate = "uncertaintySilicate";      // micromol/kg
inline constexpr std::string_view kUncertaintyConstants = "uncertaintyConstants";    // "standard", "none" or "custom"
inline constexpr std::string_view kUncertaintyCorrelation = "uncertaintyCorrelation";  // of the pair, -1..1
inline constexpr std::string_view kUncertaintyBudgetResult = "uncertaintyBudgetResult";  // result of the budget chart
inline constexpr std::string_view kUncertaintyBatchFile = "uncertaintyBatchFile";    // "1": batch writes the file
// The user's own uncertainties of the constants ("custom"): pK units, total
// boron relative (0.02 is 2 %), in the order pK0 pK1 pK2 pKB pKW pKspA pKspC
// pKS pKF pKP1 pKP2 pKP3 pKSi, total boron.
inline constexpr std::array<std::string_view, 14> kUncertaintyConstantKeys = {
    "uncertaintypK0",  "uncertaintypK1", "uncertaintypK2",  "uncertaintypKB",  "uncertaintypKW",
    "uncertaintypKspA", "uncertaintypKspC", "uncertaintypKS", "uncertaintypKF", "uncertaintypKP1",
    "uncertaintypKP2", "uncertaintypKP3", "uncertaintypKSi", "uncertaintyBoron"};

// The uncertainty keys with their defaults, registered after kDefaults: the
// standard uncertainties of good practice in Orr et al. (2018): TA and TCO2
// 2 micromol/kg, pH 0.01, fCO2 and pCO2 2 microatmosphere, salinity 0.01,
// temperature 0.01 deg C, the constants' standard set (and, as the start of
// a set of the user's own, its values).
inline constexpr std::array<std::pair<std::string_view, std::string_view>, 28> kUncertaintyDefaults = {{
    {kUncertaintyShown, "0"},
    {kUncertaintyTA, "2"},
    {kUncertaintyTCO2, "2"},
    {kUncertaintypH, "0.01"},
    {kUncertaintyfCO2, "2"},
    {kUncertaintypCO2, "2"},
    {kUncertaintySalinity, "0.01"},
    {kUncertaintyTemperature, "0.01"},
    {kUncertaintyPhosphate, "0"},
    {kUncertaintySilicate, "0"},
    {kUncertaintyConstants, "standard"},
    {kUncertaintyCorrelation, "0"},
    {kUncertaintyBudgetResult, "ph"},
    {kUncertaintyBatchFile, "0"},
    {kUncertaintyConstantKeys[0], "0.002"},
    {kUncertaintyConstantKeys[1], "0.0075"},
    {kUncertaintyConstantKeys[2], "0.015"},
    {kUncertaintyConstantKeys[3], "0.01"},
    {kUncertaintyConstantKeys[4], "0.01"},
    {kUncertaintyConstantKeys[5], "0.02"},
    {kUncertaintyConstantKeys[6], "0.02"},
    {kUncertaintyConstantKeys[7], "0"},
    {kUncertaintyConstantKeys[8], "0"},
    {kUncertaintyConstantKeys[9], "0"},
    {kUncertaintyConstantKeys[10], "0"},
    {kUncertaintyConstantKeys[11], "0"},
    {kUncertaintyConstantKeys[12], "0"},
    {kUncertaintyConstantKeys[13], "0.02"},
}};

// Organisation and application name under which the settings are kept.
inline constexpr std::string_view kOrganization = "Brinora";
inline constexpr std::string_view kApplication = "Brinora";

}  // namespace brinora::settings
