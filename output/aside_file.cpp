#include "output/aside_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace brinora {
namespace {

// Whether a nameless file can be given a name later: linkat() through
// /proc/self/fd needs /proc. BRINORA_NO_TMPFILE=1 makes every temporary file
// a named one, as on file systems without nameless files.
bool canNameNamelessFiles() {
    static const bool available = [] {
        const char* off = std::getenv("BRINORA_NO_TMPFILE");
        if (off != nullptr && std::string_view(off) == "1") return false;
        return ::access("/proc/self/fd", X_OK) == 0;
    }();
    return available;
}

constexpr std::string_view kTemporaryPrefix = ".brinora-t";

// A hidden name for a temporary file of this process: the prefix, the
// process id, the owner's user id and 8 random hex digits
// (".brinora-t.1234.1000.0a1b2c3d"), so that a later run can tell whose it
// is and whether its writer still runs.
std::string temporaryName() {
    return std::string(kTemporaryPrefix) + "." + std::to_string(::getpid()) + "." + std::to_string(::geteuid()) + "." +
           hiddenName('t').substr(10, 8);
}

// The process id in a temporary file's name, 0 when the name has none.
long writerPid(std::string_view name) {
    if (!name.starts_with(std::string(kTemporaryPrefix) + ".")) return 0;
    name.remove_prefix(kTemporaryPrefix.size() + 1);
    long pid = 0;
    for (const char c : name) {
        if (c == '.') return pid;
        if (c < '0' || c > '9' || pid > 100000000) return 0;
        pid = pid * 10 + (c - '0');
    }
    return 0;
}

std::uint64_t randomBits() {
    std::uint64_t bits = 0;
    if (::getrandom(&bits, sizeof bits, GRND_NONBLOCK) == static_cast<ssize_t>(sizeof bits)) return bits;
    // No entropy yet (early boot): the clock, the process and a counter.
    static std::atomic<std::uint64_t> counter{0};
    bits = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    bits ^= static_cast<std::uint64_t>(::getpid()) << 32;
    bits ^= counter.fetch_add(0x9E3779B97F4A7C15ULL);
    return bits;
}

// Gives the nameless file `fd` the name `name` in `folderFd`; fails with
// EEXIST when the name exists.
bool linkNameless(int fd, int folderFd, const std::string& name) {
    const std::string procPath = "/proc/self/fd/" + std::to_string(fd);
    return ::linkat(AT_FDCWD, procPath.c_str(), folderFd, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

}  // namespace

bool writeFully(int fd, std::string_view bytes, int& errorNumber) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            errorNumber = errno;
            return false;
        }
        if (n == 0) {
            errorNumber = EIO;
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    return true;
}

int openFolder(const std::string& folder) {
    const char* name = folder.empty() ? "." : folder.c_str();
    const int fd = ::open(name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0 || errno != EACCES) return fd;
    // A folder that may be written and searched but not listed.
    return ::open(name, O_PATH | O_DIRECTORY | O_CLOEXEC);
}

bool syncFolder(int folderFd, int& errorNumber) {
    if (::fsync(folderFd) == 0) return true;
    if (errno == EBADF || errno == EINVAL || errno == EROFS) return true;
    errorNumber = errno;
    return false;
}

std::string hiddenName(char kind) {
    static const char kHex[] = "0123456789abcdef";
    std::string name = ".brinora-";
    name += kind;
    std::uint64_t bits = randomBits();
    for (int i = 0; i < 16; ++i, bits >>= 4) name += kHex[bits & 15];
    return name;
}

std::unique_ptr<AsideFile> AsideFile::create(int folderFd, mode_t mode, bool exactMode, int& errorNumber) {
    int fd = -1;
    std::string name;
    if (canNameNamelessFiles()) {
        fd = ::openat(folderFd, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, mode);
        // File systems without nameless files answer EOPNOTSUPP (older
        // kernels EISDIR or EINVAL); anything else is the folder's answer.
        if (fd < 0 && errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) {
            errorNumber = errno;
            return nullptr;
        }
    }
    for (int attempt = 0; fd < 0 && attempt < 100; ++attempt) {
        name = temporaryName();
        fd = ::openat(folderFd, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (fd < 0 && errno != EEXIST) {
            errorNumber = errno;
            return nullptr;
        }
    }
    if (fd < 0) {
        errorNumber = EEXIST;
        return nullptr;
    }
    // Held while the file lives: a later run that can take the lock knows
    // the writer is gone.
    ::flock(fd, LOCK_EX | LOCK_NB);
    if (exactMode && ::fchmod(fd, mode) != 0) {
        errorNumber = errno;
        if (!name.empty()) ::unlinkat(folderFd, name.c_str(), 0);
        ::close(fd);
        return nullptr;
    }
    return std::unique_ptr<AsideFile>(new AsideFile(folderFd, fd, std::move(name)));
}

AsideFile::~AsideFile() { discard(); }

void AsideFile::discard() {
    if (fd_ < 0) return;
    if (!hiddenName_.empty()) ::unlinkat(folderFd_, hiddenName_.c_str(), 0);
    ::close(fd_);
    fd_ = -1;
}

bool AsideFile::publish(const std::string& name, bool replace, int& errorNumber) {
    if (fd_ < 0) {
        errorNumber = EBADF;
        return false;
    }
    const auto fail = [&](int e) {
        errorNumber = e;
        discard();
        return false;
    };
    // Some file systems (and character devices) take no fsync; their data is
    // as safe as they make it.
    if (::fsync(fd_) != 0 && errno != EINVAL && errno != EROFS) return fail(errno);

    if (hiddenName_.empty()) {
        if (!replace) {
            // One step that fails when the name exists: of two runs making
            // the same file, exactly one gets it.
            if (!linkNameless(fd_, folderFd_, name)) return fail(errno);
        } else {
            // A nameless file cannot be renamed: it gets a hidden name first.
            bool linked = false;
            for (int attempt = 0; !linked && attempt < 100; ++attempt) {
                std::string hidden = temporaryName();
                if (linkNameless(fd_, folderFd_, hidden)) {
                    hiddenName_ = std::move(hidden);
                    linked = true;
                } else if (errno != EEXIST) {
                    return fail(errno);
                }
            }
            if (!linked) return fail(EEXIST);
        }
    }
    if (!hiddenName_.empty()) {
        int moved = -1;
        if (replace) {
            moved = ::renameat(folderFd_, hiddenName_.c_str(), folderFd_, name.c_str());
        } else {
            moved = ::renameat2(folderFd_, hiddenName_.c_str(), folderFd_, name.c_str(), RENAME_NOREPLACE);
            if (moved != 0 && (errno == EINVAL || errno == ENOSYS)) {
                // No RENAME_NOREPLACE here: a hard link also refuses an existing name.
                moved = ::linkat(folderFd_, hiddenName_.c_str(), folderFd_, name.c_str(), 0);
                if (moved == 0) ::unlinkat(folderFd_, hiddenName_.c_str(), 0);
            }
        }
        if (moved != 0) return fail(errno);
        hiddenName_.clear();
    }
    ::close(fd_);
    fd_ = -1;
    published_ = true;
    return syncFolder(folderFd_, errorNumber);
}

}  // namespace brinora

namespace brinora {

LeftoverTemporaries removeLeftoverTemporaries(int folderFd, bool remove) {
    LeftoverTemporaries found;
    const int listFd = ::openat(folderFd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (listFd < 0) return found;
    DIR* dir = ::fdopendir(listFd);
    if (dir == nullptr) {
        ::close(listFd);
        return found;
    }
    while (const dirent* entry = ::readdir(dir)) {
        const std::string name = entry->d_name;
        if (!name.starts_with(kTemporaryPrefix)) continue;
        const int fd = ::openat(folderFd, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        struct stat info {};
        if (fd < 0 || ::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
            if (fd >= 0) ::close(fd);
            continue;
        }
        const long pid = writerPid(name);
        // Its writer is gone when no process holds its lock and the process
        // named in it has ended.
        const bool running = pid > 0 && (::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM);
        const bool locked = ::flock(fd, LOCK_EX | LOCK_NB) != 0;
        if (running || locked) {
            found.inUse.push_back(name);
        } else if (info.st_uid != ::geteuid()) {
            found.others.push_back(name);
        } else if (!remove) {
            found.removable.push_back(name);
        } else if (::unlinkat(folderFd, name.c_str(), 0) == 0) {
            found.removed.push_back(name);
        } else {
            found.others.push_back(name);
        }
        ::close(fd);
    }
    ::closedir(dir);
    return found;
}

}  // namespace brinora
