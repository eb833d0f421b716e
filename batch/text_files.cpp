#include "batch/text_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "batch/aside_file.h"

namespace brinora {
namespace {

constexpr std::string_view kFileErrorDomain = "BrinoraFile";

std::string errnoText(int errorNumber) { return std::strerror(errorNumber); }

PresentedError fileError(const std::string& path, int errorNumber, const std::string& why) {
    return PresentedError{std::string(kFileErrorDomain), errorNumber,
                          "The file \"" + path + "\" could not be read: " + why};
}

WriteResult failure(const std::string& what, int errorNumber) {
    return WriteResult{false, errorNumber, what + ": " + errnoText(errorNumber)};
}

}  // namespace

std::size_t firstInvalidUTF8Byte(std::string_view text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    const std::size_t size = text.size();
    std::size_t i = 0;
    while (i < size) {
        const unsigned char lead = bytes[i];
        if (lead < 0x80) {
            ++i;
            continue;
        }
        std::size_t length = 0;
        unsigned char low = 0x80, high = 0xBF;  // allowed range of the second byte
        if (lead >= 0xC2 && lead <= 0xDF) {
            length = 2;
        } else if (lead == 0xE0) {
            length = 3, low = 0xA0;  // no overlong forms
        } else if (lead >= 0xE1 && lead <= 0xEC) {
            length = 3;
        } else if (lead == 0xED) {
            length = 3, high = 0x9F;  // no surrogates
        } else if (lead >= 0xEE && lead <= 0xEF) {
            length = 3;
        } else if (lead == 0xF0) {
            length = 4, low = 0x90;
        } else if (lead >= 0xF1 && lead <= 0xF3) {
            length = 4;
        } else if (lead == 0xF4) {
            length = 4, high = 0x8F;  // nothing above U+10FFFF
        } else {
            return i;
        }
        if (i + length > size) return i;
        if (bytes[i + 1] < low || bytes[i + 1] > high) return i;
        for (std::size_t k = 2; k < length; ++k) {
            if (bytes[i + k] < 0x80 || bytes[i + k] > 0xBF) return i;
        }
        i += length;
    }
    return std::string_view::npos;
}

TextFileContents readUTF8TextFile(const std::string& path) {
    TextFileContents result;
    if (path.empty()) {
        result.error = fileError(path, ENOENT, "no file was chosen");
        return result;
    }
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        const int e = errno;
        result.error = fileError(path, e, errnoText(e));
        return result;
    }
    struct stat info {};
    if (::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode)) {
        ::close(fd);
        result.error = fileError(path, EISDIR, errnoText(EISDIR));
        return result;
    }
    std::string text;
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0) {
            if (errno == EINTR) continue;
            const int e = errno;
            ::close(fd);
            result.error = fileError(path, e, errnoText(e));
            return result;
        }
        if (n == 0) break;
        text.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fd);

    const std::size_t bad = firstInvalidUTF8Byte(text);
    if (bad != std::string_view::npos) {
        int line = 1;
        for (std::size_t k = 0; k < bad; ++k) {
            if (text[k] == '\n') ++line;
        }
        char detail[160];
        std::snprintf(detail, sizeof detail,
                      "it is not UTF-8 text (byte 0x%02X at offset %zu, line %d)",
                      static_cast<unsigned char>(text[bad]), bad, line);
        result.error = fileError(path, EILSEQ, detail);
        return result;
    }
    if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
    result.ok = true;
    result.text = std::move(text);
    return result;
}

std::vector<TextLine> splitBatchLines(std::string_view text) {
    // One pass over `text`: a run of two line-end characters ("\r\n", "\n\n",
    // "\r\r", "\n\r") ends one piece, a single one ends one piece, and the
    // pair search goes on after the pair (left to right, not repeated). This
    // is "every \r becomes \n, then every \n\n becomes \n, then split at \n"
    // without a second copy of the text, so a file takes about twice its
    // size while it is cut into lines.
    const auto isLineEnd = [](char c) { return c == '\r' || c == '\n'; };
    const std::size_t size = text.size();
    std::vector<TextLine> lines;
    // Line number, as an editor counts it, of the character at `i`: "\r\n",
    // "\r" and "\n" each end a line.
    int editorLine = 1;
    int pieceLine = 1;
    std::size_t i = 0;
    for (;;) {
        std::size_t end = i;
        while (end < size && !isLineEnd(text[end])) ++end;
        if (end == size) {
            lines.push_back(TextLine{std::string(text.substr(i)), pieceLine});
            return lines;
        }
        lines.push_back(TextLine{std::string(text.substr(i, end - i)), pieceLine});
        const std::size_t step = end + 1 < size && isLineEnd(text[end + 1]) ? 2 : 1;
        for (std::size_t k = end; k < end + step; ++k) {
            if (text[k] == '\n' || !(k + 1 < size && text[k + 1] == '\n')) ++editorLine;
        }
        i = end + step;
        pieceLine = editorLine;
    }
}

