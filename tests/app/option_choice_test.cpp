// Option choices given as text: menu item numbers and titles.
#include <gtest/gtest.h>

#include <string>

#include "app/option_choice.h"

namespace brinora {
namespace {

OptionChoice parse(OptionMenu menu, std::string_view text) { return parseOptionChoice(menu, text); }

void expectItem(OptionMenu menu, std::string_view text, int item) {
    const OptionChoice choice = parse(menu, text);
    EXPECT_EQ(choice.item, item) << text << ": " << choice.error;
    EXPECT_EQ(choice.error, "") << text;
}

TEST(OptionChoice, ItemNumbersOfEveryMenu) {
    expectItem(OptionMenu::kConstants, "1", 1);
    expectItem(OptionMenu::kConstants, "13", 13);
    expectItem(OptionMenu::kConstants, "14", 14);
    expectItem(OptionMenu::kKHSO4, "2", 2);
    expectItem(OptionMenu::kpHScale, "4", 4);
    expectItem(OptionMenu::kFlux, "3", 3);
    // Leading zeros, a plus sign and outer blanks are read as a user means them.
    expectItem(OptionMenu::kConstants, "013", 13);
    expectItem(OptionMenu::kConstants, "+7", 7);
    expectItem(OptionMenu::kpHScale, " 2\t", 2);
}

TEST(OptionChoice, FullTitlesInAnyCase) {
    expectItem(OptionMenu::kConstants, "Lueker et al. (2000) total scale", 13);
    expectItem(OptionMenu::kConstants, "LUEKER ET AL. (2000) TOTAL SCALE", 13);
    expectItem(OptionMenu::kKHSO4, "Khoo et al. (1977)", 2);
    expectItem(OptionMenu::kpHScale, "nbs scale", 4);
    expectItem(OptionMenu::kFlux, "Ho et al. (2006)", 3);
    // A full title that begins two longer ones is that title, not an ambiguity.
    expectItem(OptionMenu::kConstants, "Millero et al. (2002)", 9);
    // Inner runs of blanks count as one.
    expectItem(OptionMenu::kpHScale, "free    scale", 3);
}

TEST(OptionChoice, UniquePrefixes) {
    expectItem(OptionMenu::kConstants, "lueker", 13);
    expectItem(OptionMenu::kConstants, "Roy", 1);
    expectItem(OptionMenu::kConstants, "millero (2010", 14);
    expectItem(OptionMenu::kConstants, "Millero et al. (2002) pK2 corrected for T", 11);
    expectItem(OptionMenu::kpHScale, "Total", 1);
    expectItem(OptionMenu::kpHScale, "s", 2);
    expectItem(OptionMenu::kKHSO4, "d", 1);
    expectItem(OptionMenu::kFlux, "wann", 1);
    expectItem(OptionMenu::kFlux, "NIGHT", 2);
}

TEST(OptionChoice, AmbiguousPrefixListsTheCandidates) {
    OptionChoice choice = parse(OptionMenu::kConstants, "Hansson");
    EXPECT_EQ(choice.item, 0);
    EXPECT_EQ(choice.error,
              "\"Hansson\" fits more than one item: 3 \"Hansson (1973) refit by Dickson and Millero (1987)\", "
              "5 \"Hansson and Mehrbach refit by Dickson and Millero (1987)\"; give more of the title or the number");

    choice = parse(OptionMenu::kConstants, "millero e");
    EXPECT_EQ(choice.item, 0);
    EXPECT_EQ(choice.error,
              "\"millero e\" fits more than one item: 9 \"Millero et al. (2002)\", 10 \"Millero et al. (2002) pK2 "
              "corrected for fCO2\", 11 \"Millero et al. (2002) pK2 corrected for TCO2\"; give more of the title or "
              "the number");
}

TEST(OptionChoice, OutOfRangeNumbers) {
    EXPECT_EQ(parse(OptionMenu::kConstants, "15").error, "there is no item \"15\"; the items are 1..14");
    EXPECT_EQ(parse(OptionMenu::kKHSO4, "0").error, "there is no item \"0\"; the items are 1..2");
    EXPECT_EQ(parse(OptionMenu::kpHScale, "-1").error, "there is no item \"-1\"; the items are 1..4");
    EXPECT_EQ(parse(OptionMenu::kFlux, "00004").error, "there is no item \"00004\"; the items are 1..3");
    EXPECT_EQ(parse(OptionMenu::kFlux, "4294967297").item, 0);
}

TEST(OptionChoice, ThreeHundredDigitsAreNotEchoed) {
    const std::string digits = "1" + std::string(299, '0');
    const OptionChoice choice = parse(OptionMenu::kConstants, digits);
    EXPECT_EQ(choice.item, 0);
    EXPECT_EQ(choice.error, "there is no item \"10000000000000000000000000000000...\" (300 characters); the items "
                            "are 1..14");
    // A huge number of leading zeros before a valid item is still that item.
    expectItem(OptionMenu::kConstants, std::string(300, '0') + "12", 12);
}

TEST(OptionChoice, GarbageSaysSoBriefly) {
    EXPECT_EQ(parse(OptionMenu::kConstants, "Smith").error,
              "\"Smith\" is neither an item number (1..14) nor the beginning of a title");
    EXPECT_EQ(parse(OptionMenu::kpHScale, "1.0").error,
              "\"1.0\" is neither an item number (1..4) nor the beginning of a title");
    EXPECT_EQ(parse(OptionMenu::kFlux, "").error, "no choice given; give a number 1..3 or a title");
    EXPECT_EQ(parse(OptionMenu::kFlux, "   ").error, "no choice given; give a number 1..3 or a title");
    // The placeholder is no choice.
    EXPECT_EQ(parse(OptionMenu::kKHSO4, "Select...").error,
              "\"Select...\" is neither an item number (1..2) nor the beginning of a title");
    // Control bytes are shown as '?', a long text is cut on a character boundary.
    EXPECT_EQ(parse(OptionMenu::kKHSO4, "a\x1b[2Jb").error,
              "\"a?[2Jb\" is neither an item number (1..2) nor the beginning of a title");
    const std::string longText = std::string(31, 'x') + "\xc3\xa9" + std::string(100, 'y');
    EXPECT_EQ(parse(OptionMenu::kKHSO4, longText).error,
              "\"" + std::string(31, 'x') + "...\" (133 characters) is neither an item number (1..2) nor the "
              "beginning of a title");
}

}  // namespace
}  // namespace brinora
