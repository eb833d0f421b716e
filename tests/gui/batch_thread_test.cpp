// The batch tab's runs on their own thread: the window keeps answering and
// drawing during a large run, Cancel stops it after whole records, the output
// is the command line's byte for byte, and a run tells how it ended, uses the
// files that its fields show and asks before adding a batch a second time.
#include <QProcess>
#include <QProcessEnvironment>
#include <QTimer>

#include <algorithm>
#include <set>

#include "app/controller_core.h"
#include "records/output_record.h"
#include "gui_fixture.h"
#include "tests/support/batch_input.h"

namespace brinora::testing {
namespace {

const std::string kInputHeader = brinora::testing::kInputHeader + "\n";

// Sample line `k` of a generated cruise: every value moves with k, and the
// carbonate pair changes between TA-TCO2, TA-pH and TCO2-pCO2.
std::string generatedLine(int k) {
    char line[256];
    const double salinity = 30.0 + (k % 101) * 0.05;
    const double temperature = (k % 307) * 0.1;
    const int pressure = (k % 9) * 500;
    switch (k % 3) {
        case 0:
            std::snprintf(line, sizeof line,
                          "%d,St %d,08:%02d:00,03/14/2024,26.5,-80.1,%.2f,%.1f,%d,0.5,4.0,25,0,%d,%d,,,,415,6.5,"
                          "bottle %d\n",
                          k, k / 24, k % 60, salinity, temperature, pressure, 2250 + k % 97, 1950 + k % 89, k);
            break;
        case 1:
            std::snprintf(line, sizeof line,
                          "%d,St %d,09:%02d:00,03/14/2024,26.5,-80.1,%.2f,%.1f,%d,1.0,10.0,,,%d,,%.3f,,,400,8,x\n",
                          k, k / 24, k % 60, salinity, temperature, pressure, 2280 + k % 53,
                          7.90 + (k % 31) * 0.01);
            break;
        default:
            std::snprintf(line, sizeof line, "%d,St %d,10:%02d:00,03/14/2024,26.5,-80.1,%.2f,%.1f,0,0,0,20,100,,%d,,,%d,,,\n",
                          k, k / 24, k % 60, salinity, temperature, 2000 + k % 71, 350 + k % 120);
            break;
    }
    return line;
}

constexpr int kLargeRunLines = 200000;

int countLines(const std::string& text) { return static_cast<int>(std::count(text.begin(), text.end(), '\n')); }

// A large input file, and what `brinora batch` makes of it, made once for the suite.
class LargeCruise {
public:
    static LargeCruise& get() {
        static LargeCruise cruise;
        return cruise;
    }
    QString input() const { return folder_.filePath(QStringLiteral("large.csv")); }
    const std::string& cliOutput() const { return cliOutput_; }
    std::string cliError;

private:
    LargeCruise() {
        std::string text = kInputHeader;
        text.reserve(static_cast<std::size_t>(kLargeRunLines) * 110);
        for (int k = 1; k <= kLargeRunLines; ++k) {
            // Every 5000th line has no sample id: a line the run skips.
            text += k % 5000 == 0 ? std::string(",,,,,,,,,,,,,,,,,,,,\n") : generatedLine(k);
        }
        writeText(input(), text);

        // The command line with the options of chooseOptions(): constants 13,
        // KHSO4 1, pH scale 1, flux 1, and a settings file of its own.
        const QString output = folder_.filePath(QStringLiteral("cli.csv"));
        QProcess cli;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("BRINORA_SETTINGS_FILE"), folder_.filePath(QStringLiteral("cli.ini")));
        cli.setProcessEnvironment(environment);
        cli.start(QStringLiteral(BRINORA_BINARY),
                  {QStringLiteral("batch"), input(), QStringLiteral("-o"), output, QStringLiteral("--constants"),
                   QStringLiteral("13"), QStringLiteral("--khso4"), QStringLiteral("1"),
                   QStringLiteral("--ph-scale"), QStringLiteral("1"), QStringLiteral("--flux"),
                   QStringLiteral("1")});
        if (!cli.waitForFinished(120000) || cli.exitCode() != 0) {
            cliError = "brinora batch failed: " + cli.readAllStandardError().toStdString();
        }
        cliOutput_ = readText(output);
    }

    QTemporaryDir folder_;
    std::string cliOutput_;
};

class BatchThreadTest : public WindowTest {
protected:
    void SetUp() override {
        WindowTest::SetUp();
        chooseOptions();
        window->switchToBatchProcessing();
        output = path("out.csv");
    }

    // The batch tab's fields show `inputPath` and a new output file with its header.
    void showFiles(const QString& inputPath) {
        writeText(output, std::string(dataFileHeaders()));
        window->setText(TextField::PathField, inputPath.toStdString());
        window->setText(TextField::PathFieldOut, output.toStdString());
    }

