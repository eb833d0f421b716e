// Plain file handling: writing a new file atomically, and path names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brinora {

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

// Last component of `path`, without its extension ("a/b/c.csv" -> "c").
std::string fileStem(std::string_view path);
// `path` without its last component ("a/b/c.csv" -> "a/b"; "c.csv" -> "").
std::string directoryOf(std::string_view path);
// `path` without the extension of its last component ("a/b/c.csv" -> "a/b/c").
std::string withoutExtension(std::string_view path);
// `path` with a leading `home` folder shown as "~".
std::string abbreviateWithTilde(std::string_view path, std::string_view home);

}  // namespace brinora
