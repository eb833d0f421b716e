// Helpers shared by the fuzz targets: a file that holds the current input, a
// private scratch folder, and a check that aborts with a message (so that
// libFuzzer keeps the input as a crash).
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "log/log.h"

namespace brinora::fuzz {

// Aborts with `what` when `condition` is false.
inline void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "fuzz check failed: %s\n", what);
        std::abort();
    }
}

// Silences the system log for the whole run: the targets log every line.
inline void quietLog() {
    static log::ScopedSink sink{[](std::string_view) {}};
}

// An in-memory file whose content is replaced by each input; `path()` opens it
// anew, as the batch reader opens a file chosen by the user.
class InputFile {
public:
    InputFile() {
        fd_ = ::memfd_create("brinora-fuzz-input", MFD_CLOEXEC);
        require(fd_ >= 0, "memfd_create");
        path_ = "/proc/self/fd/" + std::to_string(fd_);
    }
    void replace(const std::uint8_t* data, std::size_t size) {
        require(::ftruncate(fd_, 0) == 0, "ftruncate");
        std::size_t done = 0;
        while (done < size) {
            const ssize_t n = ::pwrite(fd_, data + done, size - done, static_cast<off_t>(done));
            require(n > 0, "pwrite");
            done += static_cast<std::size_t>(n);
        }
    }
    const std::string& path() const { return path_; }

private:
    int fd_ = -1;
    std::string path_;
};

// A private folder for files a target writes: /dev/shm when there is one
// (no disk traffic), the temporary folder otherwise.
inline const std::string& scratchFolder() {
    static const std::string folder = [] {
        const char* tmp = std::getenv("TMPDIR");
        std::string base = ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : (tmp ? tmp : "/tmp");
        std::string pattern = base + "/brinora-fuzz-XXXXXX";
        require(::mkdtemp(pattern.data()) != nullptr, "mkdtemp");
        return pattern;
    }();
    return folder;
}

}  // namespace brinora::fuzz
