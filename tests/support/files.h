// Files for the tests: whole contents read and written as bytes, and a
// scratch folder that goes away with everything in it.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>

namespace brinora::testing {

// The whole content of the file at `path` ("" when it cannot be read).
inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// Replaces the content of the file at `path` with `text`.
inline void writeFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
}

// A new folder /tmp/brinora-<name>-XXXXXX, removed with its content (its
// folders made writable first) when the object goes.
class ScratchFolder {
public:
    explicit ScratchFolder(std::string_view name) {
        std::string pattern = "/tmp/brinora-" + std::string(name) + "-XXXXXX";
        if (::mkdtemp(pattern.data()) != nullptr) path_ = pattern;
    }
    ~ScratchFolder() {
        if (path_.empty()) return;
        namespace fs = std::filesystem;
        std::error_code ignored;
        fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ignored);
        for (const auto& entry : fs::recursive_directory_iterator(path_, ignored)) {
            if (entry.is_directory(ignored)) fs::permissions(entry.path(), fs::perms::owner_all, ignored);
        }
        fs::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    // The folder's path ("" when it could not be made).
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

}  // namespace brinora::testing
