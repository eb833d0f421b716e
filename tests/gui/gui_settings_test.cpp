// The stored settings in QSettings: the start-up cases on a temporary INI
// file, and the option menus bound to their keys.
#include <QFile>
#include <QStandardPaths>

#include "gui_fixture.h"
#include "tests/support/settings_cases.h"

namespace brinora::testing {
namespace {

class QSettingsCases : public ::testing::Test {
protected:
    QSettingsCases() : store(folder.filePath(QStringLiteral("brinora.ini"))) {}
    QTemporaryDir folder;
    QSettingsStore store;
};

TEST_F(QSettingsCases, FirstStartWithEmptyStore) { checkFirstStart(store); }
TEST_F(QSettingsCases, OlderLayoutResetsOptionMenus) { checkMigrationFromOlderLayout(store); }
TEST_F(QSettingsCases, CurrentLayoutKeepsValues) { checkCurrentLayoutKept(store); }
TEST_F(QSettingsCases, RemovedWindUnitsKeyWritesUpperCaseKey) { checkRemovedWindUnitsKey(store); }
TEST_F(QSettingsCases, UnexpectedVersionMigrates) { checkUnexpectedVersion(store); }

TEST_F(QSettingsCases, KeysDifferingOnlyInCaseAreDistinct) {
    store.setValue("windspeedUnitsInt", "1");
    store.setValue("windSpeedUnitsInt", "2");
    EXPECT_EQ(store.value("windspeedUnitsInt"), "1");
    EXPECT_EQ(store.value("windSpeedUnitsInt"), "2");
}

TEST_F(QSettingsCases, ValuesReachTheFileAsText) {
    registerAndMigrateSettings(store);
    store.synchronize();
    QSettingsStore reopened(folder.filePath(QStringLiteral("brinora.ini")));
    EXPECT_EQ(reopened.value("plistVersionNumber"), "1.4");
    EXPECT_EQ(reopened.value("Open_Path"), "~/Documents");
    EXPECT_EQ(reopened.value("coordinateFormatSelection"), "decimal degrees");
    EXPECT_EQ(reopened.value("NumberOfLinesInPreview"), "5");
}

TEST(QSettingsStoreLocation, UserStoreIsBrinoraUnderTheTestLocation) {
    QSettingsStore user;
    EXPECT_EQ(user.settings().organizationName().toStdString(), "Brinora");
    EXPECT_EQ(user.settings().applicationName().toStdString(), "Brinora");
    // The test main moved every user-scope settings file into a temporary folder.
    EXPECT_FALSE(user.settings().fileName().startsWith(QDir::homePath() + QStringLiteral("/.config")));
}

TEST_F(WindowTest, DelegateRegisteredTheSettingsBeforeTheWindow) {
    EXPECT_EQ(store->value("plistVersionNumber"), "1.4");
    EXPECT_EQ(store->value("NumberOfLinesInPreview"), "5");
    EXPECT_EQ(window->menu(Menu::CO2Constants)->currentIndex(), 0);
    EXPECT_EQ(window->menu(Menu::CruiseLongitudeEW)->currentText().toStdString(), "W");
    EXPECT_EQ(window->menu(Menu::CruiseLatitudeNS)->currentText().toStdString(), "N");
    EXPECT_TRUE(window->isVisible());
}

TEST_F(WindowTest, OptionMenusAreStoredAndRestored) {
    chooseOptions(12, 2, 3, 2);
    choose(Menu::WindSpeedUnits, 1);
    choose(Menu::CoordinateFormat, 1);
    choose(Menu::CruiseLatitudeNS, 1);
    choose(Menu::CruiseLongitudeEW, 0);
    EXPECT_EQ(store->value("co2constantsInt"), "12");
    EXPECT_EQ(store->value("khso4Int"), "2");
    EXPECT_EQ(store->value("pHScaleInt"), "3");
    EXPECT_EQ(store->value("airSeaFluxInt"), "2");
    EXPECT_EQ(store->value("windSpeedUnitsInt"), "1");
    EXPECT_EQ(store->value("WindSpeedUnits_selection"), "knots");
    EXPECT_EQ(store->value("coordinateFormatInt"), "1");
    EXPECT_EQ(store->value("coordinateFormatSelection"), "degrees with hemisphere letter");
    EXPECT_EQ(store->value("coordinatePickerNS"), "1");
    EXPECT_EQ(store->value("coordinatePickerEW"), "0");

    // A second start over the same store shows the same choices.
    delegate.reset();
    BrinoraApp_GUIAppDelegate again(*store);
    again.applicationDidFinishLaunching();
    BrinoraAppController* second = again.window();
    EXPECT_EQ(second->menu(Menu::CO2Constants)->currentIndex(), 12);
    EXPECT_EQ(second->menu(Menu::KHSO4)->currentIndex(), 2);
    EXPECT_EQ(second->menu(Menu::pHScale)->currentIndex(), 3);
    EXPECT_EQ(second->menu(Menu::AirSeaFlux)->currentIndex(), 2);
    EXPECT_EQ(second->menu(Menu::WindSpeedUnits)->currentIndex(), 1);
    EXPECT_EQ(second->menu(Menu::CoordinateFormat)->currentIndex(), 1);
    EXPECT_EQ(second->menu(Menu::CruiseLatitudeNS)->currentIndex(), 1);
    EXPECT_EQ(second->menu(Menu::CruiseLongitudeEW)->currentIndex(), 0);
}

TEST_F(WindowTest, OlderLayoutStartsWithTheOptionMenusOnTheirPlaceholders) {
    delegate.reset();
    store->setValue("plistVersionNumber", "1.3");
    store->setValue("co2constantsInt", "13");
    store->setValue("coordinatePickerEW", "0");
    BrinoraApp_GUIAppDelegate again(*store);
    again.applicationDidFinishLaunching();
    EXPECT_EQ(again.window()->menu(Menu::CO2Constants)->currentIndex(), 0);
    EXPECT_EQ(again.window()->menu(Menu::CruiseLongitudeEW)->currentIndex(), 0);
}

TEST_F(WindowTest, StoredMenuIndexOutOfRangeShowsThePlaceholder) {
    delegate.reset();
    store->setValue("co2constantsInt", "99");
    BrinoraApp_GUIAppDelegate again(*store);
    again.applicationDidFinishLaunching();
    EXPECT_EQ(again.window()->menu(Menu::CO2Constants)->currentIndex(), 0);
}

}  // namespace
}  // namespace brinora::testing
