// The start-up cases of the stored settings, run against any SettingsStore:
// the in-memory store (test_app) and a QSettings INI file (test_gui).
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "app/settings_keys.h"
#include "app/settings_registration.h"
#include "app/ui.h"

namespace brinora::testing {

inline std::optional<std::string> stored(const SettingsStore& store, std::string_view key) {
    return store.value(key);
}

// First start with an empty store.
inline void checkFirstStart(SettingsStore& store) {
    registerAndMigrateSettings(store);
    EXPECT_EQ(stored(store, "plistVersionNumber"), "1.4");
    EXPECT_EQ(stored(store, "windspeedUnitsInt"), "0");
    for (const auto& [key, value] : settings::kDefaults) {
        if (key == "windSpeedUnitsInt") {
            EXPECT_FALSE(stored(store, key).has_value()) << "windSpeedUnitsInt was written";
        } else {
            EXPECT_EQ(stored(store, key), std::string(value)) << key;
        }
    }
    for (const auto key : settings::kRemovedKeys) EXPECT_FALSE(stored(store, key).has_value()) << key;
}

// Layout "1.3": the option menus are reset, the old keys removed, other values kept.
inline void checkMigrationFromOlderLayout(SettingsStore& store) {
    store.setValue("plistVersionNumber", "1.3");
    store.setValue("co2constantsInt", "5");
    store.setValue("khso4Int", "2");
    store.setValue("pHScaleInt", "3");
    store.setValue("airSeaFluxInt", "1");
    store.setValue("windspeedUnitsInt", "1");
    store.setValue("CO2constants_selection", "Roy");
    store.setValue("KHSO4_selected", "Dickson");
    store.setValue("pHScale_selection", "Total");
    store.setValue("AirSeaFlux_selected", "Wanninkhof");
    store.setValue("Open_Path", "/data/cruise");
    store.setValue("NumberOfLinesInPreview", "12");
    registerAndMigrateSettings(store);
    EXPECT_EQ(stored(store, "plistVersionNumber"), "1.4");
    EXPECT_EQ(stored(store, "co2constantsInt"), "0");
    EXPECT_EQ(stored(store, "khso4Int"), "0");
    EXPECT_EQ(stored(store, "pHScaleInt"), "0");
    EXPECT_EQ(stored(store, "airSeaFluxInt"), "0");
    EXPECT_EQ(stored(store, "windspeedUnitsInt"), "0");
    for (const auto key : settings::kRemovedKeys) EXPECT_FALSE(stored(store, key).has_value()) << key;
    EXPECT_EQ(stored(store, "Open_Path"), "/data/cruise");
    EXPECT_EQ(stored(store, "NumberOfLinesInPreview"), "12");
}

// Layout "1.4": nothing is reset, missing keys get their defaults.
inline void checkCurrentLayoutKept(SettingsStore& store) {
    store.setValue("plistVersionNumber", "1.4");
    store.setValue("co2constantsInt", "5");
    store.setValue("windspeedUnitsInt", "1");
    registerAndMigrateSettings(store);
    EXPECT_EQ(stored(store, "co2constantsInt"), "5");
    EXPECT_EQ(stored(store, "windspeedUnitsInt"), "1");
    EXPECT_EQ(stored(store, "khso4Int"), "0");
    EXPECT_EQ(stored(store, "coordinatePickerEW"), "1");
    EXPECT_FALSE(stored(store, "windSpeedUnitsInt").has_value());
}

// "windspeedUnitsInt" removed by hand under "1.4": the upper-case key gets its default.
inline void checkRemovedWindUnitsKey(SettingsStore& store) {
    store.setValue("plistVersionNumber", "1.4");
    registerAndMigrateSettings(store);
    store.removeValue("windspeedUnitsInt");
    registerAndMigrateSettings(store);
    EXPECT_EQ(stored(store, "windSpeedUnitsInt"), "0");
    EXPECT_FALSE(stored(store, "windspeedUnitsInt").has_value());
}

// A version that is not exactly "1.4" counts as an older layout.
inline void checkUnexpectedVersion(SettingsStore& store) {
    store.setValue("plistVersionNumber", "1.40");
    store.setValue("pHScaleInt", "2");
    registerAndMigrateSettings(store);
    EXPECT_EQ(stored(store, "pHScaleInt"), "0");
    EXPECT_EQ(stored(store, "plistVersionNumber"), "1.4");
}

}  // namespace brinora::testing
