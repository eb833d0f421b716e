// Batch runs, previews and KML documents driven through the window, with the
// file panels and alerts answered by the test.
#include <QTimer>

#include <algorithm>

#include "app/settings_keys.h"
#include "records/output_record.h"
#include "gui/preview_window.h"
#include "gui_fixture.h"
#include "tests/support/batch_input.h"

namespace brinora::testing {
namespace {

const std::string kInputHeader = brinora::testing::kInputHeader + "\n";
const std::string kThreeSamples =
    kInputHeader +
    "1,Station A,08:15:00,03/14/2024,26.5,-80.1,36.1,26.4,0,0.1,1.8,25,0,2381.5,2049.3,,,,415,6.2,surface\n"
    "2,Station A,08:40:00,03/14/2024,26.5,-80.1,36.2,22.9,100,0.3,2.9,0,0,2379.8,2091.6,,,,415,6.2,deeper\n"
    "3,Station B,14:05:00,03/14/2024,26.8,-79.6,36.0,26.8,0,0.1,1.6,0,0,2378.9,,8.05,,,415,7.9,pH pair\n";

int countLines(const std::string& text) { return static_cast<int>(std::count(text.begin(), text.end(), '\n')); }

class BatchWindowTest : public WindowTest {
protected:
    void SetUp() override {
        WindowTest::SetUp();
        chooseOptions();
        window->switchToBatchProcessing();
        input = path("cruise.csv");
        output = path("cruise_Brinora.csv");
        QObject::connect(window, &BrinoraAppController::previewWindowShown, window, [this] {
            ++previewRuns;
            previewVisible = window->previewWindow()->isVisible();
            rowsShown.push_back(window->previewWindow()->table()->model()->rowCount());
            if (onPreview) QTimer::singleShot(0, window, onPreview);
        });
        QObject::connect(window, &BrinoraAppController::progressChanged, window, [this](double percent) {
            progress.push_back(percent);
            progressVisible = progressVisible && window->progressIndicator()->isVisible();
        });
    }

    // Chooses the input file and then the output file, which starts the preview.
    void chooseFiles(const std::string& content) {
        writeText(input, content);
        dialogs.openAnswers.push_back({input.toStdString()});
        dialogs.saveAnswers.push_back(output.toStdString());
        click(child("selectCSVtoOpen"));
        click(child("selectCSVtoOutput"));
    }

    QString cell(int row, const char* identifier) const {
        const auto& columns = previewColumns();
        const auto found = std::find_if(columns.begin(), columns.end(),
                                        [&](const PreviewColumn& c) { return c.identifier == identifier; });
        const int column = static_cast<int>(found - columns.begin());
        const QAbstractItemModel* model = window->previewWindow()->table()->model();
        return model->data(model->index(row, column)).toString();
    }

