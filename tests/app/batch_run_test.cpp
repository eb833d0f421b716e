#include <gtest/gtest.h>

#include "app/settings_keys.h"
#include "records/output_record.h"
#include "tests/support/controller_fixture.h"

namespace brinora {
namespace {

using testing::column;
using testing::columnCount;
using testing::ControllerTest;
using testing::kInputHeader;
using testing::readFile;

// One input line; `carbonate` holds fields 13..17 (TA, TCO2, pH, fCO2, pCO2).
std::string sampleLine(const std::string& id, const std::string& salinity = "35",
                       const std::string& temperature = "20",
                       const std::string& carbonate = "2300,2000,,,",
                       const std::string& comment = "ok") {
    return id + ",St " + id + ",10:00,1/2/2023,10.5,-20.25," + salinity + "," + temperature +
           ",0,1,5,,," + carbonate + ",400,7," + comment;
}

class BatchRunTest : public ControllerTest {
protected:
    BatchRunTest() { chooseOptions(); }

    // Records of the output file, header excluded.
    std::vector<std::string> records(const std::string& path) {
        const std::string text = readFile(path);
        std::vector<std::string> lines;
        std::size_t start = 0;
        while (start < text.size()) {
            const std::size_t end = text.find('\n', start);
            lines.push_back(text.substr(start, end - start + 1));
            start = end + 1;
        }
        EXPECT_FALSE(lines.empty());
        if (!lines.empty()) {
            EXPECT_EQ(lines.front(), std::string(dataFileHeaders()));
            lines.erase(lines.begin());
        }
        return lines;
    }