std::vector<std::string> splitFields(std::string_view line) {
    std::vector<std::string> fields;
    std::size_t start = 0;
    for (;;) {
        const std::size_t comma = line.find(',', start);
        if (comma == std::string_view::npos) {
            fields.emplace_back(line.substr(start));
            return fields;
        }
        fields.emplace_back(line.substr(start, comma - start));
        start = comma + 1;
    }
}

int countHeaderNames(std::string_view headerLine) {
    int count = 0;
    for (const std::string& name : splitFields(headerLine)) {
        if (!name.empty()) ++count;
    }
    return count;
}

WriteResult writeFileAtomically(const std::string& path, std::string_view content) {
    const std::size_t slash = path.rfind('/');
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const int folderFd = openFolder(directoryOf(path));
    if (folderFd < 0) return failure("cannot create \"" + path + "\"", errno);
    // A file that is replaced keeps its permission bits.
    struct stat old {};
    const bool replacing = ::fstatat(folderFd, name.c_str(), &old, 0) == 0 && S_ISREG(old.st_mode);
    int errorNumber = 0;
    std::unique_ptr<AsideFile> file =
        AsideFile::create(folderFd, replacing ? (old.st_mode & 07777) : 0666, replacing, errorNumber);
    WriteResult result{true, 0, {}};
    if (!file) {
        result = failure("cannot create \"" + path + "\"", errorNumber);
    } else if (!file->write(content, errorNumber)) {
        result = failure("cannot write \"" + path + "\"", errorNumber);
    } else if (!file->publish(name, true, errorNumber)) {
        result = failure((file->published() ? "cannot write \"" : "cannot replace \"") + path + "\"", errorNumber);
    }
    file.reset();
    ::close(folderFd);
    return result;
}

WriteResult appendToExistingFile(const std::string& path, std::string_view bytes) {
    if (path.empty()) return failure("no output file", ENOENT);
    const int fd = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (fd < 0) return failure("cannot open \"" + path + "\"", errno);
    // One write per record (per 2 GiB piece of a larger one, the most one
    // write takes): with O_APPEND the kernel puts it at the end of the file in
    // one step, so no record of another process appending to the file can
    // fall inside it. A short write means the device is full or a size limit
    // is reached; the record is not continued then.
    constexpr std::size_t kLargestWrite = 0x7ffff000;
    std::size_t done = 0;
    int errorNumber = 0;
    while (done < bytes.size()) {
        const std::size_t wanted = std::min(bytes.size() - done, kLargestWrite);
        const ssize_t n = ::write(fd, bytes.data() + done, wanted);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            errorNumber = errno;
            break;
        }
        done += static_cast<std::size_t>(n);
        if (static_cast<std::size_t>(n) < wanted) {
            // Why it stopped: a write of the next byte fails with the reason
            // (or, when room has just appeared, adds that byte, taken away below).
            const ssize_t probe = ::write(fd, bytes.data() + done, 1);
            errorNumber = probe < 0 ? errno : ENOSPC;
            if (probe == 1) ++done;
            break;
        }
    }
    if (errorNumber != 0) {
        // Take the part of the record that was written away again, so that
        // the file ends with a whole record; only while it is still the end
        // of the file (another process may have appended after it).
        const off_t end = ::lseek(fd, 0, SEEK_CUR);
        struct stat now {};
        if (done > 0 && end >= static_cast<off_t>(done) && ::fstat(fd, &now) == 0 && S_ISREG(now.st_mode) &&
            now.st_size == end) {
            (void)!::ftruncate(fd, end - static_cast<off_t>(done));
        }
        ::close(fd);
        return failure("cannot append to \"" + path + "\"", errorNumber);
    }
    if (::close(fd) != 0) return failure("cannot append to \"" + path + "\"", errno);
    return WriteResult{true, 0, {}};
}

std::string fileStem(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
    const std::size_t dot = name.rfind('.');
    if (dot != std::string_view::npos && dot > 0) name = name.substr(0, dot);
    return std::string(name);
}

std::string directoryOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) return {};
    if (slash == 0) return "/";
    return std::string(path.substr(0, slash));
}

std::string withoutExtension(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    const std::size_t nameStart = slash == std::string_view::npos ? 0 : slash + 1;
    const std::size_t dot = path.rfind('.');
    if (dot == std::string_view::npos || dot <= nameStart) return std::string(path);
    return std::string(path.substr(0, dot));
}

std::string abbreviateWithTilde(std::string_view path, std::string_view home) {
    while (home.size() > 1 && home.back() == '/') home.remove_suffix(1);
    if (home.empty() || home == "/") return std::string(path);
    if (path == home) return "~";
    if (path.size() > home.size() && path.starts_with(home) && path[home.size()] == '/') {
        std::string abbreviated = "~";
        abbreviated.append(path.substr(home.size()));
        return abbreviated;
    }
    return std::string(path);
}

}  // namespace brinora
