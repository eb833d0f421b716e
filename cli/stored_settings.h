// The desktop program's stored settings, read once for the command line.
#pragma once

#include "app/plain_ui.h"

namespace brinora::cli {

// Environment variable that names an INI settings file to read instead of
// the user's own settings (used by the tests).
inline constexpr const char* kSettingsFileVariable = "BRINORA_SETTINGS_FILE";

// Every stored key and value (organisation and application "Brinora"), or
// those of the file named by BRINORA_SETTINGS_FILE. The command line works on
// this copy and never writes the settings back.
MemorySettings loadStoredSettings();

// Where the settings were read from, for messages.
std::string storedSettingsLocation();

// Why the settings file cannot be read ("it is a folder", "Permission
// denied"); "" when it can, or when there is none.
std::string storedSettingsProblem();

}  // namespace brinora::cli
