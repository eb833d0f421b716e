// The desktop window tells the user what it does: refused samples, leniently
// read numbers, the wind-speed units after the settings migration, the batch
// tab's Clear, the window size, tab order and labels.
#include <QGroupBox>
#include <QScrollArea>
#include <QStatusBar>

#include "engine/slots.h"
#include "gui_fixture.h"

namespace brinora::testing {
namespace {

using TruthfulWindowTest = WindowTest;

TEST_F(TruthfulWindowTest, ARefusedSampleClearsTheResultsAndSaysWhy) {
    chooseOptions();
    typeSample();
    click(window->calculateButton());
    ASSERT_EQ(shown(slot::kpHIn), "8.043") << "the first sample is calculated";
    const QString out = path("out.csv");
    writeText(out, "header\n");
    window->core().fullPathOut = out.toStdString();
    window->checkBox()->setChecked(true);

    window->switchToInput();
    type(slot::kTA, "-2300");
    ASSERT_EQ(window->inputField(slot::kTA)->QLineEdit::text().toStdString(), "-2300");
    click(window->calculateButton());
    EXPECT_EQ(messages(), std::vector<std::string>{"Nothing was calculated: TA is negative. The results were "
                                                   "cleared and nothing was written to the output file."});
    EXPECT_EQ(shown(slot::kpHIn), "");
    EXPECT_EQ(shown(slot::kTCO2Out), "");
    EXPECT_EQ(readText(out), "header\n");
}

TEST_F(TruthfulWindowTest, TextThatIsNotANumberIsMarkedAndExplained) {
    type(slot::kSalinity, "x1");
    InputTextField* salinity = window->inputField(slot::kSalinity);
    EXPECT_TRUE(salinity->property("lenientReading").toBool());
    EXPECT_EQ(salinity->toolTip().toStdString(), "“x1” is not a number and is read as 0.");
    EXPECT_EQ(window->statusBar()->currentMessage().toStdString(), "Salinity: “x1” is not a number and is read as 0.");

    type(slot::kTemperature, "12a");
    EXPECT_EQ(window->inputField(slot::kTemperature)->toolTip().toStdString(), "“12a” is read as 12; the rest is ignored.");

    type(slot::kSalinity, "35 ");
    EXPECT_FALSE(salinity->property("lenientReading").toBool());
    EXPECT_EQ(salinity->toolTip().toStdString(), "");
    EXPECT_EQ(InputTextField::lenientReadingNoteFor(QStringLiteral("-1.5e3")).toStdString(), "");
}

TEST_F(TruthfulWindowTest, AfterTheMigrationTheWindUnitsMenuShowsMetresPerSecond) {
    delegate.reset();
    store->setValue("plistVersionNumber", "1.3");
    store->setValue("windSpeedUnitsInt", "1");
    store->setValue("WindSpeedUnits_selection", "knots");
    BrinoraApp_GUIAppDelegate again(*store);
    again.applicationDidFinishLaunching();
    EXPECT_EQ(store->value("windspeedUnitsInt"), "0");
    EXPECT_EQ(again.window()->menu(Menu::WindSpeedUnits)->currentIndex(), 0);
    EXPECT_EQ(store->value("windSpeedUnitsInt"), "0");
    EXPECT_EQ(store->value("WindSpeedUnits_selection"), "m/s");

    again.window()->menu(Menu::WindSpeedUnits)->setCurrentIndex(1);
    EXPECT_EQ(store->value("windspeedUnitsInt"), "1");
    EXPECT_EQ(store->value("windSpeedUnitsInt"), "1");
}

TEST_F(TruthfulWindowTest, ClearOnTheBatchTabClearsTheBatchTab) {
    typeSample();
    window->switchToBatchProcessing();
    window->setText(TextField::PathField, "/data/cruise.csv");
    window->setText(TextField::PathFieldOut, "/data/cruise_Brinora.csv");
    window->core().filesToOpen = {"/data/cruise.csv"};
    window->core().fullPath = "/data/cruise.csv";
    window->core().fullPathOut = "/data/cruise_Brinora.csv";
    click(window->clearButton());
    EXPECT_EQ(window->text(TextField::PathField), "");
    EXPECT_EQ(window->text(TextField::PathFieldOut), "");
    EXPECT_TRUE(window->core().filesToOpen.empty());
    EXPECT_EQ(window->core().fullPath, "");
    EXPECT_EQ(window->core().fullPathOut, "");
    // The form keeps its sample.
    EXPECT_EQ(window->inputField(slot::kSalinity)->QLineEdit::text().toStdString(), "35");
}

TEST_F(TruthfulWindowTest, TheWindowFitsASmallLaptopScreenAndScrolls) {
    // Each page scrolls under its tab bar; the window itself can be small.
    for (const char* page : {"inputPageScroll", "constantsPageScroll", "batchPageScroll",
                             "resultsInputPageScroll", "resultsOutputPageScroll"}) {
        EXPECT_NE(window->findChild<QScrollArea*>(QString::fromLatin1(page)), nullptr) << page;
    }
    const QSize minimum = window->minimumSizeHint();
    EXPECT_LE(minimum.width(), 1366);
    EXPECT_LE(minimum.height(), 700);
    window->resize(1300, 680);
    QApplication::processEvents();
    EXPECT_LE(window->height(), 700);
}

TEST_F(TruthfulWindowTest, TabOrderFollowsTheInputPage) {
    std::vector<std::string> names;
    QWidget* widget = window->inputField(slot::kSalinity);
    while (names.size() < 16) {
        names.push_back(widget->objectName().toStdString());
        do {
            widget = widget->nextInFocusChain();
        } while (!(widget->focusPolicy() & Qt::TabFocus));
    }
    EXPECT_EQ(names, (std::vector<std::string>{"salinity", "temperature", "pressure", "phosphate", "silicate",
                                               "outputTemperature", "outputPressure", "TA", "TCO2", "pH", "fCO2",
                                               "pCO2", "pCO2air", "windspeed", "WindSpeedUnits", "cruiseName"}));
}

TEST_F(TruthfulWindowTest, ButtonsHaveAcceleratorsAndLabelsTheirSubscripts) {
    EXPECT_EQ(window->calculateButton()->text().toStdString(), "&Calculate");
    EXPECT_EQ(window->clearButton()->text().toStdString(), "C&lear");
    std::vector<std::string> labels;
    for (const QLabel* label : window->findChildren<QLabel*>()) labels.push_back(label->text().toStdString());
    for (const char* expected : {"CO₂ constants", "KHSO₄", "CO₃²⁻", "HCO₃⁻", "pCO₂ of the a&ir"}) {
        EXPECT_NE(std::find(labels.begin(), labels.end(), expected), labels.end()) << expected;
    }
    // Short labels carry Unicode sub- and superscripts, which are never clipped.
    for (const std::string& text : labels) {
        if (text.size() < 60) {
            EXPECT_EQ(text.find("<sub>"), std::string::npos) << text;
        }
    }
    std::vector<std::string> groups;
    for (const QGroupBox* box : window->findChildren<QGroupBox*>()) groups.push_back(box->title().toStdString());
    EXPECT_NE(std::find(groups.begin(), groups.end(), "Air-sea CO₂ flux"), groups.end());
}

}  // namespace
}  // namespace brinora::testing
