#include "output/append_journal.h"

#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "output/aside_file.h"

namespace brinora {
namespace {

constexpr std::size_t kHashedBytes = 4096;

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

std::string joinPath(const std::string& folder, const std::string& name) {
    if (folder.empty()) return name;
    return folder == "/" ? "/" + name : folder + "/" + name;
}

std::uint64_t fnv1a(const char* data, std::size_t size, std::uint64_t hash = 0xcbf29ce484222325ULL) {
    for (std::size_t i = 0; i < size; ++i) {
        hash ^= static_cast<unsigned char>(data[i]);
        hash *= 0x100000001b3ULL;
    }
    return hash;
}

// Reads `size` bytes of `fd` at `offset` into `out`; false on a short read.
bool readAt(int fd, std::uint64_t offset, std::size_t size, std::string& out) {
    out.assign(size, '\0');
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = ::pread(fd, out.data() + done, size - done, static_cast<off_t>(offset + done));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

// FNV-1a of the first and of the last kHashedBytes bytes before `length`.
bool hashesBefore(int fd, std::uint64_t length, std::uint64_t& head, std::uint64_t& tail) {
    const std::size_t count = length < kHashedBytes ? static_cast<std::size_t>(length) : kHashedBytes;
    std::string bytes;
    if (!readAt(fd, 0, count, bytes)) return false;
    head = fnv1a(bytes.data(), bytes.size());
    if (!readAt(fd, length - count, count, bytes)) return false;
    tail = fnv1a(bytes.data(), bytes.size());
    return true;
}

std::string timeText(std::int64_t seconds) {
    char text[64];
    const std::time_t t = static_cast<std::time_t>(seconds);
    struct tm local {};
    if (::localtime_r(&t, &local) == nullptr || std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local) == 0) {
        return std::to_string(seconds);
    }
    return text;
}

// Whether the user `uid` may write the file described by `info` (its mode
// bits; root always).
bool couldWrite(uid_t uid, const struct stat& info) {
    if (uid == 0 || uid == info.st_uid || uid == ::geteuid()) return true;
    if ((info.st_mode & S_IWOTH) != 0) return true;
    if ((info.st_mode & S_IWGRP) == 0) return false;
    struct passwd entry {};
    struct passwd* found = nullptr;
    std::vector<char> buffer(16384);
    if (::getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) return false;
    if (entry.pw_gid == info.st_gid) return true;
    int count = 64;
    std::vector<gid_t> groups(static_cast<std::size_t>(count));
    if (::getgrouplist(entry.pw_name, entry.pw_gid, groups.data(), &count) < 0) {
        groups.resize(static_cast<std::size_t>(count));
        if (::getgrouplist(entry.pw_name, entry.pw_gid, groups.data(), &count) < 0) return false;
    }
    for (int k = 0; k < count; ++k) {
        if (groups[static_cast<std::size_t>(k)] == info.st_gid) return true;
    }
    return false;
}

// The birth time of the file open as `fd`; false when the file system does not keep one.
bool birthTime(int fd, std::int64_t& seconds, std::int64_t& nanoseconds) {
    struct statx info {};
    if (::statx(fd, "", AT_EMPTY_PATH, STATX_BTIME, &info) != 0 || (info.stx_mask & STATX_BTIME) == 0) return false;
    seconds = info.stx_btime.tv_sec;
    nanoseconds = info.stx_btime.tv_nsec;
    return true;
}

// The contents of a journal.
struct JournalRecord {
    std::uint64_t device = 0, inode = 0, length = 0, end = 0, head = 0, tail = 0;
    unsigned owner = 0;
    long long mtimeSeconds = 0, startSeconds = 0;
    long mtimeNanoseconds = 0, startNanoseconds = 0;
    int newline = 0, commas = -1;
    long pid = 0;
};

constexpr const char* kWriteFormat =
    "brinora append journal 2\ndevice %" PRIu64 "\ninode %" PRIu64 "\nowner %u\nlength %" PRIu64
    "\nmtime %lld.%09ld\nhead %016" PRIx64 "\ntail %016" PRIx64 "\nnewline %d\ncommas %d\npid %ld\nstart %lld.%09ld\nend ";
constexpr const char* kReadFormat =
    "brinora append journal 2\ndevice %" SCNu64 "\ninode %" SCNu64 "\nowner %u\nlength %" SCNu64
    "\nmtime %lld.%ld\nhead %" SCNx64 "\ntail %" SCNx64 "\nnewline %d\ncommas %d\npid %ld\nstart %lld.%ld\nend %" SCNu64;

std::string endField(std::uint64_t end) {
    char text[32];
    std::snprintf(text, sizeof text, "%020" PRIu64 "\n", end);
    return text;
}

bool parseJournal(const std::string& text, JournalRecord& r) {
    return std::sscanf(text.c_str(), kReadFormat, &r.device, &r.inode, &r.owner, &r.length, &r.mtimeSeconds,
                       &r.mtimeNanoseconds, &r.head, &r.tail, &r.newline, &r.commas, &r.pid, &r.startSeconds,
                       &r.startNanoseconds, &r.end) == 14;
}

// A name that may be a journal of the file: in a folder, with its own folder descriptor.
struct Candidate {
    std::string folder;  // as shown
    int folderFd = -1;   // owned when `ownFolder`
    bool ownFolder = false;
    std::string name;
    bool viaMarker = false;
};

// Names in `folderFd` that begin with `prefix`; false when the folder cannot be listed.
bool listNames(int folderFd, const std::string& prefix, std::vector<std::string>& names) {
    const int listFd = ::openat(folderFd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (listFd < 0) return false;
    DIR* dir = ::fdopendir(listFd);
    if (dir == nullptr) {
        ::close(listFd);
        return false;
    }
    while (const dirent* entry = ::readdir(dir)) {
        const std::string name = entry->d_name;
        if (name.compare(0, prefix.size(), prefix) == 0) names.push_back(name);
    }
    ::closedir(dir);
    return true;
}

// The journals of the file `info` in `folderFd`, and where its marker points.
std::vector<Candidate> candidates(int fd, const struct stat& info, int folderFd, const std::string& folder) {
    std::vector<Candidate> found;
    const std::string prefix = journalPrefix(info);
    std::vector<std::string> names;
    if (!listNames(folderFd, prefix, names)) {
        // A folder that cannot be listed: the names a journal takes first.
        for (const uid_t uid : {::geteuid(), info.st_uid, uid_t{0}}) {
            const std::string name = prefix + "-" + std::to_string(uid);
            struct stat ignored {};
            if (::fstatat(folderFd, name.c_str(), &ignored, AT_SYMLINK_NOFOLLOW) == 0) names.push_back(name);
        }
    }
    for (const std::string& name : names) found.push_back(Candidate{folder, folderFd, false, name, false});

    char marker[4096];
    const ssize_t n = ::fgetxattr(fd, kJournalMarker, marker, sizeof marker - 1);
    if (n > 0) {
        const std::string path(marker, static_cast<std::size_t>(n));
        const std::size_t slash = path.rfind('/');
        if (slash != std::string::npos && slash + 1 < path.size()) {
            const std::string markedFolder = slash == 0 ? "/" : path.substr(0, slash);
            const std::string markedName = path.substr(slash + 1);
            const int markedFd = openFolder(markedFolder);
            struct stat here {}, there {};
            if (markedFd >= 0 && ::fstat(folderFd, &here) == 0 && ::fstat(markedFd, &there) == 0 &&
                (here.st_dev != there.st_dev || here.st_ino != there.st_ino)) {
                found.push_back(Candidate{markedFolder, markedFd, true, markedName, true});
            } else if (markedFd >= 0) {
                ::close(markedFd);
            }
        }
    }
    return found;
}

void removeMarker(int fd) { ::fremovexattr(fd, kJournalMarker); }

// Everything after `length` in `fd` (of `size` bytes) is records of `commas`
// commas each, the last one possibly cut short; `newline`: the first byte
// after `length` is a line end added by the run. Else `why` says what is not.
bool onlyRecordsAfter(int fd, std::uint64_t length, std::uint64_t size, int newline, int commas, std::string& why) {
    std::uint64_t at = length;
    if (newline != 0 && at < size) {
        char c = 0;
        if (::pread(fd, &c, 1, static_cast<off_t>(at)) != 1 || c != '\n') {
            why = "the byte after them is not the line end the run added";
            return false;
        }
        ++at;
    }
    if (commas < 0) return true;
    std::string block;
    int lineCommas = 0;
    std::uint64_t line = 1;
    while (at < size) {
        const std::size_t count = size - at < (1u << 16) ? static_cast<std::size_t>(size - at) : (1u << 16);
        if (!readAt(fd, at, count, block)) {
            why = "the bytes after them cannot be read";
            return false;
        }
        for (const char c : block) {
            const bool lineEnd = c == '\n';
            if (c == ',') ++lineCommas;
            if (lineCommas > commas || (lineEnd && lineCommas != commas)) {
                why = "line " + std::to_string(line) + " after them is not a record of " + std::to_string(commas + 1) +
                      " fields (were lines added after the run was cut short?)";
                return false;
            }
            if (lineEnd) {
                lineCommas = 0;
                ++line;
            }
        }
        at += count;
    }
    return true;
}

}  // namespace

std::string journalPrefix(const struct stat& info) {
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

std::unique_ptr<JournalWriter> JournalWriter::create(int fd, int folderFd, const std::string& folderPath,
                                                     std::uint64_t length, bool newlineAdded, int recordCommas,
                                                     int& errorNumber) {
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        errorNumber = errno;
        return nullptr;
    }
    JournalRecord r;
    if (!hashesBefore(fd, length, r.head, r.tail)) {
        errorNumber = EIO;
        return nullptr;
    }
    struct timespec now {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    char text[512];
    std::snprintf(text, sizeof text, kWriteFormat, static_cast<std::uint64_t>(info.st_dev),
                  static_cast<std::uint64_t>(info.st_ino), static_cast<unsigned>(info.st_uid), length,
                  static_cast<long long>(info.st_mtim.tv_sec), static_cast<long>(info.st_mtim.tv_nsec), r.head, r.tail,
                  newlineAdded ? 1 : 0, recordCommas, static_cast<long>(::getpid()), static_cast<long long>(now.tv_sec),
                  static_cast<long>(now.tv_nsec));
    const std::string body = text;
    const std::string journal = body + endField(length);

    std::unique_ptr<JournalWriter> writer(new JournalWriter());
    writer->fileFd_ = fd;
    writer->folderFd_ = folderFd;
    writer->reserved_ = length;
    writer->endOffset_ = static_cast<off_t>(body.size());
    // The name of this user's journal of the file; a name taken by a file of
    // someone else (who could not write the output) gives way to a random one.
    const std::string prefix = journalPrefix(info);
    for (int attempt = 0; attempt < 8; ++attempt) {
        auto aside = AsideFile::create(folderFd, 0600, true, errorNumber);
        if (!aside || !aside->write(journal, errorNumber)) return nullptr;
        std::string name = prefix + "-" + std::to_string(::geteuid());
        if (attempt > 0) name += "-" + hiddenName('r').substr(10);
        if (aside->publish(name, false, errorNumber)) {
            writer->name_ = name;
            break;
        }
        if (errorNumber != EEXIST) return nullptr;
    }
    if (writer->name_.empty()) return nullptr;
    writer->journalFd_ = ::openat(folderFd, writer->name_.c_str(), O_WRONLY | O_NOFOLLOW | O_CLOEXEC);
    if (writer->journalFd_ < 0) {
        errorNumber = errno;
        ::unlinkat(folderFd, writer->name_.c_str(), 0);
        return nullptr;
    }
    if (!folderPath.empty()) {
        const std::string where = joinPath(folderPath, writer->name_);
        if (::fsetxattr(fd, kJournalMarker, where.data(), where.size(), 0) == 0) {
            writer->marked_ = true;
            if (::fsync(fd) != 0 && errno != EINVAL && errno != EROFS) {
                errorNumber = errno;
                writer->remove(errorNumber);
                return nullptr;
            }
        }
    }
    return writer;
}

JournalWriter::~JournalWriter() {
    if (journalFd_ >= 0) ::close(journalFd_);
}

bool JournalWriter::reserve(std::uint64_t end, int& errorNumber) {
    if (end <= reserved_) return true;
    const std::string field = endField(end);
    if (::pwrite(journalFd_, field.data(), field.size(), endOffset_) != static_cast<ssize_t>(field.size())) {
        errorNumber = errno != 0 ? errno : EIO;
        return false;
    }
    reserved_ = end;
    return true;
}

bool JournalWriter::remove(int& errorNumber) {
    if (removed_) return true;
    if (::unlinkat(folderFd_, name_.c_str(), 0) != 0 && errno != ENOENT) {
        errorNumber = errno;
        return false;
    }
    removed_ = true;
    syncFolder(folderFd_, errorNumber);
    if (marked_) removeMarker(fileFd_);
    return true;
}

JournalOutcome settleJournals(int fd, int folderFd, const std::string& shownFolder, const std::string& shownPath,
                              bool discard) {
    JournalOutcome outcome;
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        outcome.errorNumber = errno;
        outcome.refusal = std::strerror(errno);
        return outcome;
    }
    std::vector<Candidate> found = candidates(fd, info, folderFd, shownFolder);
    const auto closeAll = [&found] {
        for (Candidate& c : found) {
            if (c.ownFolder) ::close(c.folderFd);
        }
    };
    const std::string fix = "; nothing was cut. `brinora repair --discard " + shownPath +
                            "` removes the journal and keeps the file as it is";

    const Candidate* applies = nullptr;
    JournalRecord chosen;
    std::size_t trusted = 0;
    for (Candidate& c : found) {
        const std::string where = quoted(joinPath(c.folder, c.name));
        struct stat entry {};
        if (::fstatat(c.folderFd, c.name.c_str(), &entry, AT_SYMLINK_NOFOLLOW) != 0) continue;
        if (!couldWrite(entry.st_uid, info)) {
            outcome.notes.push_back("warning: ignored " + where + ": it belongs to user " +
                                    std::to_string(entry.st_uid) + ", who cannot write " + quoted(shownPath) +
                                    ", so it is no journal of an append to it; nothing was cut");
            continue;
        }
        ++trusted;
        outcome.found = true;
        const auto refuse = [&](const std::string& why) {
            if (discard) {
                if (::unlinkat(c.folderFd, c.name.c_str(), 0) != 0) {
                    outcome.errorNumber = errno;
                    outcome.refusal = "the journal " + where + " cannot be removed: " + std::strerror(errno);
                    return;
                }
                outcome.notes.push_back(shownPath + ": removed " + where + " (" + why + "); nothing was cut");
                return;
            }
            if (outcome.refusal.empty()) outcome.refusal = "the journal " + where + " " + why + fix;
        };
        if (S_ISLNK(entry.st_mode)) {
            refuse("is a symbolic link, not a journal");
            continue;
        }
        if (!S_ISREG(entry.st_mode)) {
            refuse("is not a plain file, so not a journal");
            continue;
        }
        const int journal = ::openat(c.folderFd, c.name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        std::string text(1024, '\0');
        const ssize_t n = journal < 0 ? -1 : ::read(journal, text.data(), text.size() - 1);
        if (journal >= 0) ::close(journal);
        JournalRecord r;
        if (n <= 0 || !parseJournal(text.substr(0, static_cast<std::size_t>(n)), r)) {
            refuse("cannot be read as a journal of Brinora");
            continue;
        }
        const std::string run = "run " + std::to_string(r.pid) + " of " + timeText(r.startSeconds);
        if (r.device != static_cast<std::uint64_t>(info.st_dev) || r.inode != static_cast<std::uint64_t>(info.st_ino)) {
            if (c.viaMarker) {
                // A copy of the file carries the mark of the original's journal.
                if (discard) {
                    removeMarker(fd);
                    outcome.notes.push_back(shownPath + ": removed its mark of the journal " + where +
                                            ", which belongs to another file; nothing was cut");
                } else if (outcome.refusal.empty()) {
                    outcome.refusal = "it carries the mark of an append cut short (" + run + ") whose journal " +
                                      where + " was made for another file (a copy of it was taken?)" + fix;
                }
            } else {
                refuse("was made for another file");
            }
            continue;
        }
        std::int64_t bornSeconds = 0, bornNanoseconds = 0;
        if (birthTime(fd, bornSeconds, bornNanoseconds) &&
            (bornSeconds > r.startSeconds || (bornSeconds == r.startSeconds && bornNanoseconds > r.startNanoseconds))) {
            // The file was made after the run began: the journal is of an
            // earlier file that had the same inode.
            if (::unlinkat(c.folderFd, c.name.c_str(), 0) == 0) {
                outcome.notes.push_back(shownPath + ": removed the stale journal " + where + " of " + run +
                                        ", which was left by an earlier file of the same inode; nothing was cut");
            } else {
                refuse("is left by an earlier file of the same inode (" + run + ") and cannot be removed: " +
                       std::string(std::strerror(errno)));
            }
            --trusted;
            continue;
        }
        const std::uint64_t size = static_cast<std::uint64_t>(info.st_size);
        std::uint64_t head = 0, tail = 0;
        std::string why;
        if (r.owner != static_cast<unsigned>(info.st_uid)) {
            refuse("of " + run + " was made when the file belonged to user " + std::to_string(r.owner) +
                   "; it belongs to user " + std::to_string(info.st_uid) + " now");
        } else if (size < r.length) {
            refuse("of " + run + " says the file had " + std::to_string(r.length) + " bytes; it has " +
                   std::to_string(size) + " now");
        } else if (!hashesBefore(fd, r.length, head, tail) || head != r.head || tail != r.tail) {
            refuse("of " + run + " does not fit: the file's bytes before byte " + std::to_string(r.length) +
                   " have changed since");
        } else if (size > r.end) {
            refuse("of " + run + " does not fit: the file has " + std::to_string(size) +
                   " bytes, more than that run could have written (" + std::to_string(r.end) +
                   "), so something else was added to it");
        } else if (!onlyRecordsAfter(fd, r.length, size, r.newline, r.commas, why)) {
            refuse("of " + run + " does not fit the bytes after byte " + std::to_string(r.length) + ": " + why);
        } else if (discard) {
            if (::unlinkat(c.folderFd, c.name.c_str(), 0) != 0) {
                outcome.errorNumber = errno;
                outcome.refusal = "the journal " + where + " cannot be removed: " + std::strerror(errno);
            } else {
                outcome.notes.push_back(shownPath + ": removed the journal " + where + " of " + run +
                                        "; nothing was cut, the file keeps its " + std::to_string(size) + " bytes");
            }
        } else {
            applies = &c;
            chosen = r;
        }
    }
    if (!outcome.refusal.empty() || applies == nullptr) {
        // A mark without its journal is the trace of a run that ended (or of
        // a journal just discarded).
        if (outcome.refusal.empty() && (trusted == 0 || discard)) removeMarker(fd);
        closeAll();
        return outcome;
    }
    if (trusted > 1) {
        outcome.refusal = "several journals of appends cut short lie beside it" + fix;
        closeAll();
        return outcome;
    }
    if (::ftruncate(fd, static_cast<off_t>(chosen.length)) != 0 || (::fsync(fd) != 0 && errno != EINVAL)) {
        outcome.errorNumber = errno;
        outcome.refusal = std::strerror(errno);
        closeAll();
        return outcome;
    }
    const std::string where = quoted(joinPath(applies->folder, applies->name));
    if (::unlinkat(applies->folderFd, applies->name.c_str(), 0) != 0) {
        outcome.errorNumber = errno;
        outcome.refusal = "it was cut back to " + std::to_string(chosen.length) + " bytes, but its journal " + where +
                          " cannot be removed: " + std::strerror(errno);
        closeAll();
        return outcome;
    }
    int ignored = 0;
    syncFolder(applies->folderFd, ignored);
    removeMarker(fd);
    outcome.rolledBack = true;
    outcome.length = chosen.length;
    std::string line = shownPath + ": an append cut short was rolled back to " + std::to_string(chosen.length) + " bytes";
    if (applies->viaMarker) line += " (its journal was in " + quoted(applies->folder) + ", where the file was before)";
    outcome.notes.push_back(line);
    closeAll();
    return outcome;
}

std::string findJournalPath(int fd, const std::string& folder) {
    struct stat info {};
    if (::fstat(fd, &info) != 0) return {};
    const int folderFd = openFolder(folder);
    if (folderFd < 0) return {};
    std::vector<Candidate> found = candidates(fd, info, folderFd, folder.empty() ? "." : folder);
    std::string path;
    for (Candidate& c : found) {
        if (path.empty()) path = c.folder == "." && folder.empty() ? c.name : joinPath(c.folder, c.name);
        if (c.ownFolder) ::close(c.folderFd);
    }
    ::close(folderFd);
    return path;
}

bool pendingJournal(int fd, int folderFd, std::uint64_t& length, long& pid) {
    struct stat info {};
    if (::fstat(fd, &info) != 0) return false;
    std::vector<Candidate> found = candidates(fd, info, folderFd, ".");
    bool any = false;
    for (Candidate& c : found) {
        struct stat entry {};
        const int journal = ::openat(c.folderFd, c.name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (!any && journal >= 0 && ::fstat(journal, &entry) == 0 && S_ISREG(entry.st_mode) &&
            couldWrite(entry.st_uid, info)) {
            std::string text(1024, '\0');
            const ssize_t n = ::read(journal, text.data(), text.size() - 1);
            JournalRecord r;
            if (n > 0 && parseJournal(text.substr(0, static_cast<std::size_t>(n)), r) &&
                r.device == static_cast<std::uint64_t>(info.st_dev) &&
                r.inode == static_cast<std::uint64_t>(info.st_ino)) {
                length = r.length;
                pid = r.pid;
                any = true;
            }
        }
        if (journal >= 0) ::close(journal);
        if (c.ownFolder) ::close(c.folderFd);
    }
    return any;
}

long journalWriterPid(int fd, int folderFd) {
    std::uint64_t length = 0;
    long pid = 0;
    return pendingJournal(fd, folderFd, length, pid) ? pid : 0;
}

}  // namespace brinora
