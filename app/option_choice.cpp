#include "app/option_choice.h"

#include <cctype>
#include <span>
#include <string>

#include "app/option_titles.h"

namespace brinora {
namespace {

struct Menu {
    const char* name;
    std::span<const std::string_view> titles;  // item 0 is the placeholder
};

Menu menuOf(OptionMenu menu) {
    switch (menu) {
        case OptionMenu::kConstants:
            return {"constants set", options::kConstantsSetTitles};
        case OptionMenu::kKHSO4:
            return {"KHSO4 constant", options::kKHSO4Titles};
        case OptionMenu::kpHScale:
            return {"pH scale", options::kpHScaleTitles};
        case OptionMenu::kFlux:
            return {"air-sea flux formula", options::kAirSeaFluxTitles};
    }
    return {"option", {}};
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
    return text;
}

bool startsWithIgnoringCase(std::string_view title, std::string_view prefix) {
    if (prefix.size() > title.size()) return false;
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(title[i])) !=
            std::tolower(static_cast<unsigned char>(prefix[i]))) {
            return false;
        }
    }
    return true;
}

}  // namespace

OptionChoice parseOptionChoice(OptionMenu menu, std::string_view text) {
    const Menu m = menuOf(menu);
    const int items = static_cast<int>(m.titles.size()) - 1;
    const std::string_view wanted = trimmed(text);
    const std::string range = "1.." + std::to_string(items);
    if (wanted.empty()) {
        return {0, std::string("no ") + m.name + " given: a menu item " + range + " or a title"};
    }

    // A menu item number.
    bool allDigits = true;
    for (char c : wanted) allDigits = allDigits && std::isdigit(static_cast<unsigned char>(c));
    if (allDigits) {
        int item = 0;
        for (char c : wanted) {
            item = item * 10 + (c - '0');
            if (item > items) break;
        }
        if (item < 1 || item > items) {
            return {0, std::string("unknown ") + m.name + " '" + std::string(wanted) +
                           "': the menu items are " + range};
        }
        return {item, {}};
    }

    // A title or a unique prefix of one; an exact title wins over longer ones.
    int found = 0;
    int matches = 0;
    for (int item = 1; item <= items; ++item) {
        const std::string_view title = m.titles[static_cast<std::size_t>(item)];
        if (!startsWithIgnoringCase(title, wanted)) continue;
        if (title.size() == wanted.size()) return {item, {}};
        found = item;
        ++matches;
    }
    if (matches == 1) return {found, {}};
    if (matches == 0) {
        return {0, std::string("unknown ") + m.name + " '" + std::string(wanted) +
                       "': give a menu item " + range + " or the start of a title"};
    }
    return {0, std::string("ambiguous ") + m.name + " '" + std::string(wanted) + "': " +
                   std::to_string(matches) + " titles begin so"};
}

}  // namespace brinora
