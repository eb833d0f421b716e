// Path names as the window shows and proposes them: the stem, the folder,
// the name without its extension, the home folder as "~".
#pragma once

#include <string>
#include <string_view>

namespace brinora {

// Last component of `path`, without its extension ("a/b/c.csv" -> "c").
std::string fileStem(std::string_view path);
// `path` without its last component ("a/b/c.csv" -> "a/b"; "c.csv" -> "").
std::string directoryOf(std::string_view path);
// `path` without the extension of its last component ("a/b/c.csv" -> "a/b/c").
std::string withoutExtension(std::string_view path);
// `path` with a leading `home` folder shown as "~".
std::string abbreviateWithTilde(std::string_view path, std::string_view home);

}  // namespace brinora
