// The real main window driven as a person would: typing, choosing, clicking.
#include <QRegularExpression>
#include <QTimer>

#include <cmath>
#include <cstdio>

#include "app/option_titles.h"
#include "records/output_record.h"
#include "constants/process_values.h"
#include "engine/compute_co2.h"
#include "engine/slots.h"
#include "gui/preview_window.h"
#include "gui_fixture.h"

namespace brinora::testing {
namespace {

std::string formatted(float value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.3f", static_cast<double>(value));
    return text;
}

const std::string kSelectMessage =
    "To perform the calculation, Brinora needs constants, scales, and units supplied by the user. "
    "Click \"Select...\" to provide these parameters.";
const std::string kInsufficientMessage =
    "To perform the calculation, Brinora needs values for salinity, temperature, and at least two "
    "carbonate parameters from the second column.";

TEST_F(WindowTest, OpensOnTheInputTabWithEveryFieldBound) {
    EXPECT_EQ(window->tabWidget(TabView::SingleBatch)->currentIndex(), 0);
    EXPECT_EQ(window->tabWidget(TabView::DataConstants)->currentIndex(), 0);
    EXPECT_EQ(window->tabWidget(TabView::Main)->currentIndex(), 0);
    EXPECT_EQ(window->tabWidget(TabView::Sub)->currentIndex(), 0);
    for (std::uint32_t tag = 11; tag <= 24; ++tag) EXPECT_NE(window->inputField(tag), nullptr) << tag;
    for (std::uint32_t tag = 30; tag <= 72; ++tag) {
        if (tag == 51 || tag == 68) continue;
        EXPECT_FALSE(window->outputFields(tag).empty()) << "no output field for slot " << tag;
    }
    EXPECT_TRUE(window->progressIndicator()->isHidden());
    EXPECT_TRUE(window->batchPreviewTable()->isHidden());
    // Option menus use the shared titles, item 0 the placeholder.
    EXPECT_EQ(window->menu(Menu::CO2Constants)->count(), 15);
    EXPECT_EQ(window->menu(Menu::CO2Constants)->itemText(0).toStdString(), "Select...");
    EXPECT_EQ(window->menu(Menu::CO2Constants)->itemText(13).toStdString(),
              std::string(options::kConstantsSetTitles[13]));
    EXPECT_EQ(window->menu(Menu::WindSpeedUnits)->itemText(1).toStdString(), "knots");
}

TEST_F(WindowTest, TypedSampleIsCalculatedAndShownWithThreeDecimals) {
    chooseOptions();
    typeSample();
    click(window->calculateButton());
    ASSERT_TRUE(dialogs.errors.empty()) << dialogs.errors.front().localizedDescription;

    Board board;
    board.set(slot::kConstantsSet, 12.0f);
    board.set(slot::kSalinity, 35.0f);
    board.set(slot::kTemperature, 25.0f);
    board.set(slot::kPhosphate, 1.0f);
    board.set(slot::kSilicate, 10.0f);
    board.set(slot::kTA, 2300.0f);
    board.set(slot::kTCO2, 2000.0f);
    ProcessValues values;
    ASSERT_TRUE(BrinoraMain::ComputeCO2(board, values).computed());
    for (std::uint32_t tag = 30; tag <= 72; ++tag) {
        for (OutputTextField* field : window->outputFields(tag)) {
            EXPECT_EQ(field->QLineEdit::text().toStdString(), formatted(board.get(tag))) << "slot " << tag;
        }
    }
    EXPECT_EQ(shown(slot::kTAOut), "2300.000");
    EXPECT_EQ(shown(slot::kSalinityUsed), "35.000");
    EXPECT_EQ(window->tabWidget(TabView::Main)->currentIndex(), 1);
    EXPECT_EQ(window->tabWidget(TabView::Sub)->currentIndex(), 0);
}

TEST_F(WindowTest, OutputConditionsBringTheOutputResultsForward) {
    chooseOptions();
    typeSample();
    type(16, "2");
    type(17, "4000");
    click(window->calculateButton());
    EXPECT_EQ(window->tabWidget(TabView::Main)->currentIndex(), 1);
    EXPECT_EQ(window->tabWidget(TabView::Sub)->currentIndex(), 1);
    EXPECT_EQ(shown(slot::kTemperatureOutUsed), "2.000");
    EXPECT_EQ(shown(slot::kPressureOutUsed), "4000.000");
    EXPECT_NE(shown(slot::kpHOut), shown(slot::kpHIn));
}

TEST_F(WindowTest, ConstantsTabInFrontOnlyAsksToReturn) {
    chooseOptions();
    typeSample();
    window->switchToConstants();
    click(window->calculateButton());
    EXPECT_EQ(messages(), std::vector<std::string>{"Return to the data input tab to perform the calculation"});
    EXPECT_EQ(shown(slot::kpHIn), "");
    EXPECT_EQ(window->tabWidget(TabView::DataConstants)->currentIndex(), 1);
}

TEST_F(WindowTest, CommaInSampleInformationIsRefused) {
    chooseOptions();
    typeSample();
    typeInto(TextField::CruiseComment, "Niskin 3, surface");
    click(window->calculateButton());
    EXPECT_EQ(messages(), std::vector<std::string>{"Please remove commas from the sample information text boxes."});
    EXPECT_EQ(shown(slot::kpHIn), "");

    dialogs.errors.clear();
    typeInto(TextField::CruiseComment, "Niskin 3");
    typeInto(TextField::CruiseName, "St 4,5");
    click(window->calculateButton());
    EXPECT_EQ(messages(), std::vector<std::string>{"Please remove commas from the sample information text boxes."});
}

TEST_F(WindowTest, PlaceholderOptionIsRefused) {
    typeSample();
    click(window->calculateButton());
    EXPECT_EQ(messages(), std::vector<std::string>{kSelectMessage});
    for (const Menu menu : {Menu::CO2Constants, Menu::KHSO4, Menu::pHScale, Menu::AirSeaFlux}) {
        dialogs.errors.clear();
        chooseOptions();
        choose(menu, 0);
        click(window->calculateButton());
        EXPECT_EQ(messages(), std::vector<std::string>{kSelectMessage});
    }
    EXPECT_EQ(shown(slot::kpHIn), "");
}

TEST_F(WindowTest, FluxInputsMustComeTogether) {
    chooseOptions();
    typeSample();
    type(24, "8");
    click(window->calculateButton());
    EXPECT_EQ(messages(), std::vector<std::string>{"pCO2air is required to calculate Air-Sea flux"});

    dialogs.errors.clear();
    window->inputField(24)->QLineEdit::clear();
    type(23, "400");
    click(window->calculateButton());
    EXPECT_EQ(messages(), std::vector<std::string>{"Windspeed is required to calculate Air-Sea flux"});

    dialogs.errors.clear();
    type(24, "8");
    click(window->calculateButton());
    EXPECT_TRUE(dialogs.errors.empty());
    EXPECT_NE(shown(slot::kCO2FluxIn), "0.000");
}

TEST_F(WindowTest, MissingSalinityOrTemperatureIsRefused) {
    chooseOptions();
    type(12, "25");
    type(18, "2300");
    type(19, "2000");
    click(window->calculateButton());
    EXPECT_EQ(messages(), std::vector<std::string>{kInsufficientMessage});
    EXPECT_NE(std::find(logLines.begin(), logLines.end(), "Insufficient data to perform the calculation"),
              logLines.end());

    dialogs.errors.clear();
    type(11, "35");
    window->inputField(12)->QLineEdit::clear();
    click(window->calculateButton());
    EXPECT_EQ(messages(), std::vector<std::string>{kInsufficientMessage});
}

TEST_F(WindowTest, ClearEmptiesTheFormAndTheBoard) {
    chooseOptions();
    typeSample();
    type(23, "400");
    type(24, "8");
    typeInto(TextField::CruiseName, "Station 9");
    click(window->calculateButton());
    ASSERT_EQ(shown(slot::kTAOut), "2300.000");
    click(window->clearButton());
    for (std::uint32_t pos = 0; pos < Board::kSize; ++pos) EXPECT_EQ(slotValue(pos), 0.0f) << pos;
    for (std::uint32_t tag = 11; tag <= 24; ++tag) EXPECT_TRUE(window->inputField(tag)->QLineEdit::text().isEmpty()) << tag;
    for (std::uint32_t tag = 30; tag <= 72; ++tag) {
        for (OutputTextField* field : window->outputFields(tag)) EXPECT_TRUE(field->QLineEdit::text().isEmpty()) << tag;
    }
    EXPECT_EQ(window->menu(Menu::CO2Constants)->currentIndex(), 13) << "Clear keeps the options";
}

TEST_F(WindowTest, KnotsAreConvertedToMetresPerSecond) {
    chooseOptions();
    typeSample();
    type(23, "400");
    type(24, "10");
    choose(Menu::WindSpeedUnits, 1);
    click(window->calculateButton());
    ASSERT_TRUE(dialogs.errors.empty());
    EXPECT_EQ(slotValue(slot::kWindSpeed), static_cast<float>(10.0 * 0.5144));
    EXPECT_EQ(formatted(slotValue(slot::kWindSpeed)), "5.144");
    EXPECT_EQ(window->inputField(24)->QLineEdit::text().toStdString(), "10") << "the typed value stays";

    choose(Menu::WindSpeedUnits, 0);
    click(window->calculateButton());
    EXPECT_EQ(formatted(slotValue(slot::kWindSpeed)), "10.000");
}

TEST_F(WindowTest, FormRecordIsAppendedToANewOutputFile) {
    const QString out = path("station.csv");
    dialogs.saveAnswers.push_back(out.toStdString());
    typeInto(TextField::CruiseName, "Station 7");
    click(child("newFileForOutput"));
    ASSERT_EQ(dialogs.saveRequests.size(), 1u);
    EXPECT_EQ(dialogs.saveRequests[0].proposedName, "Station 7.csv");
    EXPECT_EQ(dialogs.saveRequests[0].requiredType, "csv");
    EXPECT_EQ(dialogs.saveRequests[0].directory, "~/Documents");
    EXPECT_TRUE(window->checkBox()->isChecked());
    EXPECT_EQ(readText(out), std::string(dataFileHeaders()));
    EXPECT_FALSE(window->textField(TextField::PathField2)->text().isEmpty());

    window->textField(TextField::CruiseName)->clear();
    chooseOptions();
    typeSample();
    typeInto(TextField::CruiseLatitude, "12.5");
    typeInto(TextField::CruiseLongitude, "45");
    click(window->calculateButton());
    const std::string content = readText(out);
    ASSERT_EQ(content.rfind(std::string(dataFileHeaders()), 0), 0u);
    const std::string record = content.substr(dataFileHeaders().size());
    EXPECT_EQ(record.rfind("0,-,00:00:00,1/1/1900,12.5,45,35.000,25.000,0.000,1.000,10.000,2300.000,2000.000,", 0), 0u)
        << record;
    EXPECT_NE(record.find(",Lueker et al. (2000) total scale,Dickson (1990),Total scale,Wanninkhof (1992),m/s,\n"),
              std::string::npos)
        << record;
}

TEST_F(WindowTest, ProposedNameWithoutSampleNameCarriesDateAndTime) {
    click(child("newFileForOutput"));
    ASSERT_EQ(dialogs.saveRequests.size(), 1u);
    const QString name = QString::fromStdString(dialogs.saveRequests[0].proposedName);
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^Brinora \\d\\d-\\d\\d-\\d\\d \\d\\d\\.\\d\\d\\.csv$"))
                    .match(name)
                    .hasMatch())
        << name.toStdString();
    EXPECT_FALSE(window->checkBox()->isChecked()) << "cancelled panel";
}

TEST_F(WindowTest, RecordsAreAddedToAnExistingFile) {
    const QString out = path("existing.csv");
    writeText(out, "earlier content\n");
    dialogs.openAnswers.push_back({out.toStdString()});
    click(child("openFileForOutput"));
    ASSERT_EQ(dialogs.openRequests.size(), 1u);
    EXPECT_EQ(dialogs.openRequests[0].allowedTypes, std::vector<std::string>{"csv"});
    EXPECT_TRUE(window->checkBox()->isChecked());
    chooseOptions();
    typeSample();
    typeInto(TextField::CruiseName, "Station 8");
    window->datePicker(DatePicker::CruiseDate)->setDate(QDate(2023, 7, 4));
    click(window->calculateButton());
    const std::string content = readText(out);
    EXPECT_EQ(content.rfind("earlier content\n0,00:00:00,07/04/2023,", 0), 0u) << content;
}

TEST_F(WindowTest, NowButtonsSetTheDatePickers) {
    window->datePicker(DatePicker::CruiseDate)->setDate(QDate(2001, 1, 1));
    window->datePicker(DatePicker::CruiseTime)->setTime(QTime(3, 4, 5));
    click(child("getCurrentDate"));
    click(child("getCurrentTime"));
    EXPECT_EQ(window->datePicker(DatePicker::CruiseDate)->date(), QDate::currentDate());
    EXPECT_LE(std::abs(window->datePicker(DatePicker::CruiseTime)->time().secsTo(QTime::currentTime())), 2);
}

TEST_F(WindowTest, ConstantsItemsSevenAndEightMoveThePHScaleToNBS) {
    chooseOptions(5, 1, 1, 1);
    QComboBox* constants = window->menu(Menu::CO2Constants);
    constants->setFocus();
    QTest::keyClick(constants, Qt::Key_Down);  // item 6: index minus 1 is 5
    EXPECT_EQ(constants->currentIndex(), 6);
    EXPECT_EQ(window->menu(Menu::pHScale)->currentIndex(), 1);
    QTest::keyClick(constants, Qt::Key_Down);  // item 7: index minus 1 is 6
    EXPECT_EQ(window->menu(Menu::pHScale)->currentIndex(), 4);
    choose(Menu::pHScale, 1);
    QTest::keyClick(constants, Qt::Key_Down);  // item 8: index minus 1 is 7
    EXPECT_EQ(window->menu(Menu::pHScale)->currentIndex(), 4);
    EXPECT_EQ(store->value("pHScaleInt"), "4");
    choose(Menu::pHScale, 2);
    QTest::keyClick(constants, Qt::Key_Down);  // item 9
    EXPECT_EQ(window->menu(Menu::pHScale)->currentIndex(), 2);
}

TEST_F(WindowTest, FluxFieldsSayRequiredOnceOneIsFilled) {
    QLineEdit* pCO2air = window->textField(TextField::PCO2Air);
    QLineEdit* wind = window->textField(TextField::Windspeed);
    EXPECT_EQ(pCO2air->placeholderText().toStdString(), "optional");
    wind->setFocus();
    QTest::keyClicks(wind, "7");
    QTest::keyClick(wind, Qt::Key_Return);
    EXPECT_EQ(pCO2air->placeholderText().toStdString(), "required");
    EXPECT_EQ(wind->placeholderText().toStdString(), "required");
    EXPECT_NE(std::find(logLines.begin(), logLines.end(), "CO2FluxRequired function called"), logLines.end());
    wind->clear();
    QTest::keyClick(wind, Qt::Key_Return);
    EXPECT_EQ(pCO2air->placeholderText().toStdString(), "optional");
}

TEST_F(WindowTest, TabActionsSelectTheirPages) {
    window->switchToBatchProcessing();
    EXPECT_EQ(window->tabWidget(TabView::SingleBatch)->currentIndex(), 1);
    window->switchToResultsOutputConditions();
    EXPECT_EQ(window->tabWidget(TabView::SingleBatch)->currentIndex(), 0);
    EXPECT_EQ(window->tabWidget(TabView::Main)->currentIndex(), 1);
    EXPECT_EQ(window->tabWidget(TabView::Sub)->currentIndex(), 1);
    window->switchToResultsInputConditions();
    EXPECT_EQ(window->tabWidget(TabView::Sub)->currentIndex(), 0);
    window->switchToConstants();
    EXPECT_EQ(window->tabWidget(TabView::DataConstants)->currentIndex(), 1);
    window->switchToInput();
    EXPECT_EQ(window->tabWidget(TabView::DataConstants)->currentIndex(), 0);
    EXPECT_EQ(window->tabWidget(TabView::Main)->currentIndex(), 0);
}

TEST_F(WindowTest, PHUnitLabelsNameTheChosenScale) {
    choose(Menu::pHScale, 3);
    const auto labels = window->findChildren<QLabel*>(QStringLiteral("pHUnit"));
    ASSERT_EQ(labels.size(), 3);
    for (const QLabel* label : labels) EXPECT_EQ(label->text().toStdString(), "Free scale");
}

}  // namespace
}  // namespace brinora::testing
