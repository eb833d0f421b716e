#include "cli/option_flags.h"

#include <cstdio>

#include "app/option_titles.h"
#include "app/settings_keys.h"
#include "cli/stored_settings.h"

namespace brinora::cli {

const std::array<OptionFlagInfo, 4> kOptionFlags = {{
    {OptionMenu::kConstants, "--constants", settings::kCO2ConstantsInt, options::kConstantsSetTitles,
     "the carbonic-acid constants set"},
    {OptionMenu::kKHSO4, "--khso4", settings::kKHSO4Int, options::kKHSO4Titles, "the KHSO4 constant"},
    {OptionMenu::kpHScale, "--ph-scale", settings::kpHScaleInt, options::kpHScaleTitles, "the pH scale"},
    {OptionMenu::kFlux, "--flux", settings::kAirSeaFluxInt, options::kAirSeaFluxTitles, "the air-sea flux formula"},
}};

std::string OptionFlagInfo::describe(int item) const {
    if (item < 1 || item > lastItem()) return std::to_string(item);
    return std::to_string(item) + " (" + std::string(titles[static_cast<std::size_t>(item)]) + ")";
}

CLI::Validator optionChoiceCheck(OptionMenu menu) {
    return CLI::Validator(
        [menu](std::string& text) -> std::string {
            const OptionChoice choice = parseOptionChoice(menu, text);
            if (choice.item == 0) return choice.error;
            text = std::to_string(choice.item);
            return {};
        },
        "", "OPTION CHOICE");
}

std::string optionChoicesHelp(bool storedSettings) {
    std::string text =
        "--constants, --khso4, --ph-scale and --flux take a number or a title from the lists below, in\n"
        "any case; a title may be shortened to any beginning that fits it alone (--constants lueker).\n";
    if (storedSettings) {
        text += std::string(
                    "An option not given comes from the desktop program's stored settings, or from the INI\n"
                    "file that ") +
                kSettingsFileVariable +
                " names; a note on stderr says which value was used (-q leaves\n"
                "it out).\n";
    }
    for (const OptionFlagInfo& flag : kOptionFlags) {
        text += std::string("  ") + flag.name + "\n";
        for (int item = 1; item <= flag.lastItem(); ++item) {
            char number[16];
            std::snprintf(number, sizeof number, "%6d  ", item);
            text += number + std::string(flag.titles[static_cast<std::size_t>(item)]) + "\n";
        }
    }
    return text;
}

}  // namespace brinora::cli
