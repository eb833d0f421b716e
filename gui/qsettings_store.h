// The user-defaults store of the desktop program: string values in QSettings
// under organisation and application "Brinora".
#pragma once

#include <QSettings>
#include <QString>

#include <memory>

#include "app/ui.h"

namespace brinora {

class QSettingsStore : public SettingsStore {
public:
    // The user's own store (organisation and application "Brinora", native format).
    QSettingsStore();
    // A store kept in the INI file at `iniPath` (tests, the screenshot tour).
    explicit QSettingsStore(const QString& iniPath);

    std::optional<std::string> value(std::string_view key) const override;
    void setValue(std::string_view key, std::string_view value) override;
    void removeValue(std::string_view key) override;
    void synchronize() override;

    QSettings& settings() { return *settings_; }

private:
    std::unique_ptr<QSettings> settings_;
};

}  // namespace brinora
