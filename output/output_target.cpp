#include "output/output_target.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace brinora {
namespace {

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

std::string errnoText(int errorNumber) { return std::strerror(errorNumber); }

OutputError systemError(const std::string& message, int errorNumber) { return OutputError{message, errorNumber}; }

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

// `path` with every symbolic link of its last component followed, as far as
// the links lead (a dangling link gives the missing file it names).
bool followLinks(const std::string& path, std::string& file, int& errorNumber) {
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
        if (!target.starts_with('/')) {
            std::string folder, name;
            splitPath(file, folder, name);
            if (!folder.empty()) target = (folder == "/" ? "/" : folder + "/") + target;
        }
        file = target;
    }
    errorNumber = ELOOP;
    return false;
}

std::string joinPath(const std::string& folder, const std::string& name) {
    if (folder.empty()) return name;
    return folder == "/" ? "/" + name : folder + "/" + name;
}

// The journal's name for the file with this identity: fixed length, whatever
// the file's name (FNV-1a over device and inode).
std::string journalNameFor(const struct stat& info) {
    std::uint64_t hash = 0xcbf29ce484222325ULL;
    const auto mix = [&hash](std::uint64_t value) {
        for (int i = 0; i < 8; ++i, value >>= 8) {
            hash ^= value & 0xff;
            hash *= 0x100000001b3ULL;
        }
    };
    mix(static_cast<std::uint64_t>(info.st_dev));
    mix(static_cast<std::uint64_t>(info.st_ino));
    char name[32];
    std::snprintf(name, sizeof name, ".brinora-j%016" PRIx64, hash);
    return name;
}

constexpr const char* kJournalFormat = "brinora append journal\ndevice %" SCNu64 "\ninode %" SCNu64 "\nlength %" SCNu64 "\n";

std::string journalText(const struct stat& info, std::uint64_t length) {
    char text[160];
    std::snprintf(text, sizeof text, "brinora append journal\ndevice %" PRIu64 "\ninode %" PRIu64 "\nlength %" PRIu64 "\n",
                  static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino), length);
    return text;
}

// Takes an exclusive lock on the open file `fd`, waiting for another append
// to the same file to end (or, with `wait` false, failing with EWOULDBLOCK).
bool lockFile(int fd, bool wait, int& errorNumber) {
    for (;;) {
        if (::flock(fd, LOCK_EX | (wait ? 0 : LOCK_NB)) == 0) return true;
        if (errno == EINTR) continue;
        errorNumber = errno;
        return false;
    }
}

