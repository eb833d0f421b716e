// The window as a careful user meets it: runs refused while an option is on
// "Select...", the batch tab's Calculate after a visit to the constants page,
// completion alerts that count what was written.
#include <QProcess>
#include <QProcessEnvironment>

#include "engine/slots.h"
#include "gui/help_viewer.h"
#include "records/output_record.h"
#include "gui_fixture.h"

namespace brinora::testing {
namespace {

const std::string kInputHeader =
    "SampleID,Name,Time,Date,Latitude,Longitude,Salinity,Temperature,Pressure,Phosphate,Silicate,"
    "TempOut,PressureOut,TA,TCO2,pH,fCO2,pCO2,pCO2air,Windspeed,Comment\n";
const std::string kTwoSamples =
    kInputHeader +
    "1,Station A,08:15:00,03/14/2024,26.5,-80.1,36.1,26.4,0,0.1,1.8,25,0,2381.5,2049.3,,,,415,6.2,surface\n"
    "2,Station B,14:05:00,03/14/2024,26.8,-79.6,36.0,26.8,0,0.1,1.6,0,0,2378.9,,8.05,,,415,7.9,pH pair\n";

const std::string kSelectMessage =
    "To perform the calculation, Brinora needs constants, scales, and units supplied by the user. Click "
    "\"Select...\" to provide these parameters.";

class CarefulWindowTest : public WindowTest {
protected:
    // The batch tab in front with its two path fields filled, the output
    // file holding its header line.
    void prepareBatch() {
        input = path("cruise.csv");
        output = path("cruise_Brinora.csv");
        writeText(input, kTwoSamples);
        writeText(output, std::string(dataFileHeaders()));
        window->switchToBatchProcessing();
        window->setText(TextField::PathField, input.toStdString());
        window->setText(TextField::PathFieldOut, output.toStdString());
    }
    QString input;
    QString output;
};

TEST_F(CarefulWindowTest, TheBatchRunIsRefusedWhileAnOptionIsOnSelect) {
    chooseOptions();
    choose(Menu::pHScale, 0);
    prepareBatch();
    click(window->calculateButton());
    ASSERT_TRUE(waitForBatchRun());
    EXPECT_EQ(messages(), std::vector<std::string>{kSelectMessage});
    EXPECT_TRUE(dialogs.alerts.empty()) << dialogs.alerts.front().messageText;
    EXPECT_EQ(readText(output), std::string(dataFileHeaders())) << "no record is written";
}

TEST_F(CarefulWindowTest, WriteKmlIsRefusedWhileAnOptionIsOnSelect) {
    // A fresh window: every option on "Select...".
    ASSERT_EQ(window->menu(Menu::CO2Constants)->currentIndex(), 0);
    writeText(path("cruise.csv"), kTwoSamples);
    dialogs.openAnswers.push_back({path("cruise.csv").toStdString()});
    dialogs.saveAnswers.push_back(path("cruise.kml").toStdString());
    window->switchToBatchProcessing();
    click(child("writeKML"));
    ASSERT_TRUE(waitForBatchRun());
    EXPECT_EQ(messages(), std::vector<std::string>{kSelectMessage});
    EXPECT_TRUE(dialogs.openRequests.empty()) << "refused before the input is asked for";
    EXPECT_TRUE(dialogs.alerts.empty());
    EXPECT_FALSE(QFile::exists(path("cruise.kml")));
}

TEST_F(CarefulWindowTest, ChooseOutputIsRefusedWhileAnOptionIsOnSelect) {
    chooseOptions();
    choose(Menu::AirSeaFlux, 0);
    window->switchToBatchProcessing();
    dialogs.saveAnswers.push_back(path("cruise_Brinora.csv").toStdString());
    click(child("selectCSVtoOutput"));
    EXPECT_EQ(messages(), std::vector<std::string>{kSelectMessage});
    EXPECT_TRUE(dialogs.saveRequests.empty()) << "refused before the output file is asked for";
    EXPECT_FALSE(QFile::exists(path("cruise_Brinora.csv"))) << "no header line is written";
    EXPECT_EQ(window->text(TextField::PathFieldOut), "");
}

TEST_F(CarefulWindowTest, TheBatchTabCalculatesAfterItsConstantsButton) {
    chooseOptions();
    prepareBatch();
    click(child("batchConstants"));
    EXPECT_EQ(window->selectedTab(TabView::DataConstants), 1) << "the constants page is shown";
    window->switchToBatchProcessing();
    click(window->calculateButton());
    ASSERT_TRUE(waitForBatchRun());
    EXPECT_EQ(messages(), std::vector<std::string>{});
    ASSERT_EQ(dialogs.alerts.size(), 1u);
    EXPECT_EQ(dialogs.alerts[0].messageText, "Batch Processing of File Completed");
    EXPECT_EQ(dialogs.alerts[0].informativeText, "File Input:\n" + input.toStdString() + "\n\nFile Output:\n" +
                                                     output.toStdString() + "\n\n2 records were written.");
}

TEST_F(CarefulWindowTest, TheFormOnItsConstantsPageStillSaysToReturnToTheData) {
    chooseOptions();
    typeSample();
    window->switchToConstants();
    click(window->calculateButton());
    EXPECT_EQ(messages(), std::vector<std::string>{"Return to the data input tab to perform the calculation"});
}

TEST_F(CarefulWindowTest, TheKmlAlertCountsItsPlacemarks) {
    chooseOptions();
    writeText(path("cruise.csv"), kTwoSamples);
    dialogs.openAnswers.push_back({path("cruise.csv").toStdString()});
    dialogs.saveAnswers.push_back(path("cruise.kml").toStdString());
    window->switchToBatchProcessing();
    click(child("writeKML"));
    ASSERT_TRUE(waitForBatchRun());
    ASSERT_EQ(dialogs.alerts.size(), 1u);
    EXPECT_EQ(dialogs.alerts[0].informativeText, "Input: " + path("cruise.csv").toStdString() + "\n\nOutput: " +
                                                     path("cruise.kml").toStdString() +
                                                     "\n\n2 placemarks were written.");
}

TEST_F(CarefulWindowTest, TheKmlDocumentIsTheCommandLinesByteForByte) {
    chooseOptions();  // constants 13, KHSO4 1, pH scale 1, flux 1
    writeText(path("cruise.csv"), kTwoSamples);
    dialogs.openAnswers.push_back({path("cruise.csv").toStdString()});
    dialogs.saveAnswers.push_back(path("desktop.kml").toStdString());
    window->switchToBatchProcessing();
    click(child("writeKML"));
    ASSERT_TRUE(waitForBatchRun());
    ASSERT_EQ(dialogs.alerts.size(), 1u);
    EXPECT_EQ(dialogs.alerts[0].messageText, "CSV to KML Processing Completed");

    QProcess cli;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("BRINORA_SETTINGS_FILE"), path("cli.ini"));
    cli.setProcessEnvironment(environment);
    cli.start(QStringLiteral(BRINORA_BINARY),
              {QStringLiteral("kml"), path("cruise.csv"), QStringLiteral("-o"), path("cli.kml"),
               QStringLiteral("--constants"), QStringLiteral("13"), QStringLiteral("--khso4"), QStringLiteral("1"),
               QStringLiteral("--ph-scale"), QStringLiteral("1"), QStringLiteral("--flux"), QStringLiteral("1")});
    ASSERT_TRUE(cli.waitForFinished(60000));
    ASSERT_EQ(cli.exitCode(), 0) << cli.readAllStandardError().toStdString();
    const std::string desktop = readText(path("desktop.kml"));
    const std::string commandLine = readText(path("cli.kml"));
    ASSERT_FALSE(commandLine.empty());
    EXPECT_EQ(desktop.size(), commandLine.size());
    EXPECT_TRUE(desktop == commandLine) << "the documents differ from byte "
                                        << std::mismatch(desktop.begin(), desktop.end(), commandLine.begin(),
                                                         commandLine.end()).first - desktop.begin();
    EXPECT_NE(desktop.find("<Folder id=\"CO2Results\"><name>Results</name><Placemark>"), std::string::npos)
        << "the first placemark follows the header without a line end";
}

TEST_F(CarefulWindowTest, AKmlDocumentIsNeverWrittenOverTheInputItReads) {
    chooseOptions();
    writeText(path("cruise.csv"), kTwoSamples);
    dialogs.openAnswers.push_back({path("cruise.csv").toStdString()});
    dialogs.saveAnswers.push_back(path("cruise.csv").toStdString());
    window->switchToBatchProcessing();
    click(child("writeKML"));
    ASSERT_TRUE(waitForBatchRun());
    EXPECT_EQ(readText(path("cruise.csv")), kTwoSamples) << "the input is as it was";
    EXPECT_TRUE(dialogs.alerts.empty()) << dialogs.alerts.front().messageText;
    EXPECT_EQ(window->core().failedWrites, 1);
    EXPECT_NE(window->core().lastWriteError.find("\"" + path("cruise.csv").toStdString() + "\""), std::string::npos)
        << window->core().lastWriteError;
    EXPECT_EQ(window->core().placemarksWritten, 0);
}

TEST_F(CarefulWindowTest, AFieldReadAsZeroIsAskedAboutBeforeCalculating) {
    chooseOptions();
    typeSample();
    type(slot::kTA, "x1");
    click(window->calculateButton());
    ASSERT_EQ(dialogs.questions.size(), 1u);
    EXPECT_EQ(dialogs.questions[0].messageText, "A field holds no number.");
    EXPECT_EQ(dialogs.questions[0].informativeText,
              "TA: “x1” is not a number and is read as 0.\n\nCalculate with 0 in place of it?");
    EXPECT_EQ(dialogs.questions[0].acceptButton, "Calculate with 0");
    EXPECT_EQ(dialogs.questions[0].rejectButton, "Cancel");
    EXPECT_EQ(shown(slot::kTAOut), "") << "declined: nothing is calculated";

    dialogs.questionAnswers = {true};
    click(window->calculateButton());
    EXPECT_EQ(dialogs.questions.size(), 2u);
    EXPECT_EQ(shown(slot::kTAOut), "0.000") << "accepted: calculated with TA = 0";

    // "12a" is read as 12, not 0: no question.
    type(slot::kTA, "2300a");
    click(window->calculateButton());
    EXPECT_EQ(dialogs.questions.size(), 2u);
    EXPECT_EQ(shown(slot::kpHIn), "8.043");
}

TEST_F(CarefulWindowTest, CalculateAndClearAreOffOnTheGraphTab) {
    window->switchToGraph();
    EXPECT_FALSE(window->calculateButton()->isEnabled());
    EXPECT_FALSE(window->clearButton()->isEnabled());
    window->switchToBatchProcessing();
    EXPECT_TRUE(window->calculateButton()->isEnabled());
    EXPECT_TRUE(window->clearButton()->isEnabled());
}

TEST_F(CarefulWindowTest, CancelShowsOnlyBesideARunningProgressBar) {
    window->switchToBatchProcessing();
    QApplication::processEvents();
    EXPECT_TRUE(window->progressIndicator()->isHidden());
    EXPECT_TRUE(window->cancelBatchButton()->isHidden());
    EXPECT_EQ(window->cancelBatchButton()->sizePolicy().horizontalPolicy(), QSizePolicy::Fixed);
}

TEST_F(CarefulWindowTest, TheHelpStartPageDoesNotRepeatTheBookTitle) {
    window->showHelp_MainHelp();
    EXPECT_EQ(window->helpViewer()->windowTitle().toStdString(), "Brinora Help");
    window->showHelpPage(QStringLiteral("batch-input"));
    EXPECT_EQ(window->helpViewer()->windowTitle().toStdString().rfind("Brinora Help — ", 0), 0u);
}

}  // namespace
}  // namespace brinora::testing
