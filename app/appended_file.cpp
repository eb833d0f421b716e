#include "app/appended_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace brinora {

AppendedFile::~AppendedFile() {
    if (fd_ >= 0) ::close(fd_);
}

bool AppendedFile::write(std::string_view bytes) {
    if (fd_ < 0 && !open()) return false;
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

void AppendedFile::rollBack() {
    if (fd_ >= 0) (void)!::ftruncate(fd_, startLength_);
}

bool AppendedFile::open() {
    fd_ = ::open(path_.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (fd_ < 0) {
        error_ = "cannot open \"" + path_ + "\": " + std::strerror(errno);
        return false;
    }
    struct stat info {};
    if (::fstat(fd_, &info) == 0) startLength_ = info.st_size;
    return true;
}

}  // namespace brinora