    QString input;
    QString output;
    int previewRuns = 0;
    bool previewVisible = false;
    bool progressVisible = true;
    std::vector<int> rowsShown;
    std::vector<double> progress;
    std::function<void()> onPreview;
};

TEST_F(BatchWindowTest, PreviewRefreshAndFullRun) {
    std::vector<QString> firstCells;
    onPreview = [&] {
        if (previewRuns == 1) {
            firstCells = {cell(0, "SampleID"), cell(0, "Name"), cell(0, "Salinity"), cell(0, "TA"),
                          cell(0, "pH"), cell(3, "pH"), cell(0, "CO2 Constants")};
            // Three steps down from 5 lines, then Refresh.
            for (int i = 0; i < 3; ++i) click(window->previewWindow()->stepper()->downButton());
            EXPECT_EQ(window->previewWindow()->lengthField()->text().toStdString(), "2");
            click(window->previewWindow()->refreshButton());
        } else {
            click(window->previewWindow()->okButton());
        }
    };
    chooseFiles(kThreeSamples);
    ASSERT_TRUE(waitForBatchRun());

    // Input and output panels.
    ASSERT_EQ(dialogs.openRequests.size(), 1u);
    EXPECT_EQ(dialogs.openRequests[0].allowedTypes, std::vector<std::string>{"csv"});
    EXPECT_EQ(dialogs.openRequests[0].directory, "~/Documents");
    ASSERT_EQ(dialogs.saveRequests.size(), 1u);
    EXPECT_EQ(dialogs.saveRequests[0].proposedName, "cruise_Brinora.csv");
    EXPECT_EQ(window->textField(TextField::PathField)->text(), input);
    EXPECT_EQ(window->textField(TextField::PathFieldOut)->text(), output);
    EXPECT_EQ(store->value(settings::kOpenPath), folder.path().toStdString());

    // The first preview: five rows, three of them filled; then two after Refresh.
    EXPECT_TRUE(dialogs.errors.empty()) << dialogs.errors.front().localizedDescription;
    ASSERT_EQ(previewRuns, 2);
    EXPECT_TRUE(previewVisible);
    EXPECT_EQ(rowsShown, (std::vector<int>{5, 2}));
    ASSERT_EQ(firstCells.size(), 7u);
    EXPECT_EQ(firstCells[0], "1");
    EXPECT_EQ(firstCells[1], "Station A");
    EXPECT_EQ(firstCells[2], "36.100");
    EXPECT_EQ(firstCells[3], "2381.500");
    EXPECT_FALSE(firstCells[4].isEmpty());
    EXPECT_TRUE(firstCells[5].isEmpty()) << "rows beyond the records are empty";
    EXPECT_EQ(firstCells[6], "Lueker et al. (2000) total scale");
    EXPECT_EQ(store->value(settings::kNumberOfLinesInPreview), "2");
    EXPECT_EQ(window->core().previewTableController.previewTable().size(), 2u);
    EXPECT_FALSE(window->previewWindow()->isVisible());
    EXPECT_EQ(window->previewSessionDepth(), 0);

    // OK ran the whole file: progress per line, the alert, the records.
    ASSERT_EQ(dialogs.alerts.size(), 1u);
    EXPECT_EQ(dialogs.alerts[0].messageText, "Batch Processing of File Completed");
    EXPECT_EQ(dialogs.alerts[0].informativeText,
              "File Input:\n" + input.toStdString() + "\n\nFile Output:\n" + output.toStdString() +
                  "\n\n3 records were written.");
    EXPECT_EQ(dialogs.alerts[0].buttons, std::vector<std::string>{"OK"});
    // Progress follows the bytes read, a step per block of lines; steps that
    // come faster than the window draws are shown together, so the bar gets
    // some of them and always the last, the whole file.
    ASSERT_FALSE(progress.empty());
    EXPECT_EQ(progress.back(), 100.0);
    for (std::size_t k = 0; k < progress.size(); ++k) {
        EXPECT_TRUE(progress[k] > 0.0 && progress[k] <= 100.0) << progress[k];
        if (k > 0) {
            EXPECT_GT(progress[k], progress[k - 1]);
        }
    }
    EXPECT_TRUE(progressVisible);
    EXPECT_TRUE(window->progressIndicator()->isHidden()) << "hidden after the alert";
    EXPECT_FALSE(window->checkBox()->isChecked());
    const std::string content = readText(output);
    ASSERT_EQ(content.rfind(std::string(dataFileHeaders()), 0), 0u);
    const std::string records = content.substr(dataFileHeaders().size());
    EXPECT_EQ(countLines(records), 3);
    EXPECT_EQ(records.rfind("1,Station A,08:15:00,03/14/2024,26.5,-80.1,36.100,26.400,0.000,", 0), 0u) << records;
    EXPECT_NE(records.find(",m/s,surface\n"), std::string::npos);
    EXPECT_NE(records.find("\n3,Station B,14:05:00,"), std::string::npos);
}

TEST_F(BatchWindowTest, CancelLeavesTheOutputFileWithItsHeader) {
    onPreview = [&] { click(window->previewWindow()->cancelButton()); };
    chooseFiles(kThreeSamples);
    EXPECT_EQ(previewRuns, 1);
    EXPECT_FALSE(window->previewWindow()->isVisible());
    EXPECT_EQ(window->previewSessionDepth(), 0);
    EXPECT_TRUE(dialogs.alerts.empty());
    EXPECT_EQ(readText(output), std::string(dataFileHeaders()));
    EXPECT_TRUE(window->batchPreviewTable()->isVisible()) << "the preview stays on the batch tab";
    EXPECT_NE(std::find(logLines.begin(), logLines.end(), "cancel from preview clicked"), logLines.end());

    // Calculate with the batch tab in front runs the whole file.
    click(window->calculateButton());
    ASSERT_TRUE(waitForBatchRun());
    ASSERT_EQ(dialogs.alerts.size(), 1u);
    EXPECT_EQ(countLines(readText(output)), 4);
}

TEST_F(BatchWindowTest, ClosingThePreviewWindowCountsAsCancel) {
    onPreview = [&] { window->previewWindow()->reject(); };
    chooseFiles(kThreeSamples);
    EXPECT_EQ(window->previewSessionDepth(), 0);
    EXPECT_FALSE(window->previewWindow()->isVisible());
    EXPECT_TRUE(dialogs.alerts.empty());
}

TEST_F(BatchWindowTest, WrongHeaderIsPresentedAndHidesThePreview) {
    onPreview = [&] { click(window->previewWindow()->cancelButton()); };
    chooseFiles("a,b,c\n1,x,,,,,35,25,0,0,0,0,0,2300,2000,,,,,,\n");
    EXPECT_EQ(previewRuns, 0);
    EXPECT_EQ(messages(), std::vector<std::string>{"There is an incorrect number of data columns in the input CSV."});
    EXPECT_TRUE(window->batchPreviewTable()->isHidden());
    EXPECT_TRUE(window->progressIndicator()->isHidden());
}

TEST_F(BatchWindowTest, FileWithoutSamplesIsPresented) {
    chooseFiles(kInputHeader.substr(0, kInputHeader.size() - 1));
    EXPECT_EQ(messages(), std::vector<std::string>{"There are no datapoints to process."});
}

TEST_F(BatchWindowTest, LineWithoutSalinityStopsThePreview) {
    chooseFiles(kInputHeader + "1,x,,,,,,25,0,0,0,0,0,2300,2000,,,,,,\n");
    EXPECT_EQ(messages(), std::vector<std::string>{
                              "All records require a salinity value. There is a salinity value missing.\n\n"
                              "The preview stopped at line 2 of the input file " + input.toStdString() + "."});
}

TEST_F(BatchWindowTest, RefreshThatMeetsAStoppingLineSaysWhichLine) {
    // The first preview shows one line; Refresh asks for five and meets line 4.
    store->setValue(settings::kNumberOfLinesInPreview, "1");
    onPreview = [&] {
        window->previewWindow()->lengthField()->setText(QStringLiteral("5"));
        click(window->previewWindow()->refreshButton());
    };
    chooseFiles(kInputHeader + "1,a,,,,,36,25,0,0,0,0,0,2300,2000,,,,,,\n"
                               "2,b,,,,,36,25,0,0,0,0,0,2300,2000,,,,,,\n"
                               "3,c,,,,,,25,0,0,0,0,0,2300,2000,,,,,,\n");
    EXPECT_EQ(previewRuns, 1);
    EXPECT_FALSE(window->previewWindow()->isVisible());
    EXPECT_EQ(window->previewSessionDepth(), 0);
    EXPECT_EQ(messages(), std::vector<std::string>{
                              "All records require a salinity value. There is a salinity value missing.\n\n"
                              "The preview stopped at line 4 of the input file " + input.toStdString() + "."});
}

TEST_F(BatchWindowTest, PreviewNeedsTheOptions) {
    choose(Menu::KHSO4, 0);
    chooseFiles(kThreeSamples);
    EXPECT_EQ(previewRuns, 0);
    ASSERT_FALSE(dialogs.errors.empty());
    EXPECT_EQ(dialogs.errors.back().localizedDescription,
              "To perform the calculation, Brinora needs constants, scales, and units supplied by the "
              "user. Click \"Select...\" to provide these parameters.");
}

TEST_F(BatchWindowTest, KmlDocumentFromTheBatchTab) {
    const QString kml = path("cruise_Brinora.kml");
    writeText(input, kThreeSamples);
    dialogs.openAnswers.push_back({input.toStdString()});
    dialogs.saveAnswers.push_back(kml.toStdString());
    click(child("writeKML"));
    ASSERT_TRUE(waitForBatchRun());
    ASSERT_EQ(dialogs.saveRequests.size(), 1u);
    EXPECT_EQ(dialogs.saveRequests[0].requiredType, "kml");
    EXPECT_EQ(dialogs.saveRequests[0].proposedName, "cruise_Brinora.kml");
    ASSERT_EQ(dialogs.alerts.size(), 1u);
    EXPECT_EQ(dialogs.alerts[0].messageText, "CSV to KML Processing Completed");
    const std::string document = readText(kml);
    EXPECT_EQ(document.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>", 0), 0u);
    int placemarks = 0;
    for (std::size_t at = document.find("<Placemark>"); at != std::string::npos;
         at = document.find("<Placemark>", at + 1)) {
        ++placemarks;
    }
    EXPECT_EQ(placemarks, 3);
    EXPECT_NE(document.find("<name>Station A 0</name>"), std::string::npos);
    EXPECT_EQ(document.substr(document.size() - 26), "</Folder></Document></kml>");
}

TEST(PreviewColumns, EveryColumnIsADictKey) {
    for (const PreviewColumn& column : previewColumns()) {
        EXPECT_NE(std::find(dictRecordKeys().begin(), dictRecordKeys().end(), column.identifier),
                  dictRecordKeys().end())
            << column.identifier;
    }
}

}  // namespace
}  // namespace brinora::testing