// Rolls back an append whose journal `journalName` lies in `folderFd`: the
// file `fd` (locked by the caller, so no run is writing it) is cut back to
// the recorded length and the journal removed. `line` gets the line to show,
// "" when there is no journal.
bool rollBack(int fd, int folderFd, const std::string& journalName, const std::string& shownPath,
              std::string& line, OutputError& error) {
    line.clear();
    const int journal = ::openat(folderFd, journalName.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (journal < 0) {
        if (errno == ENOENT) return true;
        error = systemError("cannot repair " + quoted(shownPath) + ": its journal cannot be read: " + errnoText(errno),
                            errno);
        return false;
    }
    char text[256] = {};
    const ssize_t n = ::read(journal, text, sizeof text - 1);
    const int readError = errno;
    ::close(journal);
    if (n < 0) {
        error = systemError("cannot repair " + quoted(shownPath) + ": its journal cannot be read: " + errnoText(readError),
                            readError);
        return false;
    }
    std::uint64_t device = 0, inode = 0, length = 0;
    struct stat info {};
    if (std::sscanf(text, kJournalFormat, &device, &inode, &length) != 3 || ::fstat(fd, &info) != 0 ||
        device != static_cast<std::uint64_t>(info.st_dev) || inode != static_cast<std::uint64_t>(info.st_ino)) {
        error = systemError("cannot repair " + quoted(shownPath) + ": the journal " + quoted(journalName) +
                                " beside it does not belong to it; it was left as it is",
                            0);
        return false;
    }
    if (static_cast<std::uint64_t>(info.st_size) < length) {
        error = systemError("cannot repair " + quoted(shownPath) + ": it has " + std::to_string(info.st_size) +
                                " bytes, fewer than the " + std::to_string(length) +
                                " it had before the append that was cut short; it was left as it is",
                            0);
        return false;
    }
    if (::ftruncate(fd, static_cast<off_t>(length)) != 0 || (::fsync(fd) != 0 && errno != EINVAL)) {
        error = systemError("cannot repair " + quoted(shownPath) + ": " + errnoText(errno), errno);
        return false;
    }
    if (::unlinkat(folderFd, journalName.c_str(), 0) != 0) {
        error = systemError("cannot repair " + quoted(shownPath) + ": its journal cannot be removed: " + errnoText(errno),
                            errno);
        return false;
    }
    int ignored = 0;
    syncFolder(folderFd, ignored);
    line = shownPath + ": an append cut short was rolled back to " + std::to_string(length) + " bytes";
    return true;
}

// Whether the file open as `fd` starts with `header`.
bool startsWith(int fd, const std::string& header) {
    std::string head(header.size(), '\0');
    std::size_t done = 0;
    while (done < head.size()) {
        const ssize_t n = ::pread(fd, head.data() + done, head.size() - done, static_cast<off_t>(done));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return head == header;
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
    if (!followLinks(path, file, errorNumber)) {
        return refuse("cannot write " + shown + ": " + errnoText(errorNumber), errorNumber);
    }
    struct stat info {};
    const bool exists = ::stat(file.c_str(), &info) == 0;
    if (!exists && errno != ENOENT) return refuse("cannot write " + shown + ": " + errnoText(errno), errno);
    if (exists) {
        if (S_ISDIR(info.st_mode)) return refuse("the output " + shown + " is a folder; give a file name", EISDIR);
        if (!S_ISREG(info.st_mode)) return refuse("the output " + shown + " is not a plain file", 0);
        struct stat input {};
        if (!options.inputPath.empty() && ::stat(options.inputPath.c_str(), &input) == 0 &&
            input.st_dev == info.st_dev && input.st_ino == info.st_ino) {
            return refuse("the output " + shown + " is the input file; give another output file", 0);
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
        return target;
    }

    // Append.
    // Read too: its first line and its last byte are looked at.
    target->fd_ = ::open(file.c_str(), O_RDWR | O_CLOEXEC);
    if (target->fd_ < 0) {
        const int e = errno;
        if (e == EACCES || e == EPERM || e == EROFS) {
            const int writable = ::open(file.c_str(), O_WRONLY | O_CLOEXEC);
            if (writable < 0) return refuse("the output " + shown + " cannot be written: " + errnoText(errno), errno);
            ::close(writable);
            return refuse("cannot append to " + shown + ": it cannot be read: " + errnoText(e), e);
        }
        return refuse("cannot append to " + shown + ": " + errnoText(e), e);
    }
    // One append to a file at a time: another run appending to it is waited for.
    if (!lockFile(target->fd_, true, errorNumber)) {
        return refuse("cannot append to " + shown + ": " + errnoText(errorNumber), errorNumber);
    }
    struct stat locked {};
    if (::fstat(target->fd_, &locked) != 0) return refuse("cannot append to " + shown + ": " + errnoText(errno), errno);
    target->journalName_ = journalNameFor(locked);

    std::string rolledBack;
    if (!rollBack(target->fd_, target->folderFd_, target->journalName_, path, rolledBack, error)) return nullptr;
    if (note != nullptr) *note = rolledBack;

    if (!options.expectedHeader.empty() && !startsWith(target->fd_, options.expectedHeader)) {
        return refuse("the output " + shown + " does not start with the header line of an output file; "
                          "records are only added to an output file",
                      0);
    }
    if (::fstat(target->fd_, &locked) != 0) return refuse("cannot append to " + shown + ": " + errnoText(errno), errno);
    target->oldLength_ = static_cast<std::uint64_t>(locked.st_size);

    // The journal, before the first byte: the file's identity and old length.
    auto journal = AsideFile::create(target->folderFd_, 0600, false, errorNumber);
    if (!journal || !journal->write(journalText(locked, target->oldLength_), errorNumber) ||
        !journal->publish(target->journalName_, true, errorNumber)) {
        if (errorNumber == EACCES || errorNumber == EPERM || errorNumber == EROFS) {
            return refuse("cannot append to " + shown + ": the folder " + folder +
                              " cannot be written (the append keeps its journal there): " + errnoText(errorNumber),
                          errorNumber);
        }
        return refuse("cannot append to " + shown + ": its journal cannot be written: " + errnoText(errorNumber),
                      errorNumber);
    }
    target->journaled_ = true;

    if (::lseek(target->fd_, static_cast<off_t>(target->oldLength_), SEEK_SET) < 0) {
        target->fail("cannot append to " + shown + ": ", errno);
        error = target->error_;
        return nullptr;
    }
    // A last line without its line end gets one, so the first record starts a line.
    char last = '\n';
    if (target->oldLength_ > 0 &&
        ::pread(target->fd_, &last, 1, static_cast<off_t>(target->oldLength_ - 1)) == 1 && last != '\n') {
        if (!writeFully(target->fd_, "\n", errorNumber)) {
            target->fail("cannot append to " + shown + ": ", errorNumber);
            error = target->error_;
            return nullptr;
        }
    }
    return target;
}

OutputTarget::~OutputTarget() {
    if (!finished_) abandon();
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
    abandon();
}

bool OutputTarget::write(std::string_view bytes) {
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
    case OutputMode::kAppend:
        if (!writeFully(fd_, bytes, errorNumber)) {
            fail("cannot append to " + quoted(path_) + ": ", errorNumber);
            return false;
        }
        break;
    }
    bytesWritten_ += bytes.size();
    return true;
}

bool OutputTarget::commit() {
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
        if (::unlinkat(folderFd_, journalName_.c_str(), 0) != 0) {
            fail("cannot append to " + quoted(path_) + ": its journal cannot be removed: ", errno);
            return false;
        }
        journaled_ = false;
        syncFolder(folderFd_, errorNumber);
        break;
    }
    finished_ = true;
    return true;
}

void OutputTarget::abandon() {
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
        if (!journaled_) break;
        int errorNumber = 0;
        if (::ftruncate(fd_, static_cast<off_t>(oldLength_)) != 0 || (::fsync(fd_) != 0 && errno != EINVAL)) {
            // The journal stays, so that the next append or `brinora repair` finishes the rollback.
            const int e = errno;
            std::string message = error_.message.empty() ? "cannot append to " + quoted(path_) : error_.message;
            message += "; the records of this run could not be taken away again (" + errnoText(e) +
                       "): `brinora repair " + path_ + "` removes them";
            error_ = OutputError{message, error_.errorNumber != 0 ? error_.errorNumber : e};
            break;
        }
        if (::unlinkat(folderFd_, journalName_.c_str(), 0) == 0) {
            journaled_ = false;
            syncFolder(folderFd_, errorNumber);
        }
        break;
    }
    }
}