    std::string fullRun() { return core.batchProcess(ui.text(TextField::PathField), false); }
    std::string previewRun() { return core.batchProcess(ui.text(TextField::PathField), true); }
};

// Refuses every write with one reason.
class RefusingSink : public ByteSink {
public:
    bool write(std::string_view) override {
        ++writes;
        return false;
    }
    std::string errorMessage() const override { return "cannot write \"out.csv\": No space left on device"; }
    int writes = 0;
};

TEST_F(BatchRunTest, RecordsThatCannotBeWrittenEndTheRunWithNothingKept) {
    useInput(kInputHeader + "\n" + sampleLine("1") + "\n\n\n" + sampleLine("2") + "\n" + sampleLine("3") + "\n");
    useOutput();
    RefusingSink sink;
    core.runOptions.output = &sink;
    const std::string message = fullRun();
    EXPECT_EQ(message,
              "The record could not be written to the output file (cannot write \"out.csv\": No space left on "
              "device).");
    EXPECT_EQ(sink.writes, 1);
    EXPECT_EQ(core.recordsWritten, 0);
    EXPECT_EQ(core.failedWrites, 1);
    EXPECT_EQ(core.stoppedAtLine, 0);
    EXPECT_EQ(core.stoppedAtSourceLine, 0);
    EXPECT_TRUE(alerts.empty());
    EXPECT_TRUE(ui.progressHidden);
    EXPECT_TRUE(logged(message));
}

TEST_F(BatchRunTest, OutputFileThatGoesAwayEndsTheRunAndNamesIt) {
    useInput(kInputHeader + "\n" + sampleLine("1") + "\n" + sampleLine("2") + "\n");
    const std::string output = useOutput();
    // The records are written in one block at the end; by then the file is gone.
    ui.onProgress = [&](double) { std::filesystem::remove(output); };
    const std::string message = fullRun();
    EXPECT_EQ(message, "The record could not be written to the output file (cannot open \"" + output +
                           "\": No such file or directory).");
    EXPECT_EQ(core.recordsWritten, 0);
    EXPECT_FALSE(std::filesystem::exists(output));
}

TEST_F(BatchRunTest, FullRunWritesOneRecordPerSample) {
    const std::string input = useInput(kInputHeader + "\n" + sampleLine("1") + "\n" + sampleLine("2", "34") +
                                       "\n" + sampleLine("3", "33") + "\n");
    const std::string output = useOutput();
    ui.checkBox = 1;
    core.fullPath = input;
    ui.setText(TextField::PathField2, "~/out.csv");
    core.sampleID = 9;

    EXPECT_EQ(fullRun(), "");
    const auto lines = records(output);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_TRUE(lines[0].starts_with("1,St 1,10:00,1/2/2023,10.5,-20.25,35.000,20.000,0.000,1.000,5.000,"));
    EXPECT_TRUE(lines[1].starts_with("2,St 2,10:00,1/2/2023,10.5,-20.25,34.000,"));
    EXPECT_TRUE(lines[2].starts_with("3,St 3,10:00,1/2/2023,10.5,-20.25,33.000,"));
    for (const auto& line : lines) {
        EXPECT_EQ(columnCount(line), 53);
        EXPECT_TRUE(line.ends_with(",m/s,ok\n"));
    }
    EXPECT_EQ(core.recordsWritten, 3);
    EXPECT_EQ(computedSalinities, (std::vector<float>{35.0f, 34.0f, 33.0f}));

    // Completion.
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_EQ(alerts[0].messageText, "Batch Processing of File Completed");
    EXPECT_EQ(alerts[0].informativeText, "File Input:\n" + input + "\n\nFile Output:\n" + output + "\n");
    EXPECT_EQ(alerts[0].buttons, std::vector<std::string>{"OK"});
    EXPECT_TRUE(ui.progressHidden);
    EXPECT_EQ(core.sampleID, 0u);
    EXPECT_EQ(core.fullPath, "");
    EXPECT_EQ(ui.text(TextField::PathField2), "");
    EXPECT_EQ(ui.checkBox, 0);
    EXPECT_TRUE(presented.empty());

    // The board is cleared after every line.
    for (std::uint32_t pos = 0; pos < 100; ++pos) EXPECT_EQ(Engine::sharedInstance()->getFieldValueAtPos(pos), 0.0f);
}

TEST_F(BatchRunTest, FormRecordIdsRestartAtZeroAfterABatchRun) {
    core.batchWriteMode = 0;
    EXPECT_TRUE(std::get<std::string>(core.formatOutputAs("String")).starts_with("0,-,"));
    EXPECT_TRUE(std::get<std::string>(core.formatOutputAs("String")).starts_with("1,-,"));
    useInput(kInputHeader + "\n" + sampleLine("1") + "\n");
    useOutput();
    ASSERT_EQ(fullRun(), "");
    core.batchWriteMode = 0;  // the form's Calculate
    EXPECT_TRUE(std::get<std::string>(core.formatOutputAs("String")).starts_with("0,-,"));
}

TEST_F(BatchRunTest, LogLinesOfAFullRun) {
    useInput(kInputHeader + "\n" + sampleLine("1") + "\n");
    useOutput();
    ASSERT_EQ(fullRun(), "");
    const std::vector<std::string> expectedInOrder = {
        "Batch process called, all records",
        "Dealing with file " + core.filesToOpen[0],
        "The file is 3 lines long",
        "Number of column headers = 1",
        "Number of column headers = 21",
        "Dealing with line 1",
        "updating constants...",
        "CO2Constants: 10\nKHSO4: 1\npHScale: 1\nAirSeaFlux: 1",
        "Constants updated!",
        "Passed compute",
        "Done with the line!",
        "Dealing with line 2",
        "Nothing on this line",
        "Done with file!",
    };
    std::size_t at = 0;
    for (const auto& expected : expectedInOrder) {
        while (at < logLines.size() && logLines[at] != expected) ++at;
        EXPECT_LT(at, logLines.size()) << "missing or out of order: " << expected;
    }
    EXPECT_EQ(loggedCount("Number of column headers = 21"), 1);
}

TEST_F(BatchRunTest, ProgressFollowsTheBytesRead) {
    const std::string line1 = sampleLine("1"), line2 = sampleLine("2"), line3 = sampleLine("3");
    useInput(kInputHeader + "\n" + line1 + "\n" + line2 + "\n" + line3 + "\n");
    useOutput();
    std::vector<double> seen;
    ui.onProgress = [&seen](double percent) { seen.push_back(percent); };
    ASSERT_EQ(fullRun(), "");
    // Five pieces: the header, three samples and the empty piece after the last line end.
    EXPECT_TRUE(logged("The file is 5 lines long"));
    // One line at a time here (the calculation is replaced): after each line,
    // the share of the file's bytes read up to its line end.
    const double size = static_cast<double>(kInputHeader.size() + line1.size() + line2.size() + line3.size() + 4);
    const double header = static_cast<double>(kInputHeader.size() + 1);
    ASSERT_EQ(seen.size(), 4u);
    EXPECT_DOUBLE_EQ(seen[0], (header + static_cast<double>(line1.size() + 1)) / size * 100.0);
    EXPECT_DOUBLE_EQ(seen[1], (header + static_cast<double>(line1.size() + line2.size() + 2)) / size * 100.0);
    EXPECT_DOUBLE_EQ(seen[2], 100.0);
    EXPECT_DOUBLE_EQ(seen[3], 100.0);  // the empty last piece
    EXPECT_DOUBLE_EQ(core.progressValue, 100.0);
}

TEST_F(BatchRunTest, WindowsLineEndsGiveTheSameRecords) {
    const std::string unixText = kInputHeader + "\n" + sampleLine("1") + "\n" + sampleLine("2") + "\n";
    std::string windowsText;
    for (const char c : unixText) {
        if (c == '\n') windowsText += '\r';
        windowsText += c;
    }
    useInput(unixText, "unix.csv");
    const std::string unixOut = useOutput("unix_out.csv");
    ASSERT_EQ(fullRun(), "");
    useInput(windowsText, "windows.csv");
    const std::string windowsOut = useOutput("windows_out.csv");
    ASSERT_EQ(fullRun(), "");
    EXPECT_EQ(readFile(unixOut), readFile(windowsOut));
    EXPECT_EQ(records(unixOut).size(), 2u);
}

TEST_F(BatchRunTest, BlankLinesAreSkipped) {
    useInput(kInputHeader + "\n" + sampleLine("1") + "\n\n" + sampleLine("2") + "\n\n\n" + sampleLine("3") +
             "\r\n\r\n" + sampleLine("4"));
    const std::string output = useOutput();
    ASSERT_EQ(fullRun(), "");
    EXPECT_EQ(records(output).size(), 4u);
    // "\n\n" vanishes; "\n\n\n" and "\r\n\r\n" each leave one empty line.
    EXPECT_TRUE(logged("The file is 7 lines long"));
    EXPECT_EQ(loggedCount("Nothing on this line"), 2);
}

TEST_F(BatchRunTest, NoFinalLineEndStillProcessesTheLastSample) {
    useInput(kInputHeader + "\n" + sampleLine("1") + "\n" + sampleLine("2"));
    const std::string output = useOutput();
    ASSERT_EQ(fullRun(), "");
    EXPECT_TRUE(logged("The file is 3 lines long"));
    EXPECT_EQ(records(output).size(), 2u);
    EXPECT_EQ(loggedCount("Nothing on this line"), 0);
}

TEST_F(BatchRunTest, HeaderWithATrailingCommaPasses) {
    useInput(kInputHeader + ",\n" + sampleLine("1") + "\n");
    const std::string output = useOutput();
    EXPECT_EQ(fullRun(), "");
    EXPECT_EQ(records(output).size(), 1u);
}

TEST_F(BatchRunTest, HeaderWith20Or22NamesFails) {
    const std::string twenty = kInputHeader.substr(0, kInputHeader.rfind(','));
    for (const std::string& header : {twenty, kInputHeader + ",Extra", twenty + ",,"}) {
        useInput(header + "\n" + sampleLine("1") + "\n");
        const std::string output = useOutput();
        ui.progressHidden = false;
        EXPECT_EQ(fullRun(), "There is an incorrect number of data columns in the input CSV.");
        EXPECT_TRUE(records(output).empty());
        EXPECT_TRUE(ui.progressHidden);
        EXPECT_EQ(core.stoppedAtSourceLine, 1);
    }
    EXPECT_EQ(computeCalls, 0);
    EXPECT_TRUE(alerts.empty());
    EXPECT_TRUE(presented.empty());  // a full run only logs its message
    EXPECT_TRUE(logged("There is an incorrect number of data columns in the input CSV."));
}

TEST_F(BatchRunTest, NoDatapoints) {
    for (const std::string& text : {std::string(), kInputHeader}) {
        useInput(text);
        const std::string output = useOutput();
        EXPECT_EQ(fullRun(), "There are no datapoints to process.") << text;
        EXPECT_TRUE(records(output).empty());
    }
    EXPECT_TRUE(logged("There are no datapoints to process."));
    EXPECT_TRUE(logged("The file is 1 lines long"));
}

TEST_F(BatchRunTest, HeaderOnlyWithALineEndIsARunWithoutSamples) {
    useInput(kInputHeader + "\n");
    const std::string output = useOutput();
    EXPECT_EQ(fullRun(), "");
    EXPECT_TRUE(records(output).empty());
    EXPECT_EQ(alerts.size(), 1u);
}

TEST_F(BatchRunTest, UnreadableInputPresentsTheReadingError) {
    core.filesToOpen = {(dir / "missing.csv").string()};
    const std::string output = useOutput();
    EXPECT_EQ(fullRun(), "There was an error reading from the file");
    ASSERT_EQ(presented.size(), 1u);
    EXPECT_EQ(presented[0].localizedDescription,
              "The file \"" + (dir / "missing.csv").string() + "\" could not be read: No such file or directory");
    EXPECT_TRUE(logged("There was an error reading from the file"));
    EXPECT_TRUE(records(output).empty());
}

TEST_F(BatchRunTest, NonUtf8InputIsAReadingError) {
    useInput(kInputHeader + "\n" + sampleLine("1", "35", "20", "2300,2000,,,", "caf\xE9") + "\n");
    EXPECT_EQ(fullRun(), "There was an error reading from the file");
    ASSERT_EQ(presented.size(), 1u);
    EXPECT_NE(presented[0].localizedDescription.find("not UTF-8"), std::string::npos);
}

struct StopCase {
    std::string badLine;
    std::string message;
};

class StopTest : public BatchRunTest, public ::testing::WithParamInterface<StopCase> {};

TEST_P(StopTest, StopsAtTheLineAndKeepsEarlierRecords) {
    useInput(kInputHeader + "\n" + sampleLine("1") + "\n" + sampleLine("2") + "\n" + GetParam().badLine + "\n" +
             sampleLine("4") + "\n");
    const std::string output = useOutput();
    ui.progressHidden = false;
    EXPECT_EQ(fullRun(), GetParam().message);
    const auto lines = records(output);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(lines[0].starts_with("1,"));
    EXPECT_TRUE(lines[1].starts_with("2,"));
    EXPECT_EQ(core.stoppedAtLine, 3);
    EXPECT_EQ(core.stoppedAtSourceLine, 4);
    EXPECT_TRUE(ui.progressHidden);
    EXPECT_TRUE(alerts.empty());
    EXPECT_TRUE(logged(GetParam().message));
    EXPECT_FALSE(logged("Dealing with line 4"));
}

INSTANTIATE_TEST_SUITE_P(
    Messages, StopTest,
    ::testing::Values(
        StopCase{sampleLine("3", ""), "All records require a salinity value. There is a salinity value missing."},
        StopCase{sampleLine("3", "35", ""),
                 "All records require a temperature value. There is a temperature value missing."},
        StopCase{sampleLine("3", "35", "20", "2300,2000,8.1,400,390"),
                 "To batch process records, Brinora needs values for at least two carbonate parameters"},
        StopCase{sampleLine("3", "35", "20", "2300,2000,8.1,,390"),
                 "To batch process records, Brinora needs values for at least two carbonate parameters"},
        StopCase{sampleLine("3", "35", "20", "2300,2000,8.1,,"),
                 "To batch process records, Brinora needs values for at least two carbonate parameters"},
        StopCase{"3", "All records require a salinity value. There is a salinity value missing."}));

TEST_F(BatchRunTest, CarbonatePairRuleLetsTwoThreeOrOneValueThrough) {
    useInput(kInputHeader + "\n" + sampleLine("1", "35", "20", "2300,2000,,,") + "\n" +
             sampleLine("2", "35", "20", "2300,,8.1,400,") + "\n" +  // three values
             sampleLine("3", "35", "20", ",,8.0,,400") + "\n" +      // pH with pCO2
             sampleLine("4", "35", "20", ",,,400,390") + "\n" +      // fCO2 with pCO2
             sampleLine("5", "35", "20", "2300,,,,") + "\n" +        // one value
             sampleLine("6", "35", "20", ",,,,") + "\n");            // none
    const std::string output = useOutput();
    EXPECT_EQ(fullRun(), "");
    EXPECT_EQ(records(output).size(), 6u);
}

TEST_F(BatchRunTest, EmptySampleIdSkipsTheLineButALaterBadLineStillStops) {
    useInput(kInputHeader + "\n" + sampleLine("1") + "\n" + sampleLine("") + "\n" +
             sampleLine("", "", "", "2300,2000,8.1,400,390") + "\n" + sampleLine("4", "") + "\n");
    const std::string output = useOutput();
    EXPECT_EQ(fullRun(), "All records require a salinity value. There is a salinity value missing.");
    EXPECT_EQ(records(output).size(), 1u);
    EXPECT_EQ(loggedCount("Nothing on this line"), 2);
    EXPECT_EQ(computeCalls, 1);
}

TEST_F(BatchRunTest, ShortLinesArePaddedAndLongLinesCut) {
    // Fields up to the wind speed, no comment; then a line of 40 fields.
    std::string longLine = sampleLine("2");
    for (int k = 21; k < 40; ++k) longLine += ",x" + std::to_string(k);
    useInput(kInputHeader + "\n1,Short,,,,,35,20,0,0,0,0,0,2300,2000\n" + longLine + "\n");
    const std::string output = useOutput();
    EXPECT_EQ(fullRun(), "");
    const auto lines = records(output);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(lines[0].starts_with("1,Short,,,,,35.000,20.000,"));
    EXPECT_TRUE(lines[0].ends_with(",0.000,0.000,69.250,71.250,Millero et al. (2002) pK2 corrected for fCO2,"
                                   "Dickson (1990),Total scale,Wanninkhof (1992),m/s,\n"))
        << lines[0];
    EXPECT_EQ(columnCount(lines[0]), 53);
    EXPECT_TRUE(lines[1].ends_with(",m/s,ok\n"));
    EXPECT_EQ(columnCount(lines[1]), 53);
}

TEST_F(BatchRunTest, FieldsAreReadLeniently) {
    useInput(kInputHeader + "\n1,a,b,c,d,e, 35.5psu,2e1,x,,,,,2300,2000,,,,  400 ,7.5 m/s,c\n");
    useOutput();
    EXPECT_EQ(fullRun(), "");
    ASSERT_EQ(computedSalinities.size(), 1u);
    EXPECT_EQ(computedSalinities[0], 35.5f);
    EXPECT_EQ(computedWindSpeeds[0], 7.5f);
}

TEST_F(BatchRunTest, BatchWindSpeedIsNeverConvertedFromKnots) {
    ui.selectItem(Menu::WindSpeedUnits, 1);
    useInput(kInputHeader + "\n" + sampleLine("1") + "\n");
    const std::string output = useOutput();
    EXPECT_EQ(fullRun(), "");
    EXPECT_EQ(computedWindSpeeds, std::vector<float>{7.0f});
    EXPECT_EQ(column(records(output)[0], 45), "7.000");
    EXPECT_EQ(column(records(output)[0], 52), "m/s");
}

TEST_F(BatchRunTest, OptionsAreOnTheBoardForEveryLine) {
    chooseOptions(13, 2, 4, 3);
    std::vector<float> options;
    core.computeCO2 = [&options](Board& board) {
        for (std::uint32_t pos = 1; pos <= 4; ++pos) options.push_back(board.get(pos));
    };
    useInput(kInputHeader + "\n" + sampleLine("1") + "\n" + sampleLine("2") + "\n");
    useOutput();
    EXPECT_EQ(fullRun(), "");
    EXPECT_EQ(options, (std::vector<float>{12, 1, 3, 2, 12, 1, 3, 2}));
}

// ---------------------------------------------------------------- preview

TEST_F(BatchRunTest, PreviewOfThreeSamplesAtLengthFiveShowsThree) {
    defaults.setValue(settings::kNumberOfLinesInPreview, "5");
    const std::string output = useOutput();
    useInput(kInputHeader + "\n" + sampleLine("1") + "\n" + sampleLine("2") + "\n" + sampleLine("3") + "\n");
    core.progressValue = 42.0;
    EXPECT_EQ(previewRun(), "");
    EXPECT_EQ(core.previewTableController.previewTable().size(), 3u);
    EXPECT_EQ(core.previewTableController.objectValue("SampleID", 2), "3");
    EXPECT_EQ(ui.text(TextField::PreviewTableLength), "5");
    EXPECT_EQ(ui.rowCountChanges, 1);
    EXPECT_EQ(ui.modalRuns, 1);
    EXPECT_TRUE(logged("Batch process called, just preview"));
    EXPECT_TRUE(logged("back in the batch processing function"));
    // Nothing written, progress untouched.
    EXPECT_TRUE(records(output).empty());
    EXPECT_EQ(core.progressValue, 42.0);
    EXPECT_TRUE(alerts.empty());
}

TEST_F(BatchRunTest, PreviewLengthZeroProcessesNoLine) {
    defaults.setValue(settings::kNumberOfLinesInPreview, "0");
    useInput(kInputHeader + "\n" + sampleLine("1") + "\n");
    EXPECT_EQ(previewRun(), "");
    EXPECT_TRUE(core.previewTableController.previewTable().empty());
    EXPECT_EQ(computeCalls, 0);
    EXPECT_EQ(ui.modalRuns, 1);  // the empty preview window
}

TEST_F(BatchRunTest, PreviewLengthThreeStopsAfterThreeLines) {
    defaults.setValue(settings::kNumberOfLinesInPreview, "3");
    std::string text = kInputHeader + "\n";
    for (int k = 1; k <= 10; ++k) text += sampleLine(std::to_string(k)) + "\n";
    useInput(text);
    EXPECT_EQ(previewRun(), "");
    EXPECT_EQ(core.previewTableController.previewTable().size(), 3u);
    EXPECT_EQ(ui.text(TextField::PreviewTableLength), "3");
}

TEST_F(BatchRunTest, PreviewLengthDefaultsToFive) {
    std::string text = kInputHeader + "\n";
    for (int k = 1; k <= 10; ++k) text += sampleLine(std::to_string(k)) + "\n";
    useInput(text);
    EXPECT_EQ(previewRun(), "");
    EXPECT_EQ(core.previewTableController.previewTable().size(), 5u);
    EXPECT_EQ(ui.text(TextField::PreviewTableLength), "5");
}

TEST_F(BatchRunTest, PreviewStopsOnABadLineWithoutTheWindow) {
    useInput(kInputHeader + "\n" + sampleLine("1") + "\n" + sampleLine("2", "35", "") + "\n");
    EXPECT_EQ(previewRun(), "All records require a temperature value. There is a temperature value missing.");
    EXPECT_EQ(ui.modalRuns, 0);
    EXPECT_EQ(core.previewTableController.previewTable().size(), 1u);
}

TEST_F(BatchRunTest, PreviewCheckRunsWhenBothPathsAreSet) {
    useInput(kInputHeader + "\n" + sampleLine("1") + "\n");
    core.previewTableController.addToPreviewTable({{"SampleID", "old"}});
    ui.setText(TextField::PathFieldOut, "");
    core.checkIfPreviewNeeded();
    EXPECT_TRUE(ui.previewTableHidden);
    EXPECT_EQ(ui.modalRuns, 0);

    ui.setText(TextField::PathFieldOut, (dir / "out.csv").string());
    core.checkIfPreviewNeeded();
    EXPECT_FALSE(ui.previewTableHidden);
    EXPECT_EQ(ui.modalRuns, 1);
    ASSERT_EQ(core.previewTableController.previewTable().size(), 1u);
    EXPECT_EQ(core.previewTableController.objectValue("SampleID", 0), "1");
    EXPECT_TRUE(logged("preview Table cleared"));
}

TEST_F(BatchRunTest, PreviewCheckPresentsTheStoppingMessage) {
    useInput(kInputHeader + ",Extra\n" + sampleLine("1") + "\n");
    ui.setText(TextField::PathFieldOut, (dir / "out.csv").string());
    ui.progressHidden = false;
    core.checkIfPreviewNeeded();
    EXPECT_TRUE(ui.previewTableHidden);
    EXPECT_TRUE(ui.progressHidden);
    ASSERT_EQ(presented.size(), 1u);
    EXPECT_EQ(presented[0].domain, "BrinoraApp");
    EXPECT_EQ(presented[0].code, 0);
    EXPECT_EQ(presented[0].localizedDescription, "There is an incorrect number of data columns in the input CSV.");
}

TEST_F(BatchRunTest, PreviewCheckNeedsTheOptions) {
    ui.selectItem(Menu::pHScale, 0);
    useInput(kInputHeader + "\n" + sampleLine("1") + "\n");
    ui.setText(TextField::PathFieldOut, (dir / "out.csv").string());
    core.checkIfPreviewNeeded();
    EXPECT_EQ(computeCalls, 0);
    ASSERT_EQ(presented.size(), 1u);
    EXPECT_EQ(presented[0].localizedDescription,
              "To perform the calculation, Brinora needs constants, scales, and units supplied by the user. "
              "Click \"Select...\" to provide these parameters.");
}

TEST_F(BatchRunTest, ChoosingTheInputFile) {
    const std::string input = (dir / "leg1.csv").string();
    testing::writeFile(input, kInputHeader + "\n" + sampleLine("1") + "\n");
    std::vector<OpenPanelRequest> requests;
    ui.onOpenPanel = [&](const OpenPanelRequest& request) {
        requests.push_back(request);
        return std::vector<std::string>{input};
    };
    defaults.setValue(settings::kOpenPath, "~/Documents");
    ui.setText(TextField::PathFieldOut, "/somewhere/old.csv");
    core.selectCSVtoOpen();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].directory, "~/Documents");
    EXPECT_EQ(requests[0].allowedTypes, std::vector<std::string>{"csv"});
    EXPECT_EQ(core.batchWriteMode, 1);
    EXPECT_EQ(core.filesToOpen, std::vector<std::string>{input});
    EXPECT_EQ(ui.text(TextField::PathField), input);
    EXPECT_EQ(ui.text(TextField::PathFieldOut), "");
    EXPECT_EQ(defaults.value(settings::kOpenPath), dir.string());
    EXPECT_EQ(defaults.synchronizeCount, 1);
    EXPECT_TRUE(logged("filename = " + input));
    EXPECT_TRUE(ui.previewTableHidden);  // no output yet: no preview
}

