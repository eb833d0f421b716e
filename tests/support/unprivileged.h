// Running a program as an unprivileged user, for the tests of refused reads
// and writes: file permissions do not bind root, so when the tests run as
// root (as in CI) the program runs as the user "nobody" (user and group
// 65534, no supplementary groups) instead; as any other user it runs as that
// user. The program file may lie where "nobody" cannot reach it (a checkout
// in a private home folder); it is then run from a copy that every user may
// execute.
#pragma once

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace brinora::test {

// User and group id of "nobody" on Debian.
inline constexpr uid_t kNobodyUid = 65534;
inline constexpr gid_t kNobodyGid = 65534;

// Whether rights must be dropped to run as an unprivileged user.
inline bool runningAsRoot() { return ::geteuid() == 0; }

// Why "nobody" cannot execute `program` (a folder on its path not searchable
// by others, or the file not executable by others); empty when it can.
inline std::string whyOthersCannotRun(const std::filesystem::path& program) {
    const std::filesystem::path path = std::filesystem::absolute(program);
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0 || (info.st_mode & S_IXOTH) == 0) {
        return "the program is not executable by other users";
    }
    for (std::filesystem::path folder = path.parent_path(); !folder.empty(); folder = folder.parent_path()) {
        if (::stat(folder.c_str(), &info) != 0 || (info.st_mode & S_IXOTH) == 0) {
            return "the folder " + folder.string() + " is not searchable by other users";
        }
        if (folder == folder.root_path()) break;
    }
    return {};
}

namespace detail {

// A copy of a program in a folder of its own under /tmp, removed at exit.
class ProgramCopy {
public:
    explicit ProgramCopy(const std::filesystem::path& program) {
        char pattern[] = "/tmp/brinora-program-XXXXXX";
        if (::mkdtemp(pattern) == nullptr) return;
        folder_ = pattern;
        ::chmod(folder_.c_str(), 0755);
        const std::filesystem::path copy = folder_ / program.filename();
        std::error_code error;
        std::filesystem::copy_file(program, copy, std::filesystem::copy_options::overwrite_existing, error);
        if (error) return;
        ::chmod(copy.c_str(), 0755);
        path_ = copy.string();
    }
    ~ProgramCopy() {
        std::error_code ignored;
        if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
    }
    ProgramCopy(const ProgramCopy&) = delete;
    ProgramCopy& operator=(const ProgramCopy&) = delete;

    const std::string& path() const { return path_; }

private:
    std::filesystem::path folder_;
    std::string path_;
};

}  // namespace detail

// The path to execute `program` by after dropRootRights(): the program itself
// when every user can run it, else a copy made once per test process.
inline std::string unprivilegedProgram(const std::string& program) {
    if (!runningAsRoot() || whyOthersCannotRun(program).empty()) return program;
    static const detail::ProgramCopy copy(program);
    return copy.path().empty() ? program : copy.path();
}

// In a child process before exec: when running as root, becomes "nobody".
// Returns false when that failed (the child must then not run the program).
inline bool dropRootRights() {
    if (!runningAsRoot()) return true;
    return ::setgroups(0, nullptr) == 0 && ::setgid(kNobodyGid) == 0 && ::setuid(kNobodyUid) == 0 &&
           ::geteuid() == kNobodyUid;
}

// Hands `folder` and everything in it to "nobody" when running as root, so
// that the program run by dropRootRights() owns the test's files as a user
// owns their own; permission bits then decide as they would for that user.
inline void handToUnprivilegedUser(const std::filesystem::path& folder) {
    if (!runningAsRoot()) return;
    ::lchown(folder.c_str(), kNobodyUid, kNobodyGid);
    std::error_code ignored;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, ignored)) {
        ::lchown(entry.path().c_str(), kNobodyUid, kNobodyGid);
    }
}

}  // namespace brinora::test
