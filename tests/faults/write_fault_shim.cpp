// A preloaded library (LD_PRELOAD) that makes writes to regular files run
// out of room: after BRINORA_FAIL_WRITES_AFTER bytes in all, the write that
// crosses the mark writes only the part up to it (a short write) and every
// later one fails with ENOSPC, as on a device that fills up.
#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace {

using WriteFunction = ssize_t (*)(int, const void*, size_t);
using PwriteFunction = ssize_t (*)(int, const void*, size_t, off_t);

long long room() {
    static long long left = [] {
        const char* text = std::getenv("BRINORA_FAIL_WRITES_AFTER");
        return text != nullptr ? std::atoll(text) : -1;
    }();
    return left;
}

long long written = 0;

bool isRegularFile(int fd) {
    struct stat info {};
    return ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
}

// How many of `count` bytes may go to `fd`; -1 with errno ENOSPC for none.
ssize_t allowed(int fd, size_t count) {
    const long long limit = room();
    if (limit < 0 || count == 0 || !isRegularFile(fd)) return static_cast<ssize_t>(count);
    const long long left = limit - written;
    if (left <= 0) {
        errno = ENOSPC;
        return -1;
    }
    return static_cast<ssize_t>(static_cast<long long>(count) < left ? static_cast<long long>(count) : left);
}

}  // namespace

extern "C" ssize_t write(int fd, const void* buffer, size_t count) {
    static const auto next = reinterpret_cast<WriteFunction>(::dlsym(RTLD_NEXT, "write"));
    const ssize_t part = allowed(fd, count);
    if (part < 0) return -1;
    const ssize_t n = next(fd, buffer, static_cast<size_t>(part));
    if (n > 0 && room() >= 0 && isRegularFile(fd)) written += n;
    return n;
}

extern "C" ssize_t pwrite(int fd, const void* buffer, size_t count, off_t offset) {
    static const auto next = reinterpret_cast<PwriteFunction>(::dlsym(RTLD_NEXT, "pwrite"));
    const ssize_t part = allowed(fd, count);
    if (part < 0) return -1;
    const ssize_t n = next(fd, buffer, static_cast<size_t>(part), offset);
    if (n > 0 && room() >= 0 && isRegularFile(fd)) written += n;
    return n;
}

extern "C" ssize_t pwrite64(int fd, const void* buffer, size_t count, off_t offset) {
    return pwrite(fd, buffer, count, offset);
}
