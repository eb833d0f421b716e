// A new file written atomically: aside in its folder, flushed, then renamed
// into place.
#pragma once

#include <string>
#include <string_view>

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

}  // namespace brinora
