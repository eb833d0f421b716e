// The four option flags --constants, --khso4, --ph-scale and --flux as every
// subcommand reads them: a menu item number or a title, and the help text
// that lists the titles with their numbers.
#pragma once

#include <CLI/CLI.hpp>

#include <array>
#include <span>
#include <string>
#include <string_view>

#include "app/option_choice.h"

namespace brinora::cli {

// One option flag: what it chooses, its titles (item 0 the placeholder) and
// the stored setting that holds its menu index.
struct OptionFlagInfo {
    OptionMenu menu;
    const char* name;                          // "--constants"
    std::string_view settingsKey;              // "co2constantsInt"
    std::span<const std::string_view> titles;  // item k at position k
    const char* what;                          // "the carbonic-acid constants set"

    int lastItem() const { return static_cast<int>(titles.size()) - 1; }
    // "13 (Lueker et al. (2000) total scale)".
    std::string describe(int item) const;
};

// In the order of the option slots: constants set, KHSO4, pH scale, air-sea flux.
extern const std::array<OptionFlagInfo, 4> kOptionFlags;

// Turns the flag's text into its item number (parseOptionChoice), or fails
// with parseOptionChoice's message.
CLI::Validator optionChoiceCheck(OptionMenu menu);

// Help footer: how the four flags are given and their numbered titles. With
// `storedSettings`, also where an option not given comes from.
std::string optionChoicesHelp(bool storedSettings);

}  // namespace brinora::cli
