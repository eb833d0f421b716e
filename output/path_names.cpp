#include "output/path_names.h"

namespace brinora {

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
