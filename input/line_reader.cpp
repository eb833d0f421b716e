#include "input/line_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "input/utf8_sequence.h"

namespace brinora {
namespace {

constexpr std::string_view kFileErrorDomain = "BrinoraFile";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

PresentedError fileError(const std::string& path, int errorNumber, const std::string& why) {
    return PresentedError{std::string(kFileErrorDomain), errorNumber,
                          "The file \"" + path + "\" could not be read: " + why};
}

bool isLineEnd(char c) { return c == '\n' || c == '\r'; }

constexpr std::uint64_t kOnes = 0x0101010101010101ull;
constexpr std::uint64_t kLow7 = 0x7F7F7F7F7F7F7F7Full;
constexpr std::uint64_t kHigh = 0x8080808080808080ull;

// High bit set in each byte of `word` that is zero, and in no other byte.
std::uint64_t zeroBytes(std::uint64_t word) { return ~(((word & kLow7) + kLow7) | word | kLow7); }

// Number of high bits set in a zeroBytes mask.
unsigned countMarked(std::uint64_t mask) { return static_cast<unsigned>(((mask >> 7) * kOnes) >> 56); }

#if defined(__SSE2__)
// Number of set bits of a 16-bit mask.
unsigned countBits16(unsigned mask) {
    mask = mask - ((mask >> 1) & 0x5555u);
    mask = (mask & 0x3333u) + ((mask >> 2) & 0x3333u);
    mask = (mask + (mask >> 4)) & 0x0F0Fu;
    return (mask + (mask >> 8)) & 0x1Fu;
}

// Mask of the bytes of the 16 at `data` that equal `c`.
unsigned matches16(const char* data, char c) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(c))));
}
#endif

// Offset of the first "\n" or "\r" in [data, data + size), or size.
std::size_t findLineEnd(const char* data, std::size_t size) {
    std::size_t i = 0;
#if defined(__SSE2__)
    for (; i + 16 <= size; i += 16) {
        const unsigned hits = matches16(data + i, '\n') | matches16(data + i, '\r');
        if (hits != 0) return i + static_cast<std::size_t>(std::countr_zero(hits));
    }
#endif
    for (; i + 8 <= size; i += 8) {
        std::uint64_t word;
        std::memcpy(&word, data + i, 8);
        const std::uint64_t hits = zeroBytes(word ^ (kOnes * '\n')) | zeroBytes(word ^ (kOnes * '\r'));
        if (hits != 0) return i + static_cast<std::size_t>(std::countr_zero(hits)) / 8;
    }
    for (; i < size; ++i) {
        if (isLineEnd(data[i])) return i;
    }
    return size;
}

}  // namespace

int openBatchInput(const std::string& path, PresentedError& error) {
    if (path.empty()) {
        error = fileError(path, ENOENT, "no file was chosen");
        return -1;
    }
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        const int e = errno;
        error = fileError(path, e, std::strerror(e));
        return -1;
    }
    struct stat info {};
    if (::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode)) {
        ::close(fd);
        error = fileError(path, EISDIR, std::strerror(EISDIR));
        return -1;
    }
    return fd;
}

BatchLineReader::BatchLineReader(int fd, std::size_t blockSize, bool checkUTF8)
    : fd_(fd), blockSize_(blockSize == 0 ? 1 : blockSize), checkUTF8_(checkUTF8) {
    capacity_ = blockSize_ * 2 < 64 ? 64 : blockSize_ * 2;
    buffer_ = std::make_unique<char[]>(capacity_);
}

BatchLineReader::BatchLineReader(std::string_view text, std::size_t blockSize, bool checkUTF8)
    : BatchLineReader(-1, blockSize, checkUTF8) {
    inMemory_ = true;
    memory_ = text;
}

long BatchLineReader::readSome(char* into, std::size_t count) {
    if (!inMemory_) return static_cast<long>(::read(fd_, into, count));
    const std::size_t n = count < memory_.size() ? count : memory_.size();
    std::memcpy(into, memory_.data(), n);
    memory_.remove_prefix(n);
    return static_cast<long>(n);
}

void BatchLineReader::checkNewBytes() {
    // The rules of firstInvalidUTF8Byte, one sequence at a time; a sequence
    // cut by the end of the bytes read so far waits for the next block.
    const auto* bytes = reinterpret_cast<const unsigned char*>(buffer_.get());
    std::size_t i = checked_;
    while (i < end_) {
#if defined(__SSE2__)
        if (i + 16 <= end_) {
            const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i));
            if (_mm_movemask_epi8(block) == 0) {
                newlines_ += countBits16(matches16(buffer_.get() + i, '\n'));
                i += 16;
                continue;
            }
        }
#endif
        if (i + 8 <= end_) {
            std::uint64_t word;
            std::memcpy(&word, bytes + i, 8);
            if ((word & kHigh) == 0) {
                newlines_ += countMarked(zeroBytes(word ^ (kOnes * '\n')));
                i += 8;
                continue;
            }
        }
        const unsigned char lead = bytes[i];
        if (lead < 0x80) {
            if (lead == '\n') ++newlines_;
            ++i;
            continue;
        }
        const Utf8Lead sequence = Utf8LeadOf(lead);
        const std::size_t length = sequence.length;
        bool bad = length == 0;
        const std::size_t available = end_ - i;
        if (!bad && available >= 2 && (bytes[i + 1] < sequence.low || bytes[i + 1] > sequence.high)) bad = true;
        for (std::size_t k = 2; !bad && k < length && k < available; ++k) {
            if (!IsUtf8Continuation(bytes[i + k])) bad = true;
        }
        if (!bad && available < length) {
            if (!endOfFile_) break;  // the rest of the sequence is in the next block
            bad = true;
        }
        if (bad) {
            stopped_ = true;
            invalidOffset_ = bufferOffset_ + i;
            invalidByte_ = lead;
            newlinesBeforeInvalid_ = newlines_;
            break;
        }
        i += length;
    }
    checked_ = i;
}

