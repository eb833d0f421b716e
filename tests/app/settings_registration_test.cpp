// Start-up registration and migration of the stored settings, in memory.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/plain_ui.h"
#include "tests/support/settings_cases.h"

namespace brinora::testing {
namespace {

TEST(SettingsRegistration, FirstStartWithEmptyStore) {
    MemorySettings store;
    checkFirstStart(store);
}

TEST(SettingsRegistration, OlderLayoutResetsOptionMenus) {
    MemorySettings store;
    checkMigrationFromOlderLayout(store);
}

TEST(SettingsRegistration, CurrentLayoutKeepsValues) {
    MemorySettings store;
    checkCurrentLayoutKept(store);
}

TEST(SettingsRegistration, RemovedWindUnitsKeyWritesUpperCaseKey) {
    MemorySettings store;
    checkRemovedWindUnitsKey(store);
}

TEST(SettingsRegistration, UnexpectedVersionMigrates) {
    MemorySettings store;
    checkUnexpectedVersion(store);
}

TEST(SettingsRegistration, MigrationReportsWhetherItRan) {
    MemorySettings store;
    EXPECT_TRUE(migrateSettingsLayout(store));
    EXPECT_FALSE(migrateSettingsLayout(store));
}

TEST(SettingsRegistration, NothingIsWrittenToDiskExplicitly) {
    MemorySettings store;
    registerAndMigrateSettings(store);
    EXPECT_EQ(store.synchronizeCount, 0);
}

// A store that records every call, to check the order of the work.
class RecordingSettings : public MemorySettings {
public:
    std::optional<std::string> value(std::string_view key) const override {
        calls.push_back("get " + std::string(key));
        return MemorySettings::value(key);
    }
    void setValue(std::string_view key, std::string_view value) override {
        calls.push_back("set " + std::string(key) + "=" + std::string(value));
        MemorySettings::setValue(key, value);
    }
    void removeValue(std::string_view key) override {
        calls.push_back("remove " + std::string(key));
        MemorySettings::removeValue(key);
    }
    mutable std::vector<std::string> calls;
};

TEST(SettingsRegistration, MigrationOrderOnFirstStart) {
    RecordingSettings store;
    migrateSettingsLayout(store);
    const std::vector<std::string> expected = {
        "get plistVersionNumber",
        "remove CO2constants_selection",
        "remove KHSO4_selected",
        "remove pHScale_selection",
        "remove AirSeaFlux_selected",
        "set co2constantsInt=0",
        "set khso4Int=0",
        "set pHScaleInt=0",
        "set airSeaFluxInt=0",
        "set windspeedUnitsInt=0",
        "set plistVersionNumber=1.4",
    };
    EXPECT_EQ(store.calls, expected);
}

TEST(SettingsRegistration, DefaultRowsInTableOrderWithBothQuirks) {
    RecordingSettings store;
    registerSettingsDefaults(store);
    const std::vector<std::string> expected = {
        "get co2constantsInt", "set co2constantsInt=0",
        "get khso4Int", "set khso4Int=0",
        "get airSeaFluxInt", "set airSeaFluxInt=0",
        "get pHScaleInt", "set pHScaleInt=0",
        // tests the lower-case key, writes the upper-case one
        "get windspeedUnitsInt", "set windSpeedUnitsInt=0",
        "get coordinateFormatInt", "set coordinateFormatInt=0",
        "get coordinatePickerNS", "set coordinatePickerNS=0",
        "get coordinatePickerEW", "set coordinatePickerEW=1",
        "get coordinateFormatSelection", "set coordinateFormatSelection=decimal degrees",
        "get WindSpeedUnits_selection", "set WindSpeedUnits_selection=m/s",
        "get Open_Path", "set Open_Path=~/Documents",
        // the Save_Path row runs twice; the second finds the key
        "get Save_Path", "set Save_Path=~/Documents", "get Save_Path",
        "get xGraphParameter", "set xGraphParameter=Salinity",
        "get yGraphParameter", "set yGraphParameter=Temperature",
        "get NumberOfLinesInPreview", "set NumberOfLinesInPreview=5",
    };
    EXPECT_EQ(store.calls, expected);
}

TEST(SettingsRegistration, DefaultsNeverOverwriteStoredValues) {
    MemorySettings store;
    store.setValue("Open_Path", "/data");
    store.setValue("NumberOfLinesInPreview", "0");
    store.setValue("coordinatePickerEW", "0");
    registerSettingsDefaults(store);
    EXPECT_EQ(store.value("Open_Path"), "/data");
    EXPECT_EQ(store.value("NumberOfLinesInPreview"), "0");
    EXPECT_EQ(store.value("coordinatePickerEW"), "0");
}

}  // namespace
}  // namespace brinora::testing
