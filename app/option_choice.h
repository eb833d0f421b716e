// A choice of one of the four option menus given as text, as a user types it
// on the command line or passes it from a script: the menu item number or the
// item's title. Toolkit-free; the titles are those of app/option_titles.h.
#pragma once

#include <string>
#include <string_view>

namespace brinora {

enum class OptionMenu { kConstants, kKHSO4, kpHScale, kFlux };

struct OptionChoice { int item = 0; std::string error; };  // menu item number 1..N; item 0 and a message on error

// Accepts a menu item number ("13") or a menu title, case-insensitively, by a unique prefix
// ("lueker", "Total", "wann"); an ambiguous prefix lists the candidates; an unknown text or an
// out-of-range number says so briefly (never echoes more than ~40 characters of the input).
OptionChoice parseOptionChoice(OptionMenu menu, std::string_view text);

}  // namespace brinora
