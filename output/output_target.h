// The output file of a run, written so that a run stopped at any moment
// (killed, a full device, an I/O error) leaves it as it was or complete: a
// new or replaced file is written aside and renamed into place at the end; an
// append keeps a small journal with the file's old length beside it until
// the end, and a journal left behind is rolled back before the next append.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

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
    std::string inputPath;       // the output must not be this file (compared by device and inode)
    std::string expectedHeader;  // kAppend: what the file must start with (its first line, "\n" included); empty = no check
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
    // input). For kAppend, a journal left by a run cut short is rolled back
    // first and `note` gets one line saying so. Null with `error` filled on
    // refusal; nothing on disk has changed then (but for that rollback).
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

    const OutputError& error() const { return error_; }
    std::uint64_t bytesWritten() const { return bytesWritten_; }  // bytes of this run accepted by write()
    const std::string& path() const { return path_; }
    OutputMode mode() const { return mode_; }

private:
    OutputTarget() = default;
    void fail(const std::string& what, int errorNumber);

    std::string path_;        // as the user gave it
    OutputMode mode_ = OutputMode::kCreate;
    std::string folder_;      // folder of the file written (after symbolic links)
    std::string name_;        // its name in that folder
    int folderFd_ = -1;
    std::unique_ptr<AsideFile> aside_;  // create/replace
    int fd_ = -1;                       // append: the file; standard output: 1
    std::uint64_t oldLength_ = 0;       // append: length before the run
    std::string journalName_;           // append: the journal's name in the folder
    std::uint64_t bytesWritten_ = 0;
    bool existed_ = false;              // replace: there was a file to replace
    bool journaled_ = false;            // append: the journal is on disk
    bool finished_ = false;             // committed or abandoned
    OutputError error_;
};

// The journal of an append to the file `path` (after symbolic links): a
// fixed-length hidden name in the file's folder, made from the file's device
// and inode. "" when `path` cannot be examined.
std::string appendJournalPath(const std::string& path);

// Rolls back an append to `path` that was cut short (its journal present):
// the file is cut back to its recorded length and the journal removed.
// `line` gets the one line to show ("" when there was nothing to do); false
// and `error` when it fails.
bool repairOutput(const std::string& path, std::string& line, OutputError& error);

}  // namespace brinora
