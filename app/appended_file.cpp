#include "app/appended_file.h"

#include <cerrno>
#include <cstring>

namespace brinora {

bool AppendedFile::write(std::string_view bytes) {
    if (openFailed_) return false;
    if (!target_) {
        OutputError error;
        target_ = OutputTarget::open(path_, mode_, options_, error);
        if (!target_) {
            openFailed_ = true;
            // A file that is not there is named as the desktop program always has.
            error_ = mode_ == OutputMode::kAppend && error.errorNumber == ENOENT
                         ? "cannot open \"" + path_ + "\": " + std::strerror(ENOENT)
                         : error.message;
            return false;
        }
    }
    if (target_->write(bytes)) return true;
    error_ = target_->error().message;
    return false;
}

bool AppendedFile::commit() {
    if (!target_) return true;
    if (target_->commit()) return true;
    error_ = target_->error().message;
    return false;
}

void AppendedFile::rollBack() {
    if (target_) target_->abandon();
}

std::string appendToOutputFile(const std::string& path, std::string_view bytes) {
    AppendedFile file(path);
    if (!file.write(bytes) || !file.commit()) return file.errorMessage();
    return {};
}

}  // namespace brinora