TEST_F(BatchRunTest, PreviewWindowButtons) {
    useInput(kInputHeader + "\n" + sampleLine("1") + "\n" + sampleLine("2") + "\n");
    int calculations = 0;
    ui.onCalculate = [&calculations] { ++calculations; };

    ui.previewWindowOpen = true;
    core.cancelFromPreview();
    EXPECT_TRUE(logged("cancel from preview clicked"));
    EXPECT_FALSE(ui.previewWindowOpen);
    EXPECT_EQ(ui.modalStops, 1);
    EXPECT_EQ(calculations, 0);

    ui.previewWindowOpen = true;
    core.OKFromPreview();
    EXPECT_TRUE(logged("ok from preview clicked"));
    EXPECT_FALSE(ui.previewWindowOpen);
    EXPECT_EQ(ui.modalStops, 2);
    EXPECT_EQ(calculations, 1);

    core.previewTableController.addToPreviewTable({{"SampleID", "stale"}});
    ui.setText(TextField::PreviewTableLength, "1");
    core.refreshTable();
    EXPECT_TRUE(logged("refresh from preview clicked"));
    EXPECT_EQ(defaults.value(settings::kNumberOfLinesInPreview), "1");
    EXPECT_EQ(ui.modalStops, 3);
    EXPECT_EQ(ui.modalRuns, 1);  // the new preview run
    ASSERT_EQ(core.previewTableController.previewTable().size(), 1u);
    EXPECT_EQ(core.previewTableController.objectValue("SampleID", 0), "1");
}

}  // namespace
}  // namespace brinora
