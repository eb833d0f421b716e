// Reading an option choice given as text: a menu item number or a menu title.
#pragma once

#include <string>
#include <string_view>

namespace brinora {

enum class OptionMenu { kConstants, kKHSO4, kpHScale, kFlux };

// The chosen menu item (1..N), or item 0 and a message saying what was wrong.
struct OptionChoice {
    int item = 0;
    std::string error;
};

// Accepts a menu item number ("13") or a menu title (app/option_titles.h),
// case-insensitively, by a unique prefix.
OptionChoice parseOptionChoice(OptionMenu menu, std::string_view text);

}  // namespace brinora
