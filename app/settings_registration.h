// Start-up registration of the stored settings: brings the user-defaults store
// to layout "1.4" and writes a default for every missing key. Toolkit-free: it
// works on any SettingsStore (the desktop program's QSettings, or memory).
#pragma once

#include "app/ui.h"

namespace brinora {

// Migration from a layout before "1.4": unless "plistVersionNumber" holds
// exactly "1.4", removes the four old selection keys, resets the option menu
// indices (and the lower-case "windspeedUnitsInt") to "0" and records "1.4".
// Returns true when it migrated.
bool migrateSettingsLayout(SettingsStore& store);

// Writes the default of every key of brinora::settings::kDefaults that the
// store lacks, in table order. Two rows behave as the store has always had
// them: the wind-speed units row tests "windspeedUnitsInt" (lower-case s) but
// writes "windSpeedUnitsInt", and the "Save_Path" row runs twice.
void registerSettingsDefaults(SettingsStore& store);

// Writes the default of every key of brinora::settings::kUncertaintyDefaults
// (the uncertainty panel) that the store lacks, in table order.
void registerUncertaintyDefaults(SettingsStore& store);

// Migration, then defaults: what the application does once at start-up.
void registerAndMigrateSettings(SettingsStore& store);

}  // namespace brinora
