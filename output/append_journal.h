// The journal of an append: a small file beside the output that names the
// file it protects (device, inode, owner, modification time and length at the
// start, hashes of the first and of the last 4 KiB before that length, the
// commas of a record line), the run that made it (process id, start time)
// and the end the run may have written up to. A journal is only ever applied
// to the file it was made for, and only when everything after the recorded
// length can be the run's own records: anything else is refused with the
// reason, and nothing is cut.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace brinora {

// The hidden names of the journals of the file with this device and inode
// begin with this (".brinora-j" and 16 hex digits); a dash and 16 random hex
// digits follow.
std::string journalPrefix(const struct stat& info);

// The extended attribute that the file carries while a journal of it exists:
// the journal's absolute path, so that the journal is found after the file
// was moved to another folder.
inline constexpr const char* kJournalMarker = "user.brinora.journal";

// A journal written by this run.
class JournalWriter {
public:
    // Writes the journal of an append to `fd` (open, locked) whose length is
    // `length` and durable before the first byte of the run. `folderFd` is
    // the file's folder, `folderPath` its absolute path ("" when unknown: the
    // file then carries no marker). `recordCommas`: commas of every record
    // line (-1: lines are not checked). Null and `errorNumber` on failure.
    static std::unique_ptr<JournalWriter> create(int fd, int folderFd, const std::string& folderPath,
                                                 std::uint64_t length, bool newlineAdded, int recordCommas,
                                                 int& errorNumber);
    ~JournalWriter();
    JournalWriter(const JournalWriter&) = delete;
    JournalWriter& operator=(const JournalWriter&) = delete;

    // Records that the file may grow to `end` bytes; called before a write
    // that goes past the end recorded so far.
    bool reserve(std::uint64_t end, int& errorNumber);
    // Removes the journal and the file's marker: the moment the run becomes
    // part of the file for good (or the end of its rollback).
    bool remove(int& errorNumber);

    const std::string& name() const { return name_; }

private:
    JournalWriter() = default;
    int fileFd_ = -1;     // the output (not owned)
    int folderFd_ = -1;   // not owned
    int journalFd_ = -1;  // owned
    std::string name_;
    std::uint64_t reserved_ = 0;
    off_t endOffset_ = 0;  // where the end field lies in the journal
    bool marked_ = false;
    bool removed_ = false;
};

// What the journals of a file came to.
struct JournalOutcome {
    // Lines to show (journals of other users that were ignored, stale ones
    // removed, the rollback done), each complete.
    std::vector<std::string> notes;
    // Non-empty: nothing may be cut or appended; says what was found and how
    // to clear it.
    std::string refusal;
    int errorNumber = 0;
    bool found = false;           // a journal applied, stale or refused
    bool rolledBack = false;      // the file was cut back
    std::uint64_t length = 0;     // ... to this length
};

// Deals with the journals of the file open as `fd` (locked by the caller,
// so no run is appending to it), shown as `shownPath`, in the folder
// `folderFd` (shown as `shownFolder`): a journal of a run cut short is checked against the file and
// rolled back; with `discard`, journals are removed and nothing is cut.
JournalOutcome settleJournals(int fd, int folderFd, const std::string& shownFolder, const std::string& shownPath,
                              bool discard);

// The path of the journal that would be settled for `fd` in `folder` ("" when
// there is none).
std::string findJournalPath(int fd, const std::string& folder);

// The process id recorded in the journal of the file open as `fd` (the run
// appending to it now), 0 when none can be read.
long journalWriterPid(int fd, int folderFd);

// The length before the run and the process id that the journal of the file
// open as `fd` records (a journal of a user who may write the file, made for
// this file); false when there is none.
bool pendingJournal(int fd, int folderFd, std::uint64_t& length, long& pid);

}  // namespace brinora
