#include "cli/stored_settings.h"

#include <QSettings>
#include <QString>
#include <cstdlib>
#include <memory>

#include "app/settings_keys.h"

namespace brinora::cli {
namespace {

std::unique_ptr<QSettings> openSettings() {
    const char* file = std::getenv(kSettingsFileVariable);
    if (file != nullptr && *file != '\0') {
        return std::make_unique<QSettings>(QString::fromLocal8Bit(file), QSettings::IniFormat);
    }
    return std::make_unique<QSettings>(
        QString::fromUtf8(settings::kOrganization.data(), static_cast<qsizetype>(settings::kOrganization.size())),
        QString::fromUtf8(settings::kApplication.data(), static_cast<qsizetype>(settings::kApplication.size())));
}

}  // namespace

MemorySettings loadStoredSettings() {
    MemorySettings stored;
    const std::unique_ptr<QSettings> settings = openSettings();
    for (const QString& key : settings->allKeys()) {
        stored.setValue(key.toStdString(), settings->value(key).toString().toStdString());
    }
    return stored;
}

std::string storedSettingsLocation() { return openSettings()->fileName().toStdString(); }

}  // namespace brinora::cli