    QString output;
};

TEST_F(BatchThreadTest, LargeRunKeepsTheWindowAnsweringAndWritesWhatTheCommandLineWrites) {
    LargeCruise& cruise = LargeCruise::get();
    ASSERT_TRUE(cruise.cliError.empty()) << cruise.cliError;
    showFiles(cruise.input());

    // A timer of the window's thread counts its ticks and looks at the window
    // while the run goes.
    int ticksWhileRunning = 0;
    std::vector<int> barValues;
    bool controlsLocked = true;
    bool tabAnswered = false;
    QTimer timer;
    timer.setInterval(1);
    QObject::connect(&timer, &QTimer::timeout, window, [&] {
        if (!window->batchRunning()) return;
        ++ticksWhileRunning;
        const int value = window->progressIndicator()->value();
        if (barValues.empty() || barValues.back() != value) barValues.push_back(value);
        controlsLocked = controlsLocked && !window->calculateButton()->isEnabled() &&
                         !child("writeKML")->isEnabled() && window->cancelBatchButton()->isEnabled();
        if (ticksWhileRunning == 5) {
            // A click on the batch tab's Constants button is answered at once.
            click(child("batchConstants"));
            tabAnswered = window->tabWidget(TabView::DataConstants)->currentIndex() == 1;
            window->switchToInput();
            window->switchToBatchProcessing();
        }
    });
    timer.start();
    click(window->calculateButton());
    EXPECT_TRUE(window->batchRunning()) << "the run goes on after the click has returned";
    ASSERT_TRUE(waitForBatchRun(240000));
    timer.stop();

    EXPECT_GE(ticksWhileRunning, 10);
    EXPECT_TRUE(tabAnswered);
    EXPECT_TRUE(controlsLocked);
    ASSERT_GE(barValues.size(), 2u) << "the bar moved during the run";
    EXPECT_TRUE(std::is_sorted(barValues.begin(), barValues.end()));
    EXPECT_TRUE(window->calculateButton()->isEnabled());
    EXPECT_FALSE(window->cancelBatchButton()->isEnabled());

    ASSERT_EQ(dialogs.alerts.size(), 1u);
    EXPECT_EQ(dialogs.alerts[0].messageText, "Batch Processing of File Completed");
    EXPECT_TRUE(dialogs.errors.empty()) << dialogs.errors.front().localizedDescription;
    EXPECT_EQ(window->core().recordsWritten, kLargeRunLines - kLargeRunLines / 5000);
    const std::string written = readText(output);
    EXPECT_EQ(countLines(written), 1 + kLargeRunLines - kLargeRunLines / 5000);
    EXPECT_TRUE(written == cruise.cliOutput()) << "the desktop's output differs from brinora batch's";
    // The run's own log lines are kept; no line per sample.
    EXPECT_NE(std::find(logLines.begin(), logLines.end(), "Batch process called, all records"), logLines.end());
    EXPECT_NE(std::find(logLines.begin(), logLines.end(), "Done with file!"), logLines.end());
    EXPECT_EQ(std::find(logLines.begin(), logLines.end(), "Dealing with line 2"), logLines.end());
}

TEST_F(BatchThreadTest, CancelStopsAfterWholeRecordsAndSaysHowMany) {
    LargeCruise& cruise = LargeCruise::get();
    ASSERT_TRUE(cruise.cliError.empty()) << cruise.cliError;
    showFiles(cruise.input());
    bool cancelled = false;
    QObject::connect(window, &BrinoraAppController::progressChanged, window, [&](double percent) {
        if (cancelled || percent <= 0.0) return;
        cancelled = true;
        click(window->cancelBatchButton());
    });
    click(window->calculateButton());
    ASSERT_TRUE(waitForBatchRun(240000));
    ASSERT_TRUE(cancelled);

    const std::string written = readText(output);
    const int records = countLines(written) - 1;
    EXPECT_GT(records, 0);
    EXPECT_LT(records, kLargeRunLines - kLargeRunLines / 5000) << "the run stopped before the end";
    EXPECT_EQ(window->core().recordsWritten, records);
    // Whole records: the file is the start of the full run's output, up to a line end.
    ASSERT_FALSE(written.empty());
    EXPECT_EQ(written.back(), '\n');
    EXPECT_TRUE(cruise.cliOutput().compare(0, written.size(), written) == 0);

    ASSERT_EQ(dialogs.alerts.size(), 1u);
    EXPECT_EQ(dialogs.alerts[0].messageText, "The batch run was cancelled.");
    EXPECT_EQ(dialogs.alerts[0].informativeText,
              std::to_string(records) + " records of this run are in the output file:\n" + output.toStdString());
    EXPECT_EQ(dialogs.alerts[0].buttons, std::vector<std::string>{"OK"});
    EXPECT_TRUE(dialogs.errors.empty());
    EXPECT_TRUE(window->progressIndicator()->isHidden());
    EXPECT_FALSE(window->cancelBatchButton()->isEnabled());
    EXPECT_TRUE(window->calculateButton()->isEnabled());
}

TEST_F(BatchThreadTest, ClosingTheWindowDuringARunEndsItQuietly) {
    LargeCruise& cruise = LargeCruise::get();
    ASSERT_TRUE(cruise.cliError.empty()) << cruise.cliError;
    showFiles(cruise.input());
    click(window->calculateButton());
    ASSERT_TRUE(window->batchRunning());
    // The run is waiting for the window's menus; the window goes first.
    delegate.reset();
    window = nullptr;
    EXPECT_TRUE(dialogs.alerts.empty());
    EXPECT_TRUE(dialogs.errors.empty());
    const std::string written = readText(output);
    EXPECT_TRUE(cruise.cliOutput().compare(0, written.size(), written) == 0) << "whole records only";
}

TEST_F(BatchThreadTest, QuittingDuringARunAsksThenStopsAsCancelDoesAndSaysWhatWasKept) {
    LargeCruise& cruise = LargeCruise::get();
    ASSERT_TRUE(cruise.cliError.empty()) << cruise.cliError;
    showFiles(cruise.input());
    click(window->calculateButton());
    ASSERT_TRUE(window->batchRunning());

    // Declined: the run and the window go on.
    dialogs.questionAnswers = {false};
    EXPECT_FALSE(window->close());
    ASSERT_EQ(dialogs.questions.size(), 1u);
    EXPECT_EQ(dialogs.questions[0].messageText, "A run is still going.");
    EXPECT_EQ(dialogs.questions[0].informativeText,
              "Quit stops it after whole records, as Cancel does: what it has written so far stays in " +
                  output.toStdString() + ", nothing after it.");
    EXPECT_EQ(dialogs.questions[0].acceptButton, "Stop and Quit");
    EXPECT_EQ(dialogs.questions[0].rejectButton, "Keep Running");
    EXPECT_TRUE(window->batchRunning());
    EXPECT_TRUE(window->isVisible());

    // Accepted: the run stops after whole records, says so, and the window closes.
    dialogs.questionAnswers = {true};
    EXPECT_FALSE(window->close()) << "the window waits for the run to stop";
    ASSERT_TRUE(waitForBatchRun(240000));
    QApplication::processEvents();
    EXPECT_FALSE(window->isVisible());
    const std::string written = readText(output);
    const int records = countLines(written) - 1;
    EXPECT_LT(records, kLargeRunLines - kLargeRunLines / 5000) << "the run stopped before the end";
    EXPECT_TRUE(cruise.cliOutput().compare(0, written.size(), written) == 0) << "whole records only";
    ASSERT_EQ(dialogs.alerts.size(), 1u);
    EXPECT_EQ(dialogs.alerts[0].messageText, "The batch run was cancelled.");
    EXPECT_EQ(dialogs.alerts[0].informativeText,
              std::to_string(records) + " records of this run are in the output file:\n" + output.toStdString());
    EXPECT_TRUE(store->value("desktopWindowGeometry").has_value()) << "the closed window's geometry is kept";
}

TEST_F(BatchThreadTest, RunStoppedByALineSaysWhichLineAndHowManyRecords) {
    // 24 samples; the tenth has no salinity.
    std::string text = kInputHeader;
    for (int k = 1; k <= 24; ++k) {
        std::string line = generatedLine(k * 3);  // a TA-TCO2 pair on every line
        if (k == 10) line = "10,St 0,08:10:00,03/14/2024,26.5,-80.1,,25.0,0,0.5,4.0,25,0,2300,2000,,,,415,6.5,bad\n";
        text += line;
    }
    const QString input = path("stops.csv");
    writeText(input, text);
    showFiles(input);
    click(window->calculateButton());
    ASSERT_TRUE(waitForBatchRun());

    EXPECT_EQ(countLines(readText(output)), 1 + 9);
    EXPECT_TRUE(dialogs.alerts.empty());
    EXPECT_EQ(messages(),
              std::vector<std::string>{"All records require a salinity value. There is a salinity value missing.\n\n"
                                       "The run stopped at line 11 of the input file " +
                                       input.toStdString() + ".\n9 records of this run are in the output file " +
                                       output.toStdString() + "."});
    // The log line of the stop is kept.
    EXPECT_NE(std::find(logLines.begin(), logLines.end(),
                        "All records require a salinity value. There is a salinity value missing."),
              logLines.end());
    EXPECT_TRUE(window->progressIndicator()->isHidden());
}

TEST_F(BatchThreadTest, CalculateAfterWriteKmlUsesTheFilesTheFieldsShow) {
    const QString input = path("cruise.csv");
    writeText(input, kInputHeader + generatedLine(3) + generatedLine(4) + generatedLine(5));
    showFiles(input);

    // A KML document from another input file.
    const QString other = path("other.csv");
    const QString kml = path("other_Brinora.kml");
    writeText(other, kInputHeader + generatedLine(6) + generatedLine(7));
    dialogs.openAnswers.push_back({other.toStdString()});
    dialogs.saveAnswers.push_back(kml.toStdString());
    click(child("writeKML"));
    ASSERT_TRUE(waitForBatchRun());
    ASSERT_EQ(dialogs.alerts.size(), 1u);
    EXPECT_EQ(dialogs.alerts[0].messageText, "CSV to KML Processing Completed");
    const std::string document = readText(kml);
    ASSERT_EQ(document.substr(document.size() - 26), "</Folder></Document></kml>");

    click(window->calculateButton());
    ASSERT_TRUE(waitForBatchRun());
    EXPECT_EQ(readText(kml), document) << "nothing is added to the KML document";
    ASSERT_EQ(dialogs.alerts.size(), 2u);
    EXPECT_EQ(dialogs.alerts[1].informativeText,
              "File Input:\n" + input.toStdString() + "\n\nFile Output:\n" + output.toStdString() +
                  "\n\n3 records were written.");
    const std::string written = readText(output);
    EXPECT_EQ(countLines(written), 4);
    EXPECT_NE(written.find("\n3,St 0,08:03:00,"), std::string::npos) << written;
    EXPECT_NE(written.find("\n5,St 0,10:05:00,"), std::string::npos) << written;
    EXPECT_EQ(written.find("\n6,"), std::string::npos) << "no sample of the KML run's input";
}

TEST_F(BatchThreadTest, RecordsAreNeverAddedToAFileOfAnotherKind) {
    const QString input = path("cruise.csv");
    writeText(input, kInputHeader + generatedLine(3));
    const QString kml = path("cruise.kml");
    const std::string document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><kml></kml>";
    writeText(kml, document);
    window->setText(TextField::PathField, input.toStdString());
    window->setText(TextField::PathFieldOut, kml.toStdString());
    click(window->calculateButton());
    ASSERT_TRUE(waitForBatchRun());

    EXPECT_FALSE(window->batchRunning());
    EXPECT_EQ(readText(kml), document);
    EXPECT_TRUE(dialogs.alerts.empty());
    EXPECT_EQ(messages(), std::vector<std::string>{
                              "The output file \"" + kml.toStdString() +
                              "\" does not begin with the header line of a Brinora output file, so no records "
                              "are added to it. Choose a new output file."});
}

TEST_F(BatchThreadTest, SecondCalculateAsksBeforeAddingTheBatchAgain) {
    const QString input = path("cruise.csv");
    writeText(input, kInputHeader + generatedLine(3) + generatedLine(4) + generatedLine(5));
    showFiles(input);
    click(window->calculateButton());
    ASSERT_TRUE(waitForBatchRun());
    EXPECT_TRUE(dialogs.questions.empty()) << "a file with only its header is not asked about";
    const std::string once = readText(output);
    EXPECT_EQ(countLines(once), 4);

    // Declined: nothing runs, nothing is added.
    click(window->calculateButton());
    ASSERT_TRUE(waitForBatchRun());
    ASSERT_EQ(dialogs.questions.size(), 1u);
    EXPECT_EQ(dialogs.questions[0].messageText, "The output file already holds records.");
    EXPECT_EQ(dialogs.questions[0].informativeText,
              output.toStdString() + "\n\nCalculate adds one record for every sample of " + input.toStdString() +
                  " after them; samples already in the file would then be in it twice.");
    EXPECT_EQ(dialogs.questions[0].acceptButton, "Add Records");
    EXPECT_EQ(dialogs.questions[0].rejectButton, "Cancel");
    EXPECT_EQ(readText(output), once);
    EXPECT_EQ(dialogs.alerts.size(), 1u);

    // Accepted: the batch is added a second time.
    dialogs.questionAnswers.push_back(true);
    click(window->calculateButton());
    ASSERT_TRUE(waitForBatchRun());
    EXPECT_EQ(dialogs.questions.size(), 2u);
    EXPECT_EQ(dialogs.alerts.size(), 2u);
    EXPECT_EQ(readText(output), once + once.substr(dataFileHeaders().size()));
}

}  // namespace
}  // namespace brinora::testing
