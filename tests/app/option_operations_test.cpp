#include <gtest/gtest.h>

#include <set>

#include "app/option_titles.h"
#include "app/settings_keys.h"
#include "tests/support/controller_fixture.h"

namespace brinora {
namespace {

using testing::ControllerTest;

const std::string kSelectMessage =
    "To perform the calculation, Brinora needs constants, scales, and units supplied by the user. "
    "Click \"Select...\" to provide these parameters.";

class OptionsTest : public ControllerTest {};

TEST_F(OptionsTest, UpdateConstantsWritesIndexMinusOne) {
    chooseOptions(13, 2, 3, 1);
    core.updateConstants();
    Engine* board = Engine::sharedInstance();
    EXPECT_EQ(board->getFieldValueAtPos(1), 12.0f);
    EXPECT_EQ(board->getFieldValueAtPos(2), 1.0f);
    EXPECT_EQ(board->getFieldValueAtPos(3), 2.0f);
    EXPECT_EQ(board->getFieldValueAtPos(4), 0.0f);
    EXPECT_EQ(logLines, (std::vector<std::string>{"updating constants...",
                                                  "CO2Constants: 13\nKHSO4: 2\npHScale: 3\nAirSeaFlux: 1",
                                                  "Constants updated!"}));
}

TEST_F(OptionsTest, PlaceholderWritesMinusOne) {
    core.updateConstants();
    for (std::uint32_t pos = 1; pos <= 4; ++pos) EXPECT_EQ(Engine::sharedInstance()->getFieldValueAtPos(pos), -1.0f);
}

TEST_F(OptionsTest, KnotsAreConvertedOnTheForm) {
    Engine* board = Engine::sharedInstance();
    board->setFieldValueAtPos(24, 10.0f);
    ui.selectItem(Menu::WindSpeedUnits, 1);
    core.batchWriteMode = 0;
    core.updateConstants();
    EXPECT_EQ(board->getFieldValueAtPos(24), 5.144f);
    EXPECT_EQ(board->getFieldValueAtPos(24), static_cast<float>(10.0 * 0.5144));
}

TEST_F(OptionsTest, MetresPerSecondStay) {
    Engine* board = Engine::sharedInstance();
    board->setFieldValueAtPos(24, 10.0f);
    ui.selectItem(Menu::WindSpeedUnits, 0);
    core.updateConstants();
    EXPECT_EQ(board->getFieldValueAtPos(24), 10.0f);
}

TEST_F(OptionsTest, BatchWindSpeedIsNeverConverted) {
    Engine* board = Engine::sharedInstance();
    board->setFieldValueAtPos(24, 10.0f);
    ui.selectItem(Menu::WindSpeedUnits, 1);
    core.batchWriteMode = 1;
    core.updateConstants();
    EXPECT_EQ(board->getFieldValueAtPos(24), 10.0f);
}

TEST_F(OptionsTest, AnyPlaceholderGivesTheSelectMessage) {
    for (const Menu menu : {Menu::CO2Constants, Menu::KHSO4, Menu::pHScale, Menu::AirSeaFlux}) {
        chooseOptions();
        ui.setText(TextField::PCO2Air, "400");
        ui.setText(TextField::Windspeed, "5");
        ui.selectItem(menu, 0);
        presented.clear();
        logLines.clear();
        EXPECT_FALSE(core.checkForConstants());
        ASSERT_EQ(presented.size(), 1u);
        EXPECT_EQ(presented[0].domain, "BrinoraApp");
        EXPECT_EQ(presented[0].code, 0);
        EXPECT_EQ(presented[0].localizedDescription, kSelectMessage);
        EXPECT_EQ(logLines, std::vector<std::string>{kSelectMessage});
    }
}

TEST_F(OptionsTest, FluxInputs) {
    chooseOptions();
    EXPECT_TRUE(core.checkForConstants());  // both empty
    EXPECT_TRUE(presented.empty());

    ui.setText(TextField::Windspeed, "5");
    EXPECT_FALSE(core.checkForConstants());
    ASSERT_EQ(presented.size(), 1u);
    EXPECT_EQ(presented[0].localizedDescription, "pCO2air is required to calculate Air-Sea flux");
    EXPECT_TRUE(logged("pCO2air is required to calculate Air-Sea flux"));

    ui.setText(TextField::Windspeed, "");
    ui.setText(TextField::PCO2Air, "400");
    EXPECT_FALSE(core.checkForConstants());
    ASSERT_EQ(presented.size(), 2u);
    EXPECT_EQ(presented[1].localizedDescription, "Windspeed is required to calculate Air-Sea flux");
    EXPECT_EQ(presented[1].domain, "BrinoraApp");
    EXPECT_TRUE(logged("Windspeed is required to calculate Air-Sea flux"));

    ui.setText(TextField::Windspeed, "5");
    EXPECT_TRUE(core.checkForConstants());
    EXPECT_EQ(presented.size(), 2u);
}

TEST_F(OptionsTest, ConstantsSetsSevenAndEightMoveThePHScaleToNBS) {
    for (int item = 1; item <= 14; ++item) {
        ui.selectItem(Menu::pHScale, 1);
        ui.selectItem(Menu::CO2Constants, item);
        core.CO2selected();
        const int expected = (item == 7 || item == 8) ? 4 : 1;
        EXPECT_EQ(ui.selectedIndex(Menu::pHScale), expected) << "constants item " << item;
    }
    EXPECT_EQ(ui.selectedTitle(Menu::pHScale), "Total scale");
    ui.selectItem(Menu::CO2Constants, 8);
    core.CO2selected();
    EXPECT_EQ(ui.selectedTitle(Menu::pHScale), "NBS scale");
}

TEST_F(OptionsTest, FluxInputPlaceholders) {
    core.CO2FluxRequired();
    EXPECT_EQ(ui.placeholders[TextField::PCO2Air], "optional");
    EXPECT_EQ(ui.placeholders[TextField::Windspeed], "optional");
    EXPECT_TRUE(logged("CO2FluxRequired function called"));
    ui.setText(TextField::Windspeed, "3");
    core.CO2FluxRequired();
    EXPECT_EQ(ui.placeholders[TextField::PCO2Air], "required");
    EXPECT_EQ(ui.placeholders[TextField::Windspeed], "required");
}

template <std::size_t N>
void expectPlainTitles(const std::array<std::string_view, N>& titles) {
    std::set<std::string_view> seen;
    for (const auto title : titles) {
        EXPECT_FALSE(title.empty());
        EXPECT_EQ(title.find(','), std::string_view::npos) << title;
        EXPECT_TRUE(seen.insert(title).second) << "twice: " << title;
    }
}

TEST(OptionTitles, OneTitlePerCodeAndNoCommas) {
    EXPECT_EQ(options::kConstantsSetTitles.size(), 15u);
    EXPECT_EQ(options::kKHSO4Titles.size(), 3u);
    EXPECT_EQ(options::kpHScaleTitles.size(), 5u);
    EXPECT_EQ(options::kAirSeaFluxTitles.size(), 4u);
    EXPECT_EQ(options::kConstantsSetTitles[0], "Select...");
    EXPECT_EQ(options::kConstantsSetTitles[13], "Lueker et al. (2000) total scale");
    EXPECT_EQ(options::kKHSO4Titles[1], "Dickson (1990)");
    EXPECT_EQ(options::kKHSO4Titles[2], "Khoo et al. (1977)");
    EXPECT_EQ(options::kpHScaleTitles[4], "NBS scale");
    EXPECT_EQ(options::kAirSeaFluxTitles[1], "Wanninkhof (1992)");  // flux code 0
    EXPECT_EQ(options::kAirSeaFluxTitles[3], "Ho et al. (2006)");    // flux code 2
    EXPECT_EQ(options::kWindSpeedUnitsTitles[0], "m/s");
    EXPECT_EQ(options::kWindSpeedUnitsTitles[1], "knots");
    expectPlainTitles(options::kConstantsSetTitles);
    expectPlainTitles(options::kKHSO4Titles);
    expectPlainTitles(options::kpHScaleTitles);
    expectPlainTitles(options::kAirSeaFluxTitles);
    expectPlainTitles(options::kWindSpeedUnitsTitles);
    expectPlainTitles(options::kCoordinateFormatTitles);
    expectPlainTitles(options::kLatitudeHemisphereTitles);
    expectPlainTitles(options::kLongitudeHemisphereTitles);
}

TEST(SettingsKeys, DefaultsInRegistrationOrder) {
    EXPECT_EQ(settings::kDefaults.front().first, "co2constantsInt");
    EXPECT_EQ(settings::kDefaults.back().first, "NumberOfLinesInPreview");
    EXPECT_EQ(settings::kDefaults.back().second, "5");
    EXPECT_EQ(settings::kWindSpeedUnitsInt, "windSpeedUnitsInt");
    EXPECT_EQ(settings::kWindspeedUnitsIntLegacy, "windspeedUnitsInt");
}

}  // namespace
}  // namespace brinora
