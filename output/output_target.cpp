#include "output/output_target.h"

#include "output/output_start.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <thread>

namespace brinora {
namespace {

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

std::string errnoText(int errorNumber) { return std::strerror(errorNumber); }

OutputError systemError(const std::string& message, int errorNumber) { return OutputError{message, errorNumber}; }

// Every change of an output file holds this lock, and so does the stop of
// the process by a signal (stopOutputs), which never gives it back.
// This registry and the two below are never destroyed: a signal that comes
// while the program is already exiting is still served by the thread that
// waits for it, after the static objects have gone.
std::timed_mutex& outputLock() {
    static auto* const lock = new std::timed_mutex;
    return *lock;
}

// The targets of the process that are being written.
std::set<OutputTarget*>& liveTargets() {
    static auto* const targets = new std::set<OutputTarget*>;
    return *targets;
}

// What became of the targets of this process that were committed and are
// gone, so that a signal after a commit still tells it (under the lock).
std::vector<std::string>& committedTexts() {
    static auto* const texts = new std::vector<std::string>;
    return *texts;
}

// The folder part and the name part of `path` ("a/b.csv" -> "a", "b.csv";
// "b.csv" -> "", "b.csv"; "/b.csv" -> "/", "b.csv").
void splitPath(const std::string& path, std::string& folder, std::string& name) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        folder.clear();
        name = path;
    } else {
        folder = slash == 0 ? "/" : path.substr(0, slash);
        name = path.substr(slash + 1);
    }
}

std::string shownFolder(const std::string& folder) { return folder.empty() ? "." : folder; }

std::string joinFolderName(const std::string& folder, const std::string& name) {
    return folder == "/" ? "/" + name : folder + "/" + name;
}

// `path` with every symbolic link of its last component followed, as far as
// the links lead (a dangling link gives the missing file it names). A link
// that another user owns in a folder that is sticky or that others may write
// is not followed (as the kernel's protected-symlinks rule does for its own
// lookups): `refusal` says why.
bool followLinks(const std::string& path, std::string& file, int& errorNumber, std::string& refusal) {
    file = path;
    for (int hops = 0; hops < 40; ++hops) {
        struct stat info {};
        if (::lstat(file.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return true;
        std::string target(static_cast<std::size_t>(info.st_size > 0 ? info.st_size : 4095) + 1, '\0');
        const ssize_t n = ::readlink(file.c_str(), target.data(), target.size());
        if (n < 0) {
            errorNumber = errno;
            return false;
        }
        target.resize(static_cast<std::size_t>(n));
        std::string folder, name;
        splitPath(file, folder, name);
        struct stat folderInfo {};
        if (info.st_uid != ::geteuid() && ::stat(shownFolder(folder).c_str(), &folderInfo) == 0 &&
            (folderInfo.st_mode & (S_ISVTX | S_IWOTH)) != 0 && info.st_uid != folderInfo.st_uid) {
            refusal = quoted(file) + " is a symbolic link of user " + std::to_string(info.st_uid) + " in " +
                      quoted(shownFolder(folder)) +
                      ", a folder others can write; it is not followed (give the file it names, " + quoted(target) +
                      ", or remove the link)";
            errorNumber = EPERM;
            return false;
        }
        if (!target.starts_with('/') && !folder.empty()) target = (folder == "/" ? "/" : folder + "/") + target;
        file = target;
    }
    errorNumber = ELOOP;
    return false;
}

// Takes an exclusive lock on the open file `fd`, waiting up to `waitSeconds`
// for another append to the same file to end (0: not at all, EWOULDBLOCK).
// `waiting` is called once when the wait begins.
bool lockFile(int fd, int waitSeconds, const std::function<void()>& waiting, int& errorNumber) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(waitSeconds);
    bool told = false;
    for (;;) {
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0) return true;
        if (errno == EINTR) continue;
        if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() >= deadline) {
            errorNumber = errno;
            return false;
        }
        if (!told && waiting) waiting();
        told = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

int commasOf(const std::string& header) {
    if (header.empty()) return -1;
    int commas = 0;
    for (const char c : header) commas += c == ',';
    return commas;
}

// The absolute path of `folder` ("" when it cannot be had).
std::string absoluteFolder(const std::string& folder) {
    char* real = ::realpath(shownFolder(folder).c_str(), nullptr);
    if (real == nullptr) return {};
    std::string path = real;
    std::free(real);
    return path;
}

// Removes the temporary files that ended runs of this user left in
// `folderFd`; a line for `notes` when there were any.
void clearLeftovers(int folderFd, const std::string& folder, std::string* notes) {
    const LeftoverTemporaries found = removeLeftoverTemporaries(folderFd, true);
    if (found.removed.empty() || notes == nullptr) return;
    if (!notes->empty()) *notes += "\n";
    *notes += "removed " + std::to_string(found.removed.size()) + " temporary file" +
              (found.removed.size() == 1 ? "" : "s") + " of runs that ended early from " + quoted(shownFolder(folder)) +
              " (" + found.removed.front() + (found.removed.size() > 1 ? ", ..." : "") + ")";
}

}  // namespace

