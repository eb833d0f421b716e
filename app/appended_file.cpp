#include "app/appended_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace brinora {

bool AppendedFile::write(std::string_view bytes) {
    if (!target_) {
        OutputError error;
        target_ = OutputTarget::open(path_, OutputMode::kAppend, OutputOptions{}, error);
        if (!target_) {
            // A file that is not there is named as the desktop program always has.
            error_ = error.errorNumber == ENOENT ? "cannot open \"" + path_ + "\": " + std::strerror(ENOENT)
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

KmlDocumentFile::~KmlDocumentFile() {
    if (fd_ >= 0) ::close(fd_);
}

bool KmlDocumentFile::write(std::string_view bytes) {
    if (fd_ < 0) {
        fd_ = ::open(path_.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
        if (fd_ < 0) {
            error_ = "cannot open \"" + path_ + "\": " + std::strerror(errno);
            return false;
        }
        struct stat info {};
        if (::fstat(fd_, &info) == 0) startLength_ = info.st_size;
    }
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd_, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            error_ = "cannot append to \"" + path_ + "\": " + std::strerror(n < 0 ? errno : ENOSPC);
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

void KmlDocumentFile::rollBack() {
    if (fd_ >= 0) (void)!::ftruncate(fd_, static_cast<off_t>(startLength_));
}

std::string appendToOutputFile(const std::string& path, std::string_view bytes) {
    AppendedFile file(path);
    if (!file.write(bytes) || !file.commit()) return file.errorMessage();
    return {};
}

}  // namespace brinora
