#include "gui/qsettings_store.h"

#include "app/settings_keys.h"
#include "gui/qt_text.h"

namespace brinora {

QSettingsStore::QSettingsStore()
    : settings_(std::make_unique<QSettings>(toQString(settings::kOrganization),
                                            toQString(settings::kApplication))) {}

QSettingsStore::QSettingsStore(const QString& iniPath)
    : settings_(std::make_unique<QSettings>(iniPath, QSettings::IniFormat)) {}

std::optional<std::string> QSettingsStore::value(std::string_view key) const {
    const QString name = toQString(key);
    if (!settings_->contains(name)) return std::nullopt;
    return settings_->value(name).toString().toStdString();
}

void QSettingsStore::setValue(std::string_view key, std::string_view value) {
    settings_->setValue(toQString(key), toQString(value));
}

void QSettingsStore::removeValue(std::string_view key) { settings_->remove(toQString(key)); }

void QSettingsStore::synchronize() { settings_->sync(); }

}  // namespace brinora