std::string appendJournalPath(const std::string& path) {
    std::string file;
    int errorNumber = 0;
    struct stat info {};
    if (!followLinks(path, file, errorNumber) || ::stat(file.c_str(), &info) != 0) return {};
    std::string folder, name;
    splitPath(file, folder, name);
    return joinPath(folder, journalNameFor(info));
}

bool repairOutput(const std::string& path, std::string& line, OutputError& error) {
    line.clear();
    error = OutputError{};
    const std::string shown = quoted(path);
    std::string file;
    int errorNumber = 0;
    if (!followLinks(path, file, errorNumber)) {
        error = systemError("cannot repair " + shown + ": " + errnoText(errorNumber), errorNumber);
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
    const std::string journalName = journalNameFor(info);
    if (::access(joinPath(folder, journalName).c_str(), F_OK) != 0) return true;  // nothing to do

    const int folderFd = openFolder(folder);
    if (folderFd < 0) {
        error = systemError("cannot repair " + shown + ": " + errnoText(errno), errno);
        return false;
    }
    const int fd = ::open(file.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) {
        error = systemError("cannot repair " + shown + ": " + errnoText(errno), errno);
        ::close(folderFd);
        return false;
    }
    bool ok = true;
    if (!lockFile(fd, false, errorNumber)) {
        // The journal belongs to a run that is still appending.
        error = errorNumber == EWOULDBLOCK
                    ? systemError("cannot repair " + shown + ": another run is appending to it now", EWOULDBLOCK)
                    : systemError("cannot repair " + shown + ": " + errnoText(errorNumber), errorNumber);
        ok = false;
    } else {
        ok = rollBack(fd, folderFd, journalName, path, line, error);
    }
    ::close(fd);
    ::close(folderFd);
    return ok;
}

}  // namespace brinora