std::unique_ptr<OutputTarget> OutputTarget::open(const std::string& path, OutputMode mode,
                                                 const OutputOptions& options, OutputError& error,
                                                 std::string* note) {
    error = OutputError{};
    if (note != nullptr) note->clear();
    std::unique_ptr<OutputTarget> target(new OutputTarget());
    target->path_ = path;
    target->mode_ = mode;
    if (mode == OutputMode::kStandardOutput) {
        target->fd_ = STDOUT_FILENO;
        const std::lock_guard<std::timed_mutex> lock(outputLock());
        liveTargets().insert(target.get());
        return target;
    }
    const std::string shown = quoted(path);
    const auto refuse = [&error](const std::string& message, int errorNumber) {
        error = systemError(message, errorNumber);
        return nullptr;
    };
    if (path.empty()) return refuse("no output file given", 0);

    // What the name is now. A new file takes a free name: a symbolic link,
    // even one to nothing, is an existing name.
    struct stat named {};
    if (::lstat(path.c_str(), &named) == 0) {
        if (mode == OutputMode::kCreate && !S_ISLNK(named.st_mode) && !S_ISDIR(named.st_mode) &&
            !S_ISREG(named.st_mode)) {
            return refuse("the output " + shown + " is not a plain file", 0);
        }
        if (mode == OutputMode::kCreate && !S_ISDIR(named.st_mode)) {
            return refuse("the output " + shown +
                              " already exists; give --force to replace it or --append to add the records to it",
                          EEXIST);
        }
    } else if (errno != ENOENT) {
        return refuse("cannot write " + shown + ": " + errnoText(errno), errno);
    }

    // The file written: through symbolic links, the file they name.
    std::string file = path;
    int errorNumber = 0;
    std::string linkRefusal;
    if (!followLinks(path, file, errorNumber, linkRefusal)) {
        if (!linkRefusal.empty()) return refuse("cannot write " + shown + ": " + linkRefusal, errorNumber);
        return refuse("cannot write " + shown + ": " + errnoText(errorNumber), errorNumber);
    }
    struct stat info {};
    const bool exists = ::lstat(file.c_str(), &info) == 0;
    if (!exists && errno != ENOENT) return refuse("cannot write " + shown + ": " + errnoText(errno), errno);
    if (exists) {
        if (S_ISDIR(info.st_mode)) return refuse("the output " + shown + " is a folder; give a file name", EISDIR);
        if (!S_ISREG(info.st_mode)) return refuse("the output " + shown + " is not a plain file", 0);
        struct stat input {};
        const bool haveInput = options.inputPath == "-" ? ::fstat(STDIN_FILENO, &input) == 0
                                                        : !options.inputPath.empty() &&
                                                              ::stat(options.inputPath.c_str(), &input) == 0;
        if (haveInput && input.st_dev == info.st_dev && input.st_ino == info.st_ino) {
            return refuse("the output " + shown +
                              (options.inputPath == "-" ? " is the file on standard input" : " is the input file") +
                              "; give another output file",
                          0);
        }
    } else if (mode == OutputMode::kAppend) {
        return refuse("the output " + shown + " does not exist; --append adds records to an existing output file",
                      ENOENT);
    }

    splitPath(file, target->folder_, target->name_);
    const std::string folder = quoted(shownFolder(target->folder_));
    target->folderFd_ = openFolder(target->folder_);
    if (target->folderFd_ < 0) {
        const int e = errno;
        if (e == ENOENT) return refuse("cannot create " + shown + ": the folder " + folder + " does not exist", e);
        if (e == ENOTDIR) return refuse("cannot create " + shown + ": " + folder + " is not a folder", e);
        return refuse("cannot create " + shown + ": the folder " + folder + " cannot be opened: " + errnoText(e), e);
    }

    if (mode == OutputMode::kCreate || mode == OutputMode::kReplace) {
        if (exists && ::access(file.c_str(), W_OK) != 0) {
            return refuse("the output " + shown + " cannot be written: " + errnoText(errno), errno);
        }
        if (exists && info.st_nlink > 1) {
            return refuse("cannot replace " + shown + ": it has " + std::to_string(info.st_nlink) +
                              " names (hard links), and a new file would leave the other names with the old "
                              "records; remove the other names or write to a new file",
                          EMLINK);
        }
        clearLeftovers(target->folderFd_, target->folder_, note);
        target->existed_ = exists;
        // A replaced file keeps its permission bits.
        const mode_t bits = exists ? (info.st_mode & 07777) : 0666;
        target->aside_ = AsideFile::create(target->folderFd_, bits, exists, errorNumber);
        if (!target->aside_) {
            if (errorNumber == EACCES || errorNumber == EPERM || errorNumber == EROFS) {
                return refuse("cannot create " + shown + ": the folder " + folder +
                                  " cannot be written: " + errnoText(errorNumber),
                              errorNumber);
            }
            return refuse("cannot create " + shown + ": " + errnoText(errorNumber), errorNumber);
        }
        if (exists) {
            // The new file keeps the owner, the group, the permission bits and
            // the access list of the one it replaces, or nothing is replaced.
            const int fd = target->aside_->fd();
            struct stat made {};
            if (::fstat(fd, &made) != 0) return refuse("cannot replace " + shown + ": " + errnoText(errno), errno);
            if (made.st_uid != info.st_uid || made.st_gid != info.st_gid) {
                if (::fchown(fd, info.st_uid, info.st_gid) != 0) {
                    const int e = errno;
                    return refuse("cannot replace " + shown + ": it belongs to user " + std::to_string(info.st_uid) +
                                      " and group " + std::to_string(info.st_gid) +
                                      ", and a new file made by you cannot keep them (" + errnoText(e) +
                                      "); replace it as its owner, or remove it first",
                                  e);
                }
                if (::fchmod(fd, bits) != 0) return refuse("cannot replace " + shown + ": " + errnoText(errno), errno);
            }
            char acl[8192];
            const ssize_t n = ::lgetxattr(file.c_str(), "system.posix_acl_access", acl, sizeof acl);
            if (n > 0 && ::fsetxattr(fd, "system.posix_acl_access", acl, static_cast<std::size_t>(n), 0) != 0) {
                const int e = errno;
                return refuse("cannot replace " + shown + ": its access control list cannot be given to the new file (" +
                                  errnoText(e) + "); it was left as it is",
                              e);
            }
        }
        const std::lock_guard<std::timed_mutex> lock(outputLock());
        liveTargets().insert(target.get());
        return target;
    }

    // Append.
    // Read too: its first line and its last byte are looked at. Never a link
    // put in the place of the file since it was examined.
    target->fd_ = ::open(file.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (target->fd_ < 0) {
        const int e = errno;
        if (e == EACCES || e == EPERM || e == EROFS) {
            const int writable = ::open(file.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
            if (writable < 0) return refuse("the output " + shown + " cannot be written: " + errnoText(errno), errno);
            ::close(writable);
            return refuse("cannot append to " + shown + ": it cannot be read: " + errnoText(e), e);
        }
        return refuse("cannot append to " + shown + ": " + errnoText(e), e);
    }
    struct stat opened {};
    if (::fstat(target->fd_, &opened) != 0 || opened.st_dev != info.st_dev || opened.st_ino != info.st_ino) {
        return refuse("cannot append to " + shown + ": it was replaced while it was opened; nothing was changed", 0);
    }
    // One append to a file at a time: another run appending to it is waited for.
    const int folderFd = target->folderFd_;
    const int fileFd = target->fd_;
    const auto waiting = [&] {
        if (!options.onWait) return;
        const long pid = journalWriterPid(fileFd, folderFd);
        options.onWait("waiting for " + (pid > 0 ? "run " + std::to_string(pid) : std::string("another run")) +
                       ", which is appending to " + shown + " (for up to " + std::to_string(options.waitSeconds) +
                       " s)");
    };
    if (!lockFile(target->fd_, options.waitSeconds, waiting, errorNumber)) {
        if (errorNumber == EWOULDBLOCK) {
            const long pid = journalWriterPid(fileFd, folderFd);
            const std::string who = pid > 0 ? "run " + std::to_string(pid) : std::string("another run");
            return refuse("cannot append to " + shown + ": gave up after " + std::to_string(options.waitSeconds) +
                              " s of waiting for " + who + ", which is still appending to it" +
                              (pid > 0 ? " (if it was stopped, `kill -CONT " + std::to_string(pid) + "` resumes it)"
                                       : std::string()) +
                              "; nothing was changed",
                          EWOULDBLOCK);
        }
        return refuse("cannot append to " + shown + ": " + errnoText(errorNumber), errorNumber);
    }
    const std::lock_guard<std::timed_mutex> lock(outputLock());
    const JournalOutcome settled =
        settleJournals(target->fd_, target->folderFd_, shownFolder(target->folder_), path, false);
    if (note != nullptr) {
        for (const std::string& line : settled.notes) *note += (note->empty() ? "" : "\n") + line;
    }
    if (!settled.refusal.empty()) return refuse("cannot append to " + shown + ": " + settled.refusal, settled.errorNumber);
    clearLeftovers(target->folderFd_, target->folder_, note);

    if (!options.expectedHeader.empty() &&
        !examineOutputStart(target->fd_, options.expectedHeader).beginsWithHeader()) {
        return refuse("the output " + shown + " does not start with the header line of an output file; "
                          "records are only added to an output file",
                      0);
    }
    struct stat locked {};
    if (::fstat(target->fd_, &locked) != 0) return refuse("cannot append to " + shown + ": " + errnoText(errno), errno);
    target->oldLength_ = static_cast<std::uint64_t>(locked.st_size);
    // A last line without its line end gets one, so the first record starts a line.
    char last = '\n';
    const bool addLineEnd = options.endLastLine && target->oldLength_ > 0 &&
                            ::pread(target->fd_, &last, 1, static_cast<off_t>(target->oldLength_ - 1)) == 1 &&
                            last != '\n';

    // The journal, before the first byte: the file's identity and old length.
    target->journal_ = JournalWriter::create(target->fd_, target->folderFd_, absoluteFolder(target->folder_),
                                             target->oldLength_, addLineEnd, commasOf(options.expectedHeader),
                                             errorNumber);
    if (!target->journal_) {
        if (errorNumber == EACCES || errorNumber == EPERM || errorNumber == EROFS) {
            return refuse("cannot append to " + shown + ": the folder " + folder +
                              " cannot be written (the append keeps its journal there): " + errnoText(errorNumber),
                          errorNumber);
        }
        return refuse("cannot append to " + shown + ": its journal cannot be written: " + errnoText(errorNumber),
                      errorNumber);
    }
    liveTargets().insert(target.get());

    if (::lseek(target->fd_, static_cast<off_t>(target->oldLength_), SEEK_SET) < 0) {
        target->fail("cannot append to " + shown + ": ", errno);
        error = target->error_;
        return nullptr;
    }
    if (addLineEnd) {
        if (!target->journal_->reserve(target->oldLength_ + 1, errorNumber) ||
            !writeFully(target->fd_, "\n", errorNumber)) {
            target->fail("cannot append to " + shown + ": ", errorNumber);
            error = target->error_;
            return nullptr;
        }
    }
    return target;
}

OutputTarget::~OutputTarget() {
    {
        const std::lock_guard<std::timed_mutex> lock(outputLock());
        if (!finished_) abandonLocked();
        if (committed_) committedTexts().push_back(keptText());
        liveTargets().erase(this);
    }
    if (fd_ >= 0 && fd_ != STDOUT_FILENO) ::close(fd_);
    if (folderFd_ >= 0) ::close(folderFd_);
}

// Records why the run stopped (`what` followed by the reason and by what
// became of the file) and abandons it.
void OutputTarget::fail(const std::string& what, int errorNumber) {
    std::string message = what + (errorNumber != 0 ? errnoText(errorNumber) : std::string("write error"));
    switch (mode_) {
    case OutputMode::kCreate:
        message += "; the file was not created";
        break;
    case OutputMode::kReplace:
        message += existed_ ? "; the previous file is unchanged" : "; the file was not created";
        break;
    case OutputMode::kAppend:
        message += "; no record of this run was added, the file is as it was";
        break;
    case OutputMode::kStandardOutput:
        break;
    }
    error_ = OutputError{message, errorNumber};
    abandonLocked();
}

bool OutputTarget::write(std::string_view bytes) {
    const std::lock_guard<std::timed_mutex> lock(outputLock());
    if (finished_) {
        if (error_.message.empty()) error_ = OutputError{"the output " + quoted(path_) + " is already closed", EBADF};
        return false;
    }
    int errorNumber = 0;
    switch (mode_) {
    case OutputMode::kStandardOutput:
        if (!writeFully(fd_, bytes, errorNumber)) {
            error_ = OutputError{"cannot write to standard output: " + errnoText(errorNumber), errorNumber};
            finished_ = true;
            return false;
        }
        break;
    case OutputMode::kCreate:
    case OutputMode::kReplace:
        if (!aside_->write(bytes, errorNumber)) {
            fail("cannot write " + quoted(path_) + ": ", errorNumber);
            return false;
        }
        break;
    case OutputMode::kAppend: {
        const std::uint64_t end = oldLength_ + bytesWritten_ + bytes.size() + 1;
        if (!journal_->reserve(end, errorNumber) || !writeFully(fd_, bytes, errorNumber)) {
            fail("cannot append to " + quoted(path_) + ": ", errorNumber);
            return false;
        }
        break;
    }
    }
    bytesWritten_ += bytes.size();
    return true;
}

bool OutputTarget::commit() {
    const std::lock_guard<std::timed_mutex> lock(outputLock());
    if (finished_) {
        if (error_.message.empty()) error_ = OutputError{"the output " + quoted(path_) + " is already closed", EBADF};
        return false;
    }
    int errorNumber = 0;
    switch (mode_) {
    case OutputMode::kStandardOutput:
        break;
    case OutputMode::kCreate:
    case OutputMode::kReplace:
        if (!aside_->publish(name_, mode_ == OutputMode::kReplace, errorNumber)) {
            if (aside_->published()) {
                // Only the folder's flush failed: the file is in place.
                finished_ = true;
                committed_ = true;
                error_ = OutputError{"cannot write " + quoted(path_) + ": its folder cannot be flushed: " +
                                         errnoText(errorNumber) + "; the new file is in place",
                                     errorNumber};
                return false;
            }
            if (errorNumber == EEXIST && mode_ == OutputMode::kCreate) {
                finished_ = true;
                aside_->discard();
                error_ = OutputError{"cannot create " + quoted(path_) +
                                         ": it already exists (another run made it meanwhile); it was left as it is "
                                         "and the records of this run were not written",
                                     EEXIST};
                return false;
            }
            fail("cannot write " + quoted(path_) + ": ", errorNumber);
            return false;
        }
        break;
    case OutputMode::kAppend:
        if (::fsync(fd_) != 0 && errno != EINVAL && errno != EROFS) {
            fail("cannot append to " + quoted(path_) + ": ", errno);
            return false;
        }
        // Removing the journal is the moment the run becomes part of the file.
        if (!journal_->remove(errorNumber)) {
            fail("cannot append to " + quoted(path_) + ": its journal cannot be removed: ", errorNumber);
            return false;
        }
        journal_.reset();
        break;
    }
    finished_ = true;
    committed_ = true;
    return true;
}

void OutputTarget::abandon() {
    const std::lock_guard<std::timed_mutex> lock(outputLock());
    abandonLocked();
}

void OutputTarget::abandonLocked() {
    if (finished_) return;
    finished_ = true;
    switch (mode_) {
    case OutputMode::kStandardOutput:
        break;
    case OutputMode::kCreate:
    case OutputMode::kReplace:
        if (aside_) aside_->discard();
        break;
    case OutputMode::kAppend: {
        if (!journal_) break;
        int errorNumber = 0;
        if (::ftruncate(fd_, static_cast<off_t>(oldLength_)) != 0 || (::fsync(fd_) != 0 && errno != EINVAL)) {
            // The journal stays, so that the next append or `brinora repair` finishes the rollback.
            const int e = errno;
            rollbackFailed_ = true;
            std::string message = error_.message.empty() ? "cannot append to " + quoted(path_) : error_.message;
            message += "; the records of this run could not be taken away again (" + errnoText(e) +
                       "): `brinora repair " + path_ + "` removes them";
            error_ = OutputError{message, error_.errorNumber != 0 ? error_.errorNumber : e};
            break;
        }
        if (journal_->remove(errorNumber)) journal_.reset();
        break;
    }
    }
}

std::string OutputTarget::keptText() const {
    const std::string shown = quoted(path_);
    if (committed_) return shown + " was complete before that and keeps the records of this run";
    switch (mode_) {
    case OutputMode::kStandardOutput:
        return "the records sent to standard output before it stay there";
    case OutputMode::kCreate:
        return shown + " was not created";
    case OutputMode::kReplace:
        return existed_ ? "the previous " + shown + " is unchanged" : shown + " was not created";
    case OutputMode::kAppend:
        return rollbackFailed_ ? "the records of this run could not be taken away from " + shown + ": `brinora repair " +
                                     path_ + "` removes them"
                               : "no record of this run was added, " + shown + " is as it was";
    }
    return {};
}

std::string stopOutputs(int signal) {
    // Never given back: nothing is written after this. A write that does not
    // end (standard output into a pipe nobody reads) is not waited for long.
    const bool locked = outputLock().try_lock_for(std::chrono::seconds(5));
    std::string kept;
    if (!locked) kept = "an output was being written and was left as it was";
    for (const std::string& text : locked ? committedTexts() : std::vector<std::string>{}) {
        kept += (kept.empty() ? "" : "; ") + text;
    }
    for (OutputTarget* target : locked ? liveTargets() : std::set<OutputTarget*>{}) {
        if (!target->finished_) target->abandonLocked();
        kept += (kept.empty() ? "" : "; ") + target->keptText();
    }
    const char* name = signal == SIGINT ? "SIGINT" : signal == SIGTERM ? "SIGTERM" : signal == SIGHUP ? "SIGHUP" : "a signal";
    return std::string("stopped by ") + name + "; " + (kept.empty() ? "nothing was written" : kept);
}

std::string appendJournalPath(const std::string& path) {
    std::string file, refusal;
    int errorNumber = 0;
    if (!followLinks(path, file, errorNumber, refusal)) return {};
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (fd < 0) return {};
    std::string folder, name;
    splitPath(file, folder, name);
    std::string journal = findJournalPath(fd, folder);
    ::close(fd);
    return journal;
}

PendingAppend pendingAppend(const std::string& path) {
    PendingAppend pending;
    std::string file, refusal;
    int errorNumber = 0;
    if (!followLinks(path, file, errorNumber, refusal)) return pending;
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return pending;
    std::string folder, name;
    splitPath(file, folder, name);
    const int folderFd = openFolder(folder);
    if (folderFd >= 0) {
        pending.running = ::flock(fd, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
        if (!pending.running) ::flock(fd, LOCK_UN);
        pending.pending = pendingJournal(fd, folderFd, pending.length, pending.pid);
        pending.running = pending.running && pending.pending;
        ::close(folderFd);
    }
    ::close(fd);
    return pending;
}

bool repairOutput(const std::string& path, RepairReport& report, OutputError& error, bool discard) {
    error = OutputError{};
    const std::string shown = quoted(path);
    std::string file, refusal;
    int errorNumber = 0;
    if (!followLinks(path, file, errorNumber, refusal)) {
        error = systemError("cannot repair " + shown + ": " + (refusal.empty() ? errnoText(errorNumber) : refusal),
                            errorNumber);
        return false;
    }
    struct stat info {};
    if (::stat(file.c_str(), &info) != 0) {
        error = systemError("cannot repair " + shown + ": " + errnoText(errno), errno);
        return false;
    }
    if (!S_ISREG(info.st_mode)) {
        error = systemError("cannot repair " + shown + ": it is not a plain file", 0);
        return false;
    }
    std::string folder, name;
    splitPath(file, folder, name);
    const int folderFd = openFolder(folder);
    if (folderFd < 0) {
        error = systemError("cannot repair " + shown + ": " + errnoText(errno), errno);
        return false;
    }
    // Read too: the bytes before the recorded length are checked.
    const int fd = ::open(file.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (fd < 0) {
        error = systemError("cannot repair " + shown + ": " + errnoText(errno), errno);
        ::close(folderFd);
        return false;
    }
    bool ok = true;
    if (!lockFile(fd, 0, nullptr, errorNumber)) {
        // The journal belongs to a run that is still appending.
        const long pid = journalWriterPid(fd, folderFd);
        error = errorNumber == EWOULDBLOCK
                    ? systemError("cannot repair " + shown + ": another run" +
                                      (pid > 0 ? " (" + std::to_string(pid) + ")" : std::string()) +
                                      " is appending to it now",
                                  EWOULDBLOCK)
                    : systemError("cannot repair " + shown + ": " + errnoText(errorNumber), errorNumber);
        ok = false;
    } else {
        const std::lock_guard<std::timed_mutex> lock(outputLock());
        const JournalOutcome settled = settleJournals(fd, folderFd, shownFolder(folder), path, discard);
        for (const std::string& line : settled.notes) {
            (line.starts_with("warning: ") ? report.warnings : report.lines).push_back(line);
        }
        if (!settled.refusal.empty()) {
            error = systemError("cannot repair " + shown + ": " + settled.refusal, settled.errorNumber);
            ok = false;
        }
    }
    // Temporary files of ended runs beside it.
    const LeftoverTemporaries left = removeLeftoverTemporaries(folderFd, true);
    for (const std::string& removed : left.removed) {
        report.lines.push_back(quoted(joinFolderName(shownFolder(folder), removed)) +
                               ": removed, a temporary file of a run that ended early");
    }
    for (const std::string& other : left.others) {
        report.warnings.push_back("warning: " + quoted(joinFolderName(shownFolder(folder), other)) +
                                  " is a temporary file of a run of another user that ended early; it was left");
    }
    ::close(fd);
    ::close(folderFd);
    return ok;
}

bool repairOutput(const std::string& path, std::string& line, OutputError& error) {
    RepairReport report;
    line.clear();
    const bool ok = repairOutput(path, report, error, false);
    for (const std::string& text : report.lines) {
        if (text.find("was rolled back") != std::string::npos) line = text;
    }
    return ok;
}

}  // namespace brinora
