// A file written aside and then made visible in one step: a temporary file in
// the folder of its final name is written and flushed to the device with
// fsync, then linked (never replacing anything) or renamed (replacing) to its
// final name, and the folder is flushed. Whoever looks at the final name sees
// the old state or the whole new file, whenever the process is stopped.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace brinora {

// Writes all of `bytes` to `fd`, resuming after short or interrupted writes.
// False with `errorNumber` set when a write fails (EIO when one writes nothing).
bool writeFully(int fd, std::string_view bytes, int& errorNumber);

// Opens the folder `folder` ("" for the working folder) for the *at() calls
// and for fsync; -1 with errno set when that fails.
int openFolder(const std::string& folder);

// Flushes a folder's entries (new and renamed names) to the device. Folders
// that cannot be flushed (a descriptor opened only for paths, file systems
// without fsync) count as flushed.
bool syncFolder(int folderFd, int& errorNumber);

// A fixed-length hidden name, ".brinora-" + `kind` + 16 hex digits, random.
std::string hiddenName(char kind);

// The hidden temporary files (".brinora-t...") of a folder, left by runs that
// ended before their file got its name (where the file system has no
// nameless files, or a kill between two steps of a replacement).
struct LeftoverTemporaries {
    std::vector<std::string> removed;    // this user's, whose writer is gone: removed
    std::vector<std::string> removable;  // the same, when `remove` is false
    std::vector<std::string> inUse;      // a run that is still going writes it
    std::vector<std::string> others;     // another user's, or not removable
};
// Looks for them in `folderFd`; with `remove`, removes those of this user
// whose writer is gone.
LeftoverTemporaries removeLeftoverTemporaries(int folderFd, bool remove);

class AsideFile {
public:
    // A new temporary file in the folder `folderFd` with permission bits
    // `mode` (the umask applies unless `exactMode`). It is nameless
    // (O_TMPFILE) where the file system allows it, so that it vanishes by
    // itself when the process dies; elsewhere it has a hidden name with the
    // process id and the user id, and the process holds a lock on it while
    // it lives (removeLeftoverTemporaries).
    // `folderFd` must stay open while the object lives. Null and
    // `errorNumber` set when it cannot be made.
    static std::unique_ptr<AsideFile> create(int folderFd, mode_t mode, bool exactMode, int& errorNumber);

    ~AsideFile();  // discard() unless published
    AsideFile(const AsideFile&) = delete;
    AsideFile& operator=(const AsideFile&) = delete;

    int fd() const { return fd_; }
    bool write(std::string_view bytes, int& errorNumber) { return writeFully(fd_, bytes, errorNumber); }

    // Flushes the file, gives it the name `name` in the folder and flushes
    // the folder. With `replace`, an existing `name` is replaced in one step
    // (rename); without it, an existing `name` is left alone and the call
    // fails with EEXIST, also when another process made `name` meanwhile.
    // On failure the temporary file is discarded.
    bool publish(const std::string& name, bool replace, int& errorNumber);

    // Removes the temporary file; the folder is as before.
    void discard();

    // Whether the file has its final name (publish() may still have failed
    // afterwards, when the folder could not be flushed).
    bool published() const { return published_; }

private:
    AsideFile(int folderFd, int fd, std::string hiddenName)
        : folderFd_(folderFd), fd_(fd), hiddenName_(std::move(hiddenName)) {}

    int folderFd_;
    int fd_;
    std::string hiddenName_;  // "" while the file is nameless
    bool published_ = false;
};

}  // namespace brinora
