// Plain file handling of the batch subsystem: reading a whole UTF-8 text,
// cutting it into lines and fields, writing a new file atomically and
// appending one record with a single write.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "batch/ui.h"

namespace brinora {

// A whole text file, or why it could not be read.
struct TextFileContents {
    bool ok = false;
    std::string text;      // the file's text, without a leading UTF-8 byte-order mark
    PresentedError error;  // when !ok: what went wrong, with the path
};

// Reads the file at `path` as UTF-8 text. Fails for a missing or unreadable
// file, a directory, and bytes that are not UTF-8 (domain "BrinoraFile", the
// code is the errno value or EILSEQ).
TextFileContents readUTF8TextFile(const std::string& path);

// Byte offset of the first byte of `text` that breaks UTF-8, or npos when the
// whole text is well-formed UTF-8.
std::size_t firstInvalidUTF8Byte(std::string_view text);

// One line of a batch file after line-end normalisation.
struct TextLine {
    std::string text;    // the line without its line end
    int sourceLine = 1;  // 1-based line number in the file as an editor counts it
};

// Normalises line ends as batch files are read: every "\r" becomes "\n", then
// every "\n\n" becomes "\n" (one pass, left to right), then the text is split
// at every "\n". A final line end leaves an empty last piece.
std::vector<TextLine> splitBatchLines(std::string_view text);

// The comma-separated fields of `line`, without quoting or escaping.
std::vector<std::string> splitFields(std::string_view line);

// Number of non-empty names in a header line.
int countHeaderNames(std::string_view headerLine);

// Result of a file write.
struct WriteResult {
    bool ok = false;
    int errorNumber = 0;  // errno of the failing step when !ok
    std::string message;  // "what: reason" when !ok
};

// Replaces the file at `path` with `content` atomically: written aside in the
// same folder, flushed, then renamed over `path` (see AsideFile). A replaced
// file keeps its permission bits.
WriteResult writeFileAtomically(const std::string& path, std::string_view content);

// Appends `bytes` to the existing file at `path` with a single write on a
// file opened for appending (never created here), so that records of other
// processes appending to the same file never fall inside it. A write that
// fails part way is cut back while it is still at the end of the file, so
// the file only ever gains whole records.
WriteResult appendToExistingFile(const std::string& path, std::string_view bytes);

// Last component of `path`, without its extension ("a/b/c.csv" -> "c").
std::string fileStem(std::string_view path);
// `path` without its last component ("a/b/c.csv" -> "a/b"; "c.csv" -> "").
std::string directoryOf(std::string_view path);
// `path` without the extension of its last component ("a/b/c.csv" -> "a/b/c").
std::string withoutExtension(std::string_view path);
// `path` with a leading `home` folder shown as "~".
std::string abbreviateWithTilde(std::string_view path, std::string_view home);

}  // namespace brinora
