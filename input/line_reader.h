// The one line splitter of batch input files, read block by block: the lines
// come out as if every "\r" of the whole text were made "\n", then every
// "\n\n" made "\n" in one left-to-right pass, then the text split at "\n" (a
// final line end leaves an empty last piece), each with its line number as an
// editor counts it; only one block and the line being cut are held in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "input/presented_error.h"

namespace brinora {

// Bytes read from the file at a time.
inline constexpr std::size_t kDefaultReadBlock = std::size_t{1} << 20;

// One piece of a batch file.
struct StreamLine {
    std::string_view text;  // the line without its line end; valid until the next call of next()
    int sourceLine = 1;     // 1-based line number in the file as an editor counts it
};

// The pieces of one open file, in order. A leading UTF-8 byte-order mark is
// skipped. With `checkUTF8`, the bytes are checked as they are read and the
// reader stops at the first one that breaks UTF-8.
class BatchLineReader {
public:
    BatchLineReader(int fd, std::size_t blockSize = kDefaultReadBlock, bool checkUTF8 = false);
    // The same reader over the whole content of a file already in memory:
    // the bytes are taken `blockSize` at a time as if read from a file, and
    // cut into the same pieces. `text` must outlive the reader.
    explicit BatchLineReader(std::string_view text, std::size_t blockSize = kDefaultReadBlock,
                             bool checkUTF8 = false);

    // The next piece; false after the last one, after a read error and at a
    // byte that is not UTF-8 (see errorNumber() and invalidUTF8Offset()).
    bool next(StreamLine& line);

    // Whether the last piece has been handed out (the piece after the last
    // line end; a line handed out with finished() true had no line end).
    bool finished() const { return finished_; }
    // Whether reading stopped at a read error or at a byte that is not UTF-8.
    bool failed() const { return stopped_; }
    // Bytes of the file consumed so far (line ends included).
    std::uint64_t bytesConsumed() const { return bufferOffset_ + cursor_; }

    // Gives back the memory a long line made the buffer grow to, once the
    // line has been taken (the view of the last next() becomes invalid).
    void trim();

    // errno of a failed read, 0 when none.
    int errorNumber() const { return error_; }
    // With checkUTF8: offset in the file of the first byte that breaks UTF-8,
    // and the byte; npos when the file is well-formed.
    std::uint64_t invalidUTF8Offset() const { return invalidOffset_; }
    unsigned char invalidUTF8Byte() const { return invalidByte_; }
    // With checkUTF8: "\n" bytes before invalidUTF8Offset().
    std::uint64_t newlinesBeforeInvalidByte() const { return newlinesBeforeInvalid_; }

    static constexpr std::uint64_t npos = ~std::uint64_t{0};

private:
    // Makes at least `count` bytes from the cursor available, unless the file
    // ends first; false at the end of the file, a read error or bad UTF-8.
    bool ensure(std::size_t count);
    bool readBlock();
    // Up to `count` more bytes of the file or of the text into `into`; 0 at
    // the end, -1 with errno set on a read error.
    long readSome(char* into, std::size_t count);
    void checkNewBytes();

    int fd_;                        // -1 in memory mode
    bool inMemory_ = false;         // reading memory_ instead of fd_
    std::string_view memory_;       // the text not yet taken, in memory mode
    std::size_t blockSize_;
    bool checkUTF8_;
    std::unique_ptr<char[]> buffer_;
    std::size_t capacity_ = 0;
    std::size_t cursor_ = 0;        // first unconsumed byte
    std::size_t end_ = 0;           // end of the bytes read
    std::uint64_t bufferOffset_ = 0;  // file offset of buffer_[0]
    std::size_t checked_ = 0;       // bytes of the buffer checked as UTF-8
    bool endOfFile_ = false;
    bool started_ = false;
    bool finished_ = false;
    bool stopped_ = false;          // read error or bad UTF-8
    int error_ = 0;
    int lineEndsBefore_ = 0;        // line ends (as an editor counts them) before the cursor
    std::uint64_t newlines_ = 0;    // "\n" bytes among the checked bytes
    std::uint64_t invalidOffset_ = npos;
    unsigned char invalidByte_ = 0;
    std::uint64_t newlinesBeforeInvalid_ = 0;
};

// Opens `path` for reading; on failure (missing, unreadable, a folder), -1
// and the error to present (domain "BrinoraFile", the errno value as code).
int openBatchInput(const std::string& path, PresentedError& error);

// Why `reader` stopped before the end of the file at `path`: a read error or
// a byte that is not UTF-8 (its value, offset and line are named).
PresentedError batchInputError(const std::string& path, const BatchLineReader& reader);

}  // namespace brinora
