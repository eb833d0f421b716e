#include "cli/stored_settings.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QSettings>
#include <cerrno>
#include <cstring>
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

std::string storedSettingsProblem() {
    const std::string path = storedSettingsLocation();
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) return errno == ENOENT ? std::string() : std::strerror(errno);
    if (S_ISDIR(info.st_mode)) return "it is a folder";
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return std::strerror(errno);
    ::close(fd);
    return {};
}

}  // namespace brinora::cli
