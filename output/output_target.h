// The output file of a run, written so that a run stopped at any moment
// (killed, a full device, an I/O error) leaves it as it was or complete: a
// new or replaced file is written aside and renamed into place at the end; an
// append keeps a small journal with the file's old length beside it until
// the end, and a journal left behind is rolled back before the next append.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "output/append_journal.h"
#include "output/aside_file.h"

namespace brinora {

enum class OutputMode {
    kCreate,          // a new file: an existing name (a dangling symbolic link included) is refused, also when another run creates it meanwhile
    kReplace,         // replaces the file atomically, keeping its permission bits; through a symbolic link, the file the link names
    kAppend,          // adds to an existing file; all or nothing
    kStandardOutput,  // "-": bytes go to standard output as they come (a closed pipe is an
                      // error of write() where the program ignores SIGPIPE)
};

struct OutputOptions {
    std::string inputPath;       // the output must not be this file (compared by device and inode); "-": standard input
    std::string expectedHeader;  // kAppend: what the file must start with (its first line, "\n" included); empty = no check
    // kAppend: a last line without its line end gets one before the new
    // bytes (records start a line); false appends right after the last byte.
    bool endLastLine = true;
    // kAppend: how long to wait for another run appending to the file, and
    // what to say when the wait begins (null: nothing is said).
    int waitSeconds = 600;
    std::function<void(const std::string&)> onWait;
};

struct OutputError {
    std::string message;  // complete and for the user: names the output and what went wrong
    int errorNumber = 0;  // errno, 0 when not a system error
};

class OutputTarget {
public:
    // Checks everything that can be checked before a byte is written (the
    // folder, what the name is, permissions, an existing file for kCreate, a
    // missing file or a wrong first line for kAppend, the output being the
    // input, a symbolic link of another user in a folder others can write, a
    // replaced file whose owner, group or access list a new file could not
    // keep, a file with several hard links). For kAppend, a journal left by
    // a run cut short is checked against the file and rolled back first;
    // `note` gets the lines to show (that rollback, journals ignored,
    // temporary files of ended runs removed), one per line. Null with `error`
    // filled on refusal; nothing on disk has changed then (but for that
    // rollback).
    static std::unique_ptr<OutputTarget> open(const std::string& path, OutputMode mode,
                                              const OutputOptions& options, OutputError& error,
                                              std::string* note = nullptr);
    ~OutputTarget();  // abandon() unless commit() succeeded
    OutputTarget(const OutputTarget&) = delete;
    OutputTarget& operator=(const OutputTarget&) = delete;

    // Adds `bytes`; false and error() when a write fails (the run is then
    // abandoned).
    bool write(std::string_view bytes);
    // Makes the run's bytes part of the file for good: create/replace flush
    // the file and give it its name, append flushes it and removes the
    // journal. False and error() on failure (the run is then abandoned).
    bool commit();
    // Create/replace: the temporary file goes and the target is as before;
    // append: the file is cut back to its old length and the journal goes.
    void abandon();
    // What became of the target when the run was stopped now: "\"out.csv\"
    // was not created", "the previous \"out.csv\" is unchanged", ...
    std::string keptText() const;

    const OutputError& error() const { return error_; }
    std::uint64_t bytesWritten() const { return bytesWritten_; }  // bytes of this run accepted by write()
    const std::string& path() const { return path_; }
    OutputMode mode() const { return mode_; }

private:
    OutputTarget() = default;
    void fail(const std::string& what, int errorNumber);
    void abandonLocked();  // abandon() with the output lock held

    std::string path_;        // as the user gave it
    OutputMode mode_ = OutputMode::kCreate;
    std::string folder_;      // folder of the file written (after symbolic links)
    std::string name_;        // its name in that folder
    int folderFd_ = -1;
    std::unique_ptr<AsideFile> aside_;  // create/replace
    int fd_ = -1;                       // append: the file; standard output: 1
    std::uint64_t oldLength_ = 0;       // append: length before the run
    std::unique_ptr<JournalWriter> journal_;  // append: the journal while it exists
    std::uint64_t bytesWritten_ = 0;
    bool existed_ = false;              // replace: there was a file to replace
    bool finished_ = false;             // committed or abandoned
    bool committed_ = false;
    bool rollbackFailed_ = false;       // append: the run's bytes could not be taken away
    OutputError error_;

    friend std::string stopOutputs(int signal);
};

// Called on a thread of its own when a signal stops the process: every
// output file of the process that is being written is abandoned (under the
// lock that every write and commit holds, which stays held, so no write
// follows) and the line saying what was kept is returned.
std::string stopOutputs(int signal);

// The journal of an append to the file `path` (after symbolic links) that
// lies beside it or where the file's mark says: a hidden name in the file's
// folder that begins with the file's device and inode. "" when there is none
// or `path` cannot be examined.
std::string appendJournalPath(const std::string& path);

// An append to a file that has not become part of it: one going on now, or
// one cut short and not yet rolled back.
struct PendingAppend {
    bool pending = false;
    bool running = false;      // another run is appending now
    long pid = 0;              // the run that made the journal
    std::uint64_t length = 0;  // the file's length before that run: the bytes that are whole
};
PendingAppend pendingAppend(const std::string& path);

// What `brinora repair` did.
struct RepairReport {
    std::vector<std::string> lines;     // for standard output
    std::vector<std::string> warnings;  // for standard error
};

// Rolls back an append to `path` that was cut short (its journal present):
// the file is cut back to its recorded length and the journal removed; with
// `discard`, the journal is removed and nothing is cut. Temporary files of
// ended runs in the file's folder are removed and named. False and `error`
// when it fails or the journal does not fit the file.
bool repairOutput(const std::string& path, RepairReport& report, OutputError& error, bool discard = false);
// The same with the one line of a rollback in `line` ("" when there was nothing to do).
bool repairOutput(const std::string& path, std::string& line, OutputError& error);

}  // namespace brinora
