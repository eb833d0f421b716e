#include "output/atomic_write.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "output/aside_file.h"
#include "output/path_names.h"

namespace brinora {
namespace {

std::string errnoText(int errorNumber) { return std::strerror(errorNumber); }

WriteResult failure(const std::string& what, int errorNumber) {
    return WriteResult{false, errorNumber, what + ": " + errnoText(errorNumber)};
}

}  // namespace

WriteResult writeFileAtomically(const std::string& path, std::string_view content) {
    const std::size_t slash = path.rfind('/');
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const int folderFd = openFolder(directoryOf(path));
    if (folderFd < 0) return failure("cannot create \"" + path + "\"", errno);
    // A file that is replaced keeps its permission bits.
    struct stat old {};
    const bool replacing = ::fstatat(folderFd, name.c_str(), &old, 0) == 0 && S_ISREG(old.st_mode);
    int errorNumber = 0;
    std::unique_ptr<AsideFile> file =
        AsideFile::create(folderFd, replacing ? (old.st_mode & 07777) : 0666, replacing, errorNumber);
    WriteResult result{true, 0, {}};
    if (!file) {
        result = failure("cannot create \"" + path + "\"", errorNumber);
    } else if (!file->write(content, errorNumber)) {
        result = failure("cannot write \"" + path + "\"", errorNumber);
    } else if (!file->publish(name, true, errorNumber)) {
        result = failure((file->published() ? "cannot write \"" : "cannot replace \"") + path + "\"", errorNumber);
    }
    file.reset();
    ::close(folderFd);
    return result;
}

}  // namespace brinora
