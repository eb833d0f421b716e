#include "app/settings_registration.h"

#include "app/settings_keys.h"

namespace brinora {

bool migrateSettingsLayout(SettingsStore& store) {
    const auto version = store.value(settings::kVersionKey);
    if (version && *version == settings::kCurrentVersion) return false;

    for (const auto key : settings::kRemovedKeys) store.removeValue(key);
    for (const auto key : {settings::kCO2ConstantsInt, settings::kKHSO4Int, settings::kpHScaleInt,
                           settings::kAirSeaFluxInt, settings::kWindspeedUnitsIntLegacy}) {
        store.setValue(key, "0");
    }
    store.setValue(settings::kVersionKey, settings::kCurrentVersion);
    return true;
}

namespace {

// One row of the defaults table: `testedKey` is looked up, `writtenKey` is
// written when the lookup finds nothing.
void registerDefault(SettingsStore& store, std::string_view testedKey, std::string_view writtenKey,
                     std::string_view value) {
    if (!store.value(testedKey)) store.setValue(writtenKey, value);
}

}  // namespace

void registerSettingsDefaults(SettingsStore& store) {
    for (const auto& [key, value] : settings::kDefaults) {
        if (key == settings::kWindSpeedUnitsInt) {
            // Tests the lower-case key, writes the upper-case one (kept as it always was).
            registerDefault(store, settings::kWindspeedUnitsIntLegacy, key, value);
        } else if (key == settings::kSavePath) {
            // This row has always been performed twice; the second finds the key.
            registerDefault(store, key, key, value);
            registerDefault(store, key, key, value);
        } else {
            registerDefault(store, key, key, value);
        }
    }
}

void registerUncertaintyDefaults(SettingsStore& store) {
    for (const auto& [key, value] : settings::kUncertaintyDefaults) registerDefault(store, key, key, value);
}

void registerAndMigrateSettings(SettingsStore& store) {
    migrateSettingsLayout(store);
    registerSettingsDefaults(store);
    registerUncertaintyDefaults(store);
}

}  // namespace brinora
