// Plain restatements of the batch input rules, for tests and fuzz targets to
// check the streaming reader against: the whole text read at once, checked
// as UTF-8, cut into pieces and fields by string operations.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "app/ui.h"

namespace brinora::reference {

// One piece of a batch file after line-end normalisation.
struct TextLine {
    std::string text;    // the piece without its line end
    int sourceLine = 1;  // 1-based line number in the file as an editor counts it
};

// A whole text file, or why it could not be read.
struct TextFileContents {
    bool ok = false;
    std::string text;      // without a leading UTF-8 byte-order mark
    PresentedError error;  // when !ok
};

inline PresentedError fileError(const std::string& path, int errorNumber, const std::string& why) {
    return PresentedError{"BrinoraFile", errorNumber, "The file \"" + path + "\" could not be read: " + why};
}

inline std::string errnoText(int e) { return std::strerror(e); }

// Offset of the first byte of `text` that breaks UTF-8, or npos.
inline std::size_t firstInvalidUTF8Byte(std::string_view text) {
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

// The file at `path` as UTF-8 text.
inline TextFileContents readUTF8TextFile(const std::string& path) {
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

// Every "\r" made "\n", then "\n\n" made "\n" in one left-to-right pass, then
// a split at "\n"; a final line end leaves an empty last piece.
inline std::vector<TextLine> splitBatchLines(std::string_view text) {
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

// The comma-separated fields of `line`, without quoting or escaping.
inline std::vector<std::string> splitFields(std::string_view line) {
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

}  // namespace brinora::reference