void BatchLineReader::trim() {
    const std::size_t normal = blockSize_ * 2 < 64 ? 64 : blockSize_ * 2;
    const std::size_t kept = end_ - cursor_;
    if (capacity_ <= 2 * normal || kept + blockSize_ > normal) return;
    auto smaller = std::make_unique<char[]>(normal);
    std::memcpy(smaller.get(), buffer_.get() + cursor_, kept);
    buffer_ = std::move(smaller);
    capacity_ = normal;
    bufferOffset_ += cursor_;
    checked_ -= cursor_;
    end_ = kept;
    cursor_ = 0;
}

bool BatchLineReader::readBlock() {
    if (endOfFile_ || stopped_) return false;
    if (end_ + blockSize_ > capacity_) {
        // Move the unconsumed bytes to the front; grow for a line longer than the buffer.
        const std::size_t kept = end_ - cursor_;
        if (kept + blockSize_ > capacity_) {
            std::size_t grown = capacity_ * 2;
            while (kept + blockSize_ > grown) grown *= 2;
            auto larger = std::make_unique<char[]>(grown);
            std::memcpy(larger.get(), buffer_.get() + cursor_, kept);
            buffer_ = std::move(larger);
            capacity_ = grown;
        } else {
            std::memmove(buffer_.get(), buffer_.get() + cursor_, kept);
        }
        bufferOffset_ += cursor_;
        checked_ -= cursor_;
        end_ = kept;
        cursor_ = 0;
    }
    for (;;) {
        const long n = readSome(buffer_.get() + end_, blockSize_);
        if (n < 0) {
            if (errno == EINTR) continue;
            error_ = errno;
            stopped_ = true;
            return false;
        }
        if (n == 0) {
            endOfFile_ = true;
            if (checkUTF8_) checkNewBytes();  // a sequence cut by the end of the file
            return false;
        }
        end_ += static_cast<std::size_t>(n);
        if (checkUTF8_) {
            checkNewBytes();
            if (stopped_) return false;
        }
        return true;
    }
}

bool BatchLineReader::ensure(std::size_t count) {
    while (end_ - cursor_ < count) {
        if (!readBlock()) return !stopped_ && end_ - cursor_ >= count;
    }
    return true;
}

bool BatchLineReader::next(StreamLine& line) {
    if (finished_ || stopped_) return false;
    if (!started_) {
        started_ = true;
        ensure(kByteOrderMark.size());
        if (stopped_) return false;
        if (std::string_view(buffer_.get() + cursor_, end_ - cursor_).starts_with(kByteOrderMark)) {
            cursor_ += kByteOrderMark.size();
        }
    }

    // Find the line end; offsets are kept from the cursor, which moves when
    // the buffer is refilled.
    std::size_t scanned = 0;
    std::size_t lineEnd = 0;
    for (;;) {
        const std::size_t found = findLineEnd(buffer_.get() + cursor_ + scanned, end_ - cursor_ - scanned);
        if (cursor_ + scanned + found < end_) {
            lineEnd = scanned + found;
            break;
        }
        scanned = end_ - cursor_;
        if (!readBlock()) {
            if (stopped_) return false;
            // The last piece: whatever follows the last line end (often nothing).
            line.text = std::string_view(buffer_.get() + cursor_, end_ - cursor_);
            line.sourceLine = 1 + lineEndsBefore_;
            cursor_ = end_;
            finished_ = true;
            return true;
        }
    }

    // Up to two line-end characters and the one after them decide how the
    // line ends and how an editor counts it.
    ensure(lineEnd + 3);
    if (stopped_) return false;
    const char* at = buffer_.get() + cursor_ + lineEnd;
    const std::size_t after = end_ - (cursor_ + lineEnd);  // bytes from the line end on
    const auto countsAsLineEnd = [&](std::size_t k) {
        // "\n" ends a line; "\r" does unless "\n" follows it.
        return at[k] == '\n' || !(k + 1 < after && at[k + 1] == '\n');
    };
    std::size_t consumed = 1;
    int ends = countsAsLineEnd(0) ? 1 : 0;
    if (after >= 2 && isLineEnd(at[1])) {
        consumed = 2;
        ends += countsAsLineEnd(1) ? 1 : 0;
    }
    line.text = std::string_view(buffer_.get() + cursor_, lineEnd);
    line.sourceLine = 1 + lineEndsBefore_;
    lineEndsBefore_ += ends;
    cursor_ += lineEnd + consumed;
    return true;
}

PresentedError batchInputError(const std::string& path, const BatchLineReader& reader) {
    if (reader.errorNumber() != 0) return fileError(path, reader.errorNumber(), std::strerror(reader.errorNumber()));
    char detail[160];
    std::snprintf(detail, sizeof detail, "it is not UTF-8 text (byte 0x%02X at offset %llu, line %llu)",
                  static_cast<unsigned>(reader.invalidUTF8Byte()),
                  static_cast<unsigned long long>(reader.invalidUTF8Offset()),
                  static_cast<unsigned long long>(reader.newlinesBeforeInvalidByte() + 1));
    return fileError(path, EILSEQ, detail);
}

}  // namespace brinora
